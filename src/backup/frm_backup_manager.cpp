#include "backup/frm_backup_manager.h"

#include <vector>

#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/mail_program.h"
#include "foundation/outlook.h"
#include "foundation/runtime.h"
#include "foundation/server_factory.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmBackupManager";
}  // namespace

FrmBackupManager::FrmBackupManager(Context& ctx, UiHost& host)
    : Form(host, "frmBackupManager"),
      lblDescriptiveTitle(*this, "lblDescriptiveTitle"),
      fraLocation(*this, "fraLocation"),
      lblPath(*this, "lblPath", "fraLocation"),
      picStoreAvailable(*this, "picStoreAvailable", "fraLocation"),
      lblStoreAvailable(*this, "lblStoreAvailable", "fraLocation"),
      cmdChange(*this, "cmdChange", "fraLocation"),
      fraPolicy(*this, "fraPolicy"),
      optPolicyAll(*this, "optPolicyAll", "fraPolicy"),
      optPolicyCheckStore(*this, "optPolicyCheckStore", "fraPolicy"),
      optPolicyCheckHistory(*this, "optPolicyCheckHistory", "fraPolicy"),
      fgcPeriods(*this, "fgcPeriods"),
      chkUnattendedOpperation(*this, "chkUnattendedOpperation"),
      lblTryLaterIn(*this, "lblTryLaterIn"),
      txtLater(*this, "txtLater"),
      cboLater(*this, "cboLater"),
      lblCountdown(*this, "lblCountdown"),
      cmdBackup(*this, "cmdBackup"),
      tmrStatus(*this, "tmrStatus"),
      ctx_(ctx) {
  cmdBackup.Click = [this] { cmdBackup_Click(); };
  cmdChange.Click = [this] { cmdChange_Click(); };
  cboLater.Click = [this] { cboLater_Click(); };
  cboLater.Change = [this] { cboLater_Change(); };
  txtLater.Change = [this] { txtLater_Change(); };
  optPolicyAll.Click = [this] { ChangePolicy(); };
  optPolicyCheckStore.Click = [this] { ChangePolicy(); };
  optPolicyCheckHistory.Click = [this] { ChangePolicy(); };
  chkUnattendedOpperation.Click = [this] { chkUnattendedOpperation_Click(); };
  fgcPeriods.MouseMove = [this](int16_t button, int16_t shift, double x, double y) {
    fgcPeriods_MouseMove(button, shift, x, y);
  };
  tmrStatus.Tick = [this] { SetFormStatus(); };
}

void FrmBackupManager::Design() {
  // Design texts double as the defaults of the text keys; the title is fixed.
  Caption(kTitle);
  // Wide enough for a date and time in the grid's date columns and for its
  // last column to end at the grid's edge; tall enough for a dozen periods
  // and their headings, so that the grid needs no scroll bar.
  Width(14280);
  Height(8580);
  lblDescriptiveTitle.Caption("Backup Period Stores to a network location or removeable media");
  lblDescriptiveTitle.Move(240, 120, 13800, 285);

  fraLocation.Caption("Backup Store Location");
  fraLocation.Move(240, 480, 13800, 780);
  lblPath.Move(120, 330, 8880, 285);
  picStoreAvailable.Move(9120, 300, 240, 240);
  lblStoreAvailable.Caption("Backup Location Available");
  lblStoreAvailable.Move(9480, 330, 2880, 285);
  cmdChange.Caption("Change");
  cmdChange.Move(12480, 270, 1200, 375);

  fraPolicy.Caption("Backup Policy");
  fraPolicy.ToolTipText("Select policy to to determine if a Period Store should be backed up");
  fraPolicy.Move(240, 1380, 13800, 1200);
  optPolicyAll.Caption("Backup all Period Store files");
  optPolicyAll.ToolTipText("Always backup all Period Stores");
  optPolicyAll.Move(120, 300, 13560, 285);
  optPolicyCheckStore.Caption("Backup only out of date Period Stores based on Store Location");
  optPolicyCheckStore.ToolTipText(
      "For Network - Reference Period Stores in Backup Store Location to determine if a Store "
      "requires backup");
  optPolicyCheckStore.Move(120, 600, 13560, 285);
  optPolicyCheckHistory.Caption("Backup only Period Stores updated since last recorded backup");
  optPolicyCheckHistory.ToolTipText(
      "For Rermoveable Media - Reference the date and time stamp of last backup to determine if a "
      "Store requires backup");
  optPolicyCheckHistory.Move(120, 900, 13560, 285);

  fgcPeriods.Move(240, 2700, 13800, 3900);

  chkUnattendedOpperation.Caption("Enable unattended opperation");
  chkUnattendedOpperation.ToolTipText(
      "If backup can proceed it will start automatically after a short delay period");
  chkUnattendedOpperation.Move(240, 6720, 4800, 285);
  lblTryLaterIn.Caption("Try later in");
  lblTryLaterIn.Move(240, 7200, 1140, 285);
  txtLater.Move(1440, 7140, 600, 315);
  cboLater.Move(2100, 7140, 1560, 315);
  lblCountdown.Caption("Countdown Seconds");
  lblCountdown.Move(3900, 7200, 2880, 285);
  cmdBackup.Caption("Wait");
  cmdBackup.Move(11400, 7080, 2640, 435);
  cmdBackup.Default(true);
  tmrStatus.Enabled(false);
}

