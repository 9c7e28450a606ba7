// Saves written behind the window: what is queued, replaced and waited for.
#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine_fixture.h"

namespace vellix::engine::test {
namespace {

using ::testing::UnorderedElementsAre;

// Holds the writing thread in a write of its own until opened.
class Gate {
 public:
  explicit Gate(std::string key) : key_(std::move(key)) {
    servers::WriteBehind::Shared().Queue(key_, [this] {
      std::unique_lock lock(mutex_);
      entered_ = true;
      changed_.notify_all();
      changed_.wait(lock, [this] { return open_; });
    });
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return entered_; });
  }
  // Once the write has left the gate, which is then no more.
  ~Gate() {
    Open();
    servers::WriteBehind::Shared().Wait(key_);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  void Open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  std::string key_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool entered_ = false;
  bool open_ = false;
};

TEST(WriteBehind, ALaterWriteReplacesOneNotYetBegunAndEachKeyIsWaitedForOnItsOwn) {
  auto& writes = servers::WriteBehind::Shared();
  std::mutex mutex;
  std::vector<std::string> done;
  const auto record = [&](const std::string& what) {
    return [&, what] {
      const std::lock_guard lock(mutex);
      done.push_back(what);
    };
  };
  {
    Gate gate("a file being written");
    writes.Queue("settings", record("settings 1"));
    writes.Queue("settings", record("settings 2"));
    writes.Queue("copy", record("copy"));
  }
  writes.Wait("settings");
  {
    const std::lock_guard lock(mutex);
    EXPECT_THAT(done, ::testing::Contains("settings 2"));
  }
  writes.WaitAll();
  EXPECT_THAT(done, UnorderedElementsAre("settings 2", "copy"));
  // A write under a key being written waits its turn: it is not dropped.
  {
    Gate gate("settings");
    writes.Queue("settings", record("settings 3"));
  }
  writes.Wait("settings");
  {
    const std::lock_guard lock(mutex);
    EXPECT_EQ(done.back(), "settings 3");
  }
  // As every user of the queue does before its end: the thread is joined.
  writes.WaitAll();
}

TEST_F(EngineTest, ASaveDoesNotWaitForTheDiskAndARestartWaitsForTheSave) {
  Configure();
  const std::string before = WrittenEngineText();
  auto config = Config();
  {
    Gate gate("another file");
    config->BackupEveryCount(9);  // returns while the disk is held
    EXPECT_EQ(ReadText(engineFile), before);
  }
  // The restart reads the file only once the save is on it.
  Restart();
  EXPECT_EQ(Config()->BackupEveryCount(), 9);
  // A write that fails is logged from the writing thread.
  log->records.clear();
  std::filesystem::remove(engineFile);
  std::filesystem::create_directories(engineFile / "inside");
  {
    Gate gate("another file");
    Config()->BackupEveryCount(3);
    EXPECT_THAT(log->records, ::testing::IsEmpty());
  }
  servers::WriteBehind::Shared().WaitAll();
  ASSERT_EQ(log->records.size(), 1U);
  EXPECT_THAT(log->records[0].message, ::testing::HasSubstr("can't be written"));
  EXPECT_EQ(Config()->BackupEveryCount(), 3);
}

}  // namespace
}  // namespace vellix::engine::test
