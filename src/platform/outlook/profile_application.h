#pragma once

#include <memory>
#include <string>
#include <vector>

#include "foundation/outlook.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_explorer.h"
#include "platform/outlook/profile_name_space.h"

namespace vellix::outlook {

// "Outlook.Application" over a loaded mail profile.
class ProfileApplication : public OutlookApplication {
 public:
  explicit ProfileApplication(std::shared_ptr<MailProfile> profile, FolderChooser chooser = {},
                              ExplorerWindow explorerWindow = {});

  // "MAPI" (without regard to case) gives the name space; anything else nothing.
  Ref<NameSpace> GetNamespace(const std::string& type) override;
  // Releases every store file the profile holds open (MailProfile::Quit).
  void Quit() override;
  // The profile opens no item windows: none to close.
  std::vector<Ref<Inspector>> Inspectors() override { return {}; }
  // Explorers over the profile, shown in the desktop's window when it has one.
  Ref<OutlookExplorers> Explorers() override;

 private:
  std::shared_ptr<MailProfile> profile_;
  FolderChooser chooser_;
  ExplorerWindow explorerWindow_;
};

}  // namespace vellix::outlook
