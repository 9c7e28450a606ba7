#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "foundation/desktop.h"
#include "platform/desktop/path_mapping.h"

namespace vellix::desktop {

// The file system object over the POSIX file system, through the path
// mapping. Every drive letter is there: its root folder under the data folder
// is made the first time a path on it is used. The temporary folder is
// "C:\Temp" under the data folder, so that a file put beside it, as the help
// button does, lies in a folder the user may write to.
class PosixFileSystem : public FileSystem {
 public:
  explicit PosixFileSystem(PathMapping mapping);

  bool FolderExists(const std::string& path) override;
  // Raises 70 when the folder may not be made there.
  void CreateFolder(const std::string& path) override;
  std::string GetSpecialFolder(int32_t which) override;
  std::string GetTempName() override;
  // Raises 70 when the path is a folder or may not be written.
  void WriteTextFile(const std::string& path, const std::string& text) override;
  void DeleteFile(const std::string& path) override;
  bool FileExists(const std::string& path) override;
  // Each path as the logic writes it, so it compares with the paths the
  // engine keeps. Raises 70 when the folder may not be read.
  std::vector<FolderFile> FilesOf(const std::string& folder) override;

 private:
  // The native path, with the root of its drive or share made when missing.
  [[nodiscard]] std::filesystem::path Native(const std::string& path) const;

  PathMapping mapping_;
  std::mt19937 names_;
};

}  // namespace vellix::desktop
