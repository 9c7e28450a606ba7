#include "foundation/runtime.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

int DigitValue(char c, int radix) {
  int v = -1;
  if (c >= '0' && c <= '9') v = c - '0';
  if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
  if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
  return v < radix ? v : -1;
}

// Reads a text one character at a time, passing over the characters the
// caller asked to skip (Val skips blanks, tabs and line feeds anywhere).
class Reader {
 public:
  Reader(std::string_view text, bool skipBlanks) : text_(text), skip_(skipBlanks) { Skip(); }
  [[nodiscard]] bool AtEnd() const { return pos_ >= text_.size(); }
  [[nodiscard]] char Peek() const { return AtEnd() ? '\0' : text_[pos_]; }
  void Next() {
    ++pos_;
    Skip();
  }
  [[nodiscard]] size_t Pos() const { return pos_; }
  void Seek(size_t pos) { pos_ = pos; }

 private:
  void Skip() {
    while (skip_ && pos_ < text_.size() &&
           (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\n')) {
      ++pos_;
    }
  }
  std::string_view text_;
  bool skip_;
  size_t pos_ = 0;
};

struct Parsed {
  bool found = false;     // a number was read
  bool overflow = false;  // too large for a Double
  double value = 0.0;
};

// "&H" and "&O" numbers: up to &HFFFF they are 16-bit Integers and up to
// &HFFFFFFFF 32-bit Longs, so &HFFFF is -1; a trailing "&" makes them Longs.
Parsed ReadRadix(Reader& in) {
  Parsed out;
  const char kind = in.Peek();
  const int radix = (kind == 'h' || kind == 'H') ? 16 : (kind == 'o' || kind == 'O') ? 8 : 0;
  if (radix == 0) return out;
  in.Next();
  // Past 32 bits the runtime would overflow; Val keeps the plain value.
  uint64_t value = 0;
  double large = 0.0;
  while (DigitValue(in.Peek(), radix) >= 0) {
    out.found = true;
    const int digit = DigitValue(in.Peek(), radix);
    large = large * radix + digit;
    if (value <= 0xFFFFFFFFull)
      value = value * static_cast<uint64_t>(radix) + static_cast<uint64_t>(digit);
    in.Next();
  }
  if (!out.found) return out;
  bool asLong = false;
  if (in.Peek() == '&') {
    asLong = true;
    in.Next();
  }
  if (value > 0xFFFFFFFFull) {
    out.overflow = true;
    out.value = large;
  } else if (!asLong && value <= 0xFFFF) {
    out.value = static_cast<int16_t>(static_cast<uint16_t>(value));
  } else {
    out.value = static_cast<int32_t>(static_cast<uint32_t>(value));
  }
  return out;
}

// Reads [sign] digits [. digits] [E|D [sign] digits] from where the reader
// stands and stops at the first character that can't continue the number.
Parsed ReadDecimal(Reader& in) {
  Parsed out;
  std::string canon;
  bool negative = false;
  if (in.Peek() == '+' || in.Peek() == '-') {
    negative = in.Peek() == '-';
    in.Next();
  }
  int64_t leadingExponent = 0;  // decimal exponent of the first significant digit, roughly
  bool significant = false;
  while (IsDigit(in.Peek())) {
    out.found = true;
    if (in.Peek() != '0' || significant) {
      significant = true;
      ++leadingExponent;
    }
    canon.push_back(in.Peek());
    in.Next();
  }
  if (in.Peek() == '.') {
    in.Next();
    canon.push_back('.');
    while (IsDigit(in.Peek())) {
      out.found = true;
      if (in.Peek() != '0') significant = true;
      if (!significant) --leadingExponent;
      canon.push_back(in.Peek());
      in.Next();
    }
  }
  if (!out.found) return out;
  const char e = in.Peek();
  if (e == 'e' || e == 'E' || e == 'd' || e == 'D') {
    const size_t back = in.Pos();
    in.Next();
    std::string exponent = "e";
    if (in.Peek() == '+' || in.Peek() == '-') {
      if (in.Peek() == '-') exponent.push_back('-');
      in.Next();
    }
    int64_t exponentValue = 0;
    bool digits = false;
    while (IsDigit(in.Peek())) {
      digits = true;
      exponentValue = std::min<int64_t>(exponentValue * 10 + (in.Peek() - '0'), 1000000);
      in.Next();
    }
    if (digits) {
      canon += exponent + std::to_string(exponentValue);
      leadingExponent += exponent.size() > 1 ? -exponentValue : exponentValue;
    } else {
      in.Seek(back);  // "1e" is the number 1 followed by a letter
    }
  }
  if (canon == ".") canon = "0";
  double value = 0.0;
  const auto result = std::from_chars(canon.data(), canon.data() + canon.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    if (significant && leadingExponent > 0) {
      out.overflow = true;
      value = std::numeric_limits<double>::infinity();
    } else {
      value = 0.0;
    }
  } else if (result.ec != std::errc()) {
    value = 0.0;
  }
  out.value = negative ? -value : value;
  if (out.value == 0.0) out.value = 0.0;  // no negative zero
  return out;
}

// A whole text as a number: blanks and tabs around it, "True"/"False", or a
// number with nothing after it. Grouping separators are not accepted.
Parsed ParseStrict(std::string_view text) {
  size_t first = 0;
  size_t last = text.size();
  while (first < last && (text[first] == ' ' || text[first] == '\t'))
    ++first;
  while (last > first && (text[last - 1] == ' ' || text[last - 1] == '\t'))
    --last;
  const std::string_view body = text.substr(first, last - first);
  Parsed out;
  if (EqualsText(body, "True")) {
    out.found = true;
    out.value = kVbTrue;
    return out;
  }
  if (EqualsText(body, "False")) {
    out.found = true;
    return out;
  }
  Reader in(body, false);
  if (in.Peek() == '&') {
    in.Next();
    out = ReadRadix(in);
  } else {
    out = ReadDecimal(in);
  }
  if (!in.AtEnd()) out.found = false;
  return out;
}

Parsed ParseOrRaise(std::string_view text) {
  const Parsed parsed = ParseStrict(text);
  if (!parsed.found) Raise(err::kTypeMismatch);
  if (parsed.overflow) Raise(err::kOverflow);
  return parsed;
}

}  // namespace

