#pragma once

#include <compare>
#include <cstdint>

namespace vellix {

// A point in time as the runtime keeps it: days since 30 December 1899, the
// fraction being the time of day. 0 means "has not happened yet". Days before
// the epoch are negative, with the fraction counted away from zero as the
// runtime does (-1.25 is 29 December 1899, 06:00).
class Date {
 public:
  constexpr Date() = default;
  constexpr explicit Date(double serial) : serial_(serial) {}

  [[nodiscard]] constexpr double Serial() const { return serial_; }
  [[nodiscard]] constexpr bool IsZero() const { return serial_ == 0.0; }

  friend constexpr auto operator<=>(const Date&, const Date&) = default;

 private:
  double serial_ = 0.0;
};

// Civil parts of a date, local time.
struct CivilTime {
  int year = 1899;
  int month = 12;  // 1..12
  int day = 30;    // 1..31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 7;  // 1 = Sunday .. 7 = Saturday, as the runtime counts
};

// DateSerial/TimeSerial of the runtime: out-of-range months and days roll over
// (month 13 is January of the next year, day 0 the last day of the month before).
// Years 0..29 are 2000..2029 and 30..99 are 1930..1999, the runtime's default
// window; a year that is still outside 100..9999 raises error 5.
Date DateSerial(int year, int month, int day);
Date TimeSerial(int hour, int minute, int second);
Date DateTimeSerial(int year, int month, int day, int hour, int minute, int second);

// Civil parts of a date, rounded to the nearest second.
CivilTime ToCivil(Date date);

// Day count of a civil date, and the other way, for timestamps of files. The
// seconds count local wall time from 1 January 1970 00:00 local: no time zone
// is applied here, so a caller holding UTC seconds adds the zone's offset first.
Date FromUnixSeconds(int64_t secondsSinceEpochLocal);

// Adds seconds to a date.
Date AddSeconds(Date date, double seconds);

// Where "now" comes from; tests set the time.
class Clock {
 public:
  virtual ~Clock() = default;
  [[nodiscard]] virtual Date Now() const = 0;
};

// The machine's local time.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] Date Now() const override;
};

}  // namespace vellix
