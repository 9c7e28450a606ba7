#pragma once

#include <memory>
#include <string>

#include "foundation/outlook.h"
#include "platform/outlook/mail_profile.h"

namespace vellix::outlook {

// "Outlook.Application" over a loaded mail profile.
class ProfileApplication : public OutlookApplication {
 public:
  explicit ProfileApplication(std::shared_ptr<MailProfile> profile);

  // "MAPI" (without regard to case) gives the name space; anything else nothing.
  Ref<NameSpace> GetNamespace(const std::string& type) override;

 private:
  std::shared_ptr<MailProfile> profile_;
};

}  // namespace vellix::outlook
