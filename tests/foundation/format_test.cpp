#include "foundation/format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>

namespace vellix {
namespace {

const Locale kEn = Locale::English();

std::string F(double value, std::string_view pattern) {
  return Format(value, pattern, kEn);
}
std::string F(Date value, std::string_view pattern) {
  return Format(value, pattern, kEn);
}

TEST(FormatNumberTest, GroupedPatternsRoundHalfAwayFromZero) {
  EXPECT_EQ(F(1234567, "###,##0"), "1,234,567");
  EXPECT_EQ(F(1.5, "###,##0"), "2");
  EXPECT_EQ(F(2.5, "###,##0"), "3");
  EXPECT_EQ(F(-2.5, "###,##0"), "-3");
  EXPECT_EQ(F(-5, "###,##0"), "-5");
  EXPECT_EQ(F(0, "###,##0"), "0");
  EXPECT_EQ(F(999.5, "###,##0"), "1,000");
  EXPECT_EQ(F(1e18, "###,##0"), "1,000,000,000,000,000,000");
  EXPECT_EQ(F(0, "###,###"), "");
  EXPECT_EQ(F(1234, "###,###"), "1,234");
  EXPECT_EQ(F(0.4, "###,###"), "");
  EXPECT_EQ(F(-0.4, "###,##0"), "0");
  EXPECT_EQ(F(1234567, "0"), "1234567");
  EXPECT_EQ(F(7, "000"), "007");
}

TEST(FormatNumberTest, DecimalsPercentAndLiteralSuffixes) {
  EXPECT_EQ(F(1.0, "###,##0.000"), "1.000");
  EXPECT_EQ(F(1234.5678, "###,##0.000"), "1,234.568");
  EXPECT_EQ(F(1.0005, "0.000"), "1.001");
  EXPECT_EQ(F(1.005, "0.00"), "1.01");  // the decimal digits round, not the binary ones
  EXPECT_EQ(F(0.004, "0.00"), "0.00");
  EXPECT_EQ(F(0.25, "##0%"), "25%");
  EXPECT_EQ(F(1, "##0%"), "100%");
  EXPECT_EQ(F(0.125, "0.0%"), "12.5%");
  EXPECT_EQ(F(1.5, "###,##0 Kb"), "2 Kb");
  EXPECT_EQ(F(1, "###,##0.000 Gb"), "1.000 Gb");
  EXPECT_EQ(F(1.5, "###,##0.000 Gb"), "1.500 Gb");
  EXPECT_EQ(F(5, "\"#\"0\\%"), "#5%");
  EXPECT_EQ(F(1, "0.##"), "1.");
  EXPECT_EQ(F(0.5, "#.##"), ".5");
  EXPECT_EQ(F(1234, "000-0"), "123-4");
  EXPECT_EQ(F(123456, "0.0E+00"), "1.2E+05");
  EXPECT_EQ(F(0.00012, "0.00E-00"), "1.20E-04");
  EXPECT_EQ(F(9.99, "0.0E+0"), "1.0E+1");
  EXPECT_EQ(F(1234567, "#,##0,"), "1,235");
}

TEST(FormatNumberTest, SectionsNamedFormatsAndOddValues) {
  EXPECT_EQ(F(5, "0;(0);zero"), "5");
  EXPECT_EQ(F(-5, "0;(0);zero"), "(5)");
  EXPECT_EQ(F(0, "0;(0);\"zero\""), "zero");
  EXPECT_EQ(F(-5, "0;;z"), "-5");
  EXPECT_EQ(F(-5, "0\";\";x"), "x5");
  EXPECT_EQ(F(1234.5, "Standard"), "1,234.50");
  EXPECT_EQ(F(2, "fixed"), "2.00");
  EXPECT_EQ(F(0.5, "Percent"), "50.00%");
  EXPECT_EQ(F(-1.5, "General Number"), "-1.5");
  EXPECT_EQ(F(-1, "On/Off"), "On");
  EXPECT_EQ(F(2.25, ""), "2.25");
  EXPECT_EQ(F(std::nan(""), "###,##0"), "NaN");
  EXPECT_EQ(F(-HUGE_VAL, "0"), "-Infinity");
  EXPECT_EQ(F(1e300, "0.00E+00"), "1.00E+300");
}

TEST(FormatNumberTest, SeparatorsComeFromTheLocale) {
  Locale german = Locale::English();
  german.thousandsSeparator = ".";
  german.decimalSeparator = ",";
  EXPECT_EQ(Format(1234567.891, "###,##0.000", german), "1.234.567,891");
  EXPECT_EQ(Format(1.5, "###,##0.000 Gb", german), "1,500 Gb");
  EXPECT_EQ(Format(2.25, "", german), "2,25");
  EXPECT_EQ(Format(Variant("1234"), "###,##0", german), "1.234");
}

TEST(FormatDateTest, NamedFormats) {
  const Date d = DateTimeSerial(1963, 9, 22, 14, 5, 9);
  EXPECT_EQ(F(d, "Long Date"), "22 September 1963");
  EXPECT_EQ(F(d, "Short Date"), "22/09/1963");
  EXPECT_EQ(F(d, "Long Time"), "14:05:09");
  EXPECT_EQ(F(d, "Short Time"), "14:05");
  EXPECT_EQ(F(d, "general date"), "22/09/1963 14:05:09");
  EXPECT_EQ(F(d, "Medium Date"), "22-Sep-63");
  EXPECT_EQ(F(d, "Medium Time"), "02:05 PM");
  EXPECT_EQ(F(DateSerial(1963, 9, 22), ""), "22/09/1963");
  EXPECT_EQ(F(TimeSerial(6, 0, 0), ""), "06:00:00");
  EXPECT_EQ(F(d, ""), "22/09/1963 14:05:09");
  EXPECT_EQ(F(d, "c"), "22/09/1963 14:05:09");
}

TEST(FormatDateTest, PatternTokens) {
  const Date d = DateTimeSerial(1963, 9, 22, 14, 5, 9);
  EXPECT_EQ(F(d, "yyyy"), "1963");
  EXPECT_EQ(F(d, "mmm"), "Sep");
  EXPECT_EQ(F(d, "MMM"), "Sep");
  EXPECT_EQ(F(d, "dd MMMM"), "22 September");
  EXPECT_EQ(F(d, "yyyy mmm"), "1963 Sep");
  EXPECT_EQ(F(d, "dd/mm/yyyy"), "22/09/1963");
  EXPECT_EQ(F(d, "hh:nn:ss"), "14:05:09");
  EXPECT_EQ(F(d, "hh:mm"), "14:05");
  EXPECT_EQ(F(d, "h:m:s"), "14:5:9");
  EXPECT_EQ(F(d, "mm hh"), "09 14");
  EXPECT_EQ(F(d, "hh dd mm"), "14 22 09");  // another token in between: month again
  EXPECT_EQ(F(d, "d"), "22");
  EXPECT_EQ(F(DateSerial(2020, 3, 5), "d/m"), "5/3");
  EXPECT_EQ(F(d, "q"), "3");
  EXPECT_EQ(F(d, "ddd dddd"), "Sun Sunday");
  EXPECT_EQ(F(d, "w ww y"), "1 39 265");
  EXPECT_EQ(F(d, "ddddd"), "22/09/1963");
  EXPECT_EQ(F(d, "dddddd"), "22 September 1963");
  EXPECT_EQ(F(d, "h AM/PM"), "2 PM");
  EXPECT_EQ(F(DateSerial(2000, 1, 1), "hh am/pm a/p"), "12 am a");
}

TEST(FormatDateTest, LiteralsQuotesAndTheEmptyResult) {
  const Date d = DateSerial(1963, 9, 22);
  EXPECT_EQ(F(d, "-"), "-");
  EXPECT_EQ(F(d, "xyz"), "x265z");  // y is the day of the year
  EXPECT_EQ(F(d, "File yyyy"), "File 1963");
  EXPECT_EQ(F(d, "\"yyyy\" yyyy"), "yyyy 1963");
  EXPECT_EQ(F(d, "\\d\\a\\y d"), "day 22");
  EXPECT_EQ(F(d, "\\"), "\\");
  EXPECT_EQ(F(d, "\"open"), "open");
  EXPECT_EQ(F(d, "''"), "");
  EXPECT_EQ(F(d, "\"\""), "");
  EXPECT_EQ(F(d, "''\"\"''"), "");
  // What the folder-format check relies on: a non-empty result for every
  // pattern with at least one character outside quotes.
  for (const char* pattern : {"a", "t", "@", " ", "'' ", "am", "\"\"x", "Q", "%"}) {
    EXPECT_FALSE(F(d, pattern).empty()) << pattern;
  }
}

TEST(FormatDateTest, LocaleNamesAndPatternsAreUsed) {
  Locale custom = Locale::English();
  custom.monthNames[8] = "Septembre";
  custom.dayAbbrevs[0] = "";  // a missing name falls back to English
  custom.shortDate = "yyyy-mm-dd";
  custom.longTime = "";
  const Date d = DateTimeSerial(1963, 9, 22, 7, 0, 0);
  EXPECT_EQ(Format(d, "d mmmm ddd", custom), "22 Septembre Sun");
  EXPECT_EQ(Format(d, "Short Date", custom), "1963-09-22");
  EXPECT_EQ(Format(d, "", custom), "1963-09-22 07:00:00");
  custom.shortDate = "ddddd";  // names itself: must end
  EXPECT_EQ(Format(d, "Short Date", custom), "22/09/1963");
}

TEST(FormatVariantTest, ValuesFormatByTheirType) {
  EXPECT_EQ(Format(Variant(), "0", kEn), "");
  EXPECT_EQ(Format(Variant(true), "", kEn), "True");
  EXPECT_EQ(Format(Variant(true), "0", kEn), "-1");
  EXPECT_EQ(Format(Variant(int32_t{1234}), "###,##0", kEn), "1,234");
  EXPECT_EQ(Format(Variant("12.345"), "0.0", kEn), "12.3");
  EXPECT_EQ(Format(Variant("1.50"), "", kEn), "1.50");
  EXPECT_EQ(Format(Variant("Inbox"), "0.0", kEn), "Inbox");
  EXPECT_EQ(Format(Variant(DateSerial(1963, 9, 22)), "yyyy", kEn), "1963");
}

TEST(LocaleTest, EnvironmentFallsBackToEnglishWithoutThrowing) {
  const char* old = std::getenv("LC_ALL");
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
  for (const char* name : {"xx_NOWHERE.UTF-8", "C", "POSIX"}) {
    setenv("LC_ALL", name, 1);
    Locale locale;
    EXPECT_NO_THROW(locale = Locale::FromEnvironment()) << name;
    EXPECT_EQ(locale.monthNames[0], "January") << name;
    EXPECT_EQ(locale.dayNames[6], "Saturday") << name;
    EXPECT_EQ(locale.thousandsSeparator, ",") << name;
    EXPECT_EQ(locale.decimalSeparator, ".") << name;
    EXPECT_EQ(locale.shortDate, "dd/mm/yyyy") << name;
  }
  if (saved) {
    setenv("LC_ALL", saved->c_str(), 1);
  } else {
    unsetenv("LC_ALL");
  }
  const Locale english = Locale::English();
  EXPECT_EQ(english.monthAbbrevs[11], "Dec");
  EXPECT_EQ(english.dayAbbrevs[0], "Sun");
  EXPECT_EQ(english.shortTime, "hh:nn");
}

}  // namespace
}  // namespace vellix
