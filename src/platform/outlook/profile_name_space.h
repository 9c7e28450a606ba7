#pragma once

#include <functional>
#include <memory>

#include "foundation/outlook.h"
#include "platform/outlook/mail_profile.h"

namespace vellix::outlook {

// The folder dialog a desktop shows for the mail program: given the name
// space, the folder chosen, or nothing when the user cancelled.
using FolderChooser = std::function<Ref<MAPIFolder>(NameSpace& nameSpace)>;

// The "MAPI" name space over a mail profile.
class ProfileNameSpace : public NameSpace {
 public:
  explicit ProfileNameSpace(std::shared_ptr<MailProfile> profile, FolderChooser chooser = {});

  // The stores, as a live list: a store added later shows in it.
  Ref<OutlookFolders> Folders() override;
  // A kind the profile has no folder for raises kOutlookOperationFailed.
  Ref<MAPIFolder> GetDefaultFolder(int32_t folderType) override;
  // Nothing also when no chooser was given: there is no window to show.
  Ref<MAPIFolder> PickFolder() override;

 private:
  std::shared_ptr<MailProfile> profile_;
  FolderChooser chooser_;
};

}  // namespace vellix::outlook
