#include "servers/engine/processor.h"

#include <algorithm>
#include <deque>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/purge_details.h"
#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_folder.h"
#include "platform/outlook/profile_message.h"
#include "servers/engine/activity_count_record.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/event_channel.h"
#include "servers/engine/monitor_object.h"
#include "servers/engine/store_database.h"

namespace vellix::engine {

// ---- what the profile holds, as the worker sees it ----

namespace {

struct LightItem {
  std::string key;
  Date received;
  std::string subject;
};

struct FolderScan {
  std::string path;
  std::string name;
  int32_t itemType = 0;
  std::vector<LightItem> items;
};

void ScanInto(outlook::ProfileFolder& folder, bool subFolders, std::vector<FolderScan>& out) {
  FolderScan scan;
  scan.path = folder.FolderPath();
  scan.name = folder.Name();
  scan.itemType = folder.DefaultItemType();
  scan.items.reserve(folder.Items().size());
  for (const auto& item : folder.Items())
    scan.items.push_back({item.key, item.received, item.subject});
  out.push_back(std::move(scan));
  if (!subFolders) return;
  for (const auto& child : folder.SubFolders())
    ScanInto(*child, true, out);
}

// The folders at these paths (with what lies below them when asked), each once.
std::vector<FolderScan> ScanFolders(outlook::MailProfile& profile,
                                    const std::vector<std::pair<std::string, bool>>& roots,
                                    std::vector<std::string>* missing) {
  std::vector<FolderScan> out;
  for (const auto& [path, subFolders] : roots) {
    const auto folder = profile.FindFolder(path);
    if (!folder) {
      if (missing != nullptr) missing->push_back(path);
      continue;
    }
    ScanInto(*folder, subFolders, out);
  }
  std::set<std::string> seen;
  std::erase_if(out, [&](const FolderScan& f) { return !seen.insert(LCase(f.path)).second; });
  return out;
}

// Whole items by key, in the order asked; an item no longer there comes back without a key.
std::vector<outlook::ProfileItem> FetchItems(outlook::MailProfile& profile, const std::string& path,
                                             const std::vector<std::string>& keys) {
  std::vector<outlook::ProfileItem> out(keys.size());
  const auto folder = profile.FindFolder(path);
  if (!folder) return out;
  std::unordered_map<std::string_view, size_t> wanted;
  for (size_t i = 0; i < keys.size(); ++i)
    wanted.emplace(keys[i], i);
  for (const auto& item : folder->Items()) {
    if (auto it = wanted.find(item.key); it != wanted.end()) out[it->second] = item;
  }
  return out;
}

// The delay before an item is filed, in seconds, by the control panel's own reckoning.
int64_t DelaySeconds(int32_t count, const std::string& units) {
  static const std::pair<const char*, int64_t> kFactors[] = {
      {"Year", 1314000}, {"Quarter", 328500}, {"Month", 109500}, {"Week", 604800},
      {"Day", 86400},    {"Hour", 3600},      {"Minute", 60},
  };
  if (units == "Seconds" || units == "Second") return count;
  for (const auto& [name, factor] : kFactors) {
    const std::string_view n(name);
    if (units == n || (units.size() == n.size() + 1 && units.starts_with(n) && units.back() == 's'))
      return static_cast<int64_t>(count) * factor;
  }
  return 0;
}

std::string ItemTypeWords(int32_t itemType) {
  switch (itemType) {
    case 1:
      return "Appointment";
    case 2:
      return "Contact";
    case 3:
      return "Task";
    case 4:
      return "Journal Entry";
    case 5:
      return "Note";
    case 6:
      return "Post";
    case 7:
      return "Distribution List";
    default:
      return "Email";
  }
}

// The folder and the item in hand, as they were at that step.
class FolderAtStep final : public MAPIFolder {
 public:
  explicit FolderAtStep(const FolderScan& scan)
      : name_(scan.name),
        path_(scan.path),
        itemType_(scan.itemType),
        count_(static_cast<int32_t>(scan.items.size())) {}
  std::string Name() override { return name_; }
  std::string FolderPath() override { return path_; }
  int32_t DefaultItemType() override { return itemType_; }
  int32_t ItemCount() override { return count_; }
  Ref<OutlookFolders> Folders() override { return nullptr; }

