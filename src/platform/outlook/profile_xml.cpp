#include "platform/outlook/profile_xml.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <system_error>
#include <vector>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_message.h"

namespace vellix::outlook {

namespace {

// The largest item a profile file may describe (its message is built that long).
constexpr int64_t kMaxItemBytes = int64_t{64} << 20;

constexpr std::array<const char*, 8> kItemTypeNames = {
    "mail", "appointment", "contact", "task", "journal", "note", "post", "distribution-list"};

// A refusal of the file, with the place it was found.
struct ProfileError {
  std::string message;
};

std::optional<int32_t> ParseInt(std::string_view text) {
  int32_t value = 0;
  const auto* end = text.data() + text.size();
  auto [ptr, ec] = std::from_chars(text.data(), end, value);
  if (ec != std::errc() || ptr != end || text.empty()) return std::nullopt;
  return value;
}

bool IsLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) {
  static constexpr std::array<int, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : days[static_cast<size_t>(month - 1)];
}

// "YYYY-MM-DD" with an optional "THH:MM:SS" (or a blank for the T).
std::optional<Date> ParseDate(std::string_view text) {
  auto field = [&](size_t at, size_t width) -> std::optional<int> {
    if (at + width > text.size()) return std::nullopt;
    auto part = text.substr(at, width);
    if (!std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; })) {
      return std::nullopt;
    }
    return ParseInt(part);
  };
  if (text.size() != 10 && text.size() != 19) return std::nullopt;
  if (text[4] != '-' || text[7] != '-') return std::nullopt;
  auto year = field(0, 4);
  auto month = field(5, 2);
  auto day = field(8, 2);
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!year || !month || !day || *year < 100 || *month < 1 || *month > 12 || *day < 1 ||
      *day > DaysInMonth(*year, *month)) {
    return std::nullopt;
  }
  if (text.size() == 19) {
    if ((text[10] != 'T' && text[10] != ' ') || text[13] != ':' || text[16] != ':') {
      return std::nullopt;
    }
    auto h = field(11, 2);
    auto m = field(14, 2);
    auto s = field(17, 2);
    if (!h || !m || !s || *h > 23 || *m > 59 || *s > 59) return std::nullopt;
    hour = *h;
    minute = *m;
    second = *s;
  }
  return DateTimeSerial(*year, *month, *day, hour, minute, second);
}

std::string FormatDate(Date date) {
  const auto t = ToCivil(date);
  std::array<char, 32> buffer{};
  (void)std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02dT%02d:%02d:%02d", t.year,
                      t.month, t.day, t.hour, t.minute, t.second);
  return buffer.data();
}

// Messages keep CRLF line ends; XML reads every line end as LF, so the file
// holds LF and reading brings CRLF back. A message laid out on lines of its
// own inside <message> loses the line break and indentation around it. A
// lone CR (&#13;) ends a line here as it does in the message, or a last line
// of blanks after it would be cut only when the message is read back.
std::string MessageFromXml(std::string_view text) {
  const size_t first = text.find_first_not_of("\r\n");
  if (first == std::string_view::npos) return {};
  text.remove_prefix(first);
  const size_t lastBreak = text.find_last_of("\r\n");
  if (lastBreak != std::string_view::npos &&
      text.find_first_not_of(" \t", lastBreak + 1) == std::string_view::npos) {
    text = text.substr(0, lastBreak + 1);
  }
  return WithCrlf(text);
}

std::string MessageToXml(std::string_view message) {
  std::string out;
  out.reserve(message.size());
  for (size_t i = 0; i < message.size(); ++i) {
    if (message[i] == '\r' && i + 1 < message.size() && message[i + 1] == '\n') continue;
    out += message[i];
  }
  return out;
}

class ProfileReader {
 public:
  ProfileReader(std::string_view text, std::string source)
      : text_(text), source_(std::move(source)) {}

