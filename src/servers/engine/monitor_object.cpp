#include "servers/engine/monitor_object.h"

#include <utility>

namespace vellix::engine {

void MonitorObject::SetInHand(Ref<Agent> agent, Ref<MAPIFolder> folder, Ref<OutlookItem> item,
                              std::string store) {
  shown_.agent = std::move(agent);
  shown_.folder = std::move(folder);
  shown_.item = std::move(item);
  shown_.store = std::move(store);
}

void MonitorObject::SetCounts(Collection<Ref<ActivityCount>> progress,
                              Collection<Ref<ActivityCount>> forecast) {
  shown_.progress = std::move(progress);
  shown_.forecast = std::move(forecast);
}

void MonitorObject::Clear() {
  shown_ = MonitorSnapshot();
}

}  // namespace vellix::engine