 private:
  std::string name_;
  std::string path_;
  int32_t itemType_;
  int32_t count_;
};

class ItemAtStep final : public OutlookItem {
 public:
  explicit ItemAtStep(std::string subject) : subject_(std::move(subject)) {}
  std::string Subject() override { return subject_; }

 private:
  std::string subject_;
};

class PurgeDetailsRecord final : public PurgeDetails {
 public:
  PurgeDetailsRecord(int32_t count, std::string type, Ref<MAPIFolder> folder, std::string agent)
      : count_(count),
        type_(std::move(type)),
        folder_(std::move(folder)),
        agent_(std::move(agent)) {}
  int32_t ItemCount() override { return count_; }
  std::string ItemType() override { return type_; }
  Ref<MAPIFolder> Folder() override { return folder_; }
  std::string AgentName() override { return agent_; }

 private:
  int32_t count_;
  std::string type_;
  Ref<MAPIFolder> folder_;
  std::string agent_;
};

// The codes of the processing log.
enum Code : int32_t {
  kProcessingStarted = 0,
  kAgentStarted = 1,
  kAgentComplete = 2,
  kFilingStarted = 3,
  kFolderStarted = 4,
  kFolderComplete = 5,
  kItemStarted = 6,
  kItemComplete = 7,
  kImportingStarted = 8,
  kImportingComplete = 9,
  kProcessingComplete = 10,
  kFilingComplete = 12,
  kPurgingStarted = 14,
  kPurgingComplete = 15,
  kProcessingStopped = 16,
  kStoreStarted = 17,
  kStoreComplete = 18,
  kProcessingError = 21,
};

// What one agent will do in a pass, worked out before it starts.
struct AgentPlan {
  AgentData agent;
  std::vector<FolderScan> folders;
  std::vector<FolderScan> imports;
  bool importDue = false;
  // Positions in folders[i].items / imports[i].items of the items to file.
  std::vector<std::vector<size_t>> toFile;
  std::vector<std::vector<size_t>> toImport;
  int32_t unfiled = 0;
  int32_t toPurge = 0;
};

struct PassPlan {
  std::vector<AgentPlan> agents;
  std::vector<std::string> missing;
  int32_t files = 0;
  int32_t imports = 0;
  int32_t purges = 0;
};

bool Purges(const AgentData& agent) {
  return !agent.purgeDisabled && agent.purgeNotify != 2;
}

bool PurgeDue(Date filed, Date now, int32_t removeDays) {
  return now.Serial() - filed.Serial() > static_cast<double>(removeDays);
}

// Every key the stores hold, with when it was filed. A store that can't be
// read holds nothing for this pass; its items wait.
std::unordered_map<std::string, Date> FiledKeys(EngineCore& core,
                                                const std::vector<PeriodData>& periods,
                                                std::vector<std::string>* problems) {
  std::unordered_map<std::string, Date> keys;
  for (const auto& period : periods) {
    const auto file = core.Native(period.fileName);
    std::error_code ec;
    if (!std::filesystem::exists(file, ec)) continue;
    std::string why;
    auto store = StoreDatabase::TryOpen(file, StoreDatabase::Access::kReadOnly, &why);
    if (!store) {
      if (problems != nullptr) problems->push_back(why);
      continue;
    }
    try {
      keys.merge(store->FiledKeys());
    } catch (const VbError& e) {
      if (problems != nullptr) problems->push_back(e.Description());
    }
  }
  return keys;
}

// Which items the pass files, imports and purges. An item is taken once in a
// pass, by the first agent that reaches it.
PassPlan MakePlan(std::vector<AgentData> agents, std::vector<std::vector<FolderScan>> folders,
                  std::vector<std::vector<FolderScan>> imports,
                  const std::unordered_map<std::string, Date>& filed, Date now) {
  PassPlan plan;
  std::unordered_set<std::string> taken;
  for (size_t a = 0; a < agents.size(); ++a) {
    AgentPlan ap;
    ap.agent = std::move(agents[a]);
    ap.folders = std::move(folders[a]);
    ap.imports = std::move(imports[a]);
    ap.importDue = !ap.agent.importTime.IsZero() && ap.agent.importTime <= now;
    const double delayDays =
        static_cast<double>(DelaySeconds(ap.agent.fileAfterCount, ap.agent.fileAfterUnits)) /
        86400.0;
    if (ap.importDue) {
      for (const auto& scan : ap.imports) {
        auto& list = ap.toImport.emplace_back();
        for (size_t i = 0; i < scan.items.size(); ++i) {
          const auto& item = scan.items[i];
          if (filed.contains(item.key) || !taken.insert(item.key).second) continue;
          list.push_back(i);
        }
        plan.imports += static_cast<int32_t>(list.size());
      }
    }
    for (const auto& scan : ap.folders) {
      auto& list = ap.toFile.emplace_back();
      for (size_t i = 0; i < scan.items.size(); ++i) {
        const auto& item = scan.items[i];
        if (const auto it = filed.find(item.key); it != filed.end()) {
          if (Purges(ap.agent) && PurgeDue(it->second, now, ap.agent.removePeriod)) ++ap.toPurge;
          continue;
        }
        if (ap.agent.fileDisabled || taken.contains(item.key)) continue;
        if (now.Serial() - item.received.Serial() <= delayDays) {
          ++ap.unfiled;
          continue;
        }
        taken.insert(item.key);
        list.push_back(i);
      }
      plan.files += static_cast<int32_t>(list.size());
    }
    plan.purges += ap.toPurge;
    plan.agents.push_back(std::move(ap));
  }
  return plan;
}

std::vector<std::pair<std::string, bool>> FolderRoots(const AgentData& agent) {
  std::vector<std::pair<std::string, bool>> roots;
  for (const auto& path : agent.folders)
    roots.emplace_back(path, agent.subFolders);
  return roots;
}

std::vector<std::pair<std::string, bool>> ImportRoots(const AgentData& agent) {
  std::vector<std::pair<std::string, bool>> roots;
  for (const auto& import : agent.imports)
    roots.emplace_back(import.path, import.subFolders);
  return roots;
}

Collection<Ref<ActivityCount>> Counts(
    std::initializer_list<std::pair<const char*, int32_t>> values) {
  Collection<Ref<ActivityCount>> out;
  for (const auto& [label, count] : values)
    out.Add(MakeRef<ActivityCountRecord>(label, count), label);
  return out;
}

}  // namespace

// ---- one pass ----

class Processor::Pass {
 public:
  Pass(Processor& owner, EngineCore& core, Date now)
      : owner_(owner), core_(core), channel_(owner.channel_), now_(now) {}

