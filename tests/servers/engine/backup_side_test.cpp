// The engine's side of backups, with real files and their real times, and
// the period stores shown in the mail profile that may hold them open.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine_fixture.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/engine/engine_server_connector.h"
#include "servers/engine/store_database.h"
#include "servers/engine/store_file.h"

namespace vellix::engine::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;

// A store file of another period, with items filed from two folders.
void MakeStoreWithItems(const fs::path& file, const std::string& name) {
  auto store = StoreDatabase::Create(file, name, DateSerial(2019, 1, 1), DateSerial(2020, 1, 1));
  const std::vector<StoreItem> items = {
      {"a@x", "\\\\Mailbox\\Inbox", DateSerial(2019, 3, 1),
       "From: Ann <ann@x>\r\nTo: Bob <bob@x>\r\nSubject: Budget\r\n\r\nBody\r\n"},
      {"b@x", "\\\\Mailbox\\Inbox\\Projects", DateSerial(2019, 4, 1),
       "From: Bob <bob@x>\r\nSubject: Plans\r\n\r\nBody\r\n"},
      {"c@x", "\\\\Mailbox\\Calendar", DateSerial(2019, 5, 1), "Subject: Meeting\r\n\r\n\r\n"}};
  store.FileItems(items, DateSerial(2019, 6, 1));
}

// How many of this process's open files are that file.
int OpenHandles(const fs::path& file) {
  int count = 0;
  std::error_code ec;
  for (const auto& fd : fs::directory_iterator("/proc/self/fd", ec)) {
    std::error_code linkError;
    const auto target = fs::read_symlink(fd.path(), linkError);
    if (!linkError && fs::equivalent(target, file, linkError)) ++count;
  }
  return count;
}

class BackupSideTest : public EngineTest {
 protected:
  void SetUp() override {
    Configure();
    engine->Running(true);
    store = Native("c:\\Orvane Vellix Store\\File 2024.pst");
    ASSERT_TRUE(fs::exists(store));
    // The store's time is fixed, so copies can be made older or newer than it.
    // Half a second past a whole second: a copy 300 ms older falls in the same second.
    storeTime =
        std::chrono::floor<seconds>(fs::file_time_type::clock::now() - std::chrono::hours(2)) +
        milliseconds(500);
    fs::last_write_time(store, storeTime);
  }
  // A copy of the store in the backup folder, `ahead` newer than the store
  // (older when negative), `shorter` bytes smaller.
  fs::path PutCopy(const std::string& logicPath, fs::file_time_type::duration ahead,
                   int shorter = 0, const fs::path& from = {}) {
    const fs::path copy = Native(logicPath);
    fs::create_directories(copy.parent_path());
    fs::copy_file(from.empty() ? store : from, copy, fs::copy_options::overwrite_existing);
    if (shorter > 0) fs::resize_file(copy, fs::file_size(copy) - shorter);
    fs::last_write_time(copy, storeTime + ahead);
    return copy;
  }
  fs::path store;
  fs::file_time_type storeTime;
};

