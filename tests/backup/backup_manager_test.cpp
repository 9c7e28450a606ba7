#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/config_file_info.h"
#include "foundation/config_node.h"
#include "foundation/period.h"
#include "servers/common/write_behind.h"
#include "servers/engine/engine_server_connector.h"
#include "servers/engine/store_file.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Manager = FrmBackupManager;
constexpr int32_t kFree = 4;
constexpr int32_t kBackup = 7;
constexpr int32_t kProgress = 8;

// A backup server the test drives event by event.
class ScriptedServer : public BackupServer {
 public:
  Variant AddFile(const std::string& file, const std::string& location) override {
    added.push_back(file);
    locations.push_back(location);
    return Variant(true);
  }
  void Start() override { ++starts; }
  // Raises one event; what the handler answered in Cancel.
  bool Send(int32_t code, std::string data = "") {
    bool cancel = false;
    Status.Raise(code, data, cancel);
    return cancel;
  }
  std::vector<std::string> added;
  std::vector<std::string> locations;
  int starts = 0;
};

// The profile's mail program with two item windows open that record their closing.
class MailWithInspectors : public MailProgram {
  struct Window : Inspector {
    Window(std::vector<std::string>& c, std::string n) : calls(c), name(std::move(n)) {}
    void Close(int32_t mode) override {
      calls.push_back("close " + name + " " + std::to_string(mode));
    }
    std::vector<std::string>& calls;
    std::string name;
  };
  struct App : OutlookApplication {
    App(Ref<OutlookApplication> r, std::vector<std::string>& c) : real(std::move(r)), calls(c) {}
    Ref<NameSpace> GetNamespace(const std::string& type) override {
      return real->GetNamespace(type);
    }
    void Quit() override {
      calls.push_back("quit");
      real->Quit();
    }
    std::vector<Ref<Inspector>> Inspectors() override {
      return {MakeRef<Window>(calls, "draft"), MakeRef<Window>(calls, "reply")};
    }
    Ref<OutlookApplication> real;
    std::vector<std::string>& calls;
  };
  MailProgram& real_;

 public:
  explicit MailWithInspectors(MailProgram& real) : real_(real) {}
  Ref<OutlookApplication> CreateApplication() override {
    return MakeRef<App>(real_.CreateApplication(), calls);
  }
  std::vector<std::string> calls;
};

class BackupManager : public ::testing::Test {
 protected:
  BackupManager() { w.backupServer = server; }
  fs::path Store(const std::string& name) const { return w.dir / "store" / (name + ".pst"); }
  // Periods of the engine: a name with a store file, or "-name" without one.
  void Engine(const std::vector<std::string>& periods) {
    std::string xml;
    for (const std::string& entry : periods) {
      const std::string name = entry[0] == '-' ? entry.substr(1) : entry;
      xml += "<Period Name=\"" + name + "\" FileName=\"" + Store(name).string() + "\" />";
    }
    fs::create_directories(w.dir / "store");
    fs::create_directories(w.dir / "backups");
    w.LoadEngine("", xml);
    for (const std::string& entry : periods) {
      std::string error;
      if (entry[0] == '-') continue;
      ASSERT_TRUE(engine::CreateStoreFile(Store(entry), entry, DateSerial(2024, 1, 1),
                                          DateSerial(2025, 1, 1), &error))
          << error;
    }
  }
  Ref<EngineConfig> Config() { return w.engine->Config(); }
  // Starts the panel, then runs `step` while the manager is up.
  void Open(const std::function<void(Manager&)>& step) {
    if (!w.popup.Loaded()) w.Start();
    w.log->records.clear();
    w.host.OnModal("frmBackupManager", [&](Form&) { step(w.backupManager); });
    w.backupManager.Show(true);
    EXPECT_FALSE(w.backupManager.Loaded());
  }
  void Tick(int seconds = 1) { w.host.Advance(1000LL * seconds); }
  Date Later(double seconds) { return AddSeconds(w.clock.Now(), seconds); }
  static std::string Cell(const Manager& m, int32_t row, int32_t col) {
    return m.fgcPeriods.TextMatrix(row, col);
  }
  PopupWorld w;
  std::shared_ptr<ScriptedServer> server = std::make_shared<ScriptedServer>();
};

