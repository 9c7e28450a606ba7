#include "forms/row_layout.h"

#include <utility>

#include "foundation/combo_box.h"
#include "foundation/config_node.h"
#include "foundation/control.h"
#include "foundation/runtime.h"
#include "foundation/static_controls.h"

namespace vellix {

RowLayout::RowLayout(const LayoutMetrics& metrics, Ref<ConfigNode> textNode)
    : m_(metrics), node_(std::move(textNode)), row_(metrics.Border) {}

std::string RowLayout::Text(const std::string& key) const {
  return node_->GetValue(key).ToString();
}

void RowLayout::ApplyTip(Control& control) const {
  control.ToolTipText(Text(control.Name() + "-Tip"));
}

void RowLayout::FillList(ComboBox& combo, const std::string& firstKey) const {
  combo.Clear();
  if (Ref<ConfigNode> list = node_->GetNode(combo.Name(), false, "", Variant())) {
    for (const Ref<ConfigNode>& entry : list->ConfigEntries())
      combo.AddItem(entry->GetContent().ToString());
  }
  combo.Text(Text(firstKey));
}

int16_t RowLayout::DataLeft() const {
  return Twips(int64_t{m_.Border} + m_.LabelColumnWidth + m_.Border);
}

int16_t RowLayout::Chars(int count) const {
  return Twips(static_cast<int64_t>(CInt(std::to_string(m_.CharWidth))) * count);
}

void RowLayout::PlaceLabel(Label& label) {
  label.Caption(Text(label.Name()));
  label.Move(m_.Border, Twips(int64_t{row_} + m_.TextOffset), m_.LabelColumnWidth, m_.RowHeight);
}

void RowLayout::PlaceData(Control& control, int16_t width) {
  control.Move(DataLeft(), row_, width, m_.RowHeight);
  ApplyTip(control);
}

void RowLayout::PlaceNext(Control& control, const Control& leftNeighbour, int16_t width) {
  const int16_t left = Twips(int64_t{leftNeighbour.Left()} + leftNeighbour.Width() + m_.Border);
  control.Move(left, row_, width, m_.RowHeight);
  ApplyTip(control);
}

void RowLayout::NextRow() {
  row_ = Twips(int64_t{row_} + m_.Border + m_.RowHeight);
}

}  // namespace vellix
