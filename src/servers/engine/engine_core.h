#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "foundation/agent.h"
#include "foundation/date.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/ref.h"
#include "platform/desktop/path_mapping.h"
#include "servers/engine/call_journal.h"
#include "servers/engine/engine_data.h"
#include "servers/engine/processing_hooks.h"

namespace vellix::outlook {
class MailProfile;
}  // namespace vellix::outlook

namespace vellix::engine {

class MonitorObject;

// The inside of the engine: its data, where it persists them, the journal
// and the fault switches, and the rules of agents and periods. The objects
// handed to the panel (configuration, agents, periods) are views that hold
// the core and look their data up at every use, so a view of a deleted agent
// fails instead of writing into nothing.
class EngineCore : public std::enable_shared_from_this<EngineCore> {
 public:
  EngineCore(std::filesystem::path engineFile, desktop::PathMapping paths, const Clock& clock,
             Ref<ErrorLog> log, std::unique_ptr<ProcessingHooks> hooks);
  ~EngineCore();
  EngineCore(const EngineCore&) = delete;
  EngineCore& operator=(const EngineCore&) = delete;

  // Reads the engine file. A missing file leaves an unconfigured engine with
  // default settings and a log record saying why. A corrupt file is moved
  // aside, never overwritten, and Notice() tells the user where it went. A
  // folder that can't take the file, or a file that can't be read or moved,
  // sets OpenError(): the engine can't be used and writes nothing.
  void Load();
  [[nodiscard]] const std::string& Notice() const { return notice_; }
  [[nodiscard]] const std::string& OpenError() const { return openError_; }

  // The data are shared with the processing worker: whoever reads or writes
  // them holds this lock, and nobody holds it while waiting for the panel.
  [[nodiscard]] std::unique_lock<std::recursive_mutex> Lock() const {
    return std::unique_lock(mutex_);
  }
  [[nodiscard]] EngineData& Data() { return data_; }
  [[nodiscard]] EngineSettings& Settings() { return data_.settings; }
  [[nodiscard]] Date Now() const { return clock_.Now(); }
  [[nodiscard]] std::filesystem::path Native(std::string_view logicPath) const;
  // A file of a folder as a path text of the logic: joined by a backslash,
  // or by a slash when the folder is a POSIX path.
  [[nodiscard]] static std::string JoinLogic(std::string_view folder, std::string_view name);
  // The last part of a path text, whichever separator it uses.
  [[nodiscard]] static std::string BareName(std::string_view path);

  // A write or a call: recorded in the journal, then failed when a fault is
  // set for the operation ("put RemovePeriod", "CreateAgent").
  void Call(std::string_view object, std::string_view operation);
  void Call(std::string_view object, std::string_view operation, std::string_view arguments);
  // A read: not recorded; fails when a fault is set for "get <property>".
  void Read(std::string_view property);

  [[nodiscard]] CallJournal& Journal() { return journal_; }
  void FailCall(std::string operation, int32_t number, int times);
  void ClearFaults();
  void RefuseSetPeriodFormat(bool refuse) { refusePeriodFormat_ = refuse; }
  [[nodiscard]] bool RefuseSetPeriodFormat() const { return refusePeriodFormat_; }
  void FailRecoverConfig(bool fail) { failRecover_ = fail; }
  [[nodiscard]] bool FailRecoverConfig() const { return failRecover_; }

  // Agents. Names are unique without regard to case.
  AgentData* FindAgent(int16_t id);
  AgentData* FindAgentByName(std::string_view name);
  AgentData* FindAgentByNameOrId(std::string_view text);
  AgentData& AgentOrRaise(int16_t id);
  AgentData& CreateAgent(const std::string& name);
  void DeleteAgent(std::string_view name);
  void RenameAgent(AgentData& agent, const std::string& name);
  // Removes agents and periods and restores the default settings; the
  // engine's own state (configured, running, logging level) stays.
  void ResetConfig();

  // Periods. Names are unique without regard to case.
  PeriodData* FindPeriod(std::string_view name);
  PeriodData& PeriodOrRaise(std::string_view name);
  // Makes sure the period that holds the present moment exists, with its
  // store file; problems are logged, never raised.
  void EnsureCurrentPeriod();
  bool AttachPeriod(std::string_view fileName);
  // The period whose span holds the moment, made with its store file when
  // there is none yet; nothing, with why set, when it can't be made.
  PeriodData* EnsurePeriodFor(Date when, std::string* why);
  // The backup folder exists and a file can be made in it.
  bool BackupLocationAvailable() const;
  // A finished backup run: LastBackup is now, the next one is scheduled a
  // backup interval on, and a copy of the configuration goes to the backup folder.
  void RecordBackupRun();

