#include "foundation/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/ref.h"
#include "support/recording_error_log.h"

namespace vellix {
namespace {

using test::LogRecord;
using test::RecordingErrorLog;
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
  std::shared_ptr<RecordingErrorLog> log = std::make_shared<RecordingErrorLog>();
};

TEST_F(FrameTest, SoftTextIsLoggedWithNumberZeroAndTheProcedureReturnsNormally) {
  Frame frame(ctx, "frmPopup", "LeavePeriods");
  const bool result = frame.Run(false, [&] {
    frame.ErrorText = "first";
    frame.ErrorText = "Unexpected Event 8 in State 3";  // only the last text counts
    return true;
  });
  EXPECT_TRUE(result);
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"frmPopup", "LeavePeriods",
                                                  "Unexpected Event 8 in State 3", 0}));
  EXPECT_EQ(log->malformed, 0);
}

TEST_F(FrameTest, AFailureStopsTheProcedureLogsOnceAndGivesTheDefault) {
  Ref<Widget> nothing;
  int reached = 0;
  Frame frame(ctx, "frmPopup", "cmdAgAdd_Click");
  const int result = frame.Run(7, [&] {
    reached = 1;
    nothing->value = 3;  // a call on nothing
    reached = 2;
    return 42;
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(reached, 1);
  EXPECT_THAT(log->records,
              ElementsAre(LogRecord{"frmPopup", "cmdAgAdd_Click",
                                    "Object variable or With block variable not set", 91}));
}

TEST_F(FrameTest, SoftTextAndErrorGiveTwoRecordsInThatOrder) {
  Frame frame(ctx, "Utils", "GetFolder");
  frame.Run([&] {
    frame.ErrorText = "Inbox not found";
    Raise(err::kDivisionByZero);
  });
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"Utils", "GetFolder", "Inbox not found", 0},
                                        LogRecord{"Utils", "GetFolder", "Division by zero", 11}));
}

TEST_F(FrameTest, ResultSetBeforeTheFailureIsWhatTheCallerGets) {
  Frame frame(ctx, "frmPopup", "FormRun");
  const bool result = frame.Run(false, [&](bool& r) {
    r = true;
    Raise(err::kObjectNotSet);
  });
  EXPECT_TRUE(result);
  EXPECT_EQ(log->records.size(), 1U);
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
  bool innerReturned = false;
  bool afterInner = false;
  outer.Run([&] {
    Frame inner(ctx, "frmPopup", "PopulateSelector");
    inner.Run([&] {
      inner.ErrorText = "building tree";
      throw VbError(err::kKeyNotUnique);  // 35602 does not fit 16 bits
    });
    innerReturned = true;
    afterInner = true;
  });
  EXPECT_FALSE(innerReturned);
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

TEST_F(FrameTest, WithNoErrorLogFailuresArePassedOver) {
  ctx.errorLog.Reset();
  Frame frame(ctx, "Startup", "Main");
  EXPECT_NO_THROW(frame.Run([&] {
    frame.ErrorText = "Unable to Open Boot Config";
    throw VbError(40000, "too large for the record");
  }));
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(FrameTest, AFailingLogGoesToTheCallerUnlessTheFramePassesOver) {
  log->failWith = 5;
  Frame frame(ctx, "frmPopup", "Form_Load");
  try {
    frame.Run([&] { frame.ErrorText = "x"; });
    ADD_FAILURE() << "the failed LogEvent should reach the caller";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), 5);
  }

  Frame main(ctx, "Startup", "Main");
  main.PassOverErrors = true;
  EXPECT_NO_THROW(main.Run([&] {
    main.ErrorText = "x";
    Raise(err::kTypeMismatch);
  }));
}

TEST_F(FrameTest, ForeignExceptionsAreLoggedAsInternalErrors) {
  Frame frame(ctx, "frmPopup", "LoadLog");
  const int result = frame.Run(0, []() -> int { throw std::out_of_range("vector"); });
  EXPECT_EQ(result, 0);
  ASSERT_EQ(log->records.size(), 1U);
  EXPECT_EQ(log->records[0].number, 51);
}

}  // namespace
}  // namespace vellix
