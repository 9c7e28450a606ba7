#include "platform/outlook/profile_message.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

namespace vellix::outlook {

namespace {

constexpr std::string_view kCrlf = "\r\n";
constexpr std::string_view kDomain = "example.com";
// Above this a rendered item carries an attachment even when it names none:
// plain mail is rarely that large.
constexpr int32_t kAttachmentAbove = 64 * 1024;

// Deterministic numbers from a key (SplitMix64).
class Stream {
 public:
  explicit Stream(uint64_t seed) : state_(seed) {}
  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  size_t Below(size_t n) { return n == 0 ? 0 : static_cast<size_t>(Next() % n); }
  template <class Array>
  std::string_view Pick(const Array& values) {
    return values[Below(values.size())];
  }

 private:
  uint64_t state_;
};

constexpr std::array<std::string_view, 6> kOpenings = {
    "Thanks for getting back to me so quickly.",
    "I hope the week is treating you well.",
    "Following up on our conversation earlier today.",
    "As promised, here is a short update.",
    "Quick note before the end of the day.",
    "Sorry this took a little longer than planned.",
};
constexpr std::array<std::string_view, 16> kSentences = {
    "I have gone through the figures again and they add up now.",
    "The team agreed to keep the original timeline for the moment.",
    "Could you have a look before Thursday and let me know what you think?",
    "We still need a decision on the budget for the second phase.",
    "The supplier confirmed delivery for the end of next week.",
    "I moved the review to the small meeting room on the second floor.",
    "Nothing here is urgent, but it would help to settle it this month.",
    "Maria raised a good point about the risks, which I have added to the notes.",
    "The draft is attached to the shared folder as well.",
    "If anything is unclear, give me a call and we can go through it together.",
    "Legal asked for two small changes, both of which are in this version.",
    "Let's keep the discussion in this thread so nothing gets lost.",
    "The numbers for the last quarter came in slightly above the forecast.",
    "I will send the minutes round once everyone has had a chance to comment.",
    "Please forward this to anyone I have missed.",
    "We can revisit the open questions at the next team meeting.",
};
constexpr std::array<std::string_view, 5> kClosings = {"Best regards,", "Thanks,", "Kind regards,",
                                                       "Cheers,", "All the best,"};

struct AttachmentKind {
  std::string_view extension;
  std::string_view mimeType;
  std::string_view magic;  // how such a file begins
};
constexpr std::array<AttachmentKind, 5> kAttachmentKinds = {{
    {".pdf", "application/pdf", "%PDF-1.4\n"},
    {".docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document",
     "PK\x03\x04"},
    {".xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "PK\x03\x04"},
    {".png", "image/png", "\x89PNG\r\n\x1a\n"},
    {".jpg", "image/jpeg", "\xFF\xD8\xFF\xE0"},
}};
constexpr std::array<std::string_view, 6> kAttachmentNames = {"report", "minutes", "figures",
                                                              "draft",  "scan",    "photo"};

// Whether a header can carry the text as it stands: printable ASCII and tabs.
// Anything else (8-bit text, control characters, NUL) goes in encoded words.
bool IsHeaderText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u >= 0x20 && u < 0x7F) || c == '\t';
  });
}

std::string Base64(std::string_view bytes) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t n = static_cast<unsigned char>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) n |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    if (i + 2 < bytes.size()) n |= static_cast<unsigned char>(bytes[i + 2]);
    out += kDigits[(n >> 18) & 63];
    out += kDigits[(n >> 12) & 63];
    out += i + 1 < bytes.size() ? kDigits[(n >> 6) & 63] : '=';
    out += i + 2 < bytes.size() ? kDigits[n & 63] : '=';
  }
  return out;
}

// Bytes of `raw` bytes in base64 lines of 76 characters, each with its CRLF.
size_t Base64LinesSize(size_t raw) {
  const size_t chars = (raw + 2) / 3 * 4;
  return chars + 2 * ((chars + 75) / 76);
}

std::string Base64Lines(std::string_view bytes) {
  const std::string digits = Base64(bytes);
  std::string out;
  out.reserve(Base64LinesSize(bytes.size()));
  for (size_t at = 0; at < digits.size(); at += 76) {
    out.append(digits, at, 76);
    out += kCrlf;
  }
  return out;
}

