#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "foundation/date.h"

namespace vellix::outlook {

// A file attached to a mail: a copy of its bytes, taken when it was attached,
// and the file it came from.
struct MailAttachment {
  std::filesystem::path file;
  std::string content;
};

// A mail as the user's mail program sends it.
struct OutgoingMail {
  std::string subject;
  std::string body;
  std::vector<MailAttachment> attachments;
  std::vector<std::string> recipients;
};

// Asks the user whether the mail may go; the text says what will happen.
using SendConfirmer = std::function<bool(const std::string& text)>;
// Gives a sent mail to the desktop's own mail program, if there is one; the
// mail's message file lies at `eml`. It must not block, and what it does is no
// part of sending: the message file is the sent mail.
using MailHandOver =
    std::function<void(const OutgoingMail& mail, const std::filesystem::path& eml)>;

// Where the mail profile's sent mail goes. The desktop has no mail server the
// panel could use, so sending writes a standard message file (RFC 5322 with
// MIME, multipart/mixed) into a folder, after the user confirmed it, and then
// hands the mail to the desktop's mail program.
class MailOutbox {
 public:
  explicit MailOutbox(std::filesystem::path folder);

  // Without a confirmer no mail goes: there is nobody to ask.
  void ConfirmSendWith(SendConfirmer confirmer) { confirmer_ = std::move(confirmer); }
  void HandOverWith(MailHandOver handOver) { handOver_ = std::move(handOver); }
  // How a path text of the logic names a file on disk; by default it is taken
  // as it stands.
  void MapFilesWith(std::function<std::filesystem::path(const std::string&)> mapper) {
    mapper_ = std::move(mapper);
  }
  // Where the Date header and the file name's time come from.
  void TimeFrom(std::function<Date()> now) { now_ = std::move(now); }

  [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
  [[nodiscard]] std::filesystem::path NativeFile(const std::string& path) const;

  // Sends: asks the user, then writes the message file whole (a temporary
  // name, renamed when complete) and hands it over. Gives the file written.
  // A mail without recipients, one the user declines or one that can't be
  // written raises kOutlookSendFailed, and no file is left.
  std::filesystem::path Send(const OutgoingMail& mail);

  // The sender of every mail: the panel, on this computer.
  static constexpr const char* kSender = "Vellix Control <vellix-control@localhost>";

 private:
  [[nodiscard]] std::filesystem::path FreeFileName(Date date) const;

  std::filesystem::path folder_;
  SendConfirmer confirmer_;
  MailHandOver handOver_;
  std::function<std::filesystem::path(const std::string&)> mapper_;
  std::function<Date()> now_;
};

// The mail as a message: From, To, Subject, Date, Message-ID, MIME-Version,
// then multipart/mixed of the text body and each attachment in base64 under
// its file name. Lines end in CRLF.
std::string ComposeMessage(const OutgoingMail& mail, const std::string& from, Date date,
                           const std::string& messageId);

}  // namespace vellix::outlook
