// The writers of period stores under kill: a processing pass filing and
// purging mail, and a backup run copying the stores.

#include <sqlite3.h>

#include <array>
#include <map>
#include <vector>

#include "kill_harness.h"
#include "platform/outlook/profile_xml.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/common/write_behind.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"
#include "support/manual_clock.h"
#include "support/scripted_host.h"

namespace vellix::killtest {
namespace {

// A store file's items by key with their filing time, when it opens as a
// store, passes SQLite's own check and holds each message whole.
testing::AssertionResult ReadStore(const fs::path& file, std::map<std::string, Date>* items) {
  std::string why;
  auto store = engine::StoreDatabase::TryOpen(file, engine::StoreDatabase::Access::kReadOnly, &why);
  if (!store) return testing::AssertionFailure() << file << " does not open: " << why;
  int64_t visited = 0;
  std::string broken;
  store->ForEachItem([&](const engine::StoredItem& item) {
    ++visited;
    items->emplace(item.key, item.filed);
    if (item.message.find("Message-ID: <" + item.key + ">") == std::string::npos ||
        static_cast<int64_t>(item.message.size()) != item.size)
      broken = item.key;
  });
  if (!broken.empty()) return testing::AssertionFailure() << file << ": " << broken << " is cut";
  if (visited != static_cast<int64_t>(items->size()))
    return testing::AssertionFailure() << file << " holds a mail twice";
  sqlite3* db = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* check = nullptr;
  std::string verdict = "no answer";
  if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
      sqlite3_step(check) == SQLITE_ROW)
    verdict = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
  sqlite3_finalize(check);
  sqlite3_close(db);
  if (verdict != "ok") return testing::AssertionFailure() << file << ": " << verdict;
  return testing::AssertionSuccess();
}

// The stores' items as ReadStore found them, read again only when a file
// changed, so a check after each of 200 kills stays cheap.
class StoreReader {
 public:
  testing::AssertionResult Read(const fs::path& file, std::map<std::string, Date>* items) {
    const auto stamp = StampOf(file);
    auto& known = known_[file];
    if (!stamp || !(known.first == *stamp)) {
      known.second.clear();
      auto read = ReadStore(file, &known.second);
      if (!read) {
        known_.erase(file);
        return read;
      }
      // The stamp after reading: opening rolls a journal left by a kill back.
      known.first = StampOf(file).value_or(FileStamp{});
    }
    *items = known.second;
    return testing::AssertionSuccess();
  }

