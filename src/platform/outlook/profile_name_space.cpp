#include "platform/outlook/profile_name_space.h"

#include <utility>

#include "foundation/vb_error.h"
#include "platform/outlook/profile_folder_list.h"

namespace vellix::outlook {

ProfileNameSpace::ProfileNameSpace(std::shared_ptr<MailProfile> profile, FolderChooser chooser)
    : profile_(std::move(profile)), chooser_(std::move(chooser)) {
  if (!profile_) throw VbError(err::kObjectNotSet);
}

Ref<OutlookFolders> ProfileNameSpace::Folders() {
  return MakeRef<ProfileFolderList>(
      std::shared_ptr<const FolderVector>(profile_, &profile_->Stores()));
}

Ref<MAPIFolder> ProfileNameSpace::GetDefaultFolder(int32_t folderType) {
  auto folder = profile_->DefaultFolder(folderType);
  if (!folder) {
    throw VbError(kOutlookOperationFailed,
                  "The attempted operation failed.  An object could not be found.");
  }
  return {folder};
}

Ref<MAPIFolder> ProfileNameSpace::PickFolder() {
  if (!chooser_) return nullptr;
  return chooser_(*this);
}

}  // namespace vellix::outlook
