#include "platform/desktop/stop_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace vellix::desktop {

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT};
struct sigaction gBefore[2];
// The handler may only touch what is safe in a signal: a plain descriptor.
std::atomic<int> gWrite{-1};

void Caught(int signal) {
  const int saved = errno;
  const unsigned char number = static_cast<unsigned char>(signal);
  if (const int fd = gWrite.load(); fd >= 0) (void)!::write(fd, &number, 1);
  errno = saved;
}

}  // namespace

StopSignals::StopSignals() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
  read_ = ends[0];
  gWrite.store(ends[1]);
  struct sigaction action {};
  action.sa_handler = Caught;
  sigemptyset(&action.sa_mask);
  // Once only: the next one has the default action again.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  for (int i = 0; i < 2; ++i) {
    ::sigaction(kSignals[i], nullptr, &gBefore[i]);
    // A signal ignored by whoever started us (nohup, a background job) stays so.
    if (gBefore[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
  }
}

StopSignals::~StopSignals() {
  if (read_ < 0) return;
  for (int i = 0; i < 2; ++i)
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
