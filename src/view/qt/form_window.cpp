#include "view/qt/form_window.h"

#include <QCloseEvent>
#include <QIcon>
#include <QKeySequence>
#include <QResizeEvent>
#include <QShortcut>
#include <QTimer>
#include <QWindowStateChangeEvent>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "foundation/buttons.h"
#include "foundation/scoped_value.h"
#include "foundation/tab_strip.h"
#include "foundation/text.h"

namespace vellix::qtview {

namespace {

bool IsContainer(const Control& control) {
  return control.Kind() == ControlKind::Frame || control.Kind() == ControlKind::PictureBox;
}

// The controls of a container in the order Tab visits them: rows from the
// top, each row from the left, a container's own controls where it lies. A
// control joins a row while its top lies above the middle of the row's first
// control, so a field and its button a few twips lower count as one row. A
// container `descend` refuses (one with no widget yet) is passed over: none
// of its controls can have a widget either.
template <class Descend>
void AppendInTabOrder(const Form& form, const std::string& container, std::vector<Control*>& out,
                      std::unordered_set<const Control*>& seen, const Descend& descend) {
  std::vector<Control*> children;
  for (Control* child : form.ChildrenOf(container)) {
    if (child->Kind() != ControlKind::Menu && child->Kind() != ControlKind::Timer &&
        seen.insert(child).second)
      children.push_back(child);
  }
  std::stable_sort(children.begin(), children.end(),
                   [](const Control* a, const Control* b) { return a->Top() < b->Top(); });
  for (size_t begin = 0; begin < children.size();) {
    const double rowEnd = children[begin]->Top() + std::max(1.0, children[begin]->Height() / 2.0);
    size_t end = begin + 1;
    while (end < children.size() && children[end]->Top() < rowEnd)
      ++end;
    std::stable_sort(children.begin() + static_cast<std::ptrdiff_t>(begin),
                     children.begin() + static_cast<std::ptrdiff_t>(end),
                     [](const Control* a, const Control* b) { return a->Left() < b->Left(); });
    for (size_t i = begin; i < end; ++i) {
      out.push_back(children[i]);
      if (IsContainer(*children[i]) && descend(*children[i]))
        AppendInTabOrder(form, children[i]->Name(), out, seen, descend);
    }
    begin = end;
  }
}

bool TakesTabFocus(const QWidget* widget) {
  return (widget->focusPolicy() & Qt::TabFocus) != 0;
}

}  // namespace

FormWindow::FormWindow(Form& form, Hooks hooks) : form_(&form), hooks_(std::move(hooks)) {
  ScopedValue scope(applying_, applying_ + 1);
  setObjectName(Qs(form.Name()));
  setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                 Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
  hooks_.context.restack = [this](const std::string& container) { Restack(container); };
  hooks_.context.moved = [this] { ScheduleTabOrder(); };
  // Ctrl+Tab and Ctrl+Shift+Tab turn the pages of the form's tab strip,
  // whichever field has the focus.
  const auto shortcut = [this](const QKeySequence& keys, int direction) {
    auto* key = new QShortcut(keys, this);
    QObject::connect(key, &QShortcut::activated, this, [this, direction] { StepTab(direction); });
  };
  shortcut(QKeySequence(QKeySequence::NextChild), 1);
  shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab), -1);
  shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), -1);

  BuildChildren("", this);
  // Controls whose container isn't a frame or picture box (a misspelt one)
  // still show, on the form.
  std::unordered_set<const Control*> placed;
  std::vector<std::string> containers{""};
  while (!containers.empty()) {
    const std::string container = std::move(containers.back());
    containers.pop_back();
    for (Control* child : form.ChildrenOf(container)) {
      if (placed.insert(child).second && IsContainer(*child)) containers.push_back(child->Name());
    }
  }
  for (Control* control : form.Controls()) {
    if (placed.count(control) == 0) Wait(*control, this);
  }

  changed_ = form.OnChanged([this](Form&, std::string_view property) { OnFormChanged(property); });
  OnFormChanged("Caption");
  OnFormChanged("Icon");
  ApplySize();
}

FormWindow::~FormWindow() {
  // Bindings first, while the widgets they watch still exist.
  bindings_.clear();
}

void FormWindow::BuildChildren(const std::string& container, QWidget* parent) {
  for (Control* control : form_->ChildrenOf(container))
    Wait(*control, parent);
}

