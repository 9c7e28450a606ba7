#include "shell/frm_popup.h"

#include <array>
#include <string>
#include <utility>

#include "dialogs/frm_attach_period.h"
#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_recover.h"
#include "forms/texts.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/server_factory.h"
#include "foundation/trace_names.h"
#include "foundation/tray_platform.h"
#include "foundation/ui_host.h"
#include "shell/frm_icon_timer.h"
#include "shell/tray_icon.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
// The tray's callback gestures, as mouse-move message numbers.
constexpr int kLeftButtonUp = 514;
constexpr int kLeftDoubleClick = 515;
constexpr int kRightButtonUp = 517;
}  // namespace

FrmPopup::FrmPopup(Context& ctx, TrayPlatform& trayPlatform, PopupForms forms)
    : Form(ctx.Host(), "frmPopup"),
      tabControlOptions(*this, "tabControlOptions"),
      picSu(*this, "picSu"),
      picPe(*this, "picPe"),
      picAg(*this, "picAg"),
      picIm(*this, "picIm"),
      picBa(*this, "picBa"),
      picLo(*this, "picLo"),
      picAt(*this, "picAt"),
      picQuickSetup(*this, "picQuickSetup"),
      picSplash(*this, "picSplash"),
      lblSplash(*this, "lblSplash", "picSplash"),
      cmdStopStart(*this, "cmdStopStart"),
      cmdHide(*this, "cmdHide"),
      cmdExit(*this, "cmdExit"),
      tmrBackupTimer(*this, "tmrBackupTimer"),
      mPopupSys(*this, "mPopupSys"),
      mPopAbout(*this, "mPopAbout", "mPopupSys"),
      mPopSep1(*this, "mPopSep1", "mPopupSys"),
      mPopStart(*this, "mPopStart", "mPopupSys"),
      mPopStop(*this, "mPopStop", "mPopupSys"),
      mPopSep2(*this, "mPopSep2", "mPopupSys"),
      mPopView(*this, "mPopView", "mPopupSys"),
      mPopHide(*this, "mPopHide", "mPopupSys"),
      mPopSep3(*this, "mPopSep3", "mPopupSys"),
      mPopExit(*this, "mPopExit", "mPopupSys"),
      summary(*this, *this),
      periods(*this, *this),
      agents(*this, *this, periods),
      import(*this, *this),
      backup(*this, *this),
      log(*this, *this, ctx),
      attention(*this),
      quickSetup(*this, *this),
      ctx_(ctx),
      trayPlatform_(trayPlatform),
      forms_(forms),
      tabs_{{{"Summary", picSu, summary},
             {"Periods", picPe, periods},
             {"Agents", picAg, agents},
             {"Import", picIm, import},
             {"Backup", picBa, backup},
             {"Log", picLo, log},
             {"Attention", picAt, attention}}},
      runRules_{{{periods.txtPeNewCount, false},
                 {periods.cboPeNewUnits, false},
                 {periods.dtpPeReference, false},
                 {periods.txtPeFormat, false},
                 {agents.cmdAgAdd, false},
                 {agents.cmdAgRemove, false},
                 {agents.lstAgFolders, false},
                 {agents.txtAgRemove, false},
                 {agents.chkAgPurgeDisabled, false},
                 {agents.chkAgSubFolders, false},
                 {agents.txtAgNewCount, false},
                 {agents.cboAgNewUnits, false},
                 {agents.txtAgFormat, false},
                 {agents.txtAgFileAfterCount, false},
                 {agents.cboAgFileAfterUnits, false},
                 {agents.chkAgFileDisabled, false},
                 {agents.cmdAgNew, false},
                 {agents.cmdAgFileNow, true},
                 {agents.cmdAgPurgeNow, true},
                 {agents.cmdAgDelete, false},
                 {backup.txtBaFolder, false},
                 {backup.txtBaBackupFolder, false},
                 {backup.cmdBaBrowseFolder, false},
                 {backup.cmdBaBrowseBackup, false},
                 {backup.txtBaEveryCount, false},
                 {backup.updBaEveryCount, false},
                 {backup.cboBaEveryUnits, false}}} {
  tabControlOptions.BeforeClick = [this](bool& cancel) { tabControlOptions_BeforeClick(cancel); };
  tabControlOptions.Click = [this] { tabControlOptions_Click(); };
  cmdStopStart.Click = [this] { cmdStopStart_Click(); };
  cmdHide.Click = [this] { cmdHide_Click(); };
  cmdExit.Click = [this] { cmdExit_Click(); };
  tmrBackupTimer.Tick = [this] { tmrBackupTimer_Timer(); };
  backup.ShowBackupManager = [this] { ShowBackupManager(); };
  quickSetup.ShowRecover = [this](const std::string& source, const std::string& destination) {
    return ShowRecover(source, destination);
  };
  // this->: a statement that starts with `import` reads as a module import to the formatter.
  this->import.ShowAttachPeriod = [this] { ShowAttachPeriod(); };
  mPopAbout.Click = [this] { mPopAbout_Click(); };
  mPopStart.Click = [this] { mPopStart_Click(); };
  mPopStop.Click = [this] { mPopStop_Click(); };
  mPopView.Click = [this] { mPopView_Click(); };
  mPopHide.Click = [this] { mPopHide_Click(); };
  mPopExit.Click = [this] { mPopExit_Click(); };
}

