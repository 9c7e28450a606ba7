#include "servers/engine/engine_core.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <system_error>
#include <utility>

#include "foundation/text.h"
#include "servers/common/file_trouble.h"
#include "servers/common/private_files.h"
#include "servers/common/write_behind.h"
#include "servers/config/atomic_file.h"
#include "servers/engine/agent_object.h"
#include "servers/engine/config_object.h"
#include "servers/engine/engine_file.h"
#include "servers/engine/monitor_object.h"
#include "servers/engine/number_text.h"
#include "servers/engine/period_calendar.h"
#include "servers/engine/period_object.h"
#include "servers/engine/server_error.h"

namespace vellix::engine {

namespace {

// A fresh configuration: the defaults of EngineData, periods counted from the
// first of January of the present year.
EngineData Defaults(Date now) {
  EngineData data;
  data.settings.referenceDate = DateSerial(ToCivil(now).year, 1, 1);
  return data;
}

}  // namespace

EngineCore::EngineCore(std::filesystem::path engineFile, desktop::PathMapping paths,
                       const Clock& clock, Ref<ErrorLog> log,
                       std::unique_ptr<ProcessingHooks> hooks)
    : file_(std::move(engineFile)),
      paths_(std::move(paths)),
      clock_(clock),
      log_(std::move(log)),
      hooks_(hooks ? std::move(hooks) : std::make_unique<ProcessingHooks>()),
      monitor_(std::make_shared<MonitorObject>()),
      data_(Defaults(clock.Now())) {}

EngineCore::~EngineCore() {
  WaitForWrites();
}

void EngineCore::WaitForWrites() {
  servers::WriteBehind::Shared().WaitAll();
}

void EngineCore::Load() {
  // An engine closed on this file a moment ago may still be writing it.
  servers::WriteBehind::Shared().Wait(file_.string());
  std::string error;
  if (file_.has_parent_path() && !servers::FolderTakesFiles(file_.parent_path(), &error)) {
    openError_ = error;
    return;
  }
  // What a save cut short by the end of the process left beside the file.
  RemoveStaleTempFiles(file_);
  EngineFileRead read = ReadEngineFile(file_);
  switch (read.outcome) {
    case EngineFileRead::Outcome::Loaded:
      data_ = std::move(read.data);
      break;
    case EngineFileRead::Outcome::Missing:
      data_ = Defaults(Now());
      Log("Load", "The engine starts unconfigured: " + read.error);
      break;
    case EngineFileRead::Outcome::Corrupt:
      data_ = Defaults(Now());
      MoveCorruptFileAside(read.error);
      break;
    case EngineFileRead::Outcome::Unreadable:
      openError_ = read.error;
      break;
  }
}

void EngineCore::MoveCorruptFileAside(const std::string& why) {
  std::filesystem::path kept;
  std::string error;
  if (!servers::MoveAside(file_, Now(), &kept, &error)) {
    // Never written over: the engine can't be used until the file is dealt with.
    openError_ = "The engine file " + file_.string() + " can't be read (" + why +
                 ") and stays as it is: " + error;
    return;
  }
  notice_ = "The engine file " + file_.string() + " could not be read: " + why +
            ".\nIt was moved aside to " + kept.string() +
            "; the engine starts afresh, unconfigured.";
}

std::filesystem::path EngineCore::Native(std::string_view logicPath) const {
  return paths_.ToNative(logicPath);
}

std::string EngineCore::JoinLogic(std::string_view folder, std::string_view name) {
  std::string out(folder);
  const char separator = !out.empty() && out.front() == '/' ? '/' : '\\';
  if (!out.empty() && out.back() != '\\' && out.back() != '/') out += separator;
  out += name;
  return out;
}

// --- journal and faults ---

void EngineCore::Call(std::string_view object, std::string_view operation) {
  journal_.Add(std::string(object), std::string(operation));
  CheckFault(operation);
}

void EngineCore::Call(std::string_view object, std::string_view operation,
                      std::string_view arguments) {
  std::string text(operation);
  text += ' ';
  text += arguments;
  journal_.Add(std::string(object), std::move(text));
  CheckFault(operation);
}

void EngineCore::Read(std::string_view property) {
  if (faults_.empty()) return;
  CheckFault("get " + std::string(property));
}

void EngineCore::FailCall(std::string operation, int32_t number, int times) {
  if (number >= 0) number = kServerFailure;  // a server's failure is always negative
  faults_.push_back({std::move(operation), number, times});
}

void EngineCore::ClearFaults() {
  faults_.clear();
  refusePeriodFormat_ = false;
  failRecover_ = false;
}

void EngineCore::CheckFault(std::string_view operation) {
  for (auto it = faults_.begin(); it != faults_.end(); ++it) {
    if (it->operation != operation || it->remaining == 0) continue;
    const int32_t number = it->number;
    if (it->remaining > 0 && --it->remaining == 0) faults_.erase(it);
    throw VbError(number, "The engine failed in " + std::string(operation));
  }
}

// --- agents ---

AgentData* EngineCore::FindAgent(int16_t id) {
  auto it = std::find_if(data_.agents.begin(), data_.agents.end(),
                         [id](const AgentData& a) { return a.id == id; });
  return it == data_.agents.end() ? nullptr : &*it;
}

AgentData* EngineCore::FindAgentByName(std::string_view name) {
  auto it = std::find_if(data_.agents.begin(), data_.agents.end(),
                         [name](const AgentData& a) { return EqualsText(a.name, name); });
  return it == data_.agents.end() ? nullptr : &*it;
}

AgentData* EngineCore::FindAgentByNameOrId(std::string_view text) {
  if (AgentData* byName = FindAgentByName(text)) return byName;
  const auto id = ParseInteger(Trim(text), 1, std::numeric_limits<int16_t>::max());
  return id ? FindAgent(static_cast<int16_t>(*id)) : nullptr;
}

AgentData& EngineCore::AgentOrRaise(int16_t id) {
  AgentData* agent = FindAgent(id);
  if (agent == nullptr) RaiseServerError("The agent " + std::to_string(id) + " no longer exists");
  return *agent;
}

std::string EngineCore::FreeAgentName() const {
  for (int n = 1;; ++n) {
    std::string name = "Agent " + std::to_string(n);
    const bool taken = std::any_of(data_.agents.begin(), data_.agents.end(),
                                   [&](const AgentData& a) { return EqualsText(a.name, name); });
    if (!taken) return name;
  }
}

int16_t EngineCore::FreeAgentId() {
  constexpr int kMax = std::numeric_limits<int16_t>::max();
  int candidate = std::clamp<int>(data_.nextAgentId, 1, kMax);
  for (int tries = 0; tries < kMax; ++tries) {
    if (FindAgent(static_cast<int16_t>(candidate)) == nullptr) {
      data_.nextAgentId = static_cast<int16_t>(candidate == kMax ? 1 : candidate + 1);
      return static_cast<int16_t>(candidate);
    }
    candidate = candidate == kMax ? 1 : candidate + 1;
  }
  RaiseServerError("There is no free agent id left");
}

AgentData& EngineCore::CreateAgent(const std::string& name) {
  std::string chosen = Trim(name).empty() ? FreeAgentName() : name;
  if (FindAgentByName(chosen) != nullptr) {
    RaiseServerError("An agent named \"" + chosen + "\" exists already");
  }
  AgentData agent;
  agent.id = FreeAgentId();
  agent.name = std::move(chosen);
  // A store can't outlast the period it files into: under shorter periods
  // (Quick setup's quarters) a new agent's stores are a period long.
  const EngineSettings& s = data_.settings;
  if (IntervalSeconds(s.periodCount, s.periodUnits) <
      IntervalSeconds(agent.storeCount, agent.storeUnits)) {
    agent.storeCount = s.periodCount;
    agent.storeUnits = s.periodUnits;
  }
  data_.agents.push_back(std::move(agent));
  return data_.agents.back();
}

void EngineCore::DeleteAgent(std::string_view name) {
  const AgentData* agent = FindAgentByNameOrId(name);
  if (agent == nullptr) RaiseServerError("There is no agent \"" + std::string(name) + "\"");
  const int16_t id = agent->id;
  std::erase_if(data_.agents, [id](const AgentData& a) { return a.id == id; });
}

void EngineCore::RenameAgent(AgentData& agent, const std::string& name) {
  if (Trim(name).empty()) RaiseServerError("An agent needs a name");
  const AgentData* other = FindAgentByName(name);
  if (other != nullptr && other->id != agent.id) {
    RaiseServerError("An agent named \"" + name + "\" exists already");
  }
  agent.name = name;
}

void EngineCore::ResetConfig() {
  for (const auto& period : data_.periods)
    HideStore(period);
  const EngineSettings kept = data_.settings;
  data_ = Defaults(Now());
  data_.settings.configured = kept.configured;
  data_.settings.running = kept.running;
  data_.settings.loggingLevel = kept.loggingLevel;
}

// --- objects and log ---

Ref<EngineConfig> EngineCore::NewConfigObject() {
  return MakeRef<ConfigObject>(shared_from_this());
}

Ref<::vellix::Agent> EngineCore::NewAgentObject(int16_t id) {
  return MakeRef<AgentObject>(shared_from_this(), id);
}

Ref<::vellix::Period> EngineCore::NewPeriodObject(const std::string& name) {
  return MakeRef<PeriodObject>(shared_from_this(), name);
}

void EngineCore::Log(std::string_view procedure, const std::string& message) {
  if (!log_) return;
  try {
    log_->LogEvent(kLogProject, kLogModule, std::string(procedure), message, 0, "");
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a failing log can't be told
  }
}

void EngineCore::Save() {
  const auto lock = Lock();
  if (!openError_.empty()) return;  // a file that couldn't be read stays as it is
  servers::WriteBehind::Shared().Queue(
      file_.string(), [this, text = EngineFileText(data_), generation = ++textsMade_] {
        WriteText(text, generation);
      });
}

void EngineCore::SaveUnlocked() {
  std::string text;
  uint64_t generation = 0;
  {
    const auto lock = Lock();
    if (!openError_.empty()) return;
    text = EngineFileText(data_);
    generation = ++textsMade_;
  }
  WriteText(text, generation);
}

void EngineCore::WriteText(const std::string& text, uint64_t generation) {
  std::lock_guard write(writeMutex_);
  if (generation < textWritten_) return;  // newer data are on the disk already
  std::string error;
  std::error_code ec;
  servers::CreatePrivateFolders(file_.parent_path(), ec);
  if (!WriteFileAtomically(file_, text, &error)) {
    Log("Save", "The engine file " + file_.string() + " can't be written: " + error);
  }
  textWritten_ = generation;
}

}  // namespace vellix::engine
