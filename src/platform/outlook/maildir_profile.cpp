#include "platform/outlook/maildir_profile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_message.h"

namespace vellix::outlook {

namespace fs = std::filesystem;

namespace {

// Nested maildirs deeper than this are passed over: a link that loops back
// would never end.
constexpr int kMaxDepth = 32;

bool IsDirectory(const fs::path& path) {
  std::error_code ec;
  return fs::is_directory(path, ec);
}

// A folder a mail server made for mail that lacks what a maildir needs.
bool HalfMaildir(const fs::path& path) {
  std::error_code ec;
  return IsDirectory(path / "cur") || IsDirectory(path / "new") ||
         fs::exists(path / "maildirfolder", ec);
}

std::string Quoted(const fs::path& path) {
  return "\"" + path.string() + "\"";
}

// ---- text ----

int Base64Digit(char c, bool modified) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == (modified ? ',' : '/')) return 63;
  return -1;
}

// Bytes of base64 digits (padding passed over); nothing when a digit isn't one.
std::optional<std::string> DecodeBase64(std::string_view text, bool modified) {
  std::string out;
  uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    if (c == '=') continue;
    const int digit = Base64Digit(c, modified);
    if (digit < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<uint32_t>(digit);
    count += 6;
    if (count >= 8) {
      count -= 8;
      out += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  return out;
}

void AppendUtf8(std::string& out, uint32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string DecodeQ(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '_') {
      out += ' ';
    } else if (text[i] == '=' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
               HexDigit(text[i + 2]) >= 0) {
      out += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// One encoded word "=?charset?B?text?=" at the start of the text: its
// decoded text and length, or nothing when it isn't one this program reads.
struct EncodedWord {
  std::string text;
  size_t length = 0;
};

std::optional<EncodedWord> ReadEncodedWord(std::string_view value) {
  if (!value.starts_with("=?")) return std::nullopt;
  const size_t q1 = value.find('?', 2);
  if (q1 == std::string_view::npos || q1 + 2 >= value.size() || value[q1 + 2] != '?')
    return std::nullopt;
  const size_t end = value.find("?=", q1 + 3);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view encoded = value.substr(q1 + 3, end - q1 - 3);
  if (std::any_of(encoded.begin(), encoded.end(),
                  [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }))
    return std::nullopt;
  std::string charset = LCase(value.substr(2, q1 - 2));
  charset = charset.substr(0, charset.find('*'));  // a language after '*'
  std::optional<std::string> bytes;
  const char encoding = static_cast<char>(std::toupper(static_cast<unsigned char>(value[q1 + 1])));
  if (encoding == 'B') bytes = DecodeBase64(encoded, false);
  if (encoding == 'Q') bytes = DecodeQ(encoded);
  if (!bytes) return std::nullopt;
  EncodedWord word{{}, end + 2};
  if (charset == "utf-8" || charset == "us-ascii") {
    word.text = std::move(*bytes);
  } else if (charset == "iso-8859-1" || charset == "latin1") {
    for (const char c : *bytes)
      AppendUtf8(word.text, static_cast<unsigned char>(c));
  } else {
    return std::nullopt;
  }
  return word;
}

// ---- dates ----

Date LocalDate(std::time_t when) {
  std::tm parts{};
  if (localtime_r(&when, &parts) == nullptr) return {};
  return DateTimeSerial(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                        parts.tm_min, parts.tm_sec);
}

Date FileTime(const fs::path& file) {
  std::error_code ec;
  const auto written = fs::last_write_time(file, ec);
  if (ec) return {};
  const auto system = std::chrono::file_clock::to_sys(written);
  return LocalDate(std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(system)));
}

bool AllDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
  });
}

// Minutes east of UTC for a zone, or nothing for "-0000" and zones unknown.
std::optional<int> ZoneMinutes(std::string_view zone) {
  if (zone.size() == 5 && (zone[0] == '+' || zone[0] == '-') && AllDigits(zone.substr(1))) {
    const int minutes =
        std::stoi(std::string(zone.substr(1, 2))) * 60 + std::stoi(std::string(zone.substr(3, 2)));
    if (zone == "-0000") return std::nullopt;
    return zone[0] == '-' ? -minutes : minutes;
  }
  static constexpr std::array<std::pair<std::string_view, int>, 12> kNames = {{
      {"ut", 0},
      {"utc", 0},
      {"gmt", 0},
      {"z", 0},
      {"est", -300},
      {"edt", -240},
      {"cst", -360},
      {"cdt", -300},
      {"mst", -420},
      {"mdt", -360},
      {"pst", -480},
      {"pdt", -420},
  }};
  const std::string name = LCase(zone);
  for (const auto& [known, minutes] : kNames) {
    if (name == known) return minutes;
  }
  return std::nullopt;
}