// An encoded word (RFC 2047) for text that isn't ASCII, split where a word
// would run past 75 characters and never inside a UTF-8 sequence.
std::string EncodedWords(std::string_view text) {
  std::string out;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = std::min(text.size(), at + 42);
    while (end < text.size() && end > at + 1 &&
           (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
      --end;
    if (!out.empty()) out += "\r\n ";
    out += "=?UTF-8?B?" + Base64(text.substr(at, end - at)) + "?=";
    at = end;
  }
  return out;
}

// Line breaks in a field would end its header: they become blanks.
std::string OneLine(std::string_view text) {
  std::string out(text);
  std::replace_if(
      out.begin(), out.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return out;
}

// An unstructured header (Subject), folded before a blank where a line would
// grow past 76 characters.
std::string UnstructuredHeader(std::string_view name, std::string_view text) {
  const std::string value = OneLine(text);
  if (!IsHeaderText(value)) return std::string(name) + ": " + EncodedWords(value) + "\r\n";
  std::string out = std::string(name) + ":";
  size_t lineLength = out.size();
  size_t at = 0;
  while (at <= value.size()) {
    size_t end = value.find(' ', at);
    if (end == std::string::npos) end = value.size();
    const std::string piece = " " + value.substr(at, end - at);
    if (piece.size() > 1 && lineLength > name.size() + 1 && lineLength + piece.size() > 76) {
      out += "\r\n";
      lineLength = 0;
    }
    out += piece;
    lineLength += piece.size();
    at = end + 1;
  }
  return out + "\r\n";
}

// "Grace Okafor" as a mailbox: the name, and an address made from it.
std::string Mailbox(std::string_view field) {
  std::string person = OneLine(field);
  if (person.find('@') != std::string::npos) return person;
  std::string local;
  for (char c : person) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 && static_cast<unsigned char>(c) < 0x80) {
      local += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else if ((c == ' ' || c == '-' || c == '.') && !local.empty() && local.back() != '.') {
      local += '.';
    }
  }
  while (!local.empty() && local.back() == '.')
    local.pop_back();
  if (local.empty()) local = "someone";
  std::string name;
  if (!IsHeaderText(person)) {
    name = EncodedWords(person);
  } else if (person.find_first_of("()<>[]:;@\\,.\"") != std::string::npos) {
    name = "\"";
    for (char c : person) {
      if (c == '"' || c == '\\') name += '\\';
      name += c;
    }
    name += '"';
  } else {
    name = person;
  }
  return name + " <" + local + "@" + std::string(kDomain) + ">";
}

std::string FirstName(std::string_view field) {
  const std::string person = OneLine(field);
  if (person.empty() || person.find('@') != std::string::npos) return {};
  return person.substr(0, person.find(' '));
}

// A message one byte short of its size takes a blank at the end of the
// greeting, the first line of its text at `textAt`: a byte can't be a line.
std::string LengthenByOne(std::string message, size_t textAt) {
  message.insert(message.find("\r\n", textAt), " ");
  return message;
}

// Words wrapped at 72 characters, each line with its CRLF.
std::string Wrapped(std::string_view text) {
  std::string out;
  size_t lineLength = 0;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find(' ', at);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view word = text.substr(at, end - at);
    if (lineLength > 0 && lineLength + 1 + word.size() > 72) {
      out += kCrlf;
      lineLength = 0;
    } else if (lineLength > 0) {
      out += ' ';
      ++lineLength;
    }
    out += word;
    lineLength += word.size();
    at = end + 1;
  }
  return out + std::string(kCrlf);
}

std::string ParagraphText(Stream& dice) {
  std::string text;
  const size_t sentences = 2 + dice.Below(3);
  for (size_t i = 0; i < sentences; ++i)
    text += (i == 0 ? "" : " ") + std::string(dice.Pick(kSentences));
  return text;
}

std::string Paragraph(Stream& dice) {
  return Wrapped(ParagraphText(dice));
}

