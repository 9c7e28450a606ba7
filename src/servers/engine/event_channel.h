#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "foundation/purge_details.h"
#include "foundation/ref.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/monitor_object.h"

// The way from the processor's worker to the panel's thread.
namespace vellix::engine {

// The answer to something the worker waits for on the panel's thread.
struct Reply {
  bool done = false;
  int16_t result = 1;
};

struct ChannelEntry {
  enum class Kind { kActivity, kStatus, kNotify, kTask, kLog };
  Kind kind = Kind::kStatus;
  std::string text;
  int32_t code = 0;
  MonitorSnapshot snapshot;
  Ref<PurgeDetails> details;
  std::shared_ptr<Reply> reply;
  std::function<void()> task;
};

// Above this many undelivered events the worker waits for the panel.
constexpr size_t kMostQueued = 20000;
// A posted delivery gives the panel back its thread after this long.
constexpr auto kDeliverySlice = std::chrono::milliseconds(4);

// Events and tasks for the panel's thread, in order. The posted functions
// hold the channel, not the processor: once closed it delivers nothing.
struct EventChannel {
  std::function<void(std::function<void()>)> post;
  EngineCore* core = nullptr;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<ChannelEntry> queue;
  bool closed = false;
  bool drainPosted = false;
  // Set while the worker must give up waiting for the panel (stop, shutdown).
  bool cancelWaits = false;

  // Worker: queues an entry; false when waiting for room was cancelled.
  bool Enqueue(ChannelEntry entry, const std::shared_ptr<EventChannel>& self) {
    bool postNow = false;
    {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return queue.size() < kMostQueued || cancelWaits || closed; });
      if (closed) return false;
      queue.push_back(std::move(entry));
      if (!drainPosted) drainPosted = postNow = true;
    }
    changed.notify_all();
    if (postNow) post([self] { self->Drain(self); });
    return true;
  }

  // Worker: waits for the panel's answer; false when the wait was cancelled.
  bool Wait(const std::shared_ptr<Reply>& reply) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return reply->done || cancelWaits || closed; });
    return reply->done;
  }

  // Panel: delivers for a slice of time, then posts itself again.
  void Drain(const std::shared_ptr<EventChannel>& self) {
    const auto start = std::chrono::steady_clock::now();
    while (true) {
      {
        std::lock_guard lock(mutex);
        if (closed || queue.empty()) {
          drainPosted = false;
          return;
        }
      }
      DeliverOne();
      if (std::chrono::steady_clock::now() - start >= kDeliverySlice) {
        std::lock_guard lock(mutex);
        if (closed || queue.empty()) {
          drainPosted = false;
          return;
        }
        break;
      }
    }
    post([self] { self->Drain(self); });
  }

  // Panel: delivers the oldest entry; false when there was none.
  bool DeliverOne() {
    ChannelEntry entry;
    {
      std::lock_guard lock(mutex);
      if (closed || queue.empty()) return false;
      entry = std::move(queue.front());
      queue.pop_front();
    }
    changed.notify_all();
    VellixEngine* engine = core->Engine();
    MonitorObject& monitor = *core->MonitorShared();
    // A handler's failure is the panel's own to report; the next event still comes.
    try {
      switch (entry.kind) {
        case ChannelEntry::Kind::kActivity:
          monitor.Show(std::move(entry.snapshot));
          if (engine != nullptr) engine->OnActivity.Raise(entry.text);
          break;
        case ChannelEntry::Kind::kStatus:
          monitor.Show(std::move(entry.snapshot));
          monitor.OnProcessingStatus.Raise(entry.code);
          break;
        case ChannelEntry::Kind::kNotify: {
          monitor.Show(std::move(entry.snapshot));
          int16_t result = 1;  // nobody answering means: do not purge
          if (engine != nullptr) engine->OnNotify.Raise(0, entry.details, result);
          Answer(entry.reply, result);
          break;
        }
        case ChannelEntry::Kind::kTask:
          entry.task();
          if (entry.reply) Answer(entry.reply, 0);
          break;
        case ChannelEntry::Kind::kLog:
          core->Log("Process", entry.text);
          break;
      }
    } catch (const std::exception&) {
      if (entry.reply) Answer(entry.reply, 1);
    }
    return true;
  }

  void Answer(const std::shared_ptr<Reply>& reply, int16_t result) {
    {
      std::lock_guard lock(mutex);
      reply->result = result;
      reply->done = true;
    }
    changed.notify_all();
  }
};

}  // namespace vellix::engine