  void Run() {
    core_.MonitorShared()->PassUnderWay(true);
    Activity("Start", true, false);
    std::vector<AgentData> agents;
    std::vector<PeriodData> periods;
    {
      const auto lock = core_.Lock();
      agents = core_.Data().agents;
      periods = core_.Data().periods;
      const std::string level = core_.Settings().loggingLevel;
      statusEvents_ = !EqualsText(level, "Off");
      itemEvents_ = EqualsText(level, "Verbose");
    }
    std::vector<std::string> problems;
    filed_ = FiledKeys(core_, periods, &problems);
    for (const auto& problem : problems)
      Log(problem);
    const bool planned = MakePassPlan(std::move(agents)) && !Stopped();
    if (planned) {
      forecast_ = Counts(
          {{"To File", plan_.files}, {"To Import", plan_.imports}, {"To Purge", plan_.purges}});
      Status(kProcessingStarted);
      for (auto& agent : plan_.agents) {
        if (Stopped()) break;
        RunAgent(agent);
      }
    }
    if (Stopped()) {
      Status(kProcessingStopped);
      core_.MonitorShared()->PassUnderWay(false);
      Activity("Stop", false, true);
    } else {
      Status(kProcessingComplete);
      core_.MonitorShared()->PassUnderWay(false);
      Activity("Complete", false, true);
    }
  }

  [[nodiscard]] PassPlan TakePlan() { return std::move(plan_); }

 private:
  bool Stopped() const { return stopped_ || owner_.stop_.load(); }

