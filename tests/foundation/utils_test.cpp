#include "foundation/utils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fake_outlook.h"
#include "support/recording_error_log.h"

namespace vellix {
namespace {

using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UtilsTest : public ::testing::Test {
 protected:
  UtilsTest() { ctx.errorLog = log; }
  ManualClock clock;
  Context ctx{clock};
  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
  Utils utils{ctx};
};

TEST_F(UtilsTest, FileSizesReadInDecimalUnitsRoundedByTheFormat) {
  EXPECT_EQ(utils.DisplayFileSizeText(0), "");
  EXPECT_EQ(utils.DisplayFileSizeText(999), "999 Bytes");
  EXPECT_EQ(utils.DisplayFileSizeText(-5), "-5 Bytes");
  EXPECT_EQ(utils.DisplayFileSizeText(1000), "1 Kb");
  EXPECT_EQ(utils.DisplayFileSizeText(1500), "2 Kb");
  EXPECT_EQ(utils.DisplayFileSizeText(999999), "1,000 Kb");
  EXPECT_EQ(utils.DisplayFileSizeText(1000000), "1 Mb");
  EXPECT_EQ(utils.DisplayFileSizeText(123456789), "123 Mb");
  EXPECT_EQ(utils.DisplayFileSizeText(1000000000), "1.000 Gb");
  EXPECT_EQ(utils.DisplayFileSizeText(2147483647), "2.147 Gb");
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(UtilsTest, FileSizeUsesTheUsersSeparators) {
  ctx.locale.thousandsSeparator = ".";
  ctx.locale.decimalSeparator = ",";
  EXPECT_EQ(utils.DisplayFileSizeText(1234567890), "1,235 Gb");
  EXPECT_EQ(utils.DisplayFileSizeText(987654321), "988 Mb");
  EXPECT_EQ(utils.DisplayFileSizeText(999999), "1.000 Kb");
}

class GetFolderTest : public UtilsTest {
 protected:
  GetFolderTest() {
    auto mailbox = ns->AddStore("Mailbox");
    inbox = mailbox->Add("Inbox");
    projects = inbox->Add("Projects");
    alpha = projects->Add("Alpha");
    mailbox->Add("Calendar", 1);
  }
  std::shared_ptr<test::FakeNameSpace> ns = std::make_shared<test::FakeNameSpace>();
  std::shared_ptr<test::FakeFolder> inbox, projects, alpha;
  Ref<NameSpace> nsRef{ns};
};

TEST_F(GetFolderTest, LeadingSeparatorsAndTheOutlookWordNameTheSameFolder) {
  for (const char* path :
       {"\\\\Mailbox\\Inbox\\Projects", "Mailbox\\Inbox\\Projects",
        "Outlook:\\Mailbox\\Inbox\\Projects", "\\Outlook:\\\\Mailbox\\Inbox\\Projects"}) {
    auto f = utils.GetFolder(nsRef, path);
    ASSERT_FALSE(f.IsNothing()) << path;
    EXPECT_EQ(f.Shared(), projects) << path;
  }
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(GetFolderTest, AMissingMiddleLevelIsSkippedAndTheDeepestReachedFolderKept) {
  // "Missing" isn't there: the walk stays on Inbox and finds Projects below it.
  EXPECT_EQ(utils.GetFolder(nsRef, "\\\\Mailbox\\Inbox\\Missing\\Projects\\Alpha").Shared(), alpha);
  // A missing last level ends on the deepest folder reached.
  EXPECT_EQ(utils.GetFolder(nsRef, "\\\\Mailbox\\Inbox\\Projects\\Nowhere").Shared(), projects);
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(GetFolderTest, ATildePartIsAMarkerThatEndsTheWalk) {
  EXPECT_EQ(utils.GetFolder(nsRef, "\\\\Mailbox\\Inbox\\~Projects\\Alpha").Shared(), inbox);
  EXPECT_EQ(utils.GetFolder(nsRef, "\\\\Mailbox\\Inbox\\Projects\\~2026").Shared(), projects);
}

TEST_F(GetFolderTest, AnUnknownStoreGivesNothingAndNamesThePartThatFailed) {
  EXPECT_TRUE(utils.GetFolder(nsRef, "\\\\Archive").IsNothing());
  EXPECT_THAT(log->records, IsEmpty());
  EXPECT_TRUE(utils.GetFolder(nsRef, "\\\\Archive\\Inbox\\Projects").IsNothing());
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "GetFolder", "Inbox not found", 0}));
}

TEST_F(GetFolderTest, PathsWithNoNameGiveNothing) {
  EXPECT_TRUE(utils.GetFolder(nsRef, "").IsNothing());
  EXPECT_TRUE(utils.GetFolder(nsRef, "\\\\").IsNothing());
  EXPECT_TRUE(utils.GetFolder(nsRef, "Outlook:\\\\Outlook:").IsNothing());
  EXPECT_TRUE(utils.GetFolder(Ref<NameSpace>(), "\\\\Mailbox\\Inbox").IsNothing());
}

TEST_F(UtilsTest, FolderTypesMapToTheTextsAgentsUse) {
  EXPECT_EQ(utils.FolderTypeName(0), "Mail and Post");
  EXPECT_EQ(utils.FolderTypeName(6), "Mail and Post");
  EXPECT_EQ(utils.FolderTypeName(1), "Calendar");
  EXPECT_EQ(utils.FolderTypeName(2), "Contacts");
  EXPECT_EQ(utils.FolderTypeName(7), "Contacts");
  EXPECT_EQ(utils.FolderTypeName(3), "Tasks");
  EXPECT_EQ(utils.FolderTypeName(4), "Journal");
  EXPECT_EQ(utils.FolderTypeName(5), "Notes");
  EXPECT_EQ(utils.FolderTypeName(8), "");
  EXPECT_EQ(utils.FolderTypeName(-1), "");
}

TEST_F(UtilsTest, StoreNameFormatsNeedADateToken) {
  EXPECT_TRUE(utils.ValidateFolderFormat("File '@yyyy'"));
  EXPECT_TRUE(utils.ValidateFolderFormat("File '@yyyy mmm'-'$mmm'"));
  EXPECT_TRUE(utils.ValidateFolderFormat("'@MMM'-'$MMM'"));
  EXPECT_TRUE(utils.ValidateFolderFormat("@"));  // general date form
  EXPECT_TRUE(utils.ValidateFolderFormat("'$dd MMMM'"));
  EXPECT_FALSE(utils.ValidateFolderFormat(""));
  EXPECT_FALSE(utils.ValidateFolderFormat("''"));
  EXPECT_FALSE(utils.ValidateFolderFormat("File yyyy"));
  EXPECT_FALSE(utils.ValidateFolderFormat("File 'yyyy'"));
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(UtilsTest, SecondsOfAPeriodUseTheFixedTableAndOverflowGivesZero) {
  EXPECT_EQ(utils.CalculateSeconds(1, "Year"), 1314000);
  EXPECT_EQ(utils.CalculateSeconds(2, "Years"), 2628000);
  EXPECT_EQ(utils.CalculateSeconds(1, "Quarters"), 328500);
  EXPECT_EQ(utils.CalculateSeconds(3, "Month"), 328500);
  EXPECT_EQ(utils.CalculateSeconds(2, "Weeks"), 1209600);
  EXPECT_EQ(utils.CalculateSeconds(1, "Day"), 86400);
  EXPECT_EQ(utils.CalculateSeconds(5, "Hours"), 18000);
  EXPECT_EQ(utils.CalculateSeconds(10, "Minute"), 600);
  EXPECT_EQ(utils.CalculateSeconds(5, "Seconds"), 1);
  EXPECT_EQ(utils.CalculateSeconds(5, "days"), 0);  // the exact name only
  EXPECT_EQ(utils.CalculateSeconds(5, "Dayss"), 0);
  EXPECT_EQ(utils.CalculateSeconds(5, ""), 0);
  EXPECT_THAT(log->records, IsEmpty());

  // 1634 years still fit 32 bits; 1635 and 2000 do not.
  EXPECT_EQ(utils.CalculateSeconds(1634, "Years"), 2147076000);
  EXPECT_EQ(utils.CalculateSeconds(1635, "Years"), 0);
  EXPECT_EQ(utils.CalculateSeconds(2000, "Years"), 0);
  EXPECT_EQ(utils.CalculateSeconds(-2000, "Years"), 0);
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "CalculateSeconds", "Overflow", 6},
                                        LogRecord{"Utils", "CalculateSeconds", "Overflow", 6},
                                        LogRecord{"Utils", "CalculateSeconds", "Overflow", 6}));
}

