#include "platform/outlook/mail_outbox.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>

#include "foundation/outlook.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_message.h"

namespace vellix::outlook {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kCrlf = "\r\n";
// RFC 5322's limit on a line, without its CRLF.
constexpr size_t kLongestLine = 998;

bool IsPlainAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u < 0x80 && (u >= 0x20 || c == '\t');
  });
}

// Whether the text can go as it stands (7bit): ASCII, no line too long, and
// nothing that could be taken for the boundary.
bool FitsSevenBit(std::string_view text, std::string_view boundary) {
  if (text.find(boundary) != std::string_view::npos) return false;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.size() > kLongestLine || !IsPlainAscii(line)) return false;
    start = end + 1;
  }
  return true;
}

std::string Hex(uint64_t value) {
  std::array<char, 17> text{};
  (void)std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(value));
  return text.data();
}

// The file-name parameter of an attachment: quoted when it is printable
// ASCII, else in RFC 2231's UTF-8 form, which carries any byte.
std::string FileNameParameter(const std::string& name) {
  if (std::all_of(name.begin(), name.end(), [](char c) { return c >= 0x20 && c < 0x7F; })) {
    std::string quoted = "filename=\"";
    for (char c : name) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
    return quoted + "\"";
  }
  std::string encoded = "filename*=utf-8''";
  for (char c : name) {
    const auto u = static_cast<unsigned char>(c);
    if (std::isalnum(u) != 0 || c == '.' || c == '-' || c == '_') {
      encoded += c;
    } else {
      std::array<char, 4> escape{};
      (void)std::snprintf(escape.data(), escape.size(), "%%%02X", u);
      encoded += escape.data();
    }
  }
  return encoded;
}

std::string Joined(const std::vector<std::string>& parts, std::string_view between) {
  std::string out;
  for (const auto& part : parts) {
    if (!out.empty()) out += between;
    out += part;
  }
  return out;
}

std::string TimeStamp(Date date) {
  const CivilTime t = ToCivil(date);
  std::array<char, 32> text{};
  (void)std::snprintf(text.data(), text.size(), "%04d%02d%02d-%02d%02d%02d", t.year, t.month, t.day,
                      t.hour, t.minute, t.second);
  return text.data();
}

[[noreturn]] void Refuse(const std::string& why) {
  throw VbError(kOutlookSendFailed, why);
}

// Writes the file whole under a temporary name, flushed to the disk, and
// renames it: a reader never sees half a mail.
void WriteWhole(const fs::path& target, const std::string& text) {
  const fs::path temporary = target.string() + ".part";
  std::error_code ec;
  {
    // A mail is the user's own: its file is made private before it is filled.
    fs::remove(temporary, ec);
    if (const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        fd >= 0)
      (void)::close(fd);
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
      fs::remove(temporary, ec);
      Refuse("The mail could not be written to " + target.string() + ".");
    }
  }
  if (const int fd = ::open(temporary.c_str(), O_RDONLY | O_CLOEXEC); fd >= 0) {
    (void)::fsync(fd);
    (void)::close(fd);
  }
  fs::rename(temporary, target, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    Refuse("The mail could not be written to " + target.string() + ": " + ec.message() + ".");
  }
}

}  // namespace

MailOutbox::MailOutbox(fs::path folder) : folder_(std::move(folder)) {}

fs::path MailOutbox::NativeFile(const std::string& path) const {
  return mapper_ ? mapper_(path) : fs::path(path);
}

fs::path MailOutbox::FreeFileName(Date date) const {
  const std::string stem = "mail-" + TimeStamp(date);
  fs::path candidate = folder_ / (stem + ".eml");
  std::error_code ec;
  for (int n = 2; fs::exists(candidate, ec); ++n)
    candidate = folder_ / (stem + "-" + std::to_string(n) + ".eml");
  return candidate;
}

fs::path MailOutbox::Send(const OutgoingMail& mail) {
  if (mail.recipients.empty()) Refuse("The mail has no recipient.");
  if (!confirmer_) Refuse("The mail was not sent: there is no window to ask the user in.");

  const Date date = now_ ? now_() : SystemClock().Now();
  const fs::path target = FreeFileName(date);
  const std::string count = std::to_string(mail.attachments.size());
  const std::string question =
      "Send a mail to " + Joined(mail.recipients, ", ") + " with " + count +
      (mail.attachments.size() == 1 ? " attachment?" : " attachments?") +
      "\n\nSubject: " + mail.subject + "\n\nThe mail is written to " + target.string() +
      ", and your desktop's mail program, where there is one, opens with it.";
  if (!confirmer_(question)) Refuse("The mail was not sent: the user declined.");

  std::error_code ec;
  if (fs::create_directories(folder_, ec))
    fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::replace, ec);
  if (ec)
    Refuse("The mail could not be written to " + folder_.string() + ": " + ec.message() + ".");

  const std::string messageId = "<" + TimeStamp(date) + "." +
                                Hex(StableHash(target.string() + '\0' + mail.body)) + "@localhost>";
  WriteWhole(target, ComposeMessage(mail, kSender, date, messageId));

  // The mail is sent once its file is there; a mail program that fails to
  // open takes nothing back.
  if (handOver_) {
    try {
      handOver_(mail, target);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the hand-over is a courtesy
    }
  }
  return target;
}

std::string ComposeMessage(const OutgoingMail& mail, const std::string& from, Date date,
                           const std::string& messageId) {
  const std::string boundary = "=_vellix_" + Hex(StableHash(messageId));
  std::string out;
  out += "From: " + from + std::string(kCrlf);
  out += "To: " + Joined(mail.recipients, ", ") + std::string(kCrlf);
  out += UnstructuredField("Subject", mail.subject);
  out += "Date: " + MessageDate(date) + std::string(kCrlf);
  out += "Message-ID: " + messageId + std::string(kCrlf);
  out += "MIME-Version: 1.0\r\n";
  out += "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n";
  out += "This is a multi-part message in MIME format.\r\n";

  out += "\r\n--" + boundary + "\r\n";
  if (FitsSevenBit(mail.body, boundary)) {
    out += "Content-Type: text/plain; charset=us-ascii\r\n";
    out += "Content-Transfer-Encoding: 7bit\r\n\r\n";
    out += WithCrlf(mail.body);
    if (!mail.body.empty() && mail.body.back() != '\n') out += kCrlf;
  } else {
    out += "Content-Type: text/plain; charset=utf-8\r\n";
    out += "Content-Transfer-Encoding: base64\r\n\r\n";
    out += Base64Body(WithCrlf(mail.body));
  }

  for (const auto& attachment : mail.attachments) {
    out += "\r\n--" + boundary + "\r\n";
    out += "Content-Type: application/octet-stream\r\n";
    out += "Content-Disposition: attachment; " +
           FileNameParameter(attachment.file.filename().string()) + "\r\n";
    out += "Content-Transfer-Encoding: base64\r\n\r\n";
    out += Base64Body(attachment.content);
  }
  out += "\r\n--" + boundary + "--\r\n";
  return out;
}

}  // namespace vellix::outlook
