#include "servers/config/config_server.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/vb_error.h"
#include "servers/config/atomic_file.h"
#include "servers/config/temp_folder.h"

namespace vellix {
namespace {

const std::filesystem::path kResources = std::filesystem::path(VELLIX_SOURCE_DIR) / "resources";

TEST(ConfigServer, FirstStartBeginsFromTheSharedBranchAndKeepsWhatIsCommitted) {
  test::TempFolder folder;
  const auto file = folder / "vellix" / "ConfigTree.xml";
  {
    ConfigServer server(file, kResources / "CommonFormat.xml");
    EXPECT_EQ(server.ConfigFileName(), file.string());
    EXPECT_EQ(server.Componant(), "OVConfig");
    auto root = server.RootNode();
    ASSERT_FALSE(root.IsNothing()) << server.OpenError();
    EXPECT_EQ(root->GetValue("CommonFormat.FormLayout.RowHeight"), Variant(int16_t{375}));
    auto componants = root->GetNode("Componants", false, "", Variant());
    ASSERT_FALSE(componants.IsNothing());
    EXPECT_TRUE(componants->ConfigEntries().empty());
    EXPECT_FALSE(std::filesystem::exists(file));  // nothing written before a commit

    root->GetNode("Componants.VellixControl.Hidden", true, "Boolean", true)->SetContent(false);
    // A commit through any node writes the whole tree.
    root->GetNode("CommonFormat.Color", false, "", Variant())->Commit("");
  }
  ConfigServer reopened(file, {});
  auto root = reopened.RootNode();
  ASSERT_FALSE(root.IsNothing()) << reopened.OpenError();
  EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(false));
  EXPECT_EQ(root->GetValue("CommonFormat.FormLayout.TabsHeight"), Variant(int16_t{420}));
}

TEST(ConfigServer, ACommitRewritesTheFileOnlyWhenItWouldChangeIt) {
  test::TempFolder folder;
  const auto file = folder / "ConfigTree.xml";
  ConfigServer server(file, {});
  auto root = server.RootNode();
  ASSERT_FALSE(root.IsNothing()) << server.OpenError();
  auto hidden = root->GetNode("Componants.VellixControl.Hidden", true, "Boolean", true);
  root->Commit("");
  const auto first = StampOf(file);
  ASSERT_TRUE(first.has_value());

  // The same value again: the file is the one already written.
  hidden->SetContent(true);
  root->Commit("");
  EXPECT_EQ(StampOf(file), first);

  hidden->SetContent(false);
  root->Commit("");
  EXPECT_NE(StampOf(file)->inode, first->inode);

  // A file removed or replaced behind the server's back is written anew.
  std::filesystem::remove(file);
  root->Commit("");
  ConfigServer reopened(file, {});
  ASSERT_FALSE(reopened.RootNode().IsNothing()) << reopened.OpenError();
  EXPECT_EQ(reopened.RootNode()->GetValue("Componants.VellixControl.Hidden"), Variant(false));
  test::WriteText(file, "<config/>");
  root->Commit("");
  EXPECT_NE(test::ReadText(file), "<config/>");
}

TEST(ConfigServer, ADamagedTreeFileIsNeverOverwritten) {
  test::TempFolder folder;
  const auto file = folder / "ConfigTree.xml";
  const std::string damaged = "<config><node key=\"Componants\" type=\"Collection\">";
  test::WriteText(file, damaged);
  ConfigServer server(file, kResources / "CommonFormat.xml");
  EXPECT_TRUE(server.RootNode().IsNothing());
  EXPECT_NE(server.OpenError().find("untouched"), std::string::npos) << server.OpenError();
  EXPECT_EQ(test::ReadText(file), damaged);

  ConfigServer noSeed(folder / "new.xml", folder / "missing-seed.xml");
  EXPECT_TRUE(noSeed.RootNode().IsNothing());
  EXPECT_NE(noSeed.OpenError().find("missing-seed.xml"), std::string::npos);
}

TEST(ConfigServer, CommitProblemsReachTheCallerAsServerFailures) {
  test::TempFolder folder;
  ConfigServer server(folder / "ConfigTree.xml", {});
  auto root = server.RootNode();
  ASSERT_FALSE(root.IsNothing());
  try {
    root->Commit((folder / "no-such-folder" / "copy.xml").string());
    ADD_FAILURE() << "a commit into a missing folder succeeded";
  } catch (const VbError& e) {
    EXPECT_LT(e.Number(), 0);
    EXPECT_NE(e.Description().find("no-such-folder"), std::string::npos);
  }

  // A node whose tree is gone has nothing left to commit to, and says nothing.
  Ref<ConfigNode> held;
  {
    ConfigServer gone(folder / "Gone.xml", {});
    held = gone.RootNode()->GetNode("Componants", false, "", Variant());
  }
  EXPECT_NO_THROW(held->Commit(""));
  EXPECT_FALSE(std::filesystem::exists(folder / "Gone.xml"));
}

}  // namespace
}  // namespace vellix
