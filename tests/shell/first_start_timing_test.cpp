#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;

// A user's first start: the Quick setup page shows, the user presses OK and,
// in the forecast dialog, Run Now.
void PressOkThenRunNow(test::PopupWorld& w) {
  w.host.OnModal("frmPredictiveStart",
                 [](Form& f) { static_cast<FrmPredictiveStart&>(f).cmdRunNow.UserClick(); });
  w.host.AnswerNext(MsgResult::OK);  // no backup folder: go on all the same
  w.popup.Get<CommandButton>("cmdOK").UserClick();
  w.host.Pump();
}

TEST(FirstStart, AnEngineThatReportsAtOnceReachesRunningHiddenThroughTheConfiguredStates) {
  test::PopupWorld w;
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), 1);
  w.log->records.clear();

  PressOkThenRunNow(w);

  EXPECT_THAT(w.StateTrace(), ElementsAre("Current State: UnconfiguredVisible Event: QuickSetupOK",
                                          "Current State: UnconfiguredVisible Event: Configured",
                                          "Current State: ConfiguredVisible Event: Hide",
                                          "Current State: ConfiguredHidden Event: Run"));
  EXPECT_EQ(w.popup.ControlState(), 6);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_TRUE(w.engine->Running());
  EXPECT_EQ(w.host.Prompts().back(), w.Text(".Strings.QuickSetup.MsgNowRunning"));
  EXPECT_EQ(w.tray.Current(), "Running.ico");
}

TEST(FirstStart, AnEngineThatReportsLaterReachesRunningHiddenThroughTheHiddenStates) {
  test::PopupWorld w;
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), 1);
  w.log->records.clear();
  w.engine->DelayReports(true);

  PressOkThenRunNow(w);
  EXPECT_EQ(w.popup.ControlState(), 2) << "hidden before the engine said anything";
  EXPECT_EQ(w.engine->PendingReports(), 2);

  w.engine->DelayReports(false);
  w.engine->ReleaseReports();
  w.host.Pump();

  EXPECT_THAT(w.StateTrace(), ElementsAre("Current State: UnconfiguredVisible Event: QuickSetupOK",
                                          "Current State: UnconfiguredVisible Event: Hide",
                                          "Current State: UnconfiguredHidden Event: Configured",
                                          "Current State: ConfiguredHidden Event: Run"));
  EXPECT_EQ(w.popup.ControlState(), 6);
  EXPECT_FALSE(w.popup.Visible());
}

}  // namespace
}  // namespace vellix
