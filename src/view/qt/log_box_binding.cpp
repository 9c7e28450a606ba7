#include <QAbstractListModel>
#include <QListView>
#include <memory>
#include <string_view>

#include "foundation/log_box.h"
#include "view/qt/control_binding.h"

namespace vellix::qtview {

namespace {

// The box's lines as rows, read from the model only when a row is painted, so
// a long log costs the view only what shows. Rows are counted here and not
// asked of the box, so that the view learns of new lines only through the
// insertions it is told of.
class LogLines : public QAbstractListModel {
 public:
  explicit LogLines(const LogBox& box) : box_(box) {}

  [[nodiscard]] int rowCount(const QModelIndex& parent) const override {
    return parent.isValid() ? 0 : rows_;
  }

  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
    // A box emptied by an unload that the view was not told of shows nothing.
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= Rows()) return {};
    return Qs(box_.Line(static_cast<std::size_t>(index.row())));
  }

  // New lines came on top.
  void Grow() {
    const int now = Rows();
    if (now <= rows_) return Reload();
    beginInsertRows({}, 0, now - rows_ - 1);
    rows_ = now;
    endInsertRows();
  }

  void Reload() {
    beginResetModel();
    rows_ = Rows();
    endResetModel();
  }

 private:
  [[nodiscard]] int Rows() const { return static_cast<int>(box_.LineCount()); }

  const LogBox& box_;
  int rows_ = 0;
};

class LogBoxBinding : public ControlBinding {
 public:
  LogBoxBinding(LogBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new QListView(parent), context),
        lines_(std::make_unique<LogLines>(box)) {
    auto* view = static_cast<QListView*>(Widget());
    // Every row is one line of text: the view need not measure each one.
    view->setUniformItemSizes(true);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    view->setModel(lines_.get());
  }

  ~LogBoxBinding() override { static_cast<QListView*>(Widget())->setModel(nullptr); }

 protected:
  void Apply(std::string_view property) override {
    if (property == "Prepend") {
      lines_->Grow();
    } else if (property.empty() || property == "Text") {
      lines_->Reload();
    }
  }

 private:
  std::unique_ptr<LogLines> lines_;
};

}  // namespace

std::unique_ptr<ControlBinding> MakeLogBoxBinding(LogBox& box, QWidget* parent,
                                                  const RenderContext& context) {
  return std::make_unique<LogBoxBinding>(box, parent, context);
}

}  // namespace vellix::qtview
