#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "activity/log_panel.h"
#include "backup/frm_backup_manager.h"
#include "forms/layout_metrics.h"
#include "forms/machine.h"
#include "forms/panel.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/event.h"
#include "foundation/form.h"
#include "foundation/ref.h"
#include "panels/agents_panel.h"
#include "panels/attention_panel.h"
#include "panels/backup_panel.h"
#include "panels/import_panel.h"
#include "panels/periods_panel.h"
#include "panels/quick_setup_panel.h"
#include "panels/summary_panel.h"

namespace vellix {

class ConfigConnector;
class FrmAbout;
class ConfigNode;
class FrmAttachPeriod;
class FrmIconTimer;
class FrmPredictiveStart;
class FrmPurgeNotice;
class FrmRecover;
class Monitor;
class PurgeDetails;
class TrayIcon;
class TrayPlatform;
class VellixEngine;

// The other forms the main form opens or closes. A form that isn't built yet
// is left out, and what would open it has no effect.
struct PopupForms {
  FrmIconTimer& iconTimer;  // the tray icon's timer lives on it
  FrmPredictiveStart* predictiveStart = nullptr;
  FrmAbout* about = nullptr;
  FrmBackupManager* backupManager = nullptr;
  FrmPurgeNotice* purgeNotice = nullptr;
  // Makes the backup manager the first time it is opened, where none was
  // given: a start then pays nothing for it.
  std::function<FrmBackupManager*()> makeBackupManager;
  // The recover dialog, made the same way the first time Quick setup opens it.
  FrmRecover* recover = nullptr;
  std::function<FrmRecover*()> makeRecover;
  // The attach period dialog, made likewise when first opened.
  FrmAttachPeriod* attachPeriod = nullptr;
  std::function<FrmAttachPeriod*()> makeAttachPeriod;
  // The About box, made likewise when the tray menu first opens it.
  std::function<FrmAbout*()> makeAbout;
};

// The three hidden states: the window is meant to be out of sight.
bool IsHiddenState(MachineState state);

// The one main form: a tab strip over stacked panels, three buttons below,
// the tray's popup menu, and the receiver of the engine's events. It is a
// frame: each panel is its own class; every command and report passes
// through StateMonitor.
class FrmPopup : public Form, public PopupShell {
 public:
  FrmPopup(Context& ctx, TrayPlatform& trayPlatform, PopupForms forms);
  ~FrmPopup() override;

  // Properties the other forms read.
  [[nodiscard]] std::string Componant() const { return "VellixControl"; }
  [[nodiscard]] std::string Version() const;
  [[nodiscard]] std::string ProductName();
  [[nodiscard]] bool Hidden();
  void Hidden(bool value);

  // The state machine: one entry for every command and engine report.
  void StateMonitor(MachineEvent event) override;
  void TraceState(MachineState state, MachineEvent event);

  void SetupFormContext();
  bool FormRun(bool running);
  void RunDisable(bool running) override;
  int32_t GetIndex(const std::string& name, bool wantData) override;
  void ShowMain();
  void ShowQuickSetup();
  void ShowSplash();
  void FillForm();

  void tabControlOptions_BeforeClick(bool& cancel);
  void tabControlOptions_Click();

  void cmdStopStart_Click();
  void cmdHide_Click();
  void cmdExit_Click();
  void mPopAbout_Click();
  void mPopStart_Click();
  void mPopStop_Click();
  void mPopView_Click();
  void mPopHide_Click();
  void mPopExit_Click();
  // The desktop session ends or the process is asked to stop: every modal
  // window is answered as if closed by its frame, then Exit runs as from the
  // tray menu. Later calls do nothing.
  void EndSession();
  void tmrBackupTimer_Timer();
  // Shows the backup manager modally and returns once it has closed; the
  // Backup panel's Backup Now and the timer's tick open it.
  void ShowBackupManager();
  // Shows the recover dialog modally for those folders; true when it reports
  // a recovered configuration (Quick setup's Recover opens it).
  bool ShowRecover(const std::string& source, const std::string& destination);
  // Shows the attach period dialog, not modal: the Import panel's Attach.
  void ShowAttachPeriod();

  void mobjVellix_Configured(bool value);
  void mobjVellix_Run(bool value);
  void mobjVellix_Activity(const std::string& activity);
  void mobjVellix_Notify(int32_t type, const Ref<PurgeDetails>& details, int16_t& result);

  // PopupShell
  [[nodiscard]] Context& ctx() const override { return ctx_; }
  [[nodiscard]] Form& PopupForm() override { return *this; }
  [[nodiscard]] const LayoutMetrics& Metrics() const override { return metrics_; }
  [[nodiscard]] const std::string& CurrentTab() const override { return currentTab_; }
  void cmdSuHelp_Click() override;
  [[nodiscard]] ComboBox& cboAgName() override { return agents.cboAgName; }
  [[nodiscard]] ComboBox& cboImName() override { return import.cboImName; }

