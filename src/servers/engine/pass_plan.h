#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/date.h"
#include "foundation/monitor.h"
#include "foundation/purge_details.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_folder.h"
#include "servers/engine/engine_data.h"

// What a processing pass works from: the agents' folders as the worker sees
// them, and which items the pass files, imports and purges, worked out
// before it starts.
namespace vellix::engine {

class EngineCore;

// ---- what the profile holds, as the worker sees it ----

struct LightItem {
  std::string key;
  Date received;
  std::string subject;
  size_t position = 0;  // in its folder's items when scanned
};

struct FolderScan {
  std::string path;
  std::string name;
  int32_t itemType = 0;
  std::vector<LightItem> items;
  size_t listed = 0;  // items the folder held when it was listed
};

// The folders at these paths (with what lies below them when asked), each
// once, with how many items they hold but not the items: ScanSlice reads
// those, a slice at a time.
std::vector<FolderScan> ListFolders(outlook::MailProfile& profile,
                                    const std::vector<std::pair<std::string, bool>>& roots,
                                    std::vector<std::string>* missing);

// Items from..to (to past the end reads to the end) of the folder at path as
// it stands now; nothing when the folder is gone.
std::vector<LightItem> ScanSlice(outlook::MailProfile& profile, const std::string& path,
                                 size_t from, size_t to);

// The folders with all their items, read at once.
std::vector<FolderScan> ScanFolders(outlook::MailProfile& profile,
                                    const std::vector<std::pair<std::string, bool>>& roots,
                                    std::vector<std::string>* missing);

// Whole items by key, in the order asked; an item no longer there comes back
// without a key. Each is looked for first where it was scanned (positions,
// one for each key), and in the whole folder only when it moved.
std::vector<outlook::ProfileItem> FetchItems(outlook::MailProfile& profile, const std::string& path,
                                             const std::vector<std::string>& keys,
                                             const std::vector<size_t>& positions);

// The delay before an item is filed, in seconds, by the control panel's own reckoning.
int64_t DelaySeconds(int32_t count, const std::string& units);

// The kind of item a folder holds by default, in words ("Email", "Contact").
std::string ItemTypeWords(int32_t itemType);

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

// ---- what a pass will do ----

// The codes of the processing log.
enum ProcessingCode : int32_t {
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

// A store's count and span of received dates: read once when it opens and
// kept up with each commit, so that a batch costs no scan of the store.
struct StoreFigures {
  bool known = false;
  bool unsaved = false;  // figures the engine file does not hold yet
  int64_t count = 0;
  Date first;
  Date last;
  void Add(Date received) {
    ++count;
    if (first.IsZero() || received < first) first = received;
    last = std::max(last, received);
  }
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

// The agent purges what it filed (it is not told to leave it).
bool Purges(const AgentData& agent);
bool PurgeDue(Date filed, Date now, int32_t removeDays);

// Every key the stores hold, with when it was filed. A store that can't be
// read holds nothing for this pass; its items wait.
std::unordered_map<std::string, Date> FiledKeys(EngineCore& core,
                                                const std::vector<PeriodData>& periods,
                                                std::vector<std::string>* problems);

// Which items the pass files, imports and purges. An item is taken once in a
// pass, by the first agent that reaches it.
PassPlan MakePlan(std::vector<AgentData> agents, std::vector<std::vector<FolderScan>> folders,
                  std::vector<std::vector<FolderScan>> imports,
                  const std::unordered_map<std::string, Date>& filed, Date now);

// The folders an agent files from, and those it imports, with whether their
// sub-folders go with them.
std::vector<std::pair<std::string, bool>> FolderRoots(const AgentData& agent);
std::vector<std::pair<std::string, bool>> ImportRoots(const AgentData& agent);

}  // namespace vellix::engine
