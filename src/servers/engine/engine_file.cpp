#include "servers/engine/engine_file.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include <pugixml.hpp>

#include "foundation/text.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/number_text.h"

namespace vellix::engine {

namespace {

constexpr const char* kRoot = "VellixEngine";
constexpr const char* kVersion = "1";
// A configuration is a few kilobytes; anything near this is not one.
constexpr std::size_t kFileLimit = 64U * 1024U * 1024U;

// --- writing ---

void Put(pugi::xml_node node, const char* name, const std::string& value) {
  node.append_attribute(name).set_value(value.c_str());
}
void Put(pugi::xml_node node, const char* name, bool value) {
  node.append_attribute(name).set_value(value ? "True" : "False");
}
void Put(pugi::xml_node node, const char* name, int64_t value) {
  node.append_attribute(name).set_value(std::to_string(value).c_str());
}
void Put(pugi::xml_node node, const char* name, Date value) {
  node.append_attribute(name).set_value(DateText(value).c_str());
}

void WriteSettings(pugi::xml_node node, const EngineData& data) {
  const EngineSettings& s = data.settings;
  Put(node, "Configured", s.configured);
  Put(node, "Running", s.running);
  Put(node, "LoggingLevel", s.loggingLevel);
  Put(node, "PeriodFormat", s.periodFormat);
  Put(node, "PeriodCount", int64_t{s.periodCount});
  Put(node, "PeriodUnits", s.periodUnits);
  Put(node, "ReferenceDate", s.referenceDate);
  Put(node, "StoreLocation", s.storeLocation);
  Put(node, "BackupLocation", s.backupLocation);
  Put(node, "BackupEveryCount", int64_t{s.backupEveryCount});
  Put(node, "BackupEveryUnits", s.backupEveryUnits);
  Put(node, "NextBackup", s.nextBackup);
  Put(node, "LastBackup", s.lastBackup);
  Put(node, "BackupPolicy", int64_t{s.backupPolicy});
  Put(node, "BackupUnattended", s.backupUnattended);
  Put(node, "HistoryName", s.historyName);
  Put(node, "NextAgentId", int64_t{data.nextAgentId});
}

void WriteAgent(pugi::xml_node node, const AgentData& a) {
  Put(node, "Id", int64_t{a.id});
  Put(node, "Name", a.name);
  Put(node, "MonitorType", a.monitorType);
  Put(node, "SubFolders", a.subFolders);
  Put(node, "StoreCount", int64_t{a.storeCount});
  Put(node, "StoreUnits", a.storeUnits);
  Put(node, "StoreFormat", a.storeFormat);
  Put(node, "FileAfterCount", int64_t{a.fileAfterCount});
  Put(node, "FileAfterUnits", a.fileAfterUnits);
  Put(node, "FileDisabled", a.fileDisabled);
  Put(node, "RemovePeriod", int64_t{a.removePeriod});
  Put(node, "PurgeDisabled", a.purgeDisabled);
  Put(node, "PurgeNotify", int64_t{a.purgeNotify});
  Put(node, "ImportTime", a.importTime);
  Put(node, "ItemCount", int64_t{a.itemCount});
  Put(node, "UnfiledItems", int64_t{a.unfiledItems});
  Put(node, "ItemsToPurge", int64_t{a.itemsToPurge});
  Put(node, "EarliestStore", a.earliestStore);
  Put(node, "MostRecentStore", a.mostRecentStore);
  Put(node, "LastPurge", a.lastPurge);
  Put(node, "LastFile", a.lastFile);
  Put(node, "Watermark", a.watermark);
  for (const auto& folder : a.folders)
    Put(node.append_child("Folder"), "Path", folder);
  for (const auto& import : a.imports) {
    auto child = node.append_child("Import");
    Put(child, "Path", import.path);
    Put(child, "SubFolders", import.subFolders);
  }
  for (const auto& period : a.periods)
    Put(node.append_child("StorePeriod"), "Name", period);
}

void WritePeriod(pugi::xml_node node, const PeriodData& p) {
  Put(node, "Name", p.name);
  Put(node, "FileName", p.fileName);
  Put(node, "Start", p.start);
  Put(node, "End", p.end);
  Put(node, "LastBackup", p.lastBackup);
  Put(node, "Watermark", p.watermark);
  Put(node, "FirstEntry", p.firstEntry);
  Put(node, "LastEntry", p.lastEntry);
  Put(node, "ItemCount", int64_t{p.itemCount});
  Put(node, "Connected", p.connected);
}

// --- reading ---

// Reads the attributes of one element; a value that can't be read keeps the
// default and is named in the problems.
class Fields {
 public:
  Fields(pugi::xml_node node, std::string where, std::vector<std::string>& problems)
      : node_(node), where_(std::move(where)), problems_(problems) {}

