#include "app/app_options.h"
#include "app/resource_folder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/date.h"
#include "servers/engine/store_database.h"
#include "support/temp_folder.h"

namespace vellix::app {
namespace {

// Every field the parse set, or the refusal's message.
std::string Parsed(const std::vector<std::string>& args) {
  AppOptions o;
  std::string error;
  if (!ParseOptions(args, o, error)) return "refused: " + error;
  return o.dataDir + "|" + o.profile + "|" + o.screenshot + "|" + o.exportStore + "|" + o.exportTo +
         "|" + (o.quitAfterFirstPaint ? "q" : "") + (o.help ? "h" : "") + (o.version ? "v" : "");
}

TEST(CommandLine, OptionsAreReadWithTheirValuesAndAMistakeIsRefusedWithAMessage) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--data-dir", "/tmp/v", "--profile=/p/demo.xml", "--screenshot", "shots",
        "--quit-after-first-paint"},
       "/tmp/v|/p/demo.xml|shots|||q"},
      {{}, "|||||"},
      {{"--export-store", "a.pst", "out.mbox"}, "|||a.pst|out.mbox|"},
      // A folder's name is bytes, not necessarily UTF-8: it is kept as typed.
      {{"--data-dir", "/tmp/M\xfcll", "-profile=\xff.xml"}, "/tmp/M\xfcll|\xff.xml||||"},
      {{"--", "-v"}, "refused: Unexpected argument '-v'"},
      {{"-h", "-v"}, "|||||hv"},
      {{"--data-directory", "x"}, "refused: Unknown option 'data-directory'"},
      {{"-x"}, "refused: Unknown option 'x'"},
      {{"--data-dir"}, "refused: Missing value after '--data-dir'"},
      // An option that follows is never taken for the missing value.
      {{"--data-dir", "--help"}, "refused: Missing value after '--data-dir'"},
      {{"--profile="}, "refused: Missing value after '--profile'"},
      {{"--version=2"}, "refused: Unexpected value after '--version'"},
      {{"somefile"}, "refused: Unexpected argument 'somefile'"},
      {{"--export-store", "a.pst"}, "refused: Missing the mbox file after '--export-store STORE'"},
      {{"--export-store", "a.pst", "b", "c"}, "refused: Unexpected argument 'c'"},
  };
  for (const auto& [args, expected] : cases) {
    const std::string got = Parsed(args);
    if (expected.starts_with("refused")) {
      EXPECT_EQ(got.find(expected), 0U) << got;
    } else {
      EXPECT_EQ(got, expected);
    }
  }
}

// The built program, as a user starts it from a terminal: its exit status
// (-1 when it did not exit) and what it said on standard error.
std::pair<int, std::string> RunProgram(const std::string& arguments,
                                       const std::string& environment = "",
                                       const std::string& program = VELLIX_APP_EXE) {
  const std::string command = environment + " '" + program + "' " + arguments + " 2>&1";
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
  EXPECT_NE(output.find("25 of 25 pictures written"), std::string::npos) << output;
  EXPECT_NE(output.find("the recover dialog lists 3 saved configurations"), std::string::npos)
      << output;
  // Each look came as the run went; none had to be forced.
  EXPECT_EQ(output.find("gave up"), std::string::npos) << output;
  EXPECT_EQ(output.find("set directly"), std::string::npos) << output;
  for (const char* file :
       {"backup-manager-close-outlook.png", "backup-manager-backup-now.png",
        "backup-manager-later.png", "backup-manager-running.png", "backup-manager-done.png",
        "backup-manager-close.png", "backup-manager-wait.png", "backup-problems.png", "recover.png",
        "import.png", "attach-period.png", "about.png", "mail-folder-picker.png",
        "purge-notice.png", "log.png"}) {
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

// As a desktop's logout or `kill` ends it: the panel goes as by the tray's
// Exit, its end logged, with status 0.
TEST(CommandLine, SigtermEndsTheProgramAsTheTraysExitDoes) {
  const test::TempFolder scratch;
  const std::string data = (scratch / "data").string();
  const auto log = scratch / "data" / "state" / "ErrorLog.txt";
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::execl(VELLIX_APP_EXE, VELLIX_APP_EXE, "--data-dir", data.c_str(), nullptr);
    ::_exit(127);
  }
  // Up once the state machine has shown Quick setup.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (test::ReadText(log).find("Event: Unconfigured") == std::string::npos &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ASSERT_EQ(::kill(child, SIGTERM), 0);
  int status = 0;
  bool ended = false;
  while (!(ended = ::waitpid(child, &status, WNOHANG) == child) &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  if (!ended) {
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
  }
  ASSERT_TRUE(ended) << "still running a minute after SIGTERM";
  ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  const std::string text = test::ReadText(log);
  EXPECT_NE(text.find("Event: Exit"), std::string::npos) << text;
  EXPECT_NE(text.find("ComponentEnded\tVellixControl"), std::string::npos) << text;
}

// The boot configuration marks the folder; the layouts are a build's (beside
// the executable) and an install's (share/vellix-control of the prefix).
TEST(ResourceFolder, ABuildReadsBesideTheProgramAnInstallFromItsSharedFolderElseItSaysWhere) {
  namespace fs = std::filesystem;
  struct Case {
    const char* layout;
    std::vector<std::string> bootFiles;  // relative to the prefix
    std::string chosen;                  // relative to the prefix; "" for none
  };
  const Case cases[] = {
      {"build", {"bin/VellixControlBootConfig.xml"}, "bin"},
      {"install", {"share/vellix-control/VellixControlBootConfig.xml"}, "share/vellix-control"},
      {"both",
       {"bin/VellixControlBootConfig.xml", "share/vellix-control/VellixControlBootConfig.xml"},
       "bin"},
      {"neither", {"share/VellixControlBootConfig.xml", "bin/profiles/demo.xml"}, ""},
  };
  for (const auto& c : cases) {
    const test::TempFolder prefix;
    fs::create_directories(prefix / "bin");
    for (const auto& file : c.bootFiles)
      test::WriteText(prefix / file, "<Componants/>");
    std::string error;
    const auto chosen = ResourceFolder(prefix / "bin", error);
    if (c.chosen.empty()) {
      EXPECT_FALSE(chosen) << c.layout << ": " << chosen->string();
      EXPECT_NE(error.find((prefix / "bin").string() + " nor in " +
                           (prefix / "share" / "vellix-control").string()),
                std::string::npos)
          << error;
    } else {
      EXPECT_EQ(chosen, prefix / c.chosen) << c.layout << ": " << error;
    }
  }
}

// The built program moved to a folder without its files ends at once with
// status 1 and the message, before any window.
TEST(ResourceFolder, AProgramWithoutItsFilesEndsWithStatus1) {
  namespace fs = std::filesystem;
  const test::TempFolder scratch;
  fs::create_directories(scratch / "bin");
  const auto exe = scratch / "bin" / "vellix-control";
  std::error_code ec;
  fs::create_hard_link(VELLIX_APP_EXE, exe, ec);
  if (ec) fs::copy_file(VELLIX_APP_EXE, exe);
  const auto [status, output] = RunProgram("--data-dir '" + (scratch / "data").string() + "'",
                                           "QT_QPA_PLATFORM=offscreen", exe.string());
  EXPECT_EQ(status, 1) << output;
  EXPECT_NE(output.find("neither in " + (scratch / "bin").string()), std::string::npos) << output;
}

}  // namespace
}  // namespace vellix::app