TEST_F(BackupSideTest, EachPolicyJudgesTheStoreByTheNewestCopyOrTheRecordedBackup) {
  std::string error;
  const fs::path otherStore = root / "other" / "File 2023.pst";
  fs::create_directories(otherStore.parent_path());
  ASSERT_TRUE(CreateStoreFile(otherStore, "File 2023", DateSerial(2023, 1, 1),
                              DateSerial(2024, 1, 1), &error));
  const fs::path notesFile = root / "notes.pst";
  WriteText(notesFile, "a user's notes");
  const auto hour = std::chrono::hours(1);
  struct Copy {
    const char* path;  // below the case's backup folder
    fs::file_time_type::duration ahead;
    int shorter = 0;
    bool otherPeriod = false;
  };
  struct Case {
    const char* what;
    int32_t policy;
    int16_t status;
    int newest;           // the copy LastLocated names, -1 none
    int lastBackupHours;  // the period's recorded backup from the store's time, 0 none
    std::vector<Copy> copies;
  };
  const std::vector<Case> cases = {
      Case("no copy", 1, 1, -1, 0, {}),
      Case("newer copy as large", 1, 2, 0, 0, {{"File 2024.pst", hour}}),
      Case("copy of the same time", 1, 2, 0, 0, {{"FILE 2024.PST", {}}}),
      Case("older copy", 1, 1, 0, 0, {{"File 2024.pst", -hour}}),
      Case("copy older by a fraction of a second", 1, 1, 0, 0,
           {{"File 2024.pst", -milliseconds(300)}}),
      Case("newer but smaller copy", 1, 1, 0, 0, {{"File 2024.pst", hour, 100}}),
      // The newest copy decides, under any name, in a folder of the backup folder.
      Case("newest copy renamed in a dated folder", 1, 2, 1, 0,
           {{"File 2024.pst", -hour}, {"2024-05-14\\Archive May.pst", hour}}),
      Case("newest copy is cut short", 1, 1, 1, 0,
           {{"File 2024.pst", hour}, {"2024-05-14\\File 2024.pst", 2 * hour, 50}}),
      // Not copies: a store of another period, a file that is no store,
      // and anything deeper than one folder down.
      Case("only strangers", 1, 1, -1, 0,
           {{"File 2023.pst", 3 * hour, 0, true},
            {"notes.pst", 3 * hour, 0, true},
            {"a\\b\\File 2024.pst", 3 * hour}}),
      Case("policy all, copy newer", 0, 1, 0, 0, {{"File 2024.pst", hour}}),
      Case("history, never recorded", 2, 1, 0, 0, {{"File 2024.pst", hour}}),
      Case("history, recorded after the change", 2, 2, -1, 1, {}),
      Case("history, recorded before the change", 2, 1, 0, -1, {{"File 2024.pst", hour}}),
      Case("unknown policy reads the copy", 7, 2, 0, 0, {{"File 2024.pst", hour}}),
  };
  auto config = Config();
  auto period = config->Period("File 2024");
  int n = 0;
  for (const auto& c : cases) {
    const std::string folder = "e:\\Backups\\case " + std::to_string(++n);
    MakeFolder(folder);
    config->BackupLocation(folder);
    config->BackupPolicy(c.policy);
    std::vector<fs::path> made;
    for (const auto& copy : c.copies) {
      const bool notes = std::string(copy.path) == "notes.pst";
      made.push_back(PutCopy(folder + "\\" + copy.path, copy.ahead, copy.shorter,
                             notes              ? notesFile
                             : copy.otherPeriod ? otherStore
                                                : fs::path()));
    }
    const Date stored = FileTimeToDate(storeTime);
    period->LastBackup(c.lastBackupHours == 0 ? Date()
                                              : AddSeconds(stored, c.lastBackupHours * 3600.0));
    EXPECT_EQ(period->BackupStatus(), c.status) << c.what;
    const Date located =
        c.newest < 0 ? Date() : FileTimeToDate(fs::last_write_time(made.at(c.newest)));
    EXPECT_EQ(period->LastLocated(), located) << c.what;
  }
  // Whatever the policy, a backup folder that isn't there, or a store that
  // is no store, leaves nothing to say.
  for (int32_t policy : {0, 1, 2}) {
    config->BackupPolicy(policy);
    config->BackupLocation("e:\\Not There");
    EXPECT_EQ(period->BackupStatus(), 0) << policy;
    config->BackupLocation("e:\\Backups\\case 1");
    EXPECT_NE(period->BackupStatus(), 0) << policy;
  }
  config->BackupPolicy(0);
  WriteText(store, "scribbled over");
  EXPECT_EQ(period->BackupStatus(), 0);
}

TEST_F(BackupSideTest, TheBackupFolderIsAvailableOnlyWhenAFileCanBeMadeInIt) {
  auto config = Config();
  WriteText(Native("e:\\A File"), "not a folder");
  MakeFolder("e:\\Writable");
  struct Case {
    const char* location;
    bool available;
  };
  const Case cases[] = {
      {"", false}, {"e:\\Missing", false}, {"e:\\A File", false}, {"e:\\Writable", true}};
  const std::string posix = (root / "posix-backups").string();
  config->BackupLocation(posix);
  EXPECT_FALSE(config->BackupLocationAvailable());
  fs::create_directories(posix);
  EXPECT_TRUE(config->BackupLocationAvailable());
  for (const auto& c : cases) {
    config->BackupLocation(c.location);
    EXPECT_EQ(config->BackupLocationAvailable(), c.available) << c.location;
  }
  // Asking leaves nothing behind, and never makes a folder that wasn't there.
  EXPECT_TRUE(fs::is_empty(Native("e:\\Writable")));
  EXPECT_FALSE(fs::exists(Native("e:\\Missing")));
  if (::geteuid() == 0) GTEST_SKIP() << "root writes into a read-only folder all the same";
  const fs::path readOnly = MakeFolder("e:\\Read Only");
  fs::permissions(readOnly, fs::perms::owner_read | fs::perms::owner_exec);
  config->BackupLocation("e:\\Read Only");
  EXPECT_FALSE(config->BackupLocationAvailable());
  config->BackupPolicy(0);
  EXPECT_EQ(config->Period("File 2024")->BackupStatus(), 0);
  fs::permissions(readOnly, fs::perms::owner_all);
  EXPECT_TRUE(config->BackupLocationAvailable());
}

