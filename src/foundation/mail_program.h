#pragma once

#include "foundation/outlook.h"
#include "foundation/ref.h"

namespace vellix {

// Where "Outlook.Application" comes from. Creating it can fail, as it does on a
// desktop without the mail program or with a broken profile: the logic then
// gets nothing and reports that there is no mail program to talk to.
class MailProgram {
 public:
  virtual ~MailProgram() = default;
  // A new application object on the user's profile, or nothing.
  virtual Ref<OutlookApplication> CreateApplication() = 0;
};

}  // namespace vellix
