#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "foundation/log_box.h"
#include "foundation/period.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

int32_t ItemsInStores(test::PopupWorld& w) {
  int32_t items = 0;
  for (const Ref<Period>& period : w.engine->Config()->Periods())
    items += period->ItemCount();
  return items;
}

// A new user's first day: Quick setup, Run Now, the engine's first pass
// filing the demo mail while the panel shows it, a purge a month later that
// asks first, and the Summary listing the stores the pass made.
TEST(ProcessingStory, RunNowFilesWhatWasForecastThenAsksBeforeAPurgeAndTheSummaryShowsTheStores) {
  test::PopupWorld w;
  engine::Processor& work = w.UseProcessor();
  w.PresetHidden(false);
  w.Start();
  // The page takes the engine's "not configured" for an unexpected event: a
  // log line of the start, nothing more.
  w.log->records.clear();
  ASSERT_TRUE(w.popup.quickSetup.txtBackupPath.UserSetText((w.dir / "backup").string()));
  int32_t forecast = -1;
  w.host.OnModal("frmPredictiveStart", [&](Form& form) {
    forecast = w.engine->ForecastItemCount();
    ASSERT_TRUE(dynamic_cast<FrmPredictiveStart&>(form).cmdRunNow.UserClick());
  });
  ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
  ASSERT_TRUE(w.host.PumpUntil([&] { return work.PassesDone() >= 1 && !work.Busy(); },
                               std::chrono::seconds(30)));
  w.host.Pump();
  ASSERT_GT(forecast, 0);
  EXPECT_EQ(ItemsInStores(w), forecast);
  // The pass's steps reached the log in order: its start at the bottom,
  // its end on top with the count filed.
  const LogBox& box = w.popup.log.txtLoEntries;
  ASSERT_GT(box.LineCount(), 2U);
  EXPECT_THAT(box.Line(box.LineCount() - 1), HasSubstr(" Processing Started "));
  EXPECT_THAT(box.Line(0), HasSubstr(" Processing Complete Filed:" + std::to_string(forecast)));
  // Each store the pass made shows in the mail profile under its period's name.
  const auto periods = w.engine->Config()->Periods();
  ASSERT_GT(periods.Count(), 0);
  for (int32_t i = 1; i <= periods.Count(); ++i) {
    const std::string name = periods.Item(i)->Name();
    EXPECT_TRUE(w.mail->Profile()->FindFolder("\\\\" + name)) << name;
  }
  // The tray showed the pass, then settled.
  EXPECT_THAT(w.tray.Shown(), Contains("ProcessingA.ico"));
  EXPECT_EQ(w.tray.Current(), "Running.ico");
  // A month on, the mail filed today is due for removal; its agent asks.
  const Ref<Agent> received = w.engine->Config()->Agent("Received Emails");
  ASSERT_TRUE(received);
  ASSERT_EQ(received->PurgeNotify(), 0);
  w.clock.Set(Date(w.clock.Now().Serial() + 40));
  int questions = 0;
  w.host.OnModal("frmPurgeNotice", [&](Form& form) {
    ++questions;
    auto& notice = dynamic_cast<FrmPurgeNotice&>(form);
    ASSERT_TRUE(notice.optPurge.UserClick());
    ASSERT_TRUE(notice.cmdOK.UserClick());
  });
  received->RunPurge();
  ASSERT_TRUE(w.host.PumpUntil([&] { return work.PassesDone() >= 2 && !work.Busy(); },
                               std::chrono::seconds(30)));
  w.host.Pump();
  EXPECT_GE(questions, 1);
  auto inbox = w.ctx.Mail().CreateApplication()->GetNamespace("MAPI")->GetDefaultFolder(6);
  EXPECT_EQ(inbox->ItemCount(), 0) << "the filed Inbox mail was purged";
  // Purged items were filed: nothing left the stores.
  EXPECT_GE(ItemsInStores(w), forecast);
  // The Summary lists the stores the pass made.
  w.popup.mPopView_Click();
  w.host.Pump();
  ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Periods"));
  ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Summary"));
  EXPECT_FALSE(w.popup.summary.tvwSuSelector.Nodes("PeriodsRoot").Children().empty());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
