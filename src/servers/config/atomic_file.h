#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vellix {

// Replaces a file's content so that a crash at any moment leaves either the
// old content or the new one, never a mix: the bytes go to a temporary file
// in the same folder, are flushed to the disk, and the temporary file is
// renamed over the target; then the folder itself is flushed so the rename
// survives a power cut. A new file is the user's alone (0600); an existing
// file keeps its permission bits, which its owner may have set on purpose. On
// failure the target is untouched, the temporary file is removed, and error
// (when given) says what went wrong.
bool WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes,
                         std::string* error);

// Temporary files of WriteFileAtomically for this target that a killed
// process left behind. Only call this while no other process can be writing
// the same target.
std::size_t RemoveStaleTempFiles(const std::filesystem::path& path);

// Which file lies at a path, and in which version: equal stamps of one path
// mean it was neither replaced nor written in between.
struct FileStamp {
  uint64_t device = 0;
  uint64_t inode = 0;
  int64_t size = 0;
  int64_t modifiedNs = 0;
  bool operator==(const FileStamp&) const = default;
};
std::optional<FileStamp> StampOf(const std::filesystem::path& path);

// Reads a whole file, refusing one longer than maxBytes; false, with error
// set, when it is missing, unreadable or too long.
bool ReadFileLimited(const std::filesystem::path& path, std::size_t maxBytes, std::string* bytes,
                     std::string* error);

}  // namespace vellix
