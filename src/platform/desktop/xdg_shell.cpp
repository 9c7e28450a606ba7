#include "platform/desktop/xdg_shell.h"

#include <fstream>
#include <system_error>
#include <utility>

namespace vellix::desktop {

namespace {

bool IsFolder(const std::filesystem::path& path) {
  std::error_code ec;
  return path.is_absolute() && std::filesystem::is_directory(path, ec);
}

// The value of a line `XDG_DOCUMENTS_DIR="$HOME/Documents"`, with the
// backslash escapes of that file undone; nothing for any other line.
std::optional<std::string> DocumentsEntry(const std::string& line) {
  static constexpr std::string_view kKey = "XDG_DOCUMENTS_DIR=\"";
  const auto start = line.find_first_not_of(" \t");
  if (start == std::string::npos || line.compare(start, kKey.size(), kKey) != 0) {
    return std::nullopt;
  }
  std::string value;
  for (size_t i = start + kKey.size(); i < line.size(); ++i) {
    if (line[i] == '"') return value;
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    value.push_back(line[i]);
  }
  return std::nullopt;  // no closing quote
}

std::filesystem::path WithoutTrailingSlash(const std::filesystem::path& path) {
  auto normal = path.lexically_normal();
  return normal.has_filename() || !normal.has_parent_path() ? normal : normal.parent_path();
}

}  // namespace

XdgShell::XdgShell(PathMapping mapping, FolderPicker picker, EnvLookup env)
    : mapping_(std::move(mapping)), picker_(std::move(picker)), env_(std::move(env)) {}

std::optional<std::string> XdgShell::PersonalFolder() {
  auto folder = DocumentsFolder();
  if (!folder) return std::nullopt;
  return mapping_.ToLogic(*folder);
}

std::optional<std::string> XdgShell::BrowseForFolder(const std::string& title,
                                                     const std::string& start) {
  if (!picker_) return std::nullopt;
  auto chosen = picker_(title, start.empty() ? std::filesystem::path() : mapping_.ToNative(start));
  if (!chosen || chosen->empty()) return std::nullopt;
  return mapping_.ToLogic(*chosen);
}

std::optional<std::filesystem::path> XdgShell::DocumentsFolder() const {
  if (auto dir = env_("XDG_DOCUMENTS_DIR"); dir && IsFolder(*dir)) {
    return WithoutTrailingSlash(*dir);
  }
  const auto home = env_("HOME");
  if (!home || !std::filesystem::path(*home).is_absolute()) return std::nullopt;
  if (auto named = FromUserDirs(*home)) return named;
  auto documents = std::filesystem::path(*home) / "Documents";
  if (IsFolder(documents)) return WithoutTrailingSlash(documents);
  return std::nullopt;
}

std::optional<std::filesystem::path> XdgShell::FromUserDirs(
    const std::filesystem::path& home) const {
  std::filesystem::path config = home / ".config";
  if (auto configHome = env_("XDG_CONFIG_HOME");
      configHome && std::filesystem::path(*configHome).is_absolute()) {
    config = *configHome;
  }
  std::ifstream in(config / "user-dirs.dirs");
  std::string line;
  std::optional<std::string> entry;
  while (std::getline(in, line)) {
    if (auto value = DocumentsEntry(line)) entry = value;  // the last one counts
  }
  if (!entry) return std::nullopt;
  std::filesystem::path folder;
  if (*entry == "$HOME" || entry->rfind("$HOME/", 0) == 0) {
    folder = home / std::filesystem::path(entry->substr(5)).relative_path();
  } else if (!entry->empty() && (*entry)[0] == '/') {
    folder = *entry;
  } else {
    return std::nullopt;  // the file allows no other form
  }
  // A documents folder set to the home folder itself is switched off.
  if (WithoutTrailingSlash(folder) == WithoutTrailingSlash(home)) return std::nullopt;
  if (!IsFolder(folder)) return std::nullopt;
  return WithoutTrailingSlash(folder);
}

}  // namespace vellix::desktop
