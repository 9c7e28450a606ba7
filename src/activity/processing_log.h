#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/collection.h"
#include "foundation/ref.h"
#include "foundation/variant.h"

namespace vellix {

struct Context;
class ActivityCount;
class LogBox;
class Monitor;

// The live log of a processing run: each ProcessingStatus event of the
// engine's monitor becomes one line on top of the log box. Nothing is written
// to a file; the box keeps every line until the Log panel's layout empties it.
class ProcessingLog {
 public:
  // monitor is the form's own holder of the engine's monitor, read at each
  // event; entries is the log box.
  ProcessingLog(Context& ctx, const Ref<Monitor>& monitor, LogBox& entries);

  // One step of a run: the line for code goes on top of the box.
  void mobjMonitor_ProcessingStatus(int32_t& code);

  // "Label:Count " for every counter above 0, in the engine's order.
  std::string ProgressLogDetails();
  std::string ForecastLogDetails();
  // The nine counters of an older event as one text; kept for callers that
  // still hold them.
  std::string EventDataString(const std::vector<Variant>& data);

 private:
  std::string LogDetails(const char* procedure, bool forecast);

  Context& ctx_;
  const Ref<Monitor>& monitor_;
  LogBox& entries_;
};

}  // namespace vellix
