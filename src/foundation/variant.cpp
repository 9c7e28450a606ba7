#include "foundation/variant.h"

#include <cmath>
#include <optional>

#include "foundation/format.h"
#include "foundation/runtime.h"
#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {

// The serials of 1 January 100 and of the last second of 31 December 9999.
constexpr double kFirstSerial = -657434.0;
constexpr double kLastSerial = 2958465.99999;

// Reads a run of 1..maxDigits digits at pos; nullopt when there is none.
std::optional<int> ReadDigits(std::string_view text, size_t& pos, size_t maxDigits,
                              size_t* count = nullptr) {
  size_t n = 0;
  int value = 0;
  while (pos < text.size() && n < maxDigits && text[pos] >= '0' && text[pos] <= '9') {
    value = value * 10 + (text[pos] - '0');
    ++pos;
    ++n;
  }
  if (count != nullptr) *count = n;
  if (n == 0) return std::nullopt;
  return value;
}

bool Expect(std::string_view text, size_t& pos, char c) {
  if (pos >= text.size() || text[pos] != c) return false;
  ++pos;
  return true;
}

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

// hh:nn[:ss] at pos.
bool ReadTime(std::string_view text, size_t& pos, int& h, int& n, int& s) {
  const auto hh = ReadDigits(text, pos, 2);
  if (!hh || !Expect(text, pos, ':')) return false;
  const auto nn = ReadDigits(text, pos, 2);
  if (!nn) return false;
  std::optional<int> ss = 0;
  if (Expect(text, pos, ':')) ss = ReadDigits(text, pos, 2);
  if (!ss || *hh > 23 || *nn > 59 || *ss > 59) return false;
  h = *hh;
  n = *nn;
  s = *ss;
  return true;
}

// dd/mm/yyyy [hh:nn[:ss]] or yyyy-mm-dd[Thh:nn:ss]; nullopt for anything else.
std::optional<Date> ParseDateText(std::string_view raw) {
  const std::string trimmed = Trim(raw);
  const std::string_view text = trimmed;
  size_t pos = 0;
  size_t digits = 0;
  int year = 0;
  int month = 0;
  int day = 0;
  char timeSeparator = ' ';
  const auto first = ReadDigits(text, pos, 4, &digits);
  if (!first) return std::nullopt;
  if (digits == 4 && Expect(text, pos, '-')) {
    const auto mm = ReadDigits(text, pos, 2);
    if (!mm || !Expect(text, pos, '-')) return std::nullopt;
    const auto dd = ReadDigits(text, pos, 2);
    if (!dd) return std::nullopt;
    year = *first;
    month = *mm;
    day = *dd;
    timeSeparator = 'T';
  } else {
    if (digits > 2 || !Expect(text, pos, '/')) return std::nullopt;
    const auto mm = ReadDigits(text, pos, 2);
    if (!mm || !Expect(text, pos, '/')) return std::nullopt;
    const auto yy = ReadDigits(text, pos, 4, &digits);
    if (!yy || (digits != 2 && digits != 4)) return std::nullopt;
    day = *first;
    month = *mm;
    year = *yy;
    if (digits == 2) year += year < 30 ? 2000 : 1900;
  }
  if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) {
    return std::nullopt;
  }
  int h = 0;
  int n = 0;
  int s = 0;
  if (pos < text.size()) {
    if (text[pos] != timeSeparator && text[pos] != ' ') return std::nullopt;
    ++pos;
    if (!ReadTime(text, pos, h, n, s) || pos != text.size()) return std::nullopt;
  }
  return DateTimeSerial(year, month, day, h, n, s);
}

double SerialOrOverflow(double serial) {
  if (!std::isfinite(serial) || serial < kFirstSerial || serial > kLastSerial) {
    Raise(err::kOverflow);
  }
  return serial;
}

}  // namespace

bool Variant::IsNumeric() const {
  switch (GetType()) {
    case Type::Boolean:
    case Type::Integer:
    case Type::Long:
    case Type::Double:
      return true;
    case Type::String:
      return vellix::IsNumeric(As<std::string>());
    default:
      return false;
  }
}

std::string Variant::ToString() const {
  switch (GetType()) {
    case Type::Empty:
      return "";
    case Type::Boolean:
      return BoolText(As<bool>());
    case Type::Integer:
      return std::to_string(As<int16_t>());
    case Type::Long:
      return std::to_string(As<int32_t>());
    case Type::Double:
      return NumberText(As<double>());
    case Type::String:
      return As<std::string>();
    case Type::Date:
      return Format(As<Date>(), "General Date", Locale::English());
  }
  return "";
}

bool Variant::ToBool() const {
  switch (GetType()) {
    case Type::Boolean:
      return As<bool>();
    case Type::String:
      return CBool(As<std::string>());
    case Type::Empty:
      return false;
    default:
      return ToDouble() != 0.0;
  }
}

int16_t Variant::ToInteger() const {
  switch (GetType()) {
    case Type::Integer:
      return As<int16_t>();
    case Type::Long:
      return CInt(static_cast<int64_t>(As<int32_t>()));
    case Type::String:
      return CInt(std::string_view(As<std::string>()));
    default:
      return CInt(ToDouble());
  }
}

int32_t Variant::ToLong() const {
  switch (GetType()) {
    case Type::Integer:
      return As<int16_t>();
    case Type::Long:
      return As<int32_t>();
    case Type::String:
      return CLng(std::string_view(As<std::string>()));
    default:
      return CLng(ToDouble());
  }
}

double Variant::ToDouble() const {
  switch (GetType()) {
    case Type::Empty:
      return 0.0;
    case Type::Boolean:
      return As<bool>() ? kVbTrue : 0.0;
    case Type::Integer:
      return As<int16_t>();
    case Type::Long:
      return As<int32_t>();
    case Type::Double:
      return As<double>();
    case Type::String:
      return CDbl(As<std::string>());
    case Type::Date:
      return As<Date>().Serial();
  }
  return 0.0;
}

Date Variant::ToDate() const {
  switch (GetType()) {
    case Type::Empty:
      return Date();
    case Type::Date:
      return As<Date>();
    case Type::String: {
      const auto parsed = ParseDateText(As<std::string>());
      if (!parsed) Raise(err::kTypeMismatch);
      return *parsed;
    }
    default:
      return Date(SerialOrOverflow(ToDouble()));
  }
}

bool Variant::Equals(const Variant& other) const {
  const Type a = GetType();
  const Type b = other.GetType();
  if (a == Type::String && b == Type::String) return As<std::string>() == other.As<std::string>();
  if (a == Type::Empty && b == Type::Empty) return true;
  // Empty is the empty text beside a text, and 0 beside anything else.
  if (a == Type::Empty && b == Type::String) return other.As<std::string>().empty();
  if (a == Type::String && b == Type::Empty) return As<std::string>().empty();
  if (a == Type::String || b == Type::String) {
    const Variant& text = a == Type::String ? *this : other;
    const Variant& value = a == Type::String ? other : *this;
    const std::string& s = text.As<std::string>();
    if (vellix::IsNumeric(s)) return CDbl(s) == value.ToDouble();
    if (value.GetType() == Type::Date) {
      const auto date = ParseDateText(s);
      return date && date->Serial() == value.As<Date>().Serial();
    }
    return false;
  }
  return ToDouble() == other.ToDouble();
}

std::string Variant::TypeName() const {
  static const char* const kNames[] = {"Empty",  "Boolean", "Integer", "Long",
                                       "Double", "String",  "Date"};
  return kNames[v_.index()];
}

}  // namespace vellix
