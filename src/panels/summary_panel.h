#pragma once

#include "foundation/controls.h"
#include "shell/panel.h"

namespace vellix {

// The Summary tab (picSu): the read-only view of agents and period stores,
// the help button and the way back to quick setup.
class SummaryPanel : public Panel {
 public:
  SummaryPanel(PopupShell& shell, Form& form);

  void Layout() override;  // LayoutSummary
  void Load() override;    // LoadSummary
  bool Leave() override;   // LeaveSummary

  void cmdSuHelp_Click();
  void cmdSuSetupWiz_Click();

  CommandButton cmdSuHelp;
  CommandButton cmdSuSetupWiz;
};

}  // namespace vellix
