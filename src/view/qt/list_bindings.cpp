// Bindings of the kinds that hold many entries: combo and list boxes, tab
// strips, tree views and grids.
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionProgressBar>
#include <QStyledItemDelegate>
#include <QTabBar>
#include <QTableWidget>
#include <QTreeWidget>
#include <unordered_map>

#include "foundation/controls.h"
#include "view/qt/control_binding.h"

namespace vellix::qtview {

namespace {

class ComboBinding : public ControlBinding {
 public:
  ComboBinding(ComboBox& combo, QWidget* parent, const RenderContext& context)
      : ControlBinding(combo, new QComboBox(parent), context), combo_(combo) {
    auto* widget = static_cast<QComboBox*>(Widget());
    widget->setInsertPolicy(QComboBox::NoInsert);
    connect(widget, &QComboBox::activated, this,
            [this](int index) { User([this, index] { combo_.UserPick(index); }); });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QComboBox*>(Widget());
    const bool editable = combo_.Style() == ComboBox::kDropdownCombo;
    if (widget->isEditable() != editable) {
      widget->setEditable(editable);
      if (editable) {
        // Completion would put texts in the field the user never typed.
        widget->setCompleter(nullptr);
        WatchFocus(widget->lineEdit());
        connect(widget->lineEdit(), &QLineEdit::textEdited, this, [this](const QString& text) {
          User([this, text] { combo_.UserSetText(Std(text)); });
        });
      }
    }
    bool same = widget->count() == combo_.ListCount();
    for (int i = 0; same && i < widget->count(); ++i)
      same = widget->itemText(i) == Qs(combo_.List(i));
    if (!same) {
      widget->clear();
      for (int i = 0; i < combo_.ListCount(); ++i)
        widget->addItem(Qs(combo_.List(i)));
    }
    if (widget->currentIndex() != combo_.ListIndex()) widget->setCurrentIndex(combo_.ListIndex());
    if (editable && widget->currentText() != Qs(combo_.Text()))
      widget->setEditText(Qs(combo_.Text()));
  }

 private:
  ComboBox& combo_;
};

class ListBinding : public ControlBinding {
 public:
  ListBinding(ListBox& list, QWidget* parent, const RenderContext& context)
      : ControlBinding(list, new QListWidget(parent), context), list_(list) {
    auto* widget = static_cast<QListWidget*>(Widget());
    connect(widget, &QListWidget::itemChanged, this, [this, widget](QListWidgetItem* item) {
      if (Applying() || list_.Style() != ListBox::kCheckbox) return;
      const int row = widget->row(item);
      const bool ticked = item->checkState() == Qt::Checked;
      if (row >= 0 && ticked != list_.Selected(row))
        User([this, row, ticked] { list_.UserCheck(row, ticked); });
    });
    connect(widget, &QListWidget::itemClicked, this, [this, widget](QListWidgetItem* item) {
      const int row = widget->row(item);
      const bool extend = (QApplication::keyboardModifiers() & Qt::ControlModifier) != 0;
      User([this, row, extend] { list_.UserClickRow(row, extend); });
    });
    // Moving with the keys; a mouse press moves the row too, and its click follows.
    connect(widget, &QListWidget::currentItemChanged, this,
            [this, widget](QListWidgetItem* current, QListWidgetItem* previous) {
              const int row = widget->row(current);
              if (Applying() || row < 0 || row == list_.ListIndex()) return;
              if (QApplication::mouseButtons() != Qt::NoButton) return;
              // A list taking the focus with no current row makes its first
              // row current without selecting it: no user chose anything.
              if (previous == nullptr && !current->isSelected()) return;
              User([this, row] { list_.UserClickRow(row); });
            });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QListWidget*>(Widget());
    const bool ticks = list_.Style() == ListBox::kCheckbox;
    switch (ticks ? ListBox::kMultiSelectNone : list_.MultiSelect()) {
      case ListBox::kMultiSelectSimple:
        widget->setSelectionMode(QAbstractItemView::MultiSelection);
        break;
      case ListBox::kMultiSelectExtended:
        widget->setSelectionMode(QAbstractItemView::ExtendedSelection);
        break;
      default:
        widget->setSelectionMode(QAbstractItemView::SingleSelection);
        break;
    }
    while (widget->count() > list_.ListCount())
      delete widget->takeItem(widget->count() - 1);
    while (widget->count() < list_.ListCount())
      widget->addItem(QString());
    for (int i = 0; i < list_.ListCount(); ++i) {
      QListWidgetItem* item = widget->item(i);
      const QString text = Qs(list_.List(i));
      if (item->text() != text) item->setText(text);
      if (ticks) {
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        const auto state = list_.Selected(i) ? Qt::Checked : Qt::Unchecked;
        // A row that was never given a state draws no box at all.
        if (item->data(Qt::CheckStateRole).isNull() || item->checkState() != state)
          item->setCheckState(state);
      } else {
        item->setFlags(item->flags() & ~Qt::ItemIsUserCheckable);
        item->setData(Qt::CheckStateRole, QVariant());
        const bool selected = list_.MultiSelect() == ListBox::kMultiSelectNone
                                  ? i == list_.ListIndex()
                                  : list_.Selected(i);
        if (item->isSelected() != selected) item->setSelected(selected);
      }
    }
    if (widget->currentRow() != list_.ListIndex()) {
      widget->setCurrentRow(list_.ListIndex(), QItemSelectionModel::NoUpdate);
    }
  }

