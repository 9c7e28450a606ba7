#include "platform/outlook/profile_application.h"

#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_name_space.h"

namespace vellix::outlook {

ProfileApplication::ProfileApplication(std::shared_ptr<MailProfile> profile)
    : profile_(std::move(profile)) {
  if (!profile_) throw VbError(err::kObjectNotSet);
}

Ref<NameSpace> ProfileApplication::GetNamespace(const std::string& type) {
  if (!EqualsText(type, "MAPI")) return nullptr;
  return MakeRef<ProfileNameSpace>(profile_);
}

}  // namespace vellix::outlook
