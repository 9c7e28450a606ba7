#include "platform/desktop/stop_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace vellix::desktop {

namespace {

constexpr std::array<int, 2> kSignals = {SIGTERM, SIGINT};
std::array<struct sigaction, 2> gBefore{};
// The handler may only touch what is safe in a signal: a plain descriptor.
std::atomic<int> gWrite{-1};

void Caught(int signal) {
  const int saved = errno;
  const auto number = static_cast<unsigned char>(signal);
  if (const int fd = gWrite.load(); fd >= 0) {
    // Nothing to do when it fails: the pipe is full, so a signal is noted already.
    [[maybe_unused]] const ssize_t written = ::write(fd, &number, 1);
  }
  errno = saved;
}

}  // namespace

StopSignals::StopSignals() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  read_ = ends[0];
  gWrite.store(ends[1]);
  struct sigaction action {};
  action.sa_handler = Caught;
  sigemptyset(&action.sa_mask);
  // Once only: the next one has the default action again.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  for (size_t i = 0; i < kSignals.size(); ++i) {
    ::sigaction(kSignals[i], nullptr, &gBefore[i]);
    // A signal ignored by whoever started us (nohup, a background job) stays so.
    if (gBefore[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
  }
}

StopSignals::~StopSignals() {
  if (read_ < 0) return;
  for (size_t i = 0; i < kSignals.size(); ++i)
    ::sigaction(kSignals[i], &gBefore[i], nullptr);
  ::close(gWrite.exchange(-1));
  ::close(read_);
}

int StopSignals::Take() {
  int first = 0;
  unsigned char number = 0;
  while (read_ >= 0 && ::read(read_, &number, 1) == 1) {
    if (first == 0) first = number;
  }
  return first;
}

}  // namespace vellix::desktop
