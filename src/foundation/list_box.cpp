#include "foundation/list_box.h"

#include <utility>

namespace vellix {

ListBox::ListBox(Form& form, std::string name, std::string container)
    : ListControl(form, ControlKind::ListBox, std::move(name), std::move(container)) {}

void ListBox::Style(int32_t value) {
  if (value != kStandard && value != kCheckbox) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (SetProperty(style_, value)) Changed("Style");
}

void ListBox::MultiSelect(int32_t value) {
  if (value < kMultiSelectNone || value > kMultiSelectExtended) {
    RaiseControlError(ctlerr::kInvalidPropertyValue);
  }
  if (SetProperty(multiSelect_, value)) Changed("MultiSelect");
}

void ListBox::ListIndex(int32_t index) {
  if (index < -1 || index >= ListCount()) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (index == ListIndex()) return;
  SetListIndexQuietly(index);
  if (index >= 0) Fire(Click);
}

bool ListBox::Selected(int32_t index) const {
  if (!InList(index)) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  if (UsesFlags()) return Items()[static_cast<size_t>(index)].flag;
  return index == ListIndex();
}

void ListBox::Selected(int32_t index, bool value) {
  if (!InList(index)) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  if (style_ == kCheckbox) {
    if (Items()[static_cast<size_t>(index)].flag == value) return;
    SetFlag(index, value);
    Fire(ItemCheck, index);
    return;
  }
  if (multiSelect_ != kMultiSelectNone) {
    if (Items()[static_cast<size_t>(index)].flag == value) return;
    SetFlag(index, value);
    Fire(Click);
    return;
  }
  if (value && ListIndex() != index) {
    SetListIndexQuietly(index);
    Fire(Click);
  } else if (!value && ListIndex() == index) {
    SetListIndexQuietly(-1);
  }
}

bool ListBox::UserClickRow(int32_t index, bool extend) {
  if (!InList(index) || !BeginUserAction()) return false;
  if (style_ == kStandard && multiSelect_ == kMultiSelectSimple) {
    SetFlag(index, !Items()[static_cast<size_t>(index)].flag);
  } else if (style_ == kStandard && multiSelect_ == kMultiSelectExtended) {
    if (extend) {
      SetFlag(index, !Items()[static_cast<size_t>(index)].flag);
    } else {
      for (int32_t i = 0; i < ListCount(); ++i)
        SetFlag(i, i == index);
    }
  }
  SetListIndexQuietly(index);
  Fire(Click);
  return true;
}

bool ListBox::UserCheck(int32_t index, bool ticked) {
  if (style_ != kCheckbox || !InList(index) || !BeginUserAction()) return false;
  SetListIndexQuietly(index);
  if (Items()[static_cast<size_t>(index)].flag != ticked) {
    SetFlag(index, ticked);
    Fire(ItemCheck, index);
  }
  return true;
}

void ListBox::ResetProperties() {
  ListControl::ResetProperties();
  style_ = kStandard;
  multiSelect_ = kMultiSelectNone;
}

void ListBox::SetFlag(int32_t index, bool value) {
  auto& flag = Items()[static_cast<size_t>(index)].flag;
  if (SetProperty(flag, value)) Changed("Selected");
}

}  // namespace vellix
