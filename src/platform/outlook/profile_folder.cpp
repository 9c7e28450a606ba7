#include "platform/outlook/profile_folder.h"

#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_folder_list.h"
#include "platform/outlook/profile_mail_item.h"
#include "platform/outlook/profile_message.h"

namespace vellix::outlook {

ProfileFolder::ProfileFolder(std::string name, int32_t itemType,
                             std::weak_ptr<ProfileFolder> parent)
    : name_(std::move(name)),
      itemType_(itemType),
      parent_(std::move(parent)),
      hasParent_(!parent_.expired()) {
  // A survey reads every folder's path: a walk up the parents and a new
  // text at each level would make that quadratic in the depth.
  if (auto up = parent_.lock())
    path_ = up->path_ + "\\" + name_;
  else
    path_ = "\\\\" + name_;
}

std::shared_ptr<ProfileFolder> ProfileFolder::MakeStore(const std::string& name,
                                                        const std::string& file) {
  if (auto problem = NameProblem(name); !problem.empty()) {
    throw VbError(kOutlookOperationFailed, problem);
  }
  auto store = std::make_shared<ProfileFolder>(name, 0, std::weak_ptr<ProfileFolder>());
  store->storeFile_ = file;
  return store;
}

std::string ProfileFolder::FolderPath() {
  if (hasParent_ && parent_.expired())
    throw VbError(kOutlookOperationFailed, "The folder has been deleted.");
  return path_;
}

Ref<OutlookFolders> ProfileFolder::Folders() {
  // Aliasing pointer: the list keeps this folder alive and reads its children.
  return MakeRef<ProfileFolderList>(
      std::shared_ptr<const FolderVector>(shared_from_this(), &children_));
}

Ref<OutlookItems> ProfileFolder::NewItems() {
  for (auto folder = shared_from_this(); folder; folder = folder->Parent()) {
    if (folder->outbox_) return MakeRef<ProfileItems>(folder->outbox_);
  }
  return MAPIFolder::NewItems();
}

std::shared_ptr<ProfileFolder> ProfileFolder::AddFolder(const std::string& name, int32_t itemType) {
  if (auto problem = NameProblem(name); !problem.empty()) {
    throw VbError(kOutlookOperationFailed, problem);
  }
  if (SubFolder(name)) {
    throw VbError(kOutlookOperationFailed,
                  "Cannot create the folder. A folder named \"" + name + "\" already exists.");
  }
  auto child = std::make_shared<ProfileFolder>(name, itemType, weak_from_this());
  children_.push_back(child);
  return child;
}

std::shared_ptr<ProfileFolder> ProfileFolder::SubFolder(std::string_view name) const {
  for (const auto& child : children_) {
    if (EqualsText(child->name_, name)) return child;
  }
  return nullptr;
}

void ProfileFolder::AddItem(ProfileItem item) {
  if (item.key.empty() && !item.message.empty()) {
    std::string id = HeaderValue(item.message, "Message-ID");
    if (id.size() > 2 && id.front() == '<' && id.back() == '>') id = id.substr(1, id.size() - 2);
    item.key = id;
  }
  if (item.key.empty()) {
    // Items that say the same in one folder are told apart by their order.
    const std::string path = FolderPath();
    for (int32_t repeat = 0; item.key.empty() || keys_.contains(item.key); ++repeat)
      item.key = MakeItemKey(path, item, repeat);
  }
  keys_.insert(item.key);
  items_.push_back(std::move(item));
}

int32_t ProfileFolder::RemoveItems(const std::unordered_set<std::string>& keys) {
  const auto removed =
      std::erase_if(items_, [&](const ProfileItem& item) { return keys.contains(item.key); });
  for (const auto& key : keys)
    keys_.erase(key);
  return static_cast<int32_t>(removed);
}

int32_t ProfileFolder::DescendantCount() const {
  int32_t count = 0;
  for (const auto& child : children_)
    count += 1 + child->DescendantCount();
  return count;
}

int64_t ProfileFolder::TotalItemCount() const {
  auto count = static_cast<int64_t>(items_.size());
  for (const auto& child : children_)
    count += child->TotalItemCount();
  return count;
}

std::string ProfileFolder::NameProblem(std::string_view name) {
  if (name.empty()) return "A folder needs a name.";
  if (name.find('\\') != std::string_view::npos) {
    return "The folder name \"" + std::string(name) + "\" holds a backslash.";
  }
  return {};
}

}  // namespace vellix::outlook
