#include "platform/outlook/profile_application.h"

#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_name_space.h"

namespace vellix::outlook {

ProfileApplication::ProfileApplication(std::shared_ptr<MailProfile> profile, FolderChooser chooser,
                                       ExplorerWindow explorerWindow)
    : profile_(std::move(profile)),
      chooser_(std::move(chooser)),
      explorerWindow_(std::move(explorerWindow)) {
  if (!profile_) throw VbError(err::kObjectNotSet);
}

Ref<NameSpace> ProfileApplication::GetNamespace(const std::string& type) {
  if (!EqualsText(type, "MAPI")) return nullptr;
  return MakeRef<ProfileNameSpace>(profile_, chooser_);
}

Ref<OutlookExplorers> ProfileApplication::Explorers() {
  return MakeRef<ProfileExplorers>(MakeRef<ProfileNameSpace>(profile_, chooser_), explorerWindow_);
}

void ProfileApplication::Quit() {
  profile_->Quit();
}

}  // namespace vellix::outlook