  // Runs fn with the profile on the panel's thread; nothing when the pass
  // was told to stop while waiting, or there is no profile.
  template <class T>
  std::optional<T> OnPanel(std::function<T(outlook::MailProfile&)> fn) {
    auto result = std::make_shared<std::optional<T>>();
    auto reply = std::make_shared<Reply>();
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kTask;
    entry.reply = reply;
    entry.task = [result, fn = std::move(fn), profile = owner_.options_.profile] {
      if (const auto p = profile ? profile() : nullptr) *result = fn(*p);
    };
    if (!channel_->Enqueue(std::move(entry), channel_) || !channel_->Wait(reply)) {
      stopped_ = true;
      return std::nullopt;
    }
    return std::move(*result);
  }

  bool MakePassPlan(std::vector<AgentData> agents) {
    std::vector<std::vector<std::pair<std::string, bool>>> folderRoots;
    std::vector<std::vector<std::pair<std::string, bool>>> importRoots;
    for (const auto& agent : agents) {
      folderRoots.push_back(FolderRoots(agent));
      importRoots.push_back(ImportRoots(agent));
    }
    struct Scans {
      std::vector<std::vector<FolderScan>> folders;
      std::vector<std::vector<FolderScan>> imports;
      std::vector<std::string> missing;
      std::vector<std::string> problems;
      bool readOnly = false;
    };
    auto scans = OnPanel<Scans>([folderRoots, importRoots](outlook::MailProfile& profile) {
      Scans s;
      s.problems = profile.TakeProblems();
      s.readOnly = profile.ReadOnly();
      for (const auto& roots : folderRoots)
        s.folders.push_back(ScanFolders(profile, roots, &s.missing));
      for (const auto& roots : importRoots)
        s.imports.push_back(ScanFolders(profile, roots, &s.missing));
      return s;
    });
    if (!scans) {
      if (!Stopped()) Log("The mail profile can't be read, so nothing was filed");
      return false;
    }
    for (const auto& path : scans->missing)
      Log("The folder " + path + " is not in the mail profile");
    for (const auto& problem : scans->problems)
      Log(problem);
    readOnly_ = scans->readOnly;
    plan_ = MakePlan(std::move(agents), std::move(scans->folders), std::move(scans->imports),
                     filed_, now_);
    return true;
  }

  void RunAgent(AgentPlan& plan) {
    agentRef_ = core_.NewAgentObject(plan.agent.id);
    folderRef_ = nullptr;
    itemRef_ = nullptr;
    store_.clear();
    agentFiled_ = 0;
    agentPurged_ = 0;
    agentPeriods_.clear();
    watermark_ = Date();
    Status(kAgentStarted);
    if (plan.importDue) {
      Status(kImportingStarted);
      for (size_t f = 0; f < plan.imports.size() && !Stopped(); ++f)
        FileFolder(plan.imports[f], plan.toImport[f], imported_);
      folderRef_ = nullptr;
      if (!Stopped()) {
        // The import has run: the Import panel waits for this.
        const auto lock = core_.Lock();
        if (AgentData* agent = core_.FindAgent(plan.agent.id)) agent->importTime = Date();
        core_.Save();
      }
      Status(kImportingComplete);
    }
    if (!plan.agent.fileDisabled && !Stopped()) {
      Status(kFilingStarted);
      for (size_t f = 0; f < plan.folders.size() && !Stopped(); ++f)
        FileFolder(plan.folders[f], plan.toFile[f], filedCount_);
      folderRef_ = nullptr;
      Status(kFilingComplete);
    }
    if (Purges(plan.agent) && !Stopped()) {
      Status(kPurgingStarted);
      for (auto& folder : plan.folders) {
        if (Stopped() || !PurgeFolder(plan, folder)) break;
      }
      folderRef_ = nullptr;
      Status(kPurgingComplete);
    }
    RecordAgentFigures(plan);
    folderRef_ = nullptr;
    itemRef_ = nullptr;
    store_.clear();
    Status(kAgentComplete);
    agentRef_ = nullptr;
  }

  struct Group {
    std::string name;
    std::string fileName;
    std::vector<size_t> items;
  };

