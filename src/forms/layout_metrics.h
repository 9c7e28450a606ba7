#pragma once

#include <cstdint>

namespace vellix {

class ConfigNode;

// The nine metrics every laid-out form reads when it loads, in twips, as
// 16-bit values. Sums of them are 16-bit as well: one that passes 32767 is an
// overflow, which stops the layout in its frame.
struct LayoutMetrics {
  int16_t TextOffset = 0;
  int16_t Border = 0;
  int16_t RowHeight = 0;
  int16_t ButtonWidth = 0;
  int16_t FormBLRBorder = 0;
  int16_t FormTopBorder = 0;
  int16_t LabelColumnWidth = 0;
  int16_t DataColumnWidth = 0;
  int16_t CharWidth = 0;

  // Reads the nine from "CommonFormat.FormLayout" of the root, in the order
  // above; a form that lays out no text by characters reads the first eight
  // only. A missing node fails on nothing; a value that isn't a 16-bit number
  // raises its conversion error. Either stops the caller's procedure.
  static LayoutMetrics Read(ConfigNode& root, bool withCharWidth = true);
};

// A 16-bit sum or product of layout values: raises overflow (6) past 32767.
int16_t Twips(int64_t value);

}  // namespace vellix
