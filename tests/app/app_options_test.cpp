#include "app/app_options.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/date.h"
#include "servers/engine/store_database.h"
#include "support/temp_folder.h"

namespace vellix::app {
namespace {

TEST(CommandLine, OptionsAreReadWithTheirValuesInEitherSpelling) {
  AppOptions options;
  std::string error;
  ASSERT_TRUE(ParseOptions({"--data-dir", "/tmp/v", "--profile=/p/demo.xml", "--screenshot",
                            "shots", "--quit-after-first-paint"},
                           options, error))
      << error;
  EXPECT_EQ(options.dataDir, "/tmp/v");
  EXPECT_EQ(options.profile, "/p/demo.xml");
  EXPECT_EQ(options.screenshot, "shots");
  EXPECT_TRUE(options.quitAfterFirstPaint);
  EXPECT_FALSE(options.help);
  EXPECT_TRUE(ParseOptions({}, options, error));

  AppOptions exporting;
  ASSERT_TRUE(ParseOptions({"--export-store", "a.pst", "out.mbox"}, exporting, error)) << error;
  EXPECT_EQ(exporting.exportStore + "|" + exporting.exportTo, "a.pst|out.mbox");

  AppOptions shortly;
  ASSERT_TRUE(ParseOptions({"-h", "-v"}, shortly, error)) << error;
  EXPECT_TRUE(shortly.help && shortly.version);
}

TEST(CommandLine, AMistypedOptionOrAMissingValueIsRefusedWithAMessage) {
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  const Case cases[] = {
      {{"--data-directory", "x"}, "Unknown option 'data-directory'"},
      {{"-x"}, "Unknown option 'x'"},
      {{"--data-dir"}, "Missing value after '--data-dir'"},
      // An option that follows is never taken for the missing value.
      {{"--data-dir", "--help"}, "Missing value after '--data-dir'"},
      {{"--profile="}, "Missing value after '--profile'"},
      {{"--version=2"}, "Unexpected value after '--version'"},
      {{"somefile"}, "Unexpected argument 'somefile'"},
      {{"--export-store", "a.pst"}, "Missing the mbox file after '--export-store STORE'"},
      {{"--export-store", "a.pst", "b", "c"}, "Unexpected argument 'c'"},
  };
  for (const auto& c : cases) {
    AppOptions options;
    std::string error;
    EXPECT_FALSE(ParseOptions(c.args, options, error)) << c.args[0];
    EXPECT_NE(error.find(c.says), std::string::npos) << error;
  }
}

// The built program, as a user starts it from a terminal: its exit status
// and what it said on standard error.
std::pair<int, std::string> RunProgram(const std::string& arguments,
                                       const std::string& environment = "") {
  const std::string command =
      environment + " " + std::string(VELLIX_APP_EXE) + " " + arguments + " 2>&1";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return {-1, ""};
  std::string output;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe))
    output += buffer;
  const int status = ::pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

TEST(CommandLine, TheProgramEndsWithStatus2AndAMessageOnABadCommandLine) {
  struct Case {
    std::string arguments;
    std::string says;
  };
  const Case cases[] = {
      {"--profile /no/such/file", "/no/such/file"},
      {"--profile " VELLIX_SOURCE_DIR "/README.md", VELLIX_SOURCE_DIR "/README.md"},
      {"--profile " VELLIX_SOURCE_DIR "/docs", "/docs\" can't be read: it is not a Maildir"},
      {"--colour", "Unknown option 'colour'"},
      {"--export-store /no/such.pst /tmp/out.mbox", "/no/such.pst\" can't be opened"},
      {"--export-store " VELLIX_SOURCE_DIR "/README.md /tmp/out.mbox", "no SQLite database"},
  };
  for (const auto& c : cases) {
    const auto [status, output] = RunProgram(c.arguments);
    EXPECT_EQ(status, 2) << c.arguments << ": " << output;
    EXPECT_NE(output.find(c.says), std::string::npos) << output;
  }
  const auto [status, output] = RunProgram("-v");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output, std::string("vellix-control ") + VELLIX_VERSION + "\n");
}

TEST(CommandLine, AStoreIsExportedWithoutAWindow) {
  const test::TempFolder scratch;
  engine::StoreDatabase::Create(scratch / "File 2024.pst", "File 2024", DateSerial(2024, 1, 1),
                                DateSerial(2025, 1, 1))
      .FileItem({"k@example.com", "\\\\M\\Inbox", DateSerial(2024, 2, 1),
                 "From: Ann <ann@example.com>\r\nSubject: Hi\r\n\r\nFrom here.\r\n"},
                DateSerial(2024, 3, 1));
  const auto mbox = scratch / "out.mbox";
  // No display is needed: nothing is shown.
  const auto [status, output] = RunProgram(
      "--export-store '" + (scratch / "File 2024.pst").string() + "' '" + mbox.string() + "'");
  EXPECT_EQ(status, 0) << output;
  EXPECT_NE(output.find("Exported 1 message from"), std::string::npos) << output;
  EXPECT_EQ(test::ReadText(mbox),
            "From ann@example.com Thu Feb  1 00:00:00 2024\nFrom: Ann <ann@example.com>\n"
            "Subject: Hi\n\n>From here.\n\n");
}

TEST(CommandLine, TheScreenshotRunPicturesEachLookOfTheBackupManagerAndReallyBacksUp) {
  namespace fs = std::filesystem;
  const test::TempFolder scratch;
  const auto data = scratch / "data";
  const auto shots = scratch / "shots";
  const auto [status, output] =
      RunProgram("--data-dir '" + data.string() + "' --screenshot '" + shots.string() + "'",
                 "QT_QPA_PLATFORM=offscreen");
  ASSERT_EQ(status, 0) << output;
  EXPECT_NE(output.find("23 of 23 pictures written"), std::string::npos) << output;
  EXPECT_NE(output.find("the recover dialog lists 3 saved configurations"), std::string::npos)
      << output;
  // Each look came as the run went; none had to be forced.
  EXPECT_EQ(output.find("gave up"), std::string::npos) << output;
  EXPECT_EQ(output.find("set directly"), std::string::npos) << output;
  for (const char* file :
       {"backup-manager-close-outlook.png", "backup-manager-backup-now.png",
        "backup-manager-later.png", "backup-manager-running.png", "backup-manager-done.png",
        "backup-manager-close.png", "backup-manager-wait.png", "backup-problems.png", "recover.png",
        "import.png", "attach-period.png", "about.png"}) {
    std::ifstream in(shots / file, std::ios::binary);
    std::string magic(4, '\0');
    in.read(magic.data(), 4);
    EXPECT_EQ(magic, "\x89PNG") << file;
  }
  // The pictured run copied every period store to the backup folder whole.
  int stores = 0;
  for (const auto& entry : fs::recursive_directory_iterator(data / "drives")) {
    if (entry.path().extension() != ".pst") continue;
    ++stores;
    const auto copy = data / "Backups" / entry.path().filename();
    ASSERT_TRUE(fs::exists(copy)) << copy;
    EXPECT_EQ(fs::file_size(copy), entry.file_size()) << copy;
  }
  EXPECT_GT(stores, 1);
}

}  // namespace
}  // namespace vellix::app
