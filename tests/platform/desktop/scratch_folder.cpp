#include "scratch_folder.h"

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vellix::desktop::test {

ScratchFolder::ScratchFolder() {
  static std::atomic<int> counter{0};
  path_ = std::filesystem::temp_directory_path() /
          ("vellix-desktop-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::filesystem::path ScratchFolder::MakeFolder(const std::filesystem::path& relative) const {
  auto folder = path_ / relative;
  std::filesystem::create_directories(folder);
  return folder;
}

std::filesystem::path ScratchFolder::WriteFile(const std::filesystem::path& relative,
                                               const std::string& text, bool executable) const {
  auto file = path_ / relative;
  std::filesystem::create_directories(file.parent_path());
  {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("can't write " + file.string());
  }
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

std::string ReadFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace vellix::desktop::test