void FormWindow::Wait(Control& control, QWidget* parent) {
  if (control.Kind() == ControlKind::Menu || control.Kind() == ControlKind::Timer) return;
  // A container listed inside itself must not be built twice.
  if (!seen_.insert(&control).second) return;
  Waiting& waiting = waiting_[&control];
  waiting.parent = parent;
  waiting.watch = control.OnChanged([this](Control&, std::string_view property) {
    if ((property.empty() || property == "Visible" || property == "Reset") && isVisible())
      BuildShown();
  });
}

void FormWindow::Make(Control& control) {
  auto it = waiting_.find(&control);
  if (it == waiting_.end()) return;
  QWidget* parent = it->second.parent;
  waiting_.erase(it);
  ScopedValue scope(applying_, applying_ + 1);
  auto binding = MakeBinding(control, parent, hooks_.context);
  if (!binding) return;
  QWidget* widget = binding->Widget();
  widgets_[LCase(control.Name())] = widget;
  bindingOf_[&control] = binding.get();
  bindings_.push_back(std::move(binding));
  if (IsContainer(control)) BuildChildren(control.Name(), widget);
}

void FormWindow::BuildShown() {
  if (form_ == nullptr) return;
  // In the form's order, so the focus moves through them as it always has;
  // a container made adds its children, so look again after each round.
  for (;;) {
    std::vector<Control*> shown;
    for (Control* control : form_->Controls()) {
      if (waiting_.count(control) != 0 && control->Visible()) shown.push_back(control);
    }
    if (shown.empty()) return;
    std::unordered_set<std::string> containers;
    for (Control* control : shown) {
      Make(*control);
      containers.insert(control->Container());
    }
    for (const std::string& container : containers)
      Restack(container);
    ApplyTabOrder();
  }
}

void FormWindow::Detach() {
  if (form_ == nullptr) return;
  changed_.Disconnect();
  for (auto& binding : bindings_)
    binding->Detach();
  waiting_.clear();
  form_ = nullptr;
}

QWidget* FormWindow::Built(std::string_view name) const {
  auto it = widgets_.find(LCase(name));
  return it == widgets_.end() ? nullptr : it->second;
}

QWidget* FormWindow::WidgetOf(std::string_view name) {
  if (QWidget* widget = Built(name); widget != nullptr || form_ == nullptr) return widget;
  // Make it now, with the containers around it, outermost first.
  std::vector<Control*> chain;
  for (Control* control = form_->Find(name); control != nullptr && chain.size() < 64;) {
    chain.push_back(control);
    control = control->Container().empty() ? nullptr : form_->Find(control->Container());
  }
  bool made = false;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if (waiting_.count(*it) == 0) continue;
    Make(**it);
    Restack((*it)->Container());
    made = true;
  }
  if (made) ApplyTabOrder();
  return Built(name);
}

void FormWindow::ShowAsModel() {
  BuildShown();
  ScopedValue scope(applying_, applying_ + 1);
  switch (form_ == nullptr ? 0 : form_->WindowState()) {
    case 1:
      showMinimized();
      break;
    case 2:
      showMaximized();
      break;
    default:
      showNormal();
      break;
  }
  ApplyTabOrder();
  if (form_ != nullptr && form_->ActiveControl() != nullptr) {
    ApplyFocus();
  } else {
    FocusFirst();
  }
}

std::vector<std::string> FormWindow::TabOrder() const {
  std::vector<std::string> names;
  for (QWidget* widget : TabWidgets())
    names.push_back(Std(widget->objectName()));
  return names;
}

std::vector<Control*> FormWindow::ReadingOrder() const {
  std::vector<Control*> order;
  if (form_ == nullptr) return order;
  std::unordered_set<const Control*> seen;
  AppendInTabOrder(*form_, "", order, seen,
                   [this](const Control& container) { return Built(container.Name()) != nullptr; });
  // Controls whose container is missing lie on the form; they come last.
  // (Those of a container passed over have no widget and drop out later.)
  for (Control* control : form_->Controls()) {
    if (seen.count(control) == 0) order.push_back(control);
  }
  return order;
}

std::vector<QWidget*> FormWindow::TabWidgets() const {
  return TabWidgets(ReadingOrder());
}

std::vector<QWidget*> FormWindow::TabWidgets(const std::vector<Control*>& order) const {
  std::vector<QWidget*> widgets;
  for (Control* control : order) {
    QWidget* widget = Built(control->Name());
    if (widget != nullptr && TakesTabFocus(widget)) widgets.push_back(widget);
  }
  return widgets;
}

