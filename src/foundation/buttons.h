#pragma once

#include <cstdint>
#include <string>

#include "foundation/control.h"

namespace vellix {

// A push button. A user's click raises Click.
class CommandButton : public Control {
 public:
  CommandButton(Form& form, std::string name, std::string container = {});

  // "&" marks the access key; "&&" shows one ampersand.
  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);
  // The button that Enter (Default) or Escape (Cancel) presses in a dialog.
  [[nodiscard]] bool Default() const { return default_; }
  void Default(bool value);
  [[nodiscard]] bool Cancel() const { return cancel_; }
  void Cancel(bool value);

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  std::string caption_;
  bool default_ = false;
  bool cancel_ = false;
};

// A check box holding 0 (clear), 1 (ticked) or 2 (grey). Setting Value in
// code to another value raises Click once, as a user's click does; setting
// the value it has raises nothing. A user's click ticks a clear or grey box
// and clears a ticked one.
class CheckBox : public Control {
 public:
  static constexpr int32_t kUnchecked = 0;
  static constexpr int32_t kChecked = 1;
  static constexpr int32_t kGrayed = 2;

  CheckBox(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);
  [[nodiscard]] int32_t Value() const { return value_; }
  // Any value but 0, 1 and 2 raises 380.
  void Value(int32_t value);

  bool UserClick() override;

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  std::string caption_;
  int32_t value_ = kUnchecked;
};

// An option button. The option buttons that lie directly in one container
// (frame, picture box or the form) are one group: at most one is on. Turning
// one on, by code or by a user's click, turns the others of its group off and
// raises Click on the one turned on, once; the ones turned off raise nothing.
// Turning on the one that is on, or off one that is off, raises nothing;
// turning one off in code raises nothing either.
class OptionButton : public Control {
 public:
  OptionButton(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Caption() const { return caption_; }
  void Caption(std::string value);
  [[nodiscard]] bool Value() const { return value_; }
  void Value(bool value);

  bool UserClick() override;

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  void SetOff();

  std::string caption_;
  bool value_ = false;
};

}  // namespace vellix
