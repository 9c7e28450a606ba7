#include "servers/engine/profile_store_reader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_folder.h"
#include "platform/outlook/profile_message.h"
#include "servers/engine/store_database.h"

namespace vellix::engine {

namespace {

// The item type a folder of the store shows: a default folder's own (its
// English name), else its parent's.
int32_t ItemTypeOf(const std::string& name, int32_t parentType) {
  for (const auto& folder : outlook::EnglishDefaultFolders()) {
    if (EqualsText(folder.name, name)) return folder.itemType;
  }
  return parentType;
}

outlook::ProfileFolder& FolderFor(outlook::ProfileFolder& top, std::string_view folderPath) {
  if (folderPath.starts_with("\\\\")) folderPath.remove_prefix(2);
  const auto parts = Split(folderPath, "\\");
  outlook::ProfileFolder* folder = &top;
  // The first part is the store the item was filed from.
  for (size_t i = 1; i < parts.size(); ++i) {
    if (parts[i].empty()) continue;
    auto sub = folder->SubFolder(parts[i]);
    if (!sub) sub = folder->AddFolder(parts[i], ItemTypeOf(parts[i], folder->DefaultItemType()));
    folder = sub.get();
  }
  return *folder;
}

}  // namespace

std::shared_ptr<void> PeriodStoreReader::Open(const std::filesystem::path& file,
                                              outlook::ProfileFolder& top, std::string* why) {
  std::string reason;
  auto store = StoreDatabase::TryOpen(file, StoreDatabase::Access::kReadOnly, &reason);
  if (!store) {
    if (why != nullptr) *why = "The store " + file.string() + " can't be opened: " + reason;
    return nullptr;
  }
  try {
    store->ForEachItem([&](const StoredItem& stored) {
      outlook::ProfileItem item;
      item.subject = outlook::HeaderValue(stored.message, "Subject");
      item.sender = outlook::HeaderValue(stored.message, "From");
      item.recipient = outlook::HeaderValue(stored.message, "To");
      item.received = stored.received;
      item.size = static_cast<int32_t>(
          std::clamp<int64_t>(stored.size, 0, std::numeric_limits<int32_t>::max()));
      item.key = stored.key;
      FolderFor(top, stored.folderPath).AddItem(std::move(item));
    });
  } catch (const VbError& e) {
    if (why != nullptr) *why = e.Description();
    return nullptr;
  }
  return std::make_shared<StoreDatabase>(std::move(*store));
}

}  // namespace vellix::engine
