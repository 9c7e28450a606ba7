#pragma once

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Import tab (picIm). Its procedures come later; its name list is here so
// that GetIndex and a new quick setup find it.
class ImportPanel : public Panel {
 public:
  ImportPanel(PopupShell& shell, Form& form)
      : Panel(shell), cboImName(form, "cboImName", "picIm") {}

  ComboBox cboImName;
};

}  // namespace vellix
