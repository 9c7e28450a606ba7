#include "platform/outlook/mail_profile.h"

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::outlook {

std::shared_ptr<ProfileFolder> MailProfile::AddStore(const std::string& name,
                                                     const std::string& file) {
  if (Store(name)) {
    throw VbError(kOutlookOperationFailed, "A store named \"" + name + "\" is open already.");
  }
  auto store = ProfileFolder::MakeStore(name, file);
  stores_.push_back(store);
  return store;
}

std::shared_ptr<ProfileFolder> MailProfile::Store(std::string_view name) const {
  for (const auto& store : stores_) {
    if (EqualsText(store->Name(), name)) return store;
  }
  return nullptr;
}

std::shared_ptr<ProfileFolder> MailProfile::DefaultFolder(int32_t kind) const {
  auto it = defaults_.find(kind);
  return it == defaults_.end() ? nullptr : it->second.lock();
}

void MailProfile::DefaultFolder(int32_t kind, const std::shared_ptr<ProfileFolder>& folder) {
  if (folder) {
    defaults_[kind] = folder;
  } else {
    defaults_.erase(kind);
  }
}

std::vector<int32_t> MailProfile::DefaultKinds() const {
  std::vector<int32_t> kinds;
  for (const auto& [kind, folder] : defaults_) {
    if (!folder.expired()) kinds.push_back(kind);
  }
  return kinds;
}

std::shared_ptr<ProfileFolder> MailProfile::FindFolder(std::string_view folderPath) const {
  if (folderPath.substr(0, 2) != "\\\\") return nullptr;
  const auto parts = Split(folderPath.substr(2), "\\");
  if (parts.empty()) return nullptr;
  auto folder = Store(parts[0]);
  for (size_t i = 1; folder && i < parts.size(); ++i)
    folder = folder->SubFolder(parts[i]);
  return folder;
}

int32_t MailProfile::FolderCount() const {
  int32_t count = 0;
  for (const auto& store : stores_)
    count += store->DescendantCount();
  return count;
}

int64_t MailProfile::ItemCount() const {
  int64_t count = 0;
  for (const auto& store : stores_)
    count += store->TotalItemCount();
  return count;
}

const std::vector<DefaultFolderSpec>& EnglishDefaultFolders() {
  static const std::vector<DefaultFolderSpec> folders = {
      {6, "Inbox", 0},   {5, "Sent Items", 0}, {3, "Deleted Items", 0},
      {16, "Drafts", 0}, {9, "Calendar", 1},   {10, "Contacts", 2},
      {13, "Tasks", 3},  {12, "Notes", 5},     {11, "Journal", 4},
  };
  return folders;
}

}  // namespace vellix::outlook