  // The mail profile that shows the period stores, asked for at each use
  // (it may be loaded late); nothing shows them nowhere. Every period's
  // store is listed in the profile the first time the profile is seen.
  // The profile belongs to the thread that calls this: a store made on
  // another thread (a processing pass) is shown through post, which runs a
  // function later on that thread; without post everything runs in place.
  using ProfileSource = std::function<std::shared_ptr<outlook::MailProfile>()>;
  using PanelPost = std::function<void(std::function<void()>)>;
  void ShowStoresIn(ProfileSource source, PanelPost post = {});
  // Lists the period's store in the mail profile; a problem is logged.
  void ShowStore(const PeriodData& period);
  // Takes the period's store off the mail profile.
  void HideStore(const PeriodData& period);
  // The mail profile holds the period's store file open.
  bool StoreHeldOpen(const PeriodData& period);
  // The mail profile with every period's store listed; nothing when there is
  // none, or when asked off the profile's thread.
  std::shared_ptr<outlook::MailProfile> Profile();

  // Persists the data, written behind: the caller (mostly the window) does
  // not wait for the disk. A failure is logged and the data stay in memory.
  void Save();
  // As Save, written before it returns, for a caller that does not hold the
  // lock and must know the file holds the data before it goes on (a pass
  // about to purge what it filed). The text is made under the lock and
  // written after it is let go, so that whoever reads the data meanwhile does
  // not wait for the disk. Writes keep their order: a text older than one on
  // the disk already is dropped.
  void SaveUnlocked();
  // Writes a saved copy of the configuration into the backup folder, behind.
  void SaveCopyToBackup();
  // Returns once every file written behind is on the disk.
  void WaitForWrites();
  // Replaces the configuration by a saved copy; see docs/engine-standin.md.
  bool Recover(const std::string& source, const std::string& destination,
               const std::string& configFile);

  // The objects handed out: views over the data, made new at each request.
  Ref<EngineConfig> NewConfigObject();
  Ref<::vellix::Agent> NewAgentObject(int16_t id);
  Ref<::vellix::Period> NewPeriodObject(const std::string& name);
  [[nodiscard]] const std::shared_ptr<MonitorObject>& MonitorShared() const { return monitor_; }
  [[nodiscard]] ProcessingHooks& Hooks() { return *hooks_; }
  // The engine whose events a processing run raises; nothing once it is gone.
  [[nodiscard]] VellixEngine* Engine() const { return engine_; }
  void Engine(VellixEngine* engine) { engine_ = engine; }

  // One record in the error log, project "OVVellix".
  void Log(std::string_view procedure, const std::string& message);

 private:
  struct Fault {
    std::string operation;
    int32_t number;
    int remaining;  // below 0: until cleared
  };
  void CheckFault(std::string_view operation);
  [[nodiscard]] std::string FreeAgentName() const;
  [[nodiscard]] int16_t FreeAgentId();
  [[nodiscard]] std::string FreePeriodName(const std::string& wanted) const;
  void MoveCorruptFileAside(const std::string& why);
  void ShowStore(outlook::MailProfile& profile, const std::string& name,
                 const std::string& fileName);
  // Runs fn under the lock on the profile's thread: at once when called
  // there, else later through the post.
  void OnProfileThread(std::function<void(EngineCore&)> fn);

  void WriteText(const std::string& text, uint64_t generation);

  mutable std::recursive_mutex mutex_;
  // Held while the engine file is written; taken after mutex_, never before it.
  std::mutex writeMutex_;
  uint64_t textsMade_ = 0;    // under mutex_
  uint64_t textWritten_ = 0;  // under writeMutex_
  uint64_t copiesMade_ = 0;   // under mutex_
  std::filesystem::path file_;
  desktop::PathMapping paths_;
  const Clock& clock_;
  Ref<ErrorLog> log_;
  std::unique_ptr<ProcessingHooks> hooks_;
  std::shared_ptr<MonitorObject> monitor_;
  VellixEngine* engine_ = nullptr;
  ProfileSource profileSource_;
  PanelPost profilePost_;
  std::thread::id profileThread_;
  std::weak_ptr<outlook::MailProfile> profileSeen_;

  EngineData data_;
  CallJournal journal_;
  std::vector<Fault> faults_;
  bool refusePeriodFormat_ = false;
  bool failRecover_ = false;
  std::string notice_;
  std::string openError_;
};

}  // namespace vellix::engine
