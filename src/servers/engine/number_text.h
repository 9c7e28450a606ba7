#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/date.h"

// Exact texts of numbers for the engine's files: what is written reads back
// to the same value, whatever the machine's locale.
namespace vellix::engine {

// The shortest text that reads back to the same double.
std::string DoubleText(double value);
std::string DateText(Date value);

// The whole text as a finite number, or nothing.
std::optional<double> ParseDouble(std::string_view text);
// The whole text as an integer within [min, max], or nothing.
std::optional<int64_t> ParseInteger(std::string_view text, int64_t min, int64_t max);

}  // namespace vellix::engine
