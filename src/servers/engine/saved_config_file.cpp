#include "servers/engine/saved_config_file.h"

#include <utility>

#include "foundation/format.h"
#include "servers/engine/engine_file.h"

namespace vellix::engine {

namespace {

std::string Counted(size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

}  // namespace

SavedConfigFile::SavedConfigFile(desktop::PathMapping paths) : paths_(std::move(paths)) {}

bool SavedConfigFile::Load(const std::string& file) {
  fileName_ = file;
  description_.clear();
  savedTime_ = Date();
  const EngineFileRead read = ReadEngineFile(paths_.ToNative(file));
  // The engine's own working file has no saved time: it is no saved copy.
  if (read.outcome != EngineFileRead::Outcome::Loaded || read.data.savedTime.IsZero()) return false;
  savedTime_ = read.data.savedTime;
  description_ = Format(savedTime_, "dd mmmm yyyy hh:nn", Locale::English()) + " - " +
                 Counted(read.data.agents.size(), "agent", "agents") + ", " +
                 Counted(read.data.periods.size(), "period store", "period stores");
  return true;
}

}  // namespace vellix::engine
