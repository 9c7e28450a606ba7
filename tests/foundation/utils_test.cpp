#include "foundation/utils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/frame.h"
#include "foundation/ref.h"
#include "support/expect_vb_error.h"
#include "support/fake_outlook.h"
#include "support/manual_clock.h"
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
  Services services{.clock = clock};
  Context ctx{services};
  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
  Utils utils{ctx};
};

// The procedure frame, with the same context and log.
using FrameTest = UtilsTest;

TEST_F(FrameTest, SoftTextIsLoggedWithNumberZeroAndNegativeNumbersEndTheProcedureSilently) {
  Frame frame(ctx, "frmPopup", "LeavePeriods");
  EXPECT_TRUE(frame.Run(false, [&] {
    frame.ErrorText = "first";
    frame.ErrorText = "Unexpected Event 8 in State 3";  // only the last text counts
    return true;
  }));
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"frmPopup", "LeavePeriods",
                                                  "Unexpected Event 8 in State 3", 0}));
  EXPECT_EQ(log->malformed, 0);
  // With an error as well: two records, the text first.
  log->records.clear();
  Frame second(ctx, "Utils", "GetFolder");
  second.Run([&] {
    second.ErrorText = "Inbox not found";
    Raise(err::kDivisionByZero);
  });
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "GetFolder", "Inbox not found", 0},
                                        LogRecord{"Utils", "GetFolder", "Division by zero", 11}));
  // Negative numbers from servers end the procedure silently; the soft text is still written.
  log->records.clear();
  bool reached = false;
  Frame third(ctx, "frmPopup", "LoadAgents");
  third.Run([&] {
    third.ErrorText = "soft";
    throw VbError(-2147221233, "server failed");
    reached = true;  // NOLINT: never reached
  });
  EXPECT_FALSE(reached);
  EXPECT_THAT(log->Messages(), ElementsAre("soft"));
}

TEST_F(FrameTest, AFailureStopsTheProcedureLogsOnceAndANumberAbove32767OverflowsIntoTheCaller) {
  Ref<test::FakeFolder> nothing;
  int reached = 0;
  Frame frame(ctx, "frmPopup", "cmdAgAdd_Click");
  EXPECT_EQ(frame.Run(7,
                      [&] {
                        reached = 1;
                        nothing->Name();  // a call on nothing
                        reached = 2;
                        return 42;
                      }),
            7);
  EXPECT_EQ(reached, 1);
  EXPECT_THAT(log->records,
              ElementsAre(LogRecord{"frmPopup", "cmdAgAdd_Click",
                                    "Object variable or With block variable not set", 91}));
  // A result set before the failure is what the caller gets.
  Frame second(ctx, "frmPopup", "FormRun");
  EXPECT_TRUE(second.Run(false, [&](bool& r) {
    r = true;
    Raise(err::kObjectNotSet);
  }));
  EXPECT_EQ(log->records.size(), 2U);
  // Foreign exceptions are logged as internal errors.
  Frame third(ctx, "frmPopup", "LoadLog");
  EXPECT_EQ(third.Run(0, []() -> int { throw std::out_of_range("vector"); }), 0);
  ASSERT_EQ(log->records.size(), 3U);
  EXPECT_EQ(log->records[2].number, 51);
  // A number above 32767 overflows into the caller's frame.
  log->records.clear();
  Frame outer(ctx, "frmPopup", "LoadSummary");
  bool afterInner = false;
  outer.Run([&] {
    Frame inner(ctx, "frmPopup", "PopulateSelector");
    inner.Run([&] {
      inner.ErrorText = "building tree";
      throw VbError(err::kKeyNotUnique);  // 35602 does not fit 16 bits
    });
    afterInner = true;
  });
  EXPECT_FALSE(afterInner);
  // The inner text is logged, its error is not; the caller logs the overflow.
  EXPECT_THAT(log->records,
              ElementsAre(LogRecord{"frmPopup", "PopulateSelector", "building tree", 0},
                          LogRecord{"frmPopup", "LoadSummary", "Overflow", 6}));
  // 32767 itself still fits.
  log->records.clear();
  Frame edge(ctx, "Utils", "TrimAll");
  edge.Run([] { throw VbError(32767, "largest"); });
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "TrimAll", "largest", 32767}));
}

