#include "servers/engine/period_object.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "servers/engine/backup_rule.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

PeriodObject::PeriodObject(std::shared_ptr<EngineCore> core, std::string name)
    : core_(std::move(core)), name_(std::move(name)) {}

PeriodData& PeriodObject::Read(std::string_view property) {
  core_->Read(property);
  return core_->PeriodOrRaise(name_);
}

StoreFileFacts PeriodObject::Store(const PeriodData& period) const {
  return InspectStoreFile(core_->Native(period.fileName));
}

StoreFileFacts PeriodObject::Copy(const PeriodData& period, const StoreFileFacts& store) const {
  const std::string& location = core_->Settings().backupLocation;
  if (location.empty()) return {};
  return NewestBackupCopy(core_->Native(location), core_->Native(period.fileName), store);
}

std::string PeriodObject::Name() {
  return Read("Name").name;
}
std::string PeriodObject::FileName() {
  return Read("FileName").fileName;
}
// The backup server is handed the store file itself.
std::string PeriodObject::BackupFile() {
  return Read("BackupFile").fileName;
}
std::string PeriodObject::BackupFileLabel() {
  return EngineCore::BareName(Read("BackupFileLabel").fileName);
}

int32_t PeriodObject::FileSize() {
  const int64_t size = Store(Read("FileSize")).size;
  return static_cast<int32_t>(std::min<int64_t>(size, std::numeric_limits<int32_t>::max()));
}

// A store the mail profile shows is held open by it, and can't be copied whole.
int32_t PeriodObject::Free() {
  return core_->StoreHeldOpen(Read("Free")) ? 0 : -1;
}

int32_t PeriodObject::Valid() {
  return Store(Read("Valid")).isStore ? -1 : 0;
}

int16_t PeriodObject::BackupStatus() {
  const PeriodData& period = Read("BackupStatus");
  const bool available = core_->BackupLocationAvailable();
  const StoreFileFacts store = Store(period);
  // The backup folder is searched only when the policy looks at it.
  const int32_t policy = core_->Settings().backupPolicy;
  const bool byCopy = available && policy != 0 && policy != 2;
  return BackupStatusFor(policy, available, store, byCopy ? Copy(period, store) : StoreFileFacts(),
                         period.lastBackup);
}

Date PeriodObject::LastBackup() {
  return Read("LastBackup").lastBackup;
}

void PeriodObject::LastBackup(Date value) {
  core_->Call("Period " + name_, "put LastBackup", JournalText(value));
  core_->PeriodOrRaise(name_).lastBackup = value;
  core_->Save();
}

Date PeriodObject::LastLocated() {
  const PeriodData& period = Read("LastLocated");
  const StoreFileFacts copy = Copy(period, Store(period));
  return copy.exists ? copy.modified : Date();
}

Date PeriodObject::Watermark() {
  return Read("Watermark").watermark;
}
Date PeriodObject::FirstEntry() {
  return Read("FirstEntry").firstEntry;
}
Date PeriodObject::LastEntry() {
  return Read("LastEntry").lastEntry;
}
int32_t PeriodObject::ItemCount() {
  return Read("ItemCount").itemCount;
}
bool PeriodObject::Connected() {
  return Read("Connected").connected;
}

Ref<EngineConfig> PeriodObject::Config() {
  Read("Config");
  return core_->NewConfigObject();
}

}  // namespace vellix::engine
