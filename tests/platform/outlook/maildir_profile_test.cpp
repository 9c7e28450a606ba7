#include "platform/outlook/maildir_profile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>

#include "foundation/context.h"
#include "foundation/date.h"
#include "foundation/utils.h"
#include "platform/outlook/profile_mail_program.h"
#include "support/manual_clock.h"
#include "support/temp_folder.h"

namespace vellix::outlook {
namespace {

namespace fs = std::filesystem;
using vellix::test::WriteText;

std::string Message(const std::string& subject, const std::string& date = {}) {
  std::string text = "From: Ann <ann@example.org>\nTo: bob@example.org\nSubject: " + subject + "\n";
  if (!date.empty()) text += "Date: " + date + "\n";
  return text + "\nHello.\n";
}

// The machine's zone fixed for the test (five hours behind UTC, no summer
// time), so that zone conversion shows.
class MaildirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* tz = std::getenv("TZ")) savedTz_ = tz;
    setenv("TZ", "EST5", 1);
    tzset();
  }
  void TearDown() override {
    savedTz_ ? setenv("TZ", savedTz_->c_str(), 1) : unsetenv("TZ");
    tzset();
  }

  fs::path Put(const std::string& relative, const std::string& text) {
    const fs::path file = tree / relative;
    WriteText(file, text);
    return file;
  }
  void MakeMaildir(const fs::path& dir) {
    for (const char* sub : {"cur", "new", "tmp"})
      fs::create_directories(dir / sub);
  }

  vellix::test::TempFolder scratch;
  fs::path tree = scratch / "Mail";

 private:
  std::optional<std::string> savedTz_;
};

TEST_F(MaildirTest, TreeBecomesOneStoreWithEveryDefaultFolderAndTheDotHierarchy) {
  MakeMaildir(tree);
  Put("new/1000.a.host", Message("new one", "6 May 2024 09:00:00 -0000"));
  Put("cur/0999.b.host:2,S", Message("seen one", "Sun, 5 May 2024 08:00:00 -0000"));
  for (const char* folder : {".Sent", ".Sent Items", ".Drafts", ".Trash", ".Work.Projects",
                             ".Archive", ".Archive.2019", ".INBOX.Lists", ".&AMQ-rger"})
    MakeMaildir(tree / folder);
  Put(".Sent/cur/2000.c.host:2,S", Message("sent one"));
  Put(".Sent Items/cur/2001.c.host:2,S", Message("other sent"));
  Put(".Work.Projects/new/3000.d.host",
      Message("=?UTF-8?Q?Gr=C3=BC=C3=9Fe?= aus =?ISO-8859-1?B?S/Zsbg==?="));
  Put(".Archive.2019/cur/4000.e.host:2,", Message("old"));
  MakeMaildir(tree / ".Archive.2019" / "Nested");  // a maildir inside a Maildir++ folder
  Put(".Archive.2019/Nested/new/5000.f.host", Message("nested"));
  fs::create_directories(tree / ".notmuch" / "xapian");  // not mail: passed over quietly

  ProfileMailProgram program{tree};
  auto app = program.CreateApplication();
  ASSERT_FALSE(app.IsNothing()) << program.LastProblem();
  auto ns = app->GetNamespace("MAPI");
  MailProfile& profile = *program.Profile();
  EXPECT_TRUE(profile.ReadOnly());

  const struct {
    const char* path;
    int32_t kind;  // 0: not a default folder
    int32_t itemType;
    std::vector<std::string> subjects;
  } expected[] = {{"\\\\Mail\\Inbox", 6, 0, {"seen one", "new one"}},
                  {"\\\\Mail\\Inbox\\Lists", 0, 0, {}},
                  {"\\\\Mail\\Sent", 5, 0, {"sent one"}},
                  {"\\\\Mail\\Sent Items", 0, 0, {"other sent"}},
                  {"\\\\Mail\\Drafts", 16, 0, {}},
                  {"\\\\Mail\\Trash", 3, 0, {}},
                  {"\\\\Mail\\Work", 0, 0, {}},
                  {"\\\\Mail\\Work\\Projects", 0, 0, {"Grüße aus Köln"}},
                  {"\\\\Mail\\Archive\\2019", 0, 0, {"old"}},
                  {"\\\\Mail\\Archive\\2019\\Nested", 0, 0, {"nested"}},
                  {"\\\\Mail\\Ärger", 0, 0, {}},
                  {"\\\\Mail\\Calendar", 9, 1, {}},
                  {"\\\\Mail\\Contacts", 10, 2, {}},
                  {"\\\\Mail\\Tasks", 13, 3, {}},
                  {"\\\\Mail\\Notes", 12, 5, {}},
                  {"\\\\Mail\\Journal", 11, 4, {}}};
  ManualClock clock;
  const Services services{.clock = clock};
  Context ctx(services);
  Utils utils(ctx);
  for (const auto& e : expected) {
    SCOPED_TRACE(e.path);
    auto folder = profile.FindFolder(e.path);
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->FolderPath(), e.path);
    EXPECT_EQ(folder->DefaultItemType(), e.itemType);
    // The path the folder dialog and the folder survey give leads back to it.
    EXPECT_EQ(utils.GetFolder(ns, folder->FullFolderPath()), Ref<MAPIFolder>(folder));
    if (e.kind != 0) {
      EXPECT_EQ(ns->GetDefaultFolder(e.kind), Ref<MAPIFolder>(folder));
    }
    std::vector<std::string> subjects;
    for (const auto& item : folder->Items())
      subjects.push_back(item.subject);
    EXPECT_EQ(subjects, e.subjects);
  }
  EXPECT_EQ(profile.Stores().size(), 1U);
  EXPECT_EQ(profile.FolderCount(), static_cast<int32_t>(std::size(expected)) + 1);  // + Archive
  EXPECT_EQ(profile.ItemCount(), 7);
  EXPECT_EQ(profile.TakeProblems(), std::vector<std::string>{});
}