// ---- flags ----

bool FrmBackupManager::FlagBackupRunning() {
  Frame frame(ctx_, kModule, "FlagBackupRunning");
  return frame.Run(false, [&] { return flagBackupRunning_; });
}

void FrmBackupManager::FlagBackupRunning(bool value) {
  Frame frame(ctx_, kModule, "FlagBackupRunning");
  frame.Run([&] { flagBackupRunning_ = value; });
}

bool FrmBackupManager::FlagFilesToRelease() {
  Frame frame(ctx_, kModule, "FlagFilesToRelease");
  return frame.Run(false, [&] {
    if (flagBackupRunning_) return false;
    for (int32_t row = 1; row < fgcPeriods.Rows(); ++row) {
      fgcPeriods.Row(row);
      fgcPeriods.Col(FlexColumn(32));
      if (fgcPeriods.Text().empty()) return true;
    }
    return false;
  });
}

bool FrmBackupManager::FlagFilesToBackup() {
  Frame frame(ctx_, kModule, "FlagFilesToBackup");
  return frame.Run(false, [&] {
    if (flagBackupRunning_) return false;
    for (int32_t row = 1; row < fgcPeriods.Rows(); ++row) {
      fgcPeriods.Row(row);
      fgcPeriods.Col(FlexColumn(32));
      const bool free = fgcPeriods.Text() == "Yes";
      fgcPeriods.Col(FlexColumn(256));
      if (free && fgcPeriods.Text() == "Yes") return true;
    }
    return false;
  });
}

bool FrmBackupManager::FlagLater() {
  Frame frame(ctx_, kModule, "FlagLater");
  return frame.Run(false, [&] { return Delay() > 0; });
}

bool FrmBackupManager::FlagUnattended() {
  Frame frame(ctx_, kModule, "FlagUnattended");
  return frame.Run(false, [&] { return ctx_.engine->Config()->BackupUnattended(); });
}

void FrmBackupManager::FlagUnattended(bool value) {
  Frame frame(ctx_, kModule, "FlagUnattended");
  frame.Run([&] { ctx_.engine->Config()->BackupUnattended(value); });
}

bool FrmBackupManager::FlagBackupLocation() {
  Frame frame(ctx_, kModule, "FlagBackupLocation");
  return frame.Run(false, [&] { return ctx_.engine->Config()->BackupLocationAvailable(); });
}

int32_t FrmBackupManager::Delay() {
  Frame frame(ctx_, kModule, "Delay");
  return frame.Run(int32_t{0}, [&] {
    // A unit the table doesn't know, such as the "no delay" entry, gives 0.
    return Utils(ctx_).CalculateSeconds(CLng(Val(txtLater.Text())), cboLater.Text());
  });
}

int32_t FrmBackupManager::Mode() {
  Frame frame(ctx_, kModule, "Mode");
  return frame.Run(int32_t{0}, [&] { return mode_; });
}

void FrmBackupManager::Mode(int32_t value) {
  Frame frame(ctx_, kModule, "Mode");
  frame.Run([&] {
    if (value != mode_) countdown_ = AutoDelay();
    mode_ = value;
  });
}

std::string FrmBackupManager::KeyText(const std::string& key, const std::string& present) {
  return node_->GetNode(key, true, "String", Variant(present))->GetContent().ToString();
}

int16_t FrmBackupManager::AutoDelay() {
  return node_->GetNode("AutoDelay", true, "Integer", Variant(kDefaultAutoDelay))
      ->GetContent()
      .ToInteger();
}

// ---- the looks ----