 private:
  std::map<fs::path, std::pair<FileStamp, std::map<std::string, Date>>> known_;
};

// Processing passes filing the Inbox's mail into the period stores and
// purging what was filed a day before. Each round is a day: new mail arrives
// in the profile, then a pass files it and purges the day before's. The
// profile is saved after every purge, as a mail program keeps its folders.
class ProcessingPass : public Writer {
 public:
  ProcessingPass() : Writer("period stores of a processing pass") {}
  void Setup() override {
    outlook::MailProfile profile;
    profile.AddStore("Mailbox")->AddFolder("Inbox", 0);
    ASSERT_TRUE(WriteFileAtomically(profileFile_, outlook::ProfileToXml(profile), nullptr));
    ManualClock clock(Today());
    engine::EngineServer engine(engineFile_, paths_, clock, nullptr);
    auto config = engine.Config();
    config->StoreLocation("c:\\Store");
    config->PeriodUnits("Month");
    config->ReferenceDate(DateSerial(2024, 1, 1));
    ASSERT_TRUE(config->SetPeriodFormat("File '@yyyy-mm'"));
    auto agent = config->CreateAgent("Mail");
    agent->AddFolder(R"(\\Mailbox\Inbox)");
    agent->RemovePeriod(0);
    agent->PurgeNotify(1);
    engine.Configured(true);
    engine.Running(true);
  }
  // New mail arrives only once the pass has filed what came before, so
  // that passes cut again and again do not pile up work without end.
  void Prepare() override {
    ++day_;
    if (unfiled_ > 0) return;
    auto load = outlook::LoadProfileFile(profileFile_);
    ASSERT_TRUE(load.profile) << load.problem;
    auto inbox = load.profile->FindFolder(R"(\\Mailbox\Inbox)");
    for (int i = 0; i < kNewMail; ++i) {
      outlook::ProfileItem item;
      item.subject = "mail " + std::to_string(day_) + "-" + std::to_string(i);
      item.sender = "bob@example.com";
      item.received = AddSeconds(Today(), -2 * 86400.0 - 60.0 * i);
      inbox->AddItem(item);
      keys_.insert(inbox->Items().back().key);
    }
    ASSERT_TRUE(WriteFileAtomically(profileFile_, outlook::ProfileToXml(*load.profile), nullptr));
  }
  void Work(Marks& marks) override {
    auto load = outlook::LoadProfileFile(profileFile_);
    if (!load.profile) ::_exit(2);
    auto profile = load.profile;
    ManualClock clock(Today());
    test::ScriptedHost host(&clock);
    engine::ProcessorOptions options;
    options.post = [&host](std::function<void()> fn) { host.Post(std::move(fn)); };
    options.profile = [profile] { return profile; };
    options.profileChanged = [this, profile] {
      if (!WriteFileAtomically(profileFile_, outlook::ProfileToXml(*profile), nullptr)) _exit(2);
    };
    options.poll = std::chrono::hours(1);
    options.batchItems = 10;
    auto processor = std::make_unique<engine::Processor>(std::move(options));
    engine::Processor* p = processor.get();
    marks.Begin();
    // A running engine takes up its work, with a pass, as it is made.
    engine::EngineServer engine(engineFile_, paths_, clock, nullptr, std::move(processor));
    if (!host.PumpUntil([p] { return p->PassesDone() >= 1; }, std::chrono::seconds(30))) _exit(2);
    servers::WriteBehind::Shared().WaitAll();
    marks.Done();
  }
  // The profile and the stores together hold every mail once: each mail
  // filed is in one store only, whole; a mail no store holds is still in
  // the Inbox. A pass that ended filed all and purged what was due.
  bool Check(bool done) override {
    const fs::path stores = paths_.ToNative("c:\\Store");
    const auto left = Leftovers(stores, "-journal");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_EQ(engine::ReadEngineFile(engineFile_).outcome, engine::EngineFileRead::Outcome::Loaded);
    std::map<std::string, Date> filed;
    int64_t inStores = 0;
    std::error_code ec;
    for (fs::directory_iterator it(stores, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->path().extension() != ".pst") continue;
      std::map<std::string, Date> items;
      EXPECT_TRUE(reader_.Read(it->path(), &items));
      inStores += static_cast<int64_t>(items.size());
      filed.insert(items.begin(), items.end());
    }
    EXPECT_EQ(inStores, static_cast<int64_t>(filed.size())) << "a mail filed in two stores";
    auto load = outlook::LoadProfileFile(profileFile_);
    EXPECT_TRUE(load.profile) << load.problem;
    if (!load.profile) return cut;
    std::multiset<std::string> inbox;
    for (const auto& item : load.profile->FindFolder(R"(\\Mailbox\Inbox)")->Items())
      inbox.insert(item.key);
    std::set<std::string> unique(inbox.begin(), inbox.end());
    EXPECT_EQ(unique.size(), inbox.size()) << "a mail twice in the Inbox";
    int lost = 0;
    int unknown = 0;
    int due = 0;
    for (const auto& key : keys_)
      lost += !inbox.contains(key) && !filed.contains(key) ? 1 : 0;
    for (const auto& [key, when] : filed) {
      unknown += keys_.contains(key) ? 0 : 1;
      due += inbox.contains(key) && when.Serial() < Today().Serial() - 0.5 ? 1 : 0;
    }
    unfiled_ = static_cast<int>(keys_.size() - filed.size());
    EXPECT_EQ(lost, 0) << "mail purged without a copy in a store";
    EXPECT_EQ(unknown, 0) << "a store holds mail that never was";
    if (done) {
      EXPECT_EQ(filed.size(), keys_.size()) << "a whole pass left mail unfiled";
      EXPECT_EQ(due, 0) << "a whole pass left mail to purge";
    }
    return cut;
  }

