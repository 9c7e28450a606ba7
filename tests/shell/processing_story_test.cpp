#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "foundation/log_box.h"
#include "foundation/period.h"
#include "servers/common/write_behind.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> Names(const auto& collection) {
  std::vector<std::string> names;
  for (const auto& member : collection)
    names.push_back(member->Name());
  return names;
}

// A new user's first day: Quick setup, Run Now, the engine's first pass filing
// the demo mail while the panel shows it, the first backup, a purge a month
// later that asks first, and the Summary listing the stores. Then the way back
// after a lost store: the configuration the backup left beside the stores'
// copies is listed by Quick setup's Recover and brings the stores back.
TEST(ProcessingStory, RunNowBackupAndPurgeThenARecoveryBringsTheConfigurationAndStoresBack) {
  std::vector<std::string> agentNames, periodNames;
  fs::path backups, storeFolder;
  test::PopupWorld before;
  {
    test::PopupWorld& w = before;
    engine::Processor& work = w.UseProcessor();
    w.PresetHidden(false);
    w.Start();
    // The page takes the engine's "not configured" for an unexpected event.
    w.log->records.clear();
    backups = w.dir / "backup";
    fs::create_directories(backups);
    ASSERT_TRUE(w.popup.quickSetup.txtBackupPath.UserSetText(backups.string()));
    int32_t forecast = -1;
    w.host.OnModal("frmPredictiveStart", [&](Form& form) {
      forecast = w.engine->ForecastItemCount();
      ASSERT_TRUE(dynamic_cast<FrmPredictiveStart&>(form).cmdRunNow.UserClick());
    });
    ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
    ASSERT_TRUE(w.host.PumpUntil([&] { return work.PassesDone() >= 1 && !work.Busy(); },
                                 test::PopupWorld::kPatience));
    w.host.Pump();
    ASSERT_GT(forecast, 0);
    EXPECT_EQ(w.ItemsInStores(), forecast);
    // The pass's start at the bottom of the log, its end on top with the count.
    const LogBox& box = w.popup.log.txtLoEntries;
    ASSERT_GT(box.LineCount(), 2U);
    EXPECT_THAT(box.Line(box.LineCount() - 1), HasSubstr(" Processing Started "));
    EXPECT_THAT(box.Line(0), HasSubstr(" Processing Complete Filed:" + std::to_string(forecast)));
    const Ref<EngineConfig> config = w.engine->Config();
    ASSERT_GE(config->Periods().Count(), 2) << "the demo mail spans two periods";
    for (const std::string& name : Names(config->Periods()))
      EXPECT_TRUE(w.mail->Profile()->FindFolder("\\\\" + name)) << name;
    EXPECT_THAT(w.tray.Shown(), Contains("ProcessingA.ico"));
    EXPECT_EQ(w.tray.Current(), "Running.ico");

    ASSERT_TRUE(config->BackupDue());
    w.host.OnModal("frmBackupManager", [&](Form& form) {
      auto& m = dynamic_cast<FrmBackupManager&>(form);
      for (const int mode : {FrmBackupManager::ModeCloseOutlook, FrmBackupManager::ModeBackupNow}) {
        w.host.Advance(1000);
        ASSERT_EQ(m.Mode(), mode);
        ASSERT_TRUE(m.cmdBackup.UserClick());
      }
      ASSERT_TRUE(
          w.host.PumpUntil([&] { return !m.FlagBackupRunning(); }, test::PopupWorld::kPatience));
      w.host.Advance(1000);
      ASSERT_TRUE(m.optPolicyCheckStore.UserClick());
      w.host.Advance(1000);
      ASSERT_EQ(m.Mode(), FrmBackupManager::ModeNothingToDo);
      ASSERT_TRUE(m.cmdBackup.UserClick());
    });
    w.host.Advance(int64_t{60} * 1000);  // the backup timer's tick
    ASSERT_FALSE(config->BackupDue()) << "the backup ran";
    servers::WriteBehind::Shared().WaitAll();  // the configuration copy is written behind
    agentNames = Names(config->Agents());
    periodNames = Names(config->Periods());

    // A month on, the mail filed today is due for removal; its agent asks.
    const Ref<Agent> received = config->Agent("Received Emails");
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
                                 test::PopupWorld::kPatience));
    w.host.Pump();
    EXPECT_GE(questions, 1);
    auto inbox = w.ctx.Mail().CreateApplication()->GetNamespace("MAPI")->GetDefaultFolder(6);
    EXPECT_EQ(inbox->ItemCount(), 0) << "the filed Inbox mail was purged";
    EXPECT_GE(w.ItemsInStores(), forecast) << "purged items were filed: nothing left the stores";

    w.popup.mPopView_Click();
    w.host.Pump();
    ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Periods"));
    ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Summary"));
    EXPECT_FALSE(w.popup.summary.tvwSuSelector.Nodes("PeriodsRoot").Children().empty());
    EXPECT_THAT(w.Problems(), IsEmpty());

    // The store is lost; its folder is still there, empty.
    for (const Ref<Period>& period : config->Periods()) {
      const fs::path file = w.paths.ToNative(period->FileName());
      storeFolder = file.parent_path();
      ASSERT_TRUE(fs::remove(file)) << file;
    }
    ASSERT_FALSE(agentNames.empty());
  }
  ASSERT_TRUE(fs::is_empty(storeFolder));

  test::PopupWorld w;
  w.PresetHidden(false);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), MachineState::UnconfiguredVisible);
  ASSERT_TRUE(w.popup.quickSetup.txtBackupPath.UserSetText(backups.string()));
  ASSERT_TRUE(w.popup.quickSetup.txtStorePath.UserSetText(storeFolder.string()));
  std::string listed;
  w.host.OnModal("frmRecover", [&](Form& form) {
    auto& d = dynamic_cast<FrmRecover&>(form);
    ASSERT_EQ(d.lstConfigFiles.ListCount(), 1) << "the stores' copies are no configurations";
    listed = d.lstConfigFiles.List(0);
    ASSERT_TRUE(d.cmdRecover.UserClick());
  });
  ASSERT_TRUE(w.popup.quickSetup.cmdRecover.UserClick());
  EXPECT_THAT(listed, HasSubstr(std::to_string(agentNames.size()) + " agent"));
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_EQ(w.popup.ControlState(), MachineState::ConfiguredVisible);
  const Ref<EngineConfig> config = w.engine->Config();
  EXPECT_THAT(Names(config->Agents()), ElementsAreArray(agentNames));
  EXPECT_THAT(Names(config->Periods()), ElementsAreArray(periodNames));
  for (const Ref<Period>& period : config->Periods()) {
    const fs::path file = w.paths.ToNative(period->FileName());
    EXPECT_EQ(file.parent_path(), storeFolder) << period->Name();
    EXPECT_EQ(test::ReadText(file), test::ReadText(backups / file.filename())) << file;
  }
  EXPECT_EQ(config->StoreLocation(), storeFolder.string());
}

}  // namespace
}  // namespace vellix
