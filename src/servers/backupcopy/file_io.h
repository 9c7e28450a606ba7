#pragma once

#include <cstdint>
#include <filesystem>

namespace vellix::backupcopy {

// What the copier needs to know of a file.
struct FileInfo {
  int64_t size = 0;
  bool regular = false;
  bool directory = false;
  uint64_t device = 0;
  uint64_t inode = 0;
  uint32_t mode = 0;     // permission bits
  int64_t accessNs = 0;  // since the epoch
  int64_t modifiedNs = 0;
};

// The file operations the copier makes, so that a test can make any one of
// them fail. Every call answers a negative errno value on failure; the
// default implementation calls the operating system. Calls may come from two
// threads at once (a sync beside a read).
class FileIo {
 public:
  virtual ~FileIo() = default;

  // A descriptor, or -errno.
  virtual int OpenRead(const std::filesystem::path& path) = 0;
  // Creates a new file for reading and writing; fails with -EEXIST when the
  // name is taken.
  virtual int CreateNew(const std::filesystem::path& path) = 0;
  virtual int Close(int fd) = 0;

  virtual int Stat(const std::filesystem::path& path, FileInfo& info) = 0;
  virtual int StatOpen(int fd, FileInfo& info) = 0;
  // Free bytes for an unprivileged writer in the folder's file system.
  virtual int64_t FreeSpace(const std::filesystem::path& folder) = 0;

  // Bytes moved (0 at the end of the file), or -errno.
  virtual int64_t ReadAt(int fd, void* buffer, int64_t count, int64_t offset) = 0;
  virtual int64_t WriteAt(int fd, const void* buffer, int64_t count, int64_t offset) = 0;
  // In-kernel copy between two open files; may refuse with -EXDEV, -ENOSYS,
  // -EINVAL or -EOPNOTSUPP, and the caller then copies through a buffer.
  virtual int64_t CopyRange(int in, int64_t inOffset, int out, int64_t outOffset,
                            int64_t count) = 0;

  // Starts writing a range of the file to the disk; with wait set, also
  // waits until that range is written. Says nothing of durability (Sync does);
  // it keeps the disk busy while the copy goes on.
  virtual int Writeback(int fd, int64_t offset, int64_t count, bool wait) = 0;
  // Gives the open file the times and permission bits of another.
  virtual int CopyAttributes(int fd, const FileInfo& from) = 0;
  virtual int Sync(int fd) = 0;
  // Makes a rename in the folder durable.
  virtual int SyncFolder(const std::filesystem::path& folder) = 0;
  // Atomically puts from in place of to.
  virtual int Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
  virtual int Remove(const std::filesystem::path& path) = 0;
};

}  // namespace vellix::backupcopy
