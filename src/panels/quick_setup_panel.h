#pragma once

#include "foundation/controls.h"
#include "shell/panel.h"

namespace vellix {

// Quick setup (picQuickSetup): the one-page panel that turns an unconfigured
// system into a configured one.
class QuickSetupPanel : public Panel {
 public:
  QuickSetupPanel(PopupShell& shell, Form& form);

  void Layout() override;
  // Fills the panel with its initial values.
  void Load() override;
  bool LeaveQuickSetup();
  bool SaveQuickSetup();
};

}  // namespace vellix
