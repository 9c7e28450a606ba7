#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "servers/engine/engine_data.h"

// The engine's own XML file: its configuration as it was last written. Saved
// copies of the configuration for recovery have the same form with a
// SavedTime. docs/engine-standin.md describes the format.
namespace vellix::engine {

struct EngineFileRead {
  enum class Outcome { Loaded, Missing, Corrupt };
  Outcome outcome = Outcome::Missing;
  EngineData data;
  // Why the file was missing or corrupt.
  std::string error;
  // Values that could not be read and were given their defaults, and entries
  // that were dropped; the rest of the file was taken.
  std::vector<std::string> problems;
};

// Reads the file; never throws.
EngineFileRead ReadEngineFile(const std::filesystem::path& file);
EngineFileRead ParseEngineText(std::string_view text);

std::string EngineFileText(const EngineData& data);
// Writes the file atomically; false, with error set, when it can't.
bool WriteEngineFile(const std::filesystem::path& file, const EngineData& data, std::string* error);

}  // namespace vellix::engine
