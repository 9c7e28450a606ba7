#include "servers/engine/pass_plan.h"

#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <unordered_set>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/store_database.h"

namespace vellix::engine {

namespace {

void ListInto(outlook::ProfileFolder& folder, bool subFolders, std::vector<FolderScan>& out) {
  FolderScan scan;
  scan.path = folder.FolderPath();
  scan.name = folder.Name();
  scan.itemType = folder.DefaultItemType();
  scan.listed = folder.Items().size();
  out.push_back(std::move(scan));
  if (!subFolders) return;
  for (const auto& child : folder.SubFolders())
    ListInto(*child, true, out);
}

}  // namespace

std::vector<FolderScan> ListFolders(outlook::MailProfile& profile,
                                    const std::vector<std::pair<std::string, bool>>& roots,
                                    std::vector<std::string>* missing) {
  std::vector<FolderScan> out;
  for (const auto& [path, subFolders] : roots) {
    const auto folder = profile.FindFolder(path);
    if (!folder) {
      if (missing != nullptr) missing->push_back(path);
      continue;
    }
    ListInto(*folder, subFolders, out);
  }
  std::set<std::string> seen;
  std::erase_if(out, [&](const FolderScan& f) { return !seen.insert(LCase(f.path)).second; });
  return out;
}

std::vector<LightItem> ScanSlice(outlook::MailProfile& profile, const std::string& path,
                                 size_t from, size_t to) {
  std::vector<LightItem> out;
  const auto folder = profile.FindFolder(path);
  if (!folder) return out;
  const auto& items = folder->Items();
  to = std::min(to, items.size());
  for (size_t i = from; i < to; ++i)
    out.push_back({items[i].key, items[i].received, items[i].subject, i});
  return out;
}

std::vector<FolderScan> ScanFolders(outlook::MailProfile& profile,
                                    const std::vector<std::pair<std::string, bool>>& roots,
                                    std::vector<std::string>* missing) {
  auto out = ListFolders(profile, roots, missing);
  for (auto& scan : out)
    scan.items = ScanSlice(profile, scan.path, 0, scan.listed);
  return out;
}

std::vector<outlook::ProfileItem> FetchItems(outlook::MailProfile& profile, const std::string& path,
                                             const std::vector<std::string>& keys,
                                             const std::vector<size_t>& positions) {
  std::vector<outlook::ProfileItem> out(keys.size());
  const auto folder = profile.FindFolder(path);
  if (!folder) return out;
  const auto& items = folder->Items();
  std::unordered_map<std::string_view, size_t> moved;
  for (size_t i = 0; i < keys.size(); ++i) {
    const size_t at = i < positions.size() ? positions[i] : items.size();
    if (at < items.size() && items[at].key == keys[i]) {
      out[i] = items[at];
    } else {
      moved.emplace(keys[i], i);
    }
  }
  if (moved.empty()) return out;
  for (const auto& item : items) {
    if (auto it = moved.find(item.key); it != moved.end()) out[it->second] = item;
  }
  return out;
}

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

bool Purges(const AgentData& agent) {
  return !agent.purgeDisabled && agent.purgeNotify != 2;
}

bool PurgeDue(Date filed, Date now, int32_t removeDays) {
  return now.Serial() - filed.Serial() > static_cast<double>(removeDays);
}

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

}  // namespace vellix::engine
