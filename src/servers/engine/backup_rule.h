#pragma once

#include <cstdint>
#include <filesystem>

#include "foundation/date.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

// BackupStatus values of a period.
inline constexpr int16_t kBackupUnavailable = 0;
inline constexpr int16_t kBackupNeeded = 1;
inline constexpr int16_t kBackupNotNeeded = 2;

// Whether a period store needs a backup under a backup policy: 0 always,
// 2 when the store changed after its recorded backup, 1 (and any other
// value) unless the copy in the backup location is as large as the store and
// no older than it. Unavailable when the backup location can't be
// reached or the store file isn't a readable store.
int16_t BackupStatusFor(int32_t policy, bool locationAvailable, const StoreFileFacts& store,
                        const StoreFileFacts& copy, Date recordedBackup);

// The newest copy of a store in the backup folder: a file of the folder, or
// of a folder directly in it (dated folders on removable media), that bears
// the store file's name without regard to case or that is a store of the
// same period (its header's name, start and end). The store file itself
// never counts, should the backup folder be the store folder. Nothing
// (exists false) when there is none.
StoreFileFacts NewestBackupCopy(const std::filesystem::path& backupFolder,
                                const std::filesystem::path& storeFile,
                                const StoreFileFacts& store);

}  // namespace vellix::engine
