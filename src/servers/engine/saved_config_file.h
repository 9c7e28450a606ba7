#pragma once

#include <string>

#include "foundation/config_file_info.h"
#include "platform/desktop/path_mapping.h"

namespace vellix::engine {

// Reader of one saved copy of the engine's configuration (what the engine
// writes into the backup folder after each finished backup run).
class SavedConfigFile final : public ConfigFileInfo {
 public:
  explicit SavedConfigFile(desktop::PathMapping paths);

  bool Load(const std::string& file) override;
  std::string Description() override { return description_; }
  std::string FileName() override { return fileName_; }
  Date SavedTime() override { return savedTime_; }

 private:
  desktop::PathMapping paths_;
  std::string description_;
  std::string fileName_;
  Date savedTime_;
};

}  // namespace vellix::engine
