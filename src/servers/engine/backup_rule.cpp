#include "servers/engine/backup_rule.h"

#include <system_error>

#include "foundation/text.h"

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
      return !copy.exists || copy.size != store.size || copy.writeTime < store.writeTime
                 ? kBackupNeeded
                 : kBackupNotNeeded;
  }
}

namespace {

bool IsCopyOf(const std::filesystem::path& candidate, const std::filesystem::path& storeFile,
              const StoreFileFacts& store, StoreFileFacts* facts) {
  const std::string name = candidate.filename().string();
  const bool sameName = EqualsText(name, storeFile.filename().string());
  const bool storeLike = name.size() > 4 && EqualsText(name.substr(name.size() - 4), ".pst");
  if (!sameName && !(storeLike && store.isStore)) return false;
  std::error_code ec;
  if (std::filesystem::equivalent(candidate, storeFile, ec)) return false;
  *facts = InspectStoreFile(candidate);
  if (!facts->exists) return false;
  // A copy by its name counts whatever it holds: a damaged copy is still the
  // newest one there, and the policy then asks for a fresh one.
  if (sameName) return true;
  return facts->isStore && facts->name == store.name && facts->start == store.start &&
         facts->end == store.end;
}

}  // namespace

StoreFileFacts NewestBackupCopy(const std::filesystem::path& backupFolder,
                                const std::filesystem::path& storeFile,
                                const StoreFileFacts& store) {
  StoreFileFacts newest;
  std::error_code ec;
  std::filesystem::recursive_directory_iterator it(
      backupFolder, std::filesystem::directory_options::skip_permission_denied, ec);
  for (const std::filesystem::recursive_directory_iterator end; !ec && it != end;
       it.increment(ec)) {
    if (it.depth() >= 1) it.disable_recursion_pending();
    std::error_code typeError;
    if (!it->is_regular_file(typeError)) continue;
    StoreFileFacts facts;
    if (!IsCopyOf(it->path(), storeFile, store, &facts)) continue;
    if (!newest.exists || facts.writeTime > newest.writeTime) newest = std::move(facts);
  }
  return newest;
}

}  // namespace vellix::engine
