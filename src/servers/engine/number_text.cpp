#include "servers/engine/number_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace vellix::engine {

std::string DoubleText(double value) {
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), result.ptr);
}

std::string DateText(Date value) {
  return DoubleText(value.Serial());
}

std::optional<double> ParseDouble(std::string_view text) {
  double value = 0.0;
  const auto* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::optional<int64_t> ParseInteger(std::string_view text, int64_t min, int64_t max) {
  int64_t value = 0;
  const auto* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (text.empty() || result.ec != std::errc() || result.ptr != end || value < min || value > max) {
    return std::nullopt;
  }
  return value;
}

}  // namespace vellix::engine
