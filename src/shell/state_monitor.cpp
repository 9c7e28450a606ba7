// The control state machine of the main form: every command and engine report
// arrives here as an event and is handled by the current state.
#include <array>
#include <string>

#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/scoped_value.h"
#include "foundation/trace_names.h"
#include "foundation/tray_platform.h"
#include "foundation/ui_host.h"
#include "shell/frm_popup.h"

namespace vellix {

void FrmPopup::TraceState(MachineState state, MachineEvent event) {
  // The one procedure without a frame: its record goes straight to the log.
  ctx_.errorLog->LogEvent(
      kProject, "frmPopup", "StateMonitor",
      "Current State: " + std::string(NameOf(state)) + " Event: " + std::string(NameOf(event)), 0,
      "");
}

bool IsHiddenState(MachineState state) {
  return state == MachineState::UnconfiguredHidden || state == MachineState::ConfiguredHidden ||
         state == MachineState::RunningHidden;
}

void FrmPopup::OfferView() {
  mPopView.Visible(true);
  mPopHide.Visible(false);
}

void FrmPopup::OfferHide() {
  mPopView.Visible(false);
  mPopHide.Visible(true);
}

void FrmPopup::BringToFrontStep() {
  // Restoring a minimised window shows it again: minimising put it away.
  const bool restoring = WindowState() != 0;
  {
    const ScopedValue restoringByCode(restoringByCode_, true);
    WindowState(0);
  }
  if (restoring) Show(false);
  BringToFront();
}

void FrmPopup::PutAway() {
  // Without a notification area a hidden window could not be found again:
  // it goes to the task bar instead.
  if (trayPlatform_.Available()) {
    Hide();
  } else {
    WindowState(1);
  }
}

void FrmPopup::SaveHidden(bool value) {
  Hidden(value);
}

void FrmPopup::CommitTree() {
  ctx_.rootNode->Commit("");
}

// Hide from a visible state: the window goes and the choice is kept.
void FrmPopup::HideTo(MachineState hiddenState) {
  OfferView();
  SaveHidden(true);
  PutAway();
  controlState_ = hiddenState;
  CommitTree();
}

// View while the window is meant to be in sight (it may be minimised).
void FrmPopup::ViewWhileVisible() {
  SaveHidden(false);
  BringToFrontStep();
  CommitTree();
}

// View from a hidden state: the window comes back on its Summary tab.
void FrmPopup::ViewFromHidden(MachineState visibleState) {
  OfferHide();
  SaveHidden(false);
  SetupFormContext();
  BringToFrontStep();
  controlState_ = visibleState;
  CommitTree();
}

// The engine's two reports that reach the machine as events.
void FrmPopup::mobjVellix_Configured(bool value) {
  Frame frame(ctx_, "frmPopup", "mobjVellix_Configured");
  frame.Run([&] { StateMonitor(value ? MachineEvent::Configured : MachineEvent::Unconfigured); });
}

void FrmPopup::mobjVellix_Run(bool value) {
  Frame frame(ctx_, "frmPopup", "mobjVellix_Run");
  frame.Run([&] { StateMonitor(value ? MachineEvent::Run : MachineEvent::Stop); });
}

void FrmPopup::StateMonitor(MachineEvent event) {
  Frame frame(ctx_, "frmPopup", TraceNames::StateMonitorFrame);
  frame.Run([&] {
    TraceState(controlState_, event);
    StateMonitorSteps(controlState_, event, frame.ErrorText);
  });
}

void FrmPopup::StateMonitorSteps(MachineState state, MachineEvent event, std::string& errorText) {
  using enum MachineState;
  using enum MachineEvent;
  auto unexpected = [&] {
    errorText = "Unexpected Event " + std::to_string(Number(event)) + " in State " +
                std::to_string(Number(state));
  };
  switch (state) {
    case Unloaded:
      if (event != Load) return unexpected();
      tmrBackupTimer.Enabled(false);
      quickSetup.Load();
      ShowQuickSetup();
      if (Hidden()) {
        OfferView();
        controlState_ = UnconfiguredHidden;
        // With no notification area the window starts on the task bar.
        if (!trayPlatform_.Available()) WindowState(1);
      } else {
        OfferHide();
        controlState_ = UnconfiguredVisible;
        SetupFormContext();
        SaveHidden(false);
        CommitTree();
      }
      mobjVellix_->Announce();
      return;

    case UnconfiguredVisible:
      switch (event) {
        case View:
          ViewWhileVisible();
          return;
        case Hide:
          HideTo(MachineState::UnconfiguredHidden);
          return;
        case MoreConfig:
          quickSetup.SaveQuickSetup();
          mobjVellix_->Configured(true);
          return;
        case Exit:
          mobjVellix_->Shutdown();
          return;
        case QuickSetupOK:
          QuickSetupOKSteps();
          return;
        case Recover:
          mobjVellix_->Configured(true);
          return;
        case Configured:
          controlState_ = ConfiguredVisible;
          ShowMain();
          tabControlOptions_Click();
          return;
        default:
          return unexpected();
      }

    case UnconfiguredHidden:
      switch (event) {
        case View:
          ViewFromHidden(MachineState::UnconfiguredVisible);
          return;
        case Exit:
          SaveHidden(false);  // Form_Unload commits
          mobjVellix_->Shutdown();
          return;
        case Configured:
          tabControlOptions_Click();
          ShowMain();
          controlState_ = ConfiguredHidden;
          return;
        default:
          return unexpected();
      }

    case ConfiguredVisible:
      switch (event) {
        case View:
          ViewWhileVisible();
          return;
        case Hide:
          HideTo(MachineState::ConfiguredHidden);
          return;
        case QuickSetup:
          if (ctx_.Host().MsgBox(Text(".Strings.ControlPanel.Summary.QuickSetupWarning"),
                                 MsgButtons::YesNo, "") == MsgResult::Yes) {
            mobjVellix_->Configured(false);
          }
          return;
        case Exit:
          mobjVellix_->Shutdown();
          return;
        case Run:
          FormRun(true);
          controlState_ = RunningVisible;
          tmrBackupTimer.Enabled(true);
          log.Load();  // LoadLog
          return;
        case Unconfigured:
          quickSetup.Load();
          ShowQuickSetup();
          controlState_ = UnconfiguredVisible;
          return;
        default:
          return unexpected();
      }

    case ConfiguredHidden:
      switch (event) {
        case View:
          ViewFromHidden(MachineState::ConfiguredVisible);
          return;
        case Exit:
          mobjVellix_->Shutdown();
          return;
        case Run:
          FormRun(true);
          controlState_ = RunningHidden;
          log.Load();  // LoadLog
          tmrBackupTimer.Enabled(true);
          return;
        case Unconfigured:
          // No ShowQuickSetup here: the tabs stay behind the hidden window.
          quickSetup.Layout();
          quickSetup.Load();
          controlState_ = UnconfiguredHidden;
          return;
        default:
          return unexpected();
      }

    case RunningVisible:
      switch (event) {
        case View:
          BringToFrontStep();
          SaveHidden(false);
          CommitTree();
          return;
        case Hide:
          HideTo(MachineState::RunningHidden);
          return;
        case Exit:
          mobjVellix_->Shutdown();
          return;
        case Stop:
          FormRun(false);
          controlState_ = ConfiguredVisible;
          tmrBackupTimer.Enabled(false);
          return;
        default:
          return unexpected();
      }

    case RunningHidden:
      switch (event) {
        case View:
          ViewFromHidden(MachineState::RunningVisible);
          return;
        case Exit:
          // Only here does the form go at once; elsewhere it waits for "Shutdown".
          mobjVellix_->Shutdown();
          Unload();
          return;
        case Stop:
          FormRun(false);
          controlState_ = ConfiguredHidden;
          tmrBackupTimer.Enabled(false);
          return;
        default:
          return unexpected();
      }

    default:
      errorText = "State " + std::to_string(Number(state)) + " unknown";
      return;
  }
}

void FrmPopup::QuickSetupOKSteps() {
  quickSetup.SaveQuickSetup();
  mobjVellix_->Configured(true);
  bool later = true;
  if (forms_.predictiveStart != nullptr) {
    forms_.predictiveStart->Show(true);
    later = forms_.predictiveStart->Later();
  }
  const std::string key =
      later ? ".Strings.QuickSetup.MsgWaitingToStart" : ".Strings.QuickSetup.MsgNowRunning";
  if (!later) {
    StateMonitor(MachineEvent::Hide);
    mobjVellix_->Running(true);
  }
  ctx_.Host().MsgBox(Text(key), MsgButtons::OK, "");
}

void FrmPopup::mobjVellix_Notify(int32_t type, const Ref<PurgeDetails>& details, int16_t& result) {
  Frame frame(ctx_, "frmPopup", "mobjVellix_Notify");
  frame.Run([&] {
    // The backup manager must not open over the question.
    tmrBackupTimer.Enabled(false);
    if (type == 0 && sessionEnded_) {
      // A question the pass sent before it stopped: nobody is left to ask,
      // so it is answered as if its window had been closed.
      result = 1;
    } else if (type == 0 && forms_.purgeNotice != nullptr) {
      FrmPurgeNotice& notice = *forms_.purgeNotice;
      notice.Details(details);
      notice.Show(true);
      result = CInt(notice.Result());
    }
    // Also where the timer was off before: its tick tests for work first.
    // A failure above leaves it off.
    tmrBackupTimer.Enabled(true);
  });
}

}  // namespace vellix
