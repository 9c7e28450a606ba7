#include "platform/outlook/profile_mail_item.h"

#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix::outlook {

namespace fs = std::filesystem;

class ProfileAttachments : public OutlookAttachments {
 public:
  explicit ProfileAttachments(std::shared_ptr<ProfileMailItem> item) : item_(std::move(item)) {}

  void Add(const std::string& path) override {
    item_->RefuseWhenSent();
    const fs::path file = item_->outbox_->NativeFile(path);
    std::error_code ec;
    if (Trim(path).empty() || !fs::is_regular_file(file, ec)) {
      throw VbError(kOutlookOperationRefused,
                    "Cannot find this file. Verify the path and file name are correct: " + path);
    }
    std::ifstream in(file, std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
      throw VbError(kOutlookOperationRefused, "Cannot read the file " + path + ".");
    }
    item_->mail_.attachments.push_back({file, std::move(content)});
  }
  int32_t Count() override { return static_cast<int32_t>(item_->mail_.attachments.size()); }

 private:
  std::shared_ptr<ProfileMailItem> item_;
};

class ProfileRecipients : public OutlookRecipients {
 public:
  explicit ProfileRecipients(std::shared_ptr<ProfileMailItem> item) : item_(std::move(item)) {}

  void Add(const std::string& address) override {
    item_->RefuseWhenSent();
    const std::string trimmed = Trim(address);
    if (trimmed.empty() || trimmed.find_first_of("\r\n") != std::string::npos) {
      throw VbError(kOutlookOperationRefused, "There must be at least one name or address.");
    }
    item_->mail_.recipients.push_back(trimmed);
  }
  int32_t Count() override { return static_cast<int32_t>(item_->mail_.recipients.size()); }

 private:
  std::shared_ptr<ProfileMailItem> item_;
};

ProfileMailItem::ProfileMailItem(std::shared_ptr<MailOutbox> outbox) : outbox_(std::move(outbox)) {
  if (!outbox_) throw VbError(err::kObjectNotSet);
}

void ProfileMailItem::RefuseWhenSent() const {
  if (!sentFile_.empty()) {
    throw VbError(kOutlookOperationRefused, "The item has been moved or deleted.");
  }
}

void ProfileMailItem::Subject(const std::string& value) {
  RefuseWhenSent();
  mail_.subject = value;
}

void ProfileMailItem::Body(const std::string& value) {
  RefuseWhenSent();
  mail_.body = value;
}

Ref<OutlookAttachments> ProfileMailItem::Attachments() {
  // The list shares the item, so it lives as long as the logic holds either.
  return MakeRef<ProfileAttachments>(shared_from_this());
}

Ref<OutlookRecipients> ProfileMailItem::Recipients() {
  return MakeRef<ProfileRecipients>(shared_from_this());
}

void ProfileMailItem::Send() {
  RefuseWhenSent();
  sentFile_ = outbox_->Send(mail_);
}

ProfileItems::ProfileItems(std::shared_ptr<MailOutbox> outbox) : outbox_(std::move(outbox)) {}

Ref<MailItem> ProfileItems::Add(int32_t itemType) {
  if (itemType != 0) {
    throw VbError(kOutlookOperationRefused, "Only mail items can be made here.");
  }
  return MakeRef<ProfileMailItem>(outbox_);
}

}  // namespace vellix::outlook