void FormWindow::ApplyTabOrder() {
  tabOrderDue_ = false;
  const std::vector<Control*> order = ReadingOrder();
  const std::vector<QWidget*> widgets = TabWidgets(order);
  for (size_t i = 1; i < widgets.size(); ++i)
    QWidget::setTabOrder(widgets[i - 1], widgets[i]);
  // The same pass names the fields: a label moved or made since names anew.
  for (size_t i = 0; i < order.size(); ++i) {
    auto it = bindingOf_.find(order[i]);
    if (it != bindingOf_.end() && TakesTabFocus(it->second->Widget()))
      it->second->Buddy(LabelOf(order, i));
  }
}

ControlBinding* FormWindow::LabelOf(const std::vector<Control*>& order, size_t at) const {
  // As the row rule lays a form out: the label that starts the field's row
  // ("Try later in [5] [Minutes]" names both), else the option or check box
  // it follows on its row ("Run later [date]"), else a heading above it that
  // starts where it starts, with no other field between.
  constexpr int32_t kSameEdge = 30;
  const Control& field = *order[at];
  const auto bindingOf = [this](const Control& control) -> ControlBinding* {
    auto it = bindingOf_.find(&control);
    return it == bindingOf_.end() ? nullptr : it->second;
  };
  ControlBinding* choice = nullptr;
  bool crossed = false;
  for (size_t i = at; i-- > 0;) {
    const Control& other = *order[i];
    if (!EqualsText(other.Container(), field.Container()) || IsContainer(other) ||
        other.Kind() == ControlKind::Timer || other.Kind() == ControlKind::Menu)
      continue;
    const bool label = other.Kind() == ControlKind::Label;
    const int32_t middle = other.Top() + other.Height() / 2;
    if (middle >= field.Top() && middle <= field.Top() + field.Height() &&
        other.Left() < field.Left()) {
      if (label) {
        if (ControlBinding* binding = bindingOf(other)) return binding;
      } else {
        const bool choosing =
            other.Kind() == ControlKind::OptionButton || other.Kind() == ControlKind::CheckBox;
        if (!crossed && choosing) choice = bindingOf(other);
        crossed = true;
      }
      continue;
    }
    if (crossed || !label) return choice;
    if (middle < field.Top() && std::abs(other.Left() - field.Left()) <= kSameEdge) {
      if (ControlBinding* binding = bindingOf(other)) return binding;
    }
  }
  return choice;
}

void FormWindow::ScheduleTabOrder() {
  if (tabOrderDue_) return;
  tabOrderDue_ = true;
  QTimer::singleShot(0, this, [this] {
    if (tabOrderDue_) ApplyTabOrder();
  });
}

void FormWindow::FocusFirst() {
  // Only the focus moves: an option button given the focus stays as it is.
  for (QWidget* widget : TabWidgets()) {
    if (!widget->isVisible() || !widget->isEnabled()) continue;
    if (!widget->hasFocus()) widget->setFocus(Qt::TabFocusReason);
    // A window not yet active gets the focus only when it activates, and the
    // bindings take that for a return to the window: tell the model here.
    Control* control = form_ == nullptr ? nullptr : form_->Find(Std(widget->objectName()));
    if (control != nullptr && form_->ActiveControl() != control)
      RunGuarded("first focus", [control] { control->UserFocus(); });
    return;
  }
}

void FormWindow::StepTab(int direction) {
  if (form_ == nullptr) return;
  TabStrip* strip = nullptr;
  for (Control* control : form_->Controls()) {
    if (control->Kind() == ControlKind::TabStrip && control->Reachable()) {
      strip = static_cast<TabStrip*>(control);
      break;
    }
  }
  if (strip == nullptr || strip->TabCount() == 0) return;
  const int32_t count = strip->TabCount();
  const TabStrip::Tab* selected = strip->SelectedItem();
  const int32_t current = selected == nullptr ? (direction > 0 ? 0 : 1) : selected->Index();
  const int32_t next = ((current - 1 + direction) % count + count) % count + 1;
  const std::string key = strip->Tabs(next).Key();
  // As a click on the strip: the focus moves to it first (the field that had
  // it gets its LostFocus), then the strip's BeforeClick may keep the page.
  RunGuarded("next tab", [strip, &key] { strip->UserSelectTab(key); });
}

void FormWindow::Restack(const std::string& container) {
  if (form_ == nullptr) return;
  std::vector<Control*> children = form_->ChildrenOf(container);
  std::stable_sort(children.begin(), children.end(),
                   [](const Control* a, const Control* b) { return a->ZIndex() < b->ZIndex(); });
  for (Control* child : children) {
    if (QWidget* widget = Built(child->Name())) widget->raise();
  }
}

