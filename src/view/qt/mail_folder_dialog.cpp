#include "view/qt/mail_folder_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "view/qt/control_binding.h"

namespace vellix::qtview {

MailFolderDialog::MailFolderDialog(NameSpace& nameSpace, QWidget* parent)
    : QDialog(parent),
      tree_(new MailFolderTree(nameSpace, this)),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this)),
      ok_(buttons_->button(QDialogButtonBox::Ok)) {
  setObjectName(QStringLiteral("MailFolderDialog"));
  setWindowTitle(QStringLiteral("Select Folder"));
  setSizeGripEnabled(true);

  auto* label = new QLabel(QStringLiteral("Choose a &folder:"), this);
  label->setBuddy(tree_);
  // A tree view's accessible name does not come from its buddy.
  tree_->setAccessibleName(PlainCaption(Std(label->text())));

  ok_->setDefault(true);
  ok_->setEnabled(false);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(label);
  layout->addWidget(tree_, 1);
  layout->addWidget(buttons_);
  setTabOrder(tree_, ok_);
  setTabOrder(ok_, buttons_->button(QDialogButtonBox::Cancel));

  QObject::connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
  QObject::connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
  QObject::connect(tree_, &QTreeWidget::itemSelectionChanged, this,
                   [this] { ok_->setEnabled(!Selected().IsNothing()); });
  // Enter reaches the default button, as the tree passes it on.
  QObject::connect(tree_, &QTreeWidget::itemDoubleClicked, this,
                   [this](QTreeWidgetItem* item, int /*column*/) {
                     if (tree_->FolderOf(item).IsNothing()) return;
                     tree_->setCurrentItem(item);
                     accept();
                   });
  tree_->setFocus();
  resize(420, 480);
}

Ref<MAPIFolder> MailFolderDialog::Selected() const {
  return tree_->Selected();
}

QIcon MailFolderDialog::KindIcon(int32_t itemType, bool store) const {
  return tree_->KindIcon(itemType, store);
}

}  // namespace vellix::qtview
