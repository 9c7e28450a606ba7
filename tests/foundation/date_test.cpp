#include "foundation/date.h"

#include <gtest/gtest.h>

#include <ctime>

#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;

void ExpectCivil(Date date, int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  const CivilTime t = ToCivil(date);
  EXPECT_EQ(t.year, y) << date.Serial();
  EXPECT_EQ(t.month, mo) << date.Serial();
  EXPECT_EQ(t.day, d) << date.Serial();
  EXPECT_EQ(t.hour, h) << date.Serial();
  EXPECT_EQ(t.minute, mi) << date.Serial();
  EXPECT_EQ(t.second, s) << date.Serial();
}

TEST(DateTest, SerialsCountDaysFromThirtiethDecember1899) {
  ExpectCivil(Date(0), 1899, 12, 30);
  EXPECT_EQ(ToCivil(Date(0)).weekday, 7);  // a Saturday
  EXPECT_EQ(DateSerial(1899, 12, 31).Serial(), 1.0);
  EXPECT_EQ(DateSerial(1963, 9, 22).Serial(), 23276.0);
  EXPECT_EQ(ToCivil(DateSerial(1963, 9, 22)).weekday, 1);  // a Sunday
  EXPECT_EQ(DateSerial(1970, 1, 1).Serial(), 25569.0);
  EXPECT_EQ(DateSerial(1800, 1, 1).Serial(), -36522.0);
  EXPECT_EQ(DateSerial(100, 1, 1).Serial(), -657434.0);
  EXPECT_EQ(DateSerial(9999, 12, 31).Serial(), 2958465.0);
  ExpectCivil(Date(45351.75), 2024, 2, 29, 18);
  ExpectCivil(Date(-36522), 1800, 1, 1);
}

TEST(DateTest, DateSerialRollsMonthsAndDaysOver) {
  EXPECT_EQ(DateSerial(2020, 13, 1), DateSerial(2021, 1, 1));
  EXPECT_EQ(DateSerial(2020, 0, 1), DateSerial(2019, 12, 1));
  EXPECT_EQ(DateSerial(2020, -1, 1), DateSerial(2019, 11, 1));
  EXPECT_EQ(DateSerial(2020, 3, 0), DateSerial(2020, 2, 29));
  EXPECT_EQ(DateSerial(2019, 3, 0), DateSerial(2019, 2, 28));
  EXPECT_EQ(DateSerial(2020, 2, 30), DateSerial(2020, 3, 1));
  EXPECT_EQ(DateSerial(2020, 1, -1), DateSerial(2019, 12, 30));
  EXPECT_EQ(DateSerial(2020, 1, 366), DateSerial(2020, 12, 31));
  EXPECT_EQ(DateSerial(2020, 14, 31), DateSerial(2021, 3, 3));
}

TEST(DateTest, TwoDigitYearsUseTheWindowAndOtherYearsOutOfRangeFail) {
  EXPECT_EQ(DateSerial(5, 1, 1), DateSerial(2005, 1, 1));
  EXPECT_EQ(DateSerial(29, 1, 1), DateSerial(2029, 1, 1));
  EXPECT_EQ(DateSerial(30, 1, 1), DateSerial(1930, 1, 1));
  EXPECT_EQ(ErrorNumber([] { DateSerial(-1, 1, 1); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumber([] { DateSerial(10000, 1, 1); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumber([] { DateSerial(9999, 13, 1); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumber([] { DateSerial(9999, 12, 32); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumber([] { DateSerial(100, 1, 0); }), err::kInvalidCall);
}

TEST(DateTest, DaysBeforeTheEpochCountTheTimeAwayFromZero) {
  EXPECT_EQ(DateTimeSerial(1899, 12, 29, 6, 0, 0).Serial(), -1.25);
  ExpectCivil(Date(-1.25), 1899, 12, 29, 6);
  ExpectCivil(Date(-0.25), 1899, 12, 30, 6);
  EXPECT_EQ(DateTimeSerial(1800, 1, 1, 18, 0, 0).Serial(), -36522.75);
  // Stepping back over the epoch moves to the day before, not to the same day.
  EXPECT_EQ(AddSeconds(Date(0.25), -86400).Serial(), -1.25);
  EXPECT_EQ(AddSeconds(Date(-1.25), 86400).Serial(), 0.25);
  EXPECT_EQ(AddSeconds(Date(-1.25), 18 * 3600).Serial(), 0.0);
}

TEST(DateTest, CivilPartsRoundToTheNearestSecond) {
  const double day = DateSerial(2021, 6, 15).Serial();
  ExpectCivil(Date(day + (36000 - 0.4) / 86400.0), 2021, 6, 15, 10);
  ExpectCivil(Date(day + (36000 + 0.4) / 86400.0), 2021, 6, 15, 10);
  ExpectCivil(Date(day + (36000 + 0.6) / 86400.0), 2021, 6, 15, 10, 0, 1);
  ExpectCivil(Date(day + (86400 - 0.4) / 86400.0), 2021, 6, 16);
  ExpectCivil(Date(-1.9999999), 1899, 12, 30);
  ExpectCivil(DateTimeSerial(2021, 6, 15, 23, 59, 59), 2021, 6, 15, 23, 59, 59);
}

TEST(DateTest, TimeSerialRollsOverIntoDays) {
  ExpectCivil(TimeSerial(25, 0, 0), 1899, 12, 31, 1);
  ExpectCivil(TimeSerial(0, 90, 0), 1899, 12, 30, 1, 30);
  ExpectCivil(TimeSerial(-1, 0, 0), 1899, 12, 29, 23);
  ExpectCivil(DateTimeSerial(2020, 12, 31, 24, 0, 30), 2021, 1, 1, 0, 0, 30);
  EXPECT_DOUBLE_EQ(TimeSerial(12, 0, 0).Serial(), 0.5);
}

TEST(DateTest, UnixSecondsAreLocalWallTimeBothWays) {
  EXPECT_EQ(FromUnixSeconds(0).Serial(), 25569.0);
  ExpectCivil(FromUnixSeconds(1700000000), 2023, 11, 14, 22, 13, 20);
  ExpectCivil(FromUnixSeconds(-1), 1969, 12, 31, 23, 59, 59);
  for (const int64_t s :
       {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{1700000000}, int64_t{-2209161600} - 3600,
        int64_t{-5000000000}, int64_t{253402300799}}) {
    EXPECT_EQ(ToUnixSeconds(FromUnixSeconds(s)), s);
  }
  EXPECT_EQ(ToUnixSeconds(DateTimeSerial(1899, 12, 29, 6, 0, 0)), -2209161600 - 18 * 3600);
}

TEST(DateTest, ManualClockAdvancesAndSystemClockReadsLocalTime) {
  ManualClock manual(DateSerial(2022, 3, 1));
  manual.AdvanceSeconds(-1);
  ExpectCivil(manual.Now(), 2022, 2, 28, 23, 59, 59);

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
