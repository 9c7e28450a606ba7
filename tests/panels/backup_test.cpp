#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/engine.h"
#include "panels/panel_test.h"
#include "servers/engine/monitor_object.h"

namespace vellix::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kNoStorePath = ".Strings.ControlPanel.MsgNoStorePath";
const std::string kNoBackupPath = ".Strings.ControlPanel.MsgNoBackupPath";
const std::string kBackupPathInvalid = ".Strings.ControlPanel.MsgBackupPathInvalid";
const Date kStart = DateTimeSerial(2026, 11, 22, 9, 30, 0);  // the world's clock

// A configured engine with its store and backup folders below the test's
// folder; the window up on the Backup tab, nothing recorded yet.
struct BackupWorld {
  explicit BackupWorld(bool running = false, const std::string& logging = "On") {
    w.LoadEngine("");
    w.engine->Running(running);
    w.engine->LoggingLevel(logging);
    // Not due before the tests say so.
    config()->NextBackup(DateTimeSerial(2026, 12, 1, 8, 0, 0));
    config()->BackupEveryCount(7);
    config()->BackupEveryUnits("Day");
    w.Start();
    EXPECT_TRUE(w.popup.tabControlOptions.UserSelectTab("Backup"));
    Clear();
  }
  Ref<EngineConfig> config() { return w.engine->Config(); }
  BackupPanel& ba() { return w.popup.backup; }
  [[nodiscard]] std::string Tab() const { return w.popup.tabControlOptions.SelectedItem()->Key(); }
  void Clear() {
    w.log->records.clear();
    w.engine->ClearJournal();
    w.host.ClearPrompts();
    w.host.ClearHistory();
  }
  [[nodiscard]] int ManagerShown() const {
    const auto& history = w.host.History();
    return static_cast<int>(
        std::count(history.begin(), history.end(), std::string("show modal frmBackupManager")));
  }
  PopupWorld w;
};

TEST(BackupPanel, ShowsTheEnginesSettingsInRowsWithTheUnitsFromTheConfiguration) {
  BackupWorld b;
  BackupPanel& ba = b.ba();
  EXPECT_THAT(
      (std::vector<std::string>{ba.txtBaFolder.Text(), ba.txtBaBackupFolder.Text(),
                                ba.txtBaEveryCount.Text(), ba.cboBaEveryUnits.Text()}),
      ElementsAre((b.w.dir / "store").string(), (b.w.dir / "backups").string(), "7", "Day"));
  EXPECT_EQ(ba.dtpBaNextBackup.Value(), DateTimeSerial(2026, 12, 1, 8, 0, 0));
  EXPECT_THAT(Rows(ba.cboBaEveryUnits), ElementsAre("Hour", "Day", "Week", "Month"));
  EXPECT_EQ(ba.lblBaNextBackup.Caption(), b.w.Text(".Strings.ControlPanel.Backup.lblBaNextBackup"));
  EXPECT_EQ(ba.dtpBaNextBackup.ToolTipText(),
            b.w.Text(".Strings.ControlPanel.Backup.dtpBaNextBackup"));
  const LayoutMetrics& m = b.w.popup.Metrics();
  EXPECT_THAT((std::vector<int32_t>{ba.cmdBaBrowseBackup.Left(), ba.txtBaEveryCount.Top(),
                                    ba.dtpBaNextBackup.Top()}),
              ElementsAre(ba.txtBaBackupFolder.Left() + m.DataColumnWidth + m.Border,
                          m.Border + 2 * (m.RowHeight + m.Border),
                          m.Border + 3 * (m.RowHeight + m.Border)));
  EXPECT_THAT(b.w.Problems(), IsEmpty());
  // Running: the folders and the interval are shut; the next backup can be
  // moved and a backup asked for all the same.
  const std::vector<const Control*> shut = {
      &ba.txtBaFolder,     &ba.txtBaBackupFolder, &ba.cmdBaBrowseFolder, &ba.cmdBaBrowseBackup,
      &ba.txtBaEveryCount, &ba.updBaEveryCount,   &ba.cboBaEveryUnits};
  for (const bool running : {true, false}) {
    b.w.popup.FormRun(running);
    for (const Control* c : shut)
      EXPECT_EQ(c->Enabled(), !running) << c->Name();
    EXPECT_TRUE(ba.dtpBaNextBackup.Enabled());
    EXPECT_TRUE(ba.cmdBaBackupNow.Enabled());
  }
}

