#include "servers/common/file_trouble.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "servers/common/iso_time.h"
#include "servers/common/private_files.h"

namespace vellix::servers {

bool MoveAside(const std::filesystem::path& file, Date now, std::filesystem::path* kept,
               std::string* error) {
  const std::string base = file.string() + ".corrupt-" + CompactStamp(now);
  int code = 0;
  for (int n = 1; n < 1000; ++n) {
    const std::string target = n == 1 ? base : base + "-" + std::to_string(n);
    // A hard link never replaces what is there; the old name goes once the
    // new one holds the bytes.
    if (::link(file.c_str(), target.c_str()) == 0) {
      if (::unlink(file.c_str()) != 0) {
        code = errno;
        ::unlink(target.c_str());
        break;
      }
      if (kept) *kept = target;
      return true;
    }
    code = errno;
    if (code != EEXIST) break;
  }
  if (error) *error = "Unable to move " + file.string() + " aside: " + std::strerror(code);
  return false;
}

std::string LineAndColumn(std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t lineStart = before.rfind('\n');
  const std::size_t column = lineStart == std::string_view::npos ? offset + 1 : offset - lineStart;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

bool FolderTakesFiles(const std::filesystem::path& folder, std::string* error) {
  std::error_code ec;
  if (!CreatePrivateFolders(folder, ec)) {
    if (error) *error = "The folder " + folder.string() + " can't be made: " + ec.message();
    return false;
  }
  std::string name = (folder / ".vellix-probe-XXXXXX").string();
  std::vector<char> buffer(name.begin(), name.end());
  buffer.push_back('\0');
  const int fd = ::mkostemp(buffer.data(), O_CLOEXEC);
  if (fd < 0) {
    const int code = errno;
    if (error) {
      *error = "The folder " + folder.string() + " can't be written: " + std::strerror(code);
    }
    return false;
  }
  ::close(fd);
  ::unlink(buffer.data());
  return true;
}

}  // namespace vellix::servers
