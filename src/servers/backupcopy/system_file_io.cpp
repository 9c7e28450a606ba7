#include "servers/backupcopy/system_file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

namespace vellix::backupcopy {

namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;

// Retries a call the kernel interrupted for a signal.
template <class F>
auto NoEintr(F f) {
  for (;;) {
    auto r = f();
    if (r >= 0 || errno != EINTR) return r;
  }
}

int Fail() {
  return -errno;
}

void Fill(const struct stat& st, FileInfo& info) {
  info.size = static_cast<int64_t>(st.st_size);
  info.regular = S_ISREG(st.st_mode);
  info.directory = S_ISDIR(st.st_mode);
  info.device = static_cast<uint64_t>(st.st_dev);
  info.inode = static_cast<uint64_t>(st.st_ino);
  info.mode = static_cast<uint32_t>(st.st_mode & 07777);
  info.accessNs = static_cast<int64_t>(st.st_atim.tv_sec) * kNsPerSecond + st.st_atim.tv_nsec;
  info.modifiedNs = static_cast<int64_t>(st.st_mtim.tv_sec) * kNsPerSecond + st.st_mtim.tv_nsec;
}

struct timespec ToTimespec(int64_t ns) {
  struct timespec ts {};
  ts.tv_sec = static_cast<time_t>(ns / kNsPerSecond);
  ts.tv_nsec = static_cast<long>(ns % kNsPerSecond);
  if (ts.tv_nsec < 0) {
    ts.tv_nsec += kNsPerSecond;
    ts.tv_sec -= 1;
  }
  return ts;
}

}  // namespace

int SystemFileIo::OpenRead(const std::filesystem::path& path) {
  const int fd = NoEintr([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); });
  if (fd < 0) return Fail();
  // The whole file is read once from start to end.
  (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  return fd;
}

int SystemFileIo::CreateNew(const std::filesystem::path& path) {
  const int fd =
      NoEintr([&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600); });
  return fd < 0 ? Fail() : fd;
}

int SystemFileIo::Close(int fd) {
  // Linux releases the descriptor even when close reports EINTR: never retry.
  return ::close(fd) < 0 && errno != EINTR ? Fail() : 0;
}

int SystemFileIo::Stat(const std::filesystem::path& path, FileInfo& info) {
  struct stat st {};
  if (::stat(path.c_str(), &st) < 0) return Fail();
  Fill(st, info);
  return 0;
}

int SystemFileIo::StatOpen(int fd, FileInfo& info) {
  struct stat st {};
  if (::fstat(fd, &st) < 0) return Fail();
  Fill(st, info);
  return 0;
}

int64_t SystemFileIo::FreeSpace(const std::filesystem::path& folder) {
  struct statvfs vfs {};
  if (NoEintr([&] { return ::statvfs(folder.c_str(), &vfs); }) < 0) return Fail();
  return static_cast<int64_t>(vfs.f_bavail) * static_cast<int64_t>(vfs.f_frsize);
}

int64_t SystemFileIo::ReadAt(int fd, void* buffer, int64_t count, int64_t offset) {
  const auto n = NoEintr(
      [&] { return ::pread(fd, buffer, static_cast<size_t>(count), static_cast<off_t>(offset)); });
  return n < 0 ? Fail() : static_cast<int64_t>(n);
}

int64_t SystemFileIo::WriteAt(int fd, const void* buffer, int64_t count, int64_t offset) {
  const auto n = NoEintr(
      [&] { return ::pwrite(fd, buffer, static_cast<size_t>(count), static_cast<off_t>(offset)); });
  return n < 0 ? Fail() : static_cast<int64_t>(n);
}

int64_t SystemFileIo::CopyRange(int in, int64_t inOffset, int out, int64_t outOffset,
                                int64_t count) {
  auto inOff = static_cast<off_t>(inOffset);
  auto outOff = static_cast<off_t>(outOffset);
  const auto n = NoEintr(
      [&] { return ::copy_file_range(in, &inOff, out, &outOff, static_cast<size_t>(count), 0); });
  return n < 0 ? Fail() : static_cast<int64_t>(n);
}

int SystemFileIo::Writeback(int fd, int64_t offset, int64_t count, bool wait) {
  const unsigned flags =
      wait ? SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER
           : SYNC_FILE_RANGE_WRITE;
  return NoEintr([&] {
           return ::sync_file_range(fd, static_cast<off_t>(offset), static_cast<off_t>(count),
                                    flags);
         }) < 0
             ? Fail()
             : 0;
}

int SystemFileIo::CopyAttributes(int fd, const FileInfo& from) {
  const struct timespec times[2] = {ToTimespec(from.accessNs), ToTimespec(from.modifiedNs)};
  if (::futimens(fd, times) < 0) return Fail();
  if (::fchmod(fd, static_cast<mode_t>(from.mode & 0777)) < 0) return Fail();
  return 0;
}

int SystemFileIo::Sync(int fd) {
  return NoEintr([&] { return ::fsync(fd); }) < 0 ? Fail() : 0;
}

int SystemFileIo::SyncFolder(const std::filesystem::path& folder) {
  const int fd =
      NoEintr([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (fd < 0) return Fail();
  const int r = NoEintr([&] { return ::fsync(fd); }) < 0 ? Fail() : 0;
  ::close(fd);
  return r;
}

int SystemFileIo::Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  return ::rename(from.c_str(), to.c_str()) < 0 ? Fail() : 0;
}

int SystemFileIo::Remove(const std::filesystem::path& path) {
  return ::unlink(path.c_str()) < 0 ? Fail() : 0;
}

}  // namespace vellix::backupcopy
