#include "foundation/list_control.h"

#include <utility>

#include "foundation/vb_error.h"

namespace vellix {

ListControl::ListControl(Form& form, ControlKind kind, std::string name, std::string container)
    : Control(form, kind, std::move(name), std::move(container)) {}

std::string ListControl::List(int32_t index) const {
  return InList(index) ? items_[static_cast<size_t>(index)].text : std::string();
}

void ListControl::List(int32_t index, std::string text) {
  if (!InList(index)) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  auto& item = items_[static_cast<size_t>(index)];
  if (SetProperty(item.text, std::move(text))) Changed("List");
}

int32_t ListControl::ItemData(int32_t index) const {
  if (!InList(index)) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  return items_[static_cast<size_t>(index)].itemData;
}

void ListControl::ItemData(int32_t index, int32_t value) {
  if (!InList(index)) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  items_[static_cast<size_t>(index)].itemData = value;
  Changed("ItemData");
}

void ListControl::AddItem(std::string text, int32_t index) {
  if (index == -1) index = ListCount();
  if (index < 0 || index > ListCount()) Raise(err::kInvalidCall);
  items_.insert(items_.begin() + index, Item{std::move(text), 0, false});
  if (listIndex_ >= index) ++listIndex_;
  Changed("List");
  ItemAdded(index);
}

void ListControl::RemoveItem(int32_t index) {
  if (!InList(index)) Raise(err::kInvalidCall);
  items_.erase(items_.begin() + index);
  const bool wasSelected = listIndex_ == index;
  if (wasSelected) {
    listIndex_ = -1;
  } else if (listIndex_ > index) {
    --listIndex_;
  }
  Changed("List");
  if (wasSelected) Changed("ListIndex");
  ItemRemoved(index, wasSelected);
}

void ListControl::Clear() {
  items_.clear();
  const bool hadSelection = listIndex_ != -1;
  listIndex_ = -1;
  Changed("List");
  if (hadSelection) Changed("ListIndex");
}

void ListControl::SetListIndexQuietly(int32_t index) {
  if (SetProperty(listIndex_, index)) Changed("ListIndex");
}

void ListControl::ResetProperties() {
  items_.clear();
  listIndex_ = -1;
}

}  // namespace vellix