TEST_F(MaildirTest, ItemsAreKeyedByTheUniqueNameAndDatedByTheHeaderElseTheFileTime) {
  MakeMaildir(tree);
  MakeMaildir(tree / ".Sent");
  const fs::path undated = Put("new/100.x.host", Message("undated"));
  const fs::path badDate = Put("new/101.x.host", Message("bad date", "sometime soon"));
  Put("cur/102.x.host:2,RS", Message("zoned", "Fri, 13 Nov 2026 14:47:02 +0100 (CET)"));
  // A copy of an Inbox message in another folder keeps a key of its own.
  Put(".Sent/cur/102.x.host:2,S", Message("copy", "13 Nov 2026 14:47 -0000"));
  // 1 March 2020 12:00 UTC is 07:00 in the test's zone.
  const std::chrono::sys_seconds noon =
      std::chrono::sys_days(std::chrono::year(2020) / 3 / 1) + std::chrono::hours(12);
  for (const auto& file : {undated, badDate})
    fs::last_write_time(file, std::chrono::file_clock::from_sys(noon));

  auto load = LoadMaildir(tree);
  ASSERT_TRUE(load.profile) << load.problem;
  std::map<std::string, std::pair<std::string, Date>> items;  // subject: key, date
  for (const auto& path : {"\\\\Mail\\Inbox", "\\\\Mail\\Sent"})
    for (const auto& item : load.profile->FindFolder(path)->Items())
      items[item.subject] = {item.key, item.received};
  using Entry = std::pair<std::string, Date>;
  EXPECT_EQ(items["undated"], Entry("100.x.host", DateTimeSerial(2020, 3, 1, 7, 0, 0)));
  EXPECT_EQ(items["bad date"], Entry("101.x.host", DateTimeSerial(2020, 3, 1, 7, 0, 0)));
  EXPECT_EQ(items["zoned"], Entry("102.x.host", DateTimeSerial(2026, 11, 13, 8, 47, 2)));
  EXPECT_EQ(items["copy"], Entry(".Sent/102.x.host", DateTimeSerial(2026, 11, 13, 14, 47, 0)));

  // A mail reader moving a message to cur/ and flagging it changes no key.
  fs::rename(undated, tree / "cur" / "100.x.host:2,FS");
  auto again = LoadMaildir(tree);
  ASSERT_TRUE(again.profile);
  std::vector<std::string> keys;
  for (const auto& item : again.profile->FindFolder("\\\\Mail\\Inbox")->Items())
    keys.push_back(item.key);
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, (std::vector<std::string>{"100.x.host", "101.x.host", "102.x.host"}));
}

