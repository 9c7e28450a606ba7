// Each writer of the user's files is killed at random points of its work, in
// a child process, and what it leaves is checked: every file loads and holds
// the content before or after the write, whole; no mail item is lost or
// doubled between the mail profile, the period stores and their backups.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/outlook/profile_xml.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/common/write_behind.h"
#include "servers/config/atomic_file.h"
#include "servers/config/config_server.h"
#include "servers/config/config_xml.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"
#include "support/child_process.h"
#include "support/manual_clock.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
// What a child tells: the write begins, the write is done (followed by how
// long it took, in microseconds, and a new line).
constexpr char kBegins = 'b';
constexpr char kDone = 'e';

// In the child: tells the parent where the write is, and kills the child
// at its point. A timer of the kernel sends the SIGKILL: a parent, or a
// thread, woken to send it comes too late on a busy machine, where a write
// of a few hundred microseconds is over before either runs.
class Marks {
 public:
  // killAt: after Begin; none: the child lives until the parent kills it.
  Marks(int out, std::optional<std::chrono::microseconds> killAt) : out_(out), killAt_(killAt) {}
  void Begin() {
    ::clock_gettime(CLOCK_MONOTONIC, &begun_);
    test::Tell(out_, kBegins);
    if (!killAt_) return;
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer{};
    const int64_t at = begun_.tv_nsec + killAt_->count() * 1000;
    itimerspec when{};
    when.it_value.tv_sec = begun_.tv_sec + at / 1'000'000'000;
    when.it_value.tv_nsec = at % 1'000'000'000;
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer) != 0 ||
        ::timer_settime(timer, TIMER_ABSTIME, &when, nullptr) != 0)
      ::_exit(5);
  }
  [[noreturn]] void Done() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t took =
        (now.tv_sec - begun_.tv_sec) * 1'000'000 + (now.tv_nsec - begun_.tv_nsec) / 1000;
    test::Tell(out_, kDone);
    for (const char c : std::to_string(took) + "\n")
      test::Tell(out_, c);
    for (;;)
      ::pause();
  }

 private:
  int out_;
  std::optional<std::chrono::microseconds> killAt_;
  timespec begun_{};
};

// In memory where the machine has that: a killed process leaves what it
// wrote in the page cache, so flushes play no part in what a kill can break,
// and without waiting for a disk the 800 kills stay cheap.
class ScratchFolder {
 public:
  ScratchFolder() {
    const bool shm = ::access("/dev/shm", W_OK) == 0;
    std::string name = (shm ? std::string("/dev/shm") : fs::temp_directory_path().string()) +
                       "/vellix-kill-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  [[nodiscard]] const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

// Files in a folder whose names hold `part`: what a write killed half-way
// leaves beside its file. Each with its time, as a store's journal comes
// back under the same name.
std::set<std::string> Leftovers(const fs::path& folder, const std::string& part) {
  std::set<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    const auto stamp = StampOf(it->path());
    if (name.find(part) != std::string::npos && stamp)
      names.insert(name + " " + std::to_string(stamp->modifiedNs));
  }
  return names;
}

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

// One writer under test. Setup and Prepare run in the test's process, Work
// in a child that tells kBegins right before the write and kDone once it is
// on the disk. Check runs after each child, told whether the write was done
// before the kill; it answers whether the kill left a trace of a write cut
// half-way (a temporary file, a store's journal), before anything cleans up.
class Writer {
 public:
  explicit Writer(std::string name) : name_(std::move(name)) {}
  virtual ~Writer() = default;
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  [[nodiscard]] const std::string& Name() const { return name_; }
  virtual void Setup() {}
  virtual void Prepare() {}
  virtual void Work(Marks& marks) = 0;
  virtual bool Check(bool done) = 0;

 protected:
  // Whether the kill left something in `left` that the last check did not.
  [[nodiscard]] bool Fresh(const std::set<std::string>& left) const {
    return std::any_of(left.begin(), left.end(), [&](const auto& n) { return !seen_.contains(n); });
  }
  // What is left once a check is done.
  std::set<std::string> seen_;
  ScratchFolder scratch_;
  fs::path root_ = scratch_.Path();

