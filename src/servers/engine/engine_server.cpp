#include "servers/engine/engine_server.h"

#include <utility>

#include "servers/engine/engine_core.h"
#include "servers/engine/monitor_object.h"

namespace vellix::engine {

namespace {

constexpr const char* kObject = "VellixEngine";

}  // namespace

EngineServer::EngineServer(std::filesystem::path engineFile, desktop::PathMapping paths,
                           const Clock& clock, Ref<ErrorLog> log,
                           std::unique_ptr<ProcessingHooks> hooks)
    : core_(std::make_shared<EngineCore>(std::move(engineFile), std::move(paths), clock,
                                         std::move(log), std::move(hooks))) {
  core_->Engine(this);
  bool resume = false;
  {
    const auto lock = core_->Lock();
    core_->Load();
    // An engine that was running when it last closed takes up its work again.
    resume = core_->OpenError().empty() && core_->Settings().running;
    if (resume) core_->EnsureCurrentPeriod();
  }
  if (resume) core_->Hooks().Started(*core_);
}

EngineServer::~EngineServer() {
  core_->Hooks().Shutdown(*core_, false);
  core_->Engine(nullptr);
}

void EngineServer::Announce() {
  bool configured = false;
  bool running = false;
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "Announce");
    configured = core_->Settings().configured;
    running = core_->Settings().running;
  }
  Report(ReportKind::Configured, configured);
  if (running) Report(ReportKind::Run, true);
}

bool EngineServer::Configured() {
  const auto lock = core_->Lock();
  core_->Read("Configured");
  return core_->Settings().configured;
}

void EngineServer::Configured(bool value) {
  bool running = false;
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "put Configured", JournalText(value));
    if (core_->Settings().configured == value) return;
    running = core_->Settings().running;
  }
  // Back to quick setup means no more work: the engine stops first.
  if (!value && running) StopRunning();
  {
    const auto lock = core_->Lock();
    core_->Settings().configured = value;
    // A first configuration has never been backed up: its first backup is
    // due at once, and the panel shows when rather than a date of nothing.
    if (value && core_->Settings().nextBackup.IsZero()) core_->Settings().nextBackup = core_->Now();
    core_->Save();
  }
  Report(ReportKind::Configured, value);
}

bool EngineServer::Running() {
  const auto lock = core_->Lock();
  core_->Read("Running");
  return core_->Settings().running;
}

void EngineServer::Running(bool value) {
  bool configured = false;
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "put Running", JournalText(value));
    if (core_->Settings().running == value) return;
    configured = core_->Settings().configured;
  }
  if (!value) {
    StopRunning();
    return;
  }
  // An engine with no configuration has nothing to run: it says it stays stopped.
  if (!configured) {
    Report(ReportKind::Run, false);
    return;
  }
  {
    const auto lock = core_->Lock();
    core_->Settings().running = true;
    core_->Save();
    core_->EnsureCurrentPeriod();
  }
  Report(ReportKind::Run, true);
  core_->Hooks().Started(*core_);
}

void EngineServer::StopRunning() {
  core_->Hooks().Stopping(*core_);
  {
    const auto lock = core_->Lock();
    core_->Settings().running = false;
    core_->Save();
  }
  Report(ReportKind::Run, false);
}

void EngineServer::Shutdown() {
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "Shutdown");
  }
  // A pass under way ends first, and its last events come before the answer.
  core_->Hooks().Shutdown(*core_, true);
  {
    const auto lock = core_->Lock();
    core_->Save();
  }
  if (!silentShutdown_) OnActivity.Raise("Shutdown");
}

std::string EngineServer::LoggingLevel() {
  const auto lock = core_->Lock();
  core_->Read("LoggingLevel");
  return core_->Settings().loggingLevel;
}

void EngineServer::LoggingLevel(const std::string& value) {
  const auto lock = core_->Lock();
  core_->Call(kObject, "put LoggingLevel", value);
  core_->Settings().loggingLevel = value;
  core_->Save();
}

