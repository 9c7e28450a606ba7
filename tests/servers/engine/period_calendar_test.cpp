// Where periods begin and end and how their stores are named.
#include <gtest/gtest.h>

#include "servers/engine/period_calendar.h"

namespace vellix::engine {
namespace {

::testing::AssertionResult Spans(const PeriodSpan& span, Date start, Date end) {
  if (span.start == start && span.end == end) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "span " << span.start.Serial() << " - " << span.end.Serial() << ", wanted "
         << start.Serial() << " - " << end.Serial();
}

TEST(PeriodCalendar, ThePeriodHoldingAMomentIsCountedFromTheReferenceDay) {
  const Date ref = DateSerial(2024, 1, 1);
  const Date may = DateTimeSerial(2024, 5, 15, 10, 30, 0);
  EXPECT_TRUE(
      Spans(PeriodCovering(ref, 1, "Year", may), DateSerial(2024, 1, 1), DateSerial(2025, 1, 1)));
  EXPECT_TRUE(Spans(PeriodCovering(ref, 1, "Quarter", may), DateSerial(2024, 4, 1),
                    DateSerial(2024, 7, 1)));
  EXPECT_TRUE(
      Spans(PeriodCovering(ref, 2, "Month", may), DateSerial(2024, 5, 1), DateSerial(2024, 7, 1)));
  EXPECT_TRUE(
      Spans(PeriodCovering(ref, 1, "Week", may), DateSerial(2024, 5, 13), DateSerial(2024, 5, 20)));
  EXPECT_TRUE(
      Spans(PeriodCovering(ref, 1, "days", may), DateSerial(2024, 5, 15), DateSerial(2024, 5, 16)));
  // The first moment of a period belongs to it, the first of the next does not.
  EXPECT_TRUE(Spans(PeriodCovering(ref, 1, "Quarter", DateSerial(2024, 7, 1)),
                    DateSerial(2024, 7, 1), DateSerial(2024, 10, 1)));
  // Before the reference day, and with a reference in the middle of a month.
  EXPECT_TRUE(Spans(PeriodCovering(DateSerial(2024, 3, 10), 1, "Year", may),
                    DateSerial(2024, 3, 10), DateSerial(2025, 3, 10)));
  EXPECT_TRUE(Spans(PeriodCovering(DateSerial(2024, 3, 10), 1, "Year", DateSerial(2023, 1, 5)),
                    DateSerial(2022, 3, 10), DateSerial(2023, 3, 10)));
  EXPECT_TRUE(Spans(PeriodCovering(DateSerial(2024, 1, 10), 1, "Week", DateSerial(2024, 1, 9)),
                    DateSerial(2024, 1, 3), DateSerial(2024, 1, 10)));
  // The 31st falls back to the last day of a shorter month, and comes back.
  EXPECT_TRUE(Spans(PeriodCovering(DateSerial(2024, 1, 31), 1, "Month", DateSerial(2024, 2, 29)),
                    DateSerial(2024, 2, 29), DateSerial(2024, 3, 31)));
  // A count below one is one, an unknown unit a year.
  EXPECT_TRUE(Spans(PeriodCovering(ref, 0, "Fortnight", may), DateSerial(2024, 1, 1),
                    DateSerial(2025, 1, 1)));
}

TEST(PeriodCalendar, StoreNamesExpandTheTokensInQuotesOnly) {
  const Locale en = Locale::English();
  const PeriodSpan q1{DateSerial(2024, 1, 1), DateSerial(2024, 4, 1)};
  EXPECT_EQ(ExpandStoreName("File '@yyyy'", q1, en), "File 2024");
  EXPECT_EQ(ExpandStoreName("File '@yyyy mmm'-'$mmm'", q1, en), "File 2024 Jan-Mar");
  EXPECT_EQ(ExpandStoreName("'@MMM'-'$MMM'", q1, en), "Jan-Mar");
  EXPECT_EQ(ExpandStoreName("yyyy 'Store' '$dd mmmm'", q1, en), "yyyy Store 31 March");
}

TEST(PeriodCalendar, ABackupIntervalIsCountedInRealLengths) {
  EXPECT_EQ(IntervalSeconds(1, "Week"), 604800);
  EXPECT_EQ(IntervalSeconds(4, "Quarters"), 365 * 86400);
  EXPECT_EQ(IntervalSeconds(30, "Minute"), 1800);
  EXPECT_EQ(IntervalSeconds(10, "Second"), 10);
  EXPECT_EQ(IntervalSeconds(-3, "Day"), 86400);
}

}  // namespace
}  // namespace vellix::engine
