#include "servers/engine/period_calendar.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::engine {

namespace {

constexpr double kSecondsPerDay = 86400.0;

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

struct Day {
  int year;
  int month;
  int day;
};

Day DayOf(Date date) {
  const CivilTime c = ToCivil(date);
  return {c.year, c.month, c.day};
}

int DaysInMonth(int year, int month) {
  return ToCivil(DateSerial(year, month + 1, 0)).day;
}

// The reference day moved on by whole months, kept on its day of the month
// where the month is long enough.
Date AddMonths(const Day& from, int64_t months) {
  const int64_t total = static_cast<int64_t>(from.year) * 12 + (from.month - 1) + months;
  const auto year = static_cast<int>(FloorDiv(total, 12));
  const auto month = static_cast<int>(total - static_cast<int64_t>(year) * 12 + 1);
  // Years outside the runtime's range fail in DateSerial; keep them out of its
  // two-digit window first.
  if (year < 100 || year > 9999) Raise(err::kInvalidCall);
  return DateSerial(year, month, std::min(from.day, DaysInMonth(year, month)));
}

int MonthsPerUnit(CalendarUnit unit) {
  switch (unit) {
    case CalendarUnit::Year:
      return 12;
    case CalendarUnit::Quarter:
      return 3;
    case CalendarUnit::Month:
      return 1;
    default:
      return 0;
  }
}

// A sample period whose first and last day differ in every field.
PeriodSpan SampleSpan() {
  return {DateSerial(1963, 9, 22), DateSerial(1964, 11, 30)};
}

// Why a trimmed store name would leave the store folder, or null when it stays.
const char* WhyNameLeavesFolder(std::string_view name) {
  if (name.find_first_of(std::string_view("/\\\0", 3)) != std::string_view::npos) {
    return "the name holds a folder separator or a NUL character";
  }
  if (name == "." || name == "..") return "the name is a folder's own name (\".\" or \"..\")";
  return nullptr;
}

}  // namespace

bool IsForbiddenInFileName(char c) {
  return static_cast<unsigned char>(c) < 32 || c == '\\' || c == '/' || c == ':' || c == '*' ||
         c == '?' || c == '"' || c == '<' || c == '>' || c == '|';
}

std::optional<CalendarUnit> ParseCalendarUnit(std::string_view word) {
  std::string w = LCase(Trim(word));
  if (w.size() > 1 && w.back() == 's') w.pop_back();
  if (w == "year") return CalendarUnit::Year;
  if (w == "quarter") return CalendarUnit::Quarter;
  if (w == "month") return CalendarUnit::Month;
  if (w == "week") return CalendarUnit::Week;
  if (w == "day") return CalendarUnit::Day;
  return std::nullopt;
}

PeriodSpan PeriodCovering(Date reference, int count, std::string_view units, Date when) {
  const int n = std::max(count, 1);
  const CalendarUnit unit = ParseCalendarUnit(units).value_or(CalendarUnit::Year);
  const Day ref = DayOf(reference);

  if (const int perUnit = MonthsPerUnit(unit); perUnit > 0) {
    const int64_t length = static_cast<int64_t>(n) * perUnit;
    const Day now = DayOf(when);
    const int64_t months =
        (static_cast<int64_t>(now.year) - ref.year) * 12 + (now.month - ref.month);
    int64_t k = FloorDiv(months, length);
    while (AddMonths(ref, k * length) > when)
      --k;
    while (AddMonths(ref, (k + 1) * length) <= when)
      ++k;
    return {AddMonths(ref, k * length), AddMonths(ref, (k + 1) * length)};
  }

  const int64_t days = static_cast<int64_t>(n) * (unit == CalendarUnit::Week ? 7 : 1);
  const double first = DateSerial(ref.year, ref.month, ref.day).Serial();
  const auto k =
      static_cast<int64_t>(std::floor((when.Serial() - first) / static_cast<double>(days)));
  const double start = first + static_cast<double>(k * days);
  return {Date(start), Date(start + static_cast<double>(days))};
}

std::string ExpandStoreName(std::string_view format, const PeriodSpan& span, const Locale& locale) {
  const Date lastDay(span.end.Serial() - 1.0);
  const std::vector<std::string> parts = Split(format, "'");
  std::string name;
  for (size_t i = 0; i < parts.size(); ++i) {
    const std::string& part = parts[i];
    const bool quoted = i % 2 == 1;
    if (quoted && !part.empty() && part[0] == '@') {
      name += Format(span.start, std::string_view(part).substr(1), locale);
    } else if (quoted && !part.empty() && part[0] == '$') {
      name += Format(lastDay, std::string_view(part).substr(1), locale);
    } else {
      name += part;
    }
  }
  return name;
}

bool StoreNameLeavesFolder(std::string_view format, const Locale& locale, std::string* why) {
  std::string name;
  try {
    name = Trim(ExpandStoreName(format, SampleSpan(), locale));
  } catch (const VbError&) {
    return false;
  }
  const char* reason = WhyNameLeavesFolder(name);
  if (reason != nullptr && why != nullptr) *why = reason;
  return reason != nullptr;
}

bool StoreNameFormatAcceptable(std::string_view format, const Locale& locale, std::string* why) {
  auto refuse = [why](const char* reason) {
    if (why != nullptr) *why = reason;
    return false;
  };
  if (Trim(format).empty()) return refuse("the format is empty");
  const std::vector<std::string> parts = Split(format, "'");
  if (parts.size() % 2 == 0) return refuse("a quote is not closed");

  const PeriodSpan sample = SampleSpan();
  bool hasToken = false;
  for (size_t i = 1; i < parts.size(); i += 2) {
    const std::string& part = parts[i];
    if (part.empty() || (part[0] != '@' && part[0] != '$')) continue;
    hasToken = true;
    if (Format(sample.start, std::string_view(part).substr(1), locale).empty()) {
      return refuse("a date token gives no text");
    }
  }
  if (!hasToken) return refuse("there is no date token");

  const std::string name = ExpandStoreName(format, sample, locale);
  const std::string trimmed = Trim(name);
  if (trimmed.empty()) return refuse("the name is empty");
  if (const char* reason = WhyNameLeavesFolder(trimmed)) return refuse(reason);
  if (std::any_of(name.begin(), name.end(), IsForbiddenInFileName)) {
    return refuse("the name holds a character that a file name can't have");
  }
  return true;
}

int32_t IntervalSeconds(int32_t count, std::string_view units) {
  double days = 1.0;
  std::string w = LCase(Trim(units));
  if (w.size() > 1 && w.back() == 's') w.pop_back();
  if (w == "hour") {
    days = 1.0 / 24.0;
  } else if (w == "minute") {
    days = 1.0 / 1440.0;
  } else if (w == "second") {
    days = 1.0 / kSecondsPerDay;
  } else if (const auto unit = ParseCalendarUnit(units)) {
    switch (*unit) {
      case CalendarUnit::Year:
        days = 365.0;
        break;
      case CalendarUnit::Quarter:
        days = 365.0 / 4.0;
        break;
      case CalendarUnit::Month:
        days = 365.0 / 12.0;
        break;
      case CalendarUnit::Week:
        days = 7.0;
        break;
      case CalendarUnit::Day:
        days = 1.0;
        break;
    }
  }
  const double seconds = std::round(std::max(count, 1) * days * kSecondsPerDay);
  const auto cap = static_cast<double>(std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(std::min(seconds, cap));
}

}  // namespace vellix::engine