  void Text(const char* name, std::string& out) const {
    if (auto a = node_.attribute(name)) out = a.value();
  }
  void Flag(const char* name, bool& out) const {
    auto a = node_.attribute(name);
    if (!a) return;
    if (EqualsText(a.value(), "True")) {
      out = true;
    } else if (EqualsText(a.value(), "False")) {
      out = false;
    } else {
      Problem(name, a.value());
    }
  }
  template <class Int>
  void Number(const char* name, Int& out) const {
    auto a = node_.attribute(name);
    if (!a) return;
    const auto v =
        ParseInteger(a.value(), std::numeric_limits<Int>::min(), std::numeric_limits<Int>::max());
    if (v) {
      out = static_cast<Int>(*v);
    } else {
      Problem(name, a.value());
    }
  }
  void When(const char* name, Date& out) const {
    auto a = node_.attribute(name);
    if (!a) return;
    if (const auto v = ParseDouble(a.value())) {
      out = Date(*v);
    } else {
      Problem(name, a.value());
    }
  }

 private:
  void Problem(const char* name, const char* value) const {
    problems_.push_back(where_ + ": " + name + " \"" + value + "\" can't be read");
  }

  pugi::xml_node node_;
  std::string where_;
  std::vector<std::string>& problems_;
};

void ReadSettings(pugi::xml_node node, EngineData& data, std::vector<std::string>& problems) {
  const Fields f(node, "Settings", problems);
  EngineSettings& s = data.settings;
  f.Flag("Configured", s.configured);
  f.Flag("Running", s.running);
  f.Text("LoggingLevel", s.loggingLevel);
  f.Text("PeriodFormat", s.periodFormat);
  f.Number("PeriodCount", s.periodCount);
  f.Text("PeriodUnits", s.periodUnits);
  f.When("ReferenceDate", s.referenceDate);
  f.Text("StoreLocation", s.storeLocation);
  f.Text("BackupLocation", s.backupLocation);
  f.Number("BackupEveryCount", s.backupEveryCount);
  f.Text("BackupEveryUnits", s.backupEveryUnits);
  f.When("NextBackup", s.nextBackup);
  f.When("LastBackup", s.lastBackup);
  f.Number("BackupPolicy", s.backupPolicy);
  f.Flag("BackupUnattended", s.backupUnattended);
  f.Text("HistoryName", s.historyName);
  f.Number("NextAgentId", data.nextAgentId);
}

bool ReadAgent(pugi::xml_node node, const EngineData& data, AgentData& a,
               std::vector<std::string>& problems) {
  const std::string where = std::string("Agent \"") + node.attribute("Name").value() + "\"";
  const auto id =
      ParseInteger(node.attribute("Id").value(), 1, std::numeric_limits<int16_t>::max());
  if (!id) {
    problems.push_back(where + " has no usable Id and was dropped");
    return false;
  }
  a.id = static_cast<int16_t>(*id);
  a.name = node.attribute("Name").value();
  if (a.name.empty()) {
    problems.push_back("an agent without a name was dropped");
    return false;
  }
  for (const auto& other : data.agents) {
    if (other.id == a.id || EqualsText(other.name, a.name)) {
      problems.push_back(where + " repeats the Id or name of another agent and was dropped");
      return false;
    }
  }
  const Fields f(node, where, problems);
  f.Text("MonitorType", a.monitorType);
  f.Flag("SubFolders", a.subFolders);
  f.Number("StoreCount", a.storeCount);
  f.Text("StoreUnits", a.storeUnits);
  f.Text("StoreFormat", a.storeFormat);
  f.Number("FileAfterCount", a.fileAfterCount);
  f.Text("FileAfterUnits", a.fileAfterUnits);
  f.Flag("FileDisabled", a.fileDisabled);
  f.Number("RemovePeriod", a.removePeriod);
  f.Flag("PurgeDisabled", a.purgeDisabled);
  f.Number("PurgeNotify", a.purgeNotify);
  f.When("ImportTime", a.importTime);
  f.Number("ItemCount", a.itemCount);
  f.Number("UnfiledItems", a.unfiledItems);
  f.Number("ItemsToPurge", a.itemsToPurge);
  f.When("EarliestStore", a.earliestStore);
  f.When("MostRecentStore", a.mostRecentStore);
  f.When("LastPurge", a.lastPurge);
  f.When("LastFile", a.lastFile);
  f.When("Watermark", a.watermark);
  for (auto child : node.children("Folder"))
    a.folders.emplace_back(child.attribute("Path").value());
  for (auto child : node.children("Import")) {
    ImportFolderData import{child.attribute("Path").value(), true};
    Fields(child, where + " import", problems).Flag("SubFolders", import.subFolders);
    a.imports.push_back(std::move(import));
  }
  for (auto child : node.children("StorePeriod")) {
    a.periods.emplace_back(child.attribute("Name").value());
  }
  return true;
}

bool ReadPeriod(pugi::xml_node node, const EngineData& data, PeriodData& p,
                std::vector<std::string>& problems) {
  p.name = node.attribute("Name").value();
  if (p.name.empty()) {
    problems.push_back("a period without a name was dropped");
    return false;
  }
  const std::string where = "Period \"" + p.name + "\"";
  for (const auto& other : data.periods) {
    if (EqualsText(other.name, p.name)) {
      problems.push_back(where + " repeats the name of another period and was dropped");
      return false;
    }
  }
  const Fields f(node, where, problems);
  f.Text("FileName", p.fileName);
  f.When("Start", p.start);
  f.When("End", p.end);
  f.When("LastBackup", p.lastBackup);
  f.When("Watermark", p.watermark);
  f.When("FirstEntry", p.firstEntry);
  f.When("LastEntry", p.lastEntry);
  f.Number("ItemCount", p.itemCount);
  f.Flag("Connected", p.connected);
  return true;
}

}  // namespace

std::string EngineFileText(const EngineData& data) {
  pugi::xml_document doc;
  auto decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version").set_value("1.0");
  decl.append_attribute("encoding").set_value("UTF-8");
  auto root = doc.append_child(kRoot);
  root.append_attribute("FormatVersion").set_value(kVersion);
  if (!data.savedTime.IsZero()) Put(root, "SavedTime", data.savedTime);
  WriteSettings(root.append_child("Settings"), data);
  auto agents = root.append_child("Agents");
  for (const auto& a : data.agents)
    WriteAgent(agents.append_child("Agent"), a);
  auto periods = root.append_child("Periods");
  for (const auto& p : data.periods)
    WritePeriod(periods.append_child("Period"), p);
  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

bool WriteEngineFile(const std::filesystem::path& file, const EngineData& data,
                     std::string* error) {
  return WriteFileAtomically(file, EngineFileText(data), error);
}

EngineFileRead ParseEngineText(std::string_view text) {
  EngineFileRead read;
  read.outcome = EngineFileRead::Outcome::Corrupt;
  pugi::xml_document doc;
  const auto parsed =
      doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    read.error = std::string("the XML is malformed (") + parsed.description() + " at byte " +
                 std::to_string(parsed.offset) + ")";
    return read;
  }
  const auto root = doc.document_element();
  if (std::string_view(root.name()) != kRoot) {
    read.error = "it is not an engine file (its top element is <" + std::string(root.name()) + ">)";
    return read;
  }
  const std::string version = root.attribute("FormatVersion").value();
  if (version != kVersion) {
    read.error = "its format version \"" + version + "\" is not known";
    return read;
  }
  EngineData& data = read.data;
  Fields(root, "the file", read.problems).When("SavedTime", data.savedTime);
  ReadSettings(root.child("Settings"), data, read.problems);
  for (auto node : root.child("Agents").children("Agent")) {
    AgentData a;
    if (ReadAgent(node, data, a, read.problems)) data.agents.push_back(std::move(a));
  }
  for (auto node : root.child("Periods").children("Period")) {
    PeriodData p;
    if (ReadPeriod(node, data, p, read.problems)) data.periods.push_back(std::move(p));
  }
  // Ids are never handed out twice.
  for (const auto& a : data.agents) {
    if (a.id >= data.nextAgentId && a.id < std::numeric_limits<int16_t>::max()) {
      data.nextAgentId = static_cast<int16_t>(a.id + 1);
    }
  }
  read.outcome = EngineFileRead::Outcome::Loaded;
  return read;
}

EngineFileRead ReadEngineFile(const std::filesystem::path& file) {
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) {
    EngineFileRead read;
    read.error = "there is no engine file at " + file.string();
    return read;
  }
  std::string bytes;
  std::string error;
  if (!ReadFileLimited(file, kFileLimit, &bytes, &error)) {
    EngineFileRead read;
    read.outcome = EngineFileRead::Outcome::Corrupt;
    read.error = "the engine file can't be read (" + error + ")";
    return read;
  }
  return ParseEngineText(bytes);
}

}  // namespace vellix::engine
