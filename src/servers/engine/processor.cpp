#include "servers/engine/processor.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "servers/engine/engine_core.h"
#include "servers/engine/event_channel.h"
#include "servers/engine/pass_plan.h"

namespace vellix::engine {

Processor::Processor(ProcessorOptions options)
    : options_(std::move(options)), channel_(std::make_shared<EventChannel>()) {
  channel_->post = options_.post;
}

Processor::~Processor() {
  StopWorker(false);
}

void Processor::EnsureWorker(EngineCore& core) {
  core_ = &core;
  channel_->core = &core;
  if (worker_.joinable()) return;
  worker_ = std::thread([this] { WorkerLoop(); });
}

void Processor::Request(EngineCore& core) {
  // The locks are taken in one order: the core's, the channel's, then ours
  // (a pass's last word holds the channel's while it clears active_). So the
  // core's is never taken while ours is held.
  int32_t minutes = 5;
  {
    const auto lock = core.Lock();
    if (!core.Settings().running) return;
    minutes = std::max(1, core.Settings().passMinutes);
  }
  if (!options_.post) return;
  EnsureWorker(core);
  const Date now = core.Now();
  {
    std::lock_guard lock(mutex_);
    if (quit_) return;
    wanted_ = true;
    wantedAt_ = now;
    nextPass_ = AddSeconds(now, minutes * 60.0);
  }
  stop_ = false;
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = false;
  }
  wake_.notify_all();
}

void Processor::Started(EngineCore& core) {
  Request(core);
}

void Processor::FileNow(EngineCore& core, int16_t /*agentId*/) {
  Request(core);
}

void Processor::PurgeNow(EngineCore& core, int16_t /*agentId*/) {
  Request(core);
}

void Processor::Tick() {
  if (core_ == nullptr) return;
  {
    const auto lock = core_->Lock();
    if (!core_->Settings().running) return;
  }
  const Date now = core_->Now();
  {
    std::lock_guard lock(mutex_);
    if (active_ || wanted_ || now < nextPass_) return;
  }
  Request(*core_);
}

bool Processor::Busy() const {
  std::lock_guard lock(mutex_);
  return active_ || wanted_;
}

void Processor::WorkerLoop() {
  while (true) {
    Date at;
    {
      std::unique_lock lock(mutex_);
      wake_.wait_for(lock, options_.poll, [this] { return quit_ || wanted_; });
      if (quit_) return;
      if (!wanted_) {
        lock.unlock();
        ChannelEntry tick;
        tick.kind = ChannelEntry::Kind::kTask;
        tick.task = [this] { Tick(); };
        channel_->Enqueue(std::move(tick), channel_);
        continue;
      }
      wanted_ = false;
      active_ = true;
      at = wantedAt_;
    }
    RunPass(*core_, at);
  }
}

void Processor::Stopping(EngineCore& /*core*/) {
  {
    std::lock_guard lock(mutex_);
    wanted_ = false;
    if (!active_) return;
  }
  stop_ = true;
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = true;
  }
  channel_->changed.notify_all();
  // The pass's last events are delivered here, before the engine reports
  // that it stopped.
  while (true) {
    while (channel_->DeliverOne()) {
    }
    std::unique_lock lock(channel_->mutex);
    const auto passOver = [this] {
      std::lock_guard state(mutex_);
      return !active_;
    };
    if (channel_->queue.empty() && passOver()) break;
    channel_->changed.wait(lock, [&] { return !channel_->queue.empty() || passOver(); });
  }
}

void Processor::Shutdown(EngineCore& core, bool deliver) {
  if (deliver) Stopping(core);
  StopWorker(deliver);
}

void Processor::StopWorker(bool deliver) {
  stop_ = true;
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
    wanted_ = false;
  }
  wake_.notify_all();
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = true;
    if (!deliver) channel_->closed = true;
  }
  channel_->changed.notify_all();
  if (worker_.joinable()) worker_.join();
  if (deliver) {
    while (channel_->DeliverOne()) {
    }
  }
  std::lock_guard lock(channel_->mutex);
  channel_->closed = true;
  channel_->queue.clear();
}

int32_t Processor::ForecastItemCount(EngineCore& core) {
  const auto profile = options_.profile ? options_.profile() : nullptr;
  if (!profile) return 0;
  std::vector<AgentData> agents;
  std::vector<PeriodData> periods;
  {
    const auto lock = core.Lock();
    agents = core.Data().agents;
    periods = core.Data().periods;
  }
  std::vector<std::vector<FolderScan>> folders;
  std::vector<std::vector<FolderScan>> imports;
  for (const auto& agent : agents) {
    folders.push_back(ScanFolders(*profile, FolderRoots(agent), nullptr));
    imports.push_back(ScanFolders(*profile, ImportRoots(agent), nullptr));
  }
  const PassPlan plan = MakePlan(std::move(agents), std::move(folders), std::move(imports),
                                 FiledKeys(core, periods, nullptr), core.Now());
  return plan.files + plan.imports;
}

}  // namespace vellix::engine
