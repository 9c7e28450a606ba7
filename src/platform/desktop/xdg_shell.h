#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "foundation/desktop.h"
#include "platform/desktop/environment.h"
#include "platform/desktop/path_mapping.h"

namespace vellix::desktop {

// The modal folder dialog: given its title, the folder chosen on disk, or
// nothing when the user cancelled. The application hands in its window
// system's dialog; tests a script.
// Shows a folder dialog with a title, opened at a native folder (empty: the
// dialog's own choice).
using FolderPicker = std::function<std::optional<std::filesystem::path>(
    const std::string& title, const std::filesystem::path& start)>;

// The shell object on a free desktop. The personal folder is the XDG
// documents folder: $XDG_DOCUMENTS_DIR, else the one named in
// user-dirs.dirs, else ~/Documents, each only when it is there. Folders go
// back to the logic as its path texts (PathMapping::ToLogic).
class XdgShell : public DesktopShell {
 public:
  XdgShell(PathMapping mapping, FolderPicker picker, EnvLookup env = ProcessEnvironment());

  std::optional<std::string> PersonalFolder() override;
  // Nothing also when no picker was given.
  std::optional<std::string> BrowseForFolder(const std::string& title,
                                             const std::string& start) override;

  // The documents folder on disk, or nothing.
  [[nodiscard]] std::optional<std::filesystem::path> DocumentsFolder() const;

 private:
  [[nodiscard]] std::optional<std::filesystem::path> FromUserDirs(
      const std::filesystem::path& home) const;

  PathMapping mapping_;
  FolderPicker picker_;
  EnvLookup env_;
};

}  // namespace vellix::desktop