TEST_F(BackupManager, UnattendedCountdownPressesTheButtonAndANewLookStartsItOver) {
  Engine({"File 2024"});
  Config()->BackupUnattended(true);
  Open([&](Manager& m) {
    Tick();
    EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
    EXPECT_TRUE(m.lblCountdown.Visible());
    EXPECT_EQ(m.lblCountdown.Caption(), "Countdown Seconds 29");
    Tick(2);
    EXPECT_EQ(m.Countdown(), 27);
    // Another look: the countdown starts over; the same look goes on counting.
    m.cboLater.UserPick(1);
    Tick();
    EXPECT_EQ(m.cmdBackup.Caption(), "Try Again Later");
    EXPECT_FALSE(m.lblCountdown.Visible());
    EXPECT_EQ(m.Countdown(), 29);
    Tick(40);
    EXPECT_EQ(server->starts, 0) << "a later look never presses";
    m.txtLater.UserSetText("");
    Tick();
    EXPECT_EQ(m.Countdown(), 29);
    Tick(28);
    EXPECT_EQ(server->starts, 0);
    EXPECT_EQ(m.Countdown(), 1);
    Tick();
    EXPECT_EQ(server->starts, 1);
    EXPECT_THAT(server->added, ElementsAre(Store("File 2024").string()));
    EXPECT_THAT(server->locations, ElementsAre((w.dir / "backups").string()));
    EXPECT_TRUE(m.ClosedByButton());
    Tick();
    EXPECT_EQ(m.cmdBackup.Caption(), "Cancel Backup");
    EXPECT_FALSE(m.cmdChange.Enabled());
    // Closing while the run goes warns first: Cancel stays, OK closes.
    w.host.AnswerNext(MsgResult::Cancel);
    EXPECT_FALSE(m.UserClose());
    EXPECT_TRUE(m.Loaded());
    m.UserClose();
  });
  const std::string warning =
      "Closing the Backup Manager while it is running may result in backed up stored being left "
      "corrupt";
  EXPECT_THAT(w.host.Prompts(), ElementsAre(warning, warning));
  EXPECT_EQ(Config()->NextBackup(), Date()) << "a press was made: no postponement";
  EXPECT_THAT(w.Journal(), Contains("BackupManagerOpen False"));
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(BackupManager, ThePressOfEachWaitingLookSetsTheNextBackupAndCloses) {
  struct Row {
    const char* what;
    std::function<void(Manager&)> act;
    std::string caption;
    double seconds;
    std::function<void()> before = [] {};  // the manager opens
  };
  const std::vector<Row> rows = {
      // Attended, the countdown stays hidden and the button waits.
      {"closed by its frame while due",
       [&](Manager& m) {
         Tick(10);
         EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
         EXPECT_FALSE(m.lblCountdown.Visible());
         EXPECT_EQ(m.Countdown(), 3);
         EXPECT_EQ(server->starts, 0);
         m.UserClose();
       },
       "Backup Now", 300},
      {"later by ten minutes",
       [](Manager& m) {
         m.cboLater.UserPick(1);
         EXPECT_EQ(m.txtLater.Text(), "10");
         EXPECT_TRUE(m.txtLater.Enabled());
       },
       "Try Again Later", 600},
      {"later by two hours",
       [](Manager& m) {
         m.cboLater.UserPick(2);
         m.txtLater.UserSetText("2");
       },
       "Try Again Later", 7200},
      {"no location: later without delay", [](Manager&) {}, "Try Again Later", 0,
       [&] { fs::remove_all(w.dir / "backups"); }},
      {"everything backed up: close until the next is due", [](Manager&) {}, "Close", 7 * 86400,
       [&] {
         Config()->BackupPolicy(2);
         Config()->Period("File 2024")->LastBackup(DateSerial(2099, 1, 1));
       }},
  };
  Engine({"File 2024"});
  w.Start();
  const Variant delay(int16_t{3});
  w.config->RootNode()
      ->GetNode(std::string(Manager::kTextNode) + ".AutoDelay", true, delay.TypeName(), delay)
      ->SetContent(delay);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    fs::create_directories(w.dir / "backups");
    row.before();
    Open([&](Manager& m) {
      Tick();
      row.act(m);
      if (!m.Loaded()) return;
      Tick();
      EXPECT_EQ(m.cmdBackup.Caption(), row.caption);
      m.cmdBackup.UserClick();
    });
    EXPECT_EQ(Config()->NextBackup(), Later(row.seconds));
    w.clock.AdvanceSeconds(1);
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(BackupManager, ABackupRowOfTheLastRefreshGoesAheadWithoutTheLocation) {
  Engine({"File 2024"});
  Open([&](Manager& m) {
    EXPECT_EQ(m.picStoreAvailable.Picture(), m.TickPicture());
    fs::remove_all(w.dir / "backups");
    Tick();
    EXPECT_EQ(Cell(m, 1, kBackup), "Yes") << "only the load and a policy read it";
    EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
    // The browser cancelled: the location stays, its picture is asked again.
    m.cmdChange.UserClick();
    EXPECT_EQ(m.picStoreAvailable.Picture(), m.CrossPicture());
    EXPECT_EQ(m.lblPath.Caption(), (w.dir / "backups").string());
    m.UserClose();
  });
  EXPECT_THAT(w.host.FolderTitles(),
              ElementsAre(w.Text(".Strings.ControlPanel.CaptionFindFolder")));
}

TEST_F(BackupManager, TheGridShowsWhatTheEngineSaysOfEachStore) {
  Engine({"File 2024", "-Gone", "Held"});
  Config()->BackupPolicy(7);
  Config()->Period("File 2024")->LastBackup(DateTimeSerial(2099, 11, 1, 8, 5, 0));
  // A store open in the mail program isn't free; a missing one isn't valid.
  w.mail->CreateApplication();
  w.ShowStoresInProfile();
  ASSERT_EQ(Config()->Period("Held")->Free(), 0);
  w.mail->Profile()->UnlistStoreFile(Store("File 2024"));
  Open([&](Manager& m) {
    ASSERT_EQ(m.fgcPeriods.Rows(), 4);
    EXPECT_EQ(Cell(m, 0, kProgress), "Progress");
    EXPECT_EQ(Cell(m, 1, 1), "01/11/2099 08:05");
    EXPECT_EQ(Cell(m, 2, 1), "") << "never backed up";
    EXPECT_EQ(Cell(m, 1, kFree), "Yes");
    EXPECT_EQ(Cell(m, 3, kFree), "") << "held open";
    EXPECT_EQ(Cell(m, 2, 5), "");
    EXPECT_EQ(Cell(m, 2, 6), "") << "no file, no size";
    EXPECT_EQ(Cell(m, 2, kBackup), "") << "status 0";
    EXPECT_EQ(Cell(m, 1, kBackup), "Yes") << "no copy in the location";
    // An unknown policy is shown as the location check and written back so.
    EXPECT_TRUE(m.optPolicyCheckStore.Value());
    EXPECT_EQ(Config()->BackupPolicy(), 1);
    EXPECT_TRUE(m.FlagFilesToRelease());
    EXPECT_TRUE(m.FlagFilesToBackup());
    // Under the history check a store backed up since it changed needs nothing.
    m.optPolicyCheckHistory.UserClick();
    EXPECT_EQ(Config()->BackupPolicy(), 2);
    EXPECT_EQ(Cell(m, 1, kBackup), "") << "status 2";
    EXPECT_FALSE(m.FlagFilesToBackup()) << "the held store needs one but isn't free";
    m.fgcPeriods.UserMouseMove(m.fgcPeriods.ColWidth(0) + 10, 5000);
    EXPECT_EQ(m.fgcPeriods.ToolTipText(), "Last recorded backup");
    m.UserClose();
  });
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(BackupManager, NoPeriodsLeaveNothingToDoAndMissingTextsAreMadeWithTheirDefaults) {
  Engine({});
  Open([&](Manager& m) {
    EXPECT_EQ(m.Caption(), "Orvane Vellix Backup Manager");
    EXPECT_EQ(m.fgcPeriods.Rows(), 1);
    EXPECT_FALSE(m.FlagFilesToBackup());
    EXPECT_FALSE(m.FlagFilesToRelease());
    Tick();
    EXPECT_EQ(m.cmdBackup.Caption(), "Close");
    m.UserClose();
  });
  const std::pair<std::string, std::string> made[] = {
      {"fraPolicy-Tip", "Select policy to to determine if a Period Store should be backed up"},
      {"optPolicyCheckHistory-Tip",
       "For Rermoveable Media - Reference the date and time stamp of last backup to determine if "
       "a Store requires backup"},
      {"chkUnattendedOpperation", "Enable unattended opperation"},
      {"fgcPeriods.Heading0", "Period Store"},
      {"cboLater.1", "Backup Now"},
      {"cboLater.4", "Day"},
      {"txtLater", "10"},
  };
  for (const auto& [key, text] : made)
    EXPECT_EQ(w.Text(".Strings.frmBackupManager." + key), text) << key;
  const ComboBox& list = w.backupManager.cboLater;
  ASSERT_EQ(list.ListCount(), 4);
  EXPECT_EQ(list.List(0), "Backup Now");
  EXPECT_EQ(list.List(3), "Day");
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(BackupManager, AHeldStoreIsLetGoByClosingTheMailProgram) {
  Engine({"File 2024"});
  MailWithInspectors mail(*w.mail);
  w.services.mailProgram = &mail;
  w.mail->CreateApplication();
  w.ShowStoresInProfile();
  Open([&](Manager& m) {
    Tick();
    EXPECT_EQ(m.cmdBackup.Caption(), "Save && Close Outlook");
    EXPECT_EQ(Config()->Period("File 2024")->Free(), 0);
    w.engine->ClearJournal();
    m.cmdBackup.UserClick();
    EXPECT_THAT(mail.calls, ElementsAre("close draft 0", "close reply 0", "quit"));
    EXPECT_THAT(w.Journal(), Contains("Flush"));
    Tick();
    EXPECT_EQ(Cell(m, 1, kFree), "Yes");
    EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
    m.UserClose();
  });
  EXPECT_THAT(w.Problems(), IsEmpty());
}

// A started run of two stores, the second without a file (size 0).
class BackupRun : public BackupManager {
 protected:
  void Run(const std::function<void(Manager&)>& events) {
    Engine({"File 2024", "Other"});
    Open([&](Manager& m) {
      Tick();
      m.cmdBackup.UserClick();
      ASSERT_EQ(server->starts, 1);
      fs::remove(Store("Other"));
      EXPECT_FALSE(server->Send(BackupServer::kRunBegins));
      EXPECT_EQ(m.cmdBackup.Caption(), "Cancel Backup");
      events(m);
      if (m.Loaded()) m.UserClose();
    });
  }
  std::string File(const std::string& name) const { return Store(name).string(); }
};

TEST_F(BackupRun, ProgressAndCompletionFillTheProgressColumn) {
  Run([&](Manager& m) {
    const auto size = static_cast<int32_t>(fs::file_size(Store("File 2024")));
    server->Send(BackupServer::kFileBegins, File("File 2024"));
    EXPECT_EQ(Cell(m, 1, kProgress), "Started");
    EXPECT_EQ(m.CurrentRow(), 1);
    server->Send(BackupServer::kProgress, std::to_string(size / 4));
    EXPECT_EQ(Cell(m, 1, kProgress), "25%");
    // A file nobody has changes no cell.
    server->Send(BackupServer::kFileComplete, "/nowhere/else.pst");
    EXPECT_EQ(m.CurrentRow(), 0);
    EXPECT_EQ(Cell(m, 1, kProgress), "25%");
    // Progress without a row writes over the heading.
    server->Send(BackupServer::kProgress, std::to_string(size));
    EXPECT_EQ(Cell(m, 0, kProgress), "100%");
    server->Send(BackupServer::kFileComplete, File("File 2024"));
    EXPECT_EQ(Cell(m, 1, kProgress), "Complete");
    EXPECT_EQ(Config()->Period("File 2024")->LastBackup(), w.clock.Now());
    // An empty file: the share can't be taken, the cell keeps its text.
    server->Send(BackupServer::kFileBegins, File("Other"));
    server->Send(BackupServer::kProgress, "10");
    EXPECT_EQ(Cell(m, 2, kProgress), "Started");
    server->Send(BackupServer::kFileError, "Disk full");
    EXPECT_EQ(Cell(m, 2, kProgress), "Disk full");
    EXPECT_EQ(m.CurrentFileSize(), "0");
    EXPECT_EQ(Config()->LastBackup(), Date());
    server->Send(BackupServer::kRunComplete);
  });
  const std::vector<LogRecord> problems = w.Problems();
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].procedure, "mobjBackupServer_Status");
  EXPECT_EQ(problems[0].number, 11);
  EXPECT_THAT(w.host.Prompts(), IsEmpty()) << "the run was over when the window closed";
}

TEST_F(BackupRun, CancelIsAnsweredAtTheNextEventAndTheRowSaysSo) {
  Run([&](Manager& m) {
    server->Send(BackupServer::kFileBegins, File("File 2024"));
    Tick();
    m.cmdBackup.UserClick();
    EXPECT_TRUE(m.CancelRequested());
    EXPECT_TRUE(server->Send(BackupServer::kProgress, "1"));
    EXPECT_TRUE(server->Send(BackupServer::kCancelled, File("File 2024")));
    EXPECT_EQ(Cell(m, 1, kProgress), "Cancelled");
    EXPECT_FALSE(m.FlagBackupRunning());
    EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
    EXPECT_TRUE(m.cmdChange.Enabled());
  });
  EXPECT_EQ(Config()->LastBackup(), Date());
  EXPECT_THAT(w.Journal(), Not(Contains("BackupFinished")));
}

TEST_F(BackupRun, ACompleteRunIsRecordedAndTheAttendedWindowStaysOpen) {
  Run([&](Manager& m) {
    server->Send(BackupServer::kRunComplete);
    EXPECT_TRUE(m.Loaded());
    EXPECT_EQ(m.cmdBackup.Caption(), "Backup Now");
  });
  EXPECT_EQ(Config()->LastBackup(), w.clock.Now());
  EXPECT_THAT(w.Journal(), Contains("BackupFinished"));
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
}

TEST_F(BackupRun, AnUnattendedWindowClosesItselfWhenTheRunIsComplete) {
  Run([&](Manager& m) {
    Config()->BackupUnattended(true);
    server->Send(BackupServer::kRunComplete);
    EXPECT_FALSE(m.Loaded());
  });
  EXPECT_EQ(Config()->LastBackup(), w.clock.Now());
  EXPECT_THAT(w.Journal(), Contains("BackupFinished"));
  EXPECT_THAT(w.Journal(), Contains("BackupManagerOpen False"));
}

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
                               test::PopupWorld::kPatience));
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
    ASSERT_TRUE(
        w.host.PumpUntil([&] { return !m.FlagBackupRunning(); }, test::PopupWorld::kPatience));
    for (int32_t row = 1; row <= periods.Count(); ++row)
      EXPECT_EQ(m.fgcPeriods.TextMatrix(row, kProgress), "Complete") << row;
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
  // Beside them, the configuration as it was, for recovery; written behind.
  servers::WriteBehind::Shared().WaitAll();
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
