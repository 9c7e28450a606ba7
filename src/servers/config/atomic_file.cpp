#include "servers/config/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "servers/common/private_files.h"

namespace vellix {

namespace {

// Temporary names are ".<target name>.XXXXXX": hidden, and recognisable as
// belonging to one target when a killed writer leaves one behind.
std::string TempPrefix(const std::filesystem::path& path) {
  return "." + path.filename().string() + ".";
}

void SetError(std::string* error, const std::string& what, const std::filesystem::path& path,
              int code) {
  if (error) *error = what + " " + path.string() + ": " + std::strerror(code);
}

bool WriteAll(int fd, std::string_view bytes) {
  const char* p = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  return true;
}

// Makes the rename durable. Some file systems refuse fsync on a folder; the
// rename itself has happened by then, so that is not a failure.
void SyncFolder(const std::filesystem::path& folder) {
  int dfd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd < 0) return;
  ::fsync(dfd);
  ::close(dfd);
}

}  // namespace

bool WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes,
                         std::string* error) {
  std::filesystem::path folder = path.parent_path();
  if (folder.empty()) folder = ".";
  std::string pattern = (folder / (TempPrefix(path) + "XXXXXX")).string();
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');

  int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) {
    SetError(error, "Unable to create a temporary file beside", path, errno);
    return false;
  }
  const std::filesystem::path temp(name.data());
  auto fail = [&](const std::string& what, int code) {
    ::close(fd);
    ::unlink(temp.c_str());
    SetError(error, what, path, code);
    return false;
  };

  struct stat existing {};
  if (::stat(path.c_str(), &existing) == 0) {
    ::fchmod(fd, existing.st_mode & 07777);
  } else {
    // mkstemp made it 0600, which is what a new file of ours keeps.
    ::fchmod(fd, servers::kPrivateFileMode);
  }
  if (!WriteAll(fd, bytes)) return fail("Unable to write", errno);
  if (::fsync(fd) != 0) return fail("Unable to flush", errno);
  if (::close(fd) != 0) {
    int code = errno;
    ::unlink(temp.c_str());
    SetError(error, "Unable to close", path, code);
    return false;
  }
  if (::rename(temp.c_str(), path.c_str()) != 0) {
    int code = errno;
    ::unlink(temp.c_str());
    SetError(error, "Unable to replace", path, code);
    return false;
  }
  SyncFolder(folder);
  return true;
}

std::size_t RemoveStaleTempFiles(const std::filesystem::path& path) {
  std::filesystem::path folder = path.parent_path();
  if (folder.empty()) folder = ".";
  const std::string prefix = TempPrefix(path);
  std::size_t removed = 0;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name.size() == prefix.size() + 6 && name.compare(0, prefix.size(), prefix) == 0 &&
        it->is_regular_file(ec)) {
      std::error_code removeError;
      if (std::filesystem::remove(it->path(), removeError)) ++removed;
    }
  }
  return removed;
}

std::optional<FileStamp> StampOf(const std::filesystem::path& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return FileStamp{static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino),
                   static_cast<int64_t>(info.st_size),
                   int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec};
}

bool ReadFileLimited(const std::filesystem::path& path, std::size_t maxBytes, std::string* bytes,
                     std::string* error) {
  // Non-blocking, so that a named pipe in place of the file can't hang the open.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    SetError(error, "Unable to open", path, errno);
    return false;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    if (error) *error = "Not a regular file: " + path.string();
    return false;
  }
  auto tooLong = [&] {
    ::close(fd);
    if (error) {
      *error = "File " + path.string() + " is longer than the limit of " +
               std::to_string(maxBytes) + " bytes";
    }
    return false;
  };
  if (static_cast<unsigned long long>(info.st_size) > maxBytes) return tooLong();

  // Read up to one byte past the limit, in case the file grew since fstat.
  std::string out(static_cast<std::size_t>(info.st_size) + 1, '\0');
  std::size_t used = 0;
  for (;;) {
    if (used == out.size()) {
      if (out.size() > maxBytes) return tooLong();
      out.resize(std::min(out.size() * 2, maxBytes + 1));
    }
    ssize_t n = ::read(fd, out.data() + used, out.size() - used);
    if (n < 0) {
      if (errno == EINTR) continue;
      int code = errno;
      ::close(fd);
      SetError(error, "Unable to read", path, code);
      return false;
    }
    if (n == 0) break;
    used += static_cast<std::size_t>(n);
  }
  ::close(fd);
  if (used > maxBytes) return tooLong();
  out.resize(used);
  *bytes = std::move(out);
  return true;
}

}  // namespace vellix
