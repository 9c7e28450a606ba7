#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "foundation/date.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "platform/desktop/path_mapping.h"
#include "servers/engine/call_journal.h"
#include "servers/engine/processing_hooks.h"
#include "servers/engine/server_error.h"

namespace vellix::outlook {
class MailProfile;
}  // namespace vellix::outlook

namespace vellix::engine {

class EngineCore;

// The engine stand-in: the whole configuration in memory, persisted to its
// own XML file (written atomically after every change and read at
// construction). It reports Configured, Run and Activity as the panel
// expects, synchronously and nested inside the call that caused them.
// docs/engine-standin.md tells its defaults, its file and its test switches.
class EngineServer final : public VellixEngine {
 public:
  // engineFile: where the engine keeps its configuration; paths maps the
  // folder texts it is given (store and backup folders) onto the file system;
  // time comes from clock; log (may be nothing) gets a record when the file
  // is missing or something can't be written; hooks is where processing runs
  // plug in (nothing: the engine files nothing).
  EngineServer(std::filesystem::path engineFile, desktop::PathMapping paths, const Clock& clock,
               Ref<ErrorLog> log, std::unique_ptr<ProcessingHooks> hooks = nullptr);
  ~EngineServer() override;
  EngineServer(const EngineServer&) = delete;
  EngineServer& operator=(const EngineServer&) = delete;

  void Announce() override;
  bool Configured() override;
  void Configured(bool value) override;
  bool Running() override;
  void Running(bool value) override;
  void Shutdown() override;
  std::string LoggingLevel() override;
  void LoggingLevel(const std::string& value) override;
  Ref<EngineConfig> Config() override;
  Ref<::vellix::Monitor> Monitor() override;
  int32_t ForecastItemCount() override;
  void Flush() override;
  void BackupManagerOpen(bool open) override;
  void BackupFinished() override;
  bool RecoverConfig(const std::string& source, const std::string& destination,
                     const std::string& configFile) override;

  // What the user must be told about the engine file: empty, or which file
  // could not be read, why (with line and column), and where it was moved.
  [[nodiscard]] const std::string& Notice() const;
  // Why the engine can't be used (its folder takes no file, or its file
  // can't be read and can't be moved aside); empty when it can. Such an
  // engine writes nothing.
  [[nodiscard]] const std::string& OpenError() const;

  // The mail profile the period stores show in, asked for at each use (the
  // desktop loads it late; nothing: none yet). Each store is listed there as
  // a top folder named by its period, and Period.Free tells whether the
  // profile holds it open.
  // A store made on another thread is listed through post, on the thread
  // that called this (the profile's own).
  void ShowStoresIn(std::function<std::shared_ptr<outlook::MailProfile>()> profile,
                    std::function<void(std::function<void()>)> post = {});
  // That profile, read if need be, with every store listed.
  std::shared_ptr<outlook::MailProfile> ShownProfile();

  // ---- test switches ----

  // Every write and call received, in order (see CallJournal).
  [[nodiscard]] const CallJournal& Journal() const;
  void ClearJournal();
  // SetPeriodFormat answers false whatever the format.
  void RefuseSetPeriodFormat(bool refuse);
  // RecoverConfig answers false and changes nothing.
  void FailRecoverConfig(bool fail);
  // The operation ("put RemovePeriod", "CreateAgent", "get Config") raises a
  // VbError with that negative number: the next `times` calls, or every call
  // until ClearFaults when times is below 0. A failing write or call is still
  // journaled: it was received.
  void FailCall(const std::string& operation, int32_t number = kServerFailure, int times = -1);
  // Clears FailCall, RefuseSetPeriodFormat and FailRecoverConfig.
  void ClearFaults();
  // Holds the Configured and Run reports instead of raising them; the state
  // changes at once all the same. ReleaseReports raises every held report in
  // order, including those held while it releases.
  void DelayReports(bool delay);
  [[nodiscard]] int PendingReports() const { return static_cast<int>(pending_.size()); }
  void ReleaseReports();
  // Takes Shutdown without answering it, as an engine that hangs would.
  void SilentShutdown(bool silent) { silentShutdown_ = silent; }

 private:
  enum class ReportKind { Configured, Run };
  void Report(ReportKind kind, bool value);
  void Raise(ReportKind kind, bool value);
  void StopRunning();

  std::shared_ptr<EngineCore> core_;
  bool delayReports_ = false;
  bool silentShutdown_ = false;
  std::deque<std::pair<ReportKind, bool>> pending_;
};

}  // namespace vellix::engine
