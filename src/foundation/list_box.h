#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/list_control.h"

namespace vellix {

// A list box, standard (style 0) or with a tick on each row (style 1).
//
// - Standard: Selected(i) is the row's selection. With MultiSelect 0 one row
//   at most is selected, the ListIndex; with 1 (simple) or 2 (extended) each
//   row has its own selection and ListIndex is the row last clicked. A change
//   of selection in code raises Click (single select: when a row becomes the
//   selected one).
// - Ticks (style 1): Selected(i) is the row's tick. Setting a tick in code to
//   the other value raises ItemCheck(i), as a user's tick does, after the
//   tick has changed. ListIndex is the highlighted row.
// - ListIndex in code raises Click when it moves to a row.
// - Selected and ItemData of a row that isn't there raise 381, as the runtime
//   does; so does a walk that runs past a list it shortened.
class ListBox : public ListControl {
 public:
  static constexpr int32_t kStandard = 0;
  static constexpr int32_t kCheckbox = 1;
  static constexpr int32_t kMultiSelectNone = 0;
  static constexpr int32_t kMultiSelectSimple = 1;
  static constexpr int32_t kMultiSelectExtended = 2;

  ListBox(Form& form, std::string name, std::string container = {});

  // 0 or 1; any other value raises 380.
  [[nodiscard]] int32_t Style() const { return style_; }
  void Style(int32_t value);
  // 0, 1 or 2; any other value raises 380.
  [[nodiscard]] int32_t MultiSelect() const { return multiSelect_; }
  void MultiSelect(int32_t value);

  using ListControl::ListIndex;
  // -1 to ListCount - 1; any other value raises 380.
  void ListIndex(int32_t index);
  [[nodiscard]] bool Selected(int32_t index) const;
  void Selected(int32_t index, bool value);
  // The text of the selected row, "" for none.
  [[nodiscard]] std::string Text() const { return List(ListIndex()); }

  std::function<void(int32_t index)> ItemCheck;

  // The user clicks a row's text: it becomes the ListIndex and Click follows.
  // In simple multi-select the row's selection toggles; in extended it does
  // when extend (Ctrl) is held, else the row alone is selected.
  bool UserClickRow(int32_t index, bool extend = false);
  // The user ticks or clears a row's box (style 1 only).
  bool UserCheck(int32_t index, bool ticked);

 protected:
  void ResetProperties() override;

 private:
  [[nodiscard]] bool UsesFlags() const {
    return style_ == kCheckbox || multiSelect_ != kMultiSelectNone;
  }
  void SetFlag(int32_t index, bool value);

  int32_t style_ = kStandard;
  int32_t multiSelect_ = kMultiSelectNone;
};

}  // namespace vellix
