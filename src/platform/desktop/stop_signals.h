#pragma once

namespace vellix::desktop {

// SIGTERM and SIGINT as something an event loop can watch: while an object
// lives, each signal makes its descriptor readable instead of ending the
// process. Each signal is caught once; a second one ends the process as if
// nobody caught it, so a stuck program still goes on a second Ctrl-C. One
// object at a time per process.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // Readable once a signal has come; -1 when the pipe couldn't be made.
  [[nodiscard]] int Descriptor() const { return read_; }
  // The signal that came (the first, when both did) and clears the
  // descriptor; 0 when none has come.
  int Take();

 private:
  int read_ = -1;
};

}  // namespace vellix::desktop
