#include "servers/engine/backup_rule.h"

namespace vellix::engine {

int16_t BackupStatusFor(int32_t policy, bool locationAvailable, const StoreFileFacts& store,
                        const StoreFileFacts& copy, Date recordedBackup) {
  if (!locationAvailable || !store.isStore) return kBackupUnavailable;
  switch (policy) {
    case 0:
      return kBackupNeeded;
    case 2:
      return recordedBackup.IsZero() || store.modified > recordedBackup ? kBackupNeeded
                                                                        : kBackupNotNeeded;
    default:
      return !copy.exists || copy.size != store.size || copy.modified < store.modified
                 ? kBackupNeeded
                 : kBackupNotNeeded;
  }
}

}  // namespace vellix::engine
