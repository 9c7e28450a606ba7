#include "servers/common/write_behind.h"

#include <system_error>
#include <utility>

namespace vellix::servers {

WriteBehind& WriteBehind::Shared() {
  // Never destroyed: a thread still running at the process's end would
  // make its destructor end the process. Whoever queued writes waits for
  // them before the end.
  static auto* shared = new WriteBehind();
  return *shared;
}

void WriteBehind::Queue(const std::string& key, std::function<void()> write) {
  std::unique_lock lock(mutex_);
  queued_[key] = std::move(write);
  if (running_) return;
  running_ = true;
  // The last thread has left its loop (it let go of the lock when it
  // cleared running_), so this join does not wait for the lock we hold.
  if (thread_.joinable()) thread_.join();
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // No thread to be had: the caller writes, as it did before there was one.
    running_ = false;
    auto node = queued_.extract(key);
    lock.unlock();
    node.mapped()();
  }
}

void WriteBehind::Run() {
  std::unique_lock lock(mutex_);
  while (!queued_.empty()) {
    auto node = queued_.extract(queued_.begin());
    writing_ = node.key();
    lock.unlock();
    try {
      node.mapped()();
    } catch (...) {  // NOLINT(bugprone-empty-catch): the write tells its own trouble
    }
    node = {};
    lock.lock();
    writing_.clear();
    changed_.notify_all();
  }
  running_ = false;
  changed_.notify_all();
}

void WriteBehind::Wait(const std::string& key) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return writing_ != key && !queued_.contains(key); });
}

void WriteBehind::WaitAll() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return !running_; });
  if (thread_.joinable()) thread_.join();
}

}  // namespace vellix::servers
