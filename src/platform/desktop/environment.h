#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vellix::desktop {

// One variable of the environment, or nothing when it isn't set. Given to the
// desktop stand-ins so that tests can set HOME, PATH and the rest without
// touching the process's own environment.
using EnvLookup = std::function<std::optional<std::string>(const std::string& name)>;

// The process's own environment.
EnvLookup ProcessEnvironment();

// The program a name stands for: a name with a slash is taken as it is, any
// other is looked for in the folders of PATH in order (empty entries, which
// would mean the current folder, are passed over). Only an executable file
// counts. Nothing when there is none.
std::optional<std::filesystem::path> FindProgram(const std::string& name, const EnvLookup& env);

}  // namespace vellix::desktop
