#include "app/app_servers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "dialogs/frm_predictive_start.h"
#include "foundation/control_startup.h"
#include "foundation/engine.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/errorlog/error_log_file.h"
#include "shell/frm_icon_timer.h"
#include "shell/frm_popup.h"
#include "support/recording_tray.h"
#include "support/scripted_host.h"
#include "support/temp_folder.h"

namespace vellix::app {
namespace {

namespace fs = std::filesystem;

fs::path Resources() {
  return fs::path(VELLIX_SOURCE_DIR) / "resources";
}

// One run of the panel on the application's servers, headless.
struct PanelRun {
  explicit PanelRun(const fs::path& dataDir)
      : paths(ResolveDataPaths(dataDir.string())),
        servers(paths, Resources() / "CommonFormat.xml", desktop::PathMapping(dataDir), clock,
                host) {
    clock.Set(DateTimeSerial(2026, 3, 2, 10, 0, 0));
    // A folder that can't be made is the servers' business, as in the application.
    (void)CreateDataFolders(paths, nullptr);
  }
  void Start() {
    ControlStartup::Main(ctx, popup);
    host.Pump();
  }

  ManualClock clock;
  test::ScriptedHost host{&clock};
  DataPaths paths;
  AppServers servers;
  outlook::ProfileMailProgram mail{Resources() / "profiles" / "demo.xml"};
  Services services{.clock = clock,
                    .host = &host,
                    .servers = &servers,
                    .mailProgram = &mail,
                    .exeFolder = Resources().string()};
  Context ctx{services};
  test::RecordingTray tray;
  FrmIconTimer iconTimer{host};
  FrmPredictiveStart predictiveStart{ctx, host};
  FrmPopup popup{ctx, tray,
                 PopupForms{.iconTimer = iconTimer,
                            .predictiveStart = &predictiveStart,
                            .makeBackupManager = {},
                            .makeRecover = {},
                            .makeAttachPeriod = {},
                            .makeAbout = {}}};
};

TEST(AppServers, AFirstStartKeepsItsSettingsLogAndEngineInTheDataFolder) {
  const test::TempFolder scratch;
  const fs::path dir_ = scratch.Path();
  {
    PanelRun run(dir_);
    run.Start();
    ASSERT_TRUE(run.popup.Loaded());
    // Every part of the panel that attaches reaches the one tree and engine.
    EXPECT_EQ(run.servers.CreateConfigConnector(), run.ctx.configConnector);
    ASSERT_NE(run.servers.Engine(), nullptr);
    EXPECT_EQ(run.servers.CreateEngineConnector()->Engine(), run.ctx.engine);
    // Each backup run gets a copier of its own, tuned before the window has it.
    std::vector<const BackupServer*> tuned;
    run.servers.backupServerMade = [&](const std::shared_ptr<backupcopy::BackupCopier>& copier) {
      copier->ChunkBytes(4096);
      tuned.push_back(copier.get());
    };
    const Ref<BackupServer> first = run.servers.CreateBackupServer();
    const Ref<BackupServer> second = run.servers.CreateBackupServer();
    ASSERT_FALSE(first.IsNothing());
    EXPECT_EQ(tuned,
              (std::vector<const BackupServer*>{first.Shared().get(), second.Shared().get()}));
    EXPECT_NE(first.Shared(), second.Shared());
    const auto* copier = dynamic_cast<const backupcopy::BackupCopier*>(first.Shared().get());
    ASSERT_NE(copier, nullptr);
    EXPECT_EQ(copier->ChunkBytes(), 4096);
    // The shared formats came from the seed beside the executable.
    EXPECT_EQ(run.ctx.externalDateFormat, "yyyy-mm-dd");
    run.ctx.engine->Configured(true);
    run.ctx.rootNode->Commit("");
  }
  EXPECT_NE(test::ReadText(dir_ / "config" / "ConfigTree.xml").find("VellixControl"),
            std::string::npos);
  EXPECT_TRUE(fs::exists(dir_ / "config" / "Engine.xml"));
  EXPECT_FALSE(test::ReadText(dir_ / "state" / "ErrorLog.txt").empty());

  // The next start finds what the first one left.
  PanelRun again(dir_);
  EXPECT_TRUE(again.servers.CreateEngineConnector()->Engine()->Configured());
  auto root = again.servers.CreateConfigConnector()->RootNode();
  ASSERT_FALSE(root.IsNothing());
  EXPECT_FALSE(root->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing());
}

// The log's record that says this, as fields (time, project, module,
// procedure, number, message); none if there is no such record.
std::vector<std::string> LogRecordSaying(const fs::path& file, const std::string& message) {
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);)
    if (auto fields = SplitLogLine(line); fields.size() >= 6 && fields[5] == message) return fields;
  return {};
}

