#pragma once

#include "servers/backupcopy/file_io.h"

namespace vellix::backupcopy {

// File operations straight on the operating system.
class SystemFileIo : public FileIo {
 public:
  int OpenRead(const std::filesystem::path& path) override;
  int CreateNew(const std::filesystem::path& path) override;
  int Close(int fd) override;
  int Stat(const std::filesystem::path& path, FileInfo& info) override;
  int StatOpen(int fd, FileInfo& info) override;
  int64_t FreeSpace(const std::filesystem::path& folder) override;
  int64_t ReadAt(int fd, void* buffer, int64_t count, int64_t offset) override;
  int64_t WriteAt(int fd, const void* buffer, int64_t count, int64_t offset) override;
  int64_t CopyRange(int in, int64_t inOffset, int out, int64_t outOffset, int64_t count) override;
  int Writeback(int fd, int64_t offset, int64_t count, bool wait) override;
  int CopyAttributes(int fd, const FileInfo& from) override;
  int Sync(int fd) override;
  int SyncFolder(const std::filesystem::path& folder) override;
  int Rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  int Remove(const std::filesystem::path& path) override;
};

}  // namespace vellix::backupcopy