TEST_F(FrameTest, AMissingOrFailingLogIsPassedOverOnlyWhereTheFrameSaysSo) {
  log->failWith = 5;
  Frame frame(ctx, "frmPopup", "Form_Load");
  EXPECT_VB_ERROR(frame.Run([&] { frame.ErrorText = "x"; }), 5);
  Frame main(ctx, "Startup", "Main");
  main.PassOverErrors = true;
  EXPECT_NO_THROW(main.Run([&] {
    main.ErrorText = "x";
    Raise(err::kTypeMismatch);
  }));
  // With no error log at all, failures are passed over.
  log->failWith = 0;
  ctx.errorLog.Reset();
  Frame startup(ctx, "Startup", "Main");
  EXPECT_NO_THROW(startup.Run([&] {
    startup.ErrorText = "Unable to Open Boot Config";
    throw VbError(40000, "too large for the record");
  }));
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(UtilsTest, FileSizesReadInDecimalUnitsWithTheUsersSeparators) {
  const struct {
    int32_t bytes;
    const char* want;
  } cases[] = {{0, ""},        {-5, "-5 Bytes"},  {999999, "1,000 Kb"},  {1000000000, "1.000 Gb"},
               {1000, "1 Kb"}, {1000000, "1 Mb"}, {123456789, "123 Mb"}, {2147483647, "2.147 Gb"},
               {1500, "2 Kb"}, {999, "999 Bytes"}};
  for (const auto& c : cases)
    EXPECT_EQ(utils.DisplayFileSizeText(c.bytes), c.want) << c.bytes;
  EXPECT_THAT(log->records, IsEmpty());
  services.locale.thousandsSeparator = ".";
  services.locale.decimalSeparator = ",";
  EXPECT_EQ(utils.DisplayFileSizeText(1234567890), "1,235 Gb");
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

TEST_F(GetFolderTest, WalksThePathPassingOverMissingLevelsAndNamesThePartThatFailed) {
  // Leading separators and the Outlook word name the same folder; a missing middle level is
  // passed over and a missing last level ends on the deepest folder reached; a part with a
  // tilde is a marker that ends the walk.
  const struct {
    const char* path;
    std::shared_ptr<test::FakeFolder> want;
  } cases[] = {{"\\\\Mailbox\\Inbox\\Projects", projects},
               {"Mailbox\\Inbox\\Projects", projects},
               {"Outlook:\\Mailbox\\Inbox\\Projects", projects},
               {"\\Outlook:\\\\Mailbox\\Inbox\\Projects", projects},
               {"\\\\Mailbox\\Inbox\\Missing\\Projects\\Alpha", alpha},
               {"\\\\Mailbox\\Inbox\\Projects\\Nowhere", projects},
               {"\\\\Mailbox\\Inbox\\~Projects\\Alpha", inbox},
               {"\\\\Mailbox\\Inbox\\~2026\\Projects", inbox},
               {"\\\\Mailbox\\Inbox\\Projects\\~2026", projects}};
  for (const auto& c : cases) {
    auto f = utils.GetFolder(nsRef, c.path);
    ASSERT_FALSE(f.IsNothing()) << c.path;
    EXPECT_EQ(f.Shared(), c.want) << c.path;
  }
  EXPECT_THAT(log->records, IsEmpty());
  // An unknown store or no name gives nothing.
  for (const char* path : {"", "\\\\", "Outlook:\\\\Outlook:", "\\\\Archive"})
    EXPECT_TRUE(utils.GetFolder(nsRef, path).IsNothing()) << path;
  EXPECT_THAT(log->records, IsEmpty());
  // A walk that fails below the top level names the part it could not find.
  EXPECT_TRUE(utils.GetFolder(nsRef, "\\\\Archive\\Inbox\\Projects").IsNothing());
  EXPECT_TRUE(utils.GetFolder(Ref<NameSpace>(), "\\\\Mailbox\\Inbox").IsNothing());
  const LogRecord notFound{"Utils", "GetFolder", "Inbox not found", 0};
  EXPECT_THAT(log->records, ElementsAre(notFound, notFound));
}

TEST_F(UtilsTest, FolderTypesAndTrimmedPathsAreTheTextsAgentsUse) {
  const char* const want[] = {"Mail and Post", "Calendar",      "Contacts", "Tasks", "Journal",
                              "Notes",         "Mail and Post", "Contacts", ""};
  for (int type = 0; type <= 8; ++type)
    EXPECT_EQ(utils.FolderTypeName(type), want[type]) << type;
  EXPECT_EQ(utils.FolderTypeName(-1), "");
  // The folder path an agent is matched by loses every blank and control character.
  EXPECT_EQ(utils.TrimAll("  a b\tc\r\nd\f\v\be  "), "abcde");
  EXPECT_EQ(utils.TrimAll(std::string("x\0y", 3)), "xy");
  EXPECT_EQ(utils.TrimAll("    ") + utils.TrimAll(""), "");
  EXPECT_EQ(utils.TrimAll("keep-all_of.this"), "keep-all_of.this");
}

TEST_F(UtilsTest, StoreNameFormatsNeedADateToken) {
  for (const char* good : {"File '@yyyy'", "File '@yyyy mmm'-'$mmm'", "'@MMM'-'$MMM'",
                           "@" /* general date form */, "'$dd MMMM'"})
    EXPECT_TRUE(utils.ValidateFolderFormat(good)) << good;
  for (const char* bad : {"", "''", "File yyyy", "File 'yyyy'"})
    EXPECT_FALSE(utils.ValidateFolderFormat(bad)) << bad;
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(UtilsTest, SecondsOfAPeriodUseTheFixedTableAndOverflowGivesZero) {
  // Only the exact unit names count ("days", "Dayss" give 0).
  const struct {
    int32_t count;
    const char* unit;
    int32_t want;
  } cases[] = {{1, "Year", 1314000}, {2, "Years", 2628000}, {1, "Quarters", 328500},
               {3, "Month", 328500}, {2, "Weeks", 1209600}, {1, "Day", 86400},
               {5, "Hours", 18000},  {10, "Minute", 600},   {5, "Seconds", 1},
               {5, "days", 0},       {5, "Dayss", 0},       {5, "", 0}};
  for (const auto& c : cases)
    EXPECT_EQ(utils.CalculateSeconds(c.count, c.unit), c.want) << c.count << " " << c.unit;
  EXPECT_EQ(utils.CalculateSeconds(1634, "Years"), 2147076000) << "the most years that fit";
  EXPECT_THAT(log->records, IsEmpty());
  for (const int32_t years : {1635, 2000, -2000})
    EXPECT_EQ(utils.CalculateSeconds(years, "Years"), 0) << years;
  const LogRecord overflow{"Utils", "CalculateSeconds", "Overflow", 6};
  EXPECT_THAT(log->records, ElementsAre(overflow, overflow, overflow));
}

TEST_F(UtilsTest, DatesWithSlashesReadInTheGivenOrder) {
  EXPECT_EQ(utils.CDateLocale("22/09/1963", 0), DateSerial(1963, 9, 22));
  EXPECT_EQ(utils.CDateLocale("09/22/1963", 1), DateSerial(1963, 9, 22));
  EXPECT_EQ(utils.CDateLocale("1/2/2026", 0), DateSerial(2026, 2, 1));
  EXPECT_EQ(utils.CDateLocale("1/2/2026", 1), DateSerial(2026, 1, 2));
  EXPECT_EQ(utils.CDateLocale("3rd/4th/2026", 0), DateSerial(2026, 4, 3));
  // Only the leading digits count: no rounding of a fraction, no sign or blank skipped.
  EXPECT_EQ(utils.CDateLocale("3.5/4.9/2026.7", 0), DateSerial(2026, 4, 3));
  EXPECT_TRUE(utils.CDateLocale("1/2/2026", 2).IsZero());
  for (const char* bad :
       {"1/2", "1/2/3/4", "0/2/2026", "x/2/2026", "", " 1/2/2026", "+1/2/2026", ".9/2/2026"})
    EXPECT_TRUE(utils.CDateLocale(bad, 0).IsZero()) << bad;
  EXPECT_THAT(log->records, IsEmpty());
  // A year that does not fit 16 bits is an overflow, logged, and the zero date.
  EXPECT_TRUE(utils.CDateLocale("1/1/99999", 0).IsZero());
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "CDateLocale", "Overflow", 6}));
}

}  // namespace
}  // namespace vellix
