#pragma once

#include "foundation/controls.h"
#include "shell/panel.h"

namespace vellix {

// The Activity log tab (picLo). The processing log and the logging level come
// later; the entries box is here so the tab shows its place.
class LogPanel : public Panel {
 public:
  LogPanel(PopupShell& shell, Form& form)
      : Panel(shell), txtLoEntries(form, "txtLoEntries", "picLo") {}

  TextBox txtLoEntries;
};

}  // namespace vellix
