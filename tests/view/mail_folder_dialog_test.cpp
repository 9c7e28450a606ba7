#include "view/qt/mail_folder_dialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/vb_error.h"
#include "sample_form.h"
#include "support/fake_outlook.h"

namespace vellix::test {
namespace {

using qtview::MailFolderDialog;
using ::testing::ElementsAre;
using ::testing::Pair;

// A folder that counts how often its sub-folders are asked for and can fail
// the way a store that went offline does.
class WatchedFolder : public FakeFolder {
 public:
  using FakeFolder::FakeFolder;
  std::string Name() override { return Check(failName), FakeFolder::Name(); }
  int32_t ItemCount() override { return Check(failCount), FakeFolder::ItemCount(); }
  Ref<OutlookFolders> Folders() override {
    ++asked;
    return Check(failFolders), FakeFolder::Folders();
  }
  static void Check(bool fail) {
    if (fail) throw VbError(-2147221219, "The store is not available.");
  }

  int asked = 0;
  bool failName = false;
  bool failCount = false;
  bool failFolders = false;
};

std::shared_ptr<WatchedFolder> Add(FakeFolder& parent, const std::string& name, int32_t itemType,
                                   int32_t items) {
  auto folder = std::make_shared<WatchedFolder>(name, parent.FolderPath() + "\\" + name, itemType);
  folder->itemCount = items;
  parent.children.push_back(folder);
  return folder;
}

// The texts of a row's children: name and item count.
std::vector<std::pair<std::string, std::string>> Rows(const QTreeWidgetItem& parent) {
  std::vector<std::pair<std::string, std::string>> rows;
  for (int i = 0; i < parent.childCount(); ++i)
    rows.emplace_back(parent.child(i)->text(0).toStdString(),
                      parent.child(i)->text(1).toStdString());
  return rows;
}

QTreeWidgetItem* Row(QTreeWidgetItem& parent, const char* name) {
  for (int i = 0; i < parent.childCount(); ++i)
    if (parent.child(i)->text(0) == QLatin1String(name)) return parent.child(i);
  return nullptr;
}

using Act = std::function<void(MailFolderDialog&, QTreeWidget&)>;

// A form shown for the dialog to come up over, and a profile of two stores: a
// mailbox with a folder of each kind, one nested two deep, and an archive.
class MailFolderDialogTest : public ShownSampleForm {
 protected:
  MailFolderDialogTest() {
    auto mailbox = names.AddStore("Mailbox - Alex Morgan");
    auto inbox = Add(*mailbox, "Inbox", 0, 12);
    projects = Add(*inbox, "Projects", 0, 3);
    year = Add(*projects, "2026", 0, 1);
    for (const auto& [name, type, items] : {std::tuple{"Calendar", 1, 40},
                                            {"Contacts", 2, 7},
                                            {"Tasks", 3, 2},
                                            {"Journal", 4, 0},
                                            {"Notes", 5, 5}})
      Add(*mailbox, name, type, items);
    archive = names.AddStore("Archive 2025");
    Add(*archive, "Old Mail", 0, 1250);
  }

  // Runs the host's picker; act gets the dialog once it is up and the tree
  // has the input. A dialog that act leaves up fails the test.
  Ref<MAPIFolder> Pick(const Act& act) {
    QTimer::singleShot(0, [act] {
      auto* dialog = dynamic_cast<MailFolderDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr) {
        ADD_FAILURE() << "no folder dialog is up";
        return;
      }
      EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
      EXPECT_TRUE(QTest::qWaitFor([dialog] { return dialog->Tree().hasFocus(); }, 2000));
      QTimer::singleShot(3000, dialog, [dialog] {
        ADD_FAILURE() << "the folder dialog stayed up";
        dialog->reject();
      });
      act(*dialog, dialog->Tree());
    });
    return host.PickMailFolder(names);
  }