  // Fields of the form.
  [[nodiscard]] MachineState ControlState() const { return controlState_; }
  // The field is the form's, writable as it stands, with no step of the
  // machine: a value it has no name for is reported as unknown.
  void ControlState(MachineState state) { controlState_ = state; }
  [[nodiscard]] int32_t LastActivity() const { return lastActivity_; }
  [[nodiscard]] Date LastActivityTime() const { return lastActivityTime_; }
  [[nodiscard]] TrayIcon* Tray() const { return trayIcon_.get(); }
  [[nodiscard]] const Ref<VellixEngine>& mobjVellix() const { return mobjVellix_; }
  void mobjVellix(Ref<VellixEngine> engine);
  [[nodiscard]] const Ref<::vellix::Monitor>& mobjMonitor() const override { return mobjMonitor_; }
  void mobjMonitor(Ref<::vellix::Monitor> monitor) override;

  // Controls of the shell, in the order of the form.
  TabStrip tabControlOptions;
  PictureBox picSu;
  PictureBox picPe;
  PictureBox picAg;
  PictureBox picIm;
  PictureBox picBa;
  PictureBox picLo;
  PictureBox picAt;
  PictureBox picQuickSetup;
  PictureBox picSplash;
  Label lblSplash;
  CommandButton cmdStopStart;
  CommandButton cmdHide;
  CommandButton cmdExit;
  Timer tmrBackupTimer;
  Menu mPopupSys;
  Menu mPopAbout;
  Menu mPopSep1;
  Menu mPopStart;
  Menu mPopStop;
  Menu mPopSep2;
  Menu mPopView;
  Menu mPopHide;
  Menu mPopSep3;
  Menu mPopExit;

  // The panels.
  SummaryPanel summary;
  PeriodsPanel periods;
  AgentsPanel agents;
  ImportPanel import;
  BackupPanel backup;
  LogPanel log;
  AttentionPanel attention;
  QuickSetupPanel quickSetup;

 protected:
  void Design() override;
  void Form_Load() override;
  void Form_Unload(bool& cancel) override;
  void Form_Activate() override;
  void Form_Resize() override;
  void Form_MouseMove(int16_t button, int16_t shift, double x, double y) override;

 private:
  // A tab of tabControlOptions: its key, its picture box, its panel. The
  // Attention panel has no tab but its key is accepted all the same.
  struct TabEntry {
    const char* key;
    PictureBox& pic;
    Panel& panel;
  };
  // A control RunDisable sets: enabled while stopped, or while running.
  struct RunRule {
    Control& control;
    bool whileRunning;
  };

  // The shared steps of the state machine.
  void OfferView();
  void OfferHide();
  void BringToFrontStep();
  void PutAway();
  void SaveHidden(bool value);
  void CommitTree();
  void HideTo(MachineState hiddenState);
  void ViewFromHidden(MachineState visibleState);
  void ViewWhileVisible();
  // What the three Show procedures set alike: which pages show, and the caption.
  void ShowPages(bool main, bool splash, bool setup, const std::string& captionKey);
  void StateMonitorSteps(MachineState state, MachineEvent event, std::string& errorText);
  void QuickSetupOKSteps();

  [[nodiscard]] std::string Text(const std::string& suffix) const;
  void ConnectEngine(Ref<VellixEngine> engine);
  void UnloadOtherForm(Form* form);

  Context& ctx_;
  TrayPlatform& trayPlatform_;
  PopupForms forms_;

  // The tabs in the order of the form; every panel but Quick setup is here,
  // and FillForm lays them out in this order, Quick setup last.
  const std::array<TabEntry, 7> tabs_;
  // RunDisable's controls, in its order.
  const std::array<RunRule, 27> runRules_;

  std::string currentTab_;
  // Set while the machine itself restores the window, which is no View.
  bool restoringByCode_ = false;
  int sessionCloses_ = 0;
  bool sessionEnded_ = false;
  MachineState controlState_ = MachineState::Unloaded;
  Ref<ConfigNode> layoutNode_;
  std::unique_ptr<TrayIcon> trayIcon_;
  LayoutMetrics metrics_;
  int32_t lastActivity_ = 2;
  Date lastActivityTime_;
  Ref<VellixEngine> mobjVellix_;
  std::vector<Connection> vellixConnections_;
  Ref<ConfigConnector> mobjConfigConnector_;
  Ref<::vellix::Monitor> mobjMonitor_;
  Connection monitorConnection_;
};

}  // namespace vellix
