#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vellix::app {

// The folder of the files the program only reads: the icons, the boot
// configuration, the shared formats and the demo mail profile. A build keeps
// them beside the executable; an installed program, whose own folder is a
// system bin folder, finds them in share/vellix-control of its prefix
// (found relative to the executable's folder, so any prefix works). The boot
// configuration marks the folder. Without it in either place: nothing, and a
// message naming both places.
std::optional<std::filesystem::path> ResourceFolder(const std::filesystem::path& exeFolder,
                                                    std::string& error);

}  // namespace vellix::app