  FakeNameSpace names;
  std::shared_ptr<WatchedFolder> projects;
  std::shared_ptr<WatchedFolder> year;
  std::shared_ptr<FakeFolder> archive;
};

TEST_F(MailFolderDialogTest, ListsStoresFoldersCountsAndIconsReadsSubFoldersOnceAndSkipsFailures) {
  MailFolderDialog dialog(names);
  QTreeWidget& tree = dialog.Tree();
  EXPECT_EQ(dialog.windowTitle(), "Select Folder");
  ASSERT_EQ(tree.topLevelItemCount(), 2);
  QTreeWidgetItem& mailbox = *tree.topLevelItem(0);
  QTreeWidgetItem& second = *tree.topLevelItem(1);
  EXPECT_EQ(mailbox.text(0) + "|" + second.text(0), "Mailbox - Alex Morgan|Archive 2025");
  EXPECT_TRUE(mailbox.isExpanded());
  EXPECT_THAT(Rows(mailbox),
              ElementsAre(Pair("Inbox", "12"), Pair("Calendar", "40"), Pair("Contacts", "7"),
                          Pair("Tasks", "2"), Pair("Journal", "0"), Pair("Notes", "5")));
  // The other store is read when it is opened, and says that it can be.
  EXPECT_FALSE(second.isExpanded());
  EXPECT_EQ(second.childCount(), 0);
  EXPECT_EQ(second.childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
  tree.expandItem(&second);
  EXPECT_THAT(Rows(second), ElementsAre(Pair("Old Mail", QLocale().toString(1250).toStdString())));

  // Each kind of item has an icon of its own, the store another one.
  std::vector<QImage> icons{mailbox.icon(0).pixmap(16, 16).toImage()};
  for (int i = 0; i < mailbox.childCount(); ++i)
    icons.push_back(mailbox.child(i)->icon(0).pixmap(16, 16).toImage());
  for (size_t i = 0; i < icons.size(); ++i) {
    EXPECT_FALSE(icons[i].isNull()) << i;
    for (size_t j = i + 1; j < icons.size(); ++j)
      EXPECT_NE(icons[i], icons[j]) << "rows " << i << " and " << j;
  }

  // Nothing is chosen yet, so there is nothing to confirm.
  EXPECT_TRUE(dialog.Selected().IsNothing());
  EXPECT_FALSE(dialog.OkButton().isEnabled());
  EXPECT_TRUE(dialog.OkButton().isDefault());

  // Sub-folders are read only when their folder is opened, and only once.
  QTreeWidgetItem* inboxRow = Row(mailbox, "Inbox");
  ASSERT_NE(inboxRow, nullptr);
  EXPECT_EQ(inboxRow->childCount(), 0);
  EXPECT_EQ(inboxRow->childIndicatorPolicy(), QTreeWidgetItem::ShowIndicator);
  EXPECT_EQ(projects->asked + year->asked, 0);
  tree.expandItem(inboxRow);
  tree.collapseItem(inboxRow);
  tree.expandItem(inboxRow);
  EXPECT_THAT(Rows(*inboxRow), ElementsAre(Pair("Projects", "3")));
  EXPECT_EQ(year->asked, 0);
  QTreeWidgetItem* projectsRow = inboxRow->child(0);
  tree.expandItem(projectsRow);
  EXPECT_THAT(Rows(*projectsRow), ElementsAre(Pair("2026", "1")));
  // A folder with nothing below shows no arrow.
  EXPECT_EQ(projectsRow->child(0)->childIndicatorPolicy(), QTreeWidgetItem::DontShowIndicator);

  // What the mail program fails to give is left out and the rest shows.
  Add(*archive, "Offline", 0, 4)->failFolders = true;
  Add(*archive, "Uncounted", 0, 4)->failCount = true;
  Add(*archive, "Nameless", 0, 4)->failName = true;
  Add(*archive, "After", 0, 9);
  MailFolderDialog failing(names);
  QTreeWidgetItem& archiveRow = *failing.Tree().topLevelItem(1);
  failing.Tree().expandItem(&archiveRow);
  EXPECT_THAT(Rows(archiveRow),
              ElementsAre(Pair("Old Mail", QLocale().toString(1250).toStdString()),
                          Pair("Offline", "4"), Pair("Uncounted", ""), Pair("After", "9")));
  QTreeWidgetItem* offlineRow = Row(archiveRow, "Offline");
  ASSERT_NE(offlineRow, nullptr);
  EXPECT_EQ(offlineRow->childIndicatorPolicy(), QTreeWidgetItem::DontShowIndicator);
  failing.Tree().expandItem(offlineRow);
  EXPECT_EQ(offlineRow->childCount(), 0);

  // A name space whose stores can't be listed gives an empty tree.
  class NoStores : public FakeNameSpace {
    Ref<OutlookFolders> Folders() override { throw VbError(err::kObjectNotSet); }
  } none;
  MailFolderDialog empty(none);
  EXPECT_EQ(empty.Tree().topLevelItemCount(), 0);
  EXPECT_FALSE(empty.OkButton().isEnabled());
}

TEST_F(MailFolderDialogTest, TheKeysTheMouseAndOkChooseAFolder) {
  // By the keys alone: down to the inbox, open it, down to its sub-folder, Enter.
  std::vector<std::string> seen;
  Ref<MAPIFolder> chosen = Pick([&](MailFolderDialog& dialog, QTreeWidget& tree) {
    EXPECT_EQ(dialog.parentWidget(), window);
    for (Qt::Key key : {Qt::Key_Down, Qt::Key_Right, Qt::Key_Down}) {
      QTest::keyClick(&tree, key);
      seen.push_back(tree.currentItem()->text(0).toStdString());
    }
    EXPECT_TRUE(dialog.OkButton().isEnabled());
    QTest::keyClick(&tree, Qt::Key_Return);
  });
  EXPECT_THAT(seen, ElementsAre("Inbox", "Inbox", "Projects"));
  EXPECT_EQ(chosen, Ref<MAPIFolder>(projects));

  const std::pair<Act, const char*> ways[] = {
      {[](MailFolderDialog&, QTreeWidget& tree) {
         // A user's double click: a click, then the double click.
         const QPoint at = tree.visualItemRect(Row(*tree.topLevelItem(0), "Calendar")).center();
         QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, at);
         QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, at);
         QTest::mouseRelease(tree.viewport(), Qt::LeftButton, {}, at);
       },
       "\\\\Mailbox - Alex Morgan\\Calendar"},
      {[](MailFolderDialog& dialog, QTreeWidget& tree) {
         tree.setCurrentItem(tree.topLevelItem(1));
         QTest::keyClick(&tree, Qt::Key_Tab);
         EXPECT_TRUE(dialog.OkButton().hasFocus());
         QTest::keyClick(&dialog.OkButton(), Qt::Key_Space);
       },
       "\\\\Archive 2025"},
  };
  for (const auto& [act, expected] : ways) {
    SCOPED_TRACE(expected);
    chosen = Pick(act);
    ASSERT_FALSE(chosen.IsNothing());
    EXPECT_EQ(chosen->FolderPath(), expected);
  }
}

