#include "foundation/runtime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;
using ::testing::ElementsAre;
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ValTest, ReadsTheNumberAtTheStartSkippingBlanksAnywhere) {
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

TEST(ValTest, RandomBytesNeverFail) {
  std::mt19937 random(20240917);
  const std::string alphabet = "0123456789+-.eEdD&hHoO \t\n,xyz";
  for (int i = 0; i < 5000; ++i) {
    std::string text(random() % 24, '\0');
    for (char& c : text) {
      c = (random() % 2 == 0) ? alphabet[random() % alphabet.size()]
                              : static_cast<char>(random() % 256);
    }
    EXPECT_FALSE(std::isnan(Val(text))) << text;
    EXPECT_NO_THROW(IsNumeric(text)) << text;
  }
}

TEST(ConversionTest, IntegersRoundHalfToEvenAndRaiseOverflowOutOfRange) {
  constexpr int kOver = -1000000;  // the case must raise an overflow
  const struct {
    double value;
    int want;
  } toInt[] = {{32767.0, 32767}, {-32768.0, -32768}, {32768.0, kOver}, {-32769.0, kOver},
               {32767.5, kOver}, {-32768.5, -32768}, {2.5, 2},         {3.5, 4},
               {-2.5, -2},       {0.5, 0},           {1.5, 2}};
  for (const auto& c : toInt) {
    if (c.want == kOver)
      EXPECT_EQ(ErrorNumber([&] { CInt(c.value); }), err::kOverflow) << c.value;
    else
      EXPECT_EQ(CInt(c.value), c.want) << c.value;
  }
  EXPECT_EQ(ErrorNumber([] { CInt(32768); }), err::kOverflow);
  EXPECT_EQ(CInt(int64_t{-32768}), -32768);
  EXPECT_EQ(ErrorNumber([] { CInt(int64_t{-32769}); }), err::kOverflow);

  EXPECT_EQ(CLng(2147483647.0), 2147483647);
  EXPECT_EQ(CLng(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(CLng(int64_t{-2147483648}), -2147483647 - 1);
  EXPECT_EQ(ErrorNumber([] { CLng(2147483648.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(-2147483649.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(int64_t{2147483648}); }), err::kOverflow);
  for (const double bad : {std::nan(""), kInf, -kInf}) {
    EXPECT_EQ(ErrorNumber([bad] { CInt(bad); }), err::kOverflow);
    EXPECT_EQ(ErrorNumber([bad] { CLng(bad); }), err::kOverflow);
  }
  EXPECT_EQ(RoundHalfEven(-0.5), 0);
  EXPECT_FALSE(std::signbit(RoundHalfEven(-0.4)));
  EXPECT_EQ(RoundHalfEven(4503599627370497.0), 4503599627370497.0);
}

TEST(ConversionTest, TextsConvertOnlyWhenTheyAreWholeNumbers) {
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
}

TEST(ConversionTest, BooleansReadTrueFalseOrNumbers) {
  EXPECT_TRUE(CBool("TRUE"));
  EXPECT_FALSE(CBool("False"));
  EXPECT_FALSE(CBool("0"));
  EXPECT_TRUE(CBool("-1"));
  EXPECT_TRUE(CBool("1e400"));
  for (const char* bad : {"x", "", "Yes"})
    EXPECT_EQ(ErrorNumber([bad] { CBool(bad); }), err::kTypeMismatch) << bad;
  EXPECT_EQ(BoolText(true) + BoolText(false), "TrueFalse");
}

TEST(ConversionTest, NumberTextWritesUpToFifteenSignificantDigits) {
  const struct {
    double value;
    const char* want;
  } cases[] = {{3.0, "3"},      {0.1 + 0.2, "0.3"}, {2.0 / 3.0, "0.666666666666667"},
               {-0.0, "0"},     {0.0001, "0.0001"}, {123456789012345.0, "123456789012345"},
               {1e15, "1E+15"}, {0.00001, "1E-05"}};
  for (const auto& c : cases)
    EXPECT_EQ(NumberText(c.value), c.want);
}

TEST(TextTest, ReplaceIgnoresCaseAndReplacesEveryOccurrenceLeftToRight) {
  // The replacement text is not searched again ("abab").
  const struct {
    const char *text, *find, *with, *want;
  } cases[] = {{"aXbxc", "x", "-", "a-b-c"},       {"Store.PST", "pst", "bak", "Store.bak"},
               {"aaaa", "aa", "b", "bb"},          {"aaa", "aa", "b", "ba"},
               {"abab", "ab", "abab", "abababab"}, {"abc", "", "x", "abc"},
               {"abc", "abcd", "x", "abc"},        {"x\\y\\", "\\", "", "xy"}};
  for (const auto& c : cases)
    EXPECT_EQ(Replace(c.text, c.find, c.with), c.want) << c.text << " / " << c.find;
}

TEST(TextTest, SplitKeepsEmptyPartsAndTrimsRemoveSpacesOnly) {
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
}

TEST(TextTest, CaseAndComparisonTouchOnlyAsciiLetters) {
  EXPECT_EQ(UCase("abc-\xC3\xA9z"), "ABC-\xC3\xA9Z");
  EXPECT_EQ(LCase("ABC[\\]"), "abc[\\]");
  // Bytes above 127 sort after ASCII.
  const struct {
    const char *a, *b;
    int want;
  } cases[] = {{"apple", "APPLE", 0},
               {"apple", "Banana", -1},
               {"ab", "a", 1},
               {"", "a", -1},
               {"a", "\xC3\xA9", -1}};
  for (const auto& c : cases)
    EXPECT_EQ(CompareText(c.a, c.b), c.want) << c.a << " vs " << c.b;
  EXPECT_TRUE(EqualsText("Inbox", "INBOX"));
  EXPECT_FALSE(EqualsText("Inbox", "Inbox2"));
}

TEST(TextTest, InStrFindsOneBasedPositionsFromAStart) {
  const struct {
    const char *text, *find;
    int32_t start, want;
  } cases[] = {{"", "", 1, 0},     {"abcabc", "c", 1, 3}, {"abc", "", 2, 2}, {"abcabc", "c", 4, 6},
               {"abc", "c", 3, 3}, {"abcabc", "C", 1, 0}, {"abc", "a", 4, 0}};
  for (const auto& c : cases)
    EXPECT_EQ(InStr(c.text, c.find, c.start), c.want) << c.text << " / " << c.find << c.start;
  EXPECT_EQ(InStr("abcabc", "c"), 3) << "the start defaults to 1";
  EXPECT_VB_ERROR(static_cast<void>(InStr("abc", "a", 0)), err::kInvalidCall);
}

}  // namespace
}  // namespace vellix
