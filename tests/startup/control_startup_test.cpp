#include "foundation/control_startup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "foundation/config_node.h"
#include "foundation/form.h"
#include "servers/config/config_server.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The popup world's servers with switches that make one unreachable, started
// with a bare form so that only start-up itself runs.
class Servers : public test::PopupWorld {
 public:
  std::shared_ptr<void> CreateStartupHolder() override {
    auto holder = PopupWorld::CreateStartupHolder();
    startupHolder = holder;
    return holder;
  }
  Ref<ErrorConnector> CreateErrorConnector() override {
    return errorLogReachable ? PopupWorld::CreateErrorConnector() : nullptr;
  }
  Ref<ConfigConnector> CreateConfigConnector() override {
    ++configConnectors;
    return configReachable ? PopupWorld::CreateConfigConnector() : nullptr;
  }
  Ref<ConfigNode> CreateConfigNode() override {
    ++freeNodes;
    return PopupWorld::CreateConfigNode();
  }
  [[nodiscard]] std::string WhyUnreachable() const override { return why; }
  void Main() { ControlStartup::Main(ctx, form); }
  std::weak_ptr<void> startupHolder;
  bool errorLogReachable = true;
  bool configReachable = true;
  std::string why;
  int configConnectors = 0;
  int freeNodes = 0;
  Form form{host, "frmPopup"};
};

TEST(Startup, FirstStartGraftsTheBootBranchAndCommitsALaterStartLeavesItAlone) {
  Servers w;
  w.Main();
  EXPECT_TRUE(w.form.Visible());
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_THAT(w.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_THAT(w.log->records, IsEmpty());
  EXPECT_TRUE(w.startupHolder.expired()) << "the holder goes once the tree is reached";
  ConfigServer reopened(w.dir / "ConfigTree.xml", "");
  EXPECT_EQ(
      reopened.RootNode()->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
      "Vellix Control");
  // The global formats and the back colour come from the shared branch.
  ConfigNode& root = *w.ctx.rootNode;
  EXPECT_EQ(w.ctx.externalDateFormat,
            root.GetValue("CommonFormat.GlobalConfig.ExternalDateFormat").ToString());
  EXPECT_FALSE(w.ctx.externalDateFormat.empty());
  auto colour = [&](const char* c) {
    return root.GetValue(std::string("CommonFormat.Color.BackColor") + c).ToInteger();
  };
  EXPECT_EQ(w.ctx.backColor, colour("Red") + 256 * colour("Green") + 65536 * colour("Blue"));
  // A second process finds the committed branch, with the user's change, and
  // never opens the boot file beside the executable, now broken.
  root.GetNode("Componants.VellixControl.Strings.ProductName", false, "", Variant())
      ->SetContent(Variant("Renamed"));
  root.Commit("");
  const std::string shipped = w.services.exeFolder;
  w.services.exeFolder = w.dir.string();
  std::ofstream(w.dir / ControlStartup::kBootConfigFile) << "<not xml";
  w.config = std::make_shared<ConfigServer>(w.dir / "ConfigTree.xml",
                                            fs::path(shipped) / "CommonFormat.xml");
  w.freeNodes = 0;
  Form again{w.host, "frmPopup"};
  ControlStartup::Main(w.ctx, again);
  EXPECT_EQ(w.freeNodes, 0);
  EXPECT_TRUE(again.Visible());
  EXPECT_EQ(w.ctx.rootNode->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
            "Renamed");
  EXPECT_THAT(w.log->records, IsEmpty());
}

TEST(Startup, AColourKeyOfNoNumberGivesZeroAndOneAbove32767OverflowsBeforeTheBranchIsLookedFor) {
  for (const char* green : {"light", "32768"}) {
    SCOPED_TRACE(green);
    Servers w;
    for (const auto& [colour, text] : {std::pair<const char*, const char*>{"Red", "10"},
                                       {"Green", green},
                                       {"Blue", "2 and more"}}) {
      w.config->RootNode()
          ->GetNode(std::string("CommonFormat.Color.BackColor") + colour, true, "String", Variant())
          ->SetContent(Variant(text));
    }
    w.Main();
    EXPECT_THAT(w.host.Prompts(), IsEmpty());
    if (std::string(green) == "light") {
      EXPECT_EQ(w.ctx.backColor, 10 + 65536 * 2);
      EXPECT_TRUE(w.form.Visible());
      EXPECT_THAT(w.log->records, IsEmpty());
    } else {
      EXPECT_THAT(w.log->records, ElementsAre(LogRecord{"Startup", "Main", "Overflow", 6}));
      EXPECT_EQ(w.ctx.backColor, 0);
      EXPECT_EQ(w.freeNodes, 0);
      EXPECT_FALSE(w.form.Loaded());
    }
  }
}

TEST(Startup, AnUnreachableErrorLogOrConfigurationMeansOneMessageAndNoWindow) {
  Servers w;
  w.errorLogReachable = false;
  w.Main();
  EXPECT_THAT(w.host.Prompts(),
              ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Error Log"));
  EXPECT_EQ(w.host.PromptRecords()[0].buttons, MsgButtons::OK);
  EXPECT_EQ(w.configConnectors, 0);
  EXPECT_FALSE(w.form.Loaded());
  EXPECT_THAT(w.log->lifecycle, IsEmpty());
  // The configuration is asked for after the component has started.
  // The factory's reason, when it has one, is the box's second line.
  w.host.ClearPrompts();
  w.errorLogReachable = true;
  w.configReachable = false;
  w.why = "The folder /data/config can't be written: Read-only file system";
  w.Main();
  EXPECT_THAT(
      w.host.Prompts(),
      ElementsAre("Vellix Control Unrecoverable Error - Unable to attach to Config\n" + w.why));
  EXPECT_THAT(w.log->lifecycle, ElementsAre("ComponentStarted VellixControl"));
  EXPECT_FALSE(w.form.Loaded());
}

TEST(Startup, AMissingBootFileOrABranchThatCannotBeGraftedEndsWithALogRecordAndNoWindow) {
  Servers w;
  const std::string shipped = w.services.exeFolder;
  w.services.exeFolder = w.dir.string();  // no boot file here
  w.Main();
  EXPECT_FALSE(w.form.Loaded());
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_THAT(w.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to Open Boot Config", 0}));
  EXPECT_TRUE(
      w.config->RootNode()->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing());
  // A tree whose "Componants" is a value, not a collection, takes no branch.
  std::ofstream(w.dir / "ConfigTree.xml")
      << "<?xml version=\"1.0\"?>\n<config>\n"
         "  <node key=\"Componants\" type=\"String\">none</node>\n</config>\n";
  w.config = std::make_shared<ConfigServer>(w.dir / "ConfigTree.xml", "");
  w.log->records.clear();
  w.services.exeFolder = shipped;
  w.Main();
  EXPECT_FALSE(w.form.Loaded());
  EXPECT_THAT(w.log->records,
              ElementsAre(LogRecord{"Startup", "Main", "Unable to attach Boot Config", 0}));
}

}  // namespace
}  // namespace vellix
