#include "foundation/form.h"

#include <algorithm>
#include <utility>

#include "foundation/scoped_value.h"
#include "foundation/text.h"
#include "foundation/ui_host.h"

namespace vellix {

Form::Form(UiHost& host, std::string name) : host_(host), name_(std::move(name)) {}

Form::~Form() {
  // The controls are gone by now; the host only drops its window.
  if (loaded_) host_.UnloadForm(*this);
}

void Form::Caption(std::string value) {
  if (SetProperty(props_.caption, std::move(value))) Changed("Caption");
}

void Form::Left(int32_t value) {
  if (SetProperty(props_.left, value)) Changed("Left");
}

void Form::Top(int32_t value) {
  if (SetProperty(props_.top, value)) Changed("Top");
}

void Form::Width(int32_t value) {
  if (value < 0) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(props_.width, value)) SizeChanged("Width");
}

void Form::Height(int32_t value) {
  if (value < 0) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(props_.height, value)) SizeChanged("Height");
}

void Form::WindowState(int32_t value) {
  if (value < 0 || value > 2) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(props_.windowState, value)) SizeChanged("WindowState");
}

void Form::Icon(std::string value) {
  if (SetProperty(props_.icon, std::move(value))) Changed("Icon");
}

void Form::BackColor(int32_t value) {
  if (SetProperty(props_.backColor, value)) Changed("BackColor");
}

void Form::ScaleMode(int32_t value) {
  if (value < 0 || value > 7) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(props_.scaleMode, value)) Changed("ScaleMode");
}

void Form::Visible(bool value) {
  if (value) {
    Show(false);
  } else {
    Hide();
  }
}

void Form::Load() {
  if (loaded_) return;
  {
    ScopedValue designing(designing_, true);
    props_ = Props{};
    active_ = nullptr;
    for (Control* control : controls_)
      control->ResetAll();
    Design();
  }
  loaded_ = true;
  host_.LoadForm(*this);
  // A copy: a control's reaction must not disturb the walk.
  const auto controls = controls_;
  for (Control* control : controls)
    control->FormLoadChanged();
  Changed("Loaded");
  Form_Load();
}

void Form::Show(bool modal) {
  if (modal && visible_) RaiseControlError(ctlerr::kAlreadyDisplayed);
  Load();
  // Form_Load may have unloaded the form again.
  if (!loaded_) return;
  if (!visible_) {
    visible_ = true;
    Changed("Visible");
  }
  if (!modal) {
    host_.ShowForm(*this, false);
    return;
  }
  modal_ = true;
  try {
    host_.ShowForm(*this, true);
  } catch (...) {
    modal_ = false;
    throw;
  }
  modal_ = false;
}

void Form::Hide() {
  Load();
  if (!loaded_ || !visible_) return;
  visible_ = false;
  Changed("Visible");
  host_.HideForm(*this);
}

bool Form::Unload(int32_t unloadMode) {
  if (!loaded_) return true;
  // An unload asked for from inside this form's own unload handlers.
  if (unloading_) return false;
  {
    ScopedValue unloading(unloading_, true);
    bool cancel = false;
    Form_QueryUnload(cancel, unloadMode);
    if (cancel || !loaded_) return !loaded_;
    Form_Unload(cancel);
    if (cancel || !loaded_) return !loaded_;
  }
  loaded_ = false;
  const bool wasVisible = visible_;
  visible_ = false;
  if (active_ != nullptr) {
    active_ = nullptr;
    Changed("ActiveControl");
  }
  const auto controls = controls_;
  for (Control* control : controls)
    control->FormLoadChanged();
  host_.UnloadForm(*this);
  if (wasVisible) Changed("Visible");
  Changed("Loaded");
  return true;
}

void Form::BringToFront() {
  if (loaded_) host_.BringToFront(*this);
}

void Form::PopupMenu(Menu& menu, int32_t x, int32_t y) {
  if (loaded_) host_.PopupMenu(*this, menu, x, y);
}

Control* Form::Find(std::string_view name) const {
  auto it = std::find_if(controls_.begin(), controls_.end(),
                         [name](const Control* c) { return EqualsText(c->Name(), name); });
  return it == controls_.end() ? nullptr : *it;
}

std::vector<Control*> Form::ChildrenOf(std::string_view container) const {
  std::vector<Control*> out;
  for (Control* c : controls_) {
    if (EqualsText(c->Container(), container)) out.push_back(c);
  }
  return out;
}

void Form::HostActivated() {
  if (loaded_) Form_Activate();
}

bool Form::UserClose() {
  return Unload(kUnloadByUser);
}

void Form::UserResize(int32_t width, int32_t height) {
  Width(std::max(width, 0));
  Height(std::max(height, 0));
}

void Form::UserWindowState(int32_t state) {
  WindowState(state);
}

void Form::UserMouseMove(int16_t button, int16_t shift, double x, double y) {
  if (loaded_) Form_MouseMove(button, shift, x, y);
}

Connection Form::OnChanged(std::function<void(Form&, std::string_view)> observer) {
  return changed_.Connect(std::move(observer));
}

void Form::Register(Control& control) {
  if (Find(control.Name()) != nullptr) {
    // Two controls of one name would make every lookup by name ambiguous.
    throw VbError(err::kInvalidCall, "Duplicate control name " + control.Name() + " on " + name_);
  }
  controls_.push_back(&control);
}

void Form::Unregister(Control& control) {
  std::erase(controls_, &control);
  if (active_ == &control) active_ = nullptr;
}

void Form::MoveFocus(Control* to) {
  if (active_ == to) return;
  Control* from = active_;
  active_ = to;
  Changed("ActiveControl");
  if (from != nullptr) from->RaiseLostFocus();
  // A LostFocus handler may have moved the focus on again.
  if (to != nullptr && active_ == to) to->RaiseGotFocus();
}

void Form::Changed(std::string_view property) {
  if (changed_.HasHandlers()) changed_.Raise(*this, property);
}

void Form::SizeChanged(std::string_view property) {
  Changed(property);
  if (loaded_ && !designing_) Form_Resize();
}

}  // namespace vellix
