#pragma once

#include <cstdint>

#include "foundation/date.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

// BackupStatus values of a period.
inline constexpr int16_t kBackupUnavailable = 0;
inline constexpr int16_t kBackupNeeded = 1;
inline constexpr int16_t kBackupNotNeeded = 2;

// Whether a period store needs a backup under a backup policy: 0 always,
// 2 when the store changed after its recorded backup, 1 (and any other
// value) when the copy in the backup location is missing, of another size or
// older than the store. Unavailable when the backup location can't be
// reached or the store file isn't a readable store.
int16_t BackupStatusFor(int32_t policy, bool locationAvailable, const StoreFileFacts& store,
                        const StoreFileFacts& copy, Date recordedBackup);

}  // namespace vellix::engine