  void FileFolder(const FolderScan& scan, const std::vector<size_t>& items, int32_t& counter) {
    folderRef_ = MakeRef<FolderAtStep>(scan);
    itemRef_ = nullptr;
    Status(kFolderStarted);
    std::vector<Group> groups;
    for (const size_t i : items) {
      const auto& item = scan.items[i];
      std::string why;
      std::string name;
      std::string fileName;
      {
        const auto lock = core_.Lock();
        if (const PeriodData* period = core_.EnsurePeriodFor(item.received, &why)) {
          name = period->name;
          fileName = period->fileName;
        }
      }
      if (name.empty()) {
        Error(item.subject, "\"" + item.subject + "\" can't be filed: " + why);
        continue;
      }
      auto it = std::find_if(groups.begin(), groups.end(),
                             [&](const Group& g) { return g.name == name; });
      if (it == groups.end()) it = groups.insert(groups.end(), Group{name, fileName, {}});
      it->items.push_back(i);
    }
    for (const auto& group : groups) {
      if (Stopped()) break;
      FileGroup(scan, group, counter);
    }
    itemRef_ = nullptr;
    store_.clear();
    Status(kFolderComplete);
  }

  void FileGroup(const FolderScan& scan, const Group& group, int32_t& counter) {
    store_ = group.name;
    itemRef_ = nullptr;
    Status(kStoreStarted);
    std::optional<StoreDatabase> store;
    try {
      store = StoreDatabase::Open(core_.Native(group.fileName), StoreDatabase::Access::kReadWrite);
    } catch (const VbError& e) {
      Error({}, e.Description());
    }
    const size_t batch = static_cast<size_t>(std::max(1, owner_.options_.batchItems));
    for (size_t from = 0; store && from < group.items.size() && !Stopped(); from += batch) {
      std::vector<std::string> keys;
      std::vector<const LightItem*> light;
      for (size_t j = from; j < std::min(group.items.size(), from + batch); ++j) {
        light.push_back(&scan.items[group.items[j]]);
        keys.push_back(light.back()->key);
      }
      auto whole = OnPanel<std::vector<outlook::ProfileItem>>(
          [path = scan.path, keys](outlook::MailProfile& profile) {
            return FetchItems(profile, path, keys);
          });
      if (!whole) break;
      std::vector<StoreItem> items;
      std::vector<const LightItem*> taken;
      for (size_t j = 0; j < whole->size(); ++j) {
        // Stopping ends the pass at the next item: what is in hand is still filed whole.
        if (Stopped()) break;
        const auto& item = (*whole)[j];
        if (item.key.empty()) continue;  // gone from the folder meanwhile
        items.push_back({item.key, scan.path, item.received, outlook::MessageText(item)});
        taken.push_back(light[j]);
      }
      if (items.empty()) continue;
      std::vector<FileOutcome> outcomes;
      try {
        outcomes = store->FileItems(items, now_);
      } catch (const VbError& e) {
        Error(taken.front()->subject, e.Description());
        continue;
      }
      for (size_t j = 0; j < outcomes.size(); ++j) {
        filed_[items[j].key] = now_;
        if (outcomes[j] != FileOutcome::kFiled) continue;
        ++counter;
        ++agentFiled_;
        watermark_ = std::max(watermark_, items[j].received);
        ItemEvents(taken[j]->subject);
      }
      RecordStore(*store, group.name);
    }
    itemRef_ = nullptr;
    Status(kStoreComplete);
  }

  // False when purging this agent ends (told to stop, or not to purge any more).
  bool PurgeFolder(const AgentPlan& plan, const FolderScan& scan) {
    folderRef_ = MakeRef<FolderAtStep>(scan);
    itemRef_ = nullptr;
    Status(kFolderStarted);
    std::vector<const LightItem*> due;
    for (const auto& item : scan.items) {
      const auto it = filed_.find(item.key);
      if (it != filed_.end() && PurgeDue(it->second, now_, plan.agent.removePeriod))
        due.push_back(&item);
    }
    bool goOn = true;
    if (!due.empty() && readOnly_) {
      // Nothing leaves a read-only profile: the log says what a purge would take.
      for (const auto* item : due)
        Log("Not purged, the mail profile is read-only: \"" + item->subject + "\" in " + scan.path);
    } else if (!due.empty()) {
      const int32_t choice = PurgeChoice(plan.agent.id);
      bool purge = choice == 1 || choice == 0;
      if (choice == 0) {
        purge = Ask(plan, scan, static_cast<int32_t>(due.size())) == 0;
        // The answer may have changed the remembered choice.
        if (PurgeChoice(plan.agent.id) == 2) goOn = false;
      }
      if (choice == 2) goOn = false;
      if (purge && !Stopped()) RemoveItems(scan, due);
    }
    itemRef_ = nullptr;
    Status(kFolderComplete);
    return goOn && !Stopped();
  }

