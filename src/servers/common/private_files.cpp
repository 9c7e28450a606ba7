#include "servers/common/private_files.h"

#include <sys/stat.h>

#include <cerrno>
#include <vector>

namespace vellix::servers {

bool CreatePrivateFolders(const std::filesystem::path& folder, std::error_code& ec) {
  ec.clear();
  if (folder.empty()) return true;
  // The missing levels, deepest first; they are then made from the top down.
  std::vector<std::filesystem::path> missing;
  for (std::filesystem::path level = folder.lexically_normal(); !level.empty();
       level = level.parent_path()) {
    if (std::filesystem::exists(level, ec) || ec) break;
    missing.push_back(level);
    if (level == level.parent_path()) break;
  }
  if (ec) return false;
  for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
    // mkdir's mode is narrowed by the umask, never widened: 0700 at most.
    if (::mkdir(it->c_str(), kPrivateFolderMode) != 0 && errno != EEXIST) {
      ec.assign(errno, std::generic_category());
      return false;
    }
  }
  if (!std::filesystem::is_directory(folder, ec)) {
    if (!ec) ec = std::make_error_code(std::errc::not_a_directory);
    return false;
  }
  return true;
}

}  // namespace vellix::servers
