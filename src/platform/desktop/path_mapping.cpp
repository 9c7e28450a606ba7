#include "platform/desktop/path_mapping.h"

#include <cctype>
#include <vector>

namespace vellix::desktop {

namespace {

bool IsSeparator(char c) {
  return c == '\\' || c == '/';
}

// The parts of a path, with "." dropped and ".." taking back one part but
// never going above the root.
std::vector<std::string> Parts(std::string_view text) {
  std::vector<std::string> parts;
  std::string current;
  auto flush = [&] {
    if (current == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!current.empty() && current != ".") {
      parts.push_back(current);
    }
    current.clear();
  };
  for (char c : text) {
    if (IsSeparator(c)) {
      flush();
    } else {
      current.push_back(c);
    }
  }
  flush();
  return parts;
}

std::filesystem::path Join(std::filesystem::path base, const std::vector<std::string>& parts) {
  for (const auto& p : parts)
    base /= p;
  return base;
}

}  // namespace

PathMapping::PathMapping(std::filesystem::path dataRoot) : dataRoot_(std::move(dataRoot)) {}

std::filesystem::path PathMapping::ToNative(std::string_view logicPath) const {
  const auto drives = dataRoot_ / "drives";
  if (logicPath.size() >= 2 && std::isalpha(static_cast<unsigned char>(logicPath[0])) != 0 &&
      logicPath[1] == ':') {
    const char drive = static_cast<char>(std::tolower(static_cast<unsigned char>(logicPath[0])));
    return Join(drives / std::string(1, drive), Parts(logicPath.substr(2)));
  }
  if (logicPath.size() >= 2 && logicPath[0] == '\\' && logicPath[1] == '\\') {
    return Join(dataRoot_ / "unc", Parts(logicPath.substr(2)));
  }
  if (!logicPath.empty() && logicPath[0] == '/') {
    return Join("/", Parts(logicPath));
  }
  return Join(drives / "c", Parts(logicPath));
}

std::string PathMapping::ToLogic(const std::filesystem::path& native) const {
  const auto drives = (dataRoot_ / "drives").lexically_normal();
  const auto rel = native.lexically_normal().lexically_relative(drives);
  if (!rel.empty() && *rel.begin() != ".." && rel.begin()->string().size() == 1) {
    std::string out(
        1, static_cast<char>(std::toupper(static_cast<unsigned char>(rel.begin()->string()[0]))));
    out += ":";
    auto it = rel.begin();
    ++it;
    if (it == rel.end()) return out + "\\";
    for (; it != rel.end(); ++it) {
      if (it->empty()) continue;
      out += "\\" + it->string();
    }
    return out;
  }
  return native.string();
}

}  // namespace vellix::desktop
