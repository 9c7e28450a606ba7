#include "foundation/date.h"

#include <chrono>
#include <cmath>
#include <ctime>

#include "foundation/vb_error.h"

namespace vellix {

namespace {

constexpr double kSecondsPerDay = 86400.0;
// Day number (days since 1 January 1970) of serial 0, 30 December 1899.
constexpr int64_t kEpochOffset = 25569;
// The range of dates the runtime knows: 1 January 100 to 31 December 9999.
constexpr int64_t kFirstDay = -657434;
constexpr int64_t kLastDay = 2958465;

// Days since 1 January 1970 of a proleptic Gregorian date.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int& year, int& month, int& day) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = static_cast<int>(yoe + era * 400 + (month <= 2 ? 1 : 0));
}

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// Serials before the epoch count their time of day away from zero, so they
// are not on one line with the others. These two map to and from a plain
// day count where the fraction always runs forward.
double ToLinear(double serial) {
  if (serial >= 0.0) return serial;
  const double days = std::trunc(serial);
  return days + (days - serial);
}

double FromLinear(double linear) {
  if (linear >= 0.0) return linear;
  const double days = std::floor(linear);
  const double time = linear - days;
  return time == 0.0 ? days : days - time;
}

Date FromDayAndSeconds(int64_t day, double seconds) {
  return Date(FromLinear(static_cast<double>(day) + seconds / kSecondsPerDay));
}

}  // namespace

Date DateSerial(int year, int month, int day) {
  // Two-digit years follow the runtime's default window.
  if (year >= 0 && year <= 29) year += 2000;
  if (year >= 30 && year <= 99) year += 1900;
  const int64_t months = static_cast<int64_t>(year) * 12 + (month - 1);
  const int64_t y = FloorDiv(months, 12);
  const int64_t m = months - y * 12 + 1;
  if (y < 100 || y > 9999) Raise(err::kInvalidCall);
  const int64_t serialDay = DaysFromCivil(y, m, 1) + kEpochOffset + (static_cast<int64_t>(day) - 1);
  if (serialDay < kFirstDay || serialDay > kLastDay) Raise(err::kInvalidCall);
  return Date(static_cast<double>(serialDay));
}

Date TimeSerial(int hour, int minute, int second) {
  const int64_t seconds = static_cast<int64_t>(hour) * 3600 + static_cast<int64_t>(minute) * 60 +
                          static_cast<int64_t>(second);
  const int64_t day = FloorDiv(seconds, 86400);
  return FromDayAndSeconds(day, static_cast<double>(seconds - day * 86400));
}

Date DateTimeSerial(int year, int month, int day, int hour, int minute, int second) {
  const Date date = DateSerial(year, month, day);
  const int64_t seconds = static_cast<int64_t>(hour) * 3600 + static_cast<int64_t>(minute) * 60 +
                          static_cast<int64_t>(second);
  const int64_t extraDays = FloorDiv(seconds, 86400);
  const int64_t serialDay = static_cast<int64_t>(date.Serial()) + extraDays;
  if (serialDay < kFirstDay || serialDay > kLastDay) Raise(err::kInvalidCall);
  return FromDayAndSeconds(serialDay, static_cast<double>(seconds - extraDays * 86400));
}

CivilTime ToCivil(Date date) {
  CivilTime civil;
  const double serial = date.Serial();
  if (!std::isfinite(serial)) return civil;
  const double linear = ToLinear(serial);
  // Far outside the runtime's range the parts are meaningless; keep them sane.
  const double clamped = std::fmax(std::fmin(linear, 1e8), -1e8);
  const auto total = static_cast<int64_t>(std::llround(clamped * kSecondsPerDay));
  const int64_t day = FloorDiv(total, 86400);
  const int64_t secondOfDay = total - day * 86400;
  CivilFromDays(day - kEpochOffset, civil.year, civil.month, civil.day);
  civil.hour = static_cast<int>(secondOfDay / 3600);
  civil.minute = static_cast<int>(secondOfDay / 60 % 60);
  civil.second = static_cast<int>(secondOfDay % 60);
  // Serial 0 was a Saturday; 1 is Sunday.
  civil.weekday = static_cast<int>((day % 7 + 7 + 6) % 7 + 1);
  return civil;
}

Date FromUnixSeconds(int64_t secondsSinceEpochLocal) {
  const int64_t day = FloorDiv(secondsSinceEpochLocal, 86400);
  return FromDayAndSeconds(day + kEpochOffset,
                           static_cast<double>(secondsSinceEpochLocal - day * 86400));
}

Date AddSeconds(Date date, double seconds) {
  return Date(FromLinear(ToLinear(date.Serial()) + seconds / kSecondsPerDay));
}

Date SystemClock::Now() const {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  if (localtime_r(&now, &local) == nullptr) return Date();
  // Whole seconds, as the runtime's Now gives them.
  return DateTimeSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                        local.tm_min, local.tm_sec);
}

}  // namespace vellix
