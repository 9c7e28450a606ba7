#pragma once

#include <cstdint>
#include <string>

#include "foundation/collection.h"
#include "foundation/date.h"
#include "foundation/period.h"
#include "foundation/ref.h"

namespace vellix {

class EngineConfig;

// One archiving rule of the engine over mail-program folders. Handlers fetch
// it anew (EngineConfig::Agent by name or id) and never keep it across events.
class Agent {
 public:
  virtual ~Agent() = default;

  // Numeric id, kept in the item data of the name combo boxes.
  virtual int16_t Id() = 0;
  virtual std::string Name() = 0;
  virtual void Name(const std::string& value) = 0;
  // Item type the agent takes; "Unknown" until a first folder fixes it.
  virtual std::string MonitorType() = 0;
  virtual void MonitorType(const std::string& value) = 0;

  // Watched folders, as the mail program's folder paths.
  virtual Collection<std::string> Folders() = 0;
  // Adds a folder by path; true when it was added, false when already there.
  virtual bool AddFolder(const std::string& folderPath) = 0;
  virtual void RemoveFolder(const std::string& folderPath) = 0;
  virtual bool SubFolders() = 0;
  virtual void SubFolders(bool value) = 0;

  // Length of one store, count and unit ("Year", "Quarter", "Month", "Week", "Day").
  virtual int16_t StoreCount() = 0;
  virtual void StoreCount(int16_t value) = 0;
  virtual std::string StoreUnits() = 0;
  virtual void StoreUnits(const std::string& value) = 0;
  virtual std::string StoreFormat() = 0;
  virtual void StoreFormat(const std::string& value) = 0;

  // Delay before filing, count and unit.
  virtual int16_t FileAfterCount() = 0;
  virtual void FileAfterCount(int16_t value) = 0;
  virtual std::string FileAfterUnits() = 0;
  virtual void FileAfterUnits(const std::string& value) = 0;
  virtual bool FileDisabled() = 0;
  virtual void FileDisabled(bool value) = 0;

  // Days before filed items are purged from the folders.
  virtual int16_t RemovePeriod() = 0;
  virtual void RemovePeriod(int16_t value) = 0;
  virtual bool PurgeDisabled() = 0;
  virtual void PurgeDisabled(bool value) = 0;
  // Asking before a purge: 0 ask each time, 1 purge without asking, 2 do not purge.
  virtual int32_t PurgeNotify() = 0;
  virtual void PurgeNotify(int32_t value) = 0;

  // The import list: folders to take in once, each with or without sub-folders.
  virtual Collection<std::string> ImportFolders() = 0;
  // Adds a folder to the import list; true when it was added, false when
  // already there (its sub-folder flag is then set to the one given).
  virtual bool AddImport(const std::string& folder, bool subFolders) = 0;
  virtual void RemoveImport(const std::string& folder) = 0;
  virtual bool ImportSubFolders(const std::string& folder) = 0;
  virtual void SetImportSubfolders(const std::string& folder, bool withSubFolders) = 0;
  // When the waiting import runs; 0 means none is waiting.
  virtual Date ImportTime() = 0;
  virtual void ImportTime(Date value) = 0;

  // Figures of the agent's work so far.
  virtual int32_t ItemCount() = 0;
  virtual int32_t UnfiledItems() = 0;
  virtual int32_t ItemsToPurge() = 0;
  virtual Date EarliestStore() = 0;
  virtual Date MostRecentStore() = 0;
  virtual Date LastPurge() = 0;
  virtual Date LastFile() = 0;
  // The period stores the agent has filed into.
  virtual Collection<Ref<Period>> Periods() = 0;

  // File now and purge now; the engine does the work in its own time.
  virtual void RunFile() = 0;
  virtual void RunPurge() = 0;

  // Back to the configuration that holds the agent.
  virtual Ref<EngineConfig> Config() = 0;
};

}  // namespace vellix
