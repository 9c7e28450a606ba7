// The part of the engine core that deals in files: period stores, saved
// copies of the configuration and recovery from them.
#include <algorithm>
#include <system_error>

#include "foundation/format.h"
#include "foundation/text.h"
#include "servers/common/file_trouble.h"
#include "servers/common/write_behind.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/period_calendar.h"
#include "servers/engine/server_error.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

namespace {

// The name of the file of that folder that matches without regard to case,
// as names do on the desktops the logic comes from; the name itself if none.
std::string NameOnDisk(const std::filesystem::path& folder, const std::string& name) {
  std::error_code ec;
  if (std::filesystem::exists(folder / name, ec)) return name;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string found = it->path().filename().string();
    if (EqualsText(found, name)) return found;
  }
  return name;
}

bool IsAbsoluteLogicPath(std::string_view path) {
  return (path.size() >= 2 && path[1] == ':') || path.starts_with("\\\\") ||
         path.starts_with("/") || path.starts_with("\\");
}

// The backup folder exists and takes a file. Checked before the probe, which
// would make a missing folder: a drive that isn't there must not be stood in
// for by a folder of that name. Permissions alone don't tell (a read-only
// mount, a full share, an ACL): a file is made and removed.
bool FolderTakesCopies(const std::filesystem::path& folder) {
  std::error_code ec;
  return std::filesystem::is_directory(folder, ec) && servers::FolderTakesFiles(folder, nullptr);
}

}  // namespace

std::string EngineCore::BareName(std::string_view path) {
  const auto cut = path.find_last_of("\\/");
  return std::string(cut == std::string_view::npos ? path : path.substr(cut + 1));
}

PeriodData* EngineCore::FindPeriod(std::string_view name) {
  auto it = std::find_if(data_.periods.begin(), data_.periods.end(),
                         [name](const PeriodData& p) { return EqualsText(p.name, name); });
  return it == data_.periods.end() ? nullptr : &*it;
}

PeriodData& EngineCore::PeriodOrRaise(std::string_view name) {
  PeriodData* period = FindPeriod(name);
  if (period == nullptr)
    RaiseServerError("The period \"" + std::string(name) + "\" no longer exists");
  return *period;
}

std::string EngineCore::FreePeriodName(const std::string& wanted) const {
  auto taken = [this](const std::string& name) {
    return std::any_of(data_.periods.begin(), data_.periods.end(),
                       [&](const PeriodData& p) { return EqualsText(p.name, name); });
  };
  if (!taken(wanted)) return wanted;
  for (int n = 2;; ++n) {
    std::string name = wanted + " (" + std::to_string(n) + ")";
    if (!taken(name)) return name;
  }
}

bool EngineCore::BackupLocationAvailable() const {
  const std::string& location = data_.settings.backupLocation;
  return !Trim(location).empty() && FolderTakesCopies(Native(location));
}

void EngineCore::RecordBackupRun() {
  EngineSettings& s = data_.settings;
  s.lastBackup = Now();
  s.nextBackup = AddSeconds(s.lastBackup, IntervalSeconds(s.backupEveryCount, s.backupEveryUnits));
  Save();
  SaveCopyToBackup();
}

void EngineCore::EnsureCurrentPeriod() {
  std::string why;
  if (EnsurePeriodFor(Now(), &why) == nullptr) Log("EnsureCurrentPeriod", why);
}

