#include "view/qt/mail_explorer_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QPointer>
#include <QTest>
#include <string>
#include <vector>

#include "support/fake_outlook.h"
#include "view/qt/mail_folder_tree.h"

namespace vellix::test {
namespace {

using qtview::MailExplorerWindow;

// The Explorer window: it opens on its folder without telling anyone, each
// folder the user selects is a switch, and closing is told once, after
// which the window is gone.
TEST(MailExplorerWindow, OpensOnItsFolderReportsEachSwitchAndItsCloseOnce) {
  auto names = std::make_shared<FakeNameSpace>();
  auto store = names->AddStore("Mailbox - Alex Morgan");
  auto inbox = store->Add("Inbox");
  inbox->Add("Projects")->Add("Website Relaunch");
  store->Add("Calendar", 1);

  std::vector<std::string> switches;
  int closes = 0;
  QPointer<MailExplorerWindow> window = MailExplorerWindow::Open(
      Ref<NameSpace>(names), Ref<MAPIFolder>(inbox),
      [&](const Ref<MAPIFolder>& folder) { switches.push_back(folder->FolderPath()); },
      [&] { ++closes; });
  ASSERT_TRUE(QTest::qWaitForWindowExposed(window.data()));
  EXPECT_TRUE(switches.empty());
  ASSERT_FALSE(window->Tree().Selected().IsNothing());
  EXPECT_EQ(window->Tree().Selected()->FolderPath(), inbox->FolderPath());

  // Deeper folders are read as the tree opens down to them; names match
  // without regard to case; a folder that isn't there selects nothing new.
  EXPECT_TRUE(window->ShowFolder(R"(\\Mailbox - Alex Morgan\inbox\Projects\Website Relaunch)"));
  EXPECT_TRUE(window->ShowFolder(R"(\\Mailbox - Alex Morgan\Calendar)"));
  EXPECT_FALSE(window->ShowFolder(R"(\\Mailbox - Alex Morgan\Outbox)"));
  EXPECT_EQ(switches,
            (std::vector<std::string>{R"(\\Mailbox - Alex Morgan\Inbox\Projects\Website Relaunch)",
                                      R"(\\Mailbox - Alex Morgan\Calendar)"}));

  window->close();
  EXPECT_EQ(closes, 1);
  QTest::qWait(50);  // the window deletes itself from the event loop
  EXPECT_TRUE(window.isNull());
}

}  // namespace
}  // namespace vellix::test
