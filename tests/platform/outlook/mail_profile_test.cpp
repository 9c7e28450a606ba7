#include "platform/outlook/mail_profile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <stdexcept>
#include <vector>

#include "foundation/date.h"
#include "platform/outlook/mail_outbox.h"
#include "platform/outlook/profile_application.h"
#include "platform/outlook/profile_mail_program.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::outlook {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using vellix::test::ErrorNumber;

TEST(DemoProfile, HasEveryDefaultFolderAndTakesPeriodStoresAddedWhileRunning) {
  ProfileMailProgram program{fs::path(VELLIX_SOURCE_DIR "/resources/profiles/demo.xml")};
  auto app = program.CreateApplication();
  ASSERT_FALSE(app.IsNothing()) << program.LastProblem();
  auto ns = app->GetNamespace("MAPI");
  const struct {
    int32_t kind;
    const char* name;
    int32_t itemType;
  } expected[] = {{6, "Inbox", 0},   {5, "Sent Items", 0}, {3, "Deleted Items", 0},
                  {16, "Drafts", 0}, {9, "Calendar", 1},   {10, "Contacts", 2},
                  {13, "Tasks", 3},  {12, "Notes", 5},     {11, "Journal", 4}};
  for (const auto& e : expected) {
    auto folder = ns->GetDefaultFolder(e.kind);
    EXPECT_EQ(folder->FolderPath(), std::string("\\\\Mailbox - Alex Morgan\\") + e.name);
    EXPECT_EQ(folder->FullFolderPath(), folder->FolderPath());
    EXPECT_EQ(folder->DefaultItemType(), e.itemType) << e.name;
    EXPECT_FALSE(program.Profile()->DefaultFolder(e.kind)->Items().empty()) << e.name;
  }
  // A kind the profile has no folder for fails as the mail program does: a
  // negative number, which the procedure frame ends on silently.
  EXPECT_VB_ERROR(ns->GetDefaultFolder(4), kOutlookOperationFailed);  // no outbox in the demo
  EXPECT_TRUE(program.CreateApplication()->GetNamespace("Other").IsNothing());

  // A store added while running shows in lists already taken, and to a later
  // application.
  auto stores = ns->Folders();
  ASSERT_EQ(stores->Count(), 1);
  auto period = program.Profile()->AddStore("File 2025", "C:\\Store\\File 2025.pst");
  period->AddFolder("Inbox", 0);
  EXPECT_EQ(stores->Count(), 2);
  EXPECT_EQ(stores->Item(2)->FolderPath(), "\\\\File 2025");
  EXPECT_EQ(stores->Item("file 2025")->Folders()->Item("Inbox")->FolderPath(),
            "\\\\File 2025\\Inbox");
  EXPECT_EQ(period->StoreFile(), "C:\\Store\\File 2025.pst");
  EXPECT_THROW(program.Profile()->AddStore("FILE 2025"), VbError);
  EXPECT_EQ(program.CreateApplication()->GetNamespace("MAPI")->Folders()->Count(), 2);

  // PickFolder asks the desktop's chooser with its own name space; without
  // one there is no window to show: nothing, as a cancel.
  EXPECT_TRUE(ns->PickFolder().IsNothing());
  std::vector<NameSpace*> asked;
  program.ChooseFoldersWith([&asked](NameSpace& nameSpace) {
    asked.push_back(&nameSpace);
    return asked.size() == 1 ? nameSpace.GetDefaultFolder(9) : nullptr;
  });
  auto picking = program.CreateApplication()->GetNamespace("MAPI");
  const auto chosen = picking->PickFolder();
  ASSERT_FALSE(chosen.IsNothing());
  EXPECT_EQ(chosen->FullFolderPath(), "\\\\Mailbox - Alex Morgan\\Calendar");
  EXPECT_TRUE(picking->PickFolder().IsNothing());
  EXPECT_EQ(asked, (std::vector<NameSpace*>{&*picking, &*picking}));
}

