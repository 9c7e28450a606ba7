#pragma once

#include <filesystem>
#include <string>

namespace vellix::test {

// A fresh folder below the system's temporary folder, removed with its
// content when the object goes.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  [[nodiscard]] std::filesystem::path operator/(const std::string& name) const {
    return path_ / name;
  }

 private:
  std::filesystem::path path_;
};

// Writes a file whole (not atomically), making its folder; for setting up a
// test, so a failure throws.
void WriteText(const std::filesystem::path& path, const std::string& text);
// A file's whole content, or "" when it can't be read.
std::string ReadText(const std::filesystem::path& path);

}  // namespace vellix::test
