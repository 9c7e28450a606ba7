#pragma once

#include <sys/types.h>

#include <filesystem>
#include <system_error>

// The user's settings, logs and mail are nobody else's business: the folders
// the servers make are the user's alone (0700), and so are the files (0600).
namespace vellix::servers {

inline constexpr mode_t kPrivateFolderMode = 0700;
inline constexpr mode_t kPrivateFileMode = 0600;

// Makes a folder and any missing folder above it, each level made here open
// to the user alone; levels that exist keep their mode. False, with ec set,
// when a level can't be made.
bool CreatePrivateFolders(const std::filesystem::path& folder, std::error_code& ec);

}  // namespace vellix::servers
