#include "servers/config/data_paths.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "servers/config/temp_folder.h"

namespace vellix {
namespace {

EnvironmentLookup Environment(std::map<std::string, std::string> values) {
  return [values](const char* name) -> std::optional<std::string> {
    auto it = values.find(name);
    if (it == values.end()) return std::nullopt;
    return it->second;
  };
}

TEST(DataPaths, FollowTheXdgBaseDirectoriesUnlessADataFolderIsGiven) {
  auto paths = ResolveDataPaths("", Environment({{"HOME", "/home/ann"}}));
  EXPECT_EQ(paths.ConfigTreeFile(), "/home/ann/.config/vellix/ConfigTree.xml");
  EXPECT_EQ(paths.ErrorLogFile(), "/home/ann/.local/state/vellix/ErrorLog.txt");

  paths = ResolveDataPaths("", Environment({{"HOME", "/home/ann"},
                                            {"XDG_CONFIG_HOME", "/cfg"},
                                            {"XDG_STATE_HOME", "/var/state"}}));
  EXPECT_EQ(paths.configDir, "/cfg/vellix");
  EXPECT_EQ(paths.stateDir, "/var/state/vellix");

  // Empty or relative values are not locations, as the XDG rules say.
  paths = ResolveDataPaths("", Environment({{"HOME", "/home/ann"},
                                            {"XDG_CONFIG_HOME", ""},
                                            {"XDG_STATE_HOME", "relative/state"}}));
  EXPECT_EQ(paths.configDir, "/home/ann/.config/vellix");
  EXPECT_EQ(paths.stateDir, "/home/ann/.local/state/vellix");

  // A data folder takes everything, whatever the environment says.
  paths = ResolveDataPaths("/portable", Environment({{"XDG_CONFIG_HOME", "/cfg"}}));
  EXPECT_EQ(paths.ConfigTreeFile(), "/portable/config/ConfigTree.xml");
  EXPECT_EQ(paths.ErrorLogFile(), "/portable/state/ErrorLog.txt");
  paths = ResolveDataPaths("relative", Environment({}));
  EXPECT_TRUE(paths.configDir.is_absolute());
  EXPECT_EQ(paths.configDir, std::filesystem::current_path() / "relative" / "config");
}

TEST(DataPaths, FoldersAreCreatedForTheOwnerOnly) {
  test::TempFolder folder;
  const auto paths = ResolveDataPaths((folder / "data").string(), Environment({}));
  std::string error;
  ASSERT_TRUE(CreateDataFolders(paths, &error)) << error;
  EXPECT_TRUE(std::filesystem::is_directory(paths.configDir));
  EXPECT_TRUE(std::filesystem::is_directory(paths.stateDir));
  EXPECT_EQ(std::filesystem::status(paths.stateDir).permissions(),
            std::filesystem::perms::owner_all);

  test::WriteText(folder / "file", "x");
  EXPECT_FALSE(
      CreateDataFolders(ResolveDataPaths((folder / "file").string(), Environment({})), &error));
  EXPECT_NE(error.find("file"), std::string::npos);
}

}  // namespace
}  // namespace vellix
