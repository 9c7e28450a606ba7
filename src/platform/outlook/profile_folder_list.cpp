#include "platform/outlook/profile_folder_list.h"

#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::outlook {

ProfileFolderList::ProfileFolderList(std::shared_ptr<const FolderVector> folders)
    : folders_(std::move(folders)) {}

int32_t ProfileFolderList::Count() {
  return static_cast<int32_t>(folders_->size());
}

Ref<MAPIFolder> ProfileFolderList::Item(int32_t index) {
  if (index < 1 || index > Count()) throw VbError(kOutlookNotFound, "Array index out of bounds.");
  return {(*folders_)[static_cast<size_t>(index - 1)]};
}

Ref<MAPIFolder> ProfileFolderList::Item(const std::string& name) {
  // The mail program looks folder names up without regard to case.
  for (const auto& folder : *folders_) {
    if (EqualsText(folder->Name(), name)) return {folder};
  }
  throw VbError(kOutlookNotFound, "The attempted operation failed.  An object could not be found.");
}

}  // namespace vellix::outlook
