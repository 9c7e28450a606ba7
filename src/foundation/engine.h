#pragma once

#include <cstdint>
#include <string>

#include "foundation/config_file_info.h"
#include "foundation/engine_config.h"
#include "foundation/event.h"
#include "foundation/monitor.h"
#include "foundation/purge_details.h"
#include "foundation/ref.h"

namespace vellix {

// The archiving engine. It owns the truth about being configured and being
// running: the panel asks it to change and waits for its report. Reports are
// plain synchronous events; one raised from inside a call reaches the handlers
// before that call returns. A failure inside the engine raises a VbError with
// a negative number.
class VellixEngine {
 public:
  virtual ~VellixEngine() = default;

  // Called once after the main form loaded: the engine answers with
  // OnConfigured(its state) and, when running, OnRun(true).
  virtual void Announce() = 0;

  // Writing is answered by OnConfigured; writing the value it has needs no answer.
  virtual bool Configured() = 0;
  virtual void Configured(bool value) = 0;
  // Writing is answered by OnRun; writing the value it has needs no answer.
  virtual bool Running() = 0;
  virtual void Running(bool value) = 0;
  // Ends the engine's work; answered by OnActivity("Shutdown").
  virtual void Shutdown() = 0;

  // "On", "Off" or "Verbose".
  virtual std::string LoggingLevel() = 0;
  virtual void LoggingLevel(const std::string& value) = 0;

  // The configuration object; fetched anew by every handler.
  virtual Ref<EngineConfig> Config() = 0;
  // The object whose OnProcessingStatus events feed the processing log.
  virtual Ref<::vellix::Monitor> Monitor() = 0;

  // Number of items the first run will process.
  virtual int32_t ForecastItemCount() = 0;
  // Lets the engine act on what changed outside it (answers given, the mail
  // program closed); its effect is the engine's.
  virtual void Flush() = 0;
  // Told true when the backup manager opens and false when it closes.
  virtual void BackupManagerOpen(bool open) = 0;
  // Called once when the backup server reports the whole run complete.
  virtual void BackupFinished() = 0;
  // Rebuilds the configuration from a saved configuration file of the source
  // folder, with the stores going to the destination folder; false when it failed.
  virtual bool RecoverConfig(const std::string& source, const std::string& destination,
                             const std::string& configFile) = 0;

  // Configured or not: the answer to writing Configured and to Announce.
  Event<bool> OnConfigured;
  // Running or stopped: the answer to writing Running and to Announce.
  Event<bool> OnRun;
  // State of a processing pass: "Start", "Complete", "Stop"; "Shutdown" when the engine goes.
  Event<const std::string&> OnActivity;
  // A question for the user: Type, Details, Result. Type 0 asks whether to
  // purge and carries the PurgeDetails record (other types may carry nothing);
  // the handler answers in Result (0 purge, 1 don't) before the event returns.
  Event<int32_t, const Ref<PurgeDetails>&, int16_t&> OnNotify;
};

// The connection to the engine server.
class EngineConnector {
 public:
  virtual ~EngineConnector() = default;
  // The engine, or nothing when the server can't be reached.
  virtual Ref<VellixEngine> Engine() = 0;
  virtual std::string Componant() = 0;
  virtual std::string Version() = 0;
  // A new reader for one saved configuration file (the recover dialog makes one per file).
  virtual Ref<ConfigFileInfo> NewConfigFileInfo() = 0;
};

}  // namespace vellix