FrmPopup::~FrmPopup() = default;

void FrmPopup::Design() {
  Caption("Vellix Control");
  Icon("Running.ico");
  tabControlOptions.Move(120, 120, 9840, 6000);
  tabControlOptions.AddTab("Summary", "Summary", "Summary data");
  tabControlOptions.AddTab("Periods", "Periods", "Period Configuration");
  tabControlOptions.AddTab("Agents", "Agents", "Agent Configuration");
  tabControlOptions.AddTab("Import", "Import", "Import Items");
  tabControlOptions.AddTab("Backup", "Storage && Backup", "Backup Configuration");
  tabControlOptions.AddTab("Log", "Activity Log", "Log of Orvane Vellix activity");
  for (PictureBox* pic : {&picSu, &picPe, &picAg, &picIm, &picBa, &picLo, &picAt}) {
    pic->BorderStyle(0);
  }
  picQuickSetup.BorderStyle(0);
  picSplash.BorderStyle(0);
  cmdStopStart.Caption("Start");
  cmdHide.Caption("Hide");
  cmdExit.Caption("Exit");
  tmrBackupTimer.Interval(60000);
  tmrBackupTimer.Enabled(false);
  mPopupSys.Caption("&SysTray");
  mPopupSys.Visible(false);
  mPopAbout.Caption("&About");
  mPopSep1.Caption("-");
  mPopStart.Caption("&Start");
  mPopStop.Caption("&Stop");
  mPopSep2.Caption("-");
  mPopView.Caption("&View");
  mPopHide.Caption("&Hide");
  mPopSep3.Caption("-");
  mPopExit.Caption("&Exit");
  for (const TabEntry& tab : tabs_)
    tab.panel.Design();
  quickSetup.Design();
}

std::string FrmPopup::Text(const std::string& suffix) const {
  return BranchText(ctx_, suffix);
}

std::string FrmPopup::Version() const {
  // Major, minor and revision only, whatever else the build's version holds.
  return std::to_string(VELLIX_VERSION_MAJOR) + "." + std::to_string(VELLIX_VERSION_MINOR) + "." +
         std::to_string(VELLIX_VERSION_PATCH);
}

std::string FrmPopup::ProductName() {
  Frame frame(ctx_, kModule, "ProductName");
  return frame.Run(std::string(), [&] { return Text(".Strings.ProductName"); });
}