  std::shared_ptr<MailProfile> Read() {
    pugi::xml_document doc;
    const auto parsed = doc.load_buffer(
        text_.data(), text_.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
    if (!parsed) {
      throw ProfileError{Where(parsed.offset) + "is not well-formed XML: " + parsed.description()};
    }
    for (auto node : doc.children()) {
      if (node.type() == pugi::node_doctype) {
        Fail(node, "has a document type declaration, which is refused");
      }
    }
    auto root = doc.document_element();
    if (std::string_view(root.name()) != "profile") {
      Fail(root, "starts with <" + std::string(root.name()) + "> where <profile> belongs");
    }
    profile_ = std::make_shared<MailProfile>();
    for (auto child : root.children()) {
      if (child.type() != pugi::node_element) continue;
      if (std::string_view(child.name()) != "store") Unexpected(child, "a profile");
      ReadStore(child);
    }
    return profile_;
  }

 private:
  [[noreturn]] void Fail(const pugi::xml_node& at, const std::string& what) const {
    throw ProfileError{Where(at.offset_debug()) + what};
  }
  [[noreturn]] void Unexpected(const pugi::xml_node& at, const std::string& inside) const {
    Fail(at, "has <" + std::string(at.name()) + "> inside " + inside +
                 ", where only <store>, <folder> and <item> are known");
  }

  // A message is text only: the text of all its parts, a CDATA section or
  // text around a comment included, so that no part of it is passed over.
  [[nodiscard]] std::string MessageElementText(const pugi::xml_node& message) const {
    std::string text;
    for (auto part : message.children()) {
      if (part.type() == pugi::node_element)
        Fail(part, "has <" + std::string(part.name()) + "> inside a <message>, which is text only");
      text += part.value();
    }
    return text;
  }

  [[nodiscard]] std::string Where(ptrdiff_t offset) const {
    std::string where = "Mail profile \"" + source_ + "\"";
    if (offset >= 0) {
      const auto* const end = text_.begin() + std::min<ptrdiff_t>(offset, std::ssize(text_));
      where += ", line " + std::to_string(1 + std::count(text_.begin(), end, '\n'));
    }
    return where + " ";
  }

  [[nodiscard]] std::string Name(const pugi::xml_node& node, const std::string& what) const {
    auto attr = node.attribute("name");
    if (!attr) Fail(node, "has a " + what + " without a name");
    std::string name = attr.value();
    if (auto problem = ProfileFolder::NameProblem(name); !problem.empty()) {
      Fail(node, "has a " + what + " that can't be named so: " + problem);
    }
    return name;
  }

  void ReadStore(const pugi::xml_node& node) {
    const auto name = Name(node, "store");
    if (profile_->Store(name)) Fail(node, "has two stores named \"" + name + "\"");
    auto store = profile_->AddStore(name, node.attribute("file").value());
    ReadChildren(node, store, 0);
  }

  void ReadChildren(const pugi::xml_node& node, const std::shared_ptr<ProfileFolder>& folder,
                    int32_t itemType) {
    for (auto child : node.children()) {
      if (child.type() != pugi::node_element) continue;
      const std::string_view tag = child.name();
      if (tag == "folder") {
        ReadFolder(child, folder, itemType);
      } else if (tag == "item" && !folder->IsStore()) {
        ReadItem(child, folder);
      } else {
        Unexpected(child, folder->IsStore() ? "a store" : "a folder");
      }
    }
  }

  void ReadFolder(const pugi::xml_node& node, const std::shared_ptr<ProfileFolder>& parent,
                  int32_t inheritedType) {
    const auto name = Name(node, "folder");
    if (parent->SubFolder(name)) {
      Fail(node, "has two folders named \"" + name + "\" in \"" + parent->FolderPath() + "\"");
    }
    int32_t itemType = inheritedType;
    if (auto attr = node.attribute("type")) {
      auto parsed = ParseItemType(attr.value());
      if (!parsed) {
        Fail(node, "gives the folder \"" + name + "\" the unknown type \"" + attr.value() + "\"");
      }
      itemType = *parsed;
    }
    auto folder = parent->AddFolder(name, itemType);
    if (auto attr = node.attribute("default")) {
      for (const auto& word : Split(attr.value(), " ")) {
        if (word.empty()) continue;
        auto kind = ParseInt(word);
        if (!kind || *kind <= 0) {
          // NOLINTNEXTLINE(performance-inefficient-string-concatenation): raised once
          Fail(node, "gives the folder \"" + name + "\" the default kind \"" + word +
                         "\", which is no positive number");
        }
        if (profile_->DefaultFolder(*kind)) {
          // NOLINTNEXTLINE(performance-inefficient-string-concatenation): raised once
          Fail(node, "makes \"" + name + "\" the default folder of kind " + word + ", which \"" +
                         profile_->DefaultFolder(*kind)->FolderPath() + "\" is already");
        }
        profile_->DefaultFolder(*kind, folder);
      }
    }
    ReadChildren(node, folder, itemType);
  }

  void ReadItem(const pugi::xml_node& node, const std::shared_ptr<ProfileFolder>& folder) const {
    ProfileItem item;
    item.subject = node.attribute("subject").value();
    auto date = node.attribute("date");
    if (!date) Fail(node, "has an item without a date");
    auto received = ParseDate(date.value());
    if (!received) {
      Fail(node, "has an item dated \"" + std::string(date.value()) +
                     "\", which is not a date as YYYY-MM-DDTHH:MM:SS");
    }
    item.received = *received;
    item.sender = node.attribute("from").value();
    item.recipient = node.attribute("to").value();
    item.attachment = node.attribute("attachment").value();
    item.key = node.attribute("key").value();
    // The key is the message's id, which a rendered message carries on a
    // header line of its own: a line break in it would split that header.
    if (item.key.find_first_of("\r\n") != std::string::npos)
      Fail(node, "has an item whose key holds a line break, which a message id can't hold");
    for (auto child : node.children()) {
      if (child.type() != pugi::node_element) continue;
      if (std::string_view(child.name()) != "message" || !item.message.empty()) {
        Fail(child, "has <" + std::string(child.name()) +
                        "> inside an item, where only one <message> is known");
      }
      item.message = MessageFromXml(MessageElementText(child));
      if (item.message.empty()) Fail(child, "has an empty <message>");
    }
    item.size = static_cast<int32_t>(
        std::min<size_t>(item.message.size(), std::numeric_limits<int32_t>::max()));
    if (auto size = node.attribute("size")) {
      auto parsed = ParseInt(size.value());
      if (!parsed || *parsed < 0) {
        Fail(node, "has an item of size \"" + std::string(size.value()) +
                       "\", which is no number of bytes");
      }
      // The item's message is made that long when it is read: a few bytes
      // of a broken file must not ask for gigabytes.
      if (*parsed > kMaxItemBytes) {
        Fail(node, "has an item of size " + std::string(size.value()) + ", more than the " +
                       std::to_string(kMaxItemBytes >> 20) + " MB an item may have");
      }
      item.size = *parsed;
    }
    folder->AddItem(std::move(item));
  }

  std::string_view text_;
  std::string source_;
  std::shared_ptr<MailProfile> profile_;
};

void WriteFolder(pugi::xml_node parent, ProfileFolder& folder,
                 const std::map<const ProfileFolder*, std::string>& defaults) {
  auto node = parent.append_child("folder");
  node.append_attribute("name") = folder.Name().c_str();
  node.append_attribute("type") = ItemTypeName(folder.DefaultItemType()).c_str();
  if (auto it = defaults.find(&folder); it != defaults.end()) {
    node.append_attribute("default") = it->second.c_str();
  }
  for (const auto& child : folder.SubFolders())
    WriteFolder(node, *child, defaults);
  for (const auto& item : folder.Items()) {
    auto itemNode = node.append_child("item");
    itemNode.append_attribute("subject") = item.subject.c_str();
    itemNode.append_attribute("date") = FormatDate(item.received).c_str();
    if (!item.sender.empty()) itemNode.append_attribute("from") = item.sender.c_str();
    if (!item.recipient.empty()) itemNode.append_attribute("to") = item.recipient.c_str();
    itemNode.append_attribute("size") = item.size;
    if (!item.attachment.empty()) {
      itemNode.append_attribute("attachment") = item.attachment.c_str();
    }
    itemNode.append_attribute("key") = item.key.c_str();
    // The message goes with it, so the file holds the mail itself.
    itemNode.append_child("message").text() = MessageToXml(MessageText(item)).c_str();
  }
}

}  // namespace

