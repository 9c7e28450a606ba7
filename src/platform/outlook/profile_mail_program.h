#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "foundation/mail_program.h"
#include "platform/outlook/mail_outbox.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_explorer.h"
#include "platform/outlook/profile_name_space.h"

namespace vellix::outlook {

// "Outlook.Application" for the desktop: the profile comes from an XML file
// or a Maildir tree (maildir_profile.h), read on the first creation and then
// kept, so that stores added while the program runs stay. A profile that
// can't be read makes creation give nothing, and the reason goes to the
// reporter; the next creation reads the file again, so a user can mend it
// without restarting. Creating the application after a Quit starts the mail
// program again, and it opens its store files anew.
class ProfileMailProgram : public MailProgram {
 public:
  using Reporter = std::function<void(const std::string& problem)>;

  explicit ProfileMailProgram(std::filesystem::path profileFile, Reporter reporter = {});
  // A profile already in memory; nothing means a desktop without the mail program.
  explicit ProfileMailProgram(std::shared_ptr<MailProfile> profile);

  Ref<OutlookApplication> CreateApplication() override;
  // The folder dialog that PickFolder shows from now on.
  void ChooseFoldersWith(FolderChooser chooser) { chooser_ = std::move(chooser); }
  // The window an Explorer shows in from now on.
  void ShowExplorersWith(ExplorerWindow window) { explorerWindow_ = std::move(window); }
  // Where the profile's new mail is sent; without an outbox its folders make
  // no mail.
  void SendMailWith(std::shared_ptr<MailOutbox> outbox) { outbox_ = std::move(outbox); }

  // The profile in use, or nothing before it could be read.
  [[nodiscard]] const std::shared_ptr<MailProfile>& Profile() const { return profile_; }
  // Why the last creation gave nothing; empty after a success.
  [[nodiscard]] const std::string& LastProblem() const { return lastProblem_; }

 private:
  std::filesystem::path profileFile_;
  Reporter reporter_;
  std::shared_ptr<MailProfile> profile_;
  std::string lastProblem_;
  FolderChooser chooser_;
  ExplorerWindow explorerWindow_;
  std::shared_ptr<MailOutbox> outbox_;
};

}  // namespace vellix::outlook
