#include "app/resource_folder.h"

#include <system_error>

#include "foundation/control_startup.h"

namespace vellix::app {

namespace fs = std::filesystem;

std::optional<fs::path> ResourceFolder(const fs::path& exeFolder, std::string& error) {
  // Start-up time is measured: one stat in a build, two once installed.
  std::error_code ec;
  if (fs::exists(exeFolder / ControlStartup::kBootConfigFile, ec)) return exeFolder;
  const fs::path installed = (exeFolder / VELLIX_INSTALLED_RESOURCES).lexically_normal();
  if (fs::exists(installed / ControlStartup::kBootConfigFile, ec)) return installed;
  error = "the program's files (" + std::string(ControlStartup::kBootConfigFile) +
          ", the icons, the demo profile) are neither in " + exeFolder.string() + " nor in " +
          installed.string() + "; build or install the program again";
  return std::nullopt;
}

}  // namespace vellix::app