// Exactly `bytes` of further paragraphs (the last one cut short), so that a
// rendered message has the size its item says. Ends with CRLF from 2 bytes on.
std::string Filler(Stream& dice, size_t bytes) {
  std::string out;
  while (out.size() < bytes) {
    out += kCrlf;
    out += Paragraph(dice);
  }
  out.resize(bytes);
  if (bytes >= 2) {
    out[bytes - 2] = '\r';
    out[bytes - 1] = '\n';
    // A cut CRLF would leave a bare CR before it.
    if (bytes >= 3 && out[bytes - 3] == '\r') out[bytes - 3] = '.';
  }
  return out;
}

std::string TextBody(const ProfileItem& item, Stream& dice) {
  const std::string greeting = FirstName(item.recipient);
  std::string body = (greeting.empty() ? std::string("Hello,") : "Hi " + greeting + ",") + "\r\n";
  body += kCrlf;
  body += Wrapped(std::string(dice.Pick(kOpenings)) + " " + ParagraphText(dice));
  body += kCrlf;
  body += Paragraph(dice);
  return body;
}

std::string SignOff(const ProfileItem& item, Stream& dice) {
  std::string name = FirstName(item.sender);
  return "\r\n" + std::string(dice.Pick(kClosings)) + "\r\n" + (name.empty() ? "Alex" : name) +
         "\r\n";
}

}  // namespace

uint64_t StableHash(std::string_view text, uint64_t seed) {
  uint64_t hash = 0xCBF29CE484222325ULL ^ seed;
  for (char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001B3ULL;
  }
  return hash;
}

std::string MessageDate(Date date) {
  static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const CivilTime t = ToCivil(date);
  std::array<char, 64> text{};
  (void)std::snprintf(text.data(), text.size(), "%s, %d %s %04d %02d:%02d:%02d -0000",
                      kDays[static_cast<size_t>(t.weekday - 1) % 7], t.day,
                      kMonths[static_cast<size_t>(t.month - 1) % 12], t.year, t.hour, t.minute,
                      t.second);
  return text.data();
}

std::string MakeItemKey(std::string_view folderPath, const ProfileItem& item, int32_t repeat) {
  std::string what(folderPath);
  what += '\0' + item.subject + '\0' + item.sender + '\0' + item.recipient + '\0' +
          MessageDate(item.received) + '\0' + std::to_string(item.size) + '\0' +
          std::to_string(repeat);
  const CivilTime t = ToCivil(item.received);
  std::array<char, 64> key{};
  (void)std::snprintf(key.data(), key.size(), "%04d%02d%02d%02d%02d%02d.%016llx@", t.year, t.month,
                      t.day, t.hour, t.minute, t.second,
                      static_cast<unsigned long long>(StableHash(what)));
  return key.data() + std::string(kDomain);
}

std::string HeaderValue(std::string_view message, std::string_view name) {
  std::string value;
  bool inside = false;
  size_t at = 0;
  while (at < message.size()) {
    size_t end = message.find('\n', at);
    if (end == std::string_view::npos) end = message.size();
    std::string_view line = message.substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    at = end + 1;
    if (line.empty()) break;  // the headers end
    if (line.front() == ' ' || line.front() == '\t') {
      if (inside) value += line;
      continue;
    }
    if (inside) break;
    const size_t colon = line.find(':');
    if (colon != name.size()) continue;
    const bool same = std::equal(name.begin(), name.end(), line.begin(), [](char a, char b) {
      return std::tolower(static_cast<unsigned char>(a)) ==
             std::tolower(static_cast<unsigned char>(b));
    });
    if (!same) continue;
    inside = true;
    value = line.substr(colon + 1);
  }
  const size_t first = value.find_first_not_of(" \t");
  const size_t last = value.find_last_not_of(" \t");
  return first == std::string::npos ? std::string() : value.substr(first, last - first + 1);
}

std::string WithCrlf(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) out += '\r';
    out += text[i];
    // A lone CR ends a line as well; kept alone, an XML file would read it
    // back as LF, and mail may not carry it.
    if (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n')) out += '\n';
  }
  return out;
}

std::string MessageText(const ProfileItem& item) {
  return item.message.empty() ? RenderMessage(item) : item.message;
}

