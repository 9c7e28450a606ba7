#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/control.h"

namespace vellix {

// A text field, single or multi-line. Setting Text in code to another text
// raises Change, as typing does; setting the text it holds raises nothing.
// LostFocus (of the base) comes when the focus moves elsewhere.
class TextBox : public Control {
 public:
  TextBox(Form& form, std::string name, std::string container = {});

  [[nodiscard]] const std::string& Text() const { return text_; }
  void Text(std::string value);
  [[nodiscard]] bool MultiLine() const { return multiLine_; }
  void MultiLine(bool value);
  // 0 none, 1 horizontal, 2 vertical, 3 both; any other value raises 380.
  [[nodiscard]] int32_t ScrollBars() const { return scrollBars_; }
  void ScrollBars(int32_t value);
  // A locked box can't be typed into, though code can still set its text.
  [[nodiscard]] bool Locked() const { return locked_; }
  void Locked(bool value);
  // 0 left, 1 right, 2 centre; any other value raises 380.
  [[nodiscard]] int32_t Alignment() const { return alignment_; }
  void Alignment(int32_t value);

  std::function<void()> Change;

  // The user types: the box takes the focus and its text becomes the text
  // given. False for a box the user can't reach or that is locked.
  bool UserSetText(std::string value);

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  std::string text_;
  bool multiLine_ = false;
  int32_t scrollBars_ = 0;
  bool locked_ = false;
  int32_t alignment_ = 0;
};

}  // namespace vellix
