#include "servers/backupcopy/backup_copier.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <random>

#include "faulty_file_io.h"
#include "support/expect_vb_error.h"
#include "support/scripted_host.h"
#include "support/temp_folder.h"

namespace vellix::backupcopy {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::ReadText;
using test::WriteText;
using ::testing::ElementsAre;

struct Seen {
  int32_t code;
  std::string data;
};

class BackupCopierTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(Store());
    fs::create_directories(Backup());
  }
  void TearDown() override { copier.reset(); }
  fs::path Store() const { return root / "drives" / "x" / "Stores"; }
  fs::path Backup() const { return root / "drives" / "x" / "Backup"; }
  // A copier held as the backup manager holds it, copying in small blocks
  // and telling every block, so a test sees many events from small files.
  void Make(std::shared_ptr<FileIo> io = nullptr) {
    copier = std::make_shared<BackupCopier>(host, desktop::PathMapping(root), std::move(io));
    copier->ChunkBytes(16 << 10);
    copier->ProgressInterval(0ms);
    connection = copier->Status.Connect([this](int32_t& code, std::string& data, bool& cancel) {
      seen.push_back({code, data});
      if (code == BackupServer::kFileBegins) current = data;
      if (onEvent) onEvent(code, data, cancel);
    });
  }
  // A store file of pseudo-random bytes; answers its path as the logic writes it.
  std::string Put(const std::string& name, size_t size) {
    std::string bytes(size, '\0');
    std::mt19937 random(static_cast<unsigned>(size) + static_cast<unsigned>(name.size()));
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    WriteText(Store() / name, bytes);
    fs::last_write_time(Store() / name, fs::file_time_type(std::chrono::hours(24 * 365 * 30)));
    return "X:\\Stores\\" + name;
  }
  void Add(const std::string& file) { copier->AddFile(file, "X:\\Backup"); }
  // Runs to the end of a run and answers the codes seen, a row of progress
  // events shown as one "5". No run, however it ends, leaves a temporary copy.
  std::string Run() {
    seen.clear();
    copier->Start();
    EXPECT_TRUE(host.PumpUntil(
        [&] {
          return !seen.empty() && (seen.back().code == BackupServer::kRunComplete ||
                                   seen.back().code == BackupServer::kCancelled);
        },
        20s))
        << Pattern();
    EXPECT_EQ(Partials(), 0);
    return Pattern();
  }
  std::string Pattern() const {
    std::string out;
    for (size_t i = 0; i < seen.size(); ++i) {
      if (i > 0 && seen[i].code == 5 && seen[i - 1].code == 5) continue;
      out += (out.empty() ? "" : " ") + std::to_string(seen[i].code);
    }
    return out;
  }
  std::vector<std::string> DataOf(int32_t code) const {
    std::vector<std::string> out;
    for (const auto& s : seen) {
      if (s.code == code) out.push_back(s.data);
    }
    return out;
  }
  // The progress told for the file as given.
  std::vector<int64_t> ProgressOf(const std::string& file) const {
    std::vector<int64_t> out;
    std::string now;
    for (const auto& s : seen) {
      if (s.code == BackupServer::kFileBegins) now = s.data;
      if (s.code == BackupServer::kProgress && now == file) out.push_back(std::stoll(s.data));
    }
    return out;
  }
  // Temporary copies left in the backup folder.
  long Partials() const {
    return std::count_if(fs::directory_iterator(Backup()), {}, [](const auto& e) {
      return e.path().filename().string().find("vellix-partial") != std::string::npos;
    });
  }
  bool SameFile(const std::string& name) const {
    return fs::exists(Backup() / name) && ReadText(Backup() / name) == ReadText(Store() / name);
  }
  test::TempFolder scratch;
  fs::path root = scratch.Path();
  test::ScriptedHost host;
  std::shared_ptr<BackupCopier> copier;
  Connection connection;
  std::vector<Seen> seen;
  std::string current;
  std::function<void(int32_t, const std::string&, bool&)> onEvent;
};

