#pragma once

#include <cstdint>
#include <string>

#include "forms/layout_metrics.h"
#include "foundation/ref.h"

namespace vellix {

class ComboBox;
class ConfigNode;
class Control;
class Label;

// The row rule every panel and dialog lays itself out by: a label column at
// Border, the row's data control after it, further controls of the row each
// after its left neighbour, and the row position growing by Border +
// RowHeight. Texts come from the panel's text node: a control's caption from
// the child named as the control, its tool tip from "<name>-Tip". All
// positions are 16-bit sums: passing 32767 raises overflow into the caller.
class RowLayout {
 public:
  RowLayout(const LayoutMetrics& metrics, Ref<ConfigNode> textNode);

  // The current row's top.
  [[nodiscard]] int16_t Row() const { return row_; }
  void Row(int16_t top) { row_ = top; }

  // The label of a row: caption from its key, Left Border, Top row +
  // TextOffset, LabelColumnWidth wide, RowHeight high.
  void PlaceLabel(Label& label);
  // The first data control of the row: after the label column and a Border,
  // at the row's top, RowHeight high, `width` wide (DataColumnWidth for a
  // long field, a multiple of CharWidth for a short one). Its tool tip comes
  // from "<name>-Tip".
  void PlaceData(Control& control, int16_t width);
  // A further control of the row, at its left neighbour's right end + Border.
  void PlaceNext(Control& control, const Control& leftNeighbour, int16_t width);
  // Moves to the next row.
  void NextRow();

  // The text of a child of the text node ("" when absent).
  [[nodiscard]] std::string Text(const std::string& key) const;
  // Tool tip of a control from "<name>-Tip".
  void ApplyTip(Control& control) const;
  // A combo's list from the entries of the child node named as the combo, in
  // their order, and its first text from the key firstKey ("cboPeNewUnits.1").
  void FillList(ComboBox& combo, const std::string& firstKey) const;
  // CharWidth as text, then as a number, times count: short fields.
  [[nodiscard]] int16_t Chars(int count) const;
  // The data column's left edge.
  [[nodiscard]] int16_t DataLeft() const;

  [[nodiscard]] const LayoutMetrics& Metrics() const { return m_; }

 private:
  const LayoutMetrics& m_;
  Ref<ConfigNode> node_;
  int16_t row_;
};

}  // namespace vellix
