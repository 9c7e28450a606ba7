#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/outlook.h"
#include "platform/outlook/profile_item.h"

namespace vellix::outlook {

class ProfileFolder;
using FolderVector = std::vector<std::shared_ptr<ProfileFolder>>;

class MailOutbox;

// The error number the mail program gives for an operation it refuses.
inline constexpr int32_t kOutlookOperationFailed = kOutlookOperationRefused;

// A folder of the mail profile. A store is a folder without a parent: its
// name is the store's display name and its path "\\Store".
class ProfileFolder : public MAPIFolder, public std::enable_shared_from_this<ProfileFolder> {
 public:
  // Use MakeStore or AddFolder; the constructor is public for make_shared.
  ProfileFolder(std::string name, int32_t itemType, std::weak_ptr<ProfileFolder> parent);

  // The top folder of a store, with the file the store lives in (may be empty).
  static std::shared_ptr<ProfileFolder> MakeStore(const std::string& name,
                                                  const std::string& file = {});

  std::string Name() override { return name_; }
  // Made once with the folder, as names and places never change; raises
  // kOutlookOperationFailed once the folder that held this one is gone.
  std::string FolderPath() override;
  int32_t DefaultItemType() override { return itemType_; }
  int32_t ItemCount() override { return static_cast<int32_t>(items_.size()); }
  Ref<OutlookFolders> Folders() override;

  // Adds a sub-folder at the end. A name that is empty, holds a backslash or
  // is a sibling's already (without regard to case) raises
  // kOutlookOperationFailed, as the mail program refuses it.
  std::shared_ptr<ProfileFolder> AddFolder(const std::string& name, int32_t itemType);
  // A sub-folder by name without regard to case, or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> SubFolder(std::string_view name) const;
  [[nodiscard]] const FolderVector& SubFolders() const { return children_; }
  [[nodiscard]] std::shared_ptr<ProfileFolder> Parent() const { return parent_.lock(); }
  [[nodiscard]] bool IsStore() const { return !hasParent_; }
  [[nodiscard]] const std::string& StoreFile() const { return storeFile_; }

  // Adds an item at the end. One without a key gets its message's
  // Message-ID, or one made from the folder and what the item says.
  void AddItem(ProfileItem item);
  [[nodiscard]] const std::vector<ProfileItem>& Items() const { return items_; }
  // Takes the items with these keys out of the folder; how many went.
  int32_t RemoveItems(const std::unordered_set<std::string>& keys);

  // Folders and items in this folder and all below it, this folder excluded
  // from the folder count.
  [[nodiscard]] int32_t DescendantCount() const;
  [[nodiscard]] int64_t TotalItemCount() const;

  // Why a name can't be a folder's, or empty when it can.
  static std::string NameProblem(std::string_view name);

  // Where mail made in this folder and those below it is sent; set on a
  // store by the mail program.
  void SendMailWith(std::shared_ptr<MailOutbox> outbox) { outbox_ = std::move(outbox); }

 protected:
  // New mail, sent through the outbox of the folder or the nearest one above
  // it; without one the items refuse Add.
  Ref<OutlookItems> NewItems() override;

 private:
  std::string name_;
  int32_t itemType_;
  std::weak_ptr<ProfileFolder> parent_;
  bool hasParent_;
  std::string path_;
  std::string storeFile_;
  FolderVector children_;
  std::vector<ProfileItem> items_;
  std::unordered_set<std::string> keys_;
  std::shared_ptr<MailOutbox> outbox_;
};

}  // namespace vellix::outlook
