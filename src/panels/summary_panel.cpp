#include "panels/summary_panel.h"

namespace vellix {

SummaryPanel::SummaryPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      cmdSuHelp(form, "cmdSuHelp", "picSu"),
      cmdSuSetupWiz(form, "cmdSuSetupWiz", "picSu") {
  cmdSuSetupWiz.Click = [this] { cmdSuSetupWiz_Click(); };
  cmdSuHelp.Click = [this] { cmdSuHelp_Click(); };
}

void SummaryPanel::Layout() {}
void SummaryPanel::Load() {}
bool SummaryPanel::Leave() {
  return true;
}
void SummaryPanel::cmdSuHelp_Click() {}
void SummaryPanel::cmdSuSetupWiz_Click() {
  shell().StateMonitor(kEventQuickSetup);
}

}  // namespace vellix