TEST_F(UtilsTest, TrimAllRemovesEveryBlankAndControlCharacter) {
  EXPECT_EQ(utils.TrimAll("  a b\tc\r\nd\f\v\be  "), "abcde");
  EXPECT_EQ(utils.TrimAll(std::string("x\0y", 3)), "xy");
  EXPECT_EQ(utils.TrimAll("    "), "");
  EXPECT_EQ(utils.TrimAll(""), "");
  EXPECT_EQ(utils.TrimAll("keep-all_of.this"), "keep-all_of.this");
}

TEST_F(UtilsTest, DatesWithSlashesReadInTheGivenOrder) {
  EXPECT_EQ(utils.CDateLocale("22/09/1963", 0), DateSerial(1963, 9, 22));
  EXPECT_EQ(utils.CDateLocale("09/22/1963", 1), DateSerial(1963, 9, 22));
  EXPECT_EQ(utils.CDateLocale("1/2/2026", 0), DateSerial(2026, 2, 1));
  EXPECT_EQ(utils.CDateLocale("1/2/2026", 1), DateSerial(2026, 1, 2));
  EXPECT_EQ(utils.CDateLocale("3rd/4th/2026", 0), DateSerial(2026, 4, 3));
  EXPECT_TRUE(utils.CDateLocale("1/2/2026", 2).IsZero());
  EXPECT_TRUE(utils.CDateLocale("1/2", 0).IsZero());
  EXPECT_TRUE(utils.CDateLocale("1/2/3/4", 0).IsZero());
  EXPECT_TRUE(utils.CDateLocale("0/2/2026", 0).IsZero());
  EXPECT_TRUE(utils.CDateLocale("x/2/2026", 0).IsZero());
  EXPECT_TRUE(utils.CDateLocale("", 0).IsZero());
  EXPECT_THAT(log->records, IsEmpty());
  // A year that does not fit 16 bits is an overflow, logged, and the zero date.
  EXPECT_TRUE(utils.CDateLocale("1/1/99999", 0).IsZero());
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "CDateLocale", "Overflow", 6}));
}

}  // namespace
}  // namespace vellix
