#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/control.h"

namespace vellix {

// The list shared by combo boxes and list boxes: rows counted from 0, each
// with a text and a 32-bit item data and a selected row (ListIndex, -1 for
// none). Rows keep their item data and selection when rows before them come or go.
class ListControl : public Control {
 public:
  [[nodiscard]] int32_t ListCount() const { return static_cast<int32_t>(items_.size()); }
  // The text of a row; "" for a position outside the list, as the runtime
  // reads it.
  [[nodiscard]] std::string List(int32_t index) const;
  // Replaces the text of a row; a position outside the list raises 381.
  void List(int32_t index, std::string text);
  // A position outside the list raises 381.
  [[nodiscard]] int32_t ItemData(int32_t index) const;
  void ItemData(int32_t index, int32_t value);
  [[nodiscard]] int32_t ListIndex() const { return listIndex_; }

  // Adds a row at the end, or before the row at index (0 to ListCount); any
  // other index raises 5.
  void AddItem(std::string text, int32_t index = -1);
  // Removes a row; a position outside the list raises 5.
  void RemoveItem(int32_t index);
  // Removes every row; no row is selected after.
  virtual void Clear();

 protected:
  struct Item {
    std::string text;
    int32_t itemData = 0;
    bool flag = false;  // selection or tick, as the kind uses it
  };

  ListControl(Form& form, ControlKind kind, std::string name, std::string container);

  // Sets the selected row without raising anything.
  void SetListIndexQuietly(int32_t index);
  [[nodiscard]] bool InList(int32_t index) const { return index >= 0 && index < ListCount(); }
  [[nodiscard]] std::vector<Item>& Items() { return items_; }
  [[nodiscard]] const std::vector<Item>& Items() const { return items_; }
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

  // A row came at index / went from index (the selected row has been moved
  // or cleared already).
  virtual void ItemAdded(int32_t /*index*/) {}
  virtual void ItemRemoved(int32_t /*index*/, bool /*wasSelected*/) {}

 private:
  std::vector<Item> items_;
  int32_t listIndex_ = -1;
};

}  // namespace vellix
