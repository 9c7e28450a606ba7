// The support mail's message file, fed a hostile subject, body and attached
// file names (fields: subject, body, then name and content of each file).
// Whatever they hold, the file is 7-bit mail of CRLF lines no longer than
// RFC 5322 allows, with the headers it should have and no other, and the
// subject and the file names read back as they were given.
#include <algorithm>
#include <array>

#include "fuzz/fuzz_driver.h"
#include "platform/outlook/mail_outbox.h"
#include "platform/outlook/profile_message.h"

namespace {

using vellix::fuzz::Check;

std::string Base64Decode(std::string_view text) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) break;  // the padding
    bits = bits << 6 | static_cast<uint32_t>(digit);
    if ((count += 6) >= 8) out += static_cast<char>(bits >> (count -= 8) & 0xFF);
  }
  return out;
}

// The subject as a reader shows it: unfolded, its encoded words decoded.
std::string ReadSubject(const std::string& message, bool encoded) {
  std::string value = vellix::outlook::HeaderValue(message, "Subject");
  if (!encoded) return value;
  std::string text;
  size_t at = 0;
  while (at < value.size()) {
    const size_t end = std::min(value.find(' ', at), value.size());
    const std::string_view word = std::string_view(value).substr(at, end - at);
    Check(word.starts_with("=?UTF-8?B?") && word.ends_with("?="), "a broken encoded word", value);
    text += Base64Decode(word.substr(10, word.size() - 12));
    at = end + 1;
  }
  return text;
}

// The file name an attachment's Content-Disposition gives.
std::string ReadFileName(std::string_view line) {
  std::string name;
  if (const size_t at = line.find("filename=\""); at != std::string_view::npos) {
    for (size_t i = at + 10; i + 1 < line.size(); ++i)
      name += line[i] == '\\' ? line[++i] : line[i];
  } else if (const size_t utf = line.find("filename*=utf-8''"); utf != std::string_view::npos) {
    for (size_t i = utf + 17; i < line.size(); ++i) {
      name += line[i] == '%'
                  ? static_cast<char>(std::stoi(std::string(line.substr(i + 1, 2)), nullptr, 16))
                  : line[i];
      if (line[i] == '%') i += 2;
    }
  }
  return name;
}

std::string OneLineTrimmed(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  const size_t first = text.find_first_not_of(" \t");
  const size_t last = text.find_last_not_of(" \t");
  return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto f = vellix::fuzz::Fields(vellix::fuzz::Text(data, size), 2);
  vellix::outlook::OutgoingMail mail;
  mail.subject = f[0];
  mail.body = f[1];
  mail.recipients = {"support@vellix.example"};
  std::vector<std::string> names;
  for (size_t i = 2; i < f.size(); i += 2) {
    // Only what a file can be called: no NUL, at most 255 bytes.
    const std::string name = std::filesystem::path(f[i]).filename().string();
    if (name.empty() || name.size() > 255 || name.find('\0') != std::string::npos) continue;
    names.push_back(name);
    mail.attachments.push_back({f[i], i + 1 < f.size() ? f[i + 1] : std::string()});
  }
  const std::string message =
      vellix::outlook::ComposeMessage(mail, vellix::outlook::MailOutbox::kSender,
                                      vellix::DateSerial(2025, 3, 14), "<id@localhost>");

  // Each line, and the headers of the message and of each of its parts.
  std::vector<std::string> headers;
  std::vector<std::string> dispositions;
  std::string boundary;
  size_t parts = 0;
  bool inHeaders = true;
  size_t at = 0;
  while (at < message.size()) {
    const size_t end = message.find("\r\n", at);
    Check(end != std::string::npos, "the message does not end its last line", message);
    const std::string_view line = std::string_view(message).substr(at, end - at);
    at = end + 2;
    Check(line.size() <= 998, "a line longer than mail allows", line);
    // Headers are printable; a 7-bit body may hold any byte but NUL, CR and LF.
    for (const char c : line) {
      const auto u = static_cast<unsigned char>(c);
      Check(inHeaders ? (u >= 0x20 && u < 0x7F) || c == '\t'
                      : u > 0 && u < 0x80 && c != '\r' && c != '\n',
            "a byte mail can't carry in a line", line);
    }
    if (boundary.empty() && line.starts_with("Content-Type: multipart/mixed; boundary=\""))
      boundary = "--" + std::string(line.substr(41, line.size() - 42));
    if (line.empty()) {
      inHeaders = false;
    } else if (!boundary.empty() && line == boundary) {
      ++parts;
      inHeaders = true;
    } else if (inHeaders && parts == 0 && line.front() != ' ' && line.front() != '\t') {
      headers.emplace_back(line.substr(0, line.find(':')));
    } else if (inHeaders && line.starts_with("Content-Disposition:")) {
      dispositions.emplace_back(line);
    }
  }
  const std::vector<std::string> expected = {"From",       "To",           "Subject",     "Date",
                                             "Message-ID", "MIME-Version", "Content-Type"};
  Check(headers == expected, "the headers are not the mail's own", message);
  Check(message.ends_with(boundary + "--\r\n"), "the message does not close its parts", message);
  Check(parts == 1 + names.size() && dispositions.size() == names.size(),
        "the parts are not the body and each file", message);
  const bool encoded = std::any_of(mail.subject.begin(), mail.subject.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u < 0x20 || u >= 0x7F) && c != '\t' && c != '\r' && c != '\n';
  });
  Check(OneLineTrimmed(ReadSubject(message, encoded)) == OneLineTrimmed(mail.subject),
        "the subject does not read back", message);
  for (size_t i = 0; i < names.size(); ++i)
    Check(ReadFileName(dispositions[i]) == names[i], "a file name does not read back", message);
  return 0;
}