 private:
  ListBox& list_;
};

class TabBinding : public ControlBinding {
 public:
  TabBinding(TabStrip& strip, QWidget* parent, const RenderContext& context)
      : ControlBinding(strip, new QTabBar(parent), context), strip_(strip) {
    auto* widget = static_cast<QTabBar*>(Widget());
    widget->setExpanding(false);
    widget->setDrawBase(true);
    connect(widget, &QTabBar::currentChanged, this, [this, widget](int index) {
      if (Applying() || index < 0) return;
      const std::string key = Std(widget->tabData(index).toString());
      // A refusal by the model puts the bar back on the selected tab.
      User([this, key] { strip_.UserSelectTab(key); });
    });
  }

 protected:
  void Apply(std::string_view /*property*/) override {
    auto* widget = static_cast<QTabBar*>(Widget());
    while (widget->count() > strip_.TabCount())
      widget->removeTab(widget->count() - 1);
    while (widget->count() < strip_.TabCount())
      widget->addTab(QString());
    for (int i = 0; i < strip_.TabCount(); ++i) {
      const TabStrip::Tab& tab = strip_.Tabs(i + 1);
      widget->setTabText(i, Qs(tab.Caption()));
      widget->setTabToolTip(i, Qs(tab.ToolTipText()));
      widget->setTabData(i, Qs(tab.Key()));
    }
    const TabStrip::Tab* selected = strip_.SelectedItem();
    const int index = selected == nullptr ? -1 : selected->Index() - 1;
    if (widget->currentIndex() != index) widget->setCurrentIndex(index);
  }
  // The strip is named by the page in view, as a tab's own caption names it.
  [[nodiscard]] QString Caption() const override {
    const TabStrip::Tab* selected = strip_.SelectedItem();
    return selected == nullptr ? QString() : PlainCaption(selected->Caption());
  }

 private:
  TabStrip& strip_;
};

constexpr int kKeyRole = Qt::UserRole + 1;

class TreeBinding : public ControlBinding {
 public:
  TreeBinding(TreeView& tree, QWidget* parent, const RenderContext& context)
      : ControlBinding(tree, new QTreeWidget(parent), context), tree_(tree) {
    auto* widget = static_cast<QTreeWidget*>(Widget());
    widget->setHeaderHidden(true);
    widget->setColumnCount(1);
    // Tab goes on to the next control; the arrows move within the tree.
    widget->setTabKeyNavigation(false);
    connect(widget, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
      const std::string key = Std(item->data(0, kKeyRole).toString());
      if (!key.empty()) User([this, key] { tree_.UserClickNode(key); });
    });
    connect(widget, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* item) {
      if (!Applying()) Expand(item, true);
    });
    connect(widget, &QTreeWidget::itemCollapsed, this, [this](QTreeWidgetItem* item) {
      if (!Applying()) Expand(item, false);
    });
  }

 protected:
  void Apply(std::string_view property) override {
    auto* widget = static_cast<QTreeWidget*>(Widget());
    if (property.empty() || property == "Nodes") {
      widget->clear();
      items_.clear();
      for (TreeNode* root : tree_.Roots())
        widget->addTopLevelItem(Build(root));
    }
    for (auto& [node, item] : items_) {
      item->setText(0, Qs(node->Text()));
      if (item->isExpanded() != node->Expanded()) item->setExpanded(node->Expanded());
    }
    auto it = items_.find(tree_.SelectedItem());
    if (it != items_.end()) {
      widget->setCurrentItem(it->second);
    } else {
      widget->clearSelection();
    }
  }

