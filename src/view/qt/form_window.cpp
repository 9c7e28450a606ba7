#include "view/qt/form_window.h"

#include <QCloseEvent>
#include <QIcon>
#include <QResizeEvent>
#include <QWindowStateChangeEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/buttons.h"
#include "foundation/scoped_value.h"
#include "foundation/text.h"

namespace vellix::qtview {

namespace {

bool IsContainer(const Control& control) {
  return control.Kind() == ControlKind::Frame || control.Kind() == ControlKind::PictureBox;
}

}  // namespace

FormWindow::FormWindow(Form& form, Hooks hooks) : form_(&form), hooks_(std::move(hooks)) {
  ScopedValue scope(applying_, applying_ + 1);
  setObjectName(Qs(form.Name()));
  setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                 Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
  hooks_.context.restack = [this](const std::string& container) { Restack(container); };

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
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    if (waiting_.count(*it) == 0) continue;
    Make(**it);
    Restack((*it)->Container());
  }
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
  ApplyFocus();
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
  resize(static_cast<int>(std::lround(width / tpp)), static_cast<int>(std::lround(height / tpp)));
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
