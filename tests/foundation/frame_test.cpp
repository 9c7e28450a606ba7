#include "foundation/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/ref.h"
#include "support/expect_vb_error.h"
#include "support/recording_error_log.h"

namespace vellix {
namespace {

using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Widget {
  int value = 0;
};

class FrameTest : public ::testing::Test {
 protected:
  FrameTest() { ctx.errorLog = log; }
  ManualClock clock;
  Context ctx{clock};
  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
};

TEST_F(FrameTest, SoftTextIsLoggedWithNumberZeroAndTheProcedureReturnsNormally) {
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
}

TEST_F(FrameTest, AFailureStopsTheProcedureLogsOnceAndGivesTheResultSoFar) {
  Ref<Widget> nothing;
  int reached = 0;
  Frame frame(ctx, "frmPopup", "cmdAgAdd_Click");
  EXPECT_EQ(frame.Run(7,
                      [&] {
                        reached = 1;
                        nothing->value = 3;  // a call on nothing
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
}

TEST_F(FrameTest, NegativeNumbersFromServersEndTheProcedureSilently) {
  int reached = 0;
  Frame frame(ctx, "frmPopup", "LoadAgents");
  frame.Run([&] {
    throw VbError(-2147221233, "server failed");
    reached = 1;  // NOLINT: never reached
  });
  EXPECT_EQ(reached, 0);
  EXPECT_THAT(log->records, IsEmpty());

  // The soft text is still written: only the error is left out.
  Frame second(ctx, "frmPopup", "LoadAgents");
  second.Run([&] {
    second.ErrorText = "soft";
    throw VbError(-1, "server failed");
  });
  EXPECT_THAT(log->Messages(), ElementsAre("soft"));
}

TEST_F(FrameTest, NumberAbove32767OverflowsIntoTheCallersFrame) {
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

}  // namespace
}  // namespace vellix
