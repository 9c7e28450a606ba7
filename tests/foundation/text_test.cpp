#include "foundation/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/vb_error.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TextTest, ReplaceIgnoresCaseAndReplacesEveryOccurrenceLeftToRight) {
  EXPECT_EQ(Replace("aXbxc", "x", "-"), "a-b-c");
  EXPECT_EQ(Replace("Store.PST", "pst", "bak"), "Store.bak");
  EXPECT_EQ(Replace("aaaa", "aa", "b"), "bb");
  EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
  EXPECT_EQ(Replace("abab", "ab", "abab"), "abababab");  // replacements are not searched again
  EXPECT_EQ(Replace("abc", "", "x"), "abc");
  EXPECT_EQ(Replace("abc", "abcd", "x"), "abc");
  EXPECT_EQ(Replace("x\\y\\", "\\", ""), "xy");
}

TEST(TextTest, SplitKeepsEmptyParts) {
  EXPECT_THAT(Split("\\a\\\\b", "\\"), ElementsAre("", "a", "", "b"));
  EXPECT_THAT(Split("a\\", "\\"), ElementsAre("a", ""));
  EXPECT_THAT(Split("\\", "\\"), ElementsAre("", ""));
  EXPECT_THAT(Split("a, b,,c", ", "), ElementsAre("a", "b,,c"));
  EXPECT_THAT(Split("aXb", "x"), ElementsAre("aXb"));  // the delimiter is matched exactly
  EXPECT_THAT(Split("", "\\"), IsEmpty());
  EXPECT_THAT(Split("abc", ""), ElementsAre("abc"));
}

TEST(TextTest, TrimsRemoveSpacesOnly) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(LTrim("  a "), "a ");
  EXPECT_EQ(RTrim("  a "), "  a");
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(Trim("    "), "");
}

TEST(TextTest, CaseAndComparisonTouchOnlyAsciiLetters) {
  EXPECT_EQ(UCase("abc-\xC3\xA9z"), "ABC-\xC3\xA9Z");
  EXPECT_EQ(LCase("ABC[\\]"), "abc[\\]");
  EXPECT_EQ(CompareText("apple", "APPLE"), 0);
  EXPECT_EQ(CompareText("apple", "Banana"), -1);
  EXPECT_EQ(CompareText("ab", "a"), 1);
  EXPECT_EQ(CompareText("", "a"), -1);
  EXPECT_EQ(CompareText("a", "\xC3\xA9"), -1);  // bytes above 127 sort after ASCII
  EXPECT_TRUE(EqualsText("Inbox", "INBOX"));
  EXPECT_FALSE(EqualsText("Inbox", "Inbox2"));
}

TEST(TextTest, InStrFindsOneBasedPositionsFromAStart) {
  EXPECT_EQ(InStr("abcabc", "c"), 3);
  EXPECT_EQ(InStr("abcabc", "c", 4), 6);
  EXPECT_EQ(InStr("abcabc", "C"), 0);
  EXPECT_EQ(InStr("abc", "c", 3), 3);
  EXPECT_EQ(InStr("abc", "a", 4), 0);
  EXPECT_EQ(InStr("abc", "", 2), 2);
  EXPECT_EQ(InStr("", ""), 0);
  try {
    InStr("abc", "a", 0);
    ADD_FAILURE() << "a start of 0 must fail";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), err::kInvalidCall);
  }
}

}  // namespace
}  // namespace vellix