TEST_F(MailFolderDialogTest, CancelEscapeEnterWithNothingSelectedOrTheFormUnloadedGiveNothing) {
  // The form goes first, while its window is the active one the dialog lies over.
  const std::pair<const char*, Act> ways[] = {
      // As an engine event handled while the dialog is up may do.
      {"the form unloaded under a chosen row",
       [this](MailFolderDialog&, QTreeWidget& tree) {
         QTest::keyClick(&tree, Qt::Key_Down);
         host.Post([this] { form.Unload(); });
       }},
      {"Escape after choosing a row",
       [](MailFolderDialog&, QTreeWidget& tree) {
         QTest::keyClick(&tree, Qt::Key_Down);
         QTest::keyClick(&tree, Qt::Key_Escape);
       }},
      {"Cancel after choosing a row",
       [](MailFolderDialog& dialog, QTreeWidget& tree) {
         QTest::keyClick(&tree, Qt::Key_Down);
         auto* buttons = dialog.findChild<QDialogButtonBox*>();
         QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
       }},
      {"Enter and OK with nothing selected, then Escape",
       [](MailFolderDialog& dialog, QTreeWidget& tree) {
         QTest::keyClick(&tree, Qt::Key_Return);
         QTest::mouseClick(&dialog.OkButton(), Qt::LeftButton);
         EXPECT_TRUE(dialog.isVisible());
         QTest::keyClick(&tree, Qt::Key_Escape);
       }},
  };
  for (const auto& [how, act] : ways) {
    SCOPED_TRACE(how);
    EXPECT_TRUE(Pick(act).IsNothing());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  }
  EXPECT_FALSE(form.Loaded());
}

}  // namespace
}  // namespace vellix::test