double Val(std::string_view text) {
  Reader in(text, true);
  Parsed parsed;
  if (in.Peek() == '&') {
    in.Next();
    parsed = ReadRadix(in);
  } else {
    parsed = ReadDecimal(in);
  }
  return parsed.found ? parsed.value : 0.0;
}

double RoundHalfEven(double value) {
  if (!std::isfinite(value)) return value;
  const double floor = std::floor(value);
  const double diff = value - floor;
  double result = floor;
  if (diff > 0.5) {
    result = floor + 1.0;
  } else if (diff == 0.5) {
    result = std::fmod(floor, 2.0) == 0.0 ? floor : floor + 1.0;
  }
  return result == 0.0 ? 0.0 : result;
}

int16_t CInt(double value) {
  if (!std::isfinite(value)) Raise(err::kOverflow);
  const double rounded = RoundHalfEven(value);
  if (rounded < -32768.0 || rounded > 32767.0) Raise(err::kOverflow);
  return static_cast<int16_t>(rounded);
}

int32_t CLng(double value) {
  if (!std::isfinite(value)) Raise(err::kOverflow);
  const double rounded = RoundHalfEven(value);
  if (rounded < -2147483648.0 || rounded > 2147483647.0) Raise(err::kOverflow);
  return static_cast<int32_t>(rounded);
}

int16_t CInt(int64_t value) {
  if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max()) {
    Raise(err::kOverflow);
  }
  return static_cast<int16_t>(value);
}

int32_t CLng(int64_t value) {
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
    Raise(err::kOverflow);
  }
  return static_cast<int32_t>(value);
}

int16_t CInt(std::string_view text) {
  return CInt(ParseOrRaise(text).value);
}

int32_t CLng(std::string_view text) {
  return CLng(ParseOrRaise(text).value);
}

double CDbl(std::string_view text) {
  return ParseOrRaise(text).value;
}

bool IsNumeric(std::string_view text) {
  const Parsed parsed = ParseStrict(text);
  return parsed.found && !parsed.overflow;
}

std::string BoolText(bool value) {
  return value ? "True" : "False";
}

bool CBool(std::string_view text) {
  const Parsed parsed = ParseStrict(text);
  if (!parsed.found) Raise(err::kTypeMismatch);
  return parsed.value != 0.0;  // a number too large is still not zero
}

std::string NumberText(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
  if (value == 0.0) return "0";
  char buffer[64];
  const auto result =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general, 15);
  std::string text(buffer, result.ptr);
  for (char& c : text) {
    if (c == 'e') c = 'E';
  }
  return text;
}

}  // namespace vellix
