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
  const auto lock = core_->Lock();
  core_->Read(property);
  return core_->PeriodOrRaise(name_);
}

StoreFileFacts PeriodObject::Store(const PeriodData& period) const {
  const auto lock = core_->Lock();
  return InspectStoreFile(core_->Native(period.fileName));
}

StoreFileFacts PeriodObject::Copy(const PeriodData& period, const StoreFileFacts& store) const {
  const auto lock = core_->Lock();
  const std::string& location = core_->Settings().backupLocation;
  if (location.empty()) return {};
  return NewestBackupCopy(core_->Native(location), core_->Native(period.fileName), store);
}

std::string PeriodObject::Name() {
  const auto lock = core_->Lock();
  return Read("Name").name;
}
std::string PeriodObject::FileName() {
  const auto lock = core_->Lock();
  return Read("FileName").fileName;
}
// The backup server is handed the store file itself.
std::string PeriodObject::BackupFile() {
  const auto lock = core_->Lock();
  return Read("BackupFile").fileName;
}
std::string PeriodObject::BackupFileLabel() {
  const auto lock = core_->Lock();
  return EngineCore::BareName(Read("BackupFileLabel").fileName);
}

int32_t PeriodObject::FileSize() {
  const auto lock = core_->Lock();
  const int64_t size = Store(Read("FileSize")).size;
  return static_cast<int32_t>(std::min<int64_t>(size, std::numeric_limits<int32_t>::max()));
}

// A store the mail profile shows is held open by it, and can't be copied whole.
int32_t PeriodObject::Free() {
  const auto lock = core_->Lock();
  return core_->StoreHeldOpen(Read("Free")) ? 0 : -1;
}

int32_t PeriodObject::Valid() {
  const auto lock = core_->Lock();
  return Store(Read("Valid")).isStore ? -1 : 0;
}

int16_t PeriodObject::BackupStatus() {
  const auto lock = core_->Lock();
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
  const auto lock = core_->Lock();
  return Read("LastBackup").lastBackup;
}

void PeriodObject::LastBackup(Date value) {
  const auto lock = core_->Lock();
  core_->Call("Period " + name_, "put LastBackup", JournalText(value));
  core_->PeriodOrRaise(name_).lastBackup = value;
  core_->Save();
}

Date PeriodObject::LastLocated() {
  const auto lock = core_->Lock();
  const PeriodData& period = Read("LastLocated");
  const StoreFileFacts copy = Copy(period, Store(period));
  return copy.exists ? copy.modified : Date();
}

Date PeriodObject::Watermark() {
  const auto lock = core_->Lock();
  return Read("Watermark").watermark;
}
Date PeriodObject::FirstEntry() {
  const auto lock = core_->Lock();
  return Read("FirstEntry").firstEntry;
}
Date PeriodObject::LastEntry() {
  const auto lock = core_->Lock();
  return Read("LastEntry").lastEntry;
}
int32_t PeriodObject::ItemCount() {
  const auto lock = core_->Lock();
  return Read("ItemCount").itemCount;
}
bool PeriodObject::Connected() {
  const auto lock = core_->Lock();
  return Read("Connected").connected;
}

Ref<EngineConfig> PeriodObject::Config() {
  const auto lock = core_->Lock();
  Read("Config");
  return core_->NewConfigObject();
}

}  // namespace vellix::engine
