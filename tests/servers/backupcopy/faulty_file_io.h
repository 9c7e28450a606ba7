#pragma once

#include <optional>
#include <string>

#include "servers/backupcopy/system_file_io.h"

namespace vellix::test {

// Real files, with failures injected on the files whose path contains a
// given text.
class FaultyFileIo : public backupcopy::SystemFileIo {
 public:
  struct Fault {
    std::string pathContains;
    int error = 0;
    int64_t afterBytes = 0;  // reads or writes from this offset on fail
  };
  std::optional<Fault> readFault;   // sources
  std::optional<Fault> writeFault;  // copies, by their temporary name
  std::optional<Fault> openFault;   // opening a source to read
  std::optional<Fault> syncFault;   // making a copy durable
  int refuseInKernelCopy = 0;       // errno for every in-kernel copy
  bool corruptWrites = false;       // flips the first byte of each write
  int64_t freeSpace = -1;           // when set, the free space reported
  int OpenRead(const std::filesystem::path& path) override;
  int Sync(int fd) override;
  int64_t FreeSpace(const std::filesystem::path& folder) override;
  int64_t ReadAt(int fd, void* buffer, int64_t count, int64_t offset) override;
  int64_t WriteAt(int fd, const void* buffer, int64_t count, int64_t offset) override;
  int64_t CopyRange(int in, int64_t inOffset, int out, int64_t outOffset, int64_t count) override;

 private:
  // The error to give for count bytes at offset of fd, else 0 with count
  // cut short before the failing offset.
  static int Check(const std::optional<Fault>& fault, int fd, int64_t offset, int64_t& count);
};

}  // namespace vellix::test