// ---- the tree ----

// The special folders a Maildir++ tree names at its top, by the kind they are.
int32_t SpecialKind(std::string_view name) {
  for (const char* sent : {"Sent", "Sent Items", "Sent Messages", "Sent Mail"}) {
    if (EqualsText(name, sent)) return 5;
  }
  if (EqualsText(name, "Drafts")) return 16;
  for (const char* deleted : {"Trash", "Deleted Items", "Deleted Messages"}) {
    if (EqualsText(name, deleted)) return 3;
  }
  return 0;
}

// A name the profile takes for a folder: a backslash would split its path.
std::string FolderName(std::string name) {
  std::replace(name.begin(), name.end(), '\\', '-');
  return name;
}

std::string StoreName(const fs::path& root) {
  std::error_code ec;
  fs::path full = fs::absolute(root, ec).lexically_normal();
  if (!full.has_filename()) full = full.parent_path();
  const std::string name = FolderName(full.filename().string());
  return name.empty() ? "Maildir" : name;
}

class TreeReader {
 public:
  TreeReader(fs::path root, MailProfile& profile) : root_(std::move(root)), profile_(profile) {}

  void Read() {
    store_ = profile_.AddStore(StoreName(root_));
    auto inbox = store_->AddFolder("Inbox", 0);
    profile_.DefaultFolder(6, inbox);
    ReadMessages(root_, *inbox);
    ReadNested(root_, store_, 0);
    for (const auto& name : DotFolders())
      ReadDotFolder(name, inbox);
    // A kind the tree has no folder for still answers, with an empty folder.
    for (const auto& folder : EnglishDefaultFolders()) {
      if (profile_.DefaultFolder(folder.kind)) continue;
      std::string name = folder.name;
      for (int n = 2; store_->SubFolder(name); ++n)
        name = std::string(folder.name) + " (" + std::to_string(n) + ")";
      profile_.DefaultFolder(folder.kind, store_->AddFolder(name, folder.itemType));
    }
  }

