#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/control.h"
#include "foundation/date.h"

namespace vellix {

// A date and time picker. Value lies between MinDate and MaxDate; a value
// outside raises 35788 in code and is refused from the user. Changing Value,
// by code or by the user, raises Change; setting the value it holds raises
// nothing. Moving MinDate or MaxDate past the value moves the value along,
// with Change.
class DatePicker : public Control {
 public:
  // Format values as the runtime numbers them.
  static constexpr int32_t kLongDate = 0;
  static constexpr int32_t kShortDate = 1;
  static constexpr int32_t kTime = 2;
  static constexpr int32_t kCustom = 3;
  // 1 January 1601 and 31 December 9999, the widest range the picker takes.
  static constexpr double kEarliestSerial = -109205.0;
  static constexpr double kLatestSerial = 2958465.0;

  DatePicker(Form& form, std::string name, std::string container = {});

  [[nodiscard]] Date Value() const { return value_; }
  void Value(Date value);
  [[nodiscard]] Date MinDate() const { return minDate_; }
  void MinDate(Date value);
  [[nodiscard]] Date MaxDate() const { return maxDate_; }
  void MaxDate(Date value);
  // 0 to 3; any other value raises 380.
  [[nodiscard]] int32_t Format() const { return format_; }
  void Format(int32_t value);
  // The pattern shown with Format 3, in the picker's own tokens
  // ("dd MMMM", "ddd MMM dd   yyyy   HH:mm").
  [[nodiscard]] const std::string& CustomFormat() const { return customFormat_; }
  void CustomFormat(std::string value);

  std::function<void()> Change;

  bool UserSetValue(Date value);

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  void SetValue(Date value);

  Date value_;
  Date minDate_{kEarliestSerial};
  Date maxDate_{kLatestSerial};
  int32_t format_ = kShortDate;
  std::string customFormat_;
};

}  // namespace vellix
