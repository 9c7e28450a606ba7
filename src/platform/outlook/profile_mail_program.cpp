#include "platform/outlook/profile_mail_program.h"

#include <utility>

#include "platform/outlook/maildir_profile.h"
#include "platform/outlook/profile_application.h"
#include "platform/outlook/profile_xml.h"

namespace vellix::outlook {

ProfileMailProgram::ProfileMailProgram(std::filesystem::path profileFile, Reporter reporter)
    : profileFile_(std::move(profileFile)), reporter_(std::move(reporter)) {}

ProfileMailProgram::ProfileMailProgram(std::shared_ptr<MailProfile> profile)
    : profile_(std::move(profile)) {
  if (!profile_) lastProblem_ = "There is no mail profile on this desktop.";
}

Ref<OutlookApplication> ProfileMailProgram::CreateApplication() {
  if (!profile_ && !profileFile_.empty()) {
    auto loaded = LoadProfileAt(profileFile_);
    if (loaded.profile) {
      profile_ = std::move(loaded.profile);
    } else {
      lastProblem_ = loaded.problem;
      if (reporter_) reporter_(lastProblem_);
    }
  }
  if (!profile_) return nullptr;
  lastProblem_.clear();
  // Creating the application starts the mail program when it has quit.
  profile_->Start();
  for (const auto& store : profile_->Stores())
    store->SendMailWith(outbox_);
  return MakeRef<ProfileApplication>(profile_, chooser_, explorerWindow_);
}

}  // namespace vellix::outlook
