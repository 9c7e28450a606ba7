#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Numeric and Boolean rules of the runtime the logic was designed on.
namespace vellix {

// Numeric value of a text: the number at its start. Blanks, tabs and line
// feeds are skipped wherever they stand; a sign, digits, one decimal point and
// an exponent (E or D) are read; "&H" and "&O" prefixes read hex and octal
// (up to &HFFFF as a 16-bit Integer, so "&HFFFF" is -1; a trailing "&" reads a
// Long). Reading stops at the first other character; no number gives 0. A
// number too large for a double gives an infinity of its sign. Never fails.
double Val(std::string_view text);

// Rounds halves to the even neighbour, as every conversion to an integer does.
double RoundHalfEven(double value);

// Conversions to the runtime's Integer (16-bit) and Long (32-bit): round half
// to even, then raise error 6 (overflow) when the result does not fit.
int16_t CInt(double value);
int32_t CLng(double value);
int16_t CInt(int64_t value);
int32_t CLng(int64_t value);
inline int16_t CInt(int value) {
  return CInt(static_cast<int64_t>(value));
}
inline int32_t CLng(int value) {
  return CLng(static_cast<int64_t>(value));
}

// Conversions of a text: a text that is a number (blanks and tabs around it
// allowed, "True"/"False" accepted, no thousands separators) converts;
// anything else raises error 13; a number out of range raises error 6. The
// empty text raises 13 as the runtime does.
int16_t CInt(std::string_view text);
int32_t CLng(std::string_view text);
double CDbl(std::string_view text);
// Whether a text converts to a number under the rule above.
bool IsNumeric(std::string_view text);

// Boolean text forms: "True" and "False".
std::string BoolText(bool value);
// "True"/"False" in any case, or a number (non-zero is true); else error 13.
bool CBool(std::string_view text);
// The runtime's True as a number.
inline constexpr int16_t kVbTrue = -1;

// Text of a number as the runtime's Str/CStr writes it with the invariant
// locale: integers without decimals, others with up to 15 significant digits,
// no leading blank.
std::string NumberText(double value);

}  // namespace vellix