 private:
  QTreeWidgetItem* Build(TreeNode* node) {
    auto* item = new QTreeWidgetItem(QStringList{Qs(node->Text())});
    item->setData(0, kKeyRole, Qs(node->Key()));
    items_[node] = item;
    for (TreeNode* child : node->Children())
      item->addChild(Build(child));
    return item;
  }

  void Expand(QTreeWidgetItem* item, bool expanded) {
    const std::string key = Std(item->data(0, kKeyRole).toString());
    if (!key.empty()) User([this, key, expanded] { tree_.UserExpand(key, expanded); });
  }

  TreeView& tree_;
  std::unordered_map<TreeNode*, QTreeWidgetItem*> items_;
};

Qt::Alignment CellAlignment(int32_t alignment, const QString& text) {
  if (alignment == FlexGrid::kAlignGeneral) {
    bool number = false;
    text.toDouble(&number);
    return (number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
  }
  const int horizontal = alignment / 3;
  const int vertical = alignment % 3;
  const Qt::Alignment h = horizontal == 0   ? Qt::AlignLeft
                          : horizontal == 1 ? Qt::AlignHCenter
                                            : Qt::AlignRight;
  const Qt::Alignment v = vertical == 0   ? Qt::AlignTop
                          : vertical == 1 ? Qt::AlignVCenter
                                          : Qt::AlignBottom;
  return h | v;
}

// Draws a cell whose text is a share ("25%") as a progress bar with the
// text on it; every other cell as the grid always does.
class ProgressCellDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    const QString text = index.data(Qt::DisplayRole).toString();
    const int percent = CellPercent(text);
    if (percent < 0) {
      QStyledItemDelegate::paint(painter, option, index);
      return;
    }
    const QWidget* widget = option.widget;
    QStyle* style = widget != nullptr ? widget->style() : QApplication::style();
    // The cell's own background first, so a selected row still shows as one.
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    cell.text.clear();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, widget);

    QStyleOptionProgressBar bar;
    bar.initFrom(widget);
    bar.rect = option.rect.adjusted(1, 1, -1, -1);
    bar.state = (option.state & QStyle::State_Enabled) | QStyle::State_Horizontal;
    bar.minimum = 0;
    bar.maximum = 100;
    bar.progress = percent;
    bar.text = text;
    bar.textVisible = true;
    bar.textAlignment = Qt::AlignCenter;
    style->drawControl(QStyle::CE_ProgressBar, &bar, painter, widget);
  }
};

class GridBinding : public ControlBinding {
 public:
  GridBinding(FlexGrid& grid, QWidget* parent, const RenderContext& context)
      : ControlBinding(grid, new QTableWidget(parent), context), grid_(grid) {
    auto* widget = static_cast<QTableWidget*>(Widget());
    widget->horizontalHeader()->hide();
    // The last column ends at the grid's inner edge: a width "to the edge" in
    // twips would otherwise pass it by the frame's few pixels.
    widget->horizontalHeader()->setStretchLastSection(true);
    widget->verticalHeader()->hide();
    widget->setItemDelegate(new ProgressCellDelegate(widget));
    widget->setEditTriggers(QAbstractItemView::NoEditTriggers);
    widget->setSelectionMode(QAbstractItemView::SingleSelection);
    // Tab goes on to the next control; the arrows move between the cells.
    widget->setTabKeyNavigation(false);
    widget->setMouseTracking(true);
    widget->viewport()->setMouseTracking(true);
    widget->viewport()->installEventFilter(this);
    connect(widget, &QTableWidget::cellClicked, this, [this](int row, int col) {
      User([this, row, col] { grid_.UserClickCell(row, col); });
    });
  }