bool FrmPopup::Hidden() {
  Frame frame(ctx_, kModule, "Hidden");
  return frame.Run(false, [&] {
    return ctx_.rootNode->GetNode(std::string(kBranch) + ".Hidden", true, "Boolean", Variant(true))
        ->GetContent()
        .ToBool();
  });
}

void FrmPopup::Hidden(bool value) {
  Frame frame(ctx_, kModule, "Hidden");
  frame.Run([&] {
    ctx_.rootNode->GetNode(std::string(kBranch) + ".Hidden", true, "Boolean", Variant(true))
        ->SetContent(Variant(value));
  });
}

void FrmPopup::mobjVellix(Ref<VellixEngine> engine) {
  ConnectEngine(std::move(engine));
}

void FrmPopup::mobjMonitor(Ref<::vellix::Monitor> monitor) {
  monitorConnection_.Disconnect();
  mobjMonitor_ = std::move(monitor);
  if (mobjMonitor_.IsNothing()) return;
  monitorConnection_ = mobjMonitor_->OnProcessingStatus.Connect(
      [this](int32_t code) { log.processing.mobjMonitor_ProcessingStatus(code); });
}

void FrmPopup::ConnectEngine(Ref<VellixEngine> engine) {
  vellixConnections_.clear();
  mobjVellix_ = std::move(engine);
  if (mobjVellix_.IsNothing()) return;
  VellixEngine& e = *mobjVellix_;
  vellixConnections_.push_back(
      e.OnConfigured.Connect([this](bool v) { mobjVellix_Configured(v); }));
  vellixConnections_.push_back(e.OnRun.Connect([this](bool v) { mobjVellix_Run(v); }));
  vellixConnections_.push_back(
      e.OnActivity.Connect([this](const std::string& a) { mobjVellix_Activity(a); }));
  vellixConnections_.push_back(
      e.OnNotify.Connect([this](int32_t type, const Ref<PurgeDetails>& details, int16_t& result) {
        mobjVellix_Notify(type, details, result);
      }));
}

void FrmPopup::Form_Load() {
  // With no engine the form goes again, after its frame has logged why: the
  // unload releases the error log.
  bool unload = false;
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    Caption(Text(".Strings.PopupFormTitle"));
    trayIcon_ =
        std::make_unique<TrayIcon>(ctx_, trayPlatform_, forms_.iconTimer, *this, ProductName());
    layoutNode_ = ctx_.rootNode->GetNode("CommonFormat.FormLayout", false, "", Variant());
    controlState_ = MachineState::Unloaded;

    if (ctx_.services.servers != nullptr)
      ctx_.engineConnector = ctx_.services.servers->CreateEngineConnector();
    if (!ctx_.engineConnector.IsNothing()) ctx_.engine = ctx_.engineConnector->Engine();
    ConnectEngine(ctx_.engine);
    if (mobjVellix_.IsNothing()) {
      frame.ErrorText = "Fatal - Unable to connect to Vellix";
      unload = true;
      return;
    }

    metrics_ = LayoutMetrics::Read(*ctx_.rootNode);
    lastActivity_ = 2;
    mobjConfigConnector_ = ctx_.configConnector;
    FillForm();
    StateMonitor(MachineEvent::Load);
  });
  if (unload) Unload();
}

