#pragma once

#include <cstdint>
#include <string>

#include "foundation/agent.h"
#include "foundation/collection.h"
#include "foundation/date.h"
#include "foundation/period.h"
#include "foundation/ref.h"

namespace vellix {

// The whole configuration of the engine: its agents, its periods, where the
// stores and the backups lie. Every handler fetches it anew from
// VellixEngine::Config; a failure inside the engine raises a VbError with a
// negative number.
class EngineConfig {
 public:
  virtual ~EngineConfig() = default;

  // Removes all agents and periods and restores the default settings.
  virtual void ResetConfig() = 0;

  // Agents, in the engine's order, keyed by name.
  virtual Collection<Ref<::vellix::Agent>> Agents() = 0;
  // The agent of that name, or of that numeric id written as text; nothing
  // (and no error) for one the engine does not know.
  virtual Ref<::vellix::Agent> Agent(const std::string& nameOrId) = 0;
  // A new agent; an empty name asks the engine to pick one.
  virtual Ref<::vellix::Agent> CreateAgent(const std::string& name) = 0;
  virtual void DeleteAgent(const std::string& name) = 0;
  // Date up to which the named agent has filed; 0 for none or an unknown name.
  virtual Date Watermark(const std::string& agentName) = 0;
  // What SaveQuickSetup writes once after the agents; its use is the engine's.
  virtual void HistoryName(const std::string& value) = 0;

  // Period stores, in the engine's order, keyed by name.
  virtual Collection<Ref<::vellix::Period>> Periods() = 0;
  // The period of that name, or nothing.
  virtual Ref<::vellix::Period> Period(const std::string& name) = 0;
  // Attaches a store file lying in StoreLocation (bare file name) as a period;
  // false when it can't.
  virtual bool AttachPeriod(const std::string& fileName) = 0;

  // Length of a period and the date periods are counted from.
  virtual int16_t PeriodCount() = 0;
  virtual void PeriodCount(int16_t value) = 0;
  virtual std::string PeriodUnits() = 0;
  virtual void PeriodUnits(const std::string& value) = 0;
  virtual Date ReferenceDate() = 0;
  virtual void ReferenceDate(Date value) = 0;
  // Store-name format of the period stores; SetPeriodFormat gives false when
  // the engine refuses the format.
  virtual std::string PeriodFormat() = 0;
  virtual bool SetPeriodFormat(const std::string& format) = 0;

  // Folder of the period stores.
  virtual std::string StoreLocation() = 0;
  virtual void StoreLocation(const std::string& value) = 0;

  // Backup folder, interval, schedule and policy.
  virtual std::string BackupLocation() = 0;
  virtual void BackupLocation(const std::string& value) = 0;
  virtual bool BackupLocationAvailable() = 0;
  virtual int32_t BackupEveryCount() = 0;
  virtual void BackupEveryCount(int32_t value) = 0;
  virtual std::string BackupEveryUnits() = 0;
  virtual void BackupEveryUnits(const std::string& value) = 0;
  virtual int32_t BackupEverySeconds() = 0;
  virtual Date NextBackup() = 0;
  virtual void NextBackup(Date value) = 0;
  virtual Date LastBackup() = 0;
  virtual void LastBackup(Date value) = 0;
  // True when the time of the next backup has come.
  virtual bool BackupDue() = 0;
  // 0 all, 1 check the backup location, 2 check the recorded backup dates.
  virtual int32_t BackupPolicy() = 0;
  virtual void BackupPolicy(int32_t value) = 0;
  virtual bool BackupUnattended() = 0;
  virtual void BackupUnattended(bool value) = 0;
};

}  // namespace vellix