TEST(BackupPanel, TheIntervalIsCorrectedQuietlyRoundedToEvenAndThePickersTimeWrittenAlways) {
  struct Case {
    const char* typed;
    const char* shown;
    int32_t sent;  // 7: the engine kept its count
    std::vector<std::string> traces;
  };
  const Case cases[] = {
      {"366", "365", 365, {}},     {"400 days", "365", 365, {}},
      {"0", "1", 1, {}},           {"abc", "1", 1, {}},
      {"-4", "1", 1, {}},          {"", "1", 1, {}},
      {"12", "12", 12, {}},        {" 30 ", " 30 ", 30, {}},
      {"2.5", "2.5", 2, {}},       {"3.5", "3.5", 4, {}},
      {"364.5", "364.5", 364, {}}, {"12abc", "12abc", 7, {"frmPopup.txtBaEveryCount_LostFocus 13"}},
  };
  BackupWorld b;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string("typed \"") + c.typed + "\"");
    b.config()->BackupEveryCount(7);
    b.Clear();
    Type(b.ba().txtBaEveryCount, c.typed);
    EXPECT_EQ(b.ba().txtBaEveryCount.Text(), c.shown);
    EXPECT_EQ(b.config()->BackupEveryCount(), c.sent);
    EXPECT_THAT(b.w.host.Prompts(), IsEmpty());
    EXPECT_EQ(Traces(b.w), c.traces);
  }
  // The up-down keeps to the same range.
  b.ba().txtBaEveryCount.Text("365");
  b.ba().updBaEveryCount.UserUp();
  EXPECT_EQ(b.ba().txtBaEveryCount.Text(), "365");
  b.ba().txtBaEveryCount.Text("1");
  b.ba().updBaEveryCount.UserDown();
  EXPECT_EQ(b.ba().txtBaEveryCount.Text(), "1");
  // The unit goes as it stands.
  ASSERT_TRUE(b.ba().cboBaEveryUnits.UserSetText("Fortnight"));
  b.ba().cboBaEveryUnits.UserLeave();
  EXPECT_EQ(b.config()->BackupEveryUnits(), "Fortnight");
  // The picker's time is written on each change, and on leaving, which is
  // never refused.
  BackupPanel& ba = b.ba();
  const Date first = DateTimeSerial(2026, 11, 23, 18, 0, 0);
  const Date second = DateTimeSerial(2026, 11, 24, 7, 15, 0);
  ASSERT_TRUE(ba.dtpBaNextBackup.UserSetValue(first));
  EXPECT_EQ(b.config()->NextBackup(), first);
  ASSERT_TRUE(ba.dtpBaNextBackup.UserSetValue(second));
  EXPECT_EQ(b.config()->NextBackup(), second);
  // Whatever the engine came to hold meanwhile, leaving puts the picker's.
  b.config()->NextBackup(DateTimeSerial(2027, 1, 1, 0, 0, 0));
  ASSERT_TRUE(b.w.popup.tabControlOptions.UserSelectTab("Log"));
  EXPECT_EQ(b.Tab(), "Log");
  EXPECT_EQ(b.config()->NextBackup(), second);
  // A write the engine fails keeps nobody on the tab.
  ASSERT_TRUE(b.w.popup.tabControlOptions.UserSelectTab("Backup"));
  ASSERT_TRUE(ba.dtpBaNextBackup.UserSetValue(first));
  b.w.engine->FailCall("put NextBackup");
  ASSERT_TRUE(b.w.popup.tabControlOptions.UserSelectTab("Summary"));
  EXPECT_EQ(b.Tab(), "Summary");
  b.w.engine->ClearFaults();
  EXPECT_EQ(b.config()->NextBackup(), first);
}