void FrmPopup::FillForm() {
  Frame frame(ctx_, kModule, "FillForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    picQuickSetup.Visible(false);
    cmdStopStart.Visible(true);
    cmdHide.Visible(true);
    cmdExit.Visible(true);
    tabControlOptions.Visible(true);

    for (const TabEntry& tab : tabs_) {
      if (!tabControlOptions.HasTab(tab.key)) continue;
      tabControlOptions.Tabs(tab.key).Caption(
          Text(std::string(".Strings.ControlPanel.") + tab.key + ".Tab"));
    }
    for (const TabEntry& tab : tabs_) {
      if (!tabControlOptions.HasTab(tab.key)) continue;
      tabControlOptions.Tabs(tab.key).ToolTipText(
          Text(std::string(".Strings.ControlPanel.") + tab.key + ".ToolTip"));
    }

    const int16_t picWidth = CInt(Text(".Strings.ControlPanel.PicWidth"));
    const int16_t picHeight = CInt(Text(".Strings.ControlPanel.PicHeight"));
    const int16_t tabsHeight = layoutNode_->GetValue("TabsHeight").ToInteger();
    tabControlOptions.Width(Twips(int64_t{picWidth} + 2 * int64_t{m.Border}));
    tabControlOptions.Height(Twips(int64_t{picHeight} + tabsHeight + m.Border));

    cmdHide.Caption(Text(".Strings.ControlPanel.cmdHide"));
    cmdHide.ToolTipText(Text(".Strings.ControlPanel.cmdHide-Tip"));
    cmdExit.Caption(Text(".Strings.ControlPanel.cmdExit"));
    cmdExit.ToolTipText(Text(".Strings.ControlPanel.cmdExit-Tip"));
    Caption(Text(".Strings.PopupFormTitle"));

    const int16_t tabWidth = Twips(tabControlOptions.Width());
    const int16_t tabHeight = Twips(tabControlOptions.Height());
    Width(Twips(int64_t{tabWidth} + 2 * int64_t{m.Border} + 2 * int64_t{m.FormBLRBorder}));
    Height(Twips(int64_t{tabHeight} + 3 * int64_t{m.Border} + m.FormBLRBorder + 300 + m.RowHeight +
                 m.Border));

    const int16_t tabLeft = Twips(tabControlOptions.Left());
    const int16_t tabTop = Twips(tabControlOptions.Top());
    picSu.Move(Twips(int64_t{tabLeft} + m.Border), Twips(int64_t{tabTop} + tabsHeight), picWidth,
               picHeight);
    for (const TabEntry& tab : tabs_)
      tab.pic.Move(picSu.Left(), picSu.Top(), picSu.Width(), picSu.Height());

    picQuickSetup.Move(0, 0, Twips(int64_t{Width()} - 2 * int64_t{m.FormBLRBorder}),
                       Twips(int64_t{Height()} - m.FormBLRBorder - m.FormTopBorder));
    picSplash.Move(0, 0, picQuickSetup.Width(), picQuickSetup.Height());
    lblSplash.Caption(ProductName());
    lblSplash.Move(0, Twips(picSplash.Height() / 2 - m.RowHeight), picSplash.Width(),
                   Twips(2 * int64_t{m.RowHeight}));
    lblSplash.Alignment(2);

    ShowSplash();

    for (const TabEntry& tab : tabs_)
      tab.panel.Layout();
    quickSetup.Layout();

    const int16_t buttonTop = Twips(int64_t{tabTop} + tabHeight + m.Border);
    cmdExit.Move(Twips(int64_t{tabLeft} + tabWidth - m.ButtonWidth), buttonTop, m.ButtonWidth,
                 m.RowHeight);
    cmdStopStart.Move(Twips(int64_t{cmdExit.Left()} - m.Border - m.ButtonWidth), buttonTop,
                      m.ButtonWidth, m.RowHeight);
    cmdStopStart.ToolTipText(Text(".Strings.ControlPanel.cmdStopStart-Tip"));
    cmdHide.Move(Twips(int64_t{cmdStopStart.Left()} - m.Border - m.ButtonWidth), buttonTop,
                 m.ButtonWidth, m.RowHeight);
  });
}

void FrmPopup::ShowPages(bool main, bool splash, bool setup, const std::string& captionKey) {
  for (PictureBox* pic : {&picSu, &picPe, &picAg, &picIm, &picBa})
    pic->Visible(main);
  tabControlOptions.Visible(main);
  cmdHide.Visible(main);
  cmdExit.Visible(main);
  cmdStopStart.Visible(main);
  picSplash.Visible(splash);
  picQuickSetup.Visible(setup);
  Caption(Text(captionKey));
}

