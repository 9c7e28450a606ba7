#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vellix::desktop {

// Maps the logic's own path texts onto the POSIX file system the way a
// compatibility layer does:
//   "X:\a\b"          -> <data>/drives/x/a/b   (one root per drive letter)
//   "\\server\share\a" -> <data>/unc/server/share/a
//   "\a\b"            -> <data>/drives/c/a/b   (the current drive is C:)
//   "/home/u/a"       -> /home/u/a             (a POSIX absolute path stays)
//   "a\b"             -> <data>/drives/c/a/b   (relative to C:\, there is no other current folder)
// Backslashes and slashes both separate; "." and ".." parts are resolved
// without leaving the drive's root. Mail-program folder paths are not file
// paths and never come here.
class PathMapping {
 public:
  explicit PathMapping(std::filesystem::path dataRoot);

  [[nodiscard]] std::filesystem::path ToNative(std::string_view logicPath) const;
  // A native path as the logic writes paths: inside a drive root it becomes
  // "X:\a\b"; any other path is given as its POSIX text.
  [[nodiscard]] std::string ToLogic(const std::filesystem::path& native) const;

  [[nodiscard]] const std::filesystem::path& DataRoot() const { return dataRoot_; }

 private:
  std::filesystem::path dataRoot_;
};

}  // namespace vellix::desktop
