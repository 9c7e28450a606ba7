#pragma once

#include <memory>
#include <string>

#include "foundation/period.h"

namespace vellix::engine {

class EngineCore;
struct PeriodData;
struct StoreFileFacts;

// One period store as the panel sees it: a view over the core by the
// period's name. File facts (size, validity, backup copy) are read from the
// file system at each request.
class PeriodObject final : public Period {
 public:
  PeriodObject(std::shared_ptr<EngineCore> core, std::string name);

  std::string Name() override;
  std::string FileName() override;
  std::string BackupFile() override;
  std::string BackupFileLabel() override;
  int32_t FileSize() override;
  int32_t Free() override;
  int32_t Valid() override;
  int16_t BackupStatus() override;
  Date LastBackup() override;
  void LastBackup(Date value) override;
  Date LastLocated() override;
  Date Watermark() override;
  Date FirstEntry() override;
  Date LastEntry() override;
  int32_t ItemCount() override;
  bool Connected() override;
  Ref<EngineConfig> Config() override;

 private:
  PeriodData& Read(std::string_view property);
  StoreFileFacts Store(const PeriodData& period) const;
  // The newest copy of the store in the backup folder.
  StoreFileFacts Copy(const PeriodData& period, const StoreFileFacts& store) const;

  std::shared_ptr<EngineCore> core_;
  std::string name_;
};

}  // namespace vellix::engine
