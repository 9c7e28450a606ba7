#include "platform/desktop/environment.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace vellix::desktop {

namespace {

bool IsExecutableFile(const std::filesystem::path& path) {
  std::error_code ec;
  return std::filesystem::is_regular_file(path, ec) && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace

EnvLookup ProcessEnvironment() {
  return [](const std::string& name) -> std::optional<std::string> {
    // Nothing in the panel changes its own environment, so reading it is safe.
    const char* value = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe)
    if (value == nullptr) return std::nullopt;
    return std::string(value);
  };
}

std::optional<std::filesystem::path> FindProgram(const std::string& name, const EnvLookup& env) {
  if (name.empty()) return std::nullopt;
  if (name.find('/') != std::string::npos) {
    if (IsExecutableFile(name)) return std::filesystem::path(name);
    return std::nullopt;
  }
  const std::string path = env("PATH").value_or("/usr/local/bin:/usr/bin:/bin");
  size_t start = 0;
  while (start <= path.size()) {
    const auto end = std::min(path.find(':', start), path.size());
    const auto folder = path.substr(start, end - start);
    if (!folder.empty()) {
      auto candidate = std::filesystem::path(folder) / name;
      if (IsExecutableFile(candidate)) return candidate;
    }
    start = end + 1;
  }
  return std::nullopt;
}

}  // namespace vellix::desktop
