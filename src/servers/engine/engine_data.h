#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/date.h"

// What the engine keeps and persists: settings, agents and periods as plain
// values. The objects handed to the panel are views over these.
namespace vellix::engine {

struct ImportFolderData {
  std::string path;
  bool subFolders = true;

  friend bool operator==(const ImportFolderData&, const ImportFolderData&) = default;
};

// A new agent's values are these defaults; docs/engine-standin.md lists them.
struct AgentData {
  int16_t id = 0;
  std::string name;
  std::string monitorType = "Unknown";
  std::vector<std::string> folders;
  bool subFolders = true;
  int16_t storeCount = 1;
  std::string storeUnits = "Year";
  std::string storeFormat = "'@yyyy'";
  int16_t fileAfterCount = 1;
  std::string fileAfterUnits = "Day";
  bool fileDisabled = false;
  int16_t removePeriod = 30;
  bool purgeDisabled = false;
  int32_t purgeNotify = 0;
  std::vector<ImportFolderData> imports;
  Date importTime;
  // Figures of the agent's work, kept up by processing runs.
  int32_t itemCount = 0;
  int32_t unfiledItems = 0;
  int32_t itemsToPurge = 0;
  Date earliestStore;
  Date mostRecentStore;
  Date lastPurge;
  Date lastFile;
  Date watermark;
  // Names of the period stores the agent has filed into.
  std::vector<std::string> periods;

  friend bool operator==(const AgentData&, const AgentData&) = default;
};

struct PeriodData {
  std::string name;
  // The store file, as a path text of the logic ("C:\...\File 2024.pst").
  std::string fileName;
  // The time the period covers: from start up to, not including, end.
  Date start;
  Date end;
  Date lastBackup;
  Date watermark;
  Date firstEntry;
  Date lastEntry;
  int32_t itemCount = 0;
  bool connected = true;

  friend bool operator==(const PeriodData&, const PeriodData&) = default;
};

struct EngineSettings {
  bool configured = false;
  bool running = false;
  std::string loggingLevel = "On";
  std::string periodFormat = "File '@yyyy'";
  int16_t periodCount = 1;
  std::string periodUnits = "Year";
  Date referenceDate;
  std::string storeLocation;
  std::string backupLocation;
  int32_t backupEveryCount = 1;
  std::string backupEveryUnits = "Week";
  Date nextBackup;
  Date lastBackup;
  int32_t backupPolicy = 0;
  bool backupUnattended = false;
  std::string historyName = "History";
  // Minutes between two processing passes while the engine runs.
  int32_t passMinutes = 5;

  friend bool operator==(const EngineSettings&, const EngineSettings&) = default;
};

struct EngineData {
  EngineSettings settings;
  std::vector<AgentData> agents;
  std::vector<PeriodData> periods;
  int16_t nextAgentId = 1;
  // Set only in the saved copies of the configuration that recovery reads.
  Date savedTime;

  friend bool operator==(const EngineData&, const EngineData&) = default;
};

}  // namespace vellix::engine
