#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/desktop/environment.h"

namespace vellix::desktop::test {

// A fresh folder under the system's temporary folder, removed with all it
// holds when the test ends.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  // Makes a folder (and its parents) below this one and gives its path.
  std::filesystem::path MakeFolder(const std::filesystem::path& relative) const;
  // Writes a file below this one; executable when asked.
  std::filesystem::path WriteFile(const std::filesystem::path& relative, const std::string& text,
                                  bool executable = false) const;

 private:
  std::filesystem::path path_;
};

// An environment of the variables given and no others.
EnvLookup FixedEnvironment(std::map<std::string, std::string> variables);

std::string ReadFile(const std::filesystem::path& file);

}  // namespace vellix::desktop::test
