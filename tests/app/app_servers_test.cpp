#include "app/app_servers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "dialogs/frm_predictive_start.h"
#include "foundation/control_startup.h"
#include "foundation/engine.h"
#include "platform/outlook/profile_mail_program.h"
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
    std::string error;
    EXPECT_TRUE(CreateDataFolders(paths, &error)) << error;
    ctx.exeFolder = Resources().string();
    ctx.mailProgram = &mail;
    ctx.servers = &servers;
  }

  ManualClock clock;
  test::ScriptedHost host{&clock};
  DataPaths paths;
  AppServers servers;
  Context ctx{clock, &host};
  outlook::ProfileMailProgram mail{Resources() / "profiles" / "demo.xml"};
  test::RecordingTray tray;
  FrmIconTimer iconTimer{host};
  FrmPredictiveStart predictiveStart{ctx, host};
  FrmPopup popup{ctx, tray, PopupForms{iconTimer, &predictiveStart, nullptr, nullptr}};
};

class AppServersTest : public ::testing::Test {
 protected:
  test::TempFolder scratch_;
  const fs::path dir_ = scratch_.Path();
};

TEST_F(AppServersTest, AFirstStartKeepsItsSettingsLogAndEngineInTheDataFolder) {
  {
    PanelRun run(dir_);
    ControlStartup::Main(run.ctx, run.servers, run.popup);
    run.host.Pump();
    ASSERT_TRUE(run.popup.Loaded());
    // Every part of the panel that attaches reaches the one tree and engine.
    EXPECT_EQ(run.servers.CreateConfigConnector(), run.ctx.configConnector);
    ASSERT_NE(run.servers.Engine(), nullptr);
    EXPECT_EQ(run.servers.CreateEngineConnector()->Engine(), run.ctx.engine);
    EXPECT_FALSE(run.servers.CreateBackupServer().IsNothing());
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

TEST_F(AppServersTest, ADamagedSettingsFileStopsTheStartInsteadOfBeingOverwritten) {
  fs::create_directories(dir_ / "config");
  { std::ofstream(dir_ / "config" / "ConfigTree.xml") << "<config version=\"1\"><node"; }
  PanelRun run(dir_);
  ControlStartup::Main(run.ctx, run.servers, run.popup);
  run.host.Pump();
  EXPECT_FALSE(run.popup.Loaded());
  EXPECT_EQ(
      run.host.Prompts(),
      std::vector<std::string>{"Vellix Control Unrecoverable Error - Unable to attach to Config"});
  EXPECT_EQ(test::ReadText(dir_ / "config" / "ConfigTree.xml"), "<config version=\"1\"><node");
}

}  // namespace
}  // namespace vellix::app
