#include "scratch_folder.h"

namespace vellix::desktop::test {

std::filesystem::path ScratchFolder::MakeFolder(const std::filesystem::path& relative) const {
  auto folder = Path() / relative;
  std::filesystem::create_directories(folder);
  return folder;
}

std::filesystem::path ScratchFolder::WriteFile(const std::filesystem::path& relative,
                                               const std::string& text, bool executable) const {
  auto file = Path() / relative;
  vellix::test::WriteText(file, text);
  using std::filesystem::perms;
  std::filesystem::permissions(file, executable
                                         ? perms::owner_all | perms::group_read | perms::group_exec
                                         : perms::owner_read | perms::owner_write);
  return file;
}

EnvLookup FixedEnvironment(std::map<std::string, std::string> variables) {
  return [variables = std::move(variables)](const std::string& name) -> std::optional<std::string> {
    auto it = variables.find(name);
    if (it == variables.end()) return std::nullopt;
    return it->second;
  };
}

}  // namespace vellix::desktop::test
