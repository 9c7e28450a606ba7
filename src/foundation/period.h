#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"
#include "foundation/ref.h"

namespace vellix {

class EngineConfig;

// One period store of the engine: a slice of time with its own store file.
// Handlers fetch it anew from EngineConfig at each use and never keep it.
class Period {
 public:
  virtual ~Period() = default;

  // Display name of the store, and the name of its root folder in the mail program.
  virtual std::string Name() = 0;
  // Full name of the store file.
  virtual std::string FileName() = 0;
  // The file handed to the backup server and compared with its status data.
  virtual std::string BackupFile() = 0;
  // Kept while the file is copied; shown nowhere.
  virtual std::string BackupFileLabel() = 0;
  // Size of the store file in bytes.
  virtual int32_t FileSize() = 0;
  // -1 when the store file is not locked by the mail program.
  virtual int32_t Free() = 0;
  // -1 when the mail program can read the file.
  virtual int32_t Valid() = 0;
  // 0 unavailable, 1 needs a backup, 2 needs none (by the engine's backup policy).
  virtual int16_t BackupStatus() = 0;

  // Recorded backup date of this store, written when its copy finishes.
  virtual Date LastBackup() = 0;
  virtual void LastBackup(Date value) = 0;
  // Date of the last backup file found in the backup location; 0 for none.
  virtual Date LastLocated() = 0;
  // Date of the most recent item in the store; 0 for none.
  virtual Date Watermark() = 0;
  virtual Date FirstEntry() = 0;
  virtual Date LastEntry() = 0;
  virtual int32_t ItemCount() = 0;
  virtual bool Connected() = 0;

  // Back to the configuration that holds the period.
  virtual Ref<EngineConfig> Config() = 0;
};

}  // namespace vellix