TEST_F(BackupSideTest, AFinishedRunIsRecordedScheduledAndSavedForRecovery) {
  auto config = Config();
  MakeFolder("e:\\Backups");
  config->BackupLocation("e:\\Backups");
  config->BackupEveryCount(2);
  config->BackupEveryUnits("Day");
  config->CreateAgent("Received Emails")->RemovePeriod(7);
  fs::copy_file(store, Native("e:\\Backups\\File 2024.pst"));
  // A first configuration's first backup is due at once; a later one keeps its time.
  engine->Configured(false);
  config->NextBackup(Date());
  engine->Configured(true);
  EXPECT_EQ(config->NextBackup(), clock.Now());
  const Date first = clock.Now();
  engine->BackupFinished();
  EXPECT_EQ(config->LastBackup(), first);
  EXPECT_EQ(config->NextBackup(), AddSeconds(first, 2 * 86400.0));
  engine->Configured(false);
  engine->Configured(true);
  EXPECT_EQ(config->NextBackup(), AddSeconds(first, 2 * 86400.0));
  clock.AdvanceSeconds(2 * 86400.0 - 1);
  EXPECT_FALSE(config->BackupDue());
  clock.AdvanceSeconds(1);
  EXPECT_TRUE(config->BackupDue());
  // A second run, after another agent came.
  config->CreateAgent("Sent Emails");
  config->BackupEveryUnits("Hour");
  const Date second = clock.Now();
  engine->BackupFinished();
  EXPECT_EQ(config->NextBackup(), AddSeconds(second, 2 * 3600.0));
  // With the backup folder gone the run is still recorded; the log says why no copy was saved.
  config->BackupLocation("e:\\Gone");
  engine->BackupFinished();
  EXPECT_EQ(config->LastBackup(), clock.Now());
  servers::WriteBehind::Shared().WaitAll();  // the copies are written behind
  EXPECT_EQ(log->records.back().message,
            "The backup folder \"e:\\Gone\" can't be reached, so no copy of the configuration "
            "was saved");
  // Each run left its own copy with its own time and content; no other file reads as one.
  EngineServerConnector connector(engine, paths);
  std::vector<Ref<ConfigFileInfo>> saved;
  for (const auto& entry : fs::directory_iterator(Native("e:\\Backups"))) {
    auto info = connector.NewConfigFileInfo();
    if (info->Load("e:\\Backups\\" + entry.path().filename().string())) saved.push_back(info);
  }
  ASSERT_EQ(saved.size(), 2u);
  EXPECT_FALSE(connector.NewConfigFileInfo()->Load(engineFile.string()));
  if (saved[0]->SavedTime() > saved[1]->SavedTime()) std::swap(saved[0], saved[1]);
  EXPECT_EQ(saved[0]->SavedTime(), first);
  EXPECT_EQ(saved[1]->SavedTime(), second);
  EXPECT_EQ(saved[0]->Description(), "15 May 2024 10:30 - 1 agent, 1 period store");
  EXPECT_EQ(saved[1]->Description(), "17 May 2024 10:30 - 2 agents, 1 period store");
  // The store is lost and a new quick setup starts; recovery takes the file it is
  // given, not the newest, and brings back the settings, the schedule and the store.
  engine->Configured(false);
  config->ResetConfig();
  fs::remove_all(Native("c:\\Orvane Vellix Store"));
  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", "File 2024.pst"));
  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", "nothing.xml"));
  ASSERT_TRUE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", saved[0]->FileName()));
  EXPECT_FALSE(engine->Configured());  // until the panel declares it finished
  config = Config();
  EXPECT_EQ(config->Agents().Count(), 1);
  EXPECT_EQ(config->Agent("Received Emails")->RemovePeriod(), 7);
  EXPECT_EQ(config->LastBackup(), first);
  EXPECT_EQ(config->NextBackup(), AddSeconds(first, 2 * 86400.0));
  EXPECT_EQ(config->BackupEveryUnits(), "Day");
  EXPECT_EQ(config->StoreLocation(), "d:\\New Store");
  EXPECT_EQ(config->BackupLocation(), "e:\\Backups");
  auto period = config->Period("File 2024");
  ASSERT_FALSE(period.IsNothing());
  EXPECT_EQ(period->FileName(), "d:\\New Store\\File 2024.pst");
  EXPECT_EQ(period->Valid(), -1);
}

