#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "foundation/outlook.h"

class QCloseEvent;

namespace vellix::qtview {

class MailFolderTree;

// The mail program's Explorer where no mail program shows one: a window, not
// modal, over the folder tree of a name space. Selecting a folder shows it
// (switchTo), and closing the window is the Explorer's Close (closed, once).
// The window deletes itself when closed.
class MailExplorerWindow : public QWidget {
 public:
  using SwitchTo = std::function<void(const Ref<MAPIFolder>& folder)>;

  MailExplorerWindow(Ref<NameSpace> nameSpace, const Ref<MAPIFolder>& start, SwitchTo switchTo,
                     std::function<void()> closed);

  // Makes one and puts it on the screen, in front.
  static MailExplorerWindow* Open(Ref<NameSpace> nameSpace, const Ref<MAPIFolder>& start,
                                  SwitchTo switchTo, std::function<void()> closed);

  // Selects the folder at a path, as the user's click does; false when it isn't there.
  bool ShowFolder(const std::string& folderPath);
  [[nodiscard]] MailFolderTree& Tree() const { return *tree_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  Ref<NameSpace> nameSpace_;  // the tree reads its folders through it
  MailFolderTree* tree_;
  SwitchTo switchTo_;
  std::function<void()> closed_;
  bool quiet_ = false;
};

}  // namespace vellix::qtview
