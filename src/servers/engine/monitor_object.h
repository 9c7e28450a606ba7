#pragma once

#include <atomic>
#include <string>
#include <utility>

#include "foundation/monitor.h"

namespace vellix::engine {

// What the monitor shows at one step of a processing run.
struct MonitorSnapshot {
  bool processing = false;
  Ref<Agent> agent;
  Ref<MAPIFolder> folder;
  Ref<OutlookItem> item;
  std::string store;
  Collection<Ref<ActivityCount>> progress;
  Collection<Ref<ActivityCount>> forecast;
};

// The engine's one monitor. A run works on a worker thread, but the panel
// reads the monitor on its own thread while it handles a status event: it
// then sees the step that event reports (the snapshot delivered with it),
// never a later one. Processing is also true while a pass is under way
// whose start has not reached the panel yet, so that nothing (a backup) starts
// beside it.
class MonitorObject final : public Monitor {
 public:
  bool Processing() override { return shown_.processing || passUnderWay_.load(); }
  Ref<Agent> CurrentAgent() override { return shown_.agent; }
  Ref<MAPIFolder> CurrentFolder() override { return shown_.folder; }
  Ref<OutlookItem> CurrentItem() override { return shown_.item; }
  std::string CurrentStore() override { return shown_.store; }
  Collection<Ref<ActivityCount>> Progress() override { return shown_.progress; }
  Collection<Ref<ActivityCount>> Forecast() override { return shown_.forecast; }

  // On the panel's thread: what the reads give from now on.
  void Show(MonitorSnapshot snapshot) { shown_ = std::move(snapshot); }
  // From any thread: a pass is going on the worker.
  void PassUnderWay(bool value) { passUnderWay_.store(value); }

  // For processing runs on the panel's thread.
  void SetProcessing(bool processing) { shown_.processing = processing; }
  void SetInHand(Ref<Agent> agent, Ref<MAPIFolder> folder, Ref<OutlookItem> item,
                 std::string store);
  void SetCounts(Collection<Ref<ActivityCount>> progress, Collection<Ref<ActivityCount>> forecast);
  // Back to nothing in hand and no counts.
  void Clear();

 private:
  MonitorSnapshot shown_;
  std::atomic<bool> passUnderWay_{false};
};

}  // namespace vellix::engine