void FrmPopup::ShowMain() {
  Frame frame(ctx_, kModule, "ShowMain");
  frame.Run([&] {
    ShowPages(true, false, false, ".Strings.PopupFormTitle");
    FormRun(mobjVellix_->Running());
  });
}

void FrmPopup::ShowQuickSetup() {
  Frame frame(ctx_, kModule, "ShowQuickSetup");
  frame.Run([&] { ShowPages(false, false, true, ".Strings.QuickSetup.FormCaption"); });
}

void FrmPopup::ShowSplash() {
  Frame frame(ctx_, kModule, "ShowSplash");
  frame.Run([&] { ShowPages(false, true, false, ".Strings.PopupFormTitle"); });
}

void FrmPopup::SetupFormContext() {
  Frame frame(ctx_, kModule, "SetupFormContext");
  frame.Run([&] {
    tabControlOptions.Tabs("Summary").Selected(true);
    Show(false);
  });
}

void FrmPopup::tabControlOptions_BeforeClick(bool& cancel) {
  Frame frame(ctx_, kModule, "tabControlOptions_BeforeClick");
  frame.Run([&] {
    cancel = false;
    // A panel with no Leave procedure lets the user go; so does no tab yet.
    for (const TabEntry& tab : tabs_) {
      if (currentTab_ == tab.key) {
        if (!tab.panel.Leave()) cancel = true;
        return;
      }
    }
  });
}

void FrmPopup::tabControlOptions_Click() {
  Frame frame(ctx_, kModule, "tabControlOptions_Click");
  frame.Run([&] {
    const TabStrip::Tab* selected = tabControlOptions.SelectedItem();
    const std::string key = selected == nullptr ? std::string() : selected->Key();
    const TabEntry* chosen = nullptr;
    for (const TabEntry& tab : tabs_) {
      if (key == tab.key) chosen = &tab;
    }
    if (chosen == nullptr) return;
    for (const TabEntry& tab : tabs_)
      tab.pic.Visible(&tab == chosen);
    currentTab_ = key;
    chosen->panel.Load();
  });
}

bool FrmPopup::FormRun(bool running) {
  Frame frame(ctx_, kModule, "FormRun");
  return frame.Run(false, [&](bool& result) {
    result = true;
    RunDisable(running);
    if (running) {
      cmdStopStart.Caption(Text(".Strings.ControlPanel.cmdStopStart.Stop"));
      summary.cmdSuSetupWiz.Enabled(false);
    } else {
      cmdStopStart.Caption(Text(".Strings.ControlPanel.cmdStopStart.Start"));
      summary.cmdSuSetupWiz.Enabled(true);
    }
    // EnableAgentControls, then EnableImportControls: the tab order has them so.
    for (const TabEntry& tab : tabs_)
      tab.panel.EnableControls(running);
  });
}

void FrmPopup::RunDisable(bool running) {
  Frame frame(ctx_, kModule, "RunDisable");
  frame.Run([&] {
    for (const RunRule& rule : runRules_)
      rule.control.Enabled(rule.whileRunning == running);
    mPopStart.Visible(!running);
    mPopStop.Visible(running);
    if (trayIcon_) trayIcon_->State(running ? "Running" : "Stopped");
  });
}

int32_t FrmPopup::GetIndex(const std::string& name, bool wantData) {
  Frame frame(ctx_, kModule, "GetIndex");
  return frame.Run(int32_t{0}, [&](int32_t& index) {
    ComboBox* list = nullptr;
    if (currentTab_ == "Agents") list = &agents.cboAgName;
    if (currentTab_ == "Import") list = &import.cboImName;
    if (list == nullptr) return;
    for (int32_t i = 0; i < list->ListCount(); ++i) {
      if (list->List(i) == name) {
        index = wantData ? list->ItemData(i) : i;
        return;
      }
    }
  });
}

void FrmPopup::cmdStopStart_Click() {
  Frame frame(ctx_, kModule, "cmdStopStart_Click");
  frame.Run([&] {
    if (mobjVellix_->Running()) {
      mobjVellix_->Running(false);
    } else {
      mobjVellix_->Running(true);
    }
  });
}

