#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "platform/outlook/maildir_profile.h"
#include "processing_fixture.h"

namespace vellix::engine::test {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// Every file and folder of a tree with what it holds, its time and its
// permissions: two snapshots are equal only when nothing in it changed.
using Snapshot = std::map<std::string, std::tuple<std::string, fs::file_time_type, fs::perms>>;

Snapshot Take(const fs::path& tree) {
  Snapshot shot;
  for (const auto& entry : fs::recursive_directory_iterator(tree)) {
    const auto& path = entry.path();
    shot[path.lexically_relative(tree).generic_string()] = {
        entry.is_regular_file() ? ReadText(path) : std::string("<dir>"), fs::last_write_time(path),
        fs::status(path).permissions()};
  }
  return shot;
}

void SetWritable(const fs::path& tree, bool writable) {
  constexpr auto kWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  const auto how = writable ? fs::perm_options::add : fs::perm_options::remove;
  std::vector<fs::path> all{tree};
  for (const auto& entry : fs::recursive_directory_iterator(tree))
    all.push_back(entry.path());
  for (const auto& path : all)
    fs::permissions(path, kWrite, how);
}

// A Maildir tree: an Inbox with a message in new/ and one in cur/, a sent message, one in a
// Maildir++ sub-folder without a Date header, and an empty file.
class MaildirProcessing : public ProcessingTest {
 protected:
  MaildirProcessing() {
    for (const char* dir : {"", ".Sent", ".Work.Projects"}) {
      for (const char* sub : {"cur", "new", "tmp"})
        fs::create_directories(tree / dir / sub);
    }
    Put("new/1000.a.host", "new one", "Mon, 6 May 2024 09:00:00 -0000");
    Put("cur/0999.b.host:2,S", "seen one", "Thu, 2 May 2024 08:00:00 -0000");
    Put(".Sent/cur/2000.c.host:2,S", "sent one", "Wed, 10 Apr 2024 16:00:00 -0000");
    Put(".Work.Projects/new/3000.d.host", "project", "");
    fs::last_write_time(tree / ".Work.Projects/new/3000.d.host",
                        std::chrono::file_clock::from_sys(std::chrono::sys_seconds(
                            std::chrono::sys_days(std::chrono::year(2024) / 4 / 20))));
    WriteText(tree / "cur" / "5.bad.host:2,S", "");
  }
  ~MaildirProcessing() override {
    engine.reset();
    SetWritable(tree, true);
  }
  void Put(const std::string& file, const std::string& subject, const std::string& date) {
    std::string text = "From: ann@example.org\nSubject: " + subject + "\n";
    if (!date.empty()) text += "Date: " + date + "\n";
    WriteText(tree / file, text + "\nHello.\n");
  }
  [[nodiscard]] Strings Sorted(Strings s) const {
    std::sort(s.begin(), s.end());
    return s;
  }
  [[nodiscard]] int Says(const std::string& words) const {
    const auto messages = log->Messages();
    return static_cast<int>(std::count_if(messages.begin(), messages.end(), [&](const auto& m) {
      return m.find(words) != std::string::npos;
    }));
  }
  fs::path tree = root / "Mail";
};

TEST_F(MaildirProcessing, FilesTheTreeIntoStoresAndAPurgeLogsWhatItWouldTakeAndChangesNothing) {
  SetWritable(tree, false);
  const Snapshot before = Take(tree);
  auto load = outlook::LoadProfileAt(tree);
  ASSERT_TRUE(load.profile) << load.problem;
  profile = load.profile;
  Configure();
  auto agent = engine->Config()->CreateAgent("Mail");
  for (const char* folder : {"\\\\Mail\\Inbox", "\\\\Mail\\Sent", "\\\\Mail\\Work"})
    EXPECT_TRUE(agent->AddFolder(folder)) << folder;
  agent->SubFolders(true);
  agent->RemovePeriod(1);
  agent->PurgeNotify(1);
  Start();
  EXPECT_EQ(Sorted(StoreSubjects("File 2024-05")), (Strings{"new one", "seen one"}));
  EXPECT_EQ(Sorted(StoreSubjects("File 2024-04")), (Strings{"project", "sent one"}));
  EXPECT_EQ(Says("5.bad.host"), 1) << "the empty message is said once";
  // Two days on the copies are due for purging: each is logged and stays.
  clock.AdvanceSeconds(2 * 86400);
  FileNow();
  EXPECT_EQ(Says("Not purged, the mail profile is read-only"), 4);
  EXPECT_EQ(Says("\"project\" in \\\\Mail\\Work\\Projects"), 1);
  EXPECT_EQ(profile->ItemCount(), 4);
  EXPECT_EQ(engine->Config()->Agent("Mail")->ItemsToPurge(), 4);
  EXPECT_TRUE(engine->Config()->Agent("Mail")->LastPurge().IsZero());
  // Read afresh (a restart), the tree's items are known as filed.
  profile = outlook::LoadProfileAt(tree).profile;
  ASSERT_TRUE(profile);
  EXPECT_EQ(engine->ForecastItemCount(), 0);
  FileNow();
  EXPECT_EQ(engine->Config()->Period("File 2024-05")->ItemCount(), 2);
  EXPECT_EQ(engine->Config()->Period("File 2024-04")->ItemCount(), 2);
  EXPECT_EQ(engine->Config()->Agent("Mail")->ItemCount(), 4);
  engine.reset();
  EXPECT_EQ(Take(tree), before);
}

}  // namespace
}  // namespace vellix::engine::test
