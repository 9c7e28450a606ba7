#include "platform/outlook/mail_profile.h"

#include <gtest/gtest.h>

#include <set>

#include "foundation/context.h"
#include "foundation/date.h"
#include "foundation/text.h"
#include "foundation/utils.h"
#include "platform/outlook/profile_application.h"
#include "platform/outlook/profile_mail_program.h"

namespace vellix::outlook {
namespace {

const char* const kDemo = VELLIX_SOURCE_DIR "/resources/profiles/demo.xml";

Ref<NameSpace> DemoNameSpace(ProfileMailProgram& program) {
  auto app = program.CreateApplication();
  EXPECT_FALSE(app.IsNothing()) << program.LastProblem();
  return app->GetNamespace("MAPI");
}

TEST(DemoProfile, HasEveryDefaultFolderWithItsItemTypeAndPath) {
  ProfileMailProgram program{std::filesystem::path(kDemo)};
  auto ns = DemoNameSpace(program);
  struct Expected {
    int32_t kind;
    const char* path;
    int32_t itemType;
  };
  const Expected expected[] = {
      {6, "\\\\Mailbox - Alex Morgan\\Inbox", 0},
      {5, "\\\\Mailbox - Alex Morgan\\Sent Items", 0},
      {3, "\\\\Mailbox - Alex Morgan\\Deleted Items", 0},
      {16, "\\\\Mailbox - Alex Morgan\\Drafts", 0},
      {9, "\\\\Mailbox - Alex Morgan\\Calendar", 1},
      {10, "\\\\Mailbox - Alex Morgan\\Contacts", 2},
      {13, "\\\\Mailbox - Alex Morgan\\Tasks", 3},
      {12, "\\\\Mailbox - Alex Morgan\\Notes", 5},
      {11, "\\\\Mailbox - Alex Morgan\\Journal", 4},
  };
  for (const auto& e : expected) {
    SCOPED_TRACE(e.kind);
    auto folder = ns->GetDefaultFolder(e.kind);
    EXPECT_EQ(folder->FolderPath(), e.path);
    EXPECT_EQ(folder->FullFolderPath(), e.path);
    EXPECT_EQ(folder->DefaultItemType(), e.itemType);
  }

  // A kind the profile has no folder for fails as the mail program does: a
  // negative number, which the procedure frame ends on silently.
  try {
    ns->GetDefaultFolder(4);
    FAIL() << "the outbox isn't in the demo profile";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), kOutlookOperationFailed);
  }
  EXPECT_TRUE(program.CreateApplication()->GetNamespace("Other").IsNothing());
}

TEST(DemoProfile, HoldsNestedFoldersAndSomeHundredsOfItemsOverThreeYears) {
  ProfileMailProgram program{std::filesystem::path(kDemo)};
  ASSERT_FALSE(program.CreateApplication().IsNothing()) << program.LastProblem();
  const auto& profile = *program.Profile();
  ASSERT_EQ(profile.Stores().size(), 1U);

  auto inbox = profile.DefaultFolder(6);
  ASSERT_GE(inbox->SubFolders().size(), 2U);
  bool deeper = false;
  for (const auto& sub : inbox->SubFolders())
    deeper = deeper || !sub->SubFolders().empty();
  EXPECT_TRUE(deeper) << "the inbox has folders two levels down";

  EXPECT_GE(profile.ItemCount(), 300);
  EXPECT_LE(profile.ItemCount(), 1000);
  Date first(1e9);
  Date last;
  std::set<std::string> subjects;
  std::function<void(const ProfileFolder&)> walk = [&](const ProfileFolder& folder) {
    for (const auto& item : folder.Items()) {
      first = std::min(first, item.received);
      last = std::max(last, item.received);
      subjects.insert(item.subject);
      EXPECT_FALSE(item.subject.empty());
      EXPECT_GT(item.size, 0);
    }
    for (const auto& sub : folder.SubFolders())
      walk(*sub);
  };
  walk(*profile.Stores()[0]);
  EXPECT_GT(last.Serial() - first.Serial(), 2.5 * 365);
  EXPECT_LT(last.Serial() - first.Serial(), 3.1 * 365);
  EXPECT_GT(subjects.size(), 50U) << "subjects vary";
  for (const auto& entry : EnglishDefaultFolders()) {
    EXPECT_FALSE(profile.DefaultFolder(entry.kind)->Items().empty()) << entry.name;
  }
}

