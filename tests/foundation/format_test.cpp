#include "foundation/format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>

namespace vellix {
namespace {

const Locale kEn = Locale::English();

struct NumberCase {
  double value;
  const char *pattern, *want;
};

template <size_t N>
void ExpectNumbers(const NumberCase (&cases)[N]) {
  for (const auto& c : cases)
    EXPECT_EQ(Format(c.value, c.pattern, kEn), c.want) << c.value << " as " << c.pattern;
}

struct DateCase {
  const char *pattern, *want;
};

template <size_t N>
void ExpectDates(Date d, const DateCase (&cases)[N]) {
  for (const auto& c : cases)
    EXPECT_EQ(Format(d, c.pattern, kEn), c.want) << c.pattern;
}

TEST(FormatNumberTest, PatternsGroupRoundAndTakeDecimalsPercentExponentsAndSections) {
  const NumberCase cases[] = {
      {7, "000", "007"},           {-0.4, "###,##0", "0"},     {0, "###,###", ""},
      {-2.5, "###,##0", "-3"},     {0, "###,##0", "0"},        {1234567, "0", "1234567"},
      {0.4, "###,###", ""},        {1234, "###,###", "1,234"}, {1.5, "###,##0", "2"},
      {999.5, "###,##0", "1,000"}, {2.5, "###,##0", "3"},      {1234567, "###,##0", "1,234,567"},
      {-5, "###,##0", "-5"}};
  ExpectNumbers(cases);
  EXPECT_EQ(Format(1e18, "###,##0", kEn), "1,000,000,000,000,000,000");
  // The decimal digits round, not the binary ones: 1.005 gives 1.01.
  const NumberCase decimals[] = {
      {1, "0.##", "1."},          {9.99, "0.0E+0", "1.0E+1"},
      {1, "##0%", "100%"},        {1.5, "###,##0 Kb", "2 Kb"},
      {0.5, "#.##", ".5"},        {1234567, "#,##0,", "1,235"},
      {0.25, "##0%", "25%"},      {1.0, "###,##0.000", "1.000"},
      {1.005, "0.00", "1.01"},    {123456, "0.0E+00", "1.2E+05"},
      {0.004, "0.00", "0.00"},    {1e300, "0.00E+00", "1.00E+300"},
      {5, "\"#\"0\\%", "#5%"},    {1, "###,##0.000 Gb", "1.000 Gb"},
      {0.125, "0.0%", "12.5%"},   {0.00012, "0.00E-00", "1.20E-04"},
      {1234, "000-0", "123-4"},   {1.5, "###,##0.000 Gb", "1.500 Gb"},
      {1.0005, "0.000", "1.001"}, {1234.5678, "###,##0.000", "1,234.568"}};
  ExpectNumbers(decimals);
  // Sections, named formats and odd values.
  const NumberCase sections[] = {
      {5, "0;(0);zero", "5"},       {-5, "0;(0);zero", "(5)"},  {0, "0;(0);\"zero\"", "zero"},
      {-5, "0;;z", "-5"},           {-5, "0\";\";x", "x5"},     {1234.5, "Standard", "1,234.50"},
      {2, "fixed", "2.00"},         {0.5, "Percent", "50.00%"}, {-1.5, "General Number", "-1.5"},
      {-1, "On/Off", "On"},         {2.25, "", "2.25"},         {std::nan(""), "###,##0", "NaN"},
      {-HUGE_VAL, "0", "-Infinity"}};
  ExpectNumbers(sections);
}

TEST(FormatNumberTest, ValuesFormatByTheirTypeAndSeparatorsNamesAndPatternsComeFromTheLocale) {
  Locale custom = Locale::English();
  custom.thousandsSeparator = ".";
  custom.decimalSeparator = ",";
  EXPECT_EQ(Format(1234567.891, "###,##0.000", custom), "1.234.567,891");
  EXPECT_EQ(Format(1.5, "###,##0.000 Gb", custom), "1,500 Gb");
  EXPECT_EQ(Format(2.25, "", custom), "2,25");
  EXPECT_EQ(Format(Variant("1234"), "###,##0", custom), "1.234");
  // Values format by their type.
  const struct {
    Variant value;
    const char *pattern, *want;
  } cases[] = {{Variant(), "0", ""},      {true, "", "True"},
               {true, "0", "-1"},         {int32_t{1234}, "###,##0", "1,234"},
               {"12.345", "0.0", "12.3"}, {"1.50", "", "1.50"},
               {"Inbox", "0.0", "Inbox"}, {DateSerial(1963, 9, 22), "yyyy", "1963"}};
  for (const auto& c : cases)
    EXPECT_EQ(Format(c.value, c.pattern, kEn), c.want) << c.value.ToString() << " as " << c.pattern;
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

TEST(FormatDateTest, NamedFormatsPatternTokensLiteralsAndTheEmptyResult) {
  // Month after an hour is minutes ("hh:mm") but not with another token between ("hh dd mm").
  const Date d = DateTimeSerial(1963, 9, 22, 14, 5, 9);
  const DateCase cases[] = {
      {"q", "3"},          {"w ww y", "1 39 265"},      {"", "22/09/1963 14:05:09"},
      {"d", "22"},         {"Short Time", "14:05"},     {"dd MMMM", "22 September"},
      {"mmm", "Sep"},      {"ddddd", "22/09/1963"},     {"Short Date", "22/09/1963"},
      {"MMM", "Sep"},      {"yyyy mmm", "1963 Sep"},    {"Medium Date", "22-Sep-63"},
      {"yyyy", "1963"},    {"hh:nn:ss", "14:05:09"},    {"c", "22/09/1963 14:05:09"},
      {"hh:mm", "14:05"},  {"hh dd mm", "14 22 09"},    {"dd/mm/yyyy", "22/09/1963"},
      {"mm hh", "09 14"},  {"Long Time", "14:05:09"},   {"dddddd", "22 September 1963"},
      {"h:m:s", "14:5:9"}, {"ddd dddd", "Sun Sunday"},  {"Long Date", "22 September 1963"},
      {"h AM/PM", "2 PM"}, {"Medium Time", "02:05 PM"}, {"general date", "22/09/1963 14:05:09"}};
  ExpectDates(d, cases);
  EXPECT_EQ(Format(DateSerial(1963, 9, 22), "", kEn), "22/09/1963");
  EXPECT_EQ(Format(TimeSerial(6, 0, 0), "", kEn), "06:00:00");
  EXPECT_EQ(Format(DateSerial(2020, 3, 5), "d/m", kEn), "5/3");
  EXPECT_EQ(Format(DateSerial(2000, 1, 1), "hh am/pm a/p", kEn), "12 am a");
  // Literals and quotes; "y" alone is the day of the year.
  const DateCase literals[] = {{"-", "-"},      {"xyz", "x265z"},   {"File yyyy", "File 1963"},
                               {"\\", "\\"},    {"\"open", "open"}, {"\"yyyy\" yyyy", "yyyy 1963"},
                               {"''", ""},      {"\"\"", ""},       {"\\d\\a\\y d", "day 22"},
                               {"''\"\"''", ""}};
  ExpectDates(DateSerial(1963, 9, 22), literals);
  // What the folder-format check relies on: a non-empty result for every
  // pattern with at least one character outside quotes.
  for (const char* pattern : {"a", "t", "@", " ", "'' ", "am", "\"\"x", "Q", "%"})
    EXPECT_FALSE(Format(DateSerial(1963, 9, 22), pattern, kEn).empty()) << pattern;
}

TEST(LocaleTest, EnvironmentFallsBackToEnglishWithoutThrowing) {
  const char* old = std::getenv("LC_ALL");
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
  for (const char* name : {"xx_NOWHERE.UTF-8", "C", "POSIX"}) {
    setenv("LC_ALL", name, 1);
    Locale locale;
    EXPECT_NO_THROW(locale = Locale::FromEnvironment()) << name;
    EXPECT_EQ(locale.monthNames[0] + locale.dayNames[6], "JanuarySaturday") << name;
    EXPECT_EQ(locale.thousandsSeparator + locale.decimalSeparator, ",.") << name;
    EXPECT_EQ(locale.shortDate, "dd/mm/yyyy") << name;
  }
  saved ? setenv("LC_ALL", saved->c_str(), 1) : unsetenv("LC_ALL");
}

}  // namespace
}  // namespace vellix
