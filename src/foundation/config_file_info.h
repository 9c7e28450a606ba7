#pragma once

#include <string>

#include "foundation/date.h"

namespace vellix {

// Reader of one saved configuration file of the engine, made new for each
// file (EngineConnector::NewConfigFileInfo).
class ConfigFileInfo {
 public:
  virtual ~ConfigFileInfo() = default;
  // Reads the file at that path; true when it is a saved configuration.
  virtual bool Load(const std::string& file) = 0;
  // What the recover list shows for the file.
  virtual std::string Description() = 0;
  // The file's path as given to Load: handed to RecoverConfig, and the key in lists.
  virtual std::string FileName() = 0;
  // When the configuration was saved: the sort key of the recover list.
  virtual Date SavedTime() = 0;
};

}  // namespace vellix
