#include "panels/quick_setup_panel.h"

namespace vellix {

QuickSetupPanel::QuickSetupPanel(PopupShell& shell, Form& /*form*/) : Panel(shell) {}

void QuickSetupPanel::Layout() {}
void QuickSetupPanel::Load() {}
bool QuickSetupPanel::LeaveQuickSetup() {
  return true;
}
bool QuickSetupPanel::SaveQuickSetup() {
  return false;
}

}  // namespace vellix
