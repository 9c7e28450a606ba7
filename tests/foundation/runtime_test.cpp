#include "foundation/runtime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string>

#include "foundation/date.h"
#include "foundation/text.h"
#include "foundation/variant.h"
#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;
using ::testing::ElementsAre;
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ValTest, ReadsTheNumberAtTheStartSkippingBlanks) {
  // A carriage return is not a blank ("12\r3"); hex and octal read as the runtime's integers.
  const struct {
    const char* text;
    double want;
  } cases[] = {{"", 0},    {".5", 0.5},   {"1.2.3", 1.2},     {"&HFFFF&", 65535},
               {".", 0},   {"1,000", 1},  {"&HFFFF", -1},     {"&H10000", 65536},
               {"1e", 1},  {"&O17", 15},  {"1e999", kInf},    {"&HFFFFFFFF", -1},
               {"&H", 0},  {"12\r3", 12}, {"2.5D-1", 0.25},   {"  1 2 3abc", 123},
               {"abc", 0}, {"&HFF", 255}, {"-1e999", -kInf},  {"- 12 . 5 E 2", -1250},
               {"--1", 0}, {"1e-999", 0}, {"-12.5e2", -1250}, {"&H100000000", 4294967296.0},
               {"&X1", 0}, {"\t4\n2", 42}};
  for (const auto& c : cases)
    EXPECT_EQ(Val(c.text), c.want) << c.text;
  EXPECT_EQ(Val(" 1615 198th Street N.E."), 1615198);
  EXPECT_EQ(Val("0.000e99999999999999999999"), 0);
  EXPECT_EQ(Val(std::string(400, '9') + "e-400"), 1.0);
  EXPECT_FALSE(std::signbit(Val("-0")));
  EXPECT_DOUBLE_EQ(Val("&H" + std::string(20, 'F')), std::pow(16.0, 20));
}

