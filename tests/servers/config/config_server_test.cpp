#include "servers/config/config_server.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <iterator>
#include <map>
#include <string>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "servers/config/atomic_file.h"
#include "servers/config/data_paths.h"
#include "support/expect_vb_error.h"
#include "support/manual_clock.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

const std::filesystem::path kResources = std::filesystem::path(VELLIX_SOURCE_DIR) / "resources";

TEST(ConfigServer, FirstStartBeginsFromTheShippedFilesWithEveryKeyTheShellReads) {
  test::TempFolder folder;
  const auto file = folder / "vellix" / "ConfigTree.xml";
  Variant tabsHeight;
  {
    ConfigServer server(file, kResources / "CommonFormat.xml");
    EXPECT_EQ(server.ConfigFileName(), file.string());
    EXPECT_EQ(server.Componant(), "OVConfig");
    auto root = server.RootNode();
    ASSERT_FALSE(root.IsNothing()) << server.OpenError();
    auto componants = root->GetNode("Componants", false, "", Variant());
    ASSERT_FALSE(componants.IsNothing());
    EXPECT_TRUE(componants->ConfigEntries().empty());
    Ref<ConfigNode> branch(NewFreeConfigNode());
    ASSERT_TRUE(branch->LoadFile((kResources / "VellixControlBootConfig.xml").string()));
    ASSERT_TRUE(root->AttachBranch(branch, "Componants"));
    // Each key the shell reads is there, of the type it reads, with a usable value: a text
    // (when hi is 0) or a number from lo to hi.
    const auto expect = [&](const std::string& prefix, const std::string& keys, const char* type,
                            long lo = 0, long hi = 0) {
      for (const auto& key : Split(keys, " ")) {
        auto node = root->GetNode(prefix + key, false, "", Variant());
        ASSERT_FALSE(node.IsNothing()) << key;
        if (type) {
          EXPECT_EQ(node->ContentType(), type) << key;
        }
        const Variant v = node->GetContent();
        EXPECT_TRUE(hi == 0 ? !v.ToString().empty()
                            : v.IsNumeric() && v.ToLong() >= lo && v.ToLong() <= hi)
            << key << " = " << v.ToString();
      }
    };
    expect("CommonFormat.GlobalConfig.External", "DateFormat TimeFormat DateTimeFormat", "String");
    expect("CommonFormat.Color.BackColor", "Red Green Blue", nullptr, 0, 255);
    expect("CommonFormat.FormLayout.",
           "TextOffset Border RowHeight ButtonWidth FormBLRBorder FormTopBorder LabelColumnWidth "
           "DataColumnWidth CharWidth TabsHeight",
           "Integer", 1, 32767);
    const std::string strings = "Componants.VellixControl.Strings.";
    // The panel's size is a 16-bit number of twips that a layout can add to.
    expect(strings + "ControlPanel.", "PicWidth PicHeight", "Integer", 1001, 15999);
    EXPECT_EQ(root->GetValue(strings + "ProductName"), Variant("Vellix Control"));
    EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(false));
    EXPECT_FALSE(std::filesystem::exists(file));  // nothing written before a commit
    tabsHeight = root->GetValue("CommonFormat.FormLayout.TabsHeight");
    root->GetNode("Componants.VellixControl.Hidden", false, "", Variant())->SetContent(true);
    // A commit through any node writes the whole tree.
    root->GetNode("CommonFormat.Color", false, "", Variant())->Commit("");
  }
  ConfigServer reopened(file, {});
  auto root = reopened.RootNode();
  ASSERT_FALSE(root.IsNothing()) << reopened.OpenError();
  EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(true));
  EXPECT_EQ(root->GetValue("CommonFormat.FormLayout.TabsHeight"), tabsHeight);
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
  hidden->SetContent(true);  // the same value again: the file is the one already written
  root->Commit("");
  EXPECT_EQ(StampOf(file), first);
  hidden->SetContent(false);
  root->Commit("");
  EXPECT_NE(StampOf(file)->inode, first->inode);
  // A node made, or a branch grafted, below the root is a change too.
  const auto written = [&] { return test::ReadText(file); };
  root->GetNode("Componants.VellixControl.Made", true, "String", "new");
  root->Commit("");
  EXPECT_NE(written().find("Made"), std::string::npos);
  auto branch = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
  branch->GetNode("Grafted", true, "Integer", 7);
  ASSERT_TRUE(root->AttachBranch(branch, "Componants"));
  root->Commit("");
  EXPECT_NE(written().find("Grafted"), std::string::npos);
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

