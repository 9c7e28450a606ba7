#pragma once

#include <cstdint>
#include <string>

#include "forms/layout_metrics.h"
#include "forms/machine.h"
#include "foundation/ref.h"

namespace vellix {

struct Context;
class ComboBox;
class Form;
class Monitor;

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
  virtual void StateMonitor(MachineEvent event) = 0;
  virtual void RunDisable(bool running) = 0;
  virtual int32_t GetIndex(const std::string& name, bool wantData) = 0;
  // The agent name lists of the Agents and Import panels, which a new
  // configuration empties.
  [[nodiscard]] virtual ComboBox& cboAgName() = 0;
  [[nodiscard]] virtual ComboBox& cboImName() = 0;
  // The engine's monitor the form listens to; nothing while logging is off.
  [[nodiscard]] virtual const Ref<Monitor>& mobjMonitor() const = 0;
  virtual void mobjMonitor(Ref<Monitor> monitor) = 0;
  // The help button's action, shared by the Summary panel and Quick setup.
  virtual void cmdSuHelp_Click() = 0;
};

// One panel of the main form. A panel is a file pair in panels/ (or
// activity/): its controls are typed members, constructed on the main form
// inside the panel's picture box, and its procedures keep their own names
// (LoadPeriods, LeavePeriods, ...); the overrides below only route to them.
//
// The main form calls, for every panel in the order of its tab table:
// - Design: the controls' design values, when the form loads;
// - Layout: once, in FillForm (Quick setup's again from the state machine);
// - Load: at each entry to the panel's tab, reading fresh from the engine;
// - Leave: when its tab is left; false vetoes the change. A panel without a
//   Leave procedure keeps the default, which lets the user go;
// - EnableControls: from FormRun, after RunDisable, for controls a panel
//   enables by a rule of its own.
class Panel {
 public:
  explicit Panel(PopupShell& shell) : shell_(shell) {}
  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;
  virtual ~Panel() = default;

  virtual void Design() {}
  virtual void Layout() {}
  virtual void Load() {}
  virtual bool Leave() { return true; }
  virtual void EnableControls(bool /*running*/) {}

 protected:
  [[nodiscard]] PopupShell& shell() const { return shell_; }
  [[nodiscard]] Context& ctx() const { return shell_.ctx(); }

 private:
  PopupShell& shell_;
};

}  // namespace vellix