 private:
  // Names of the Maildir++ folders, in order, parents before their children.
  std::vector<std::string> DotFolders() {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(root_, ec), end; !ec && it != end; it.increment(ec)) {
      const std::string name = it->path().filename().string();
      if (name.size() < 2 || name[0] != '.' || name == ".." || !IsDirectory(it->path())) continue;
      if (IsMaildir(it->path())) {
        names.push_back(name);
      } else if (HalfMaildir(it->path())) {
        profile_.AddProblem("The Maildir folder " + Quoted(it->path()) +
                            " has no cur/ and new/ folders, so it is left out");
      }
    }
    if (ec)
      profile_.AddProblem("The Maildir " + Quoted(root_) + " can't be listed: " + ec.message());
    std::sort(names.begin(), names.end());
    return names;
  }

  void ReadDotFolder(const std::string& dirName, const std::shared_ptr<ProfileFolder>& inbox) {
    std::vector<std::string> parts;
    for (const auto& part : Split(std::string_view(dirName).substr(1), ".")) {
      if (!part.empty()) parts.push_back(FolderName(DecodeMailboxName(part)));
    }
    if (parts.empty()) return;
    auto folder = store_;
    size_t from = 0;
    // Some servers spell the Inbox's own sub-folders ".INBOX.Sub".
    if (EqualsText(parts[0], "INBOX")) {
      folder = inbox;
      from = 1;
    }
    for (size_t i = from; i < parts.size(); ++i)
      folder = FolderAt(folder, parts[i]);
    if (parts.size() == 1) {
      if (const int32_t kind = SpecialKind(parts[0]); kind != 0 && !profile_.DefaultFolder(kind))
        profile_.DefaultFolder(kind, folder);
    }
    ReadMessages(root_ / dirName, *folder);
    ReadNested(root_ / dirName, folder, 1);
  }

  // Maildirs inside a maildir ("Work/cur"), as sub-folders named as written.
  void ReadNested(const fs::path& dir, const std::shared_ptr<ProfileFolder>& folder, int depth) {
    if (depth > kMaxDepth) return;
    std::vector<fs::path> found;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
      const std::string name = it->path().filename().string();
      if (name.starts_with('.') || name == "cur" || name == "new" || name == "tmp") continue;
      if (IsMaildir(it->path())) found.push_back(it->path());
    }
    std::sort(found.begin(), found.end());
    for (const auto& sub : found) {
      const std::string name = FolderName(sub.filename().string());
      auto child = FolderAt(folder, name);
      if (const int32_t kind = SpecialKind(name);
          depth == 0 && kind != 0 && !profile_.DefaultFolder(kind))
        profile_.DefaultFolder(kind, child);
      ReadMessages(sub, *child);
      ReadNested(sub, child, depth + 1);
    }
  }

  static std::shared_ptr<ProfileFolder> FolderAt(const std::shared_ptr<ProfileFolder>& parent,
                                                 const std::string& name) {
    if (auto existing = parent->SubFolder(name)) return existing;
    return parent->AddFolder(name, 0);
  }

  void ReadMessages(const fs::path& dir, ProfileFolder& folder) {
    std::vector<fs::path> files;
    for (const char* sub : {"new", "cur"}) {
      std::error_code ec;
      for (fs::directory_iterator it(dir / sub, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().filename().string().starts_with('.') || IsDirectory(it->path())) continue;
        files.push_back(it->path());
      }
      if (ec) {
        profile_.AddProblem("The Maildir folder " + Quoted(dir / sub) +
                            " can't be read: " + ec.message());
      }
    }
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.filename() < b.filename(); });
    for (const auto& file : files)
      ReadMessage(dir, file, folder);
  }

  void ReadMessage(const fs::path& dir, const fs::path& file, ProfileFolder& folder) {
    std::error_code ec;
    const auto status = fs::status(file, ec);
    if (ec || !fs::is_regular_file(status)) {
      Bad(file, ec ? ec.message() : "it is not a file");
      return;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      Bad(file, std::generic_category().message(errno));
      return;
    }
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) {
      Bad(file, std::generic_category().message(errno));
      return;
    }
    if (text.empty()) {
      Bad(file, "it is empty");
      return;
    }
    ProfileItem item;
    item.message = WithCrlf(text);
    item.subject = DecodeHeaderWords(HeaderValue(item.message, "Subject"));
    item.sender = DecodeHeaderWords(HeaderValue(item.message, "From"));
    item.recipient = DecodeHeaderWords(HeaderValue(item.message, "To"));
    const auto date = ParseMessageDate(HeaderValue(item.message, "Date"));
    item.received = date ? *date : FileTime(file);
    item.size = static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX));
    item.key = Key(dir, MaildirUniqueName(file.filename().string()));
    folder.AddItem(std::move(item));
  }

  void Bad(const fs::path& file, const std::string& why) {
    profile_.AddProblem("The message " + Quoted(file) +
                        " can't be read, so it is left out: " + why);
  }

  // The unique name, unless a copy of the message in another folder has it:
  // then the folder's place in the tree goes with it, which stays as long as
  // the tree does.
  std::string Key(const fs::path& dir, const std::string& unique) {
    std::string key = unique;
    if (keys_.contains(key)) {
      const std::string where = dir.lexically_relative(root_).generic_string();
      key = where + "/" + unique;
      for (int n = 2; keys_.contains(key); ++n)
        key = where + "/" + unique + "#" + std::to_string(n);
    }
    keys_.insert(key);
    return key;
  }

  fs::path root_;
  MailProfile& profile_;
  std::shared_ptr<ProfileFolder> store_;
  std::unordered_set<std::string> keys_;
};

}  // namespace

bool IsMaildir(const fs::path& path) {
  return IsDirectory(path / "cur") && IsDirectory(path / "new");
}

std::string MaildirProblem(const fs::path& path) {
  const std::string head = "Mail profile " + Quoted(path) + " can't be read: ";
  std::error_code ec;
  if (!fs::exists(path, ec)) return head + "there is no such folder";
  if (!IsDirectory(path)) return head + "it is not a folder";
  if (!IsMaildir(path)) return head + "it is not a Maildir (it has no cur/ and new/ folders)";
  for (const char* sub : {"cur", "new"}) {
    fs::directory_iterator it(path / sub, ec);
    if (ec) return head + "its " + sub + "/ folder can't be listed: " + ec.message();
  }
  return {};
}

ProfileLoad LoadMaildir(const fs::path& root) {
  if (auto problem = MaildirProblem(root); !problem.empty()) return {nullptr, problem};
  auto profile = std::make_shared<MailProfile>();
  try {
    TreeReader(root, *profile).Read();
  } catch (const VbError& e) {
    return {nullptr, "Mail profile " + Quoted(root) + " can't be read: " + e.Description()};
  } catch (const std::exception& e) {
    return {nullptr, "Mail profile " + Quoted(root) + " can't be read: " + e.what()};
  }
  profile->MakeReadOnly();
  return {profile, {}};
}

ProfileLoad LoadProfileAt(const fs::path& path) {
  return IsDirectory(path) ? LoadMaildir(path) : LoadProfileFile(path);
}

std::string MaildirUniqueName(std::string_view fileName) {
  size_t end = fileName.find(':');
  if (end == std::string_view::npos) end = fileName.rfind("!2,");
  return std::string(fileName.substr(0, end));
}

