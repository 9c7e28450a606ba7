#include "foundation/up_down.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/form.h"
#include "foundation/runtime.h"
#include "foundation/text.h"
#include "foundation/text_box.h"

namespace vellix {

UpDown::UpDown(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::UpDown, std::move(name), std::move(container)) {}

void UpDown::Min(int32_t value) {
  if (!SetProperty(min_, value)) return;
  Changed("Min");
  Clamp();
}

void UpDown::Max(int32_t value) {
  if (!SetProperty(max_, value)) return;
  Changed("Max");
  Clamp();
}

void UpDown::Increment(int32_t value) {
  if (value < 1) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(increment_, value)) Changed("Increment");
}

void UpDown::Value(int32_t value) {
  if (value < std::min(min_, max_) || value > std::max(min_, max_)) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (!SetProperty(value_, value)) return;
  Changed("Value");
  Fire(Change);
}

void UpDown::BuddyControl(std::string name) {
  if (SetProperty(buddy_, std::move(name))) Changed("BuddyControl");
}

bool UpDown::UserUp() {
  return Step(1);
}

bool UpDown::UserDown() {
  return Step(-1);
}

void UpDown::ResetProperties() {
  min_ = 0;
  max_ = 10;
  increment_ = 1;
  value_ = 0;
  buddy_.clear();
}

bool UpDown::Step(int32_t direction) {
  if (!BeginUserAction()) return false;
  const int64_t low = std::min(min_, max_);
  const int64_t high = std::max(min_, max_);
  auto* buddy = dynamic_cast<TextBox*>(buddy_.empty() ? nullptr : Parent().Find(buddy_));
  int64_t start = value_;
  if (buddy != nullptr && !Trim(buddy->Text()).empty()) {
    const double typed = RoundHalfEven(Val(buddy->Text()));
    start = static_cast<int64_t>(
        std::clamp(typed, static_cast<double>(low), static_cast<double>(high)));
  }
  const auto next =
      static_cast<int32_t>(std::clamp(start + direction * int64_t{increment_}, low, high));
  const bool moved = next != value_;
  value_ = next;
  if (moved) Changed("Value");
  if (buddy != nullptr) buddy->Text(std::to_string(next));
  if (moved) Fire(Change);
  Fire(direction > 0 ? UpClick : DownClick);
  return true;
}

void UpDown::Clamp() {
  const int32_t clamped = std::clamp(value_, std::min(min_, max_), std::max(min_, max_));
  if (clamped == value_) return;
  value_ = clamped;
  Changed("Value");
}

}  // namespace vellix
