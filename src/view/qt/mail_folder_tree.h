#pragma once

#include <QIcon>
#include <QTreeWidget>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/outlook.h"

namespace vellix::qtview {

// The mail program's folder tree: the stores of a name space at the top,
// their folders below, each with its item count and the icon of the kind of
// item it holds. A folder's sub-folders are read when it is first expanded,
// as a profile may hold thousands of folders. What the mail program raises
// while the tree is read is logged, and the folder shows without what could
// not be read. The first store starts open. Shared by the folder dialog and
// the Explorer window.
class MailFolderTree : public QTreeWidget {
 public:
  explicit MailFolderTree(NameSpace& nameSpace, QWidget* parent = nullptr);

  // The selected folder; nothing while no row is selected.
  [[nodiscard]] Ref<MAPIFolder> Selected() const;
  [[nodiscard]] Ref<MAPIFolder> FolderOf(const QTreeWidgetItem* item) const;
  // Opens the tree down to the folder at a path ("\\Store\Inbox\Sub") and
  // selects it; false when a part isn't there (what was found stays open).
  bool SelectPath(const std::string& folderPath);

  // The icon of a folder by the kind of item it holds (0 mail, 1 appointment,
  // 2 contact, 3 task, 4 journal, 5 note); a store's own icon for stores.
  [[nodiscard]] QIcon KindIcon(int32_t itemType, bool store) const;

 private:
  // Adds a row for the folder under parent (the tree's top when null).
  void AddRow(QTreeWidgetItem* parent, const Ref<MAPIFolder>& folder, bool store);
  // Reads the folder's sub-folders into its row, once.
  void Fill(QTreeWidgetItem* item);

  // The folder of each row, by the index a row keeps in its data.
  std::vector<Ref<MAPIFolder>> folders_;
};

}  // namespace vellix::qtview