std::optional<Date> ParseMessageDate(std::string_view text) {
  // Comments (nested) and commas go; what is left are words.
  std::string plain;
  int depth = 0;
  for (const char c : text) {
    if (c == '(') {
      ++depth;
    } else if (c == ')' && depth > 0) {
      --depth;
    } else if (depth == 0) {
      plain += c == ',' ? ' ' : c;
    }
  }
  std::vector<std::string> words;
  for (const auto& word : Split(Trim(plain), " ")) {
    const std::string w = Trim(word);
    if (!w.empty()) words.push_back(w);
  }
  size_t at = 0;
  if (at < words.size() && std::isalpha(static_cast<unsigned char>(words[at][0])) != 0) ++at;
  if (words.size() < at + 4) return std::nullopt;
  const std::string& dayWord = words[at];
  const std::string month = LCase(words[at + 1]).substr(0, 3);
  const std::string& yearWord = words[at + 2];
  const auto clock = Split(words[at + 3], ":");
  static constexpr std::array<std::string_view, 12> kMonths = {
      "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
  const auto m = std::find(kMonths.begin(), kMonths.end(), month);
  if (!AllDigits(dayWord) || dayWord.size() > 2 || m == kMonths.end() || !AllDigits(yearWord) ||
      yearWord.size() < 2 || yearWord.size() > 4 || clock.size() < 2 || clock.size() > 3)
    return std::nullopt;
  for (const auto& part : clock) {
    if (!AllDigits(part) || part.size() > 2) return std::nullopt;
  }
  int year = std::stoi(yearWord);
  if (yearWord.size() == 2) year += year < 50 ? 2000 : 1900;
  if (yearWord.size() == 3) year += 1900;
  const int monthNo = static_cast<int>(m - kMonths.begin()) + 1;
  const int day = std::stoi(dayWord);
  const int hour = std::stoi(clock[0]);
  const int minute = std::stoi(clock[1]);
  const int second = clock.size() == 3 ? std::min(59, std::stoi(clock[2])) : 0;
  const std::chrono::year_month_day civil{std::chrono::year(year),
                                          std::chrono::month(static_cast<unsigned>(monthNo)),
                                          std::chrono::day(static_cast<unsigned>(day))};
  if (year < 1900 || !civil.ok() || hour > 23 || minute > 59) return std::nullopt;
  const auto zone = words.size() > at + 4 ? ZoneMinutes(words[at + 4]) : std::nullopt;
  if (!zone) return DateTimeSerial(year, monthNo, day, hour, minute, second);
  const int64_t days = std::chrono::sys_days(civil).time_since_epoch().count();
  const int64_t utc = days * 86400 + hour * 3600 + minute * 60 + second - *zone * 60;
  return LocalDate(static_cast<std::time_t>(utc));
}

std::string DecodeHeaderWords(std::string_view value) {
  std::string out;
  size_t at = 0;
  bool afterWord = false;
  while (at < value.size()) {
    const size_t start = value.find("=?", at);
    if (start == std::string_view::npos) {
      out += value.substr(at);
      break;
    }
    const std::string_view between = value.substr(at, start - at);
    auto word = ReadEncodedWord(value.substr(start));
    // Blanks between two encoded words are not part of the text.
    const bool blank = std::all_of(between.begin(), between.end(), [](char c) {
      return std::isspace(static_cast<unsigned char>(c)) != 0;
    });
    if (!(word && afterWord && blank)) out += between;
    if (!word) {
      out += "=?";
      at = start + 2;
      afterWord = false;
      continue;
    }
    out += word->text;
    at = start + word->length;
    afterWord = true;
  }
  return out;
}

std::string DecodeMailboxName(std::string_view name) {
  std::string out;
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '&') {
      out += name[i];
      continue;
    }
    const size_t end = name.find('-', i + 1);
    if (end == std::string_view::npos) return std::string(name);
    if (end == i + 1) {
      out += '&';
    } else {
      const auto bytes = DecodeBase64(name.substr(i + 1, end - i - 1), true);
      if (!bytes || bytes->size() % 2 != 0) return std::string(name);
      for (size_t b = 0; b < bytes->size(); b += 2) {
        uint32_t unit = (static_cast<unsigned char>((*bytes)[b]) << 8) |
                        static_cast<unsigned char>((*bytes)[b + 1]);
        if (unit >= 0xD800 && unit < 0xDC00 && b + 3 < bytes->size()) {
          const uint32_t low = (static_cast<unsigned char>((*bytes)[b + 2]) << 8) |
                               static_cast<unsigned char>((*bytes)[b + 3]);
          if (low < 0xDC00 || low > 0xDFFF) return std::string(name);
          unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
          b += 2;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
          return std::string(name);
        }
        AppendUtf8(out, unit);
      }
    }
    i = end;
  }
  return out;
}

}  // namespace vellix::outlook
