#include "platform/desktop/xdg_web_browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

extern char** environ;  // NOLINT: the process environment, handed on to the browser

namespace vellix::desktop {

namespace {

// posix_spawn's attributes and file actions, released however the call ends.
class SpawnSetup {
 public:
  SpawnSetup() {
    ok_ = posix_spawnattr_init(&attr_) == 0;
    ok_ = posix_spawn_file_actions_init(&actions_) == 0 && ok_;
    if (!ok_) return;
    sigset_t none;
    sigemptyset(&none);
    // Signals the panel ignores or blocks are the browser's own business.
    sigset_t defaults;
    sigemptyset(&defaults);
    for (int sig : {SIGPIPE, SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM})
      sigaddset(&defaults, sig);
    ok_ = posix_spawnattr_setsigmask(&attr_, &none) == 0 &&
          posix_spawnattr_setsigdefault(&attr_, &defaults) == 0 &&
          posix_spawnattr_setpgroup(&attr_, 0) == 0 &&
          posix_spawnattr_setflags(&attr_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                               POSIX_SPAWN_SETPGROUP) == 0 &&
          posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0;
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attr_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  [[nodiscard]] bool Ok() const { return ok_; }
  posix_spawnattr_t* Attr() { return &attr_; }
  posix_spawn_file_actions_t* Actions() { return &actions_; }

 private:
  posix_spawnattr_t attr_{};
  posix_spawn_file_actions_t actions_{};
  bool ok_ = false;
};

void ReapLater(pid_t pid) {
  try {
    std::thread([pid] {
      int status = 0;
      while (::waitpid(pid, &status, 0) == -1 && errno == EINTR) {
      }
    }).detach();
  } catch (const std::system_error&) {
    // No thread to be had: the child stays a zombie until the panel ends,
    // which costs one process slot and nothing else.
  }
}

}  // namespace

XdgWebBrowser::XdgWebBrowser(PathMapping mapping, EnvLookup env)
    : mapping_(std::move(mapping)), env_(std::move(env)) {}

ExecutableLookup XdgWebBrowser::FindExecutable(const std::string& file) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(mapping_.ToNative(file), ec)) {
    return {kShellErrorFileNotFound, {}};
  }
  std::vector<std::string> candidates;
  if (auto browser = env_("BROWSER"); browser && !browser->empty()) {
    candidates.push_back(browser->substr(0, browser->find(':')));
  }
  for (const char* name : {"xdg-open", "sensible-browser", "x-www-browser"}) {
    candidates.emplace_back(name);
  }
  for (const auto& name : candidates) {
    if (auto program = FindProgram(name, env_)) return {kShellSuccess, program->string()};
  }
  return {kShellErrorNoAssociation, {}};
}

int32_t XdgWebBrowser::ShellExecute(const std::string& program, const std::string& parameters) {
  std::filesystem::path path = program;
  if (program.find('/') == std::string::npos) {
    auto found = FindProgram(program, env_);
    if (!found) return kShellErrorFileNotFound;
    path = *found;
  }
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) return kShellErrorFileNotFound;
  if (::access(path.c_str(), X_OK) != 0) return kShellErrorAccessDenied;

  SpawnSetup setup;
  if (!setup.Ok()) return kShellErrorOutOfResources;
  std::string arg0 = path.string();
  std::string arg1 = parameters;
  std::vector<char*> argv{arg0.data()};
  if (!arg1.empty()) argv.push_back(arg1.data());
  argv.push_back(nullptr);

  pid_t pid = 0;
  const int rc =
      ::posix_spawn(&pid, path.c_str(), setup.Actions(), setup.Attr(), argv.data(), environ);
  if (rc != 0) {
    if (rc == ENOENT) return kShellErrorFileNotFound;
    if (rc == EACCES || rc == ENOEXEC) return kShellErrorAccessDenied;
    return kShellErrorOutOfResources;
  }
  lastProcess_ = pid;
  ReapLater(pid);
  return kShellSuccess;
}

}  // namespace vellix::desktop
