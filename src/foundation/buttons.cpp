#include "foundation/buttons.h"

#include <utility>

#include "foundation/form.h"

namespace vellix {

CommandButton::CommandButton(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::CommandButton, std::move(name), std::move(container)) {}

void CommandButton::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void CommandButton::Default(bool value) {
  if (SetProperty(default_, value)) Changed("Default");
}

void CommandButton::Cancel(bool value) {
  if (SetProperty(cancel_, value)) Changed("Cancel");
}

void CommandButton::ResetProperties() {
  caption_.clear();
  default_ = false;
  cancel_ = false;
}

CheckBox::CheckBox(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::CheckBox, std::move(name), std::move(container)) {}

void CheckBox::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void CheckBox::Value(int32_t value) {
  if (value < kUnchecked || value > kGrayed) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (!SetProperty(value_, value)) return;
  Changed("Value");
  Fire(Click);
}

bool CheckBox::UserClick() {
  if (!BeginUserAction()) return false;
  Value(value_ == kChecked ? kUnchecked : kChecked);
  return true;
}

void CheckBox::ResetProperties() {
  caption_.clear();
  value_ = kUnchecked;
}

OptionButton::OptionButton(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::OptionButton, std::move(name), std::move(container)) {}

void OptionButton::Caption(std::string value) {
  if (SetProperty(caption_, std::move(value))) Changed("Caption");
}

void OptionButton::Value(bool value) {
  if (value_ == value) return;
  if (!value) {
    SetOff();
    return;
  }
  for (Control* other : Parent().ChildrenOf(Container())) {
    if (other == this || other->Kind() != ControlKind::OptionButton) continue;
    static_cast<OptionButton*>(other)->SetOff();
  }
  value_ = true;
  Changed("Value");
  Fire(Click);
}

bool OptionButton::UserClick() {
  if (!BeginUserAction()) return false;
  Value(true);
  return true;
}

void OptionButton::SetOff() {
  if (!value_) return;
  value_ = false;
  Changed("Value");
}

void OptionButton::ResetProperties() {
  caption_.clear();
  value_ = false;
}

}  // namespace vellix
