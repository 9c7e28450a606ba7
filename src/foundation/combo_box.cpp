#include "foundation/combo_box.h"

#include <utility>

#include "foundation/text.h"

namespace vellix {

ComboBox::ComboBox(Form& form, std::string name, std::string container)
    : ListControl(form, ControlKind::ComboBox, std::move(name), std::move(container)) {}

void ComboBox::Style(int32_t value) {
  if (value != kDropdownCombo && value != kDropdownList) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (SetProperty(style_, value)) Changed("Style");
}

void ComboBox::Text(std::string value) {
  if (style_ == kDropdownList) {
    if (value.empty()) {
      SetListIndexQuietly(-1);
      SetTextQuietly({});
      return;
    }
    int32_t row = FindExact(value);
    for (int32_t i = 0; row < 0 && i < ListCount(); ++i) {
      if (EqualsText(List(i), value)) row = i;
    }
    if (row < 0) RaiseControlError(ctlerr::kTextReadOnly);
    SetListIndexQuietly(row);
    SetTextQuietly(List(row));
    return;
  }
  const bool differs = text_ != value;
  SetTextQuietly(std::move(value));
  if (!(InList(ListIndex()) && List(ListIndex()) == text_)) SetListIndexQuietly(FindExact(text_));
  if (differs) Fire(Change);
}

void ComboBox::ListIndex(int32_t index) {
  if (index < -1 || index >= ListCount()) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (index == ListIndex()) return;
  SetListIndexQuietly(index);
  SetTextQuietly(List(index));
  if (index >= 0) Fire(Click);
}

void ComboBox::Clear() {
  ListControl::Clear();
  if (text_.empty()) return;
  SetTextQuietly({});
  if (style_ == kDropdownCombo) Fire(Change);
}

bool ComboBox::UserSetText(std::string value) {
  if (style_ != kDropdownCombo || !BeginUserAction()) return false;
  if (text_ == value) return true;
  SetTextQuietly(std::move(value));
  Fire(Change);
  return true;
}

bool ComboBox::UserPick(int32_t index) {
  if (!InList(index) || !BeginUserAction()) return false;
  SetListIndexQuietly(index);
  SetTextQuietly(List(index));
  Fire(Click);
  return true;
}

void ComboBox::ResetProperties() {
  ListControl::ResetProperties();
  text_.clear();
  style_ = kDropdownCombo;
}

void ComboBox::ItemAdded(int32_t index) {
  if (style_ == kDropdownCombo && ListIndex() == -1 && !text_.empty() && List(index) == text_) {
    SetListIndexQuietly(index);
  }
}

void ComboBox::ItemRemoved(int32_t /*index*/, bool wasSelected) {
  if (!wasSelected) return;
  if (style_ == kDropdownList) {
    SetTextQuietly({});
  } else if (!text_.empty()) {
    SetListIndexQuietly(FindExact(text_));
  }
}

int32_t ComboBox::FindExact(const std::string& text) const {
  for (int32_t i = 0; i < ListCount(); ++i) {
    if (List(i) == text) return i;
  }
  return -1;
}

void ComboBox::SetTextQuietly(std::string value) {
  if (SetProperty(text_, std::move(value))) Changed("Text");
}

}  // namespace vellix
