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
  std::array<std::string, 12> monthNames;    // "January" ..
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
// text and quoted (double or single quotes) or backslash-escaped literals,
// and sections split by ";" (positive;negative;zero). Rounding is half away
// from zero as the runtime's Format does, on the 15 significant digits a
// double holds. Examples: "###,##0" of 1234.5 is "1,235"; "###,###" of 0 is "";
// "##0%" of 0.25 is "25%"; "###,##0.000 Gb" of 1.5 is "1.500 Gb".
// "E+00"/"E-00" write an exponent. Commas right before the point (or at the
// end) divide by 1000 each. The point is written even when no decimals follow
// ("0.##" of 1 is "1."); a value that rounds to zero has no minus sign.
// Letters are literal in a number pattern ("###,##0 Mb").
// Named formats: "General Number", "Fixed", "Standard", "Percent",
// "Scientific", "Yes/No", "True/False", "On/Off".
// An empty pattern gives the number's plain text; NaN and infinities give
// their plain text whatever the pattern.
std::string Format(double value, std::string_view pattern, const Locale& locale);

// Format of a date: named formats "General Date", "Long Date", "Short Date",
// "Long Time", "Short Time" (and "Medium Date", "Medium Time"), or a pattern
// of tokens: d dd ddd dddd, m mm mmm mmmm, y (day of the year) yy yyyy, q,
// w (weekday, 1 = Sunday) ww (week of the year), h hh, n nn, s ss, ttttt,
// AM/PM, am/pm, A/P, a/p, AMPM, "c" for the general date and "ddddd"/"dddddd"
// for the short and long date. So the token letters are c d w m q y h n s,
// "t" five times over and "a" when it starts an AM/PM form; tokens are read
// without regard to case, and "m" or "mm" whose last token before was an hour
// is minutes ("hh:mm"). Every other character stands as it is ("-" gives "-").
// Text in double or single quotes is literal without its quotes, and a
// backslash makes the next character literal.
// An empty pattern gives the general date. Every token and every literal
// character gives at least one character, so the result is empty only for a
// pattern made of nothing but quotes, such as "''" or "\"\"".
std::string Format(Date value, std::string_view pattern, const Locale& locale);

// Format of any value: dates as dates, numbers and numeric texts as numbers,
// other texts as they stand, Empty as "".
std::string Format(const Variant& value, std::string_view pattern, const Locale& locale);

}  // namespace vellix
