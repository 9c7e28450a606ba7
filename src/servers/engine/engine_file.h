#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "servers/engine/engine_data.h"

// The engine's own XML file: its configuration as it was last written. Saved
// copies of the configuration for recovery have the same form with a
// SavedTime. docs/engine-standin.md describes the format.
namespace vellix::engine {

struct EngineFileRead {
  // Corrupt: the content is not an engine file (bad XML, a value that
  // doesn't read, an agent or period without a usable id or name, or one
  // repeating another); nothing of it is taken. Unreadable: the file is
  // there but its bytes can't be had.
  enum class Outcome { Loaded, Missing, Corrupt, Unreadable };
  Outcome outcome = Outcome::Missing;
  EngineData data;
  // Why the file was missing, corrupt or unreadable; where in the file, when
  // it is about the content.
  std::string error;
};

// Reads the file; never throws.
EngineFileRead ReadEngineFile(const std::filesystem::path& file);
EngineFileRead ParseEngineText(std::string_view text);

std::string EngineFileText(const EngineData& data);
// Writes the file atomically; false, with error set, when it can't.
bool WriteEngineFile(const std::filesystem::path& file, const EngineData& data, std::string* error);

}  // namespace vellix::engine