TEST(MailProfile, FoldersAreFoundByNameWithoutCaseAndListedInOrder) {
  auto profile = std::make_shared<MailProfile>();
  auto store = profile->AddStore("Mailbox - Alex Morgan");
  auto inbox = store->AddFolder("Inbox", 0);
  inbox->AddFolder("Clients", 0)->AddFolder("Northwind", 0);
  inbox->AddFolder("Receipts", 0);
  store->AddFolder("Calendar", 1);

  auto ns = ProfileApplication(profile).GetNamespace("mapi");
  auto folders = ns->Folders()->Item("mailbox - alex morgan")->Folders();
  ASSERT_EQ(folders->Count(), 2);
  EXPECT_EQ(folders->Item(1)->Name() + "," + folders->Item(2)->Name(), "Inbox,Calendar");
  auto sub = folders->Item("INBOX")->Folders()->Item("clients")->Folders()->Item(1);
  EXPECT_EQ(sub->FolderPath(), "\\\\Mailbox - Alex Morgan\\Inbox\\Clients\\Northwind");
  for (auto bad : {0, 3, -1})
    EXPECT_THROW(folders->Item(bad), VbError) << bad;
  EXPECT_VB_ERROR(folders->Item("Outbox"), kOutlookNotFound);

  // The mail program refuses a second folder of one name and names it can't hold.
  for (const char* bad : {"RECEIPTS", "a\\b", ""})
    EXPECT_THROW(inbox->AddFolder(bad, 0), VbError) << bad;
  EXPECT_EQ(profile->FindFolder("\\\\mailbox - alex morgan\\inbox\\clients")->Name(), "Clients");
  EXPECT_EQ(profile->FindFolder("\\\\Mailbox - Alex Morgan\\Inbox\\Missing"), nullptr);

  // A folder kept after its profile is gone fails instead of crashing.
  Ref<MAPIFolder> kept = sub;
  sub = Ref<MAPIFolder>();
  folders = Ref<OutlookFolders>();
  ns = Ref<NameSpace>();
  store.reset();
  inbox.reset();
  profile.reset();
  EXPECT_EQ(kept->Name(), "Northwind");
  EXPECT_THROW(kept->FolderPath(), VbError);
}

// Opens the files it was told of, each with one folder, and counts what it holds.
class CountingReader : public StoreFileReader {
 public:
  std::shared_ptr<void> Open(const fs::path& file, ProfileFolder& top, std::string* why) override {
    if (!readable.contains(file.string())) {
      *why = "no store: " + file.string();
      return nullptr;
    }
    top.AddFolder("Inbox", 0);
    ++held;
    return {&held, [](int* n) { --*n; }};
  }
  std::map<std::string, bool> readable;
  int held = 0;
};