ProfileLoad LoadProfileText(std::string_view text, const std::string& source) {
  try {
    return {ProfileReader(text, source).Read(), {}};
  } catch (const ProfileError& e) {
    return {nullptr, e.message};
  } catch (const VbError& e) {
    return {nullptr, "Mail profile \"" + source + "\" is refused: " + e.Description()};
  } catch (const std::exception& e) {
    return {nullptr, "Mail profile \"" + source + "\" can't be read: " + e.what()};
  }
}

ProfileLoad LoadProfileFile(const std::filesystem::path& file) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) {
    return {nullptr,
            "Mail profile \"" + file.string() + "\" can't be read: " +
                (std::filesystem::exists(file, ec) ? "it is not a file" : "there is no such file")};
  }
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in && !in.eof()) {
    return {nullptr, "Mail profile \"" + file.string() +
                         "\" can't be read: " + std::generic_category().message(errno)};
  }
  return LoadProfileText(text.str(), file.string());
}

std::string ProfileToXml(const MailProfile& profile) {
  std::map<const ProfileFolder*, std::string> defaults;
  for (auto kind : profile.DefaultKinds()) {
    auto& text = defaults[profile.DefaultFolder(kind).get()];
    text += (text.empty() ? "" : " ") + std::to_string(kind);
  }
  pugi::xml_document doc;
  auto decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  auto root = doc.append_child("profile");
  for (const auto& store : profile.Stores()) {
    auto node = root.append_child("store");
    node.append_attribute("name") = store->Name().c_str();
    if (!store->StoreFile().empty()) node.append_attribute("file") = store->StoreFile().c_str();
    for (const auto& folder : store->SubFolders())
      WriteFolder(node, *folder, defaults);
  }
  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

std::string ItemTypeName(int32_t itemType) {
  if (itemType >= 0 && itemType < static_cast<int32_t>(kItemTypeNames.size())) {
    return kItemTypeNames[static_cast<size_t>(itemType)];
  }
  return std::to_string(itemType);
}

std::optional<int32_t> ParseItemType(std::string_view text) {
  for (size_t i = 0; i < kItemTypeNames.size(); ++i) {
    if (EqualsText(text, kItemTypeNames[i])) return static_cast<int32_t>(i);
  }
  auto number = ParseInt(text);
  if (number && *number >= 0) return number;
  return std::nullopt;
}

}  // namespace vellix::outlook
