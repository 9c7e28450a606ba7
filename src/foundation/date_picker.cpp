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
  if (!SetProperty(minDate_, value)) return;
  Changed("MinDate");
  if (value_ < minDate_) SetValue(minDate_);
}

void DatePicker::MaxDate(Date value) {
  if (value > Date(kLatestSerial) || value < minDate_) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (!SetProperty(maxDate_, value)) return;
  Changed("MaxDate");
  if (value_ > maxDate_) SetValue(maxDate_);
}

void DatePicker::Format(int32_t value) {
  if (value < kLongDate || value > kCustom) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(format_, value)) Changed("Format");
}

void DatePicker::CustomFormat(std::string value) {
  if (SetProperty(customFormat_, std::move(value))) Changed("CustomFormat");
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
  if (!SetProperty(value_, value)) return;
  Changed("Value");
  Fire(Change);
}

}  // namespace vellix
