#include "forms/layout_metrics.h"

#include <string>

#include "foundation/config_node.h"
#include "foundation/runtime.h"

namespace vellix {

namespace {
int16_t Metric(ConfigNode& root, const char* suffix) {
  return root.GetNode(std::string("CommonFormat.FormLayout") + suffix, false, "", Variant())
      ->GetContent()
      .ToInteger();
}
}  // namespace

LayoutMetrics LayoutMetrics::Read(ConfigNode& root, bool withCharWidth) {
  LayoutMetrics m;
  m.TextOffset = Metric(root, ".TextOffset");
  m.Border = Metric(root, ".Border");
  m.RowHeight = Metric(root, ".RowHeight");
  m.ButtonWidth = Metric(root, ".ButtonWidth");
  m.FormBLRBorder = Metric(root, ".FormBLRBorder");
  m.FormTopBorder = Metric(root, ".FormTopBorder");
  m.LabelColumnWidth = Metric(root, ".LabelColumnWidth");
  m.DataColumnWidth = Metric(root, ".DataColumnWidth");
  if (withCharWidth) m.CharWidth = Metric(root, ".CharWidth");
  return m;
}

int16_t Twips(int64_t value) {
  return CInt(value);
}

}  // namespace vellix
