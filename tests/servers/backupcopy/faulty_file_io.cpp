#include "faulty_file_io.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vellix::test {

int64_t FaultyFileIo::FreeSpace(const std::filesystem::path& folder) {
  return freeSpace >= 0 ? freeSpace : SystemFileIo::FreeSpace(folder);
}

int FaultyFileIo::Check(const std::optional<Fault>& fault, int fd, int64_t offset, int64_t& count) {
  if (!fault) return 0;
  std::error_code ec;
  const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), ec);
  if (path.string().find(fault->pathContains) == std::string::npos) return 0;
  if (offset >= fault->afterBytes) return -fault->error;
  count = std::min(count, fault->afterBytes - offset);
  return 0;
}

int FaultyFileIo::OpenRead(const std::filesystem::path& path) {
  if (openFault && path.string().find(openFault->pathContains) != std::string::npos) {
    return -openFault->error;
  }
  return SystemFileIo::OpenRead(path);
}

int FaultyFileIo::Sync(int fd) {
  int64_t all = INT64_MAX;
  if (const int e = Check(syncFault, fd, INT64_MAX, all)) return e;
  return SystemFileIo::Sync(fd);
}

int64_t FaultyFileIo::ReadAt(int fd, void* buffer, int64_t count, int64_t offset) {
  if (const int e = Check(readFault, fd, offset, count)) return e;
  return SystemFileIo::ReadAt(fd, buffer, count, offset);
}

int64_t FaultyFileIo::WriteAt(int fd, const void* buffer, int64_t count, int64_t offset) {
  if (const int e = Check(writeFault, fd, offset, count)) return e;
  if (!corruptWrites || count == 0) return SystemFileIo::WriteAt(fd, buffer, count, offset);
  std::vector<unsigned char> bad(static_cast<const unsigned char*>(buffer),
                                 static_cast<const unsigned char*>(buffer) + count);
  bad[0] ^= 0x40;
  return SystemFileIo::WriteAt(fd, bad.data(), count, offset);
}

int64_t FaultyFileIo::CopyRange(int in, int64_t inOffset, int out, int64_t outOffset,
                                int64_t count) {
  if (refuseInKernelCopy != 0) return -refuseInKernelCopy;
  if (const int e = Check(readFault, in, inOffset, count)) return e;
  if (const int e = Check(writeFault, out, outOffset, count)) return e;
  return SystemFileIo::CopyRange(in, inOffset, out, outOffset, count);
}

}  // namespace vellix::test
