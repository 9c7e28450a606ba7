#pragma once

#include <memory>

#include "foundation/outlook.h"
#include "platform/outlook/mail_profile.h"

namespace vellix::outlook {

// The "MAPI" name space over a mail profile.
class ProfileNameSpace : public NameSpace {
 public:
  explicit ProfileNameSpace(std::shared_ptr<MailProfile> profile);

  // The stores, as a live list: a store added later shows in it.
  Ref<OutlookFolders> Folders() override;
  // A kind the profile has no folder for raises kOutlookOperationFailed.
  Ref<MAPIFolder> GetDefaultFolder(int32_t folderType) override;

 private:
  std::shared_ptr<MailProfile> profile_;
};

}  // namespace vellix::outlook
