#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/date.h"
#include "foundation/format.h"

// The calendar arithmetic of the engine: where periods begin and end, how a
// period store is named, and how long a backup interval is.
namespace vellix::engine {

enum class CalendarUnit { Year, Quarter, Month, Week, Day };

// The unit a word names, without regard to case and with or without a
// plural "s" ("Year", "quarters"); nothing for any other word.
std::optional<CalendarUnit> ParseCalendarUnit(std::string_view word);

// The time a period covers: from start up to, not including, end.
struct PeriodSpan {
  Date start;
  Date end;
};

// The period of count units, counted from the day of reference, that holds
// the moment when. Periods of months and years keep the reference day of the
// month, taking the last day of a shorter month. A count below 1 counts as 1
// and an unknown unit as "Year". Dates outside the runtime's range raise
// error 5.
PeriodSpan PeriodCovering(Date reference, int count, std::string_view units, Date when);

// The store name a format gives a period. Text in single quotes that starts
// with "@" is the period's first day formatted by the rest of the text, with
// "$" its last day; other quoted text and all text outside quotes stand as
// they are.
std::string ExpandStoreName(std::string_view format, const PeriodSpan& span, const Locale& locale);

// Whether a format can name period stores: balanced quotes, at least one
// date token, every date token giving some text, and a name that is a valid
// file name. When not, why says what is wrong.
bool StoreNameFormatAcceptable(std::string_view format, const Locale& locale, std::string* why);

// Whether the names a format gives would reach outside the store folder: a
// folder separator or a NUL in the name, or a name that is "." or "..". Why
// then says which. A format that can't be expanded names no path at all.
bool StoreNameLeavesFolder(std::string_view format, const Locale& locale, std::string* why);

// Characters a file name can't hold on any desktop the product meets.
bool IsForbiddenInFileName(char c);

// Seconds of a backup interval of count units ("Year" is 365 days, "Quarter"
// a quarter of that, "Month" a twelfth; "Hour", "Minute" and "Second" are
// known too). A count below 1 counts as 1; an unknown unit counts as days, so
// that a mistyped unit never asks for a backup every minute. Capped at the
// largest Long.
int32_t IntervalSeconds(int32_t count, std::string_view units);

}  // namespace vellix::engine
