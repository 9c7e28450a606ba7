#include "foundation/date_picker.h"

#include <utility>

namespace vellix {

DatePicker::DatePicker(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::DatePicker, std::move(name), std::move(container)) {}

void DatePicker::Value(Date value) {
  if (value < minDate_ || value > maxDate_) RaiseControlError(ctlerr::kDateOutOfRange);
  SetValue(value);
}

void DatePicker::MinDate(Date value) {
  if (value < Date(kEarliestSerial) || value > maxDate_) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (minDate_ == value) return;
  minDate_ = value;
  Changed("MinDate");
  if (value_ < minDate_) SetValue(minDate_);
}

void DatePicker::MaxDate(Date value) {
  if (value > Date(kLatestSerial) || value < minDate_) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (maxDate_ == value) return;
  maxDate_ = value;
  Changed("MaxDate");
  if (value_ > maxDate_) SetValue(maxDate_);
}

void DatePicker::Format(int32_t value) {
  if (value < kLongDate || value > kCustom) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (format_ == value) return;
  format_ = value;
  Changed("Format");
}

void DatePicker::CustomFormat(std::string value) {
  if (customFormat_ == value) return;
  customFormat_ = std::move(value);
  Changed("CustomFormat");
}

bool DatePicker::UserSetValue(Date value) {
  if (value < minDate_ || value > maxDate_ || !BeginUserAction()) return false;
  SetValue(value);
  return true;
}

void DatePicker::ResetProperties() {
  value_ = Date();
  minDate_ = Date(kEarliestSerial);
  maxDate_ = Date(kLatestSerial);
  format_ = kShortDate;
  customFormat_.clear();
}

void DatePicker::SetValue(Date value) {
  if (value_ == value) return;
  value_ = value;
  Changed("Value");
  Fire(Change);
}

}  // namespace vellix