TEST(BackupPanel, AFolderThatCantBeMadeIsWrittenOnYesAndRestoredOnNo) {
  struct Case {
    const char* name;
    bool backupField;
    std::string typed;
    std::vector<MsgResult> answers;
    std::vector<std::string> asked;  // message keys
    bool written;
  };
  BackupWorld b;
  const std::string made = (b.w.dir / "new").string();
  const std::string bad = (b.w.dir / "no" / "such").string();
  const MsgResult yes = MsgResult::Yes, no = MsgResult::No;
  // clang-format off
  const std::vector<Case> cases = {
      {"store: existing", false, (b.w.dir / "home").string(), {}, {}, true},
      {"store: made", false, made + "-store", {}, {}, true},
      {"store: can't be made, Yes", false, bad, {yes}, {kNoStorePath}, true},
      {"store: can't be made, No", false, bad, {no}, {kNoStorePath}, false},
      {"backup: made", true, made + "-backup", {}, {}, true},
      {"backup: can't be made, Yes", true, bad, {yes}, {kBackupPathInvalid}, true},
      {"backup: can't be made, No", true, bad, {no}, {kBackupPathInvalid}, false},
      {"backup: empty, No", true, "", {no}, {kNoBackupPath}, false},
      {"backup: empty, Yes then No", true, "", {yes, no}, {kNoBackupPath, kBackupPathInvalid}, false},
      {"backup: empty, Yes twice", true, "", {yes, yes}, {kNoBackupPath, kBackupPathInvalid}, true},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string before = "/kept/" + std::string(c.name);
    TextBox& field = c.backupField ? b.ba().txtBaBackupFolder : b.ba().txtBaFolder;
    if (c.backupField) {
      b.config()->BackupLocation(before);
    } else {
      b.config()->StoreLocation(before);
    }
    b.Clear();
    for (MsgResult answer : c.answers)
      b.w.host.AnswerNext(answer);
    Type(field, c.typed);
    std::vector<std::string> asked;
    for (const std::string& key : c.asked)
      asked.push_back(b.w.Text(key));
    EXPECT_EQ(b.w.host.Prompts(), asked);
    EXPECT_EQ(c.backupField ? b.config()->BackupLocation() : b.config()->StoreLocation(),
              c.written ? c.typed : before);
    EXPECT_EQ(field.Text(), c.written ? c.typed : before);
    EXPECT_THAT(b.w.Problems(), IsEmpty());
  }
  EXPECT_TRUE(fs::is_directory(made + "-store"));
  EXPECT_TRUE(fs::is_directory(made + "-backup"));
  EXPECT_FALSE(fs::exists(b.w.dir / "no"));
}

TEST(BackupPanel, BrowseFillsTheFieldAndItsCheckFollowsAlsoAfterACancel) {
  BackupWorld b;
  BackupPanel& ba = b.ba();
  const std::string chosen = (b.w.dir / "home" / "Documents").string();
  // A folder chosen: the dialog opened where the field pointed, the field
  // takes the choice and the engine gets it.
  const std::string before = ba.txtBaBackupFolder.Text();
  ASSERT_FALSE(before.empty());
  b.w.host.ChooseFolderNext(chosen);
  ASSERT_TRUE(ba.cmdBaBrowseBackup.UserClick());
  EXPECT_EQ(ba.txtBaBackupFolder.Text(), chosen);
  EXPECT_EQ(b.config()->BackupLocation(), chosen);
  EXPECT_THAT(b.w.host.FolderTitles(),
              ElementsAre(b.w.Text(".Strings.ControlPanel.CaptionFindFolder")));
  EXPECT_THAT(b.w.host.FolderStarts(), ElementsAre(b.w.paths.ToNative(before).string()));
  // An empty field, then a cancelled dialog: the empty field is questioned.
  ba.txtBaBackupFolder.Text("");
  b.Clear();
  b.w.host.AnswerNext(MsgResult::No);
  ASSERT_TRUE(ba.cmdBaBrowseBackup.UserClick());
  EXPECT_THAT(b.w.host.Prompts(), ElementsAre(b.w.Text(kNoBackupPath)));
  EXPECT_EQ(ba.txtBaBackupFolder.Text(), chosen);
  // The store's dialog cancelled on a good folder asks nothing and writes it.
  b.Clear();
  ASSERT_TRUE(ba.cmdBaBrowseFolder.UserClick());
  EXPECT_THAT(b.w.host.Prompts(), IsEmpty());
  EXPECT_EQ(b.config()->StoreLocation(), (b.w.dir / "store").string());
  EXPECT_THAT(b.w.Problems(), IsEmpty());
}

