// One processing pass, run on the processor's worker thread.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "platform/outlook/profile_message.h"
#include "servers/engine/activity_count_record.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/event_channel.h"
#include "servers/engine/monitor_object.h"
#include "servers/engine/pass_plan.h"
#include "servers/engine/processor.h"
#include "servers/engine/profile_tasks.h"
#include "servers/engine/store_database.h"

namespace vellix::engine {

namespace {

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

  bool MakePassPlan(std::vector<AgentData> agents) {
    std::vector<std::vector<std::pair<std::string, bool>>> folderRoots;
    std::vector<std::vector<std::pair<std::string, bool>>> importRoots;
    for (const auto& agent : agents) {
      folderRoots.push_back(FolderRoots(agent));
      importRoots.push_back(ImportRoots(agent));
    }
    struct Lists {
      std::vector<std::vector<FolderScan>> folders;
      std::vector<std::vector<FolderScan>> imports;
      std::vector<std::string> missing;
      std::vector<std::string> problems;
      bool readOnly = false;
    };
    auto lists = tasks_.OnPanel<Lists>([folderRoots, importRoots](outlook::MailProfile& profile) {
      Lists s;
      s.problems = profile.TakeProblems();
      s.readOnly = profile.ReadOnly();
      for (const auto& roots : folderRoots)
        s.folders.push_back(ListFolders(profile, roots, &s.missing));
      for (const auto& roots : importRoots)
        s.imports.push_back(ListFolders(profile, roots, &s.missing));
      return s;
    });
    if (!lists || !tasks_.ReadItems(*lists)) {
      if (!Stopped()) Log("The mail profile can't be read, so nothing was filed");
      return false;
    }
    for (const auto& path : lists->missing)
      Log("The folder " + path + " is not in the mail profile");
    for (const auto& problem : lists->problems)
      Log(problem);
    readOnly_ = lists->readOnly;
    plan_ = MakePlan(std::move(agents), std::move(lists->folders), std::move(lists->imports),
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
        {
          const auto lock = core_.Lock();
          if (AgentData* agent = core_.FindAgent(plan.agent.id)) agent->importTime = Date();
        }
        core_.SaveUnlocked();
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
      // A period's store is made first without the lock, so that the panel
      // does not wait for its file to be made; its names are then read under it.
      if (core_.EnsurePeriodFor(item.received, &why) != nullptr) {
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
    StoreFigures figures;
    if (store) figures = ReadFigures(*store);
    const size_t batch = static_cast<size_t>(std::max(1, owner_.options_.batchItems));
    for (size_t from = 0; store && from < group.items.size() && !Stopped(); from += batch) {
      std::vector<const LightItem*> light;
      for (size_t j = from; j < std::min(group.items.size(), from + batch); ++j)
        light.push_back(&scan.items[group.items[j]]);
      auto whole = tasks_.FetchBatch(scan.path, light);
      if (!whole) break;
      std::vector<StoreItem> items;
      std::vector<const LightItem*> taken;
      for (size_t j = 0; j < whole->size(); ++j) {
        // Stopping ends the pass at the next item: what is in hand is still filed whole.
        if (Stopped()) break;
        auto& item = (*whole)[j];
        if (item.key.empty()) continue;  // gone from the folder meanwhile
        // The fetched copy is the worker's own: its message moves into the store's batch.
        std::string message =
            item.message.empty() ? outlook::MessageText(item) : std::move(item.message);
        items.push_back({item.key, scan.path, item.received, std::move(message)});
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
        figures.Add(items[j].received);
        ItemEvents(taken[j]->subject);
      }
      RecordStore(figures, group.name, false);
    }
    if (figures.unsaved) RecordStore(figures, group.name, true);
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
      const auto removed = tasks_.OnPanel<int32_t>(
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

  StoreFigures ReadFigures(const StoreDatabase& store) {
    StoreFigures figures;
    try {
      figures.count = store.ItemCount();
      figures.first = store.FirstEntry();
      figures.last = store.LastEntry();
      figures.known = true;
    } catch (const VbError& e) {
      Log(e.Description());
    }
    return figures;
  }

  // The store's figures after a commit, and the agent's link to it. The
  // engine file is written when the store is done (last) and at most once a
  // second while it fills: each write is two flushes to the disk, as many
  // as a batch's own commit.
  void RecordStore(StoreFigures& figures, const std::string& name, bool last) {
    if (!figures.known) return;
    const auto now = std::chrono::steady_clock::now();
    figures.unsaved = !last && now - lastSave_ < std::chrono::seconds(1);
    if (std::find(agentPeriods_.begin(), agentPeriods_.end(), name) == agentPeriods_.end())
      agentPeriods_.push_back(name);
    auto lock = core_.Lock();
    if (PeriodData* period = core_.FindPeriod(name)) {
      period->itemCount = static_cast<int32_t>(std::min<int64_t>(figures.count, INT32_MAX));
      period->firstEntry = figures.first;
      period->lastEntry = figures.last;
      period->watermark = figures.last;
    }
    if (figures.unsaved) return;
    lock.unlock();
    core_.SaveUnlocked();
    lastSave_ = now;
  }

  void RecordAgentFigures(const AgentPlan& plan) {
    // Counted before the lock is taken: a large folder takes a while.
    int32_t inFolders = 0;
    for (const auto& scan : plan.folders) {
      for (const auto& item : scan.items) {
        if (filed_.contains(item.key)) ++inFolders;
      }
    }
    auto lock = core_.Lock();
    AgentData* agent = core_.FindAgent(plan.agent.id);
    if (agent == nullptr) return;
    agent->itemCount += agentFiled_;
    if (agentFiled_ > 0) agent->lastFile = now_;
    if (agentPurged_ > 0) agent->lastPurge = now_;
    agent->watermark = std::max(agent->watermark, watermark_);
    agent->unfiledItems = plan.unfiled;
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
    lock.unlock();
    core_.SaveUnlocked();
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
  std::chrono::steady_clock::time_point lastSave_{};
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
  ProfileTasks tasks_{channel_, owner_.options_.profile, owner_.options_.scanSlice, stopped_};
};

void Processor::RunPass(EngineCore& core, Date now) {
  Pass(*this, core, now).Run();
}

}  // namespace vellix::engine
