#pragma once

#include <cstdint>
#include <string>

#include "foundation/agent.h"
#include "foundation/collection.h"
#include "foundation/event.h"
#include "foundation/outlook.h"
#include "foundation/ref.h"

namespace vellix {

// One counter of a processing run: what was counted and how many.
class ActivityCount {
 public:
  virtual ~ActivityCount() = default;
  virtual std::string Label() = 0;
  virtual int32_t Count() = 0;
};

// The engine's view of a processing run. The form holds it while logging is
// on; each step of a run arrives as OnProcessingStatus(Code).
class Monitor {
 public:
  virtual ~Monitor() = default;

  // True while a processing pass is going.
  virtual bool Processing() = 0;
  // What is in hand: agent, folder, item and the name of the store; nothing
  // (or the empty text) when nothing is.
  virtual Ref<Agent> CurrentAgent() = 0;
  virtual Ref<MAPIFolder> CurrentFolder() = 0;
  virtual Ref<OutlookItem> CurrentItem() = 0;
  virtual std::string CurrentStore() = 0;
  // Counts so far and counts expected, in the engine's order.
  virtual Collection<Ref<ActivityCount>> Progress() = 0;
  virtual Collection<Ref<ActivityCount>> Forecast() = 0;

  // One step of a processing run: Code.
  Event<int32_t> OnProcessingStatus;
};

}  // namespace vellix
