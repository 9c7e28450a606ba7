#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include "platform/outlook/profile_xml.h"
#include "servers/common/write_behind.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"
#include "support/manual_clock.h"
#include "support/scripted_host.h"

namespace vellix::engine::test {
namespace {

constexpr int kItems = 60;
const Date kBase = DateTimeSerial(2024, 5, 15, 10, 30, 0);

// In memory where the machine has that: a killed process leaves what it wrote
// in the page cache, so flushes play no part in what a kill can break, and
// without them a pass, so a kill, is cheap.
struct ScratchFolder {
  ScratchFolder() {
    const bool shm = ::access("/dev/shm", W_OK) == 0;
    std::string name = ((shm ? "/dev/shm" : std::filesystem::temp_directory_path().string()) +
                        "/vellix-crash-XXXXXX");
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path = name;
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
  std::filesystem::path path;
};

// A pass in a child process that a test can kill anywhere: a profile that is
// saved after every purge, as a mail program keeps its folders.
class CrashSafety : public ::testing::Test {
 protected:
  // A fresh profile of kItems mails over two months, and an engine that
  // files after a day and purges what was filed a day before, unasked.
  void Reset() {
    std::filesystem::remove_all(root / "data");
    std::filesystem::remove_all(root / "engine");
    outlook::MailProfile profile;
    auto inbox = profile.AddStore("Mailbox")->AddFolder("Inbox", 0);
    for (int i = 0; i < kItems; ++i) {
      outlook::ProfileItem item;
      item.subject = "mail " + std::to_string(i);
      item.sender = "bob@example.com";
      item.received = Date(kBase.Serial() - 2 - i);
      inbox->AddItem(item);
      keys.insert(inbox->Items().back().key);
    }
    std::filesystem::create_directories(root / "engine");
    ASSERT_TRUE(WriteFileAtomically(profileFile, outlook::ProfileToXml(profile), nullptr));
    ManualClock clock(kBase);
    EngineServer engine(engineFile, paths, clock, nullptr);
    auto config = engine.Config();
    config->StoreLocation("c:\\Store");
    config->PeriodUnits("Month");
    config->ReferenceDate(DateSerial(2024, 1, 1));
    ASSERT_TRUE(config->SetPeriodFormat("File '@yyyy-mm'"));
    auto agent = config->CreateAgent("Mail");
    agent->AddFolder("\\\\Mailbox\\Inbox");
    agent->RemovePeriod(0);
    agent->PurgeNotify(1);
    // An event for every item filed or purged: the steps a kill is placed by.
    engine.LoggingLevel("Verbose");
    engine.Configured(true);
    engine.Running(true);
    day = 0;
  }
  // In the child: one pass on the day's clock, then out. With killAfter, the
  // child is killed `delay` after its panel saw that many status events: the
  // worker is then somewhere in the middle of the work, however busy the
  // machine is. Each event is told to the parent through `progress`.
  [[noreturn]] void ChildPass(std::optional<int> killAfter, std::chrono::microseconds delay,
                              int progress) const {
    const auto killLater = [delay] {
      std::thread([delay] {
        std::this_thread::sleep_for(delay);
        ::kill(::getpid(), SIGKILL);
      }).detach();
    };
    if (killAfter == 0) killLater();
    auto load = outlook::LoadProfileFile(profileFile);
    if (!load.profile) _exit(3);
    auto profile = load.profile;
    ManualClock clock(AddSeconds(kBase, day * 86400.0));
    vellix::test::ScriptedHost host(&clock);
    ProcessorOptions options;
    options.post = [&host](std::function<void()> fn) { host.Post(std::move(fn)); };
    options.profile = [profile] { return profile; };
    options.profileChanged = [this, profile] {
      if (!WriteFileAtomically(profileFile, outlook::ProfileToXml(*profile), nullptr)) _exit(4);
    };
    options.poll = std::chrono::hours(1);
    options.batchItems = 10;
    auto processor = std::make_unique<Processor>(std::move(options));
    Processor* p = processor.get();
    // A running engine takes up its work, with a pass, as it is made.
    EngineServer engine(engineFile, paths, clock, nullptr, std::move(processor));
    int seen = 0;
    auto counting = engine.Monitor()->OnProcessingStatus.Connect([&](int32_t) {
      const char step = 1;
      if (::write(progress, &step, 1) != 1) _exit(6);
      if (++seen == killAfter) killLater();
    });
    if (!host.PumpUntil([p] { return p->PassesDone() >= 1; }, std::chrono::seconds(30))) _exit(5);
    // As the program does before it ends: the engine file's last save is on
    // disk and its writer joined.
    servers::WriteBehind::Shared().WaitAll();
    _exit(0);
  }
  struct ChildRun {
    int status = 0;
    int events = 0;  // status events the child's panel saw
  };
  // Runs a child's pass, killed as ChildPass says when told.
  ChildRun RunChild(std::optional<int> killAfter, std::chrono::microseconds delay = {}) {
    std::array<int, 2> pipeEnds{};
    if (::pipe(pipeEnds.data()) != 0) throw std::runtime_error("pipe failed");
    const pid_t pid = fork();
    if (pid == 0) {
      ::close(pipeEnds[0]);
      ChildPass(killAfter, delay, pipeEnds[1]);
    }
    ::close(pipeEnds[1]);
    ChildRun run;
    std::array<char, 256> buffer{};
    ssize_t got = 0;
    while ((got = ::read(pipeEnds[0], buffer.data(), buffer.size())) > 0)
      run.events += static_cast<int>(got);
    ::close(pipeEnds[0]);
    waitpid(pid, &run.status, 0);
    return run;
  }
  // What the stores and the Inbox hold.
  struct State {
    std::unordered_map<std::string, Date> stored;  // key, when filed
    std::unordered_set<std::string> inFolder;
  };
  // Everything whole and nothing lost: the engine file reads, every store
  // opens, every mail is in its folder, a store or both, once only in the
  // stores and as the mail it was.
  State CheckWhole(const std::string& when) {
    State state;
    EXPECT_EQ(ReadEngineFile(engineFile).outcome, EngineFileRead::Outcome::Loaded) << when;
    int64_t count = 0;
    const auto storeFolder = paths.ToNative("c:\\Store");
    for (const auto& entry : std::filesystem::directory_iterator(storeFolder)) {
      if (entry.path().extension() != ".pst") continue;
      std::string why;
      auto store = StoreDatabase::TryOpen(entry.path(), StoreDatabase::Access::kReadOnly, &why);
      EXPECT_TRUE(store.has_value()) << when << ": " << why;
      if (!store) continue;
      store->ForEachItem([&](const StoredItem& item) {
        EXPECT_NE(item.message.find("Message-ID: <" + item.key + ">"), std::string::npos)
            << when << ": the copy of " << item.key << " is not that mail";
        state.stored.emplace(item.key, item.filed);
        ++count;
      });
    }
    EXPECT_EQ(count, static_cast<int64_t>(state.stored.size())) << when << ": a mail filed twice";
    auto load = outlook::LoadProfileFile(profileFile);
    EXPECT_TRUE(load.profile) << when << ": " << load.problem;
    if (!load.profile) return state;
    for (const auto& item : load.profile->FindFolder("\\\\Mailbox\\Inbox")->Items())
      state.inFolder.insert(item.key);
    for (const auto& key : keys) {
      EXPECT_TRUE(state.inFolder.contains(key) || state.stored.contains(key))
          << when << ": " << key << " purged without a copy in a store";
    }
    return state;
  }
  // The pass of that day was cut while filing: it filed some mail, not all.
  [[nodiscard]] bool CutFiling(const State& before, const State& after) const {
    return after.stored.size() > before.stored.size() && after.stored.size() < keys.size();
  }
  // It was cut while purging: it took some mail out of the Inbox, and left
  // mail there that was filed on an earlier day, so due.
  [[nodiscard]] bool CutPurging(const State& before, const State& after) const {
    if (after.inFolder.size() >= before.inFolder.size()) return false;
    const Date today = AddSeconds(kBase, day * 86400.0);
    return std::any_of(after.inFolder.begin(), after.inFolder.end(), [&](const std::string& key) {
      const auto it = after.stored.find(key);
      return it != after.stored.end() && it->second.Serial() < today.Serial() - 0.5;
    });
  }
  ScratchFolder scratch;
  std::filesystem::path root = scratch.path;
  desktop::PathMapping paths{root / "data"};
  std::filesystem::path engineFile = root / "engine" / "engine.xml";
  std::filesystem::path profileFile = root / "engine" / "profile.xml";
  std::unordered_set<std::string> keys;
  int day = 0;
};

TEST_F(CrashSafety, AKilledPassLosesNothingAndFilesNothingTwice) {
  Reset();
  // How far undisturbed passes go: the first files every mail, the next
  // day's purges it.
  const ChildRun filing = RunChild(std::nullopt);
  ASSERT_EQ(filing.status, 0);
  day = 1;
  const ChildRun purging = RunChild(std::nullopt);
  ASSERT_EQ(purging.status, 0);
  ASSERT_EQ(CheckWhole("undisturbed").stored.size(), keys.size());
  ASSERT_TRUE(CheckWhole("undisturbed").inFolder.empty());
  // Each fresh Inbox takes two runs, each killed at a random point of its
  // work: one in the pass that files it, one in the next day's, which files
  // what is left and purges what was filed. A point past the end lets the
  // pass finish, and the next run goes on from there.
  std::mt19937 random(20240515);
  constexpr int kKills = 100;
  int kills = 0;
  int cutFiling = 0;
  int cutPurging = 0;
  State before;
  for (int k = 0; kills < kKills && k < 3 * kKills; ++k) {
    if (k % 2 == 0) {
      Reset();
      before = State{{}, keys};
    }
    const auto left = static_cast<int>(keys.size() - before.stored.size());
    const int events = k % 2 == 0 ? filing.events : purging.events + filing.events * left / kItems;
    std::uniform_int_distribution<int> steps(0, events);
    std::uniform_int_distribution<int> delay(0, 1000);
    const ChildRun run = RunChild(steps(random), std::chrono::microseconds(delay(random)));
    const std::string when = "run " + std::to_string(k) + " on day " + std::to_string(day);
    if (WIFSIGNALED(run.status) && WTERMSIG(run.status) == SIGKILL) {
      ++kills;
    } else {
      EXPECT_EQ(run.status, 0) << when;
    }
    const State after = CheckWhole(when);
    cutFiling += CutFiling(before, after) ? 1 : 0;
    cutPurging += CutPurging(before, after) ? 1 : 0;
    before = after;
    ++day;
    if (HasFailure()) break;
  }
  EXPECT_EQ(kills, kKills);
  // The kills fell inside the work, not only before or after it.
  EXPECT_GE(cutFiling, kKills / 5);
  EXPECT_GE(cutPurging, kKills / 10);
  RecordProperty("cut_filing", cutFiling);
  RecordProperty("cut_purging", cutPurging);
  // Whatever was cut, two whole passes later every mail is filed once and purged.
  ASSERT_EQ(RunChild(std::nullopt).status, 0);
  ++day;
  ASSERT_EQ(RunChild(std::nullopt).status, 0);
  const State last = CheckWhole("after the kills");
  EXPECT_EQ(last.stored.size(), keys.size());
  EXPECT_TRUE(last.inFolder.empty());
}

}  // namespace
}  // namespace vellix::engine::test
