#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "foundation/date.h"
#include "platform/outlook/mail_profile.h"
#include "servers/engine/processing_hooks.h"

namespace vellix::engine {

struct EventChannel;

struct ProcessorOptions {
  // Runs a function later on the panel's thread (the host's Post); may be
  // called from any thread.
  std::function<void(std::function<void()>)> post;
  // The mail profile, or nothing when there is none. Called, and the profile
  // used, on the panel's thread only.
  std::function<std::shared_ptr<outlook::MailProfile>()> profile;
  // Called on the panel's thread after a pass took items out of the profile.
  std::function<void()> profileChanged;
  // How often the idle worker has the panel's thread look whether the next
  // pass is due by the engine's clock.
  std::chrono::milliseconds poll = std::chrono::seconds(1);
  // Items filed in one transaction of a store. Each commit flushes the disk
  // three or four times, so fewer, larger ones file faster; the items of one
  // are held in memory until it commits.
  int batchItems = 2000;
  // Items of a folder read in one task on the panel's thread at the start of
  // a pass: small enough that the window never waits long for it.
  size_t scanSlice = 5000;
};

// The engine's processing: passes over the agents' folders that file items
// into the period stores, run waiting imports and purge filed items, each on
// a worker thread. The engine's data are read and written under the core's
// lock; the mail profile is touched only on the panel's thread (the worker
// hands it small tasks there); every event goes to the panel through post,
// in order, with the monitor's state at that step.
//
// A pass starts when the engine starts, on an agent's RunFile or RunPurge,
// and every PassMinutes of the engine's settings while it runs.
class Processor final : public ProcessingHooks {
 public:
  explicit Processor(ProcessorOptions options);
  ~Processor() override;
  Processor(const Processor&) = delete;
  Processor& operator=(const Processor&) = delete;

  void Started(EngineCore& core) override;
  // Ends a pass under way at the next item; its last events reach the panel
  // before this returns.
  void Stopping(EngineCore& core) override;
  void Shutdown(EngineCore& core, bool deliver) override;
  void FileNow(EngineCore& core, int16_t agentId) override;
  void PurgeNow(EngineCore& core, int16_t agentId) override;
  // What the next pass, run now, will file.
  int32_t ForecastItemCount(EngineCore& core) override;

  // On the panel's thread: starts a pass when the next one is due by the
  // engine's clock. The worker asks for this every poll while idle.
  void Tick();

  // For tests: passes finished so far, and whether a pass is going or wanted.
  [[nodiscard]] int PassesDone() const { return passesDone_.load(); }
  [[nodiscard]] bool Busy() const;

 private:
  class Pass;
  void Request(EngineCore& core);
  void EnsureWorker(EngineCore& core);
  void WorkerLoop();
  // One pass on the worker (processor_pass.cpp).
  void RunPass(EngineCore& core, Date now);
  void StopWorker(bool deliver);

  ProcessorOptions options_;
  std::shared_ptr<EventChannel> channel_;
  EngineCore* core_ = nullptr;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool quit_ = false;
  bool wanted_ = false;
  bool active_ = false;
  Date wantedAt_;
  Date nextPass_;
  std::atomic<bool> stop_{false};
  std::atomic<int> passesDone_{0};
  std::thread worker_;
};

}  // namespace vellix::engine
