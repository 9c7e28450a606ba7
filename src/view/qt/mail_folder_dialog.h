#pragma once

#include <QDialog>
#include <QIcon>
#include <cstdint>
#include <vector>

#include "foundation/outlook.h"
#include "view/qt/mail_folder_tree.h"

class QDialogButtonBox;
class QPushButton;
class QTreeWidget;

namespace vellix::qtview {

// The mail program's "Select Folder" dialog: its folder tree (MailFolderTree)
// with OK and Cancel; a double click chooses as OK does.
class MailFolderDialog : public QDialog {
 public:
  explicit MailFolderDialog(NameSpace& nameSpace, QWidget* parent = nullptr);

  // The selected folder; nothing while no row is selected.
  [[nodiscard]] Ref<MAPIFolder> Selected() const;
  [[nodiscard]] QTreeWidget& Tree() const { return *tree_; }
  [[nodiscard]] QPushButton& OkButton() const { return *ok_; }

  // The icon of a folder by the kind of item it holds (0 mail, 1 appointment,
  // 2 contact, 3 task, 4 journal, 5 note); a store's own icon for stores.
  [[nodiscard]] QIcon KindIcon(int32_t itemType, bool store) const;

 private:
  MailFolderTree* tree_;
  QDialogButtonBox* buttons_;
  QPushButton* ok_;
};

}  // namespace vellix::qtview
