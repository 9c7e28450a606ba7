// The control state machine of the main form: every command and engine report
// arrives here as an event and is handled by the current state.
#include <array>
#include <string>

#include "dialogs/frm_predictive_start.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/frame.h"
#include "foundation/ui_host.h"
#include "shell/frm_popup.h"

namespace vellix {

namespace {

constexpr std::array<const char*, 7> kStateNames = {
    "Unloaded",         "UnconfiguredVisible", "UnconfiguredHidden", "ConfiguredVisible",
    "ConfiguredHidden", "RunningVisible",      "RunningHidden"};
constexpr std::array<const char*, 12> kEventNames = {
    "Load",         "View",    "Hide", "QuickSetup", "MoreConfig", "Exit",
    "QuickSetupOK", "Recover", "Stop", "Run",        "Configured", "Unconfigured"};

template <size_t N>
std::string NameOf(const std::array<const char*, N>& names, int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= N) return "";
  return names[static_cast<size_t>(value)];
}

}  // namespace

void FrmPopup::TraceState(int32_t state, int32_t event) {
  // The one procedure without a frame: its record goes straight to the log.
  ctx_.errorLog->LogEvent(
      kProject, "frmPopup", "StateMonitor",
      "Current State: " + NameOf(kStateNames, state) + " Event: " + NameOf(kEventNames, event), 0,
      "");
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
  WindowState(0);
  if (restoring) Show(false);
  BringToFront();
}

void FrmPopup::PutAway() {
  Hide();
}

void FrmPopup::SaveHidden(bool value) {
  Hidden(value);
}

void FrmPopup::CommitTree() {
  ctx_.rootNode->Commit("");
}

// Hide from a visible state: the window goes and the choice is kept.
void FrmPopup::HideTo(int32_t hiddenState) {
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
void FrmPopup::ViewFromHidden(int32_t visibleState) {
  OfferHide();
  SaveHidden(false);
  SetupFormContext();
  BringToFrontStep();
  controlState_ = visibleState;
  CommitTree();
}

void FrmPopup::StateMonitor(int32_t event) {
  Frame frame(ctx_, "frmPopup", "Visible");
  frame.Run([&] {
    TraceState(controlState_, event);
    StateMonitorSteps(controlState_, event, frame.ErrorText);
  });
}

void FrmPopup::StateMonitorSteps(int32_t state, int32_t event, std::string& errorText) {
  auto unexpected = [&] {
    errorText = "Unexpected Event " + std::to_string(event) + " in State " + std::to_string(state);
  };
  switch (state) {
    case kStateUnloaded:
      if (event != kEventLoad) return unexpected();
      tmrBackupTimer.Enabled(false);
      quickSetup.Load();
      ShowQuickSetup();
      if (Hidden()) {
        OfferView();
        controlState_ = kStateUnconfiguredHidden;
      } else {
        OfferHide();
        controlState_ = kStateUnconfiguredVisible;
        SetupFormContext();
        SaveHidden(false);
        CommitTree();
      }
      mobjVellix_->Announce();
      return;

    case kStateUnconfiguredVisible:
      switch (event) {
        case kEventView:
          ViewWhileVisible();
          return;
        case kEventHide:
          HideTo(kStateUnconfiguredHidden);
          return;
        case kEventMoreConfig:
          quickSetup.SaveQuickSetup();
          mobjVellix_->Configured(true);
          return;
        case kEventExit:
          mobjVellix_->Shutdown();
          return;
        case kEventQuickSetupOK:
          QuickSetupOKSteps();
          return;
        case kEventRecover:
          mobjVellix_->Configured(true);
          return;
        case kEventConfigured:
          controlState_ = kStateConfiguredVisible;
          ShowMain();
          tabControlOptions_Click();
          return;
        default:
          return unexpected();
      }

    case kStateUnconfiguredHidden:
      switch (event) {
        case kEventView:
          ViewFromHidden(kStateUnconfiguredVisible);
          return;
        case kEventExit:
          SaveHidden(false);  // Form_Unload commits
          mobjVellix_->Shutdown();
          return;
        case kEventConfigured:
          tabControlOptions_Click();
          ShowMain();
          controlState_ = kStateConfiguredHidden;
          return;
        default:
          return unexpected();
      }

    case kStateConfiguredVisible:
      switch (event) {
        case kEventView:
          ViewWhileVisible();
          return;
        case kEventHide:
          HideTo(kStateConfiguredHidden);
          return;
        case kEventQuickSetup:
          if (ctx_.Host().MsgBox(ctx_.rootNode
                                     ->GetValue(std::string(kBranch) +
                                                ".Strings.ControlPanel.Summary.QuickSetupWarning")
                                     .ToString(),
                                 MsgButtons::YesNo, "") == MsgResult::Yes) {
            mobjVellix_->Configured(false);
          }
          return;
        case kEventExit:
          mobjVellix_->Shutdown();
          return;
        case kEventRun:
          FormRun(true);
          controlState_ = kStateRunningVisible;
          tmrBackupTimer.Enabled(true);
          log.Load();  // LoadLog
          return;
        case kEventUnconfigured:
          quickSetup.Load();
          ShowQuickSetup();
          controlState_ = kStateUnconfiguredVisible;
          return;
        default:
          return unexpected();
      }

    case kStateConfiguredHidden:
      switch (event) {
        case kEventView:
          ViewFromHidden(kStateConfiguredVisible);
          return;
        case kEventExit:
          mobjVellix_->Shutdown();
          return;
        case kEventRun:
          FormRun(true);
          controlState_ = kStateRunningHidden;
          log.Load();  // LoadLog
          tmrBackupTimer.Enabled(true);
          return;
        case kEventUnconfigured:
          // No ShowQuickSetup here: the tabs stay behind the hidden window.
          quickSetup.Layout();
          quickSetup.Load();
          controlState_ = kStateUnconfiguredHidden;
          return;
        default:
          return unexpected();
      }

    case kStateRunningVisible:
      switch (event) {
        case kEventView:
          BringToFrontStep();
          SaveHidden(false);
          CommitTree();
          return;
        case kEventHide:
          HideTo(kStateRunningHidden);
          return;
        case kEventExit:
          mobjVellix_->Shutdown();
          return;
        case kEventStop:
          FormRun(false);
          controlState_ = kStateConfiguredVisible;
          tmrBackupTimer.Enabled(false);
          return;
        default:
          return unexpected();
      }

    case kStateRunningHidden:
      switch (event) {
        case kEventView:
          ViewFromHidden(kStateRunningVisible);
          return;
        case kEventExit:
          // Only here does the form go at once; elsewhere it waits for "Shutdown".
          mobjVellix_->Shutdown();
          Unload();
          return;
        case kEventStop:
          FormRun(false);
          controlState_ = kStateConfiguredHidden;
          tmrBackupTimer.Enabled(false);
          return;
        default:
          return unexpected();
      }

    default:
      errorText = "State " + std::to_string(state) + " unknown";
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
    StateMonitor(kEventHide);
    mobjVellix_->Running(true);
  }
  ctx_.Host().MsgBox(ctx_.rootNode->GetValue(kBranch + key).ToString(), MsgButtons::OK, "");
}

}  // namespace vellix