TEST_F(BackupCopierTest, CopiesEveryFileInOrderWithItsContentAndDate) {
  Make();
  const auto a = Put("a.pst", (200 << 10) + 3);
  const auto b = Put("b.pst", 64 << 10);
  Put("c.pst", 5000);
  const auto c = (Store() / "c.pst").string();  // a POSIX path works as well
  Add(a);
  Add(b);
  copier->AddFile(c, Backup().string());
  EXPECT_EQ(Run(), "0 2 5 3 2 5 3 2 5 3 1");
  EXPECT_THAT(DataOf(BackupServer::kFileBegins), ElementsAre(a, b, c));
  EXPECT_THAT(DataOf(BackupServer::kFileComplete), ElementsAre(a, b, c));
  for (const auto& [file, size] : {std::pair{a, (200 << 10) + 3}, {b, 64 << 10}, {c, 5000}}) {
    const auto progress = ProgressOf(file);
    ASSERT_FALSE(progress.empty()) << file;
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end())) << file;
    EXPECT_EQ(progress.back(), size) << file;
  }
  EXPECT_GT(ProgressOf(a).size(), 3U);
  for (const char* name : {"a.pst", "b.pst", "c.pst"}) {
    EXPECT_TRUE(SameFile(name)) << name;
    EXPECT_EQ(fs::last_write_time(Backup() / name), fs::last_write_time(Store() / name)) << name;
  }
  EXPECT_FALSE(copier->Running());
  // Progress told sparingly: once for the big file, with its whole size, and
  // none for an empty one, which is copied all the same.
  copier->ProgressInterval(1h);
  Add(Put("big.pst", 300 << 10));
  Add(Put("empty.pst", 0));
  EXPECT_EQ(Run(), "0 2 5 3 2 3 1");
  EXPECT_THAT(DataOf(BackupServer::kProgress), ElementsAre("307200"));
  EXPECT_TRUE(SameFile("big.pst"));
  EXPECT_TRUE(fs::exists(Backup() / "empty.pst"));
  EXPECT_EQ(fs::file_size(Backup() / "empty.pst"), 0U);
}

TEST_F(BackupCopierTest, CopiesThroughMemoryWhenTheKernelWillNotCopy) {
  const auto file = Put("a.pst", (3 << 20) + 17);
  for (int refusal : {EXDEV, ENOSYS, EINVAL, EOPNOTSUPP}) {
    auto io = std::make_shared<test::FaultyFileIo>();
    io->refuseInKernelCopy = refusal;
    Make(io);
    Add(file);
    EXPECT_EQ(Run(), "0 2 5 3 1") << refusal;
    EXPECT_EQ(ProgressOf(file).back(), (3 << 20) + 17) << refusal;
    EXPECT_TRUE(SameFile("a.pst")) << refusal;
    fs::remove(Backup() / "a.pst");
  }
}

TEST_F(BackupCopierTest, CancelStopsTheRunAndLeavesNoPartialCopy) {
  Make();
  const auto a = Put("a.pst", 256 << 10);
  const auto b = Put("b.pst", 256 << 10);
  const auto c = Put("c.pst", 256 << 10);
  WriteText(Backup() / "b.pst", "an older copy");
  for (const auto& f : {a, b, c})
    Add(f);
  onEvent = [&](int32_t code, const std::string&, bool& cancel) {
    if (code == BackupServer::kProgress && current == b) cancel = true;
  };
  EXPECT_EQ(Run(), "0 2 5 3 2 5 6");
  EXPECT_EQ(seen.back().data, b);
  EXPECT_EQ(ProgressOf(b).size(), 1U);  // the cancel took effect at the next event
  EXPECT_TRUE(SameFile("a.pst"));
  EXPECT_EQ(ReadText(Backup() / "b.pst"), "an older copy");
  EXPECT_FALSE(fs::exists(Backup() / "c.pst"));
  copier.reset();  // waits for the worker: nothing may follow the cancel
  EXPECT_EQ(host.PendingPosts(), 0U);
  // A cancel answered when a file is done stops before the next one, which
  // the cancel names.
  fs::remove(Backup() / "a.pst");
  Make();
  for (const auto& f : {a, b, c})
    Add(f);
  onEvent = [&](int32_t code, const std::string&, bool& cancel) {
    cancel = code == BackupServer::kFileComplete;
  };
  EXPECT_EQ(Run(), "0 2 5 3 6");
  EXPECT_EQ(seen.back().data, b);
  EXPECT_TRUE(SameFile("a.pst"));
  EXPECT_EQ(ReadText(Backup() / "b.pst"), "an older copy");
}

