#pragma once

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Periods tab (picPe): period length, reference date and store format.
// Its editing procedures come later; the controls are here so that the shell's
// run-time enabling finds them.
class PeriodsPanel : public Panel {
 public:
  PeriodsPanel(PopupShell& shell, Form& form)
      : Panel(shell),
        txtPeNewCount(form, "txtPeNewCount", "picPe"),
        cboPeNewUnits(form, "cboPeNewUnits", "picPe"),
        dtpPeReference(form, "dtpPeReference", "picPe"),
        txtPeFormat(form, "txtPeFormat", "picPe") {}

  TextBox txtPeNewCount;
  ComboBox cboPeNewUnits;
  DatePicker dtpPeReference;
  TextBox txtPeFormat;
};

}  // namespace vellix
