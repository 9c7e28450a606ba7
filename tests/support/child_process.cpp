#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace vellix::test {

ChildProcess::ChildProcess(const std::function<void(int out)>& body) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("pipe failed");
  pid_ = ::fork();
  if (pid_ < 0) {
    ::close(ends[0]);
    ::close(ends[1]);
    throw std::runtime_error("fork failed");
  }
  if (pid_ == 0) {
    ::close(ends[0]);
    try {
      body(ends[1]);
    } catch (...) {
      ::_exit(3);
    }
    ::_exit(0);
  }
  ::close(ends[1]);
  in_ = ends[0];
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0) Kill();
  if (in_ >= 0) ::close(in_);
}

bool ChildProcess::WaitFor(char mark) {
  char byte = 0;
  while (in_ >= 0) {
    const ssize_t got = ::read(in_, &byte, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    told_ += byte;
    if (byte == mark) return true;
  }
  return false;
}

void ChildProcess::ReadAll() {
  if (in_ < 0) return;
  std::array<char, 256> buffer{};
  for (;;) {
    const ssize_t got = ::read(in_, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    told_.append(buffer.data(), static_cast<size_t>(got));
  }
  ::close(in_);
  in_ = -1;
}

void ChildProcess::Kill() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  Wait();
}

int ChildProcess::Wait() {
  if (pid_ <= 0) return status_;
  ReadAll();
  while (::waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return status_;
}

bool ChildProcess::EndedByKill() const {
  return pid_ < 0 && WIFSIGNALED(status_) && WTERMSIG(status_) == SIGKILL;
}

void Tell(int out, char mark) {
  if (::write(out, &mark, 1) != 1) ::_exit(4);
}

}  // namespace vellix::test
