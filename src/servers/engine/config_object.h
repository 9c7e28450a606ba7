#pragma once

#include <memory>
#include <string>

#include "foundation/engine_config.h"

namespace vellix::engine {

class EngineCore;

// The engine's configuration as the panel sees it; a view over the core.
class ConfigObject final : public EngineConfig {
 public:
  explicit ConfigObject(std::shared_ptr<EngineCore> core);

  void ResetConfig() override;
  Collection<Ref<::vellix::Agent>> Agents() override;
  Ref<::vellix::Agent> Agent(const std::string& nameOrId) override;
  Ref<::vellix::Agent> CreateAgent(const std::string& name) override;
  void DeleteAgent(const std::string& name) override;
  Date Watermark(const std::string& agentName) override;
  void HistoryName(const std::string& value) override;

  Collection<Ref<::vellix::Period>> Periods() override;
  Ref<::vellix::Period> Period(const std::string& name) override;
  bool AttachPeriod(const std::string& fileName) override;

  int16_t PeriodCount() override;
  void PeriodCount(int16_t value) override;
  std::string PeriodUnits() override;
  void PeriodUnits(const std::string& value) override;
  Date ReferenceDate() override;
  void ReferenceDate(Date value) override;
  std::string PeriodFormat() override;
  bool SetPeriodFormat(const std::string& format) override;

  std::string StoreLocation() override;
  void StoreLocation(const std::string& value) override;

  std::string BackupLocation() override;
  void BackupLocation(const std::string& value) override;
  bool BackupLocationAvailable() override;
  int32_t BackupEveryCount() override;
  void BackupEveryCount(int32_t value) override;
  std::string BackupEveryUnits() override;
  void BackupEveryUnits(const std::string& value) override;
  int32_t BackupEverySeconds() override;
  Date NextBackup() override;
  void NextBackup(Date value) override;
  Date LastBackup() override;
  void LastBackup(Date value) override;
  bool BackupDue() override;
  int32_t BackupPolicy() override;
  void BackupPolicy(int32_t value) override;
  bool BackupUnattended() override;
  void BackupUnattended(bool value) override;

 private:
  std::shared_ptr<EngineCore> core_;
};

}  // namespace vellix::engine