Ref<EngineConfig> EngineServer::Config() {
  const auto lock = core_->Lock();
  core_->Read("Config");
  return core_->NewConfigObject();
}

Ref<::vellix::Monitor> EngineServer::Monitor() {
  const auto lock = core_->Lock();
  core_->Read("Monitor");
  return Ref<::vellix::Monitor>(core_->MonitorShared());
}

int32_t EngineServer::ForecastItemCount() {
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "ForecastItemCount");
  }
  return core_->Hooks().ForecastItemCount(*core_);
}

void EngineServer::Flush() {
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "Flush");
  }
  core_->Hooks().Flush(*core_);
}

void EngineServer::BackupManagerOpen(bool open) {
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "BackupManagerOpen", JournalText(open));
  }
  core_->Hooks().BackupManagerOpen(*core_, open);
}

void EngineServer::BackupFinished() {
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "BackupFinished");
    core_->RecordBackupRun();
  }
  core_->Hooks().BackupFinished(*core_);
}

bool EngineServer::RecoverConfig(const std::string& source, const std::string& destination,
                                 const std::string& configFile) {
  bool wasConfigured = false;
  bool running = false;
  {
    const auto lock = core_->Lock();
    core_->Call(kObject, "RecoverConfig", source + ", " + destination + ", " + configFile);
    if (core_->FailRecoverConfig()) return false;
    wasConfigured = core_->Settings().configured;
    running = core_->Settings().running;
  }
  if (running) StopRunning();
  {
    const auto lock = core_->Lock();
    if (!core_->Recover(source, destination, configFile)) return false;
  }
  // The recovered configuration waits for the panel to declare it finished.
  if (wasConfigured) Report(ReportKind::Configured, false);
  return true;
}

void EngineServer::Report(ReportKind kind, bool value) {
  if (delayReports_) {
    pending_.emplace_back(kind, value);
    return;
  }
  Raise(kind, value);
}

void EngineServer::Raise(ReportKind kind, bool value) {
  if (kind == ReportKind::Configured) {
    OnConfigured.Raise(value);
  } else {
    OnRun.Raise(value);
  }
}

void EngineServer::ShowStoresIn(std::function<std::shared_ptr<outlook::MailProfile>()> profile,
                                std::function<void(std::function<void()>)> post) {
  const auto lock = core_->Lock();
  core_->ShowStoresIn(std::move(profile), std::move(post));
}

std::shared_ptr<outlook::MailProfile> EngineServer::ShownProfile() {
  const auto lock = core_->Lock();
  return core_->Profile();
}

const std::string& EngineServer::Notice() const {
  return core_->Notice();
}
const std::string& EngineServer::OpenError() const {
  return core_->OpenError();
}

const CallJournal& EngineServer::Journal() const {
  return core_->Journal();
}
void EngineServer::ClearJournal() {
  const auto lock = core_->Lock();
  core_->Journal().Clear();
}
void EngineServer::RefuseSetPeriodFormat(bool refuse) {
  const auto lock = core_->Lock();
  core_->RefuseSetPeriodFormat(refuse);
}
void EngineServer::FailRecoverConfig(bool fail) {
  const auto lock = core_->Lock();
  core_->FailRecoverConfig(fail);
}
void EngineServer::FailCall(const std::string& operation, int32_t number, int times) {
  const auto lock = core_->Lock();
  core_->FailCall(operation, number, times);
}
void EngineServer::ClearFaults() {
  const auto lock = core_->Lock();
  core_->ClearFaults();
}
void EngineServer::DelayReports(bool delay) {
  delayReports_ = delay;
}

void EngineServer::ReleaseReports() {
  while (!pending_.empty()) {
    const auto [kind, value] = pending_.front();
    pending_.pop_front();
    Raise(kind, value);
  }
}

}  // namespace vellix::engine
