#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text helpers with the runtime's rules.
namespace vellix {

// Replaces every occurrence of find in text, comparing without regard to
// case (ASCII letters). An empty find leaves the text as it is.
std::string Replace(std::string_view text, std::string_view find, std::string_view with);

// Splits at each delimiter and keeps empty parts: Split("a\\\\b", "\\") gives
// "a", "", "b". The empty text gives no parts; an empty delimiter one part.
std::vector<std::string> Split(std::string_view text, std::string_view delimiter);

// The first count characters of a UTF-8 text, never cutting one in two.
std::string Left(std::string_view text, std::size_t count);

// Trims blanks (spaces only) as Trim, LTrim and RTrim do.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);

// Case changes and comparison of ASCII letters.
std::string LCase(std::string_view text);
constexpr char LCase(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
// -1, 0 or 1, comparing without regard to case.
int CompareText(std::string_view a, std::string_view b);
// Inline, and the lengths first: controls and keys are looked up by name
// thousands of times as a window is built.
inline bool EqualsText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const char* x = a.data();
  const char* y = b.data();
  for (std::size_t i = 0; i < a.size(); ++i) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-bounds-pointer-arithmetic): no checked indexing here
    if (x[i] != y[i] && LCase(x[i]) != LCase(y[i])) return false;
  }
  return true;
}

}  // namespace vellix
