#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vellix {

// Where the product keeps its files. By default the XDG base directories:
// settings (the configuration tree, the engine's configuration) below
// $XDG_CONFIG_HOME/vellix, logs below $XDG_STATE_HOME/vellix. A data folder
// given on the command line puts everything below it instead (config/ and
// state/), for tests and for a portable install.
struct DataPaths {
  std::filesystem::path configDir;
  std::filesystem::path stateDir;

  [[nodiscard]] std::filesystem::path ConfigTreeFile() const {
    return configDir / "ConfigTree.xml";
  }
  [[nodiscard]] std::filesystem::path ErrorLogFile() const { return stateDir / "ErrorLog.txt"; }
};

// Reads a variable of the environment; nothing when it isn't set.
using EnvironmentLookup = std::function<std::optional<std::string>(const char* name)>;

// The locations for a data folder (empty for the XDG defaults). As the XDG
// rules say, a variable that is empty or not an absolute path is ignored.
DataPaths ResolveDataPaths(const std::string& dataDir, const EnvironmentLookup& environment);
// The same with the process's own environment.
DataPaths ResolveDataPaths(const std::string& dataDir);

// Creates both folders (owner only, as XDG asks); false with error on failure.
bool CreateDataFolders(const DataPaths& paths, std::string* error);

}  // namespace vellix