void FormWindow::OnFormChanged(std::string_view property) {
  if (form_ == nullptr) return;
  ScopedValue scope(applying_, applying_ + 1);
  if (property == "Caption") {
    setWindowTitle(Qs(form_->Caption()));
  } else if (property == "Width" || property == "Height") {
    ApplySize();
  } else if (property == "Left" || property == "Top") {
    move(static_cast<int>(form_->Left() / hooks_.context.twipsPerPixel),
         static_cast<int>(form_->Top() / hooks_.context.twipsPerPixel));
  } else if (property == "WindowState") {
    ApplyWindowState();
  } else if (property == "Icon") {
    const QPixmap pixmap = hooks_.context.picture && !form_->Icon().empty()
                               ? hooks_.context.picture(form_->Icon())
                               : QPixmap();
    setWindowIcon(pixmap.isNull() ? QIcon() : QIcon(pixmap));
  } else if (property == "ActiveControl") {
    ApplyFocus();
  }
}

void FormWindow::ApplySize() {
  const double tpp = hooks_.context.twipsPerPixel;
  const int width = std::max(0, form_->Width() - 2 * kFrameSideTwips);
  const int height = std::max(0, form_->Height() - kFrameTopTwips - kFrameSideTwips);
  // Fixed: the form lays its controls out from its own metrics, so a frame
  // the user stretches would only show empty space.
  setFixedSize(static_cast<int>(std::lround(width / tpp)),
               static_cast<int>(std::lround(height / tpp)));
}

void FormWindow::ApplyWindowState() {
  if (!isVisible()) return;
  const int32_t state = form_->WindowState();
  if (state == 1 && !isMinimized()) {
    showMinimized();
  } else if (state == 2 && !isMaximized()) {
    showMaximized();
  } else if (state == 0 && (isMinimized() || isMaximized())) {
    showNormal();
  }
}

void FormWindow::ApplyFocus() {
  Control* active = form_ == nullptr ? nullptr : form_->ActiveControl();
  if (active == nullptr) return;
  if (QWidget* widget = WidgetOf(active->Name())) {
    if (!widget->hasFocus()) widget->setFocus(Qt::OtherFocusReason);
  }
}

bool FormWindow::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate && form_ != nullptr && hooks_.activated) {
    Form& form = *form_;
    RunGuarded("activate", [&] { hooks_.activated(form); });
  }
  return QDialog::event(event);
}

void FormWindow::closeEvent(QCloseEvent* event) {
  if (form_ == nullptr) {
    event->accept();
    return;
  }
  Form& form = *form_;
  RunGuarded("close", [&] { form.UserClose(); });
  // Unloaded: the host has taken the window away already. Kept (a handler
  // cancelled, or hid the form instead): the window stays as the model says.
  if (form_ == nullptr) {
    event->accept();
  } else {
    event->ignore();
  }
}

void FormWindow::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() != QEvent::WindowStateChange || form_ == nullptr || applying_ > 0) return;
  const int32_t state = isMinimized() ? 1 : isMaximized() ? 2 : 0;
  if (state == form_->WindowState()) return;
  Form& form = *form_;
  RunGuarded("window state", [&] { form.UserWindowState(state); });
}

void FormWindow::resizeEvent(QResizeEvent* event) {
  QDialog::resizeEvent(event);
  if (form_ == nullptr || applying_ > 0 || !event->spontaneous() || isMinimized()) return;
  const double tpp = hooks_.context.twipsPerPixel;
  const auto width =
      static_cast<int32_t>(std::lround(event->size().width() * tpp)) + 2 * kFrameSideTwips;
  const auto height = static_cast<int32_t>(std::lround(event->size().height() * tpp)) +
                      kFrameTopTwips + kFrameSideTwips;
  // The model's size rounds to whole pixels here; only a real change counts.
  if (std::abs(width - form_->Width()) < tpp && std::abs(height - form_->Height()) < tpp) return;
  Form& form = *form_;
  RunGuarded("resize", [&] { form.UserResize(width, height); });
}

void FormWindow::reject() {
  if (form_ == nullptr) return;
  for (Control* control : form_->Controls()) {
    auto* button = dynamic_cast<CommandButton*>(control);
    if (button != nullptr && button->Cancel() && button->Reachable()) {
      RunGuarded("cancel", [button] { button->UserClick(); });
      return;
    }
  }
}

}  // namespace vellix::qtview