TEST(ConversionTest, IntegersRoundHalfToEvenAndRaiseOverflowOutOfRange) {
  constexpr int kOver = -1000000;  // the case must raise an overflow
  const struct {
    double value;
    int want;
  } toInt[] = {{32767.0, 32767}, {-32768.0, -32768}, {32768.0, kOver}, {-32769.0, kOver},
               {32767.5, kOver}, {-32768.5, -32768}, {2.5, 2},         {3.5, 4},
               {-2.5, -2},       {0.5, 0},           {1.5, 2},         {NAN, kOver},
               {kInf, kOver},    {-kInf, kOver}};
  for (const auto& c : toInt) {
    if (c.want == kOver) {
      EXPECT_EQ(ErrorNumber([&] { CInt(c.value); }), err::kOverflow) << c.value;
    } else
      EXPECT_EQ(CInt(c.value), c.want) << c.value;
  }
  EXPECT_EQ(ErrorNumber([] { CInt(32768); }), err::kOverflow);
  EXPECT_EQ(CInt(int64_t{-32768}), -32768);
  EXPECT_EQ(ErrorNumber([] { CInt(int64_t{-32769}); }), err::kOverflow);
  EXPECT_EQ(CLng(2147483647.0), 2147483647);
  EXPECT_EQ(CLng(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(CLng(int64_t{-2147483648}), -2147483647 - 1);
  EXPECT_EQ(ErrorNumber([] { CLng(int64_t{2147483648}); }), err::kOverflow);
  for (const double bad : {2147483648.0, -2147483649.0, std::nan(""), kInf, -kInf})
    EXPECT_EQ(ErrorNumber([bad] { CLng(bad); }), err::kOverflow) << bad;
  EXPECT_EQ(RoundHalfEven(-0.5), 0);
  EXPECT_FALSE(std::signbit(RoundHalfEven(-0.4)));
  EXPECT_EQ(RoundHalfEven(4503599627370497.0), 4503599627370497.0);
}

TEST(ConversionTest, TextsConvertOnlyWhenTheyAreWholeNumbersOrTruthValuesAndNumbersWriteBack) {
  const struct {
    const char* text;
    int want;
  } good[] = {{"12", 12},    {" 7 ", 7},    {"\t-7.5", -8}, {"2.5", 2},
              {"1e3", 1000}, {"&HFF", 255}, {"True", -1}};
  for (const auto& c : good)
    EXPECT_EQ(CInt(c.text), c.want) << c.text;
  EXPECT_EQ(CLng("2147483647"), 2147483647);
  EXPECT_EQ(CDbl(" .25 "), 0.25);
  for (const char* bad : {"abc", "", "12abc", "1 2", "1,000", "1e"})
    EXPECT_EQ(ErrorNumber([bad] { CInt(bad); }), err::kTypeMismatch) << bad;
  EXPECT_EQ(ErrorNumber([] { CInt("40000"); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng("2147483648"); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CDbl("1e400"); }), err::kOverflow);
  EXPECT_TRUE(IsNumeric(" -1.5e3 "));
  EXPECT_TRUE(IsNumeric("TRUE"));
  for (const char* text : {"", "12 Kb", "1e400"})
    EXPECT_FALSE(IsNumeric(text)) << text;
  for (const char* text : {"TRUE", "-1", "1e400"})
    EXPECT_TRUE(CBool(text)) << text;
  for (const char* text : {"False", "0"})
    EXPECT_FALSE(CBool(text)) << text;
  for (const char* bad : {"x", "", "Yes"})
    EXPECT_EQ(ErrorNumber([bad] { CBool(bad); }), err::kTypeMismatch) << bad;
  EXPECT_EQ(BoolText(true) + BoolText(false), "TrueFalse");
  // Numbers write up to fifteen significant digits.
  const struct {
    double value;
    const char* want;
  } cases[] = {{3.0, "3"},      {0.1 + 0.2, "0.3"}, {2.0 / 3.0, "0.666666666666667"},
               {-0.0, "0"},     {0.0001, "0.0001"}, {123456789012345.0, "123456789012345"},
               {1e15, "1E+15"}, {0.00001, "1E-05"}};
  for (const auto& c : cases)
    EXPECT_EQ(NumberText(c.value), c.want) << c.want;
}

TEST(TextTest, SplitTrimReplaceAndCaseKeepEveryPartAndTouchOnlyAsciiLetters) {
  EXPECT_THAT(Split("\\a\\\\b", "\\"), ElementsAre("", "a", "", "b"));
  EXPECT_THAT(Split("a\\", "\\"), ElementsAre("a", ""));
  EXPECT_THAT(Split("\\", "\\"), ElementsAre("", ""));
  EXPECT_THAT(Split("a, b,,c", ", "), ElementsAre("a", "b,,c"));
  EXPECT_THAT(Split("aXb", "x"), ElementsAre("aXb"));  // the delimiter is matched exactly
  EXPECT_TRUE(Split("", "\\").empty());
  EXPECT_THAT(Split("abc", ""), ElementsAre("abc"));
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(LTrim("  a ") + "|" + RTrim("  a "), "a |  a");
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(Trim("    "), "");
  // Replace ignores case and replaces every occurrence left to right.
  // The replacement text is not searched again ("abab").
  const struct {
    const char *text, *find, *with, *want;
  } cases[] = {{"aXbxc", "x", "-", "a-b-c"},       {"Store.PST", "pst", "bak", "Store.bak"},
               {"aaaa", "aa", "b", "bb"},          {"aaa", "aa", "b", "ba"},
               {"abab", "ab", "abab", "abababab"}, {"abc", "", "x", "abc"},
               {"abc", "abcd", "x", "abc"},        {"x\\y\\", "\\", "", "xy"}};
  for (const auto& c : cases)
    EXPECT_EQ(Replace(c.text, c.find, c.with), c.want) << c.text << " / " << c.find;
  // Case changes and comparison touch only ASCII letters.
  EXPECT_EQ(LCase("ABC[\\]-\xC3\x89Z"), "abc[\\]-\xC3\x89z");
  // Bytes above 127 sort after ASCII.
  const struct {
    const char *a, *b;
    int want;
  } compares[] = {{"apple", "APPLE", 0},
                  {"apple", "Banana", -1},
                  {"ab", "a", 1},
                  {"", "a", -1},
                  {"a", "\xC3\xA9", -1}};
  for (const auto& c : compares)
    EXPECT_EQ(CompareText(c.a, c.b), c.want) << c.a << " vs " << c.b;
  EXPECT_TRUE(EqualsText("Inbox", "INBOX"));
  EXPECT_FALSE(EqualsText("Inbox", "Inbox2"));
}

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

TEST(DateTest, SerialsCountDaysFrom1899BothWaysAndDateSerialRollsOver) {
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
  // DateSerial rolls over, windows two-digit years and refuses other years.
  const struct {
    int y, m, d;
    const char* want;
  } rolls[] = {{5, 1, 1, "2005-1-1"},     {2020, 0, 1, "2019-12-1"}, {2020, -1, 1, "2019-11-1"},
               {29, 1, 1, "2029-1-1"},    {2020, 3, 0, "2020-2-29"}, {2020, 14, 31, "2021-3-3"},
               {30, 1, 1, "1930-1-1"},    {2019, 3, 0, "2019-2-28"}, {2020, 1, -1, "2019-12-30"},
               {2020, 13, 1, "2021-1-1"}, {2020, 2, 30, "2020-3-1"}, {2020, 1, 366, "2020-12-31"}};
  for (const auto& c : rolls)
    EXPECT_EQ(Civil(DateSerial(c.y, c.m, c.d)), c.want) << c.y << "/" << c.m << "/" << c.d;
  const int bad[][3] = {{-1, 1, 1}, {10000, 1, 1}, {9999, 13, 1}, {9999, 12, 32}, {100, 1, 0}};
  for (const auto& b : bad)
    EXPECT_EQ(ErrorNumber([&] { DateSerial(b[0], b[1], b[2]); }), err::kInvalidCall) << b[0];
  // Civil parts round to the nearest second and times roll into days. A time of day given in
  // seconds after midnight of 15 June 2021.
  auto at = [day = DateSerial(2021, 6, 15).Serial()](double s) { return Date(day + s / 86400); };
  const struct {
    Date date;
    const char* want;
  } times[] = {{at(35999.6), "2021-6-15 10:0:0"},
               {at(36000.4), "2021-6-15 10:0:0"},
               {at(36000.6), "2021-6-15 10:0:1"},
               {at(86399.6), "2021-6-16"},
               {Date(-1.9999999), "1899-12-30"},
               {TimeSerial(25, 0, 0), "1899-12-31 1:0:0"},
               {TimeSerial(0, 90, 0), "1899-12-30 1:30:0"},
               {TimeSerial(-1, 0, 0), "1899-12-29 23:0:0"}};
  for (const auto& c : times)
    EXPECT_EQ(Civil(c.date), c.want) << c.date.Serial();
  EXPECT_EQ(Civil(DateTimeSerial(2021, 6, 15, 23, 59, 59)), "2021-6-15 23:59:59");
  EXPECT_EQ(Civil(DateTimeSerial(2020, 12, 31, 24, 0, 30)), "2021-1-1 0:0:30");
  EXPECT_DOUBLE_EQ(TimeSerial(12, 0, 0).Serial(), 0.5);
}

TEST(DateTest, UnixSecondsAreLocalWallTimeAndClocksReadThem) {
  EXPECT_EQ(FromUnixSeconds(0).Serial(), 25569.0);
  // Before serial 0 the time of day still counts forward from midnight.
  const struct {
    int64_t seconds;
    const char* want;
  } cases[] = {{1, "1970-1-1 0:0:1"},
               {-1, "1969-12-31 23:59:59"},
               {1700000000, "2023-11-14 22:13:20"},
               {int64_t{-2209161600} - 3600, "1899-12-29 23:0:0"},
               {int64_t{-5000000000}, "1811-7-23 15:6:40"},
               {int64_t{253402300799}, "9999-12-31 23:59:59"}};
  for (const auto& c : cases)
    EXPECT_EQ(Civil(FromUnixSeconds(c.seconds)), c.want) << c.seconds;
  const std::time_t before = std::time(nullptr);
  const Date now = SystemClock().Now();
  std::tm local{};
  localtime_r(&before, &local);
  const int64_t expected = static_cast<int64_t>(before) + local.tm_gmtoff;
  // The runtime's Now has whole seconds: it is one of the next few exactly.
  bool found = false;
  for (int64_t s = expected - 1; s <= expected + 2; ++s)
    found = found || FromUnixSeconds(s) == now;
  EXPECT_TRUE(found) << now.Serial();
}

TEST(VariantTest, TextTypeNameAndNumbersOfEachTypeAreTheRuntimes) {
  const struct {
    Variant value;
    const char *text, *type;
  } cases[] = {{Variant(), "", "Empty"},     {true, "True", "Boolean"},
               {false, "False", "Boolean"},  {int16_t{-5}, "-5", "Integer"},
               {1.5, "1.5", "Double"},       {int32_t{100000}, "100000", "Long"},
               {3.0, "3", "Double"},         {"x y", "x y", "String"},
               {Date(), "00:00:00", "Date"}, {TimeSerial(6, 30, 0), "06:30:00", "Date"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.value.ToString(), c.text);
    EXPECT_EQ(c.value.TypeName(), c.type) << c.text;
  }
  EXPECT_EQ(Variant(DateSerial(1963, 9, 22)).ToString(), "22/09/1963");
  EXPECT_EQ(Variant(DateTimeSerial(1963, 9, 22, 14, 5, 0)).ToString(), "22/09/1963 14:05:00");
  // Numeric conversions.
  EXPECT_EQ(Variant().ToInteger(), 0);
  EXPECT_EQ(Variant(true).ToInteger(), -1);
  EXPECT_EQ(Variant(true).ToDouble(), -1.0);
  EXPECT_EQ(Variant(2.5).ToInteger(), 2);
  EXPECT_EQ(Variant("  12 ").ToLong(), 12);
  EXPECT_EQ(Variant(DateSerial(1900, 1, 1)).ToInteger(), 2);
  EXPECT_EQ(ErrorNumber([] { (void)Variant("32768").ToInteger(); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { (void)Variant(int32_t{40000}).ToInteger(); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { (void)Variant("abc").ToDouble(); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { (void)Variant("").ToLong(); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { (void)Variant("abc").ToBool(); }), err::kTypeMismatch);
  const struct {
    Variant value;
    bool truth, numeric;
  } truths[] = {{2.5, true, true},  {"true", true, true}, {Variant(), false, false},
                {"0", false, true}, {false, false, true}, {DateSerial(2000, 1, 1), true, false},
                {" 4 ", true, true}};
  for (size_t i = 0; i < std::size(truths); ++i) {
    const auto& c = truths[i];
    EXPECT_EQ(c.value.ToBool(), c.truth) << "case " << i;
    EXPECT_EQ(c.value.IsNumeric(), c.numeric) << "case " << i;
  }
  EXPECT_FALSE(Variant("4x").IsNumeric());
}

TEST(VariantTest, DatesReadFromSerialsAndTheTwoTextFormsAndLooseEqualityIsTheRuntimes) {
  EXPECT_EQ(Variant().ToDate(), Date());
  EXPECT_EQ(Variant(2.25).ToDate().Serial(), 2.25);
  EXPECT_EQ(Variant(true).ToDate().Serial(), -1.0);
  EXPECT_EQ(Variant("22/09/1963").ToDate(), DateSerial(1963, 9, 22));
  EXPECT_EQ(Variant(" 1/2/05 ").ToDate(), DateSerial(2005, 2, 1));
  EXPECT_EQ(Variant("22/09/1963 14:05").ToDate(), DateTimeSerial(1963, 9, 22, 14, 5, 0));
  EXPECT_EQ(Variant("29/02/2024 23:59:59").ToDate(), DateTimeSerial(2024, 2, 29, 23, 59, 59));
  EXPECT_EQ(Variant("1963-09-22").ToDate(), DateSerial(1963, 9, 22));
  EXPECT_EQ(Variant("1963-09-22T08:00:01").ToDate(), DateTimeSerial(1963, 9, 22, 8, 0, 1));
  for (const char* bad : {"", "abc", "31/02/2020", "29/02/2023", "1/13/2020", "22/09/1963 24:00",
                          "22/09/1963x", "1963-9-22T", "22-09-1963", "12345", "22/09/063"}) {
    EXPECT_EQ(ErrorNumber([bad] { (void)Variant(bad).ToDate(); }), err::kTypeMismatch) << bad;
  }
  EXPECT_EQ(ErrorNumber([] { (void)Variant(1e10).ToDate(); }), err::kOverflow);
  // Two texts compare as texts ("5" against "5.0"); Empty equals 0, "" and False but not "0".
  const struct {
    Variant a, b;
    bool equal;
  } cases[] = {{5.0, "5", true},         {true, int16_t{-1}, true},
               {"5x", 5.0, false},       {true, int16_t{1}, false},
               {"5", "5.0", false},      {" 5 ", int32_t{5}, true},
               {"abc", "ABC", false},    {Variant(), int16_t{0}, true},
               {Variant(), "", true},    {DateSerial(1900, 1, 1), 2.0, true},
               {Variant(), "0", false},  {DateSerial(1963, 9, 22), "22/09/1963", true},
               {Variant(), false, true}, {DateSerial(1963, 9, 22), "23/09/1963", false}};
  for (size_t i = 0; i < std::size(cases); ++i)
    EXPECT_EQ(cases[i].a.Equals(cases[i].b), cases[i].equal) << "case " << i;
  // Exact equality also wants the same type.
  EXPECT_FALSE(Variant(int16_t{3}) == Variant(int32_t{3}));
  EXPECT_TRUE(Variant("a") == Variant(std::string("a")));
}

}  // namespace
}  // namespace vellix
