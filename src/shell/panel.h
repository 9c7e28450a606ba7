#pragma once

#include <cstdint>
#include <string>

#include "shell/layout_metrics.h"

namespace vellix {

struct Context;
class Form;

// The events of the control state machine, by number.
enum ControlEvent : int32_t {
  kEventLoad = 0,
  kEventView = 1,
  kEventHide = 2,
  kEventQuickSetup = 3,
  kEventMoreConfig = 4,
  kEventExit = 5,
  kEventQuickSetupOK = 6,
  kEventRecover = 7,
  kEventStop = 8,
  kEventRun = 9,
  kEventConfigured = 10,
  kEventUnconfigured = 11,
};

// The states of the control state machine, by number.
enum ControlStateValue : int32_t {
  kStateUnloaded = 0,
  kStateUnconfiguredVisible = 1,
  kStateUnconfiguredHidden = 2,
  kStateConfiguredVisible = 3,
  kStateConfiguredHidden = 4,
  kStateRunningVisible = 5,
  kStateRunningHidden = 6,
};

// What a panel reaches of the main form: the narrow way back to the shell.
class PopupShell {
 public:
  virtual ~PopupShell() = default;
  [[nodiscard]] virtual Context& ctx() const = 0;
  // The main form the panel's controls belong to.
  [[nodiscard]] virtual Form& PopupForm() = 0;
  [[nodiscard]] virtual const LayoutMetrics& Metrics() const = 0;
  // Key of the tab in view; empty until the first tab flow.
  [[nodiscard]] virtual const std::string& CurrentTab() const = 0;
  virtual void StateMonitor(int32_t event) = 0;
  virtual void RunDisable(bool running) = 0;
  virtual int32_t GetIndex(const std::string& name, bool wantData) = 0;
  // The help button's action, shared by the Summary panel and Quick setup.
  virtual void cmdSuHelp_Click() = 0;
};

// One panel of the main form: its controls (members constructed on the main
// form, in the panel's picture box) and its procedures. Layout runs once in
// FillForm, Load at each entry to the panel's tab, Leave when the tab is left
// (false keeps the user on it).
class Panel {
 public:
  explicit Panel(PopupShell& shell) : shell_(shell) {}
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;
  virtual ~Panel() = default;

  virtual void Layout() {}
  virtual void Load() {}
  virtual bool Leave() { return true; }
  // Called by FormRun after RunDisable: controls a panel enables by its own rule.
  virtual void EnableControls(bool /*running*/) {}

 protected:
  [[nodiscard]] PopupShell& shell() const { return shell_; }
  [[nodiscard]] Context& ctx() const { return shell_.ctx(); }

 private:
  PopupShell& shell_;
};

}  // namespace vellix