std::string RenderMessage(const ProfileItem& item) {
  Stream dice(StableHash(item.key, 0x5EED));
  const std::string from = item.sender.empty() ? (item.recipient.empty() ? Mailbox("Mailbox owner")
                                                                         : Mailbox(item.recipient))
                                               : Mailbox(item.sender);
  std::string headers = "From: " + from + "\r\n";
  headers +=
      "To: " +
      (item.recipient.empty() ? std::string("undisclosed-recipients:;") : Mailbox(item.recipient)) +
      "\r\n";
  headers += "Date: " + MessageDate(item.received) + "\r\n";
  headers += UnstructuredHeader("Subject", item.subject);
  headers += "Message-ID: <" + item.key + ">\r\n";
  headers += "MIME-Version: 1.0\r\n";

  const std::string text = TextBody(item, dice);
  const std::string signOff = SignOff(item, dice);
  const auto target = static_cast<size_t>(std::max(item.size, 0));
  const bool attached = !item.attachment.empty() || item.size > kAttachmentAbove;
  constexpr std::string_view kTextType =
      "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n";

  if (!attached) {
    const std::string head = headers + std::string(kTextType) + "\r\n" + text;
    const size_t natural = head.size() + signOff.size();
    if (natural >= target) return head + signOff;
    if (natural + 1 == target) return LengthenByOne(head + signOff, head.size() - text.size());
    return head + Filler(dice, target - natural) + signOff;
  }

  std::string name = item.attachment;
  const AttachmentKind* kind = &kAttachmentKinds[dice.Below(kAttachmentKinds.size())];
  if (name.empty()) {
    name = std::string(dice.Pick(kAttachmentNames)) + std::string(kind->extension);
  } else {
    for (const auto& known : kAttachmentKinds) {
      if (name.size() > known.extension.size() && name.ends_with(known.extension)) kind = &known;
    }
  }
  std::string quotedName;
  for (char c : name) {
    if (c == '"' || c == '\\') quotedName += '\\';
    if (c != '\r' && c != '\n') quotedName += c;
  }
  const std::string boundary =
      "=_part_" + std::to_string(StableHash(item.key, 0xB0B) % 1000000000000ULL);
  const std::string head = headers + "Content-Type: multipart/mixed; boundary=\"" + boundary +
                           "\"\r\n\r\nThis is a message in MIME format.\r\n\r\n--" + boundary +
                           "\r\n" + std::string(kTextType) + "\r\n" + text;
  const std::string attachmentHead =
      signOff + "\r\n--" + boundary + "\r\nContent-Type: " + std::string(kind->mimeType) +
      "; name=\"" + quotedName + "\"\r\nContent-Disposition: attachment; filename=\"" + quotedName +
      "\"\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  const std::string tail = "--" + boundary + "--\r\n";
  const size_t fixed = head.size() + attachmentHead.size() + tail.size();
  // The largest attachment that fits, at least 1 KB; the text takes what is left.
  size_t raw = 1024;
  if (target > fixed + Base64LinesSize(raw)) {
    raw = (target - fixed) / 78 * 57;
    while (Base64LinesSize(raw + 1) <= target - fixed)
      ++raw;
  }
  std::string bytes(kind->magic);
  bytes.reserve(raw);
  while (bytes.size() < raw) {
    const uint64_t n = dice.Next();
    for (int i = 0; i < 8 && bytes.size() < raw; ++i)
      bytes += static_cast<char>((n >> (8 * i)) & 0xFF);
  }
  bytes.resize(raw);
  const std::string encoded = Base64Lines(bytes);
  const size_t natural = fixed + encoded.size();
  if (natural + 1 == target) {
    return LengthenByOne(head + attachmentHead + encoded + tail, head.size() - text.size());
  }
  const std::string filler = natural < target ? Filler(dice, target - natural) : std::string();
  return head + filler + attachmentHead + encoded + tail;
}

std::string Base64Body(std::string_view bytes) {
  return Base64Lines(bytes);
}

std::string UnstructuredField(std::string_view name, std::string_view text) {
  return UnstructuredHeader(name, text);
}

}  // namespace vellix::outlook