 protected:
  void Apply(std::string_view property) override {
    auto* widget = static_cast<QTableWidget*>(Widget());
    const bool all = property.empty();
    if (all || property == "Rows" || property == "Cols" || property == "FixedRows" ||
        property == "FixedCols" || property == "ColWidth" || property == "RowHeight") {
      Shape(widget);
    }
    if (property == "CellText") {
      // One cell changed: a progress cell changes many times a second, and
      // the rest of the grid has nothing new.
      const int r = grid_.ChangedRow();
      const int c = grid_.ChangedCol();
      if (r < widget->rowCount() && c < widget->columnCount() && r >= 0 && c >= 0) {
        CellTo(widget, r, c, widget->palette().button());
      }
    } else if (all || property != "Cell") {
      Texts(widget);
    }
    if (grid_.Row() >= 0 && grid_.Col() >= 0 &&
        (widget->currentRow() != grid_.Row() || widget->currentColumn() != grid_.Col())) {
      widget->setCurrentCell(grid_.Row(), grid_.Col());
    }
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* widget = static_cast<QTableWidget*>(Widget());
    if (watched == widget->viewport() && event->type() == QEvent::MouseMove) {
      auto* move = static_cast<QMouseEvent*>(event);
      const QPoint at = widget->viewport()->mapTo(widget, move->position().toPoint());
      const int16_t button = (move->buttons() & Qt::LeftButton) != 0 ? 1 : 0;
      const int16_t shift = (move->modifiers() & Qt::ShiftModifier) != 0 ? 1 : 0;
      const double x = Twips(at.x());
      const double y = Twips(at.y());
      if (!Detached() && !Applying()) {
        RunGuarded("grid mouse", [&] { grid_.UserMouseMove(x, y, button, shift); });
      }
    }
    return ControlBinding::eventFilter(watched, event);
  }

 private:
  void Shape(QTableWidget* widget) {
    widget->setRowCount(grid_.Rows());
    widget->setColumnCount(grid_.Cols());
    // The last column stretches to the inner edge (see the constructor).
    for (int c = 0; c + 1 < grid_.Cols(); ++c)
      widget->setColumnWidth(c, Px(grid_.ColWidth(c)));
    for (int r = 0; r < grid_.Rows(); ++r)
      widget->setRowHeight(r, Px(grid_.RowHeight(r)));
  }

  void Texts(QTableWidget* widget) {
    const QBrush fixed = widget->palette().button();
    for (int r = 0; r < grid_.Rows(); ++r) {
      for (int c = 0; c < grid_.Cols(); ++c)
        CellTo(widget, r, c, fixed);
    }
  }

  // Puts the model's cell into the widget; the item's setters tell the view
  // only what differs, so an unchanged cell is not redrawn.
  void CellTo(QTableWidget* widget, int r, int c, const QBrush& fixed) {
    QTableWidgetItem* item = widget->item(r, c);
    if (item == nullptr) {
      item = new QTableWidgetItem;
      item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
      widget->setItem(r, c, item);
    }
    const QString text = Qs(grid_.TextMatrix(r, c));
    if (item->text() != text) item->setText(text);
    item->setTextAlignment(CellAlignment(grid_.CellAlignmentAt(r, c), text));
    const bool isFixed = r < grid_.FixedRows() || c < grid_.FixedCols();
    item->setBackground(isFixed ? fixed : QBrush());
  }

  FlexGrid& grid_;
};

}  // namespace

int CellPercent(const QString& text) {
  const qsizetype digits = text.size() - 1;
  if (digits < 1 || digits > 3 || !text.endsWith(QLatin1Char('%'))) return -1;
  // "##0" writes no leading zeros and no sign.
  if (digits > 1 && text.front() == QLatin1Char('0')) return -1;
  int value = 0;
  for (qsizetype i = 0; i < digits; ++i) {
    const QChar ch = text[i];
    if (ch < QLatin1Char('0') || ch > QLatin1Char('9')) return -1;
    value = value * 10 + (ch.unicode() - '0');
  }
  return value <= 100 ? value : -1;
}

std::unique_ptr<ControlBinding> MakeListBinding(Control& control, QWidget* parent,
                                                const RenderContext& context) {
  switch (control.Kind()) {
    case ControlKind::ComboBox:
      return std::make_unique<ComboBinding>(static_cast<ComboBox&>(control), parent, context);
    case ControlKind::ListBox:
      return std::make_unique<ListBinding>(static_cast<ListBox&>(control), parent, context);
    case ControlKind::TabStrip:
      return std::make_unique<TabBinding>(static_cast<TabStrip&>(control), parent, context);
    case ControlKind::TreeView:
      return std::make_unique<TreeBinding>(static_cast<TreeView&>(control), parent, context);
    case ControlKind::FlexGrid:
      return std::make_unique<GridBinding>(static_cast<FlexGrid&>(control), parent, context);
    default:
      return nullptr;
  }
}

}  // namespace vellix::qtview
