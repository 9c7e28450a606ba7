#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>

#include "platform/outlook/profile_xml.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"
#include "support/manual_clock.h"
#include "support/scripted_host.h"
#include "support/temp_folder.h"

namespace vellix::engine::test {
namespace {

constexpr int kItems = 60;
const Date kBase = DateTimeSerial(2024, 5, 15, 10, 30, 0);

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
    engine.Configured(true);
    engine.Running(true);
    day = 0;
  }

  // In the child: one pass on the day's clock, then out.
  [[noreturn]] void ChildPass() const {
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
    if (!host.PumpUntil([p] { return p->PassesDone() >= 1; }, std::chrono::seconds(30))) _exit(5);
    _exit(0);
  }

  // Runs a child's pass, killed after `after` when given; its exit status.
  int RunChild(std::optional<std::chrono::microseconds> after) {
    const pid_t pid = fork();
    if (pid == 0) ChildPass();
    if (after) {
      std::this_thread::sleep_for(*after);
      kill(pid, SIGKILL);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
  }

  // Everything whole and nothing lost: the engine file reads, every store
  // opens, every mail is in its folder, a store or both, and once only in
  // the stores. Gives the keys the stores hold.
  std::unordered_set<std::string> CheckWhole(const std::string& when) {
    EXPECT_EQ(ReadEngineFile(engineFile).outcome, EngineFileRead::Outcome::Loaded) << when;
    std::unordered_set<std::string> stored;
    int64_t count = 0;
    const auto storeFolder = paths.ToNative("c:\\Store");
    for (const auto& entry : std::filesystem::directory_iterator(storeFolder)) {
      if (entry.path().extension() != ".pst") continue;
      std::string why;
      auto store = StoreDatabase::TryOpen(entry.path(), StoreDatabase::Access::kReadOnly, &why);
      EXPECT_TRUE(store.has_value()) << when << ": " << why;
      if (!store) continue;
      for (const auto& [key, filed] : store->FiledKeys())
        stored.insert(key);
      count += store->ItemCount();
    }
    EXPECT_EQ(count, static_cast<int64_t>(stored.size())) << when << ": a mail filed twice";
    auto load = outlook::LoadProfileFile(profileFile);
    EXPECT_TRUE(load.profile) << when << ": " << load.problem;
    if (!load.profile) return stored;
    std::unordered_set<std::string> inFolders;
    for (const auto& item : load.profile->FindFolder("\\\\Mailbox\\Inbox")->Items())
      inFolders.insert(item.key);
    for (const auto& key : keys)
      EXPECT_TRUE(inFolders.contains(key) || stored.contains(key)) << when << ": lost " << key;
    return stored;
  }

  vellix::test::TempFolder scratch;
  std::filesystem::path root = scratch.Path();
  desktop::PathMapping paths{root / "data"};
  std::filesystem::path engineFile = root / "engine" / "engine.xml";
  std::filesystem::path profileFile = root / "engine" / "profile.xml";
  std::unordered_set<std::string> keys;
  int day = 0;
};

TEST_F(CrashSafety, AKilledPassLosesNothingAndFilesNothingTwice) {
  Reset();
  // How long an undisturbed pass takes here, filing and then purging.
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(RunChild(std::nullopt), 0);
  day = 1;
  ASSERT_EQ(RunChild(std::nullopt), 0);
  const auto span = std::chrono::duration_cast<std::chrono::microseconds>(
                        std::chrono::steady_clock::now() - start) /
                    2;
  ASSERT_EQ(CheckWhole("undisturbed").size(), keys.size());

  std::mt19937 random(20240515);
  const int kills = 40;
  for (int k = 0; k < kills; ++k) {
    // Every few kills the mail comes back, so that filing is cut as often as purging.
    if (k % 4 == 0) Reset();
    std::uniform_int_distribution<int64_t> at(0, span.count() * 5 / 4);
    RunChild(std::chrono::microseconds(at(random)));
    CheckWhole("kill " + std::to_string(k) + " on day " + std::to_string(day));
    ++day;
    if (HasFailure()) break;
  }
  // Whatever was cut, two whole passes later every mail is filed once and purged.
  ASSERT_EQ(RunChild(std::nullopt), 0);
  ++day;
  ASSERT_EQ(RunChild(std::nullopt), 0);
  EXPECT_EQ(CheckWhole("after the kills").size(), keys.size());
  auto load = outlook::LoadProfileFile(profileFile);
  ASSERT_TRUE(load.profile);
  EXPECT_TRUE(load.profile->FindFolder("\\\\Mailbox\\Inbox")->Items().empty());
}

}  // namespace
}  // namespace vellix::engine::test
