#pragma once

#include <memory>
#include <string>

#include "foundation/outlook.h"
#include "platform/outlook/mail_outbox.h"

namespace vellix::outlook {

// A new mail of the mail profile: what the logic sets on it is kept until
// Send gives it to the outbox. A mail is sent once; after that it refuses
// changes, as the mail program's sent items do.
class ProfileMailItem : public MailItem, public std::enable_shared_from_this<ProfileMailItem> {
 public:
  explicit ProfileMailItem(std::shared_ptr<MailOutbox> outbox);

  std::string Subject() override { return mail_.subject; }
  void Subject(const std::string& value) override;
  std::string Body() override { return mail_.body; }
  void Body(const std::string& value) override;
  Ref<OutlookAttachments> Attachments() override;
  Ref<OutlookRecipients> Recipients() override;
  void Send() override;

  // The mail as it stands, and the message file it went to once sent.
  [[nodiscard]] const OutgoingMail& Mail() const { return mail_; }
  [[nodiscard]] const std::filesystem::path& SentFile() const { return sentFile_; }

 private:
  friend class ProfileAttachments;
  friend class ProfileRecipients;
  void RefuseWhenSent() const;

  std::shared_ptr<MailOutbox> outbox_;
  OutgoingMail mail_;
  std::filesystem::path sentFile_;
};

// The items of a folder of the mail profile, where new mail is made.
class ProfileItems : public OutlookItems {
 public:
  explicit ProfileItems(std::shared_ptr<MailOutbox> outbox);
  Ref<MailItem> Add(int32_t itemType) override;

 private:
  std::shared_ptr<MailOutbox> outbox_;
};

}  // namespace vellix::outlook