TEST_F(MaildirTest, DatesHeaderWordsAndNamesAreReadAsMailWritesThem) {
  const struct {
    const char* text;
    std::optional<Date> date;
  } dates[] = {
      {"Fri, 13 Nov 2026 14:47:02 -0000", DateTimeSerial(2026, 11, 13, 14, 47, 2)},
      {"13 Nov 2026 14:47 +0000", DateTimeSerial(2026, 11, 13, 9, 47, 0)},
      {"Mon, 1 Jan 2024 03:00:00 +0200", DateTimeSerial(2023, 12, 31, 20, 0, 0)},
      {"Tue, 2 Jan 2024 10:00:00 PST", DateTimeSerial(2024, 1, 2, 13, 0, 0)},
      {"2 Jan 99 10:00:00 GMT", DateTimeSerial(1999, 1, 2, 5, 0, 0)},
      {"Wed,  3 (a comment) Jan 2024 10:00:00 +0000 (UTC)", DateTimeSerial(2024, 1, 3, 5, 0, 0)},
      {"3 Jan 2024 10:00:00 XYZ",
       DateTimeSerial(2024, 1, 3, 10, 0, 0)},  // zone unknown: as written
      {"31 Feb 2024 10:00:00 +0000", std::nullopt},
      {"3 Jan 2024 25:00:00 +0000", std::nullopt},
      {"3 Janvier", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& d : dates)
    EXPECT_EQ(ParseMessageDate(d.text), d.date) << d.text;

  const std::pair<const char*, const char*> words[] = {
      {"plain", "plain"},
      {"=?utf-8?b?R3LDvMOfZQ==?=", "Grüße"},
      {"=?UTF-8?Q?a_b?= =?UTF-8?Q?c?=", "a bc"},  // blanks between words go
      {"x =?ISO-8859-1?Q?=E9t=E9?= y", "x été y"},
      {"=?KOI8-R?B?8NLJ18XU?=", "=?KOI8-R?B?8NLJ18XU?="},  // a charset not read stays
      {"=?UTF-8?Q?broken", "=?UTF-8?Q?broken"},
  };
  for (const auto& [in, out] : words)
    EXPECT_EQ(DecodeHeaderWords(in), out) << in;

  const std::pair<const char*, const char*> names[] = {
      {"Entw&APw-rfe", "Entwürfe"}, {"R&-D", "R&D"}, {"&ZeVnLIqe-", "日本語"}, {"R&D", "R&D"}};
  for (const auto& [in, out] : names)
    EXPECT_EQ(DecodeMailboxName(in), out) << in;

  EXPECT_EQ(MaildirUniqueName("1700000000.M1P2.host:2,RS"), "1700000000.M1P2.host");
  EXPECT_EQ(MaildirUniqueName("1700000000.M1P2.host!2,S"), "1700000000.M1P2.host");
  EXPECT_EQ(MaildirUniqueName("1700000000.M1P2.host"), "1700000000.M1P2.host");
}

TEST_F(MaildirTest, ABrokenTreeIsRefusedWithItsNameAndABadMessageIsLeftOutAndSaid) {
  const struct {
    const char* name;
    std::function<void(const fs::path&)> make;
    const char* says;
  } broken[] = {
      {"missing", [](const fs::path&) {}, "there is no such folder"},
      {"plain folder", [](const fs::path& p) { fs::create_directories(p / "cur"); },
       "it is not a Maildir"},
  };
  for (const auto& b : broken) {
    SCOPED_TRACE(b.name);
    const fs::path dir = scratch / b.name;
    b.make(dir);
    EXPECT_NE(MaildirProblem(dir).find(b.says), std::string::npos) << MaildirProblem(dir);
    if (fs::exists(dir)) {
      const auto load = LoadProfileAt(dir);
      EXPECT_FALSE(load.profile);
      EXPECT_NE(load.problem.find("\"" + dir.string() + "\""), std::string::npos) << load.problem;
    }
  }

  MakeMaildir(tree);
  Put("cur/1.ok.host:2,S", Message("fine"));
  Put("cur/2.empty.host:2,S", "");
  fs::create_symlink(scratch / "gone", tree / "new" / "3.link.host");
  fs::create_directories(tree / ".Half" / "new");  // a folder without cur/
  EXPECT_EQ(MaildirProblem(tree), "");
  auto load = LoadProfileAt(tree);
  ASSERT_TRUE(load.profile) << load.problem;
  EXPECT_EQ(load.profile->ItemCount(), 1);
  const auto problems = load.profile->TakeProblems();
  ASSERT_EQ(problems.size(), 3U);
  for (const char* named : {".Half", "2.empty.host", "3.link.host"})
    EXPECT_EQ(std::count_if(problems.begin(), problems.end(),
                            [&](const std::string& p) { return p.find(named) != p.npos; }),
              1)
        << named;
  EXPECT_TRUE(load.profile->TakeProblems().empty()) << "each is said once";
}

}  // namespace
}  // namespace vellix::outlook