// One faulty file among good ones: each fault is told as code 4 with what
// went wrong on which file, instead of its code 3; the run goes on; the final
// name never holds a partial copy and no temporary copy is left.
TEST_F(BackupCopierTest, EachFaultIsExplainedAndTheRunGoesOn) {
  using Fault = test::FaultyFileIo::Fault;
  const std::string a = "X:\\Stores\\a.pst";
  const std::string full =
      "Could not copy " + a + ": the disk of the backup folder X:\\Backup is full";
  const std::string eio = "Could not read " + a + ": Input/output error";
  const std::string part = ".a.pst.vellix-partial";
  struct Case {
    const char* what;
    std::optional<Fault> test::FaultyFileIo::*fault;  // none for a file removed
    Fault how;
    bool throughMemory;
    int32_t removeOn;  // the event whose handler removes a.pst, or -1
    std::string text;
  };
  using F = test::FaultyFileIo;
  const Case cases[] = {
      Case("read error mid-file", &F::readFault, {"Stores/a.pst", EIO, 48 << 10}, false, -1, eio),
      Case("read error through memory", &F::readFault, {"Stores/a.pst", EIO, 0}, true, -1, eio),
      Case("open refused", &F::openFault, {"Stores/a.pst", EACCES, 0}, false, -1,
           "Could not open " + a + ": Permission denied"),
      Case("disk full mid-file", &F::writeFault, {part, ENOSPC, 32 << 10}, false, -1, full),
      Case("disk full through memory", &F::writeFault, {part, EDQUOT, 16 << 10}, true, -1, full),
      Case("disk full at the sync", &F::syncFault, {part, ENOSPC}, false, -1, full),
      Case("write error at the sync", &F::syncFault, {part, EIO}, false, -1,
           "Could not write the copy of " + a + ": Input/output error"),
      Case("removed after Start", nullptr, {}, false, BackupServer::kRunBegins,
           a + " could not be found"),
      Case("removed mid-copy", nullptr, {}, false, BackupServer::kProgress,
           a + " disappeared during the copy"),
  };
  for (const Case& c : cases) {
    for (bool older : {false, true}) {
      SCOPED_TRACE(std::string(c.what) + (older ? ", over an older copy" : ""));
      auto io = std::make_shared<test::FaultyFileIo>();
      if (c.fault) (*io).*c.fault = c.how;
      if (c.throughMemory) io->refuseInKernelCopy = EXDEV;
      Make(io);
      fs::remove(Backup() / "a.pst");
      fs::remove(Backup() / "b.pst");
      if (older) WriteText(Backup() / "a.pst", "an older copy");
      Add(Put("a.pst", 100 << 10));
      const auto b = Put("b.pst", 40 << 10);
      Add(b);
      onEvent = [&](int32_t code, const std::string&, bool&) {
        if (code == c.removeOn && (code != BackupServer::kProgress || current == a)) {
          fs::remove(Store() / "a.pst");
        }
      };
      EXPECT_THAT(Run(), ::testing::MatchesRegex("0 2( 5)? 4 2 5 3 1"));
      EXPECT_THAT(DataOf(BackupServer::kFileError), ElementsAre(c.text));
      EXPECT_THAT(DataOf(BackupServer::kFileComplete), ElementsAre(b));
      if (older) {
        EXPECT_EQ(ReadText(Backup() / "a.pst"), "an older copy");
      } else {
        EXPECT_FALSE(fs::exists(Backup() / "a.pst"));
      }
      EXPECT_TRUE(SameFile("b.pst"));
      onEvent = nullptr;
    }
  }
}