void FrmBackupManager::SetFormStatus() {
  Frame frame(ctx_, kModule, "SetFormStatus");
  frame.Run([&] {
    if (FlagBackupRunning()) {
      // The countdown neither moves nor shows while a run goes.
      SetFormFormLater();
      return;
    }
    PopulateFlexGrid(40);
    // A free store that needs a copy goes ahead although another is held;
    // only when none can go is the mail program asked to let go. The order of
    // the tests is the decision, so two of them lead to the same look.
    if (FlagLater()) {  // NOLINT(bugprone-branch-clone)
      SetFormLater();
    } else if (FlagFilesToBackup()) {
      SetFormBackupNow();
    } else if (!FlagBackupLocation()) {
      SetFormLater();
    } else if (FlagFilesToRelease()) {
      SetFormCloseOutlook();
    } else if (FlagFilesToBackup()) {
      // Only a store that changed between the two reads gets here.
      SetFormNeutral();
    } else {
      SetFormNothingToDo();
    }
    if (FlagUnattended()) countdown_ = CInt(int64_t{countdown_} - 1);
    const int32_t mode = Mode();
    if ((mode == ModeCloseOutlook || mode == ModeBackupNow || mode == ModeNothingToDo) &&
        countdown_ <= 0) {
      cmdBackup_Click();
    }
    // The press may have closed the window.
    if (Loaded()) {
      lblCountdown.Caption(KeyText("lblCountdown", "Countdown Seconds") + " " +
                           std::to_string(countdown_));
    }
  });
}

void FrmBackupManager::ButtonLook(const std::string& tipKey, const std::string& captionKey,
                                  const std::string& caption) {
  if (!tipKey.empty()) cmdBackup.ToolTipText(KeyText(tipKey, cmdBackup.ToolTipText()));
  cmdBackup.Caption(KeyText(captionKey, caption));
}

void FrmBackupManager::SetFormBackupNow() {
  Frame frame(ctx_, kModule, "SetFormBackupNow");
  frame.Run([&] {
    ButtonLook("cmdBackup-NowTip", "cmdBackup-Now", "Backup Now");
    SetLaterDisabled();
    lblCountdown.Visible(FlagUnattended());
    cmdBackup.Enabled(true);
    // The one look that gives the location back after a run locked it.
    cmdChange.Enabled(true);
    Mode(ModeBackupNow);
  });
}

void FrmBackupManager::SetFormLater() {
  Frame frame(ctx_, kModule, "SetFormLater");
  frame.Run([&] {
    ButtonLook("cmdBackup-LaterTip", "cmdBackup-Later", "Try Again Later");
    SetLaterDefault();
    lblCountdown.Visible(false);
    cmdBackup.Enabled(true);
    Mode(ModeLater);
  });
}

void FrmBackupManager::SetFormCloseOutlook() {
  Frame frame(ctx_, kModule, "SetFormCloseOutlook");
  frame.Run([&] {
    ButtonLook("cmdBackup-CloseOutlookTip", "cmdBackup-CloseOutlook", "Save && Close Outlook");
    SetLaterDisabled();
    lblCountdown.Visible(FlagUnattended());
    cmdBackup.Enabled(true);
    Mode(ModeCloseOutlook);
  });
}

void FrmBackupManager::SetFormFormLater() {
  Frame frame(ctx_, kModule, "SetFormFormLater");
  frame.Run([&] {
    ButtonLook("cmdBackup-CancelTip", "cmdBackup-Cancel", "Cancel Backup");
    SetLaterDisabled();
    lblCountdown.Visible(false);
    cmdBackup.Enabled(true);
    cmdChange.Enabled(false);
    Mode(ModeCancel);
  });
}

void FrmBackupManager::SetFormNothingToDo() {
  Frame frame(ctx_, kModule, "SetFormNothingToDo");
  frame.Run([&] {
    ButtonLook("cmdBackup-NothingToDoTip", "cmdBackup-NothingToDo", "Close");
    SetLaterDisabled();
    lblCountdown.Visible(FlagUnattended());
    cmdBackup.Enabled(true);
    Mode(ModeNothingToDo);
  });
}

void FrmBackupManager::SetFormNeutral() {
  Frame frame(ctx_, kModule, "SetFormNeutral");
  frame.Run([&] {
    ButtonLook("", "cmdBackup-Neural", "Wait");
    SetLaterDisabled();
    lblCountdown.Visible(false);
    cmdBackup.Enabled(false);
    // Nothing enables the check box again until the window is reopened.
    cmdChange.Enabled(false);
    chkUnattendedOpperation.Enabled(false);
    Mode(ModeNeutral);
  });
}

// ---- try later ----

void FrmBackupManager::SetLaterDisabled() {
  Frame frame(ctx_, kModule, "SetLaterDisabled");
  frame.Run([&] {
    txtLater.Text(" ");
    cboLater.Text(KeyText("cboLater.1", "Backup Now"));
    txtLater.Enabled(false);
    cboLater.Enabled(true);
  });
}

void FrmBackupManager::SetLaterDefault() {
  Frame frame(ctx_, kModule, "SetLaterDefault");
  frame.Run([&] {
    txtLater.Text(laterValue_);
    cboLater.Text(laterUnit_);
    txtLater.Enabled(true);
    cboLater.Enabled(true);
  });
}

