#pragma once

#include <string>

#include "foundation/monitor.h"

namespace vellix::engine {

// The engine's one monitor. Between runs it reports nothing in hand; a
// processing run sets what it works on and raises OnProcessingStatus.
class MonitorObject final : public Monitor {
 public:
  bool Processing() override { return processing_; }
  Ref<Agent> CurrentAgent() override { return agent_; }
  Ref<MAPIFolder> CurrentFolder() override { return folder_; }
  Ref<OutlookItem> CurrentItem() override { return item_; }
  std::string CurrentStore() override { return store_; }
  Collection<Ref<ActivityCount>> Progress() override { return progress_; }
  Collection<Ref<ActivityCount>> Forecast() override { return forecast_; }

  // For processing runs.
  void SetProcessing(bool processing) { processing_ = processing; }
  void SetInHand(Ref<Agent> agent, Ref<MAPIFolder> folder, Ref<OutlookItem> item,
                 std::string store);
  void SetCounts(Collection<Ref<ActivityCount>> progress, Collection<Ref<ActivityCount>> forecast);
  // Back to nothing in hand and no counts.
  void Clear();

 private:
  bool processing_ = false;
  Ref<Agent> agent_;
  Ref<MAPIFolder> folder_;
  Ref<OutlookItem> item_;
  std::string store_;
  Collection<Ref<ActivityCount>> progress_;
  Collection<Ref<ActivityCount>> forecast_;
};

}  // namespace vellix::engine