TEST(BackupPanel, FailuresGoToTheTraceUnderTheNamesItsReadersKnow) {
  const std::pair<const char*, std::function<void(BackupWorld&)>> cases[] = {
      {"frmPopup.lstImImportList_ItemCheck 91",  // the picker without an engine
       [](BackupWorld& b) {
         const Ref<VellixEngine> engine = b.w.ctx.engine;
         b.w.ctx.engine.Reset();
         b.ba().dtpBaNextBackup.UserSetValue(DateSerial(2027, 2, 1));
         b.w.ctx.engine = engine;
       }},
      {"frmPopup.txtBaBackupPath_LostFocus 91",
       [](BackupWorld& b) {
         b.w.services.fileSystem = nullptr;
         Type(b.ba().txtBaBackupFolder, "/mnt/backups");
       }},
      {"frmPopup.cmdBrowseFolder_Click 91",
       [](BackupWorld& b) {
         b.w.services.shell = nullptr;
         b.ba().cmdBaBrowseFolder.UserClick();
       }},
      {"frmPopup.cmdBrowseBackup_Click 91",
       [](BackupWorld& b) {
         b.w.services.shell = nullptr;
         b.ba().cmdBaBrowseBackup.UserClick();
       }},
  };
  for (const auto& [trace, act] : cases) {
    SCOPED_TRACE(trace);
    BackupWorld b;
    act(b);
    EXPECT_THAT(Traces(b.w), ElementsAre(trace));
  }
}

TEST(BackupPanel, TheTimerOpensTheManagerOnlyWhenDueAndIdleAndNeverTwice) {
  BackupWorld b(true);
  ASSERT_TRUE(b.w.popup.tmrBackupTimer.Enabled());
  auto* monitor = dynamic_cast<engine::MonitorObject*>(&b.w.engine->Monitor().Get());
  ASSERT_NE(monitor, nullptr);
  constexpr int64_t kMinute = 60 * 1000;
  // Not due: nothing opens.
  b.w.host.Advance(3 * kMinute);
  EXPECT_EQ(b.ManagerShown(), 0);
  // Due while the engine processes: it waits for the pass to end.
  b.config()->NextBackup(kStart);
  monitor->SetProcessing(true);
  b.w.host.Advance(3 * kMinute);
  EXPECT_EQ(b.ManagerShown(), 0);
  monitor->SetProcessing(false);
  // The next tick opens it. While it is up the ticks go on, finding the
  // backup still due, and open no second; the manager moves the next backup
  // on, and the panel shows that once it has closed.
  const Date moved = DateTimeSerial(2026, 11, 29, 9, 0, 0);
  int shownWhileUp = -1;
  b.w.host.OnModal("frmBackupManager", [&](Form& manager) {
    b.w.host.Advance(5 * kMinute);
    shownWhileUp = b.ManagerShown();
    b.config()->NextBackup(moved);
    b.config()->BackupLocation("/mnt/elsewhere");
    manager.Unload();
  });
  b.w.host.Advance(kMinute);
  EXPECT_EQ(shownWhileUp, 1);
  EXPECT_EQ(b.ManagerShown(), 1);
  EXPECT_EQ(b.ba().dtpBaNextBackup.Value(), moved);
  EXPECT_EQ(b.ba().txtBaBackupFolder.Text(), "/mnt/elsewhere");
  b.w.host.Advance(10 * kMinute);
  EXPECT_EQ(b.ManagerShown(), 1);
  EXPECT_THAT(b.w.Problems(), IsEmpty());
  // Backup Now opens it whether due or not, and the panel is read again.
  b.w.host.OnModal("frmBackupManager", [&](Form& manager) {
    b.config()->BackupEveryCount(3);
    manager.Unload();
  });
  ASSERT_TRUE(b.ba().cmdBaBackupNow.UserClick());
  EXPECT_EQ(b.ManagerShown(), 2);
  EXPECT_EQ(b.ba().txtBaEveryCount.Text(), "3");
  EXPECT_THAT(b.w.Problems(), IsEmpty());
}

TEST(BackupPanel, WithLoggingOffADueBackupWaitsInTheTrace) {
  BackupWorld b(true, "Off");
  ASSERT_TRUE(b.w.popup.mobjMonitor().IsNothing());
  // Not due: the tick ends before it needs the monitor.
  b.w.host.Advance(60 * 1000);
  EXPECT_THAT(b.w.Problems(), IsEmpty());
  b.config()->NextBackup(kStart);
  b.w.host.Advance(2 * 60 * 1000);
  EXPECT_EQ(b.ManagerShown(), 0);
  EXPECT_THAT(Traces(b.w),
              ElementsAre("frmPopup.tmrBackupTimer_Timer 91", "frmPopup.tmrBackupTimer_Timer 91"));
}

}  // namespace
}  // namespace vellix::test
