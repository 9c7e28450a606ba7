#include "servers/config/data_paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>
#include <vector>

#include "servers/common/private_files.h"

namespace vellix {

namespace {

constexpr const char* kProductFolder = "vellix";

std::filesystem::path HomeFolder(const EnvironmentLookup& environment) {
  if (auto home = environment("HOME"); home && !home->empty()) return *home;
  // No HOME: the account's own entry.
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
      found->pw_dir) {
    return found->pw_dir;
  }
  std::error_code ec;
  return std::filesystem::temp_directory_path(ec);
}

std::filesystem::path BaseFolder(const EnvironmentLookup& environment, const char* variable,
                                 const char* fallbackBelowHome) {
  if (auto value = environment(variable); value && !value->empty()) {
    std::filesystem::path p(*value);
    if (p.is_absolute()) return p;
  }
  return HomeFolder(environment) / fallbackBelowHome;
}

}  // namespace

DataPaths ResolveDataPaths(const std::string& dataDir, const EnvironmentLookup& environment) {
  if (!dataDir.empty()) {
    std::error_code ec;
    std::filesystem::path base = std::filesystem::absolute(dataDir, ec);
    if (ec) base = dataDir;
    return DataPaths{base / "config", base / "state"};
  }
  return DataPaths{BaseFolder(environment, "XDG_CONFIG_HOME", ".config") / kProductFolder,
                   BaseFolder(environment, "XDG_STATE_HOME", ".local/state") / kProductFolder};
}

DataPaths ResolveDataPaths(const std::string& dataDir) {
  return ResolveDataPaths(dataDir, [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    if (!value) return std::nullopt;
    return std::string(value);
  });
}

bool CreateDataFolders(const DataPaths& paths, std::string* error) {
  for (const auto& folder : {paths.configDir, paths.stateDir}) {
    std::error_code ec;
    if (!servers::CreatePrivateFolders(folder, ec)) {
      if (error) *error = "Unable to create the folder " + folder.string() + ": " + ec.message();
      return false;
    }
  }
  return true;
}

}  // namespace vellix
