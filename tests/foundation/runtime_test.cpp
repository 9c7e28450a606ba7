#include "foundation/runtime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;

TEST(ValTest, ReadsTheNumberAtTheStartSkippingBlanksAnywhere) {
  EXPECT_EQ(Val("  1 2 3abc"), 123);
  EXPECT_EQ(Val(" 1615 198th Street N.E."), 1615198);
  EXPECT_EQ(Val("\t4\n2"), 42);
  EXPECT_EQ(Val("-12.5e2"), -1250);
  EXPECT_EQ(Val("- 12 . 5 E 2"), -1250);
  EXPECT_EQ(Val("2.5D-1"), 0.25);
  EXPECT_EQ(Val(".5"), 0.5);
  EXPECT_EQ(Val("1.2.3"), 1.2);
  EXPECT_EQ(Val("1e"), 1);
  EXPECT_EQ(Val("1,000"), 1);
  EXPECT_EQ(Val("12\r3"), 12);  // a carriage return is not a blank
  EXPECT_EQ(Val("abc"), 0);
  EXPECT_EQ(Val(""), 0);
  EXPECT_EQ(Val("."), 0);
  EXPECT_EQ(Val("--1"), 0);
  EXPECT_FALSE(std::signbit(Val("-0")));
}

TEST(ValTest, ReadsHexAndOctalAsTheRuntimesIntegers) {
  EXPECT_EQ(Val("&HFF"), 255);
  EXPECT_EQ(Val("&O17"), 15);
  EXPECT_EQ(Val("&HFFFF"), -1);
  EXPECT_EQ(Val("&HFFFF&"), 65535);
  EXPECT_EQ(Val("&H10000"), 65536);
  EXPECT_EQ(Val("&HFFFFFFFF"), -1);
  EXPECT_EQ(Val("&H"), 0);
  EXPECT_EQ(Val("&X1"), 0);
}

TEST(ValTest, HugeNumbersAndRandomBytesNeverFail) {
  EXPECT_EQ(Val("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(Val("-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(Val("1e-999"), 0);
  EXPECT_EQ(Val("0.000e99999999999999999999"), 0);
  EXPECT_EQ(Val(std::string(400, '9') + "e-400"), 1.0);
  EXPECT_EQ(Val("&H100000000"), 4294967296.0);
  EXPECT_DOUBLE_EQ(Val("&H" + std::string(20, 'F')), std::pow(16.0, 20));

  std::mt19937 random(20240917);
  const std::string alphabet = "0123456789+-.eEdD&hHoO \t\n,xyz";
  for (int i = 0; i < 5000; ++i) {
    std::string text(random() % 24, '\0');
    for (char& c : text) {
      c = (random() % 2 == 0) ? alphabet[random() % alphabet.size()]
                              : static_cast<char>(random() % 256);
    }
    const double value = Val(text);
    EXPECT_FALSE(std::isnan(value)) << text;
    EXPECT_NO_THROW(IsNumeric(text)) << text;
  }
}

TEST(ConversionTest, IntegersRoundHalfToEvenAndRaiseOverflowOutOfRange) {
  EXPECT_EQ(CInt(32767.0), 32767);
  EXPECT_EQ(CInt(-32768.0), -32768);
  EXPECT_EQ(ErrorNumber([] { CInt(32768.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CInt(-32769.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CInt(32767.5); }), err::kOverflow);
  EXPECT_EQ(CInt(-32768.5), -32768);
  EXPECT_EQ(CInt(2.5), 2);
  EXPECT_EQ(CInt(3.5), 4);
  EXPECT_EQ(CInt(-2.5), -2);
  EXPECT_EQ(CInt(0.5), 0);
  EXPECT_EQ(CInt(1.5), 2);
  EXPECT_EQ(ErrorNumber([] { CInt(32768); }), err::kOverflow);
  EXPECT_EQ(CInt(int64_t{-32768}), -32768);
  EXPECT_EQ(ErrorNumber([] { CInt(int64_t{-32769}); }), err::kOverflow);

  EXPECT_EQ(CLng(2147483647.0), 2147483647);
  EXPECT_EQ(CLng(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(ErrorNumber([] { CLng(2147483648.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(-2147483649.0); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(int64_t{2147483648}); }), err::kOverflow);
  EXPECT_EQ(CLng(int64_t{-2147483648}), -2147483647 - 1);

  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(ErrorNumber([bad] { CInt(bad); }), err::kOverflow);
    EXPECT_EQ(ErrorNumber([bad] { CLng(bad); }), err::kOverflow);
  }
  EXPECT_EQ(RoundHalfEven(-0.5), 0);
  EXPECT_FALSE(std::signbit(RoundHalfEven(-0.4)));
  EXPECT_EQ(RoundHalfEven(4503599627370497.0), 4503599627370497.0);
}

TEST(ConversionTest, TextsConvertOnlyWhenTheyAreWholeNumbers) {
  EXPECT_EQ(CInt("12"), 12);
  EXPECT_EQ(CInt(" 7 "), 7);
  EXPECT_EQ(CInt("\t-7.5"), -8);
  EXPECT_EQ(CInt("2.5"), 2);
  EXPECT_EQ(CInt("1e3"), 1000);
  EXPECT_EQ(CInt("&HFF"), 255);
  EXPECT_EQ(CInt("True"), -1);
  EXPECT_EQ(CLng("2147483647"), 2147483647);
  EXPECT_EQ(CDbl(" .25 "), 0.25);
  EXPECT_EQ(ErrorNumber([] { CInt("abc"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt(""); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt("12abc"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt("1 2"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt("1,000"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt("1e"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CInt("40000"); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng("2147483648"); }), err::kOverflow);
  EXPECT_EQ(ErrorNumber([] { CDbl("1e400"); }), err::kOverflow);

  EXPECT_TRUE(IsNumeric(" -1.5e3 "));
  EXPECT_TRUE(IsNumeric("TRUE"));
  EXPECT_FALSE(IsNumeric(""));
  EXPECT_FALSE(IsNumeric("12 Kb"));
  EXPECT_FALSE(IsNumeric("1e400"));
}

TEST(ConversionTest, BooleansReadTrueFalseOrNumbers) {
  EXPECT_TRUE(CBool("TRUE"));
  EXPECT_FALSE(CBool("False"));
  EXPECT_FALSE(CBool("0"));
  EXPECT_TRUE(CBool("-1"));
  EXPECT_TRUE(CBool("1e400"));
  EXPECT_EQ(ErrorNumber([] { CBool("x"); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CBool(""); }), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CBool("Yes"); }), err::kTypeMismatch);
  EXPECT_EQ(BoolText(true), "True");
  EXPECT_EQ(BoolText(false), "False");
}

TEST(ConversionTest, NumberTextWritesUpToFifteenSignificantDigits) {
  EXPECT_EQ(NumberText(3.0), "3");
  EXPECT_EQ(NumberText(0.1 + 0.2), "0.3");
  EXPECT_EQ(NumberText(-0.0), "0");
  EXPECT_EQ(NumberText(123456789012345.0), "123456789012345");
  EXPECT_EQ(NumberText(1e15), "1E+15");
  EXPECT_EQ(NumberText(0.0001), "0.0001");
  EXPECT_EQ(NumberText(0.00001), "1E-05");
  EXPECT_EQ(NumberText(2.0 / 3.0), "0.666666666666667");
}

}  // namespace
}  // namespace vellix
