#include "foundation/variant.h"

#include <gtest/gtest.h>

#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;

TEST(VariantTest, TextOfEachTypeIsTheRuntimesText) {
  EXPECT_EQ(Variant().ToString(), "");
  EXPECT_EQ(Variant(true).ToString(), "True");
  EXPECT_EQ(Variant(false).ToString(), "False");
  EXPECT_EQ(Variant(int16_t{-5}).ToString(), "-5");
  EXPECT_EQ(Variant(int32_t{100000}).ToString(), "100000");
  EXPECT_EQ(Variant(1.5).ToString(), "1.5");
  EXPECT_EQ(Variant(3.0).ToString(), "3");
  EXPECT_EQ(Variant("x y").ToString(), "x y");
  EXPECT_EQ(Variant(DateTimeSerial(1963, 9, 22, 14, 5, 0)).ToString(), "22/09/1963 14:05:00");
  EXPECT_EQ(Variant(DateSerial(1963, 9, 22)).ToString(), "22/09/1963");
  EXPECT_EQ(Variant(TimeSerial(6, 30, 0)).ToString(), "06:30:00");
  EXPECT_EQ(Variant(Date()).ToString(), "00:00:00");
}

TEST(VariantTest, NumericConversionsFollowTheRuntime) {
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

  EXPECT_TRUE(Variant(2.5).ToBool());
  EXPECT_FALSE(Variant().ToBool());
  EXPECT_TRUE(Variant("true").ToBool());
  EXPECT_FALSE(Variant("0").ToBool());
  EXPECT_EQ(ErrorNumber([] { (void)Variant("abc").ToBool(); }), err::kTypeMismatch);

  EXPECT_TRUE(Variant(" 4 ").IsNumeric());
  EXPECT_TRUE(Variant(false).IsNumeric());
  EXPECT_FALSE(Variant("4x").IsNumeric());
  EXPECT_FALSE(Variant().IsNumeric());
  EXPECT_FALSE(Variant(DateSerial(2000, 1, 1)).IsNumeric());
}

TEST(VariantTest, DatesReadFromSerialsAndTheTwoTextForms) {
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
}

TEST(VariantTest, LooseEqualityComparesLikeTheRuntime) {
  EXPECT_TRUE(Variant(true).Equals(Variant(int16_t{-1})));
  EXPECT_FALSE(Variant(true).Equals(Variant(int16_t{1})));
  EXPECT_FALSE(Variant("abc").Equals(Variant("ABC")));
  EXPECT_TRUE(Variant(" 5 ").Equals(Variant(int32_t{5})));
  EXPECT_TRUE(Variant(5.0).Equals(Variant("5")));
  EXPECT_FALSE(Variant("5x").Equals(Variant(5.0)));
  EXPECT_FALSE(Variant("5").Equals(Variant("5.0")));  // two texts compare as texts
  EXPECT_TRUE(Variant().Equals(Variant(int16_t{0})));
  EXPECT_TRUE(Variant().Equals(Variant("")));
  EXPECT_TRUE(Variant().Equals(Variant(false)));
  EXPECT_FALSE(Variant().Equals(Variant("0")));
  EXPECT_TRUE(Variant(DateSerial(1900, 1, 1)).Equals(Variant(2.0)));
  EXPECT_TRUE(Variant(DateSerial(1963, 9, 22)).Equals(Variant("22/09/1963")));
  EXPECT_FALSE(Variant(DateSerial(1963, 9, 22)).Equals(Variant("23/09/1963")));
  // Exact equality also wants the same type.
  EXPECT_FALSE(Variant(int16_t{3}) == Variant(int32_t{3}));
  EXPECT_TRUE(Variant("a") == Variant(std::string("a")));
}

TEST(VariantTest, TypeNamesAreTheConfigurationNames) {
  EXPECT_EQ(Variant().TypeName(), "Empty");
  EXPECT_EQ(Variant(true).TypeName(), "Boolean");
  EXPECT_EQ(Variant(int16_t{1}).TypeName(), "Integer");
  EXPECT_EQ(Variant(int32_t{1}).TypeName(), "Long");
  EXPECT_EQ(Variant(1.0).TypeName(), "Double");
  EXPECT_EQ(Variant("").TypeName(), "String");
  EXPECT_EQ(Variant(Date(1)).TypeName(), "Date");
}

}  // namespace
}  // namespace vellix
