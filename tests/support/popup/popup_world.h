#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "backup/frm_backup_manager.h"
#include "dialogs/frm_about.h"
#include "dialogs/frm_attach_period.h"
#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "dialogs/frm_recover.h"
#include "foundation/context.h"
#include "foundation/server_factory.h"
#include "platform/desktop/path_mapping.h"
#include "platform/desktop/posix_file_system.h"
#include "platform/desktop/xdg_shell.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/config/config_server.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "shell/frm_icon_timer.h"
#include "shell/frm_popup.h"
#include "support/popup/recording_config.h"
#include "support/recording_error_log.h"
#include "support/recording_tray.h"
#include "support/scripted_browser.h"
#include "support/scripted_host.h"

namespace vellix::test {

// The whole control panel on its stand-ins, headless: a configuration tree
// in a temporary folder (the boot branch grafted by start-up), the engine
// stand-in, the scripted host and a recording tray. Tests drive it as a user
// would: press buttons, answer message boxes, let the engine report.
class PopupWorld : public ServerFactory {
 public:
  // How long a story waits for a pass or a backup run to end: a guard
  // against a hang, not a speed check; sanitizer builds on a busy machine
  // are slow.
  static constexpr std::chrono::seconds kPatience{120};

  PopupWorld();
  ~PopupWorld() override;
  PopupWorld(const PopupWorld&) = delete;
  PopupWorld& operator=(const PopupWorld&) = delete;

  // Sets the persisted Hidden setting before start (the boot file ships false).
  void PresetHidden(bool hidden);
  // Runs start-up: attaches, grafts, shows frmPopup, raises Load.
  void Start();
  // The configured engine of an earlier run, read from its own file: the
  // agents and periods as the file's XML, the store and backup folders below
  // the test's folder, periods of one year.
  void LoadEngine(const std::string& agents, const std::string& periods = "");
  // A restart's servers: the configuration tree and the engine again from
  // the files in the folder.
  void ReopenServers();
  // The engine again from its file, now with its processing passes: their
  // events come through the scripted host's Post, their profile is the mail
  // program's.
  engine::Processor& UseProcessor();
  // The period stores listed in the mail profile, as the application shows
  // them: held open while the mail program runs.
  void ShowStoresInProfile(std::function<void(std::function<void()>)> post = {});

  // The items in all period stores, as the engine counts them.
  [[nodiscard]] int32_t ItemsInStores() const;
  // The engine's journal texts, and the state machine's trace lines.
  [[nodiscard]] std::vector<std::string> Journal() const;
  [[nodiscard]] std::vector<std::string> StateTrace() const;
  // The log records other than the state machine's trace lines.
  [[nodiscard]] std::vector<LogRecord> Problems() const;
  [[nodiscard]] std::string Text(const std::string& key) const;

  // ServerFactory
  std::shared_ptr<void> CreateStartupHolder() override;
  Ref<ErrorConnector> CreateErrorConnector() override;
  Ref<ConfigConnector> CreateConfigConnector() override;
  Ref<ConfigNode> CreateConfigNode() override;
  Ref<EngineConnector> CreateEngineConnector() override;
  Ref<BackupServer> CreateBackupServer() override;

  std::filesystem::path dir;
  // The desktop's environment as the stand-ins read it: HOME and a documents
  // folder below the test's folder; tests add PATH or BROWSER.
  std::map<std::string, std::string> env;
  ManualClock clock;
  ScriptedHost host{&clock};
  // The services, as the application sets them once; a test may swap one
  // before Start.
  Services services{.clock = clock, .host = &host, .servers = this};
  Context ctx{services};
  RecordingTray tray;
  std::shared_ptr<RecordingErrorLog> log = std::make_shared<RecordingErrorLog>();
  std::shared_ptr<ConfigServer> config;
  // What the program reaches the tree through: notes the keys it asked for
  // and didn't find.
  std::shared_ptr<RecordingConfigConnector> configSeen;
  std::shared_ptr<engine::EngineServer> engine;
  bool engineReachable = true;
  desktop::PathMapping paths;
  std::unique_ptr<outlook::ProfileMailProgram> mail;
  std::unique_ptr<desktop::XdgShell> shell;
  std::unique_ptr<desktop::PosixFileSystem> files;
  ScriptedBrowser browser;
  FrmIconTimer iconTimer{host};
  FrmPredictiveStart predictiveStart{ctx, host};
  FrmPurgeNotice purgeNotice{ctx, host};
  // What CreateBackupServer hands out; a new backup copier each time while
  // a test sets none.
  Ref<BackupServer> backupServer;
  FrmBackupManager backupManager{ctx, host};
  // Handed to the main form when Quick setup first opens it.
  FrmRecover recover{ctx, host};
  FrmAttachPeriod attachPeriod{ctx, host};
  // Made by the main form when the tray menu first opens it; counts makes.
  std::unique_ptr<FrmAbout> about;
  int aboutMade = 0;
  FrmPopup popup;

 private:
  void OpenEngine(std::unique_ptr<engine::ProcessingHooks> hooks = nullptr);
};

}  // namespace vellix::test
