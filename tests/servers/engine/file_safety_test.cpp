// What the engine makes on the disk stays the user's, inside the folders it
// was given: private files, and store names that can't climb out of the
// store folder.
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "servers/engine/store_export.h"

namespace vellix::engine::test {
namespace {

namespace fs = std::filesystem;

mode_t ModeOf(const fs::path& path) {
  struct stat info {};
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

TEST_F(EngineTest, NoStoreNameFormatReachesOutsideTheStoreFolder) {
  Configure();
  auto config = Config();
  auto agent = config->CreateAgent("Notes");
  agent->StoreFormat("'@MMM'-'$MMM' (notes)");
  const std::string climbing[] = {
      "../'@yyyy'",
      "..\\'@yyyy'",
      "/etc/'@yyyy'",
      "'@yyyy'/inner",
      "'@dd/mm/yyyy'",
      " .. ",
      ".",
      std::string("'@yyyy'\0.pst", 12),
      "'@yyyy'\\..\\..\\x",
  };
  for (const std::string& format : climbing) {
    log->records.clear();
    EXPECT_FALSE(config->SetPeriodFormat(format)) << format;
    agent->StoreFormat(format);
    EXPECT_EQ(agent->StoreFormat(), "'@MMM'-'$MMM' (notes)") << format;
    EXPECT_TRUE(LogSays(*log, "of agent \"Notes\" was refused")) << format;
  }
  EXPECT_EQ(config->PeriodFormat(), "File '@yyyy'");
  // Dots and odd characters that stay inside one name are no reason to refuse.
  agent->StoreFormat("..'@yyyy'..");
  EXPECT_EQ(agent->StoreFormat(), "..'@yyyy'..");

  // A format edited into the file by hand makes no store at all, not one elsewhere.
  std::string text = WrittenEngineText();
  const auto at = text.find("File '@yyyy'");
  ASSERT_NE(at, std::string::npos) << text;
  text.replace(at, 12, "../../'@yyyy'");
  WriteText(engineFile, text);
  Restart();
  log->records.clear();
  engine->Running(true);
  EXPECT_EQ(Config()->Periods().Count(), 0);
  EXPECT_TRUE(LogSays(*log, "would name a file outside the store folder")) << log->records.size();
  for (const auto& entry : fs::recursive_directory_iterator(root))
    EXPECT_NE(entry.path().extension(), ".pst") << entry.path();
}

TEST_F(EngineTest, EveryFileTheEngineMakesIsTheUsersAlone) {
  const mode_t mask = ::umask(022);  // the usual mask, which would leave files readable
  Configure();
  engine->Running(true);  // the period's store
  ASSERT_EQ(Config()->Periods().Count(), 1);
  MakeFolder("e:\\Backups");
  Config()->BackupLocation("e:\\Backups");
  engine->BackupFinished();  // a saved copy of the configuration
  const fs::path store = Native(Config()->Periods().Item(1)->FileName());
  EXPECT_EQ(ExportStoreToMbox(store, root / "exported.mbox"), 0);
  servers::WriteBehind::Shared().WaitAll();
  engine->Running(false);
  ::umask(mask);

  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    files.push_back(entry.path().filename().string());
    EXPECT_EQ(ModeOf(entry.path()), 0600u) << entry.path();
  }
  // The story made what it should: the engine file, the store, the copy, the export.
  EXPECT_GE(files.size(), 4u);
  EXPECT_EQ(ModeOf(engineFile.parent_path()), 0700u);
}

}  // namespace
}  // namespace vellix::engine::test