 private:
  std::string name_;
};

// The configuration tree, committed whole in one version after the other.
// Every entry carries the version, so a tree mixing two would show.
class TreeCommit : public Writer {
 public:
  TreeCommit() : Writer("configuration tree commit") {}
  void Setup() override {
    ConfigServer server(file_, {});
    Fill(*server.RootNode(), version_);
    server.RootNode()->Commit("");
  }
  void Work(Marks& marks) override {
    ConfigServer server(file_, {});
    auto root = server.RootNode();
    if (root.IsNothing()) ::_exit(2);
    Fill(*root, version_ + 1);
    marks.Begin();
    root->Commit("");
    marks.Done();
  }
  bool Check(bool done) override {
    const auto left = Leftovers(root_, ".ConfigTree.xml.");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_LE(left.size(), 1U) << "what killed writes left piles up";
    auto loaded = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
    EXPECT_TRUE(loaded->LoadFile(file_.string())) << loaded->LastError();
    const int version = loaded->GetValue("Stress.Version").ToLong();
    auto expected = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
    expected->GetNode("Componants", true, "Collection", Variant());
    Fill(*expected, version);
    EXPECT_EQ(WriteConfigXml(*loaded), WriteConfigXml(*expected)) << "a tree of no one version";
    EXPECT_TRUE(version == version_ + 1 || (!done && version == version_)) << version;
    version_ = version;
    return cut;
  }

 private:
  static void Fill(ConfigNode& root, int version) {
    root.GetNode("Stress.Version", true, "Long", 0)->SetContent(version);
    for (int i = 0; i < 300; ++i) {
      root.GetNode("Stress.Items.I" + std::to_string(i), true, "String", "")
          ->SetContent(std::to_string(version) + "/" + std::to_string(i));
    }
  }
  fs::path file_ = root_ / "ConfigTree.xml";
  int version_ = 1;
};

// The engine file, saved behind by WriteBehind after a change. A long
// history name made of the version stands for a change: the file holds one
// version's name whole or it is torn.
class EngineSave : public Writer {
 public:
  EngineSave() : Writer("engine file save") {}
  void Setup() override {
    engine::EngineServer server(file_, paths_, clock_, nullptr);
    auto config = server.Config();
    for (int a = 0; a < kAgents; ++a) {
      auto agent = config->CreateAgent("Agent " + std::to_string(a));
      for (int f = 0; f < 10; ++f)
        agent->AddFolder(R"(\\Mailbox\Folder )" + std::to_string(a) + "-" + std::to_string(f));
    }
    config->HistoryName(History(version_));
  }
  void Work(Marks& marks) override {
    engine::EngineServer server(file_, paths_, clock_, nullptr);
    auto config = server.Config();
    marks.Begin();
    config->HistoryName(History(version_ + 1));
    servers::WriteBehind::Shared().WaitAll();
    marks.Done();
  }
  bool Check(bool done) override {
    const auto left = Leftovers(root_, ".Engine.xml.");
    const bool cut = Fresh(left);
    seen_ = left;
    EXPECT_LE(left.size(), 1U) << "what killed writes left piles up";
    const auto read = engine::ReadEngineFile(file_);
    EXPECT_EQ(read.outcome, engine::EngineFileRead::Outcome::Loaded) << read.error;
    const std::string& name = read.data.settings.historyName;
    const int version = static_cast<int>(std::strtol(name.c_str(), nullptr, 10));
    EXPECT_TRUE(name == History(version))
        << "a history name of no one version, " << name.size() << " characters";
    EXPECT_EQ(read.data.agents.size(), static_cast<size_t>(kAgents));
    EXPECT_TRUE(version == version_ + 1 || (!done && version == version_)) << version;
    version_ = version;
    return cut;
  }

