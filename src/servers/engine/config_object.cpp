#include "servers/engine/config_object.h"

#include <utility>

#include "foundation/format.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/period_calendar.h"

namespace vellix::engine {

namespace {

constexpr const char* kObject = "EngineConfig";

template <class T>
T Get(EngineCore& core, std::string_view property, T EngineSettings::*member) {
  core.Read(property);
  return core.Settings().*member;
}

// Every write is journaled, can be made to fail, and is persisted at once.
template <class T>
void Put(EngineCore& core, std::string_view property, T EngineSettings::*member, const T& value) {
  core.Call(kObject, "put " + std::string(property), JournalText(value));
  core.Settings().*member = value;
  core.Save();
}

}  // namespace

ConfigObject::ConfigObject(std::shared_ptr<EngineCore> core) : core_(std::move(core)) {}

void ConfigObject::ResetConfig() {
  const auto lock = core_->Lock();
  core_->Call(kObject, "ResetConfig");
  core_->ResetConfig();
  core_->Save();
}

Collection<Ref<::vellix::Agent>> ConfigObject::Agents() {
  const auto lock = core_->Lock();
  core_->Read("Agents");
  Collection<Ref<::vellix::Agent>> agents;
  for (const auto& a : core_->Data().agents)
    agents.Add(core_->NewAgentObject(a.id), a.name);
  return agents;
}

Ref<::vellix::Agent> ConfigObject::Agent(const std::string& nameOrId) {
  const auto lock = core_->Lock();
  core_->Read("Agent");
  const AgentData* agent = core_->FindAgentByNameOrId(nameOrId);
  return agent != nullptr ? core_->NewAgentObject(agent->id) : nullptr;
}

Ref<::vellix::Agent> ConfigObject::CreateAgent(const std::string& name) {
  const auto lock = core_->Lock();
  core_->Call(kObject, "CreateAgent", name);
  const int16_t id = core_->CreateAgent(name).id;
  core_->Save();
  return core_->NewAgentObject(id);
}

void ConfigObject::DeleteAgent(const std::string& name) {
  const auto lock = core_->Lock();
  core_->Call(kObject, "DeleteAgent", name);
  core_->DeleteAgent(name);
  core_->Save();
}

Date ConfigObject::Watermark(const std::string& agentName) {
  const auto lock = core_->Lock();
  core_->Read("Watermark");
  const AgentData* agent = core_->FindAgentByName(agentName);
  return agent != nullptr ? agent->watermark : Date();
}

void ConfigObject::HistoryName(const std::string& value) {
  const auto lock = core_->Lock();
  Put(*core_, "HistoryName", &EngineSettings::historyName, value);
}

Collection<Ref<::vellix::Period>> ConfigObject::Periods() {
  const auto lock = core_->Lock();
  core_->Read("Periods");
  Collection<Ref<::vellix::Period>> periods;
  for (const auto& p : core_->Data().periods)
    periods.Add(core_->NewPeriodObject(p.name), p.name);
  return periods;
}

Ref<::vellix::Period> ConfigObject::Period(const std::string& name) {
  const auto lock = core_->Lock();
  core_->Read("Period");
  const PeriodData* period = core_->FindPeriod(name);
  return period != nullptr ? core_->NewPeriodObject(period->name) : nullptr;
}

bool ConfigObject::AttachPeriod(const std::string& fileName) {
  const auto lock = core_->Lock();
  core_->Call(kObject, "AttachPeriod", fileName);
  return core_->AttachPeriod(fileName);
}

int16_t ConfigObject::PeriodCount() {
  const auto lock = core_->Lock();
  return Get(*core_, "PeriodCount", &EngineSettings::periodCount);
}
void ConfigObject::PeriodCount(int16_t value) {
  const auto lock = core_->Lock();
  Put(*core_, "PeriodCount", &EngineSettings::periodCount, value);
}
std::string ConfigObject::PeriodUnits() {
  const auto lock = core_->Lock();
  return Get(*core_, "PeriodUnits", &EngineSettings::periodUnits);
}
void ConfigObject::PeriodUnits(const std::string& value) {
  const auto lock = core_->Lock();
  Put(*core_, "PeriodUnits", &EngineSettings::periodUnits, value);
}
Date ConfigObject::ReferenceDate() {
  const auto lock = core_->Lock();
  return Get(*core_, "ReferenceDate", &EngineSettings::referenceDate);
}
void ConfigObject::ReferenceDate(Date value) {
  const auto lock = core_->Lock();
  Put(*core_, "ReferenceDate", &EngineSettings::referenceDate, value);
}
std::string ConfigObject::PeriodFormat() {
  const auto lock = core_->Lock();
  return Get(*core_, "PeriodFormat", &EngineSettings::periodFormat);
}

bool ConfigObject::SetPeriodFormat(const std::string& format) {
  const auto lock = core_->Lock();
  core_->Call(kObject, "SetPeriodFormat", format);
  if (core_->RefuseSetPeriodFormat()) return false;
  std::string why;
  if (!StoreNameFormatAcceptable(format, Locale::English(), &why)) {
    core_->Log("SetPeriodFormat", "The store name format \"" + format + "\" was refused: " + why);
    return false;
  }
  core_->Settings().periodFormat = format;
  core_->Save();
  return true;
}

std::string ConfigObject::StoreLocation() {
  const auto lock = core_->Lock();
  return Get(*core_, "StoreLocation", &EngineSettings::storeLocation);
}
void ConfigObject::StoreLocation(const std::string& value) {
  const auto lock = core_->Lock();
  Put(*core_, "StoreLocation", &EngineSettings::storeLocation, value);
}
std::string ConfigObject::BackupLocation() {
  const auto lock = core_->Lock();
  return Get(*core_, "BackupLocation", &EngineSettings::backupLocation);
}
void ConfigObject::BackupLocation(const std::string& value) {
  const auto lock = core_->Lock();
  Put(*core_, "BackupLocation", &EngineSettings::backupLocation, value);
}

bool ConfigObject::BackupLocationAvailable() {
  const auto lock = core_->Lock();
  core_->Read("BackupLocationAvailable");
  return core_->BackupLocationAvailable();
}

int32_t ConfigObject::BackupEveryCount() {
  const auto lock = core_->Lock();
  return Get(*core_, "BackupEveryCount", &EngineSettings::backupEveryCount);
}
void ConfigObject::BackupEveryCount(int32_t value) {
  const auto lock = core_->Lock();
  Put(*core_, "BackupEveryCount", &EngineSettings::backupEveryCount, value);
}
std::string ConfigObject::BackupEveryUnits() {
  const auto lock = core_->Lock();
  return Get(*core_, "BackupEveryUnits", &EngineSettings::backupEveryUnits);
}
void ConfigObject::BackupEveryUnits(const std::string& value) {
  const auto lock = core_->Lock();
  Put(*core_, "BackupEveryUnits", &EngineSettings::backupEveryUnits, value);
}

int32_t ConfigObject::BackupEverySeconds() {
  const auto lock = core_->Lock();
  core_->Read("BackupEverySeconds");
  const EngineSettings& s = core_->Settings();
  return IntervalSeconds(s.backupEveryCount, s.backupEveryUnits);
}

Date ConfigObject::NextBackup() {
  const auto lock = core_->Lock();
  return Get(*core_, "NextBackup", &EngineSettings::nextBackup);
}
void ConfigObject::NextBackup(Date value) {
  const auto lock = core_->Lock();
  Put(*core_, "NextBackup", &EngineSettings::nextBackup, value);
}
Date ConfigObject::LastBackup() {
  const auto lock = core_->Lock();
  return Get(*core_, "LastBackup", &EngineSettings::lastBackup);
}
void ConfigObject::LastBackup(Date value) {
  const auto lock = core_->Lock();
  Put(*core_, "LastBackup", &EngineSettings::lastBackup, value);
}

bool ConfigObject::BackupDue() {
  const auto lock = core_->Lock();
  core_->Read("BackupDue");
  // A next backup of 0 was never scheduled: one is owed from the start.
  return core_->Now() >= core_->Settings().nextBackup;
}

int32_t ConfigObject::BackupPolicy() {
  const auto lock = core_->Lock();
  return Get(*core_, "BackupPolicy", &EngineSettings::backupPolicy);
}
void ConfigObject::BackupPolicy(int32_t value) {
  const auto lock = core_->Lock();
  Put(*core_, "BackupPolicy", &EngineSettings::backupPolicy, value);
}
bool ConfigObject::BackupUnattended() {
  const auto lock = core_->Lock();
  return Get(*core_, "BackupUnattended", &EngineSettings::backupUnattended);
}
void ConfigObject::BackupUnattended(bool value) {
  const auto lock = core_->Lock();
  Put(*core_, "BackupUnattended", &EngineSettings::backupUnattended, value);
}

}  // namespace vellix::engine
