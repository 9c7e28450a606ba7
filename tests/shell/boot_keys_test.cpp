#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::IsEmpty;

// Every key the program asks the tree for is shipped in the boot
// configuration or the shared branch: a missing one would show as an empty
// caption or message.
std::set<std::string> Missing(const test::PopupWorld& w) {
  std::set<std::string> missing = *w.configSeen->missing;
  // The first start's probe for the branch, before it is grafted.
  missing.erase("Componants.VellixControl");
  return missing;
}

TEST(BootConfiguration, HoldsEveryKeyAStartTheTabsTheQuestionsAndMessagesAskFor) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  for (const char* tab : {"Periods", "Agents", "Import", "Backup", "Log", "Summary"}) {
    w.popup.tabControlOptions.UserSelectTab(tab);
  }
  w.popup.cmdStopStart.UserClick();  // start
  w.popup.cmdStopStart.UserClick();  // stop
  w.popup.cmdHide.UserClick();
  w.popup.mPopView_Click();
  w.host.Pump();
  EXPECT_THAT(w.Problems(), IsEmpty());

  w.host.AnswerNext(MsgResult::No);
  w.popup.StateMonitor(kEventQuickSetup);  // the warning before quick setup
  w.host.AnswerNext(MsgResult::Cancel);
  w.popup.cmdExit.UserClick();  // the question before closing
  ASSERT_EQ(w.host.Prompts().size(), 2U);
  for (const auto& prompt : w.host.Prompts())
    EXPECT_FALSE(prompt.empty());
  EXPECT_THAT(Missing(w), IsEmpty());
}

TEST(BootConfiguration, HoldsEveryKeyAFirstRunAndTheSummaryAskFor) {
  test::PopupWorld w;
  w.Start();
  w.host.OnModal("frmPredictiveStart",
                 [](Form& f) { static_cast<FrmPredictiveStart&>(f).cmdRunNow.UserClick(); });
  w.popup.Get<CommandButton>("cmdOK").UserClick();
  w.host.Pump();
  ASSERT_EQ(w.popup.ControlState(), kStateRunningHidden);
  w.popup.mPopView_Click();
  w.host.Pump();
  SummaryPanel& su = w.popup.summary;
  su.tvwSuSelector.UserClickNode("Agents");
  su.tvwSuSelector.UserClickNode("Received Emails");
  su.tvwSuSelector.UserClickNode("PeriodsRoot");
  for (const auto& period : w.engine->Config()->Periods()) {
    su.tvwSuSelector.UserClickNode(period->Name());
  }
  EXPECT_THAT(Missing(w), IsEmpty());
}

}  // namespace
}  // namespace vellix
