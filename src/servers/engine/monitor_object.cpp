#include "servers/engine/monitor_object.h"

#include <utility>

namespace vellix::engine {

void MonitorObject::SetInHand(Ref<Agent> agent, Ref<MAPIFolder> folder, Ref<OutlookItem> item,
                              std::string store) {
  agent_ = std::move(agent);
  folder_ = std::move(folder);
  item_ = std::move(item);
  store_ = std::move(store);
}

void MonitorObject::SetCounts(Collection<Ref<ActivityCount>> progress,
                              Collection<Ref<ActivityCount>> forecast) {
  progress_ = std::move(progress);
  forecast_ = std::move(forecast);
}

void MonitorObject::Clear() {
  processing_ = false;
  SetInHand(nullptr, nullptr, nullptr, {});
  progress_.Clear();
  forecast_.Clear();
}

}  // namespace vellix::engine
