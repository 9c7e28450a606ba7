#include "servers/engine/agent_object.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/period_calendar.h"

namespace vellix::engine {

namespace {

// Folder paths of the mail program compare without regard to case.
auto SamePath(std::string_view path) {
  return [path](const std::string& entry) { return EqualsText(entry, path); };
}
auto SameImport(std::string_view path) {
  return [path](const ImportFolderData& entry) { return EqualsText(entry.path, path); };
}

// A text for the log, its control characters shown by their number.
std::string Visible(std::string_view text) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 32) {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

AgentObject::AgentObject(std::shared_ptr<EngineCore> core, int16_t id)
    : core_(std::move(core)), id_(id) {}

std::string AgentObject::ObjectName() const {
  const auto lock = core_->Lock();
  const AgentData* agent = core_->FindAgent(id_);
  return "Agent " + (agent != nullptr ? agent->name : std::to_string(id_));
}

AgentData& AgentObject::Write(std::string_view operation, std::string_view arguments) {
  const auto lock = core_->Lock();
  core_->Call(ObjectName(), operation, arguments);
  return core_->AgentOrRaise(id_);
}

AgentData& AgentObject::Write(std::string_view operation) {
  const auto lock = core_->Lock();
  core_->Call(ObjectName(), operation);
  return core_->AgentOrRaise(id_);
}

AgentData& AgentObject::Read(std::string_view property) {
  const auto lock = core_->Lock();
  core_->Read(property);
  return core_->AgentOrRaise(id_);
}

template <class T>
T AgentObject::Get(std::string_view property, T AgentData::*member) {
  const auto lock = core_->Lock();
  return Read(property).*member;
}

template <class T>
void AgentObject::Put(std::string_view property, T AgentData::*member, const T& value) {
  const auto lock = core_->Lock();
  Write("put " + std::string(property), JournalText(value)).*member = value;
  core_->Save();
}

int16_t AgentObject::Id() {
  const auto lock = core_->Lock();
  return Read("Id").id;
}
std::string AgentObject::Name() {
  const auto lock = core_->Lock();
  return Get("Name", &AgentData::name);
}

void AgentObject::Name(const std::string& value) {
  const auto lock = core_->Lock();
  core_->RenameAgent(Write("put Name", value), value);
  core_->Save();
}

std::string AgentObject::MonitorType() {
  const auto lock = core_->Lock();
  return Get("MonitorType", &AgentData::monitorType);
}
void AgentObject::MonitorType(const std::string& value) {
  const auto lock = core_->Lock();
  Put("MonitorType", &AgentData::monitorType, value);
}

Collection<std::string> AgentObject::Folders() {
  const auto lock = core_->Lock();
  Collection<std::string> folders;
  for (const auto& path : Read("Folders").folders) {
    if (!folders.Contains(path)) folders.Add(path, path);
  }
  return folders;
}

bool AgentObject::AddFolder(const std::string& folderPath) {
  const auto lock = core_->Lock();
  AgentData& agent = Write("AddFolder", folderPath);
  if (Trim(folderPath).empty() ||
      std::any_of(agent.folders.begin(), agent.folders.end(), SamePath(folderPath))) {
    return false;
  }
  agent.folders.push_back(folderPath);
  core_->Save();
  return true;
}

void AgentObject::RemoveFolder(const std::string& folderPath) {
  const auto lock = core_->Lock();
  std::erase_if(Write("RemoveFolder", folderPath).folders, SamePath(folderPath));
  core_->Save();
}

bool AgentObject::SubFolders() {
  const auto lock = core_->Lock();
  return Get("SubFolders", &AgentData::subFolders);
}
void AgentObject::SubFolders(bool value) {
  const auto lock = core_->Lock();
  Put("SubFolders", &AgentData::subFolders, value);
}
int16_t AgentObject::StoreCount() {
  const auto lock = core_->Lock();
  return Get("StoreCount", &AgentData::storeCount);
}
void AgentObject::StoreCount(int16_t value) {
  const auto lock = core_->Lock();
  Put("StoreCount", &AgentData::storeCount, value);
}
std::string AgentObject::StoreUnits() {
  const auto lock = core_->Lock();
  return Get("StoreUnits", &AgentData::storeUnits);
}
void AgentObject::StoreUnits(const std::string& value) {
  const auto lock = core_->Lock();
  Put("StoreUnits", &AgentData::storeUnits, value);
}
std::string AgentObject::StoreFormat() {
  const auto lock = core_->Lock();
  return Get("StoreFormat", &AgentData::storeFormat);
}
void AgentObject::StoreFormat(const std::string& value) {
  const auto lock = core_->Lock();
  AgentData& agent = Write("put StoreFormat", JournalText(value));
  // The put has no result to refuse with: a format whose stores would lie
  // outside the store folder is not taken, and the log says why.
  if (std::string why; StoreNameLeavesFolder(value, Locale::English(), &why)) {
    core_->Log("StoreFormat", "The store name format \"" + Visible(value) + "\" of agent \"" +
                                  agent.name + "\" was refused: " + why);
    return;
  }
  agent.storeFormat = value;
  core_->Save();
}
int16_t AgentObject::FileAfterCount() {
  const auto lock = core_->Lock();
  return Get("FileAfterCount", &AgentData::fileAfterCount);
}
void AgentObject::FileAfterCount(int16_t value) {
  const auto lock = core_->Lock();
  Put("FileAfterCount", &AgentData::fileAfterCount, value);
}
std::string AgentObject::FileAfterUnits() {
  const auto lock = core_->Lock();
  return Get("FileAfterUnits", &AgentData::fileAfterUnits);
}
void AgentObject::FileAfterUnits(const std::string& value) {
  const auto lock = core_->Lock();
  Put("FileAfterUnits", &AgentData::fileAfterUnits, value);
}
bool AgentObject::FileDisabled() {
  const auto lock = core_->Lock();
  return Get("FileDisabled", &AgentData::fileDisabled);
}
void AgentObject::FileDisabled(bool value) {
  const auto lock = core_->Lock();
  Put("FileDisabled", &AgentData::fileDisabled, value);
}
int16_t AgentObject::RemovePeriod() {
  const auto lock = core_->Lock();
  return Get("RemovePeriod", &AgentData::removePeriod);
}
void AgentObject::RemovePeriod(int16_t value) {
  const auto lock = core_->Lock();
  Put("RemovePeriod", &AgentData::removePeriod, value);
}
bool AgentObject::PurgeDisabled() {
  const auto lock = core_->Lock();
  return Get("PurgeDisabled", &AgentData::purgeDisabled);
}
void AgentObject::PurgeDisabled(bool value) {
  const auto lock = core_->Lock();
  Put("PurgeDisabled", &AgentData::purgeDisabled, value);
}
int32_t AgentObject::PurgeNotify() {
  const auto lock = core_->Lock();
  return Get("PurgeNotify", &AgentData::purgeNotify);
}
void AgentObject::PurgeNotify(int32_t value) {
  const auto lock = core_->Lock();
  Put("PurgeNotify", &AgentData::purgeNotify, value);
}

Collection<std::string> AgentObject::ImportFolders() {
  const auto lock = core_->Lock();
  Collection<std::string> folders;
  for (const auto& import : Read("ImportFolders").imports) {
    if (!folders.Contains(import.path)) folders.Add(import.path, import.path);
  }
  return folders;
}

bool AgentObject::AddImport(const std::string& folder, bool subFolders) {
  const auto lock = core_->Lock();
  AgentData& agent = Write("AddImport", folder + ", " + JournalText(subFolders));
  auto it = std::find_if(agent.imports.begin(), agent.imports.end(), SameImport(folder));
  const bool added = it == agent.imports.end() && !Trim(folder).empty();
  if (added) {
    agent.imports.push_back({folder, subFolders});
  } else if (it != agent.imports.end()) {
    it->subFolders = subFolders;
  }
  core_->Save();
  return added;
}

void AgentObject::RemoveImport(const std::string& folder) {
  const auto lock = core_->Lock();
  std::erase_if(Write("RemoveImport", folder).imports, SameImport(folder));
  core_->Save();
}

bool AgentObject::ImportSubFolders(const std::string& folder) {
  const auto lock = core_->Lock();
  const auto& imports = Read("ImportSubFolders").imports;
  auto it = std::find_if(imports.begin(), imports.end(), SameImport(folder));
  return it != imports.end() && it->subFolders;
}

void AgentObject::SetImportSubfolders(const std::string& folder, bool withSubFolders) {
  const auto lock = core_->Lock();
  auto& imports = Write("SetImportSubfolders", folder + ", " + JournalText(withSubFolders)).imports;
  auto it = std::find_if(imports.begin(), imports.end(), SameImport(folder));
  if (it == imports.end()) return;
  it->subFolders = withSubFolders;
  core_->Save();
}

Date AgentObject::ImportTime() {
  const auto lock = core_->Lock();
  return Get("ImportTime", &AgentData::importTime);
}
void AgentObject::ImportTime(Date value) {
  const auto lock = core_->Lock();
  Put("ImportTime", &AgentData::importTime, value);
}

int32_t AgentObject::ItemCount() {
  const auto lock = core_->Lock();
  return Get("ItemCount", &AgentData::itemCount);
}
int32_t AgentObject::UnfiledItems() {
  const auto lock = core_->Lock();
  return Get("UnfiledItems", &AgentData::unfiledItems);
}
int32_t AgentObject::ItemsToPurge() {
  const auto lock = core_->Lock();
  return Get("ItemsToPurge", &AgentData::itemsToPurge);
}
Date AgentObject::EarliestStore() {
  const auto lock = core_->Lock();
  return Get("EarliestStore", &AgentData::earliestStore);
}
Date AgentObject::MostRecentStore() {
  const auto lock = core_->Lock();
  return Get("MostRecentStore", &AgentData::mostRecentStore);
}
Date AgentObject::LastPurge() {
  const auto lock = core_->Lock();
  return Get("LastPurge", &AgentData::lastPurge);
}
Date AgentObject::LastFile() {
  const auto lock = core_->Lock();
  return Get("LastFile", &AgentData::lastFile);
}

Collection<Ref<Period>> AgentObject::Periods() {
  const auto lock = core_->Lock();
  Collection<Ref<Period>> periods;
  for (const auto& name : Read("Periods").periods) {
    const PeriodData* period = core_->FindPeriod(name);
    if (period != nullptr && !periods.Contains(period->name)) {
      periods.Add(core_->NewPeriodObject(period->name), period->name);
    }
  }
  return periods;
}

void AgentObject::RunFile() {
  const auto lock = core_->Lock();
  Write("RunFile");
  core_->Hooks().FileNow(*core_, id_);
}

void AgentObject::RunPurge() {
  const auto lock = core_->Lock();
  Write("RunPurge");
  core_->Hooks().PurgeNow(*core_, id_);
}

Ref<EngineConfig> AgentObject::Config() {
  const auto lock = core_->Lock();
  Read("Config");
  return core_->NewConfigObject();
}

}  // namespace vellix::engine
