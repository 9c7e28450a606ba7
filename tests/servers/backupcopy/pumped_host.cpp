#include "pumped_host.h"

namespace vellix::test {

void PumpedHost::Post(std::function<void()> fn) {
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(std::move(fn));
  }
  posted_.notify_all();
}

bool PumpedHost::PumpUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    std::function<void()> fn;
    {
      std::unique_lock lock(mutex_);
      if (!posted_.wait_until(lock, deadline, [&] { return !queue_.empty(); })) return false;
      fn = std::move(queue_.front());
      queue_.pop_front();
    }
    fn();
  }
  return true;
}

bool PumpedHost::WaitForPosted(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return posted_.wait_for(lock, limit, [&] { return !queue_.empty(); });
}

size_t PumpedHost::Pending() {
  std::lock_guard lock(mutex_);
  return queue_.size();
}

}  // namespace vellix::test
