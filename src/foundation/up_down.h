#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/control.h"

namespace vellix {

// An up-down control, optionally bound to a buddy text box by the box's
// name. A user's click reads the buddy's number (its numeric value, rounded,
// or the control's own value when the buddy is empty), steps by Increment,
// stays within Min and Max, writes the result into the buddy as code does
// (the buddy raises its Change), then raises Change when the value moved and
// UpClick or DownClick. Setting Value in code raises Change when it differs;
// a value outside Min to Max raises 380. Changing Min or Max pulls the value
// inside, quietly.
class UpDown : public Control {
 public:
  UpDown(Form& form, std::string name, std::string container = {});

  [[nodiscard]] int32_t Min() const { return min_; }
  void Min(int32_t value);
  [[nodiscard]] int32_t Max() const { return max_; }
  void Max(int32_t value);
  // 1 or more; anything else raises 380.
  [[nodiscard]] int32_t Increment() const { return increment_; }
  void Increment(int32_t value);
  [[nodiscard]] int32_t Value() const { return value_; }
  void Value(int32_t value);
  // The name of the text box it steps; empty for none.
  [[nodiscard]] const std::string& BuddyControl() const { return buddy_; }
  void BuddyControl(std::string name);

  std::function<void()> Change;
  std::function<void()> UpClick;
  std::function<void()> DownClick;

  bool UserUp();
  bool UserDown();

 protected:
  void ResetProperties() override;

 private:
  bool Step(int32_t direction);
  void Clamp();

  int32_t min_ = 0;
  int32_t max_ = 10;
  int32_t increment_ = 1;
  int32_t value_ = 0;
  std::string buddy_;
};

}  // namespace vellix
