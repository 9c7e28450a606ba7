#include "servers/errorlog/error_log_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "servers/errorlog/error_log_server.h"
#include "support/child_process.h"
#include "support/expect_vb_error.h"
#include "support/manual_clock.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

class ErrorLogFileTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::vector<std::string> Lines(const std::filesystem::path& file) const {
    std::ifstream in(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
      lines.push_back(line);
    return lines;
  }
  test::TempFolder folder_;
  ManualClock clock_{DateTimeSerial(2024, 5, 1, 9, 5, 7)};
};

TEST_F(ErrorLogFileTest, WritesOneTabSeparatedLinePerCallToAFileOfTheUsersAlone) {
  const auto file = folder_ / "state" / "vellix" / "ErrorLog.txt";
  const mode_t mask = ::umask(022);  // the usual mask, which would leave the log readable
  ErrorLogServer server(file, clock_);
  auto log = server.ErrorLog();
  ASSERT_FALSE(log.IsNothing()) << server.OpenError();
  log->ComponentStarted("VellixControl");
  ::umask(mask);
  struct stat info {};
  for (const auto& [made, mode] : {std::pair{file, 0600u},
                                   {folder_ / "state", 0700u},
                                   {folder_ / "state" / "vellix", 0700u}}) {
    ASSERT_EQ(::stat(made.c_str(), &info), 0) << made;
    EXPECT_EQ(info.st_mode & 0777, mode) << made;
  }
  log->LogEvent(kProject, "frmPopup", "Form_Load", "Object variable not set", 91, "");
  const std::string nasty = "two\tcolumns\r\nand C:\\path\\n";
  log->LogEvent(kProject, "Startup", "Main", nasty, -5, "");
  log->LogEvent(kProject, "Utils", "GetFolder", "with detail", 0, "more");
  log->ObjectCreated(kProject, "TrayIcon");
  log->ObjectDestroyed(kProject, "TrayIcon");
  log->ComponentEnded("VellixControl");
  const std::string at = "2024-05-01T09:05:07\t";
  const auto lines = Lines(file);
  ASSERT_EQ(
      lines,
      (std::vector<std::string>{
          at + "ComponentStarted\tVellixControl",
          at + "VellixControl\tfrmPopup\tForm_Load\t91\tObject variable not set",
          at + "VellixControl\tStartup\tMain\t-5\ttwo\\tcolumns\\r\\nand C:\\\\path\\\\n",
          at + "VellixControl\tUtils\tGetFolder\t0\twith detail\tmore",
          at + "ObjectCreated\tVellixControl\tTrayIcon",
          at + "ObjectDestroyed\tVellixControl\tTrayIcon", at + "ComponentEnded\tVellixControl"}));
  // Escaped fields come back as they were given.
  EXPECT_EQ(SplitLogLine(lines[2]),
            (std::vector<std::string>{"2024-05-01T09:05:07", "VellixControl", "Startup", "Main",
                                      "-5", nasty}));
  // A later start appends.
  ErrorLogServer again(file, clock_);
  again.ErrorLog()->ComponentStarted("VellixControl");
  EXPECT_EQ(Lines(file).size(), 8u);
}

TEST_F(ErrorLogFileTest, AnUnusableLogIsReportedNeverHidden) {
  test::WriteText(folder_ / "blocker", "a file where a folder should be");
  ErrorLogServer server(folder_ / "blocker" / "ErrorLog.txt", clock_);
  EXPECT_TRUE(server.ErrorLog().IsNothing());
  EXPECT_NE(server.OpenError().find("blocker"), std::string::npos) << server.OpenError();
  EXPECT_EQ(server.Componant(), "OVErrorLog");
  // A full disk: the failed record reaches the caller as a server failure.
  ErrorLogFile full("/dev/full", clock_);
  ASSERT_TRUE(full.Open(nullptr));
  EXPECT_VB_ERROR(full.LogEvent(kProject, "frmPopup", "Form_Load", "lost", 5, ""),
                  errorlog_error::kWriteFailed);
}

TEST_F(ErrorLogFileTest, EveryRecordWrittenBeforeAKillIsInTheFile) {
  const auto file = folder_ / "ErrorLog.txt";
  std::mt19937 random(7);
  std::uniform_int_distribution<int> stopAfter(50, 400);
  int expected = 0;
  std::set<std::size_t> cut;  // lines a kill cut short
  for (int round = 0; round < 5; ++round) {
    test::ChildProcess child([&](int out) {
      ErrorLogServer server(file, clock_);
      auto log = server.ErrorLog();
      for (int i = expected;; ++i) {
        log->LogEvent(kProject, "Stress", "Run", "record " + std::to_string(i) + "\tend", 0, "");
        test::Tell(out, 'r');
      }
    });
    const int target = expected + stopAfter(random);
    int acked = expected - 1;
    while (acked < target && child.WaitFor('r'))
      ++acked;
    child.Kill();
    ASSERT_EQ(acked, target);
    // Every acknowledged record is there, whole and in order; the child may
    // have written a few more before the kill landed, the last of them cut
    // short when it crossed a page (a line of its own; the next writer starts
    // a new one).
    const auto lines = Lines(file);
    int whole = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const auto fields = SplitLogLine(lines[i]);
      if (fields.size() != 6u && (cut.count(i) != 0 || i + 1 == lines.size())) {
        cut.insert(i);
        continue;
      }
      ASSERT_EQ(fields.size(), 6u) << lines[i];
      ASSERT_EQ(fields[5], "record " + std::to_string(whole) + "\tend");
      ++whole;
    }
    ASSERT_GT(whole, target);
    expected = whole;
  }
}

}  // namespace
}  // namespace vellix