 private:
  static constexpr int kNewMail = 20;
  [[nodiscard]] Date Today() const {
    return AddSeconds(DateTimeSerial(2024, 5, 15, 10, 30, 0), day_ * 86400.0);
  }
  desktop::PathMapping paths_{root_ / "data"};
  fs::path engineFile_ = root_ / "engine" / "Engine.xml";
  fs::path profileFile_ = root_ / "profile.xml";
  std::set<std::string> keys_;
  int day_ = 0;
  int unfiled_ = 0;
  StoreReader reader_;
};

// A backup run copying period stores into the backup folder. Between runs
// a batch of mail is filed into one of the stores, so a copy is either
// absent, or a whole store as the source was after some batch; never older
// than a copy before it, and as new as the source after a whole run.
class BackupRun : public Writer {
 public:
  BackupRun() : Writer("backup run") {}
  void Setup() override {
    fs::create_directories(Stores());
    fs::create_directories(Backup());
    for (int s = 0; s < kStores; ++s) {
      engine::StoreDatabase::Create(Stores() / StoreName(s), "File " + std::to_string(s),
                                    DateSerial(2024, 1, 1), DateSerial(2025, 1, 1));
    }
    for (int i = 0; i < 4 * kStores; ++i)
      Prepare();
  }
  // A batch into the next store, each mail with a sizeable message, so a
  // copy takes long enough to be cut.
  void Prepare() override {
    const int s = batchesMade_++ % kStores;
    const int batch = batches_[s]++;
    std::vector<engine::StoreItem> items;
    for (int i = 0; i < kBatch; ++i) {
      const std::string key = BatchKey(batch) + std::to_string(i) + "@example.com";
      std::string message = "Message-ID: <" + key + ">\r\nSubject: ";
      message += key + "\r\n\r\n";
      message.resize(2000 + 37 * i, static_cast<char>('a' + i));
      items.push_back(engine::StoreItem{.key = key,
                                        .folderPath = R"(\\Mailbox\Inbox)",
                                        .received = DateSerial(2024, 3, 1),
                                        .message = message});
    }
    engine::StoreDatabase::Open(Stores() / StoreName(s), engine::StoreDatabase::Access::kReadWrite)
        .FileItems(items, DateSerial(2024, 3, 2));
  }
  void Work(Marks& marks) override {
    test::ScriptedHost host;
    auto copier = std::make_shared<backupcopy::BackupCopier>(host, desktop::PathMapping(root_));
    bool ended = false;
    // Held while the run goes; the child never gets past its end.
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores)
    const auto connection = copier->Status.Connect([&](int32_t& code, std::string&, bool&) {
      if (code == BackupServer::kFileError) _exit(2);
      ended = ended || code == BackupServer::kRunComplete;
    });
    for (int s = 0; s < kStores; ++s)
      copier->AddFile("X:\\Stores\\" + StoreName(s), "X:\\Backup");
    marks.Begin();
    copier->Start();
    if (!host.PumpUntil([&] { return ended; }, std::chrono::seconds(30))) _exit(2);
    marks.Done();
  }
  bool Check(bool done) override {
    const auto left = Leftovers(Backup(), "vellix-partial");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_LE(left.size(), static_cast<size_t>(kStores)) << "what killed writes left piles up";
    for (int s = 0; s < kStores; ++s) {
      SCOPED_TRACE(StoreName(s));
      const fs::path copy = Backup() / StoreName(s);
      if (!fs::exists(copy)) {
        EXPECT_FALSE(done) << "a whole run made no copy";
        EXPECT_EQ(copied_[s], 0) << "a copy went";
        continue;
      }
      std::map<std::string, Date> items;
      EXPECT_TRUE(reader_.Read(copy, &items));
      // The batches it holds are the first n the source had, whole.
      int n = 0;
      while (items.contains(BatchKey(n) + "0@example.com"))
        ++n;
      EXPECT_EQ(items.size(), static_cast<size_t>(kBatch * n)) << "a copy mixing two versions";
      EXPECT_GE(n, copied_[s]) << "an older copy replaced a newer one";
      EXPECT_LE(n, batches_[s]);
      if (done) {
        EXPECT_EQ(n, batches_[s]) << "a whole run left an old copy";
      }
      copied_[s] = n;
    }
    return cut;
  }

 private:
  static constexpr int kStores = 3;
  static constexpr int kBatch = 10;
  [[nodiscard]] fs::path Stores() const { return root_ / "drives" / "x" / "Stores"; }
  [[nodiscard]] fs::path Backup() const { return root_ / "drives" / "x" / "Backup"; }
  static std::string StoreName(int s) { return "File " + std::to_string(s) + ".pst"; }
  static std::string BatchKey(int batch) { return "b" + std::to_string(batch) + "i"; }
  int batchesMade_ = 0;
  std::array<int, kStores> batches_{};
  std::array<int, kStores> copied_{};
  StoreReader reader_;
};

}  // namespace

std::unique_ptr<Writer> MakeProcessingPass() {
  return std::make_unique<ProcessingPass>();
}
std::unique_ptr<Writer> MakeBackupRun() {
  return std::make_unique<BackupRun>();
}

}  // namespace vellix::killtest
