#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "servers/config/config_server.h"
#include "servers/config/temp_folder.h"

namespace vellix {
namespace {

const std::filesystem::path kResources = std::filesystem::path(VELLIX_SOURCE_DIR) / "resources";

// A new tree with the control panel's branch grafted, as a first start makes it.
Ref<ConfigNode> FirstStartTree(ConfigServer& server) {
  auto root = server.RootNode();
  if (root.IsNothing()) return root;
  Ref<ConfigNode> branch(NewFreeConfigNode());
  if (!branch->LoadFile((kResources / "VellixControlBootConfig.xml").string()) ||
      !root->AttachBranch(branch, "Componants")) {
    return nullptr;
  }
  return root;
}

TEST(ShippedConfiguration, HoldsEveryKeyOfTheShellWithAUsableValue) {
  test::TempFolder folder;
  ConfigServer server(folder / "ConfigTree.xml", kResources / "CommonFormat.xml");
  auto root = FirstStartTree(server);
  ASSERT_FALSE(root.IsNothing()) << server.OpenError();

  for (const char* key : {"GlobalConfig.ExternalDateFormat", "GlobalConfig.ExternalTimeFormat",
                          "GlobalConfig.ExternalDateTimeFormat"}) {
    EXPECT_FALSE(root->GetValue(std::string("CommonFormat.") + key).ToString().empty()) << key;
  }
  for (const char* key : {"BackColorRed", "BackColorGreen", "BackColorBlue"}) {
    const Variant v = root->GetValue(std::string("CommonFormat.Color.") + key);
    EXPECT_TRUE(v.IsNumeric() && v.ToLong() >= 0 && v.ToLong() <= 255) << key;
  }
  for (const char* key :
       {"TextOffset", "Border", "RowHeight", "ButtonWidth", "FormBLRBorder", "FormTopBorder",
        "LabelColumnWidth", "DataColumnWidth", "CharWidth", "TabsHeight"}) {
    auto node = root->GetNode(std::string("CommonFormat.FormLayout.") + key, false, "", Variant());
    ASSERT_FALSE(node.IsNothing()) << key;
    EXPECT_EQ(node->ContentType(), "Integer") << key;
    EXPECT_GT(node->GetContent().ToInteger(), 0) << key;
  }

  const std::string branch = "Componants.VellixControl";
  EXPECT_EQ(root->GetValue(branch + ".Hidden"), Variant(false));
  EXPECT_EQ(root->GetValue(branch + ".Strings.ProductName"), Variant("Vellix Control"));
  std::vector<std::string> texts = {"ProductName",
                                    "PopupFormTitle",
                                    "SystemTrayTip",
                                    "QuickSetup.FormCaption",
                                    "QuickSetup.MsgNowRunning",
                                    "QuickSetup.MsgWaitingToStart",
                                    "ControlPanel.ConfirmClose",
                                    "ControlPanel.Summary.QuickSetupWarning",
                                    "ControlPanel.cmdStopStart.Start",
                                    "ControlPanel.cmdStopStart.Stop",
                                    "ControlPanel.cmdStopStart-Tip",
                                    "ControlPanel.cmdHide",
                                    "ControlPanel.cmdHide-Tip",
                                    "ControlPanel.cmdExit",
                                    "ControlPanel.cmdExit-Tip"};
  for (const char* tab : {"Summary", "Periods", "Agents", "Import", "Backup", "Log"}) {
    texts.push_back(std::string("ControlPanel.") + tab + ".Tab");
    texts.push_back(std::string("ControlPanel.") + tab + ".ToolTip");
  }
  for (const auto& key : texts) {
    auto node = root->GetNode(branch + ".Strings." + key, false, "", Variant());
    ASSERT_FALSE(node.IsNothing()) << key;
    EXPECT_EQ(node->ContentType(), "String") << key;
    EXPECT_FALSE(node->GetContent().ToString().empty()) << key;
  }
  // The panel's size is a 16-bit number of twips that a layout can add to.
  for (const char* key : {"PicWidth", "PicHeight"}) {
    const Variant v = root->GetValue(branch + ".Strings.ControlPanel." + key);
    EXPECT_EQ(v.GetType(), Variant::Type::Integer) << key;
    EXPECT_GT(v.ToInteger(), 1000) << key;
    EXPECT_LT(v.ToInteger(), 16000) << key;
  }
}

}  // namespace
}  // namespace vellix