  int32_t PurgeChoice(int16_t agentId) {
    const auto lock = core_.Lock();
    const AgentData* agent = core_.FindAgent(agentId);
    if (agent == nullptr || agent->purgeDisabled) return 2;
    return agent->purgeNotify;
  }

  int16_t Ask(const AgentPlan& plan, const FolderScan& scan, int32_t count) {
    auto reply = std::make_shared<Reply>();
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kNotify;
    entry.snapshot = Snapshot(true);
    entry.details = MakeRef<PurgeDetailsRecord>(count, ItemTypeWords(scan.itemType), folderRef_,
                                                plan.agent.name);
    entry.reply = reply;
    if (!channel_->Enqueue(std::move(entry), channel_) || !channel_->Wait(reply)) {
      stopped_ = true;
      return 1;
    }
    return reply->result;
  }

  void RemoveItems(const FolderScan& scan, const std::vector<const LightItem*>& due) {
    const size_t batch = static_cast<size_t>(std::max(1, owner_.options_.batchItems));
    for (size_t from = 0; from < due.size() && !Stopped(); from += batch) {
      std::unordered_set<std::string> keys;
      std::vector<const LightItem*> taken;
      for (size_t j = from; j < std::min(due.size(), from + batch); ++j) {
        if (Stopped()) break;
        keys.insert(due[j]->key);
        taken.push_back(due[j]);
      }
      if (keys.empty()) break;
      const auto changed = owner_.options_.profileChanged;
      const auto removed = OnPanel<int32_t>(
          [path = scan.path, keys, changed](outlook::MailProfile& profile) -> int32_t {
            const auto folder = profile.FindFolder(path);
            const int32_t n = folder ? folder->RemoveItems(keys) : 0;
            if (n > 0 && changed) changed();
            return n;
          });
      if (!removed) break;
      purged_ += *removed;
      agentPurged_ += *removed;
      for (const auto* item : taken)
        ItemEvents(item->subject);
    }
  }

  // The store's figures after a commit, and the agent's link to it.
  void RecordStore(const StoreDatabase& store, const std::string& name) {
    int64_t count = 0;
    Date first;
    Date last;
    try {
      count = store.ItemCount();
      first = store.FirstEntry();
      last = store.LastEntry();
    } catch (const VbError& e) {
      Log(e.Description());
      return;
    }
    if (std::find(agentPeriods_.begin(), agentPeriods_.end(), name) == agentPeriods_.end())
      agentPeriods_.push_back(name);
    const auto lock = core_.Lock();
    if (PeriodData* period = core_.FindPeriod(name)) {
      period->itemCount = static_cast<int32_t>(std::min<int64_t>(count, INT32_MAX));
      period->firstEntry = first;
      period->lastEntry = last;
      period->watermark = last;
    }
    core_.Save();
  }

  void RecordAgentFigures(const AgentPlan& plan) {
    const auto lock = core_.Lock();
    AgentData* agent = core_.FindAgent(plan.agent.id);
    if (agent == nullptr) return;
    agent->itemCount += agentFiled_;
    if (agentFiled_ > 0) agent->lastFile = now_;
    if (agentPurged_ > 0) agent->lastPurge = now_;
    agent->watermark = std::max(agent->watermark, watermark_);
    agent->unfiledItems = plan.unfiled;
    int32_t inFolders = 0;
    for (const auto& scan : plan.folders) {
      for (const auto& item : scan.items) {
        if (filed_.contains(item.key)) ++inFolders;
      }
    }
    agent->itemsToPurge = std::max(0, inFolders - agentPurged_);
    for (const auto& name : agentPeriods_) {
      if (std::find(agent->periods.begin(), agent->periods.end(), name) == agent->periods.end())
        agent->periods.push_back(name);
    }
    for (const auto& name : agent->periods) {
      if (const PeriodData* period = core_.FindPeriod(name)) {
        if (agent->earliestStore.IsZero() || period->start < agent->earliestStore)
          agent->earliestStore = period->start;
        agent->mostRecentStore = std::max(agent->mostRecentStore, period->start);
      }
    }
    core_.Save();
  }

