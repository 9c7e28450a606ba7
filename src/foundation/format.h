#pragma once

#include <array>
#include <string>
#include <string_view>

#include "foundation/date.h"
#include "foundation/variant.h"

namespace vellix {

// What Format takes from the user's regional settings. Date and time patterns
// are written in the Format language itself (dd, mmmm, yyyy, hh, nn, ss).
struct Locale {
  std::string thousandsSeparator = ",";
  std::string decimalSeparator = ".";
  std::array<std::string, 12> monthNames;   // "January" ..
  std::array<std::string, 12> monthAbbrevs;  // "Jan" ..
  std::array<std::string, 7> dayNames;       // "Sunday" ..
  std::array<std::string, 7> dayAbbrevs;     // "Sun" ..
  std::string shortDate = "dd/mm/yyyy";
  std::string longDate = "dd mmmm yyyy";
  std::string longTime = "hh:nn:ss";
  std::string shortTime = "hh:nn";  // always a 24-hour time

  // English names with the day-month-year order; what tests use.
  static Locale English();
  // From the environment (LC_ALL, LC_TIME, LC_NUMERIC, LANG); English when
  // the environment names the C or POSIX locale or one the machine lacks.
  static Locale FromEnvironment();
};

// Format of a number by a pattern of the runtime: "0" and "#" digit places,
// "," thousands grouping, "." decimals, "%" percent (value times 100), literal
// text and quoted or backslash-escaped literals, and sections split by ";"
// (positive;negative;zero). Rounding is half away from zero as the runtime's
// Format does. Examples: "###,##0" of 1234.5 is "1,235"; "###,###" of 0 is "";
// "##0%" of 0.25 is "25%"; "###,##0.000 Gb" of 1.5 is "1.500 Gb".
// Named formats: "General Number", "Fixed", "Standard", "Percent".
// An empty pattern gives the number's plain text.
std::string Format(double value, std::string_view pattern, const Locale& locale);

// Format of a date: named formats "General Date", "Long Date", "Short Date",
// "Long Time", "Short Time" (and "Medium Date", "Medium Time"), or a pattern
// of tokens: d dd ddd dddd, m mm mmm mmmm, yy yyyy, q, h hh, n nn, s ss,
// ttttt, AM/PM, am/pm, "c" and "ddddd"/"dddddd" for the short and long date;
// tokens are read without regard to case, and "m" right after an hour token is
// minutes. Other characters are literal; quotes and backslash escape.
// An empty pattern gives the general date.
std::string Format(Date value, std::string_view pattern, const Locale& locale);

// Format of any value: dates as dates, numbers and numeric texts as numbers,
// other texts as they stand, Empty as "".
std::string Format(const Variant& value, std::string_view pattern, const Locale& locale);

}  // namespace vellix
