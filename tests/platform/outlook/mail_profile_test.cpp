#include "platform/outlook/mail_profile.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "foundation/context.h"
#include "foundation/date.h"
#include "foundation/text.h"
#include "foundation/utils.h"
#include "platform/outlook/profile_application.h"
#include "platform/outlook/profile_mail_program.h"
#include "support/expect_vb_error.h"
#include "support/manual_clock.h"

namespace vellix::outlook {
namespace {

const char* const kDemo = VELLIX_SOURCE_DIR "/resources/profiles/demo.xml";

class DemoProfile : public ::testing::Test {
 protected:
  DemoProfile() {
    auto app = program.CreateApplication();
    EXPECT_FALSE(app.IsNothing()) << program.LastProblem();
    if (!app.IsNothing()) ns = app->GetNamespace("MAPI");
  }
  ProfileMailProgram program{std::filesystem::path(kDemo)};
  Ref<NameSpace> ns;
};

TEST_F(DemoProfile, HasEveryDefaultFolderAndEveryPathLeadsBackToItsFolder) {
  ASSERT_FALSE(ns.IsNothing());
  const struct {
    int32_t kind;
    const char* name;
    int32_t itemType;
  } expected[] = {{6, "Inbox", 0},   {5, "Sent Items", 0}, {3, "Deleted Items", 0},
                  {16, "Drafts", 0}, {9, "Calendar", 1},   {10, "Contacts", 2},
                  {13, "Tasks", 3},  {12, "Notes", 5},     {11, "Journal", 4}};
  for (const auto& e : expected) {
    SCOPED_TRACE(e.kind);
    auto folder = ns->GetDefaultFolder(e.kind);
    EXPECT_EQ(folder->FolderPath(), std::string("\\\\Mailbox - Alex Morgan\\") + e.name);
    EXPECT_EQ(folder->FullFolderPath(), folder->FolderPath());
    EXPECT_EQ(folder->DefaultItemType(), e.itemType);
  }

  // A kind the profile has no folder for fails as the mail program does: a
  // negative number, which the procedure frame ends on silently.
  EXPECT_VB_ERROR(ns->GetDefaultFolder(4), kOutlookOperationFailed);  // no outbox in the demo
  EXPECT_TRUE(program.CreateApplication()->GetNamespace("Other").IsNothing());

  // Every folder's full path is what the folder walk finds again.
  ManualClock clock;
  const Services services{.clock = clock};
  Context ctx(services);
  Utils utils(ctx);
  int checked = 0;
  std::function<void(const Ref<MAPIFolder>&)> check = [&](const Ref<MAPIFolder>& folder) {
    const auto path = folder->FullFolderPath();
    ASSERT_EQ(path.rfind("\\\\Mailbox - Alex Morgan\\", 0), 0U) << path;
    EXPECT_EQ(utils.GetFolder(ns, path), folder) << path;
    EXPECT_EQ(utils.GetFolder(ns, "Outlook:" + path.substr(1)), folder) << path;
    ++checked;
    auto subs = folder->Folders();
    for (int32_t i = 1; i <= subs->Count(); ++i)
      check(subs->Item(i));
  };
  auto top = ns->Folders()->Item(1)->Folders();
  for (int32_t i = 1; i <= top->Count(); ++i)
    check(top->Item(i));
  EXPECT_GT(checked, 9);
}

TEST_F(DemoProfile, HoldsNestedFoldersAndSomeHundredsOfItemsOverThreeYears) {
  const auto& profile = *program.Profile();
  ASSERT_EQ(profile.Stores().size(), 1U);
  bool deeper = false;
  for (const auto& sub : profile.DefaultFolder(6)->SubFolders())
    deeper = deeper || !sub->SubFolders().empty();
  EXPECT_TRUE(deeper) << "the inbox has folders two levels down";

  EXPECT_TRUE(profile.ItemCount() >= 300 && profile.ItemCount() <= 1000) << profile.ItemCount();
  Date first(1e9), last;
  std::set<std::string> subjects;
  std::function<void(const ProfileFolder&)> walk = [&](const ProfileFolder& folder) {
    for (const auto& item : folder.Items()) {
      first = std::min(first, item.received);
      last = std::max(last, item.received);
      subjects.insert(item.subject);
      EXPECT_TRUE(!item.subject.empty() && item.size > 0) << item.subject;
    }
    for (const auto& sub : folder.SubFolders())
      walk(*sub);
  };
  walk(*profile.Stores()[0]);
  const double years = (last.Serial() - first.Serial()) / 365;
  EXPECT_TRUE(years > 2.5 && years < 3.1) << years;
  EXPECT_GT(subjects.size(), 50U) << "subjects vary";
  for (const auto& entry : EnglishDefaultFolders())
    EXPECT_FALSE(profile.DefaultFolder(entry.kind)->Items().empty()) << entry.name;
}

TEST_F(DemoProfile, PeriodStoresAddedWhileRunningShowInListsAlreadyTaken) {
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

TEST_F(DemoProfile, PickFolderAsksTheDesktopsChooserWithItsOwnNameSpace) {
  ASSERT_FALSE(ns.IsNothing());
  // Without a chooser there is no window to show: nothing, as a cancel.
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

}  // namespace
}  // namespace vellix::outlook