TEST(ProfileStoreFiles, AStoreFileIsHeldWhileTheMailProgramRunsAndLetGoWhenItQuits) {
  auto profile = std::make_shared<MailProfile>();
  profile->AddStore("Mailbox");
  auto reader = std::make_shared<CountingReader>();
  reader->readable = {{"/s/File 2023.pst", true}, {"/s/File 2024.pst", true}};
  std::string why;
  // Without a reader nothing can be opened, and nothing is listed.
  EXPECT_FALSE(profile->ListStoreFile("File 2024", "/s/File 2024.pst", &why));
  EXPECT_EQ(why, "There is nothing to open the store file /s/File 2024.pst with.");
  profile->ReadStoreFilesWith(reader);
  const struct {
    const char* name;
    const char* file;
    bool listed;
    const char* why;
  } cases[] = {
      {"File 2024", "/s/File 2024.pst", true, ""},
      {"File 2024", "/s/../s/File 2024.pst", true, ""},  // the same file: listed once
      {"mailbox", "/s/File 2023.pst", false, "A store named \"mailbox\" is open already."},
      {"Bad\\Name", "/s/File 2023.pst", false, "The folder name \"Bad\\Name\" holds a backslash."},
      {"Notes", "/s/Notes.pst", false, "no store: /s/Notes.pst"},
  };
  for (const auto& c : cases) {
    why.clear();
    EXPECT_EQ(profile->ListStoreFile(c.name, c.file, &why), c.listed) << c.name;
    EXPECT_EQ(why, c.why) << c.name;
  }
  EXPECT_EQ(reader->held, 1);
  EXPECT_TRUE(profile->HoldsStoreFile("/s/./File 2024.pst"));
  EXPECT_TRUE(profile->FindFolder("\\\\File 2024\\Inbox"));

  ProfileMailProgram mail(profile);
  mail.CreateApplication()->Quit();
  EXPECT_EQ(reader->held, 0);
  EXPECT_FALSE(profile->HoldsStoreFile("/s/File 2024.pst"));
  EXPECT_EQ(profile->Stores().size(), 1u);
  // Listed while the mail program is closed: opened when it starts, once.
  EXPECT_TRUE(profile->ListStoreFile("File 2023", "/s/File 2023.pst", &why));
  EXPECT_EQ(reader->held, 0);
  mail.CreateApplication();
  mail.CreateApplication();
  EXPECT_EQ(reader->held, 2);
  EXPECT_TRUE(profile->HoldsStoreFile("/s/File 2023.pst"));

  profile->UnlistStoreFile("/s/File 2024.pst");
  EXPECT_EQ(reader->held, 1);
  EXPECT_FALSE(profile->Store("File 2024"));
  mail.CreateApplication()->Quit();
  mail.CreateApplication();
  EXPECT_FALSE(profile->HoldsStoreFile("/s/File 2024.pst"));
  EXPECT_EQ(reader->held, 1);
}

// A profile of one mailbox with an Inbox, and the Inbox as the logic gets it.
struct Mailbox {
  Mailbox() {
    auto store = profile->AddStore("Mailbox");
    profile->DefaultFolder(6, store->AddFolder("Inbox", 0));
  }
  Ref<MAPIFolder> Inbox() {
    return program.CreateApplication()->GetNamespace("MAPI")->GetDefaultFolder(6);
  }
  std::shared_ptr<MailProfile> profile = std::make_shared<MailProfile>();
  ProfileMailProgram program{profile};
};

TEST(MailOutbox, OnlyAProfileThatSendsMakesMailAndOnlyMail) {
  Mailbox box;
  EXPECT_VB_ERROR(box.Inbox()->Items()->Add(0), kOutlookOperationRefused);
  test::TempFolder dir;
  box.program.SendMailWith(std::make_shared<MailOutbox>(dir / "outbox"));
  Ref<MailItem> mail = box.Inbox()->Items()->Add(0);
  mail->Subject("Hello");
  EXPECT_EQ(mail->Subject(), "Hello");
  EXPECT_VB_ERROR(box.Inbox()->Items()->Add(1), kOutlookOperationRefused);
  // A missing file or an empty address is refused and leaves the lists as they were.
  test::WriteText(dir / "there.txt", "x");
  mail->Attachments()->Add((dir / "there.txt").string());
  EXPECT_VB_ERROR(mail->Attachments()->Add((dir / "missing.txt").string()),
                  kOutlookOperationRefused);
  EXPECT_VB_ERROR(mail->Recipients()->Add("  "), kOutlookOperationRefused);
  EXPECT_EQ(mail->Attachments()->Count(), 1);
  EXPECT_EQ(mail->Recipients()->Count(), 0);
}

