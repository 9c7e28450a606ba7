#include "foundation/variant.h"

#include <gtest/gtest.h>

#include "foundation/vb_error.h"
#include "support/expect_vb_error.h"

namespace vellix {
namespace {

using test::ErrorNumber;

TEST(VariantTest, TextAndTypeNameOfEachTypeAreTheRuntimes) {
  const struct {
    Variant value;
    const char *text, *type;
  } cases[] = {{Variant(), "", "Empty"},
               {true, "True", "Boolean"},
               {false, "False", "Boolean"},
               {int16_t{-5}, "-5", "Integer"},
               {int32_t{100000}, "100000", "Long"},
               {1.5, "1.5", "Double"},
               {3.0, "3", "Double"},
               {"x y", "x y", "String"},
               {DateTimeSerial(1963, 9, 22, 14, 5, 0), "22/09/1963 14:05:00", "Date"},
               {DateSerial(1963, 9, 22), "22/09/1963", "Date"},
               {TimeSerial(6, 30, 0), "06:30:00", "Date"},
               {Date(), "00:00:00", "Date"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.value.ToString(), c.text);
    EXPECT_EQ(c.value.TypeName(), c.type) << c.text;
  }
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
  EXPECT_EQ(ErrorNumber([] { (void)Variant("abc").ToBool(); }), err::kTypeMismatch);

  const struct {
    Variant value;
    bool truth, numeric;
  } cases[] = {{2.5, true, true},  {"true", true, true}, {Variant(), false, false},
               {"0", false, true}, {false, false, true}, {DateSerial(2000, 1, 1), true, false},
               {" 4 ", true, true}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    const auto& c = cases[i];
    EXPECT_EQ(c.value.ToBool(), c.truth) << "case " << i;
    EXPECT_EQ(c.value.IsNumeric(), c.numeric) << "case " << i;
  }
  EXPECT_FALSE(Variant("4x").IsNumeric());
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