  void ItemEvents(const std::string& subject) {
    if (!itemEvents_) return;
    itemRef_ = MakeRef<ItemAtStep>(subject);
    Status(kItemStarted);
    Status(kItemComplete);
  }

  void Error(const std::string& subject, const std::string& why) {
    ++errors_;
    Log(why);
    itemRef_ = MakeRef<ItemAtStep>(subject);
    Status(kProcessingError);
  }

  MonitorSnapshot Snapshot(bool processing) const {
    MonitorSnapshot s;
    s.processing = processing;
    s.agent = agentRef_;
    s.folder = folderRef_;
    s.item = itemRef_;
    s.store = store_;
    s.progress = Counts({{"Filed", filedCount_},
                         {"Imported", imported_},
                         {"Purged", purged_},
                         {"Errors", errors_}});
    s.forecast = forecast_;
    return s;
  }

  void Status(int32_t code) {
    if (!statusEvents_ && code != kProcessingError) return;
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kStatus;
    entry.code = code;
    entry.snapshot = Snapshot(true);
    if (!channel_->Enqueue(std::move(entry), channel_)) stopped_ = true;
  }

  // The last word of a pass is queued even when the panel lags behind; with
  // last, the pass is over in the same step, so that whoever waits for its
  // end finds the word queued.
  void Activity(const std::string& text, bool processing, bool last) {
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kActivity;
    entry.text = text;
    entry.snapshot = Snapshot(processing);
    std::lock_guard lock(channel_->mutex);
    if (last) {
      {
        std::lock_guard state(owner_.mutex_);
        owner_.active_ = false;
      }
      ++owner_.passesDone_;
    }
    if (channel_->closed) return;
    channel_->queue.push_back(std::move(entry));
    if (!channel_->drainPosted) {
      channel_->drainPosted = true;
      auto self = channel_;
      channel_->post([self] { self->Drain(self); });
    }
    channel_->changed.notify_all();
  }

  void Log(const std::string& text) {
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kLog;
    entry.text = text;
    channel_->Enqueue(std::move(entry), channel_);
  }

  Processor& owner_;
  EngineCore& core_;
  std::shared_ptr<EventChannel> channel_;
  const Date now_;
  bool stopped_ = false;
  bool readOnly_ = false;
  bool statusEvents_ = true;
  bool itemEvents_ = false;
  PassPlan plan_;
  std::unordered_map<std::string, Date> filed_;
  Collection<Ref<ActivityCount>> forecast_;
  int32_t filedCount_ = 0;
  int32_t imported_ = 0;
  int32_t purged_ = 0;
  int32_t errors_ = 0;
  int32_t agentFiled_ = 0;
  int32_t agentPurged_ = 0;
  std::vector<std::string> agentPeriods_;
  Date watermark_;
  Ref<Agent> agentRef_;
  Ref<MAPIFolder> folderRef_;
  Ref<OutlookItem> itemRef_;
  std::string store_;
};

// ---- the processor ----

Processor::Processor(ProcessorOptions options)
    : options_(std::move(options)), channel_(std::make_shared<EventChannel>()) {
  channel_->post = options_.post;
}

Processor::~Processor() {
  StopWorker(false);
}

void Processor::EnsureWorker(EngineCore& core) {
  core_ = &core;
  channel_->core = &core;
  if (worker_.joinable()) return;
  worker_ = std::thread([this] { WorkerLoop(); });
}

void Processor::Request(EngineCore& core) {
  {
    const auto lock = core.Lock();
    if (!core.Settings().running) return;
  }
  if (!options_.post) return;
  EnsureWorker(core);
  {
    std::lock_guard lock(mutex_);
    if (quit_) return;
    wanted_ = true;
    wantedAt_ = core.Now();
    int32_t minutes = 5;
    {
      const auto data = core.Lock();
      minutes = std::max(1, core.Settings().passMinutes);
    }
    nextPass_ = AddSeconds(wantedAt_, minutes * 60.0);
  }
  stop_ = false;
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = false;
  }
  wake_.notify_all();
}