TEST(AppServers, AnUnreadableSettingsFileIsMovedAsideTheUserIsToldAndTheStartGoesOn) {
  struct Case {
    std::string file;
    std::string text;
    std::string says;
    std::string project;
  };
  const Case cases[] = {
      {"ConfigTree.xml", "<config version=\"1\">\n<node key=\"A\"", "line 2, column", "OVConfig"},
      {"Engine.xml", "<VellixEngine FormatVersion=\"1\">\n<Settings", "line 2, column", "OVVellix"},
  };
  for (const Case& c : cases) {
    test::TempFolder folder;
    const fs::path file = folder.Path() / "config" / c.file;
    fs::create_directories(file.parent_path());
    test::WriteText(file, c.text);
    PanelRun run(folder.Path());
    run.Start();

    // One box, before the panel runs on as on a first start.
    ASSERT_EQ(run.host.Prompts().size(), 1U) << c.file;
    const std::string notice = run.host.Prompts()[0];
    const fs::path kept = file.string() + ".corrupt-20260302-100000";
    for (const std::string& part : {file.string(), c.says, kept.string()})
      EXPECT_NE(notice.find(part), std::string::npos) << notice;
    EXPECT_EQ(test::ReadText(kept), c.text);
    ASSERT_TRUE(run.popup.Loaded()) << c.file;
    EXPECT_FALSE(run.ctx.engine->Configured());
    EXPECT_FALSE(
        run.ctx.rootNode->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing());

    // The same record in the log, under the server's own name.
    const auto record = LogRecordSaying(run.paths.ErrorLogFile(), notice);
    ASSERT_FALSE(record.empty()) << c.file;
    EXPECT_EQ(record[1], c.project);
  }
}

TEST(AppServers, ASettingsFolderThatCannotBeUsedStopsItsServerWithTheReason) {
  struct Case {
    fs::path blocked;  // made a plain file, or a folder where a file belongs
    bool asFolder;
    std::string box;     // Main's one box, first line; empty: no box
    std::string reason;  // in the box's second line, or the factory's reason
  };
  const std::string unrecoverable = "Vellix Control Unrecoverable Error - Unable to attach to ";
  const Case cases[] = {
      {"config", false, unrecoverable + "Config", "config can't be made"},
      {"state/ErrorLog.txt", true, unrecoverable + "Error Log", "ErrorLog.txt: Is a directory"},
      {"config/Engine.xml", true, "", "Engine.xml"},
  };
  for (const Case& c : cases) {
    test::TempFolder folder;
    const fs::path blocked = folder.Path() / c.blocked;
    fs::create_directories(blocked.parent_path());
    c.asFolder ? (void)fs::create_directories(blocked) : test::WriteText(blocked, "");
    PanelRun run(folder.Path());
    run.Start();
    EXPECT_FALSE(run.popup.Loaded()) << c.blocked;
    EXPECT_NE(run.servers.WhyUnreachable().find(c.reason), std::string::npos)
        << run.servers.WhyUnreachable();
    if (c.box.empty()) {
      // The engine: the log's text and no box, as when it can't be reached.
      EXPECT_TRUE(run.host.Prompts().empty());
      EXPECT_FALSE(
          LogRecordSaying(run.paths.ErrorLogFile(), "Fatal - Unable to connect to Vellix").empty());
      continue;
    }
    ASSERT_EQ(run.host.Prompts().size(), 1U);
    const std::string box = run.host.Prompts()[0];
    EXPECT_EQ(box.substr(0, box.find('\n')), c.box);
    EXPECT_NE(box.find(c.reason, box.find('\n')), std::string::npos) << box;
  }
}

}  // namespace
}  // namespace vellix::app
