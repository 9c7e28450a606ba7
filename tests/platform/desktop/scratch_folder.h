#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/desktop/environment.h"
#include "support/temp_folder.h"

namespace vellix::desktop::test {

// The shared temporary folder, with the folders and files the desktop tests
// lay out below it.
class ScratchFolder : public vellix::test::TempFolder {
 public:
  // Makes a folder (and its parents) below this one and gives its path.
  std::filesystem::path MakeFolder(const std::filesystem::path& relative) const;
  // Writes a file below this one; executable when asked.
  std::filesystem::path WriteFile(const std::filesystem::path& relative, const std::string& text,
                                  bool executable = false) const;
};

// An environment of the variables given and no others.
EnvLookup FixedEnvironment(std::map<std::string, std::string> variables);

using vellix::test::ReadText;

}  // namespace vellix::desktop::test