bool EngineCore::AttachPeriod(std::string_view fileName) {
  const std::string bare(Trim(fileName));
  if (bare.empty() || bare.find_first_of("\\/") != std::string::npos) return false;
  if (bare.size() < 4 || !EqualsText(std::string_view(bare).substr(bare.size() - 4), ".pst")) {
    return false;
  }
  const std::string logic = JoinLogic(data_.settings.storeLocation,
                                      NameOnDisk(Native(data_.settings.storeLocation), bare));
  const auto native = Native(logic);
  const StoreFileFacts facts = InspectStoreFile(native);
  if (!facts.isStore) {
    Log("AttachPeriod", logic + " is not a period store and can't be attached");
    return false;
  }
  const bool attached = std::any_of(data_.periods.begin(), data_.periods.end(), [&](const auto& p) {
    return EqualsText(p.fileName, logic) || Native(p.fileName) == native;
  });
  if (attached) return false;

  PeriodData period;
  period.name = FreePeriodName(facts.name.empty() ? bare.substr(0, bare.size() - 4) : facts.name);
  period.fileName = logic;
  period.start = facts.start;
  period.end = facts.end;
  data_.periods.push_back(std::move(period));
  Save();
  ShowStore(data_.periods.back());
  return true;
}

void EngineCore::SaveCopyToBackup() {
  const std::string location = data_.settings.backupLocation;
  EngineData copy = data_;
  copy.savedTime = Now();
  const std::string stem = "Vellix Engine Configuration " +
                           Format(copy.savedTime, "yyyy-mm-dd hhnnss", Locale::English());
  // Written behind, the folder checked and the name chosen then: this is the
  // last step of a backup run, and the window must not wait for a busy disk.
  auto write = [this, location, stem, text = EngineFileText(copy)] {
    if (Trim(location).empty() || !FolderTakesCopies(Native(location))) {
      Log("BackupFinished", "The backup folder \"" + location +
                                "\" can't be reached, so no copy of the configuration was saved");
      return;
    }
    std::filesystem::path file = Native(JoinLogic(location, stem + ".xml"));
    std::error_code ec;
    for (int n = 2; std::filesystem::exists(file, ec); ++n)
      file = Native(JoinLogic(location, stem + " (" + std::to_string(n) + ").xml"));
    std::string error;
    if (!WriteFileAtomically(file, text, &error)) {
      Log("BackupFinished",
          "The configuration copy " + file.string() + " can't be written: " + error);
    }
  };
  servers::WriteBehind::Shared().Queue(file_.string() + " copy " + std::to_string(++copiesMade_),
                                       std::move(write));
}

bool EngineCore::Recover(const std::string& source, const std::string& destination,
                         const std::string& configFile) {
  const std::string from =
      IsAbsoluteLogicPath(configFile) ? configFile : JoinLogic(source, configFile);
  EngineFileRead read = ReadEngineFile(Native(from));
  if (read.outcome != EngineFileRead::Outcome::Loaded) {
    Log("RecoverConfig", "Nothing can be recovered from " + from + ": " + read.error);
    return false;
  }
  std::error_code ec;
  if (Trim(destination).empty() ||
      (std::filesystem::create_directories(Native(destination), ec), ec)) {
    Log("RecoverConfig", "The store folder \"" + destination + "\" can't be made");
    return false;
  }

  EngineData recovered = std::move(read.data);
  recovered.savedTime = Date();
  recovered.settings.configured = false;
  recovered.settings.running = false;
  recovered.settings.loggingLevel = data_.settings.loggingLevel;
  recovered.settings.storeLocation = destination;
  recovered.settings.backupLocation = source;
  for (auto& period : recovered.periods) {
    const std::string bare = BareName(period.fileName);
    period.fileName = JoinLogic(destination, bare);
    const auto target = Native(period.fileName);
    if (std::filesystem::exists(target, ec)) continue;
    // The stores come back from their copies in the backup folder; a store
    // already in the store folder is never replaced.
    const auto copy = Native(JoinLogic(source, bare));
    if (!std::filesystem::exists(copy, ec)) {
      Log("RecoverConfig", "The backup folder holds no copy of the store " + bare);
      continue;
    }
    std::filesystem::copy_file(copy, target, ec);
    if (ec) Log("RecoverConfig", "The store " + bare + " can't be copied back: " + ec.message());
  }
  for (const auto& period : data_.periods)
    HideStore(period);
  data_ = std::move(recovered);
  Save();
  for (const auto& period : data_.periods)
    ShowStore(period);
  return true;
}

}  // namespace vellix::engine
