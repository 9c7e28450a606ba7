#include <QAbstractScrollArea>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <memory>
#include <string_view>

#include "foundation/log_box.h"
#include "view/qt/control_binding.h"

namespace vellix::qtview {

namespace {

// The box's lines, painted straight from the model: only the rows in sight
// are read and drawn, and a new line costs a scroll range and a repaint, so
// an event costs the same however long the log has grown. (An item view
// lays out every row again on each insertion.)
class LogLinesView : public QAbstractScrollArea {
 public:
  LogLinesView(const LogBox& box, QWidget* parent) : QAbstractScrollArea(parent), box_(box) {
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
  }

  // New lines came on top. A reader who scrolled down keeps the lines in
  // sight; one at the top sees the newest.
  void Grow() {
    const int now = Rows();
    const int added = now - rows_;
    rows_ = now;
    QScrollBar* bar = verticalScrollBar();
    const int at = bar->value();
    UpdateRanges();
    if (at > 0 && added > 0) bar->setValue(at + added);
    viewport()->update();
  }

  void Reload() {
    rows_ = Rows();
    widest_ = 0;
    UpdateRanges();
    verticalScrollBar()->setValue(0);
    viewport()->update();
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Text));
    const QFontMetrics metrics = fontMetrics();
    const int height = LineHeight();
    const int first = verticalScrollBar()->value();
    const int x = kMargin - horizontalScrollBar()->value();
    // A box emptied by an unload that the view was not told of shows nothing.
    const int last = std::min({first + viewport()->height() / height + 1, rows_, Rows()});
    int widest = widest_;
    for (int row = first; row < last; ++row) {
      const QString text = Qs(box_.Line(static_cast<std::size_t>(row)));
      const int y = (row - first) * height;
      painter.drawText(x, y + metrics.ascent(), text);
      widest = std::max(widest, metrics.horizontalAdvance(text));
    }
    if (widest != widest_) {
      widest_ = widest;
      UpdateRanges();
    }
  }

  void resizeEvent(QResizeEvent* event) override {
    QAbstractScrollArea::resizeEvent(event);
    UpdateRanges();
  }

  void keyPressEvent(QKeyEvent* event) override {
    QScrollBar* bar = verticalScrollBar();
    if (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::SelectAll)) {
      // The whole log, as the support message would send it.
      QGuiApplication::clipboard()->setText(Qs(box_.Text()));
    } else if (event->matches(QKeySequence::MoveToStartOfDocument) ||
               event->key() == Qt::Key_Home) {
      bar->setValue(0);
    } else if (event->matches(QKeySequence::MoveToEndOfDocument) || event->key() == Qt::Key_End) {
      bar->setValue(bar->maximum());
    } else {
      QAbstractScrollArea::keyPressEvent(event);
    }
  }

 private:
  static constexpr int kMargin = 3;

  [[nodiscard]] int Rows() const { return static_cast<int>(box_.LineCount()); }
  [[nodiscard]] int LineHeight() const { return std::max(1, fontMetrics().lineSpacing()); }

  void UpdateRanges() {
    const int visible = std::max(1, viewport()->height() / LineHeight());
    QScrollBar* bar = verticalScrollBar();
    bar->setRange(0, std::max(0, rows_ - visible));
    bar->setPageStep(visible);
    bar->setSingleStep(1);
    QScrollBar* across = horizontalScrollBar();
    across->setRange(0, std::max(0, widest_ + 2 * kMargin - viewport()->width()));
    across->setPageStep(viewport()->width());
  }

  const LogBox& box_;
  int rows_ = 0;
  int widest_ = 0;
};

class LogBoxBinding : public ControlBinding {
 public:
  LogBoxBinding(LogBox& box, QWidget* parent, const RenderContext& context)
      : ControlBinding(box, new LogLinesView(box, parent), context) {}

 protected:
  void Apply(std::string_view property) override {
    auto* view = static_cast<LogLinesView*>(Widget());
    if (property == "Prepend") {
      view->Grow();
    } else if (property.empty() || property == "Text") {
      view->Reload();
    }
  }
};

}  // namespace

std::unique_ptr<ControlBinding> MakeLogBoxBinding(LogBox& box, QWidget* parent,
                                                  const RenderContext& context) {
  return std::make_unique<LogBoxBinding>(box, parent, context);
}

}  // namespace vellix::qtview
