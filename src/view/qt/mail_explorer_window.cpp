#include "view/qt/mail_explorer_window.h"

#include <QCloseEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <utility>

#include "view/qt/control_binding.h"
#include "view/qt/mail_folder_tree.h"

namespace vellix::qtview {

MailExplorerWindow::MailExplorerWindow(Ref<NameSpace> nameSpace, const Ref<MAPIFolder>& start,
                                       SwitchTo switchTo, std::function<void()> closed)
    : nameSpace_(std::move(nameSpace)),
      tree_(new MailFolderTree(*nameSpace_, this)),
      switchTo_(std::move(switchTo)),
      closed_(std::move(closed)) {
  setObjectName(QStringLiteral("MailExplorerWindow"));
  setWindowTitle(QStringLiteral("Mail Folders"));
  setAttribute(Qt::WA_DeleteOnClose);
  auto* label = new QLabel(QStringLiteral("Go to a &folder, then close this window."), this);
  label->setBuddy(tree_);
  // A tree view's accessible name does not come from its buddy.
  tree_->setAccessibleName(PlainCaption(Std(label->text())));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(label);
  layout->addWidget(tree_, 1);

  // The folder on show at first is not a switch.
  if (!start.IsNothing()) {
    quiet_ = true;
    RunGuarded("opening the Explorer's folder", [&] { tree_->SelectPath(start->FolderPath()); });
    quiet_ = false;
  }
  QObject::connect(tree_, &QTreeWidget::itemSelectionChanged, this, [this] {
    const Ref<MAPIFolder> folder = tree_->Selected();
    if (quiet_ || folder.IsNothing() || !switchTo_) return;
    RunGuarded("showing another folder in the Explorer", [&] { switchTo_(folder); });
  });
  resize(420, 480);
}

MailExplorerWindow* MailExplorerWindow::Open(Ref<NameSpace> nameSpace, const Ref<MAPIFolder>& start,
                                             SwitchTo switchTo, std::function<void()> closed) {
  auto* window =
      new MailExplorerWindow(std::move(nameSpace), start, std::move(switchTo), std::move(closed));
  window->show();
  window->raise();
  window->activateWindow();
  return window;
}

bool MailExplorerWindow::ShowFolder(const std::string& folderPath) {
  return tree_->SelectPath(folderPath);
}

void MailExplorerWindow::closeEvent(QCloseEvent* event) {
  event->accept();
  if (auto closed = std::exchange(closed_, nullptr))
    RunGuarded("closing the Explorer", [&] { closed(); });
}

}  // namespace vellix::qtview