void FrmPopup::cmdHide_Click() {
  Frame frame(ctx_, kModule, "cmdHide_Click");
  frame.Run([&] { StateMonitor(MachineEvent::Hide); });
}

void FrmPopup::cmdExit_Click() {
  Frame frame(ctx_, kModule, TraceNames::cmdExit_Click);
  frame.Run([&] {
    const auto answer =
        ctx_.Host().MsgBox(Text(".Strings.ControlPanel.ConfirmClose"), MsgButtons::OKCancel, "");
    if (answer == MsgResult::OK) StateMonitor(MachineEvent::Exit);
  });
}

void FrmPopup::mobjVellix_Activity(const std::string& activity) {
  Frame frame(ctx_, kModule, "mobjVellix_Activity");
  frame.Run([&] {
    if (activity == "Start") {
      lastActivity_ = 0;
      lastActivityTime_ = ctx_.Now();
      trayIcon_->State("Processing");
    } else if (activity == "Complete" || activity == "Stop") {
      lastActivity_ = activity == "Complete" ? 1 : 2;
      lastActivityTime_ = ctx_.Now();
      // "Stop" shows Running too: the engine's Run report sets Stopped.
      trayIcon_->State("Running");
    } else if (activity == "Shutdown") {
      lastActivity_ = 2;
      lastActivityTime_ = ctx_.Now();
      Unload();
    }
  });
}

void FrmPopup::Form_Activate() {
  Frame frame(ctx_, kModule, "Form_Activate");
  frame.Run([&] {
    if (IsHiddenState(controlState_)) PutAway();
  });
}

void FrmPopup::Form_Resize() {
  Frame frame(ctx_, kModule, "Form_Resize");
  frame.Run([&] {
    if (trayPlatform_.Available()) {
      if (WindowState() == 1) Hide();
      return;
    }
    // Without a notification area the task bar is the only way back: a
    // window restored from it is a View, so the machine and the screen agree.
    if (WindowState() == 0 && IsHiddenState(controlState_) && !restoringByCode_)
      StateMonitor(MachineEvent::View);
  });
}

void FrmPopup::Form_MouseMove(int16_t /*button*/, int16_t /*shift*/, double x, double /*y*/) {
  Frame frame(ctx_, kModule, "Form_MouseMove");
  frame.Run([&] {
    double message = x;
    if (ScaleMode() != 3) message = x / ctx_.services.twipsPerPixelX;
    switch (CLng(message)) {
      case kLeftButtonUp:
      case kLeftDoubleClick:
        StateMonitor(MachineEvent::View);
        break;
      case kRightButtonUp:
        BringToFront();
        PopupMenu(mPopupSys);
        break;
      default:
        break;
    }
  });
}

void FrmPopup::UnloadOtherForm(Form* form) {
  if (form != nullptr) form->Unload();
}

void FrmPopup::Form_Unload(bool& /*cancel*/) {
  Frame frame(ctx_, kModule, "Form_Unload");
  frame.Run([&] {
    ctx_.rootNode->Commit("");
    trayIcon_.reset();
    UnloadOtherForm(forms_.backupManager);
    UnloadOtherForm(forms_.recover);
    // A dialog left open without its main form would keep the program
    // running with its servers gone.
    UnloadOtherForm(forms_.attachPeriod);
    UnloadOtherForm(&forms_.iconTimer);
    mobjMonitor(nullptr);
    ConnectEngine(nullptr);
    ctx_.engine.Reset();
    mobjConfigConnector_.Reset();
    ctx_.engineConnector.Reset();
    ctx_.errorLog->ComponentEnded(kProject);
    layoutNode_.Reset();
    ctx_.rootNode.Reset();
    ctx_.errorLog.Reset();
    ctx_.errorConnector.Reset();
  });
}

}  // namespace vellix