TEST(MailOutbox, SendAsksTheUserAndWritesOneWholePrivateMessageFileOnlyWhenTheyAgree) {
  const struct {
    const char* name;
    bool recipient, hasConfirmer, answer, sent;
  } cases[] = {{"agreed", true, true, true, true},
               {"declined", true, true, false, false},
               {"no recipient", false, true, true, false},
               {"nobody to ask", true, false, true, false}};
  // The files must be private whatever the umask.
  struct Umask {
    mode_t old = ::umask(022);
    ~Umask() { ::umask(old); }
  } umask022;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempFolder dir;
    Mailbox box;
    auto outbox = std::make_shared<MailOutbox>(dir / "outbox");
    outbox->TimeFrom([] { return DateTimeSerial(2026, 11, 22, 9, 30, 0); });
    std::vector<std::string> questions;
    if (c.hasConfirmer) {
      outbox->ConfirmSendWith([&](const std::string& text) {
        questions.push_back(text);
        return c.answer;
      });
    }
    int handedOver = 0;
    outbox->HandOverWith([&](const OutgoingMail&, const fs::path&) {
      ++handedOver;
      throw std::runtime_error("no mail program");  // not the sender's problem
    });
    box.program.SendMailWith(outbox);

    Ref<MailItem> mail = box.Inbox()->Items()->Add(0);
    mail->Subject("Report");
    mail->Body("Line one\nLine two");
    if (c.recipient) mail->Recipients()->Add("help@vellix.example");
    const int error = ErrorNumber([&] { mail->Send(); });
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir / "outbox", ec))
      files.push_back(entry.path());
    EXPECT_EQ(error, c.sent ? 0 : kOutlookSendFailed);
    EXPECT_EQ(handedOver, c.sent ? 1 : 0);
    EXPECT_EQ(questions.size(), c.recipient && c.hasConfirmer ? 1U : 0U);
    ASSERT_EQ(files.size(), c.sent ? 1U : 0U) << "no temporary file stays";
    if (!c.sent) continue;
    EXPECT_THAT(questions[0], HasSubstr(files[0].string()));
    const std::string text = test::ReadText(files[0]);
    EXPECT_THAT(text, HasSubstr("\r\nTo: help@vellix.example\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nDate: Sun, 22 Nov 2026 09:30:00 -0000\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\n\r\nLine one\r\nLine two\r\n"));
    // The mail file and the outbox made for it are the user's alone.
    EXPECT_EQ(fs::status(dir / "outbox").permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(files[0]).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    // Sent is sent: the item takes no more changes, and a second mail gets a
    // file of its own.
    EXPECT_VB_ERROR(mail->Subject("Again"), kOutlookOperationRefused);
    Ref<MailItem> second = box.Inbox()->Items()->Add(0);
    second->Recipients()->Add("help@vellix.example");
    second->Send();
    EXPECT_EQ(files[0].filename(), "mail-20261122-093000.eml");
    EXPECT_TRUE(fs::exists(dir / "outbox" / "mail-20261122-093000-2.eml"));
  }
}

// A subject or a file name can't end its header or put a byte there that mail
// can't carry: line breaks become blanks, other control characters are encoded.
TEST(MailOutbox, ASubjectStaysOneHeaderOfPrintableText) {
  const std::pair<std::string, std::string> cases[] = {
      {"Tab\there", "\r\nSubject: Tab\there\r\nDate:"},
      {"Two\r\nBcc: x@y", "\r\nSubject: Two  Bcc: x@y\r\nDate:"},
      {std::string("Bell\a and NUL\0", 14),
       "\r\nSubject: =?UTF-8?B?QmVsbAcgYW5kIE5VTAA=?=\r\nDate:"},
  };
  for (const auto& [subject, header] : cases) {
    OutgoingMail mail;
    mail.subject = subject;
    mail.recipients = {"help@vellix.example"};
    EXPECT_THAT(
        ComposeMessage(mail, MailOutbox::kSender, DateSerial(2026, 11, 22), "<i@localhost>"),
        HasSubstr(header));
  }
  OutgoingMail mail;
  mail.attachments = {{"/x/a\x7f.txt", ""}};
  EXPECT_THAT(ComposeMessage(mail, MailOutbox::kSender, DateSerial(2026, 11, 22), "<i@localhost>"),
              HasSubstr("; filename*=utf-8''a%7F.txt\r\n"));
}

}  // namespace
}  // namespace vellix::outlook
