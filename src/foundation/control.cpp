#include "foundation/control.h"

#include "foundation/form.h"
#include "foundation/vb_error.h"

namespace vellix {

std::string_view KindName(ControlKind kind) {
  switch (kind) {
    case ControlKind::Label:
      return "Label";
    case ControlKind::CommandButton:
      return "CommandButton";
    case ControlKind::TextBox:
      return "TextBox";
    case ControlKind::LogBox:
      return "LogBox";
    case ControlKind::CheckBox:
      return "CheckBox";
    case ControlKind::OptionButton:
      return "OptionButton";
    case ControlKind::ComboBox:
      return "ComboBox";
    case ControlKind::ListBox:
      return "ListBox";
    case ControlKind::Frame:
      return "Frame";
    case ControlKind::PictureBox:
      return "PictureBox";
    case ControlKind::TabStrip:
      return "TabStrip";
    case ControlKind::TreeView:
      return "TreeView";
    case ControlKind::FlexGrid:
      return "FlexGrid";
    case ControlKind::DatePicker:
      return "DatePicker";
    case ControlKind::UpDown:
      return "UpDown";
    case ControlKind::Timer:
      return "Timer";
    case ControlKind::Menu:
      return "Menu";
  }
  return "Control";
}

void RaiseControlError(int32_t number) {
  switch (number) {
    case ctlerr::kInvalidPropertyValue:
      throw VbError(number, "Invalid property value");
    case ctlerr::kInvalidPropertyIndex:
      throw VbError(number, "Invalid property array index");
    case ctlerr::kTextReadOnly:
      throw VbError(number, "'Text' property is read-only");
    case ctlerr::kAlreadyDisplayed:
      throw VbError(number, "Form already displayed; can't show modally");
    case ctlerr::kControlNotFound:
      throw VbError(number, "Control not found");
    case ctlerr::kInvalidRow:
      throw VbError(number, "Invalid Row value");
    case ctlerr::kInvalidCol:
      throw VbError(number, "Invalid Col value");
    case ctlerr::kIndexOutOfBounds:
      throw VbError(number, "Index out of bounds");
    case ctlerr::kElementNotFound:
      throw VbError(number, "Element not found");
    case ctlerr::kDateOutOfRange:
      throw VbError(number,
                    "A date was specified that does not fall within the MinDate and MaxDate "
                    "properties");
    default:
      throw VbError(number);
  }
}

Control::Control(Form& form, ControlKind kind, std::string name, std::string container)
    : form_(form), kind_(kind), name_(std::move(name)), container_(std::move(container)) {
  form_.Register(*this);
}

Control::~Control() {
  form_.Unregister(*this);
}

Control* Control::ContainerControl() const {
  return container_.empty() ? nullptr : form_.Find(container_);
}

void Control::Enabled(bool value) {
  if (!SetProperty(base_.enabled, value)) return;
  Changed("Enabled");
  EnabledChanged();
}

void Control::Visible(bool value) {
  if (SetProperty(base_.visible, value)) Changed("Visible");
}

void Control::ToolTipText(std::string value) {
  if (SetProperty(base_.toolTip, std::move(value))) Changed("ToolTipText");
}

void Control::Left(int32_t value) {
  if (SetProperty(base_.left, value)) Changed("Left");
}

void Control::Top(int32_t value) {
  if (SetProperty(base_.top, value)) Changed("Top");
}

void Control::Width(int32_t value) {
  if (value < 0) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(base_.width, value)) Changed("Width");
}

void Control::Height(int32_t value) {
  if (value < 0) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(base_.height, value)) Changed("Height");
}

void Control::Move(int32_t left, int32_t top, int32_t width, int32_t height) {
  if (width < 0 || height < 0) RaiseControlError(ctlerr::kInvalidPropertyValue);
  Left(left);
  Top(top);
  Width(width);
  Height(height);
}

void Control::BackColor(int32_t value) {
  if (SetProperty(base_.backColor, value)) Changed("BackColor");
}

void Control::ZOrder(int32_t position) {
  base_.zIndex = position == 0 ? form_.NextFrontZ() : form_.NextBackZ();
  Changed("ZOrder");
}

bool Control::Reachable() const {
  const Control* c = this;
  // A container chain can't loop in a sane form; the bound guards a broken one.
  for (size_t depth = 0; c != nullptr && depth <= form_.Controls().size(); ++depth) {
    if (!c->Visible() || !c->Enabled()) return false;
    c = c->ContainerControl();
  }
  return true;
}

bool Control::HasFocus() const {
  return form_.ActiveControl() == this;
}

void Control::SetFocus() {
  if (!CanFocus() || !Reachable()) Raise(err::kInvalidCall);
  form_.MoveFocus(this);
}

bool Control::UserFocus() {
  if (!CanFocus() || !Reachable()) return false;
  form_.MoveFocus(this);
  return true;
}

void Control::UserLeave() {
  if (HasFocus()) form_.MoveFocus(nullptr);
}

bool Control::BeginUserAction() {
  if (!Reachable()) return false;
  if (CanFocus()) form_.MoveFocus(this);
  return true;
}

bool Control::UserClick() {
  if (!BeginUserAction()) return false;
  Fire(Click);
  return true;
}

bool Control::UserMouseMove(double x, double y, int16_t button, int16_t shift) {
  if (!Reachable()) return false;
  Fire(MouseMove, button, shift, x, y);
  return true;
}

Connection Control::OnChanged(std::function<void(Control&, std::string_view)> observer) {
  return changed_.Connect(std::move(observer));
}

void Control::Changed(std::string_view property) {
  if (changed_.HasHandlers()) changed_.Raise(*this, property);
}

bool Control::Live() const {
  return !form_.Designing();
}

void Control::ResetAll() {
  base_ = BaseProps{};
  ResetProperties();
  Changed("Reset");
}

}  // namespace vellix
