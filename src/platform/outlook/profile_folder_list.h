#pragma once

#include <memory>
#include <string>

#include "foundation/outlook.h"
#include "platform/outlook/profile_folder.h"

namespace vellix::outlook {

// A live view of a folder's sub-folders or of a profile's stores: a folder
// added later shows in a list taken before.
class ProfileFolderList : public OutlookFolders {
 public:
  // The list shares ownership of whatever holds the folders.
  explicit ProfileFolderList(std::shared_ptr<const FolderVector> folders);

  int32_t Count() override;
  Ref<MAPIFolder> Item(int32_t index) override;
  Ref<MAPIFolder> Item(const std::string& name) override;

 private:
  std::shared_ptr<const FolderVector> folders_;
};

}  // namespace vellix::outlook
