#include "foundation/control_startup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "foundation/config_node.h"
#include "foundation/form.h"
#include "foundation/server_factory.h"
#include "servers/config/config_server.h"
#include "servers/config/config_tree_node.h"
#include "support/recording_error_log.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const fs::path kResources = fs::path(VELLIX_SOURCE_DIR) / "resources";

class ErrorConnectorDouble : public ErrorConnector {
 public:
  explicit ErrorConnectorDouble(Ref<::vellix::ErrorLog> log) : log_(std::move(log)) {}
  Ref<::vellix::ErrorLog> ErrorLog() override { return log_; }
  std::string LogFileName() override { return "/tmp/ErrorLog.txt"; }
  std::string Componant() override { return "ErrorLog"; }
  std::string Version() override { return "1.0.0"; }

 private:
  Ref<::vellix::ErrorLog> log_;
};

// The application's factory, with switches that make a server unreachable.
class Servers : public ServerFactory {
 public:
  explicit Servers(fs::path treeFile)
      : config(
            std::make_shared<ConfigServer>(std::move(treeFile), kResources / "CommonFormat.xml")) {}

  std::shared_ptr<void> CreateStartupHolder() override {
    auto holder = std::make_shared<int>(0);
    startupHolder = holder;
    return holder;
  }
  Ref<ErrorConnector> CreateErrorConnector() override {
    if (!errorLogReachable) return MakeRef<ErrorConnectorDouble>(nullptr);
    return MakeRef<ErrorConnectorDouble>(log);
  }
  Ref<ConfigConnector> CreateConfigConnector() override {
    ++configConnectors;
    if (!configReachable) return nullptr;
    return config;
  }
  Ref<ConfigNode> CreateConfigNode() override {
    ++freeNodes;
    return MakeRef<ConfigTreeNode>("", ContentKind::Collection, Variant());
  }
  Ref<EngineConnector> CreateEngineConnector() override { return nullptr; }
  Ref<BackupServer> CreateBackupServer() override { return nullptr; }

  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
  std::shared_ptr<ConfigServer> config;
  std::weak_ptr<void> startupHolder;
  bool errorLogReachable = true;
  bool configReachable = true;
  int configConnectors = 0;
  int freeNodes = 0;
};

class PopupStub : public Form {
 public:
  explicit PopupStub(UiHost& host) : Form(host, "frmPopup") {}
  int loads = 0;

 protected:
  void Form_Load() override { ++loads; }
};

class StartupTest : public ::testing::Test {
 protected:
  StartupTest() { ctx.exeFolder = kResources.string(); }

