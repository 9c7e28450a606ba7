#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/outlook/profile_folder.h"

namespace vellix::outlook {

// The user's mail profile: its stores in order, each a tree of folders with
// items, and which folder is the default one of each kind (6 inbox, 5 sent
// mail, 3 deleted items, 16 drafts, 9 calendar, 10 contacts, 13 tasks,
// 12 notes, 11 journal). The period stores the engine makes are added here
// while the program runs, as further stores.
class MailProfile {
 public:
  // Adds a store at the end. A name already used (without regard to case)
  // or not fit for a folder raises kOutlookOperationFailed.
  std::shared_ptr<ProfileFolder> AddStore(const std::string& name, const std::string& file = {});
  [[nodiscard]] const FolderVector& Stores() const { return stores_; }
  // A store by name without regard to case, or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> Store(std::string_view name) const;

  // The default folder of a kind, or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> DefaultFolder(int32_t kind) const;
  void DefaultFolder(int32_t kind, const std::shared_ptr<ProfileFolder>& folder);
  // The kinds that have a default folder, in increasing order.
  [[nodiscard]] std::vector<int32_t> DefaultKinds() const;

  // The folder at a path "\\Store\Inbox\Sub" (names without regard to case),
  // or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> FindFolder(std::string_view folderPath) const;

  // Folders below the stores, and items, in all stores.
  [[nodiscard]] int32_t FolderCount() const;
  [[nodiscard]] int64_t ItemCount() const;

 private:
  FolderVector stores_;
  std::map<int32_t, std::weak_ptr<ProfileFolder>> defaults_;
};

// The English names of the default folders, with their kind and item type,
// in the order the mail program lists them.
struct DefaultFolderSpec {
  int32_t kind;
  const char* name;
  int32_t itemType;
};
const std::vector<DefaultFolderSpec>& EnglishDefaultFolders();

}  // namespace vellix::outlook