TEST(ConfigServer, TreeFileProblemsAreReportedAndADamagedFileIsNeverOverwritten) {
  test::TempFolder folder;
  const auto file = folder / "ConfigTree.xml";
  const ManualClock clock(DateTimeSerial(2026, 3, 2, 10, 0, 5));
  // An unreadable tree is moved aside, twice in one second under two names,
  // and each time the server starts afresh from the seed.
  const std::string damaged[] = {
      "<config><node key=\"Componants\" type=\"Collection\">",
      "<config>\n  <node key=\"w\" type=\"Integer\">12a</node>\n</config>"};
  const char* where[] = {"line 1, column 49", "line 2, column 3"};
  std::string kept = file.string() + ".corrupt-20260302-100005";
  for (int i = 0; i < 2; ++i) {
    test::WriteText(file, damaged[i]);
    ConfigServer server(file, kResources / "CommonFormat.xml", &clock);
    auto root = server.RootNode();
    ASSERT_FALSE(root.IsNothing()) << server.OpenError();
    EXPECT_FALSE(root->GetNode("CommonFormat", false, "", Variant()).IsNothing());
    EXPECT_EQ(test::ReadText(kept), damaged[i]);
    EXPECT_FALSE(std::filesystem::exists(file));
    for (const std::string& part : {file.string(), std::string(where[i]), kept})
      EXPECT_NE(server.Notice().find(part), std::string::npos) << server.Notice();
    kept = file.string() + ".corrupt-20260302-100005-2";
  }
  // A folder that takes no file keeps the server closed, and says which.
  test::WriteText(folder / "plain", "");
  ConfigServer blocked(folder / "plain" / "ConfigTree.xml", kResources / "CommonFormat.xml");
  EXPECT_TRUE(blocked.RootNode().IsNothing());
  EXPECT_NE(blocked.OpenError().find((folder / "plain").string()), std::string::npos);
  ConfigServer noSeed(folder / "new.xml", folder / "missing-seed.xml");
  EXPECT_TRUE(noSeed.RootNode().IsNothing());
  EXPECT_NE(noSeed.OpenError().find("missing-seed.xml"), std::string::npos);
  // A commit that fails reaches the caller as a server failure.
  ConfigServer good(folder / "Good.xml", {});
  auto root = good.RootNode();
  ASSERT_FALSE(root.IsNothing());
  const auto commit = [&] { root->Commit((folder / "no-such-folder" / "copy.xml").string()); };
  EXPECT_LT(test::ErrorNumber(commit), 0);
  EXPECT_NE(test::ErrorDescription(commit).find("no-such-folder"), std::string::npos);
  // A node whose tree is gone has nothing left to commit to, and says nothing.
  Ref<ConfigNode> held;
  {
    ConfigServer gone(folder / "Gone.xml", {});
    held = gone.RootNode()->GetNode("Componants", false, "", Variant());
  }
  EXPECT_NO_THROW(held->Commit(""));
  EXPECT_FALSE(std::filesystem::exists(folder / "Gone.xml"));
}

TEST(DataPaths, FollowTheXdgBaseDirectoriesUnlessADataFolderIsGiven) {
  const std::string cwd = std::filesystem::current_path().string();
  struct Case {
    std::string dataDir;
    std::map<std::string, std::string> env;
    std::string configDir, stateDir;
  };
  const Case cases[] = {
      Case("", {{"HOME", "/h"}}, "/h/.config/vellix", "/h/.local/state/vellix"),
      Case("", {{"HOME", "/h"}, {"XDG_CONFIG_HOME", "/cfg"}, {"XDG_STATE_HOME", "/var/st"}},
           "/cfg/vellix", "/var/st/vellix"),
      // Empty or relative values are not locations, as the XDG rules say.
      Case("", {{"HOME", "/h"}, {"XDG_CONFIG_HOME", ""}, {"XDG_STATE_HOME", "rel/st"}},
           "/h/.config/vellix", "/h/.local/state/vellix"),
      // A data folder takes everything, whatever the environment says.
      Case("/portable", {{"XDG_CONFIG_HOME", "/cfg"}}, "/portable/config", "/portable/state"),
      Case("rel", {}, cwd + "/rel/config", cwd + "/rel/state"),
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    const auto paths = ResolveDataPaths(c.dataDir, [&](const char* name) {
      auto it = c.env.find(name);
      return it == c.env.end() ? std::nullopt : std::optional<std::string>(it->second);
    });
    EXPECT_EQ(paths.configDir, c.configDir) << "case " << i;
    EXPECT_EQ(paths.stateDir, c.stateDir) << "case " << i;
    EXPECT_EQ(paths.ConfigTreeFile(), std::filesystem::path(c.configDir) / "ConfigTree.xml");
    EXPECT_EQ(paths.ErrorLogFile(), std::filesystem::path(c.stateDir) / "ErrorLog.txt");
  }
}

// Every level made for the data is private, whatever the umask; one that was
// there keeps its mode, and a file in the way is named.
TEST(DataPaths, EveryFolderMadeForTheDataIsPrivate) {
  test::TempFolder folder;
  ::chmod(folder.Path().c_str(), 0755);
  const auto none = [](const char*) { return std::optional<std::string>(); };
  const mode_t mask = ::umask(022);
  std::string error;
  const auto paths = ResolveDataPaths((folder / "new" / "data").string(), none);
  const bool made = CreateDataFolders(paths, &error);
  ::umask(mask);
  ASSERT_TRUE(made) << error;
  for (const auto& [path, mode] : {std::pair{folder / "new", 0700u},
                                   {folder / "new" / "data", 0700u},
                                   {paths.configDir, 0700u},
                                   {paths.stateDir, 0700u},
                                   {folder.Path(), 0755u}}) {
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0) << path;
    EXPECT_TRUE(S_ISDIR(info.st_mode)) << path;
    EXPECT_EQ(info.st_mode & 07777, mode) << path;
  }
  test::WriteText(folder / "file", "x");
  EXPECT_FALSE(CreateDataFolders(ResolveDataPaths((folder / "file").string(), none), &error));
  EXPECT_NE(error.find("file"), std::string::npos);
}

}  // namespace
}  // namespace vellix
