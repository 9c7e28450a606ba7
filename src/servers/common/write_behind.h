#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

// Writes of the stand-in servers' files, done on a thread of their own so
// that whoever saves (often the window the user is typing in) never waits for
// a disk that is busy with something else, such as a backup run.
namespace vellix::servers {

class WriteBehind {
 public:
  // The one queue of the process: two servers opened on the same file (one
  // closing, one opening) wait for each other through it.
  static WriteBehind& Shared();

  // Queues a write under a key, mostly the file's path. A write not yet begun
  // is replaced by a newer one under the same key; writes under one key never
  // overlap. The write must report its own trouble: it is not heard of again.
  void Queue(const std::string& key, std::function<void()> write);
  // Returns once nothing is queued or being written under the key.
  void Wait(const std::string& key);
  // Returns once nothing at all is queued or being written, and the thread
  // has ended.
  void WaitAll();

 private:
  void Run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, std::function<void()>> queued_;
  std::string writing_;  // the key being written; empty when none
  // The thread runs while there is work and is made again when some comes.
  // WaitAll joins it: a process forked after it (the crash tests fork)
  // inherits no thread half-way out, nor any lock such a thread holds.
  bool running_ = false;
  std::thread thread_;
};

}  // namespace vellix::servers
