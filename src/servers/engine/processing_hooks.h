#pragma once

#include <cstdint>

namespace vellix::engine {

class EngineCore;

// Where processing runs plug into the engine: filing, purging with its
// questions to the user (OnNotify), imports and the monitor's status events.
// The engine calls these at the moments named, on the one thread; the
// defaults do nothing, so an engine without a processor keeps and answers its
// configuration but files nothing. A processor reaches the engine's data, its
// events and its monitor through the core it is handed. The engine never holds
// its data lock while it calls these.
class ProcessingHooks {
 public:
  virtual ~ProcessingHooks() = default;
  // Right after the engine reported Run(true); right before it reports Run(false).
  virtual void Started(EngineCore& /*core*/) {}
  virtual void Stopping(EngineCore& /*core*/) {}
  // The engine is going: a pass under way ends. With deliver, its last events
  // reach the panel before this returns; nothing reaches it afterwards.
  virtual void Shutdown(EngineCore& /*core*/, bool /*deliver*/) {}
  // An agent's RunFile and RunPurge.
  virtual void FileNow(EngineCore& /*core*/, int16_t /*agentId*/) {}
  virtual void PurgeNow(EngineCore& /*core*/, int16_t /*agentId*/) {}
  // Items the first run will take.
  virtual int32_t ForecastItemCount(EngineCore& /*core*/) { return 0; }
  virtual void Flush(EngineCore& /*core*/) {}
  virtual void BackupManagerOpen(EngineCore& /*core*/, bool /*open*/) {}
  virtual void BackupFinished(EngineCore& /*core*/) {}
};

}  // namespace vellix::engine
