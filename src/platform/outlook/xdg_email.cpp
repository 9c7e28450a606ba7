#include "platform/outlook/xdg_email.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <thread>
#include <utility>

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX gives no header

namespace vellix::outlook {

std::vector<std::string> XdgEmailArguments(const OutgoingMail& mail) {
  std::vector<std::string> args = {"--utf8", "--subject", mail.subject, "--body", mail.body};
  for (const auto& attachment : mail.attachments) {
    args.emplace_back("--attach");
    args.push_back(attachment.file.string());
  }
  args.insert(args.end(), mail.recipients.begin(), mail.recipients.end());
  return args;
}

MailHandOver XdgEmailHandOver(desktop::EnvLookup env) {
  return [env = std::move(env)](const OutgoingMail& mail, const std::filesystem::path& /*eml*/) {
    const auto program = desktop::FindProgram("xdg-email", env);
    if (!program) return;
    std::vector<std::string> args = XdgEmailArguments(mail);
    args.insert(args.begin(), program->string());
    std::vector<char*> argv;
    argv.reserve(args.size() + 1);
    for (auto& arg : args)
      argv.push_back(arg.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) return;
    for (int fd = 0; fd <= 2; ++fd)
      (void)posix_spawn_file_actions_addopen(&actions, fd, "/dev/null",
                                             fd == 0 ? O_RDONLY : O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, program->c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) return;
    // Reaped on a thread of its own, so that no finished child lingers.
    std::thread([pid] { (void)waitpid(pid, nullptr, 0); }).detach();
  };
}

}  // namespace vellix::outlook