 private:
  static constexpr int kAgents = 20;
  static std::string History(int version) {
    std::string text = std::to_string(version) + " ";
    while (text.size() < 20000)
      text += "history of version " + std::to_string(version) + " ";
    return text;
  }
  fs::path file_ = root_ / "Engine.xml";
  desktop::PathMapping paths_{root_ / "data"};
  ManualClock clock_{DateSerial(2024, 5, 15)};
  int version_ = 1;
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

// The seed of the kills' delays: VELLIX_KILL_SEED, else a fresh one.
unsigned Seed() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before any thread is made
  if (const char* given = std::getenv("VELLIX_KILL_SEED")) return std::strtoul(given, nullptr, 10);
  return std::random_device{}();
}

// The table of writers, one test each.
struct WriterEntry {
  const char* name;
  std::unique_ptr<Writer> (*make)();
};
template <class W>
std::unique_ptr<Writer> Make() {
  return std::make_unique<W>();
}
const std::array<WriterEntry, 4> kWriters = {{
    {"TreeCommit", Make<TreeCommit>},
    {"EngineSave", Make<EngineSave>},
    {"ProcessingPass", Make<ProcessingPass>},
    {"BackupRun", Make<BackupRun>},
}};

class KilledWriter : public testing::TestWithParam<WriterEntry> {};

// How long the write took by the child's own clock, as it told after kDone.
int64_t WriteTook(const test::ChildProcess& child) {
  const auto at = child.Told().find(kDone);
  return at == std::string::npos ? -1 : std::strtoll(child.Told().c_str() + at + 1, nullptr, 10);
}

TEST_P(KilledWriter, LeavesEveryFileWholeAndEveryMailOnce) {
  constexpr int kKills = 200;
  constexpr int kWholeWrites = 3;
  const unsigned seed = Seed();
  SCOPED_TRACE("VELLIX_KILL_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const auto start = std::chrono::steady_clock::now();
  auto writer = GetParam().make();
  writer->Setup();
  ASSERT_FALSE(HasFailure());
  // Whole writes first: how long one takes here.
  std::vector<int64_t> took;
  for (int run = 0; run < kWholeWrites; ++run) {
    writer->Prepare();
    test::ChildProcess child([&](int out) {
      Marks marks(out, std::nullopt);
      writer->Work(marks);
    });
    ASSERT_TRUE(child.WaitFor(kDone) && child.WaitFor('\n')) << "status " << child.Wait();
    took.push_back(WriteTook(child));
    child.Kill();
    writer->Check(true);
    ASSERT_FALSE(HasFailure()) << "after whole write " << run;
  }
  std::sort(took.begin(), took.end());
  // Each kill falls at a random point of [0, bound] after kBegins. The bound
  // starts a little past the median write and follows what the kills find:
  // it shrinks after a kill that came once the write was done and grows
  // after one inside it, so that about a fifth land past the end, however
  // long the writes take on a machine that is busy or not.
  double bound = static_cast<double>(took[kWholeWrites / 2]) * 1.25;
  std::uniform_real_distribution<double> point(0.0, 1.0);
  int midWrite = 0;
  int traces = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    writer->Prepare();
    const std::chrono::microseconds killAt(static_cast<int64_t>(point(random) * bound));
    test::ChildProcess child([&](int out) {
      Marks marks(out, killAt);
      writer->Work(marks);
    });
    child.Wait();
    ASSERT_TRUE(child.EndedByKill() && child.Told(kBegins))
        << "the writer ended by itself: " << child.Status();
    const bool done = child.Told(kDone);
    midWrite += done ? 0 : 1;
    bound *= done ? 0.9 : 1.03;
    traces += writer->Check(done) ? 1 : 0;
    ASSERT_FALSE(HasFailure()) << "after kill " << kill << " at " << killAt.count() << " us"
                               << (done ? ", the write done" : "");
  }
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::chrono::steady_clock::now() - start)
                      .count();
  std::cout << "[ kills    ] " << writer->Name() << ": " << kKills << " kills, " << midWrite
            << " before the write was done, " << traces << " left a write cut half-way; "
            << "whole writes took " << took.front() << "-" << took.back() << " us, the last bound "
            << static_cast<int64_t>(bound) << " us; " << ms << " ms; seed " << seed << "\n";
  EXPECT_GE(midWrite, kKills / 2) << "the kills missed the writes";
}

INSTANTIATE_TEST_SUITE_P(All, KilledWriter, testing::ValuesIn(kWriters),
                         [](const auto& entry) { return std::string(entry.param.name); });

}  // namespace
}  // namespace vellix
