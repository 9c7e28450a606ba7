#include "foundation/date.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;

// The civil parts as "y-m-d", with " h:m:s" when the time isn't midnight, so that a table
// row compares in one line.
std::string Civil(Date date) {
  const CivilTime t = ToCivil(date);
  char text[48];
  int n = std::snprintf(text, sizeof text, "%d-%d-%d", t.year, t.month, t.day);
  if (t.hour + t.minute + t.second != 0)
    std::snprintf(text + n, sizeof text - n, " %d:%d:%d", t.hour, t.minute, t.second);
  return text;
}

TEST(DateTest, SerialsCountDaysFromThirtiethDecember1899BothWays) {
  // Before the epoch the time counts away from zero: -1.25 is 6 in the morning of the 29th.
  const struct {
    double serial;
    int y, mo, d, h;
    const char* civil;
  } cases[] = {
      {0, 1899, 12, 30, 0, "1899-12-30"},           {1, 1899, 12, 31, 0, "1899-12-31"},
      {23276, 1963, 9, 22, 0, "1963-9-22"},         {25569, 1970, 1, 1, 0, "1970-1-1"},
      {-36522, 1800, 1, 1, 0, "1800-1-1"},          {-657434, 100, 1, 1, 0, "100-1-1"},
      {2958465, 9999, 12, 31, 0, "9999-12-31"},     {45351.75, 2024, 2, 29, 18, "2024-2-29 18:0:0"},
      {-1.25, 1899, 12, 29, 6, "1899-12-29 6:0:0"}, {-36522.75, 1800, 1, 1, 18, "1800-1-1 18:0:0"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Civil(Date(c.serial)), c.civil) << c.serial;
    EXPECT_EQ(DateTimeSerial(c.y, c.mo, c.d, c.h, 0, 0).Serial(), c.serial) << c.civil;
  }
  EXPECT_EQ(Civil(Date(-0.25)), "1899-12-30 6:0:0");
  EXPECT_EQ(ToCivil(Date(0)).weekday, 7);                  // a Saturday
  EXPECT_EQ(ToCivil(DateSerial(1963, 9, 22)).weekday, 1);  // a Sunday
  // Stepping back over the epoch moves to the day before, not to the same day.
  EXPECT_EQ(AddSeconds(Date(0.25), -86400).Serial(), -1.25);
  EXPECT_EQ(AddSeconds(Date(-1.25), 86400).Serial(), 0.25);
  EXPECT_EQ(AddSeconds(Date(-1.25), 18 * 3600).Serial(), 0.0);
}

TEST(DateTest, DateSerialRollsOverWindowsTwoDigitYearsAndRefusesOtherYears) {
  const struct {
    int y, m, d;
    const char* want;
  } cases[] = {{5, 1, 1, "2005-1-1"},     {2020, 0, 1, "2019-12-1"}, {2020, -1, 1, "2019-11-1"},
               {29, 1, 1, "2029-1-1"},    {2020, 3, 0, "2020-2-29"}, {2020, 14, 31, "2021-3-3"},
               {30, 1, 1, "1930-1-1"},    {2019, 3, 0, "2019-2-28"}, {2020, 1, -1, "2019-12-30"},
               {2020, 13, 1, "2021-1-1"}, {2020, 2, 30, "2020-3-1"}, {2020, 1, 366, "2020-12-31"}};
  for (const auto& c : cases)
    EXPECT_EQ(Civil(DateSerial(c.y, c.m, c.d)), c.want) << c.y << "/" << c.m << "/" << c.d;
  const int bad[][3] = {{-1, 1, 1}, {10000, 1, 1}, {9999, 13, 1}, {9999, 12, 32}, {100, 1, 0}};
  for (const auto& b : bad)
    EXPECT_EQ(ErrorNumber([&] { DateSerial(b[0], b[1], b[2]); }), err::kInvalidCall) << b[0];
}

TEST(DateTest, CivilPartsRoundToTheNearestSecondAndTimesRollIntoDays) {
  const double day = DateSerial(2021, 6, 15).Serial();
  const struct {
    Date date;
    const char* want;
  } cases[] = {{Date(day + (36000 - 0.4) / 86400.0), "2021-6-15 10:0:0"},
               {Date(day + (36000 + 0.4) / 86400.0), "2021-6-15 10:0:0"},
               {Date(day + (36000 + 0.6) / 86400.0), "2021-6-15 10:0:1"},
               {Date(day + (86400 - 0.4) / 86400.0), "2021-6-16"},
               {Date(-1.9999999), "1899-12-30"},
               {DateTimeSerial(2021, 6, 15, 23, 59, 59), "2021-6-15 23:59:59"},
               {TimeSerial(25, 0, 0), "1899-12-31 1:0:0"},
               {TimeSerial(0, 90, 0), "1899-12-30 1:30:0"},
               {TimeSerial(-1, 0, 0), "1899-12-29 23:0:0"},
               {DateTimeSerial(2020, 12, 31, 24, 0, 30), "2021-1-1 0:0:30"}};
  for (const auto& c : cases)
    EXPECT_EQ(Civil(c.date), c.want) << c.date.Serial();
  EXPECT_DOUBLE_EQ(TimeSerial(12, 0, 0).Serial(), 0.5);
}

TEST(DateTest, UnixSecondsAreLocalWallTimeBothWaysAndClocksReadThem) {
  EXPECT_EQ(FromUnixSeconds(0).Serial(), 25569.0);
  EXPECT_EQ(Civil(FromUnixSeconds(1700000000)), "2023-11-14 22:13:20");
  EXPECT_EQ(Civil(FromUnixSeconds(-1)), "1969-12-31 23:59:59");
  for (const int64_t s : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{1700000000},
                          int64_t{-2209161600} - 3600, int64_t{-5000000000}, int64_t{253402300799}})
    EXPECT_EQ(ToUnixSeconds(FromUnixSeconds(s)), s);
  EXPECT_EQ(ToUnixSeconds(DateTimeSerial(1899, 12, 29, 6, 0, 0)), -2209161600 - 18 * 3600);

  ManualClock manual(DateSerial(2022, 3, 1));
  manual.AdvanceSeconds(-1);
  EXPECT_EQ(Civil(manual.Now()), "2022-2-28 23:59:59");

  const std::time_t before = std::time(nullptr);
  const Date now = SystemClock().Now();
  std::tm local{};
  localtime_r(&before, &local);
  const int64_t expected = static_cast<int64_t>(before) + local.tm_gmtoff;
  EXPECT_NEAR(static_cast<double>(ToUnixSeconds(now)), static_cast<double>(expected), 2.0);
  // The runtime's Now has whole seconds.
  EXPECT_DOUBLE_EQ(now.Serial(), FromUnixSeconds(ToUnixSeconds(now)).Serial());
}

}  // namespace
}  // namespace vellix
