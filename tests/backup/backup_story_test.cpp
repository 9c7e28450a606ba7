#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/config_file_info.h"
#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "servers/engine/engine_server_connector.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix::test {
namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// A user's first backup: Quick setup with a backup folder, Run Now, the first
// pass filing the demo mail into its stores; the backup falls due, the timer
// opens the manager once the pass is over, the mail program lets go of the
// stores and the run copies each of them whole, the configuration beside them.
TEST(BackupStory, ADueBackupAfterTheFirstPassCopiesEveryStoreAndSavesTheConfiguration) {
  PopupWorld w;
  engine::Processor& work = w.UseProcessor();
  w.PresetHidden(false);
  w.Start();
  const fs::path backups = w.dir / "backup";
  fs::create_directories(backups);
  ASSERT_TRUE(w.popup.quickSetup.txtBackupPath.UserSetText(backups.string()));
  w.host.OnModal("frmPredictiveStart", [&](Form& form) {
    ASSERT_TRUE(dynamic_cast<FrmPredictiveStart&>(form).cmdRunNow.UserClick());
  });
  ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
  ASSERT_TRUE(w.host.PumpUntil([&] { return work.PassesDone() >= 1 && !work.Busy(); },
                               std::chrono::seconds(30)));
  w.host.Pump();
  const Ref<EngineConfig> config = w.engine->Config();
  const auto periods = config->Periods();
  ASSERT_GE(periods.Count(), 2) << "the demo mail spans two periods";
  // A first configuration is due for its backup at once.
  ASSERT_TRUE(config->BackupDue());
  ASSERT_TRUE(config->BackupLocationAvailable()) << config->BackupLocation();
  w.log->records.clear();
  int openings = 0;
  w.host.OnModal("frmBackupManager", [&](Form& form) {
    ++openings;
    auto& m = dynamic_cast<FrmBackupManager&>(form);
    w.host.Advance(1000);
    // The mail program shows the stores, so it holds them open.
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeCloseOutlook);
    ASSERT_TRUE(m.cmdBackup.UserClick());
    w.host.Advance(1000);
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeBackupNow);
    ASSERT_TRUE(m.cmdBackup.UserClick());
    ASSERT_TRUE(w.host.PumpUntil([&] { return !m.FlagBackupRunning(); }, std::chrono::seconds(30)));
    for (int32_t row = 1; row <= periods.Count(); ++row)
      EXPECT_EQ(m.fgcPeriods.TextMatrix(row, 8), "Complete") << row;
    // The first configuration's policy backs every store up each time; judged
    // by the copies in the backup folder none needs it now, and Close
    // schedules the next backup.
    w.host.Advance(1000);
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeBackupNow);
    ASSERT_EQ(config->BackupPolicy(), 0);
    ASSERT_TRUE(m.optPolicyCheckStore.UserClick());
    EXPECT_EQ(config->BackupPolicy(), 1);
    w.host.Advance(1000);
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeNothingToDo);
    ASSERT_TRUE(m.cmdBackup.UserClick());
  });
  const Date ranAt = w.clock.Now();
  w.host.Advance(60 * 1000);  // the backup timer's tick
  ASSERT_EQ(openings, 1);
  EXPECT_FALSE(w.backupManager.Loaded());
  EXPECT_FALSE(config->BackupDue());
  for (int32_t i = 1; i <= periods.Count(); ++i) {
    const fs::path store = w.paths.ToNative(periods.Item(i)->FileName());
    const fs::path copy = backups / store.filename();
    ASSERT_TRUE(fs::exists(copy)) << copy;
    EXPECT_EQ(ReadText(copy), ReadText(store)) << copy;
    EXPECT_GE(periods.Item(i)->LastBackup(), ranAt);
  }
  // Beside them, the configuration as it was, for recovery.
  std::vector<Ref<ConfigFileInfo>> saved;
  for (const auto& entry : fs::directory_iterator(backups)) {
    if (entry.path().extension() == ".pst") continue;
    auto info = engine::EngineServerConnector(w.engine, w.paths).NewConfigFileInfo();
    if (info->Load(entry.path().string())) saved.push_back(info);
  }
  ASSERT_THAT(saved, SizeIs(1));
  EXPECT_GE(saved[0]->SavedTime(), ranAt);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix::test
