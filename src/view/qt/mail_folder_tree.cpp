#include "view/qt/mail_folder_tree.h"

#include <QHeaderView>
#include <QLocale>
#include <QStyle>
#include <array>
#include <functional>
#include <iterator>
#include <optional>

#include "view/qt/control_binding.h"

namespace vellix::qtview {

namespace {

// Where a row keeps its folder's index, and whether its sub-folders are read.
constexpr int kFolderRole = Qt::UserRole;
constexpr int kFilledRole = Qt::UserRole + 1;

// The folders of a list the mail program gives, in its own order. A list or
// an entry that can't be read is logged and left out.
std::vector<Ref<MAPIFolder>> ReadFolders(const std::function<Ref<OutlookFolders>()>& list) {
  std::vector<Ref<MAPIFolder>> folders;
  Ref<OutlookFolders> entries;
  int32_t count = 0;
  RunGuarded("reading a mail folder list", [&] {
    entries = list();
    count = entries->Count();
  });
  for (int32_t i = 1; i <= count; ++i) {
    RunGuarded("reading a mail folder", [&] { folders.push_back(entries->Item(i)); });
  }
  return folders;
}

}  // namespace

MailFolderTree::MailFolderTree(NameSpace& nameSpace, QWidget* parent) : QTreeWidget(parent) {
  setObjectName(QStringLiteral("folderTree"));
  setColumnCount(2);
  setHeaderLabels({QStringLiteral("Folder"), QStringLiteral("Items")});
  headerItem()->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
  header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
  header()->setSectionsMovable(false);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  // A double click chooses the folder; the arrow opens it.
  setExpandsOnDoubleClick(false);
  QObject::connect(this, &QTreeWidget::itemExpanded, this,
                   [this](QTreeWidgetItem* item) { Fill(item); });

  for (const auto& store : ReadFolders([&nameSpace] { return nameSpace.Folders(); }))
    AddRow(nullptr, store, true);
  if (QTreeWidgetItem* first = topLevelItem(0)) {
    Fill(first);
    expandItem(first);
    // The keys start from the top; nothing is chosen until the user moves.
    setCurrentItem(first, 0, QItemSelectionModel::NoUpdate);
  }
}

bool MailFolderTree::SelectPath(const std::string& folderPath) {
  QTreeWidgetItem* at = nullptr;
  for (const QString& part : Qs(folderPath).split(QLatin1Char('\\'), Qt::SkipEmptyParts)) {
    if (at != nullptr) {
      Fill(at);
      expandItem(at);
    }
    const int count = at == nullptr ? topLevelItemCount() : at->childCount();
    QTreeWidgetItem* next = nullptr;
    for (int i = 0; i < count && next == nullptr; ++i) {
      QTreeWidgetItem* row = at == nullptr ? topLevelItem(i) : at->child(i);
      if (row->text(0).compare(part, Qt::CaseInsensitive) == 0) next = row;
    }
    if (next == nullptr) return false;
    at = next;
  }
  if (at == nullptr) return false;
  setCurrentItem(at);
  scrollToItem(at);
  return true;
}

Ref<MAPIFolder> MailFolderTree::FolderOf(const QTreeWidgetItem* item) const {
  if (item == nullptr) return nullptr;
  bool ok = false;
  const int index = item->data(0, kFolderRole).toInt(&ok);
  if (!ok || index < 0 || static_cast<size_t>(index) >= folders_.size()) return nullptr;
  return folders_[static_cast<size_t>(index)];
}

Ref<MAPIFolder> MailFolderTree::Selected() const {
  const QList<QTreeWidgetItem*> selected = selectedItems();
  return selected.isEmpty() ? nullptr : FolderOf(selected.first());
}

QIcon MailFolderTree::KindIcon(int32_t itemType, bool store) const {
  // The desktop's theme where it has the icon, else the style's own.
  struct Kind {
    const char* themeName;
    QStyle::StandardPixmap fallback;
  };
  static constexpr Kind kStore{"drive-harddisk", QStyle::SP_DriveHDIcon};
  static constexpr std::array<Kind, 6> kKinds = {{
      {"folder", QStyle::SP_DirIcon},                                // mail
      {"x-office-calendar", QStyle::SP_FileDialogListView},          // appointment
      {"x-office-address-book", QStyle::SP_FileDialogContentsView},  // contact
      {"checkbox-checked", QStyle::SP_DialogApplyButton},            // task
      {"x-office-document", QStyle::SP_FileDialogDetailedView},      // journal
      {"text-x-generic", QStyle::SP_FileIcon},                       // note
  }};
  const Kind& kind = store ? kStore
                           : kKinds[itemType >= 0 && itemType < static_cast<int32_t>(kKinds.size())
                                        ? static_cast<size_t>(itemType)
                                        : 0];
  const QIcon themed = QIcon::fromTheme(QLatin1String(kind.themeName));
  return themed.isNull() ? style()->standardIcon(kind.fallback, nullptr, this) : themed;
}

void MailFolderTree::AddRow(QTreeWidgetItem* parent, const Ref<MAPIFolder>& folder, bool store) {
  std::optional<QString> name;
  RunGuarded("reading a mail folder's name", [&] { name = Qs(folder->Name()); });
  // A folder without a name can't be told from the others.
  if (!name) return;
  std::optional<int32_t> items;
  int32_t itemType = 0;
  bool hasSubFolders = false;
  RunGuarded("counting a mail folder's items", [&] { items = folder->ItemCount(); });
  RunGuarded("reading a mail folder's item type", [&] { itemType = folder->DefaultItemType(); });
  RunGuarded("counting a mail folder's sub-folders",
             [&] { hasSubFolders = folder->Folders()->Count() > 0; });

  auto* item = parent == nullptr ? new QTreeWidgetItem(this) : new QTreeWidgetItem(parent);
  item->setText(0, *name);
  item->setIcon(0, KindIcon(itemType, store));
  if (items) item->setText(1, QLocale().toString(*items));
  item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
  item->setData(0, kFolderRole, static_cast<int>(folders_.size()));
  item->setChildIndicatorPolicy(hasSubFolders ? QTreeWidgetItem::ShowIndicator
                                              : QTreeWidgetItem::DontShowIndicator);
  folders_.push_back(folder);
}

void MailFolderTree::Fill(QTreeWidgetItem* item) {
  if (item->data(0, kFilledRole).toBool()) return;
  item->setData(0, kFilledRole, true);
  const Ref<MAPIFolder> folder = FolderOf(item);
  if (folder.IsNothing()) return;
  for (const auto& sub : ReadFolders([&folder] { return folder->Folders(); }))
    AddRow(item, sub, false);
  if (item->childCount() == 0) item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicator);
}

}  // namespace vellix::qtview
