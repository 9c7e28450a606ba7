#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace vellix::test {

// A forked child process that tells its progress as bytes through a pipe.
// The body runs in the child; when it returns, the child exits 0, and when
// it throws, 3, so a child never runs on into the test that made it. Fork
// only while the process has no other thread: a lock another thread holds
// stays held in the child.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<void(int out)>& body);
  // Kills and reaps a child that is still there.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Reads what the child tells until `mark` comes (true) or the child has
  // closed its end (false).
  bool WaitFor(char mark);
  // Sends SIGKILL, reaps the child and reads whatever else it told.
  void Kill();
  // Reaps a child that ends by itself, reading what it told; its status.
  int Wait();

  [[nodiscard]] const std::string& Told() const { return told_; }
  [[nodiscard]] bool Told(char mark) const { return told_.find(mark) != std::string::npos; }
  [[nodiscard]] bool EndedByKill() const;
  [[nodiscard]] int Status() const { return status_; }

 private:
  void ReadAll();

  pid_t pid_ = -1;
  int in_ = -1;
  std::string told_;
  int status_ = 0;
};

// In the child: tells the parent one byte; a parent that is gone ends the
// child.
void Tell(int out, char mark);

}  // namespace vellix::test
