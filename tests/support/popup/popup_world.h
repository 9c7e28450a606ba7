#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "dialogs/frm_predictive_start.h"
#include "foundation/context.h"
#include "foundation/server_factory.h"
#include "servers/config/config_server.h"
#include "servers/engine/engine_server.h"
#include "shell/frm_icon_timer.h"
#include "shell/frm_popup.h"
#include "support/recording_error_log.h"
#include "support/recording_tray.h"
#include "support/scripted_host.h"

namespace vellix::test {

// The whole control panel on its stand-ins, headless: a configuration tree
// in a temporary folder (the boot branch grafted by start-up), the engine
// stand-in, the scripted host and a recording tray. Tests drive it as a user
// would: press buttons, answer message boxes, let the engine report.
class PopupWorld : public ServerFactory {
 public:
  PopupWorld();
  ~PopupWorld() override;
  PopupWorld(const PopupWorld&) = delete;
  PopupWorld& operator=(const PopupWorld&) = delete;

  // Sets the persisted Hidden setting before start (the boot file ships false).
  void PresetHidden(bool hidden);
  // Runs start-up: attaches, grafts, shows frmPopup, raises Load.
  void Start();

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
  ManualClock clock;
  ScriptedHost host{&clock};
  Context ctx{clock, &host};
  RecordingTray tray;
  std::shared_ptr<RecordingErrorLog> log = std::make_shared<RecordingErrorLog>();
  std::shared_ptr<ConfigServer> config;
  std::shared_ptr<engine::EngineServer> engine;
  bool engineReachable = true;
  FrmIconTimer iconTimer{host};
  FrmPredictiveStart predictiveStart{ctx, host};
  FrmPopup popup;
};

}  // namespace vellix::test
