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

TEST_F(StartupTest, FirstStartGraftsTheBootBranchCommitsAndShowsTheMainForm) {
  Main();
  EXPECT_TRUE(popup.Visible());
  EXPECT_EQ(popup.loads, 1);
  EXPECT_THAT(host.Prompts(), IsEmpty());
  EXPECT_THAT(servers.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_THAT(servers.log->records, IsEmpty());
  EXPECT_TRUE(servers.startupHolder.expired()) << "the holder goes once the tree is reached";

  // The branch is in the tree and on disk.
  EXPECT_FALSE(ctx.rootNode->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing());
  EXPECT_EQ(ctx.rootNode->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
            "Vellix Control");
  ConfigServer reopened(dir / "ConfigTree.xml", "");
  ASSERT_FALSE(reopened.RootNode().IsNothing());
  EXPECT_FALSE(
      reopened.RootNode()->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing());

  // The global formats and the back colour come from the shared branch.
  EXPECT_EQ(ctx.externalDateFormat,
            ctx.rootNode->GetValue("CommonFormat.GlobalConfig.ExternalDateFormat").ToString());
  EXPECT_FALSE(ctx.externalDateFormat.empty());
  const int32_t red = ctx.rootNode->GetValue("CommonFormat.Color.BackColorRed").ToInteger();
  const int32_t green = ctx.rootNode->GetValue("CommonFormat.Color.BackColorGreen").ToInteger();
  const int32_t blue = ctx.rootNode->GetValue("CommonFormat.Color.BackColorBlue").ToInteger();
  EXPECT_EQ(ctx.backColor, red + 256 * green + 65536 * blue);
}

TEST_F(StartupTest, ATreeThatHoldsTheBranchIsLeftAloneAndTheBootFileIsNotOpened) {
  Main();
  ctx.rootNode->GetNode("Componants.VellixControl.Strings.ProductName", false, "", Variant())
      ->SetContent(Variant("Renamed"));
  ctx.rootNode->Commit("");

  // A second process: the boot file beside the executable is now broken.
  std::ofstream(dir / ControlStartup::kBootConfigFile) << "<not xml";
  ManualClock clock2;
  test::ScriptedHost host2{&clock2};
  Context ctx2{clock2, &host2};
  ctx2.exeFolder = dir.string();
  Servers servers2{dir / "ConfigTree.xml"};
  PopupStub popup2{host2};
  ControlStartup::Main(ctx2, servers2, popup2);

  EXPECT_EQ(servers2.freeNodes, 0);
  EXPECT_TRUE(popup2.Visible());
  EXPECT_EQ(ctx2.rootNode->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
            "Renamed");
  EXPECT_THAT(servers2.log->records, IsEmpty());
}

TEST_F(StartupTest, AColourKeyThatHoldsNoNumberGivesZeroForThatComponent) {
  ctx.rootNode = servers.config->RootNode();
  ctx.rootNode->GetNode("CommonFormat.Color.BackColorRed", true, "String", Variant("10"))
      ->SetContent(Variant("10"));
  ctx.rootNode->GetNode("CommonFormat.Color.BackColorGreen", true, "String", Variant(""))
      ->SetContent(Variant("light"));
  ctx.rootNode->GetNode("CommonFormat.Color.BackColorBlue", true, "String", Variant(""))
      ->SetContent(Variant("2 and more"));
  Main();
  EXPECT_EQ(ctx.backColor, 10 + 65536 * 2);
  EXPECT_TRUE(popup.Visible());
  EXPECT_THAT(servers.log->records, IsEmpty());
}

TEST_F(StartupTest, NoErrorLogMeansOneMessageAndNothingElse) {
  servers.errorLogReachable = false;
  Main();
  EXPECT_THAT(host.Prompts(),
              ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Error Log"));
  EXPECT_EQ(host.PromptRecords()[0].buttons, MsgButtons::OK);
  EXPECT_EQ(servers.configConnectors, 0);
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(servers.log->lifecycle, IsEmpty());
}

TEST_F(StartupTest, NoConfigurationMeansOneMessageAfterTheComponentStarted) {
  servers.configReachable = false;
  Main();
  EXPECT_THAT(host.Prompts(),
              ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Config"));
  EXPECT_THAT(servers.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_FALSE(popup.Loaded());
}

TEST_F(StartupTest, AMissingBootFileEndsWithALogRecordAndNoWindow) {
  ctx.exeFolder = dir.string();  // no boot file here
  Main();
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(host.Prompts(), IsEmpty());
  EXPECT_THAT(servers.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to Open Boot Config", 0}));
  EXPECT_TRUE(servers.config->RootNode()
                  ->GetNode("Componants.VellixControl", false, "", Variant())
                  .IsNothing());
}

TEST_F(StartupTest, ABranchThatCannotBeGraftedEndsWithALogRecordAndNoWindow) {
  // A tree whose "Componants" is a value, not a collection, takes no branch.
  std::ofstream(dir / "ConfigTree.xml")
      << "<?xml version=\"1.0\"?>\n<config>\n"
         "  <node key=\"Componants\" type=\"String\">none</node>\n</config>\n";
  servers.config = std::make_shared<ConfigServer>(dir / "ConfigTree.xml", "");
  Main();
  EXPECT_FALSE(popup.Loaded());
  EXPECT_THAT(servers.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to attach Boot Config", 0}));
}

}  // namespace
}  // namespace vellix
