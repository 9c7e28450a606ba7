#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/list_control.h"

namespace vellix {

// A combo box: a drop-down combo (style 0: an edit field with a list) or a
// drop-down list (style 2: only entries of the list can stand in it).
//
// - Choosing a row (ListIndex in code, UserPick) puts its text in the field
//   and raises Click; the row it already has raises nothing in code. It never
//   raises Change.
// - Setting Text in code raises Change when the text differs and never Click.
//   The selected row then becomes the first row with exactly that text, or
//   none. A drop-down list takes only the text of one of its rows (or "" for
//   none); any other raises 383.
// - Typing (UserSetText) raises Change and keeps the selected row: ListIndex
//   then tells which row the user is editing, as a rename needs.
// - While no row is selected, a row added with exactly the field's text
//   becomes the selected one, quietly: the field shows that row.
// - Clear empties the list and the field; the field's change raises Change.
class ComboBox : public ListControl {
 public:
  static constexpr int32_t kDropdownCombo = 0;
  static constexpr int32_t kDropdownList = 2;

  ComboBox(Form& form, std::string name, std::string container = {});

  // 0 or 2; any other value raises 380.
  [[nodiscard]] int32_t Style() const { return style_; }
  void Style(int32_t value);
  [[nodiscard]] const std::string& Text() const { return text_; }
  void Text(std::string value);
  using ListControl::ListIndex;
  // -1 to ListCount - 1; any other value raises 380.
  void ListIndex(int32_t index);
  void Clear() override;

  std::function<void()> Change;

  // The user types into the field (drop-down combo only).
  bool UserSetText(std::string value);
  // The user picks a row of the list: Click, also for the row selected.
  bool UserPick(int32_t index);

 protected:
  void ResetProperties() override;
  void ItemAdded(int32_t index) override;
  void ItemRemoved(int32_t index, bool wasSelected) override;

 private:
  [[nodiscard]] int32_t FindExact(const std::string& text) const;
  void SetTextQuietly(std::string value);

  std::string text_;
  int32_t style_ = kDropdownCombo;
};

}  // namespace vellix