void FrmBackupManager::cboLater_Click() {
  Frame frame(ctx_, kModule, "cboLater_Click");
  frame.Run([&] {
    if (cboLater.Text() == KeyText("cboLater.1", "Backup Now")) {
      SetLaterDisabled();
    } else {
      laterUnit_ = cboLater.Text();
      SetLaterDefault();
    }
  });
}

void FrmBackupManager::cboLater_Change() {
  // Typing a unit chooses nothing: only a pick from the list does.
  Frame frame(ctx_, kModule, "cboLater_Change");
  frame.Run([] {});
}

void FrmBackupManager::txtLater_Change() {
  Frame frame(ctx_, kModule, "txtLater_Change");
  frame.Run([&] {
    if (Val(txtLater.Text()) == 0) {
      SetLaterDisabled();
    } else {
      laterValue_ = txtLater.Text();
    }
  });
}

// ---- the button ----

void FrmBackupManager::cmdBackup_Click() {
  Frame frame(ctx_, kModule, "cmdBackup_Click");
  frame.Run([&] {
    closedByButton_ = true;
    switch (Mode()) {
      case ModeBackupNow:
        DoBackup();
        break;
      case ModeLater:
        ctx_.engine->Config()->NextBackup(AddSeconds(ctx_.Now(), Delay()));
        Unload();
        break;
      case ModeCloseOutlook:
        CloseOutlook();
        break;
      case ModeCancel:
        // The run stops at the server's next event.
        cancelRequested_ = true;
        break;
      case ModeNothingToDo: {
        Ref<EngineConfig> config = ctx_.engine->Config();
        config->NextBackup(AddSeconds(ctx_.Now(), config->BackupEverySeconds()));
        Unload();
        break;
      }
      default:
        break;
    }
  });
}

void FrmBackupManager::CloseOutlook() {
  Frame frame(ctx_, kModule, "CloseOutlook");
  frame.Run([&] {
    Ref<OutlookApplication> outlook = ctx_.Mail().CreateApplication();
    // Open item windows are saved without a prompt: nobody may be there to answer.
    for (const Ref<Inspector>& inspector : outlook->Inspectors())
      inspector->Close(0);
    outlook->Quit();
    // The next ticks find the stores free and move on by themselves.
    ctx_.engine->Flush();
  });
}

int32_t FrmBackupManager::DelayBase() {
  Frame frame(ctx_, kModule, "DelayBase");
  return frame.Run(int32_t{0}, [&] {
    Ref<EngineConfig> config = ctx_.engine->Config();
    if (config->LastBackup().IsZero()) config->LastBackup(ctx_.Now());
    return CLng((ctx_.Now().Serial() - config->LastBackup().Serial()) * 86400.0);
  });
}

// ---- opening and closing ----

void FrmBackupManager::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    closedByButton_ = false;
    ctx_.engine->BackupManagerOpen(true);
    node_ = ctx_.rootNode->GetNode(kTextNode, true, "Collection", Variant());
    mobjBackupServer_ = ctx_.Servers().CreateBackupServer();
    backupStatus_ =
        mobjBackupServer_->Status.Connect([this](int32_t& code, std::string& data, bool& cancel) {
          mobjBackupServer_Status(code, data, cancel);
        });
    LoadAll();
    LayoutAll();
    PopulateAll();
    tmrStatus.Interval(1000);
    tmrStatus.Enabled(true);
    countdown_ = AutoDelay();
    Mode(ModeNeutral);
  });
}

void FrmBackupManager::Form_QueryUnload(bool& cancel, int32_t unloadMode) {
  Frame frame(ctx_, kModule, "Form_QueryUnload");
  frame.Run([&] {
    if (!FlagBackupRunning()) return;
    // Nobody is there to answer when the session ends: the run is cancelled
    // and the warning taken as OK.
    if (unloadMode == kUnloadBySessionEnd) {
      cancelRequested_ = true;
      return;
    }
    const std::string warning = KeyText(
        "CloseWarning",
        "Closing the Backup Manager while it is running may result in backed up stored being "
        "left corrupt");
    if (ctx_.Host().MsgBox(warning, MsgButtons::OKCancel, "") == MsgResult::Cancel) cancel = true;
  });
}

void FrmBackupManager::Form_Unload(bool& /*cancel*/) {
  Frame frame(ctx_, kModule, "Form_Unload");
  frame.Run([&] {
    // Both are read, as the runtime's And reads both.
    Ref<EngineConfig> config = ctx_.engine->Config();
    const bool due = config->BackupDue();
    if (!closedByButton_ && due) config->NextBackup(AddSeconds(ctx_.Now(), kFramePostponeSeconds));
    backupStatus_.Disconnect();
    mobjBackupServer_.Reset();
    tmrStatus.Enabled(false);
    ctx_.engine->BackupManagerOpen(false);
  });
}

}  // namespace vellix
