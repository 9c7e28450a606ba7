// The tray menu's commands and the other forms the main form opens: each is
// made the first time it is asked for, so a start pays nothing for it.
#include <string>
#include <utility>

#include "backup/frm_backup_manager.h"
#include "dialogs/frm_about.h"
#include "dialogs/frm_attach_period.h"
#include "dialogs/frm_recover.h"
#include "foundation/engine.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/trace_names.h"
#include "foundation/ui_host.h"
#include "shell/frm_popup.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
}

void FrmPopup::mPopAbout_Click() {
  Frame frame(ctx_, kModule, TraceNames::mPopAbout_Click);
  frame.Run([&] {
    if (forms_.about == nullptr && forms_.makeAbout) {
      forms_.about = forms_.makeAbout();
      if (forms_.about != nullptr) {
        forms_.about->Identity({[this] { return Componant(); }, [this] { return Version(); },
                                [this] { return ProductName(); }});
      }
    }
    if (forms_.about != nullptr) forms_.about->Show(true);
  });
}

void FrmPopup::mPopStart_Click() {
  Frame frame(ctx_, kModule, "mPopStart_Click");
  frame.Run([&] { cmdStopStart_Click(); });
}

void FrmPopup::mPopStop_Click() {
  Frame frame(ctx_, kModule, "mPopStop_Click");
  frame.Run([&] { cmdStopStart_Click(); });
}

void FrmPopup::mPopView_Click() {
  Frame frame(ctx_, kModule, "mPopView_Click");
  frame.Run([&] { StateMonitor(MachineEvent::View); });
}

void FrmPopup::mPopHide_Click() {
  Frame frame(ctx_, kModule, "mPopHide_Click");
  frame.Run([&] { StateMonitor(MachineEvent::Hide); });
}

void FrmPopup::mPopExit_Click() {
  Frame frame(ctx_, kModule, "mPopExit_Click");
  frame.Run([&] { StateMonitor(MachineEvent::Exit); });
}

void FrmPopup::EndSession() {
  Frame frame(ctx_, kModule, "EndSession");
  frame.Run([&] {
    // One modal window at a time, from the top: the next is looked at once
    // the nested loop of the one closed has returned. A window that keeps
    // coming back doesn't hold the end up for ever.
    constexpr int kMostCloses = 32;
    if (sessionCloses_ < kMostCloses && ctx_.Host().CloseTopModal()) {
      ++sessionCloses_;
      ctx_.Host().Post([this] { EndSession(); });
      return;
    }
    if (std::exchange(sessionEnded_, true)) return;
    StateMonitor(MachineEvent::Exit);
  });
}

void FrmPopup::cmdSuHelp_Click() {
  summary.cmdSuHelp_Click();
}

void FrmPopup::ShowAttachPeriod() {
  if (forms_.attachPeriod == nullptr && forms_.makeAttachPeriod)
    forms_.attachPeriod = forms_.makeAttachPeriod();
  Need(forms_.attachPeriod).Show(false);
}

void FrmPopup::ShowBackupManager() {
  if (forms_.backupManager == nullptr && forms_.makeBackupManager)
    forms_.backupManager = forms_.makeBackupManager();
  Need(forms_.backupManager).Show(true);
}

bool FrmPopup::ShowRecover(const std::string& source, const std::string& destination) {
  if (forms_.recover == nullptr && forms_.makeRecover) forms_.recover = forms_.makeRecover();
  FrmRecover& recover = Need(forms_.recover);
  recover.SourceFolder(source);
  recover.DestinationFolder(destination);
  recover.Show(true);
  return CBool(recover.Recovered());
}

void FrmPopup::tmrBackupTimer_Timer() {
  Frame frame(ctx_, kModule, "tmrBackupTimer_Timer");
  frame.Run([&] {
    // A tick while the manager is up (the tick's own, or Backup Now's)
    // would only open it twice.
    if (forms_.backupManager != nullptr && forms_.backupManager->Visible()) return;
    if (!mobjVellix_->Config()->BackupDue()) return;
    // The engine's work goes first; the next tick looks again. With logging
    // off there is no monitor to ask, and a due backup waits in the trace.
    if (mobjMonitor_->Processing()) return;
    ShowBackupManager();
    backup.LoadBackup();
  });
}

}  // namespace vellix