TEST_F(BackupSideTest, AStoreFoundInTheStoreFolderIsAttachedByItsHeader) {
  auto config = Config();
  // Named as no period would be: the header tells the period.
  MakeStoreWithItems(Native("c:\\Orvane Vellix Store\\Restored.pst"), "File 2019");
  std::string error;
  ASSERT_TRUE(CreateStoreFile(Native("c:\\Orvane Vellix Store\\Twin.pst"), "File 2024",
                              DateSerial(2024, 1, 1), DateSerial(2025, 1, 1), &error));
  WriteText(Native("c:\\Orvane Vellix Store\\Notes.pst"), "not a store");
  WriteText(Native("c:\\Orvane Vellix Store\\Old.pst.bak"), "");
  struct Case {
    const char* file;
    bool attached;
  };
  const Case cases[] = {{"Notes.pst", false},
                        {"Old.pst.bak", false},
                        {"Missing.pst", false},
                        {"..\\Restored.pst", false},
                        {"c:\\Orvane Vellix Store\\Restored.pst", false},
                        {"restored.PST", true},
                        {"Restored.pst", false},
                        {"File 2024.pst", false},
                        {"Twin.pst", true}};
  for (const auto& c : cases)
    EXPECT_EQ(config->AttachPeriod(c.file), c.attached) << c.file;
  auto restored = config->Period("File 2019");
  ASSERT_FALSE(restored.IsNothing());
  EXPECT_EQ(restored->FileName(), "c:\\Orvane Vellix Store\\Restored.pst");
  EXPECT_EQ(restored->Valid(), -1);
  // The twin's header names a period there is already: it gets a name of its own.
  EXPECT_FALSE(config->Period("File 2024 (2)").IsNothing());
  EXPECT_EQ(config->Periods().Count(), 3);
  const std::string refused =
      "c:\\Orvane Vellix Store\\Notes.pst is not a period store and can't be attached";
  EXPECT_TRUE(std::any_of(log->records.begin(), log->records.end(),
                          [&](const auto& r) { return r.message == refused; }));
  // The attached period lasts: it is in the engine's file.
  Restart();
  EXPECT_EQ(Config()->Period("File 2019")->FileName(), "c:\\Orvane Vellix Store\\Restored.pst");
}

