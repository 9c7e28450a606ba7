#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "foundation/config_file_info.h"
#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "servers/engine/engine_server_connector.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int32_t kProgress = 8;

std::string Contents(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::optional<std::string> RowValue(const FlexGrid& grid, const std::string& name) {
  for (int32_t r = 0; r < grid.Rows(); ++r) {
    if (grid.TextMatrix(r, 0) == name) return grid.TextMatrix(r, 1);
  }
  return std::nullopt;
}

// What the Summary shows of the store's last backup.
std::optional<std::string> LastBackupShown(test::PopupWorld& w, const std::string& period) {
  // Back to the tab from another, as a user would, so that it is filled afresh.
  w.popup.tabControlOptions.Tabs("Log").Selected(true);
  w.popup.tabControlOptions.Tabs("Summary").Selected(true);
  SummaryPanel& su = w.popup.summary;
  if (!su.tvwSuSelector.UserClickNode(period)) return std::nullopt;
  return RowValue(su.fgcSuDetail, w.Text(".Strings.ControlPanel.Summary.Period.LastBackup"));
}

// A user's first backup: Quick setup with a backup folder, Run Now, the first
// pass filing the demo mail into its stores; the backup falls due, the timer
// opens the manager once the pass is over, the mail program lets go of the
// stores, the run copies each of them whole, and the Summary shows when.
TEST(BackupStory, ADueBackupAfterTheFirstPassCopiesEveryStoreAndSavesTheConfiguration) {
  test::PopupWorld w;
  engine::Processor& work = w.UseProcessor();
  w.PresetHidden(false);
  w.Start();
  // The folder the user picked for backups.
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

  const std::string name = periods.Item(1)->Name();
  const auto before = LastBackupShown(w, name);
  ASSERT_EQ(before, std::optional<std::string>(""));

  std::vector<std::string> looks;
  int openings = 0;
  w.host.OnModal("frmBackupManager", [&](Form& form) {
    ++openings;
    auto& m = dynamic_cast<FrmBackupManager&>(form);
    auto tick = [&] {
      w.host.Advance(1000);
      looks.push_back(m.cmdBackup.Caption());
    };
    tick();
    // The mail program shows the stores, so it holds them open.
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeCloseOutlook);
    ASSERT_TRUE(m.cmdBackup.UserClick());
    tick();
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeBackupNow);
    ASSERT_TRUE(m.cmdBackup.UserClick());
    ASSERT_TRUE(w.host.PumpUntil([&] { return !m.FlagBackupRunning(); }, std::chrono::seconds(30)));
    for (int32_t row = 1; row <= periods.Count(); ++row)
      EXPECT_EQ(m.fgcPeriods.TextMatrix(row, kProgress), "Complete") << row;
    // The policy of the first configuration backs every store up each time;
    // judged by the copies in the backup folder, none needs it now, and
    // Close schedules the next backup.
    tick();
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeBackupNow);
    ASSERT_EQ(config->BackupPolicy(), 0);
    ASSERT_TRUE(m.optPolicyCheckStore.UserClick());
    EXPECT_EQ(config->BackupPolicy(), 1);
    tick();
    ASSERT_EQ(m.Mode(), FrmBackupManager::ModeNothingToDo);
    ASSERT_TRUE(m.cmdBackup.UserClick());
  });
  const Date ranAt = w.clock.Now();
  w.host.Advance(60 * 1000);  // the backup timer's tick
  ASSERT_EQ(openings, 1);
  EXPECT_EQ(looks, (std::vector<std::string>{"Save && Close Outlook", "Backup Now", "Backup Now",
                                             "Close"}));
  EXPECT_FALSE(w.backupManager.Loaded());
  EXPECT_FALSE(config->BackupDue());

  // Each store's copy is byte for byte the store.
  for (int32_t i = 1; i <= periods.Count(); ++i) {
    const fs::path store = w.paths.ToNative(periods.Item(i)->FileName());
    const fs::path copy = backups / store.filename();
    ASSERT_TRUE(fs::exists(copy)) << copy;
    EXPECT_EQ(Contents(copy), Contents(store)) << copy;
  }
  // Beside them, the configuration as it was, for recovery.
  std::vector<Ref<ConfigFileInfo>> saved;
  for (const auto& entry : fs::directory_iterator(backups)) {
    if (entry.path().extension() == ".pst") continue;
    auto info = engine::EngineServerConnector(w.engine, w.paths).NewConfigFileInfo();
    if (info->Load((backups / entry.path().filename()).string())) saved.push_back(info);
  }
  ASSERT_THAT(saved, SizeIs(1));
  EXPECT_GE(saved[0]->SavedTime(), ranAt);

  // The Summary tells the store's new backup time, where it had none.
  EXPECT_GE(config->Period(name)->LastBackup(), ranAt);
  const auto after = LastBackupShown(w, name);
  ASSERT_TRUE(after.has_value());
  EXPECT_NE(*after, *before);
  EXPECT_THAT(*after, HasSubstr(std::to_string(ToCivil(ranAt).year)));
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