void Processor::Started(EngineCore& core) {
  Request(core);
}

void Processor::FileNow(EngineCore& core, int16_t /*agentId*/) {
  Request(core);
}

void Processor::PurgeNow(EngineCore& core, int16_t /*agentId*/) {
  Request(core);
}

void Processor::Tick() {
  if (core_ == nullptr) return;
  {
    const auto lock = core_->Lock();
    if (!core_->Settings().running) return;
  }
  const Date now = core_->Now();
  {
    std::lock_guard lock(mutex_);
    if (active_ || wanted_ || now < nextPass_) return;
  }
  Request(*core_);
}

bool Processor::Busy() const {
  std::lock_guard lock(mutex_);
  return active_ || wanted_;
}

void Processor::WorkerLoop() {
  while (true) {
    Date at;
    {
      std::unique_lock lock(mutex_);
      wake_.wait_for(lock, options_.poll, [this] { return quit_ || wanted_; });
      if (quit_) return;
      if (!wanted_) {
        lock.unlock();
        ChannelEntry tick;
        tick.kind = ChannelEntry::Kind::kTask;
        tick.task = [this] { Tick(); };
        channel_->Enqueue(std::move(tick), channel_);
        continue;
      }
      wanted_ = false;
      active_ = true;
      at = wantedAt_;
    }
    Pass(*this, *core_, at).Run();
  }
}

void Processor::Stopping(EngineCore& /*core*/) {
  {
    std::lock_guard lock(mutex_);
    wanted_ = false;
    if (!active_) return;
  }
  stop_ = true;
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = true;
  }
  channel_->changed.notify_all();
  // The pass's last events are delivered here, before the engine reports
  // that it stopped.
  while (true) {
    while (channel_->DeliverOne()) {
    }
    std::unique_lock lock(channel_->mutex);
    const auto passOver = [this] {
      std::lock_guard state(mutex_);
      return !active_;
    };
    if (channel_->queue.empty() && passOver()) break;
    channel_->changed.wait(lock, [&] { return !channel_->queue.empty() || passOver(); });
  }
}

void Processor::Shutdown(EngineCore& core, bool deliver) {
  if (deliver) Stopping(core);
  StopWorker(deliver);
}

void Processor::StopWorker(bool deliver) {
  stop_ = true;
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
    wanted_ = false;
  }
  wake_.notify_all();
  {
    std::lock_guard lock(channel_->mutex);
    channel_->cancelWaits = true;
    if (!deliver) channel_->closed = true;
  }
  channel_->changed.notify_all();
  if (worker_.joinable()) worker_.join();
  if (deliver) {
    while (channel_->DeliverOne()) {
    }
  }
  std::lock_guard lock(channel_->mutex);
  channel_->closed = true;
  channel_->queue.clear();
}

int32_t Processor::ForecastItemCount(EngineCore& core) {
  const auto profile = options_.profile ? options_.profile() : nullptr;
  if (!profile) return 0;
  std::vector<AgentData> agents;
  std::vector<PeriodData> periods;
  {
    const auto lock = core.Lock();
    agents = core.Data().agents;
    periods = core.Data().periods;
  }
  std::vector<std::vector<FolderScan>> folders;
  std::vector<std::vector<FolderScan>> imports;
  for (const auto& agent : agents) {
    folders.push_back(ScanFolders(*profile, FolderRoots(agent), nullptr));
    imports.push_back(ScanFolders(*profile, ImportRoots(agent), nullptr));
  }
  const PassPlan plan = MakePlan(std::move(agents), std::move(folders), std::move(imports),
                                 FiledKeys(core, periods, nullptr), core.Now());
  return plan.files + plan.imports;
}

}  // namespace vellix::engine