TEST_F(BackupSideTest, TheMailProfileHoldsTheStoresItShowsUntilItQuits) {
  auto profile = std::make_shared<outlook::MailProfile>();
  profile->AddStore("Mailbox");
  outlook::ProfileMailProgram mail(profile);
  engine->ShowStoresIn([profile] { return profile; });
  auto config = Config();
  auto current = config->Period("File 2024");
  // The profile is read when first needed: the store made before then
  // shows, held open.
  EXPECT_EQ(profile->Stores().size(), 1u);
  EXPECT_EQ(current->Free(), 0);
  ASSERT_EQ(profile->Stores().size(), 2u);
  EXPECT_EQ(profile->Stores()[1]->Name(), "File 2024");
  EXPECT_EQ(current->Valid(), -1);
  EXPECT_EQ(OpenHandles(store), 1);
  // An attached store shows under its period's name with the filed items below.
  const fs::path restoredFile = Native("c:\\Orvane Vellix Store\\Restored.pst");
  MakeStoreWithItems(restoredFile, "File 2019");
  ASSERT_TRUE(config->AttachPeriod("Restored.pst"));
  auto restored = profile->FindFolder("\\\\File 2019");
  ASSERT_TRUE(restored);
  EXPECT_EQ(restored->StoreFile(), restoredFile.string());
  auto inbox = profile->FindFolder("\\\\File 2019\\Inbox");
  ASSERT_TRUE(inbox);
  ASSERT_EQ(inbox->Items().size(), 1u);
  EXPECT_EQ(inbox->Items()[0].subject, "Budget");
  EXPECT_EQ(inbox->Items()[0].sender, "Ann <ann@x>");
  EXPECT_EQ(inbox->Items()[0].key, "a@x");
  EXPECT_EQ(profile->FindFolder("\\\\File 2019\\Inbox\\Projects")->Items()[0].subject, "Plans");
  EXPECT_EQ(profile->FindFolder("\\\\File 2019\\Calendar")->DefaultItemType(), 1);
  EXPECT_EQ(config->Period("File 2019")->Free(), 0);
  // Quit lets go of every store: the files are closed and leave the profile.
  mail.CreateApplication()->Quit();
  EXPECT_EQ(profile->Stores().size(), 1u);
  EXPECT_EQ(OpenHandles(store), 0);
  EXPECT_EQ(OpenHandles(restoredFile), 0);
  for (const char* name : {"File 2024", "File 2019"}) {
    auto period = config->Period(name);
    EXPECT_EQ(period->Free(), -1) << name;
    EXPECT_EQ(period->Valid(), -1) << name;
  }
  // The mail program started again opens them again.
  ASSERT_FALSE(mail.CreateApplication().IsNothing());
  EXPECT_EQ(current->Free(), 0);
  EXPECT_EQ(profile->Stores().size(), 3u);
  // A store file gone bad can't be opened: not held, and not valid.
  mail.CreateApplication()->Quit();
  WriteText(restoredFile, "scribbled over");
  mail.CreateApplication();
  auto bad = config->Period("File 2019");
  EXPECT_EQ(bad->Free(), -1);
  EXPECT_EQ(bad->Valid(), 0);
  EXPECT_FALSE(profile->FindFolder("\\\\File 2019"));
  // A period whose name the user's own store has can't show; the engine logs it.
  profile->AddStore("File 2025");
  engine->Running(false);
  clock.Set(DateSerial(2025, 2, 1));
  engine->Running(true);
  EXPECT_EQ(config->Period("File 2025")->Free(), -1);
  EXPECT_NE(log->records.back().message.find("can't be shown in the mail profile"),
            std::string::npos);
  // A configuration reset takes its stores off the profile.
  engine->Configured(false);
  config->ResetConfig();
  EXPECT_EQ(profile->Stores().size(), 2u);
  EXPECT_EQ(OpenHandles(store), 0);
}

TEST_F(BackupSideTest, AStoreMadeOnAnotherThreadShowsOnlyWhenTheProfilesThreadRunsTheTask) {
  auto profile = std::make_shared<outlook::MailProfile>();
  std::vector<std::function<void()>> posted;
  std::mutex postedMutex;
  engine->ShowStoresIn([profile] { return profile; },
                       [&](std::function<void()> fn) {
                         const std::lock_guard lock(postedMutex);
                         posted.push_back(std::move(fn));
                       });
  auto config = Config();
  EXPECT_EQ(config->Period("File 2024")->Free(), 0);
  ASSERT_EQ(profile->Stores().size(), 1u);
  // A pass files into a new period from its worker: the profile is not
  // touched there, and a question from there is answered "not held".
  const fs::path restoredFile = Native("c:\\Orvane Vellix Store\\Restored.pst");
  MakeStoreWithItems(restoredFile, "File 2019");
  int32_t freeSeenByWorker = 0;
  std::thread worker([&] {
    auto workerConfig = Config();
    ASSERT_TRUE(workerConfig->AttachPeriod("Restored.pst"));
    freeSeenByWorker = workerConfig->Period("File 2019")->Free();
  });
  worker.join();
  EXPECT_EQ(freeSeenByWorker, -1);
  EXPECT_EQ(profile->Stores().size(), 1u);
  ASSERT_EQ(posted.size(), 1u);
  posted[0]();
  ASSERT_EQ(profile->Stores().size(), 2u);
  EXPECT_EQ(profile->Stores()[1]->Name(), "File 2019");
  EXPECT_EQ(config->Period("File 2019")->Free(), 0);
  // Tasks still queued when the engine is gone do nothing.
  engine->Configured(false);
  std::thread([&] { Config()->ResetConfig(); }).join();
  ASSERT_EQ(posted.size(), 3u);
  config = nullptr;
  engine.reset();
  posted[1]();
  posted[2]();
  EXPECT_EQ(profile->Stores().size(), 2u);
}

}  // namespace
}  // namespace vellix::engine::test