  static fs::path FreshFolder() {
    fs::path d = fs::temp_directory_path() /
                 (std::string("vellix-startup-") +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(d);
    fs::create_directories(d);
    return d;
  }
  ~StartupTest() override { fs::remove_all(dir); }

  void Main() { ControlStartup::Main(ctx, servers, popup); }

  fs::path dir = FreshFolder();
  ManualClock clock;
  test::ScriptedHost host{&clock};
  Context ctx{clock, &host};
  Servers servers{dir / "ConfigTree.xml"};
  PopupStub popup{host};
};

TEST_F(StartupTest, FirstStartGraftsTheBootBranchAndCommitsALaterStartLeavesItAlone) {
  Main();
  EXPECT_TRUE(popup.Visible());
  EXPECT_EQ(popup.loads, 1);
  EXPECT_THAT(host.Prompts(), IsEmpty());
  EXPECT_THAT(servers.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_THAT(servers.log->records, IsEmpty());
  EXPECT_TRUE(servers.startupHolder.expired()) << "the holder goes once the tree is reached";
  ConfigServer reopened(dir / "ConfigTree.xml", "");
  EXPECT_EQ(
      reopened.RootNode()->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
      "Vellix Control");

  // The global formats and the back colour come from the shared branch.
  EXPECT_EQ(ctx.externalDateFormat,
            ctx.rootNode->GetValue("CommonFormat.GlobalConfig.ExternalDateFormat").ToString());
  EXPECT_FALSE(ctx.externalDateFormat.empty());
  auto colour = [&](const char* c) {
    return ctx.rootNode->GetValue(std::string("CommonFormat.Color.BackColor") + c).ToInteger();
  };
  EXPECT_EQ(ctx.backColor, colour("Red") + 256 * colour("Green") + 65536 * colour("Blue"));

  // A second process finds the committed branch, with the user's change, and
  // never opens the boot file beside the executable, now broken.
  ctx.rootNode->GetNode("Componants.VellixControl.Strings.ProductName", false, "", Variant())
      ->SetContent(Variant("Renamed"));
  ctx.rootNode->Commit("");
  std::ofstream(dir / ControlStartup::kBootConfigFile) << "<not xml";
  Context ctx2{clock, &host};
  ctx2.exeFolder = dir.string();
  Servers servers2{dir / "ConfigTree.xml"};
  PopupStub popup2{host};
  ControlStartup::Main(ctx2, servers2, popup2);
  EXPECT_EQ(servers2.freeNodes, 0);
  EXPECT_TRUE(popup2.Visible());
  EXPECT_EQ(ctx2.rootNode->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
            "Renamed");
  EXPECT_THAT(servers2.log->records, IsEmpty());
}

TEST_F(StartupTest, AColourKeyThatHoldsNoNumberGivesZeroForThatComponent) {
  for (const auto& [colour, text] : {std::pair<const char*, const char*>{"Red", "10"},
                                     {"Green", "light"},
                                     {"Blue", "2 and more"}}) {
    servers.config->RootNode()
        ->GetNode(std::string("CommonFormat.Color.BackColor") + colour, true, "String", Variant())
        ->SetContent(Variant(text));
  }
  Main();
  EXPECT_EQ(ctx.backColor, 10 + 65536 * 2);
  EXPECT_TRUE(popup.Visible());
  EXPECT_THAT(servers.log->records, IsEmpty());
}

TEST_F(StartupTest, AnUnreachableErrorLogOrConfigurationMeansOneMessageAndNoWindow) {
  servers.errorLogReachable = false;
  Main();
  EXPECT_THAT(host.Prompts(),
              ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Error Log"));
  EXPECT_EQ(host.PromptRecords()[0].buttons, MsgButtons::OK);
  EXPECT_EQ(servers.configConnectors, 0);
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(servers.log->lifecycle, IsEmpty());

  // The configuration is asked for after the component has started.
  host.ClearPrompts();
  servers.errorLogReachable = true;
  servers.configReachable = false;
  Main();
  EXPECT_THAT(host.Prompts(),
              ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Config"));
  EXPECT_THAT(servers.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_FALSE(popup.Loaded());
}

TEST_F(StartupTest, AMissingBootFileOrABranchThatCannotBeGraftedEndsWithALogRecordAndNoWindow) {
  ctx.exeFolder = dir.string();  // no boot file here
  Main();
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(host.Prompts(), IsEmpty());
  EXPECT_THAT(servers.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to Open Boot Config", 0}));
  EXPECT_TRUE(servers.config->RootNode()
                  ->GetNode("Componants.VellixControl", false, "", Variant())
                  .IsNothing());

  // A tree whose "Componants" is a value, not a collection, takes no branch.
  std::ofstream(dir / "ConfigTree.xml")
      << "<?xml version=\"1.0\"?>\n<config>\n"
         "  <node key=\"Componants\" type=\"String\">none</node>\n</config>\n";
  servers.config = std::make_shared<ConfigServer>(dir / "ConfigTree.xml", "");
  servers.log->records.clear();
  ctx.exeFolder = kResources.string();
  Main();
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(servers.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to attach Boot Config", 0}));
}

}  // namespace
}  // namespace vellix
