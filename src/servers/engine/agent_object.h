#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/agent.h"

namespace vellix::engine {

class EngineCore;
struct AgentData;

// One agent as the panel sees it: a view over the core by the agent's id.
// Once the agent is deleted every use fails with a server error.
class AgentObject final : public Agent {
 public:
  AgentObject(std::shared_ptr<EngineCore> core, int16_t id);

  int16_t Id() override;
  std::string Name() override;
  void Name(const std::string& value) override;
  std::string MonitorType() override;
  void MonitorType(const std::string& value) override;

  Collection<std::string> Folders() override;
  bool AddFolder(const std::string& folderPath) override;
  void RemoveFolder(const std::string& folderPath) override;
  bool SubFolders() override;
  void SubFolders(bool value) override;

  int16_t StoreCount() override;
  void StoreCount(int16_t value) override;
  std::string StoreUnits() override;
  void StoreUnits(const std::string& value) override;
  std::string StoreFormat() override;
  void StoreFormat(const std::string& value) override;

  int16_t FileAfterCount() override;
  void FileAfterCount(int16_t value) override;
  std::string FileAfterUnits() override;
  void FileAfterUnits(const std::string& value) override;
  bool FileDisabled() override;
  void FileDisabled(bool value) override;

  int16_t RemovePeriod() override;
  void RemovePeriod(int16_t value) override;
  bool PurgeDisabled() override;
  void PurgeDisabled(bool value) override;
  int32_t PurgeNotify() override;
  void PurgeNotify(int32_t value) override;

  Collection<std::string> ImportFolders() override;
  bool AddImport(const std::string& folder, bool subFolders) override;
  void RemoveImport(const std::string& folder) override;
  bool ImportSubFolders(const std::string& folder) override;
  void SetImportSubfolders(const std::string& folder, bool withSubFolders) override;
  Date ImportTime() override;
  void ImportTime(Date value) override;

  int32_t ItemCount() override;
  int32_t UnfiledItems() override;
  int32_t ItemsToPurge() override;
  Date EarliestStore() override;
  Date MostRecentStore() override;
  Date LastPurge() override;
  Date LastFile() override;
  Collection<Ref<Period>> Periods() override;

  void RunFile() override;
  void RunPurge() override;

  Ref<EngineConfig> Config() override;

 private:
  // Journals the write or call on this agent, then finds its data.
  AgentData& Write(std::string_view operation, std::string_view arguments);
  AgentData& Write(std::string_view operation);
  AgentData& Read(std::string_view property);
  [[nodiscard]] std::string ObjectName() const;

  template <class T>
  T Get(std::string_view property, T AgentData::*member);
  template <class T>
  void Put(std::string_view property, T AgentData::*member, const T& value);

  std::shared_ptr<EngineCore> core_;
  int16_t id_;
};

}  // namespace vellix::engine