TEST(MailProfile, FoldersAreFoundByNameWithoutCaseAndListedInOrder) {
  auto profile = std::make_shared<MailProfile>();
  auto store = profile->AddStore("Mailbox - Alex Morgan");
  auto inbox = store->AddFolder("Inbox", 0);
  inbox->AddFolder("Clients", 0)->AddFolder("Northwind", 0);
  inbox->AddFolder("Receipts", 0);
  store->AddFolder("Calendar", 1);

  auto folders = ProfileApplication(profile)
                     .GetNamespace("mapi")
                     ->Folders()
                     ->Item("mailbox - alex morgan")
                     ->Folders();
  ASSERT_EQ(folders->Count(), 2);
  EXPECT_EQ(folders->Item(1)->Name(), "Inbox");
  EXPECT_EQ(folders->Item(2)->Name(), "Calendar");
  auto sub = folders->Item("INBOX")->Folders()->Item("clients")->Folders()->Item(1);
  EXPECT_EQ(sub->FolderPath(), "\\\\Mailbox - Alex Morgan\\Inbox\\Clients\\Northwind");

  for (auto bad : {0, 3, -1}) {
    EXPECT_THROW(folders->Item(bad), VbError) << bad;
  }
  try {
    folders->Item("Outbox");
    FAIL();
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), kOutlookNotFound);
  }

  // The mail program refuses a second folder of one name and names it can't hold.
  EXPECT_THROW(inbox->AddFolder("RECEIPTS", 0), VbError);
  EXPECT_THROW(inbox->AddFolder("a\\b", 0), VbError);
  EXPECT_THROW(inbox->AddFolder("", 0), VbError);
  EXPECT_EQ(profile->FindFolder("\\\\mailbox - alex morgan\\inbox\\clients")->Name(), "Clients");
  EXPECT_EQ(profile->FindFolder("\\\\Mailbox - Alex Morgan\\Inbox\\Missing"), nullptr);
}

TEST(MailProfile, PeriodStoresAddedWhileRunningShowInListsAlreadyTaken) {
  ProfileMailProgram program{std::filesystem::path(kDemo)};
  auto ns = DemoNameSpace(program);
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

  // A later application sees the same profile, the added store included.
  EXPECT_EQ(program.CreateApplication()->GetNamespace("MAPI")->Folders()->Count(), 2);
}

TEST(MailProfile, FullFolderPathsAreWhatTheFolderWalkFindsAgain) {
  ProfileMailProgram program{std::filesystem::path(kDemo)};
  auto ns = DemoNameSpace(program);
  ManualClock clock;
  Context ctx(clock);
  Utils utils(ctx);
  std::function<void(const Ref<MAPIFolder>&)> check = [&](const Ref<MAPIFolder>& folder) {
    const auto path = folder->FullFolderPath();
    const auto parts = Split(path, "\\");
    ASSERT_GE(parts.size(), 3U);
    EXPECT_EQ(parts[2], "Mailbox - Alex Morgan");
    EXPECT_EQ(utils.GetFolder(ns, path), folder) << path;
    EXPECT_EQ(utils.GetFolder(ns, "Outlook:" + path.substr(1)), folder) << path;
    auto subs = folder->Folders();
    for (int32_t i = 1; i <= subs->Count(); ++i)
      check(subs->Item(i));
  };
  auto top = ns->Folders()->Item(1)->Folders();
  for (int32_t i = 1; i <= top->Count(); ++i)
    check(top->Item(i));
}

TEST(MailProfile, FolderKeptAfterItsProfileIsGoneFailsInsteadOfCrashing) {
  Ref<MAPIFolder> kept;
  {
    auto profile = std::make_shared<MailProfile>();
    profile->AddStore("Mailbox")->AddFolder("Inbox", 0)->AddFolder("Sub", 0);
    kept = ProfileApplication(profile)
               .GetNamespace("MAPI")
               ->Folders()
               ->Item(1)
               ->Folders()
               ->Item(1)
               ->Folders()
               ->Item(1);
  }
  EXPECT_EQ(kept->Name(), "Sub");
  EXPECT_THROW(kept->FolderPath(), VbError);
}

}  // namespace
}  // namespace vellix::outlook
