#include "servers/engine/engine_file.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <type_traits>
#include <variant>

#include <pugixml.hpp>

#include "foundation/text.h"
#include "servers/common/file_trouble.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/number_text.h"

namespace vellix::engine {

namespace {

constexpr const char* kRoot = "VellixEngine";
constexpr const char* kVersion = "1";
// A configuration is a few kilobytes; anything near this is not one.
constexpr std::size_t kFileLimit = 64U * 1024U * 1024U;

// --- the fields of each record, in the order the file writes them ---

// One attribute of a record: its name in the file and the member it holds.
// The one list of a record's fields that writing and reading both follow.
template <class Record>
struct Field {
  const char* name;
  std::variant<std::string Record::*, bool Record::*, int16_t Record::*, int32_t Record::*,
               Date Record::*>
      member;
};

const Field<EngineSettings> kSettingsFields[] = {
    {"Configured", &EngineSettings::configured},
    {"Running", &EngineSettings::running},
    {"LoggingLevel", &EngineSettings::loggingLevel},
    {"PeriodFormat", &EngineSettings::periodFormat},
    {"PeriodCount", &EngineSettings::periodCount},
    {"PeriodUnits", &EngineSettings::periodUnits},
    {"ReferenceDate", &EngineSettings::referenceDate},
    {"StoreLocation", &EngineSettings::storeLocation},
    {"BackupLocation", &EngineSettings::backupLocation},
    {"BackupEveryCount", &EngineSettings::backupEveryCount},
    {"BackupEveryUnits", &EngineSettings::backupEveryUnits},
    {"NextBackup", &EngineSettings::nextBackup},
    {"LastBackup", &EngineSettings::lastBackup},
    {"BackupPolicy", &EngineSettings::backupPolicy},
    {"BackupUnattended", &EngineSettings::backupUnattended},
    {"HistoryName", &EngineSettings::historyName},
    {"PassMinutes", &EngineSettings::passMinutes},
};
// Written after the settings' own fields, on the same element.
constexpr const char* kNextAgentId = "NextAgentId";

// The agent's folders, imports and store periods are child elements.
const Field<AgentData> kAgentFields[] = {
    {"Id", &AgentData::id},
    {"Name", &AgentData::name},
    {"MonitorType", &AgentData::monitorType},
    {"SubFolders", &AgentData::subFolders},
    {"StoreCount", &AgentData::storeCount},
    {"StoreUnits", &AgentData::storeUnits},
    {"StoreFormat", &AgentData::storeFormat},
    {"FileAfterCount", &AgentData::fileAfterCount},
    {"FileAfterUnits", &AgentData::fileAfterUnits},
    {"FileDisabled", &AgentData::fileDisabled},
    {"RemovePeriod", &AgentData::removePeriod},
    {"PurgeDisabled", &AgentData::purgeDisabled},
    {"PurgeNotify", &AgentData::purgeNotify},
    {"ImportTime", &AgentData::importTime},
    {"ItemCount", &AgentData::itemCount},
    {"UnfiledItems", &AgentData::unfiledItems},
    {"ItemsToPurge", &AgentData::itemsToPurge},
    {"EarliestStore", &AgentData::earliestStore},
    {"MostRecentStore", &AgentData::mostRecentStore},
    {"LastPurge", &AgentData::lastPurge},
    {"LastFile", &AgentData::lastFile},
    {"Watermark", &AgentData::watermark},
};

const Field<PeriodData> kPeriodFields[] = {
    {"Name", &PeriodData::name},
    {"FileName", &PeriodData::fileName},
    {"Start", &PeriodData::start},
    {"End", &PeriodData::end},
    {"LastBackup", &PeriodData::lastBackup},
    {"Watermark", &PeriodData::watermark},
    {"FirstEntry", &PeriodData::firstEntry},
    {"LastEntry", &PeriodData::lastEntry},
    {"ItemCount", &PeriodData::itemCount},
    {"Connected", &PeriodData::connected},
};

// --- writing ---

template <class T>
void Put(pugi::xml_node node, const char* name, const T& value) {
  auto attribute = node.append_attribute(name);
  if constexpr (std::is_same_v<T, std::string>) {
    attribute.set_value(value.c_str());
  } else if constexpr (std::is_same_v<T, bool>) {
    attribute.set_value(value ? "True" : "False");
  } else if constexpr (std::is_same_v<T, Date>) {
    attribute.set_value(DateText(value).c_str());
  } else {
    attribute.set_value(std::to_string(value).c_str());
  }
}

template <class Record, std::size_t N>
void PutFields(pugi::xml_node node, const Record& record, const Field<Record> (&fields)[N]) {
  for (const auto& field : fields) {
    std::visit([&](auto member) { Put(node, field.name, record.*member); }, field.member);
  }
}

void WriteAgent(pugi::xml_node node, const AgentData& a) {
  PutFields(node, a, kAgentFields);
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

// --- reading ---

// The problems of a file: the first one said in full and how many there are.
// Only the first is shown, and saying where a problem is means counting the
// lines before it, so the others are only counted.
struct Problems {
  std::string first;
  std::size_t count = 0;
};

// Reads the attributes of one element; a value that can't be read is named
// in the problems, and any problem makes the whole file unreadable.
class Fields {
 public:
  Fields(pugi::xml_node node, std::string where, std::string_view source, Problems& problems)
      : node_(node), where_(std::move(where)), source_(source), problems_(problems) {}

  template <class T>
  void Read(const char* name, T& out) const {
    auto a = node_.attribute(name);
    if (!a) return;
    const std::string_view text = a.value();
    if constexpr (std::is_same_v<T, std::string>) {
      out = text;
    } else if constexpr (std::is_same_v<T, bool>) {
      if (EqualsText(text, "True")) {
        out = true;
      } else if (EqualsText(text, "False")) {
        out = false;
      } else {
        Problem(name, text);
      }
    } else if constexpr (std::is_same_v<T, Date>) {
      if (const auto v = ParseDouble(text)) {
        out = Date(*v);
      } else {
        Problem(name, text);
      }
    } else {
      if (const auto v =
              ParseInteger(text, std::numeric_limits<T>::min(), std::numeric_limits<T>::max())) {
        out = static_cast<T>(*v);
      } else {
        Problem(name, text);
      }
    }
  }

  template <class Record, std::size_t N>
  void ReadAll(Record& record, const Field<Record> (&fields)[N]) const {
    for (const auto& field : fields) {
      std::visit([&](auto member) { Read(field.name, record.*member); }, field.member);
    }
  }

  void Problem(std::string_view what) const {
    if (problems_.count++ == 0)
      problems_.first = where_ + " " + std::string(what) + " (" + Position() + ")";
  }

 private:
  void Problem(const char* name, std::string_view value) const {
    if (problems_.count++ == 0) {
      problems_.first = where_ + ": " + name + " \"" + std::string(value) + "\" can't be read (" +
                        Position() + ")";
    }
  }
  [[nodiscard]] std::string Position() const {
    // The parser marks an element by its name; the user looks for its '<'.
    const auto offset = std::max<std::ptrdiff_t>(0, node_.offset_debug() - 1);
    return servers::LineAndColumn(source_, static_cast<std::size_t>(offset));
  }

  pugi::xml_node node_;
  std::string where_;
  std::string_view source_;
  Problems& problems_;
};

void ReadAgent(const Fields& f, pugi::xml_node node, const EngineData& data, AgentData& a,
               Problems& problems, std::string_view source) {
  f.ReadAll(a, kAgentFields);
  if (a.id < 1) f.Problem("has no usable Id");
  if (a.name.empty()) f.Problem("has no name");
  for (const auto& other : data.agents) {
    if (other.id == a.id || EqualsText(other.name, a.name)) {
      f.Problem("repeats the Id or name of another agent");
    }
  }
  for (auto child : node.children("Folder"))
    a.folders.emplace_back(child.attribute("Path").value());
  for (auto child : node.children("Import")) {
    ImportFolderData import{child.attribute("Path").value(), true};
    Fields(child, "Import", source, problems).Read("SubFolders", import.subFolders);
    a.imports.push_back(std::move(import));
  }
  for (auto child : node.children("StorePeriod")) {
    a.periods.emplace_back(child.attribute("Name").value());
  }
}

void ReadPeriod(const Fields& f, const EngineData& data, PeriodData& p) {
  f.ReadAll(p, kPeriodFields);
  if (p.name.empty()) f.Problem("has no name");
  for (const auto& other : data.periods) {
    if (EqualsText(other.name, p.name)) f.Problem("repeats the name of another period");
  }
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
  auto settings = root.append_child("Settings");
  PutFields(settings, data.settings, kSettingsFields);
  Put(settings, kNextAgentId, data.nextAgentId);
  auto agents = root.append_child("Agents");
  for (const auto& a : data.agents)
    WriteAgent(agents.append_child("Agent"), a);
  auto periods = root.append_child("Periods");
  for (const auto& p : data.periods)
    PutFields(periods.append_child("Period"), p, kPeriodFields);
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
  // The declaration is kept, not skipped, so that it can be refused: no
  // entity of a file is ever defined or expanded.
  const auto parsed = doc.load_buffer(
      text.data(), text.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
  if (!parsed) {
    read.error = std::string("the XML is malformed: ") + parsed.description() + " (" +
                 servers::LineAndColumn(text, static_cast<std::size_t>(parsed.offset)) + ")";
    return read;
  }
  for (const auto node : doc.children()) {
    if (node.type() == pugi::node_doctype) {
      read.error = "it has a document type declaration, which an engine file can't have (" +
                   servers::LineAndColumn(text, static_cast<std::size_t>(node.offset_debug())) +
                   ")";
      return read;
    }
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
  Problems problems;
  Fields(root, "The file", text, problems).Read("SavedTime", data.savedTime);
  const Fields settings(root.child("Settings"), "Settings", text, problems);
  settings.ReadAll(data.settings, kSettingsFields);
  settings.Read(kNextAgentId, data.nextAgentId);
  for (auto node : root.child("Agents").children("Agent")) {
    AgentData a;
    const Fields f(node, std::string("Agent \"") + node.attribute("Name").value() + "\"", text,
                   problems);
    ReadAgent(f, node, data, a, problems, text);
    data.agents.push_back(std::move(a));
  }
  for (auto node : root.child("Periods").children("Period")) {
    PeriodData p;
    ReadPeriod(Fields(node, std::string("Period \"") + node.attribute("Name").value() + "\"", text,
                      problems),
               data, p);
    data.periods.push_back(std::move(p));
  }
  if (problems.count > 0) {
    // A value taken as something else would be written back as that: the
    // file is not read at all.
    read.error = problems.first;
    if (problems.count > 1) read.error += ", and " + std::to_string(problems.count - 1) + " more";
    read.data = EngineData();
    return read;
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
    read.outcome = EngineFileRead::Outcome::Unreadable;
    read.error = "the engine file can't be read (" + error + ")";
    return read;
  }
  return ParseEngineText(bytes);
}

}  // namespace vellix::engine