TEST_F(BackupCopierTest, FilesThatCannotStartAreExplained) {
  auto io = std::make_shared<test::FaultyFileIo>();
  Make(io);
  Put("d.pst", 100 << 10);
  io->freeSpace = 10;
  Add("X:\\Stores\\none.pst");
  copier->AddFile("X:\\Stores\\d.pst", "X:\\Nowhere");
  Add("X:\\Stores");
  Add("X:\\Stores\\d.pst");
  EXPECT_EQ(Run(), "0 2 4 2 4 2 4 2 4 1");
  EXPECT_THAT(
      DataOf(BackupServer::kFileError),
      ElementsAre("X:\\Stores\\none.pst could not be found",
                  "The backup location X:\\Nowhere could not be found", "X:\\Stores is not a file",
                  "Could not copy X:\\Stores\\d.pst: the disk of the backup folder X:\\Backup "
                  "has too little free space for it"));
}

TEST_F(BackupCopierTest, ACopyThatDiffersFromItsSourceNeverTakesTheFinalName) {
  auto io = std::make_shared<test::FaultyFileIo>();
  io->refuseInKernelCopy = EXDEV;
  io->corruptWrites = true;
  Make(io);
  const auto a = Put("a.pst", 100 << 10);
  WriteText(Backup() / "a.pst", "an older copy");
  Add(a);
  EXPECT_EQ(Run(), "0 2 5 4 1");
  EXPECT_THAT(DataOf(BackupServer::kFileError),
              ElementsAre("The copy of X:\\Stores\\a.pst does not match the original"));
  EXPECT_EQ(ReadText(Backup() / "a.pst"), "an older copy");
  // Without the check the same damage goes unnoticed: the check is what caught it.
  copier->Verify(false);
  Add(a);
  EXPECT_EQ(Run(), "0 2 5 3 1");
  EXPECT_FALSE(SameFile("a.pst"));
  // A source written to during the copy gives no copy either.
  io->corruptWrites = false;
  Add(Put("b.pst", 100 << 10));
  onEvent = [&](int32_t code, const std::string&, bool&) {
    if (code == BackupServer::kProgress) std::ofstream(Store() / "b.pst", std::ios::app) << "x";
  };
  Run();
  EXPECT_THAT(DataOf(BackupServer::kFileError),
              ElementsAre("X:\\Stores\\b.pst changed during the copy"));
  EXPECT_FALSE(fs::exists(Backup() / "b.pst"));
}

TEST_F(BackupCopierTest, OneRunAtATimeAndRunsFollowEachOther) {
  Make();
  EXPECT_EQ(Run(), "0 1");  // nothing added: the run still begins and completes
  seen.clear();
  Add(Put("a.pst", 64 << 10));
  copier->Start();
  EXPECT_VB_ERROR(copier->Start(), kErrAlreadyCopying);
  Add(Put("b.pst", 1000));  // waits for the next run
  ASSERT_TRUE(host.PumpUntil([&] { return !seen.empty() && seen.back().code == 1; }));
  EXPECT_EQ(Pattern(), "0 2 5 3 1");
  EXPECT_EQ(Run(), "0 2 5 3 1");
  EXPECT_TRUE(SameFile("b.pst"));
}

TEST_F(BackupCopierTest, ReleasingTheCopierMidRunNeverHangsOrLeavesAPartialCopy) {
  // The window stops pumping while a file is in copy, then lets the copier go;
  // then it releases one from inside a progress handler.
  for (bool fromHandler : {false, true}) {
    seen.clear();
    Make();
    Add(Put("a.pst", 512 << 10));
    onEvent = [&](int32_t code, const std::string&, bool&) {
      if (fromHandler && code == BackupServer::kProgress) copier.reset();
    };
    copier->Start();
    ASSERT_TRUE(host.PumpUntil([&] { return !seen.empty() && seen.back().code == 5; }));
    if (!fromHandler) {
      // The worker now waits for its next answer.
      ASSERT_TRUE(host.WaitForPost(20s));
      copier.reset();
    }
    host.Pump();  // posted work of a released copier does nothing
    EXPECT_EQ(Pattern(), "0 2 5") << fromHandler;
    EXPECT_FALSE(fs::exists(Backup() / "a.pst")) << fromHandler;
    EXPECT_EQ(Partials(), 0) << fromHandler;
  }
}

}  // namespace
}  // namespace vellix::backupcopy
