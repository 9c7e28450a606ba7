#include "foundation/format.h"

#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>

#include "foundation/runtime.h"

namespace vellix {

namespace {

bool IsCName(const std::string& name) {
  return name.empty() || name == "C" || name == "POSIX" || name.rfind("C.", 0) == 0 || name == "*";
}

// The name of one category inside a combined locale name
// ("LC_CTYPE=de_DE.UTF-8;LC_NUMERIC=C;..."), or the whole name when it is one.
std::string CategoryName(const std::string& name, const std::string& category) {
  if (name.find('=') == std::string::npos) return name;
  const std::string key = category + "=";
  const size_t at = name.find(key);
  if (at == std::string::npos) return "";
  const size_t start = at + key.size();
  const size_t end = name.find(';', start);
  return name.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

std::string PutTime(const std::locale& loc, const std::tm& tm, const char* format) {
  std::ostringstream out;
  out.imbue(loc);
  out << std::put_time(&tm, format);
  return out ? out.str() : std::string();
}

bool IsPlainSeparator(char c) {
  return c >= 0x20 && c <= 0x7E && (c < '0' || c > '9');
}

// The locale's short date as a pattern, from how it writes 22 September 1963
// (numbers that can't be mistaken for each other); empty when it can't be read.
std::string ShortDatePattern(const std::locale& loc, const Locale& names) {
  std::tm tm{};
  tm.tm_year = 63;
  tm.tm_mon = 8;
  tm.tm_mday = 22;
  tm.tm_wday = 0;
  const std::string sample = PutTime(loc, tm, "%x");
  std::string pattern;
  bool day = false;
  bool month = false;
  bool year = false;
  size_t i = 0;
  while (i < sample.size()) {
    auto starts = [&](const std::string& word) {
      return !word.empty() && sample.compare(i, word.size(), word) == 0;
    };
    if (starts("1963")) {
      pattern += "yyyy";
      year = true;
      i += 4;
    } else if (starts("22")) {
      pattern += "dd";
      day = true;
      i += 2;
    } else if (starts("09")) {
      pattern += "mm";
      month = true;
      i += 2;
    } else if (starts("63")) {
      pattern += "yy";
      year = true;
      i += 2;
    } else if (starts("9")) {
      pattern += "m";
      month = true;
      i += 1;
    } else if (starts(names.monthNames[8])) {
      pattern += "mmmm";
      month = true;
      i += names.monthNames[8].size();
    } else if (starts(names.monthAbbrevs[8])) {
      pattern += "mmm";
      month = true;
      i += names.monthAbbrevs[8].size();
    } else if (sample[i] >= '0' && sample[i] <= '9') {
      return "";  // a number we don't know: an era year, say
    } else {
      // Everything else is written as it stands.
      pattern += '\\';
      pattern += sample[i];
      i += 1;
    }
  }
  return day && month && year ? pattern : "";
}

void ReadTimeNames(const std::locale& loc, Locale& out) {
  std::tm tm{};
  tm.tm_year = 100;
  tm.tm_mday = 1;
  for (int m = 0; m < 12; ++m) {
    tm.tm_mon = m;
    const std::string full = PutTime(loc, tm, "%B");
    const std::string abbrev = PutTime(loc, tm, "%b");
    if (!full.empty()) out.monthNames[static_cast<size_t>(m)] = full;
    if (!abbrev.empty()) out.monthAbbrevs[static_cast<size_t>(m)] = abbrev;
  }
  for (int d = 0; d < 7; ++d) {
    tm.tm_wday = d;
    const std::string full = PutTime(loc, tm, "%A");
    const std::string abbrev = PutTime(loc, tm, "%a");
    if (!full.empty()) out.dayNames[static_cast<size_t>(d)] = full;
    if (!abbrev.empty()) out.dayAbbrevs[static_cast<size_t>(d)] = abbrev;
  }
  const std::string shortDate = ShortDatePattern(loc, out);
  if (!shortDate.empty()) out.shortDate = shortDate;
}

void ReadSeparators(const std::locale& loc, Locale& out) {
  const auto& punct = std::use_facet<std::numpunct<char>>(loc);
  const char decimal = punct.decimal_point();
  if (IsPlainSeparator(decimal)) out.decimalSeparator = std::string(1, decimal);
  const char thousands = punct.thousands_sep();
  // Without grouping the locale names no separator worth using: keep the
  // English one, unless the decimal separator already is a comma.
  if (!punct.grouping().empty() && IsPlainSeparator(thousands)) {
    out.thousandsSeparator = std::string(1, thousands);
  }
  if (out.thousandsSeparator == out.decimalSeparator) {
    out.thousandsSeparator = out.decimalSeparator == "," ? "." : ",";
  }
}

}  // namespace

Locale Locale::English() {
  Locale locale;
  locale.monthNames = {"January", "February", "March",     "April",   "May",      "June",
                       "July",    "August",   "September", "October", "November", "December"};
  locale.monthAbbrevs = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  locale.dayNames = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  locale.dayAbbrevs = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  return locale;
}

Locale Locale::FromEnvironment() {
  Locale result = English();
  try {
    // Throws when the environment names a locale this machine doesn't have.
    const std::locale environment("");
    const std::string name = environment.name();
    if (!IsCName(CategoryName(name, "LC_TIME"))) ReadTimeNames(environment, result);
    if (!IsCName(CategoryName(name, "LC_NUMERIC"))) ReadSeparators(environment, result);
  } catch (...) {
    return English();
  }
  return result;
}

std::string Format(const Variant& value, std::string_view pattern, const Locale& locale) {
  switch (value.GetType()) {
    case Variant::Type::Empty:
      return "";
    case Variant::Type::Date:
      return Format(value.As<Date>(), pattern, locale);
    case Variant::Type::Boolean:
      if (pattern.empty()) return BoolText(value.As<bool>());
      return Format(value.ToDouble(), pattern, locale);
    case Variant::Type::String: {
      const std::string& text = value.As<std::string>();
      if (pattern.empty() || !IsNumeric(text)) return text;
      return Format(CDbl(text), pattern, locale);
    }
    default:
      return Format(value.ToDouble(), pattern, locale);
  }
}

}  // namespace vellix
