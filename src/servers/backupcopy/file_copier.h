#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "servers/backupcopy/file_io.h"

namespace vellix::backupcopy {

// How a copy goes.
struct CopySettings {
  // Compare size and content hash of both sides before the copy takes the
  // final name.
  bool verify = true;
  // Bytes per in-kernel copy call: large, so a big file costs few calls, yet
  // small enough that progress and stop requests are seen often.
  int64_t chunkBytes = int64_t{64} << 20;
  // Bytes per read when copying through memory and when hashing.
  int64_t bufferBytes = int64_t{1} << 20;
};

// One file to copy: the texts as the user gave them, for messages, and the
// native paths they map to.
struct CopyRequest {
  std::string shownFile;
  std::string shownLocation;
  std::filesystem::path source;
  std::filesystem::path folder;
};

// What became of one file.
struct CopyResult {
  enum class Kind { Complete, Failed, Stopped };
  Kind kind = Kind::Complete;
  std::string text;  // for Failed: what to tell the user
};

// Copies one file into a folder so that the final name only ever holds a
// complete copy: the data goes to a hidden temporary name in the same
// folder, is synced to the disk (and checked, when asked), and then renamed
// over the final name. Any failure or stop removes the temporary file and
// leaves a file already under the final name as it was.
class FileCopier {
 public:
  // Told the bytes copied so far after each block, and the whole size once
  // at the end (last set); answers true when the copy must stop.
  using Progress = std::function<bool(int64_t bytes, bool last)>;
  // Asked between blocks while no progress is told (sync, checking).
  using Stopping = std::function<bool()>;

  FileCopier(FileIo& io, CopySettings settings);

  CopyResult Copy(const CopyRequest& request, const Progress& progress, const Stopping& stopping);

 private:
  class Job;

  FileIo& io_;
  CopySettings settings_;
  std::vector<unsigned char> buffer_;
  std::vector<unsigned char> sourceBuffer_;  // the source's side of a check
  std::mt19937_64 random_;
};

}  // namespace vellix::backupcopy
