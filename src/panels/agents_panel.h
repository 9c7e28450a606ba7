#pragma once

#include "forms/panel.h"
#include "foundation/controls.h"
#include "panels/periods_panel.h"

namespace vellix {

// The Agents tab (picAg). Its editing procedures come later; the controls are
// here so that the shell's run-time enabling and GetIndex find them.
class AgentsPanel : public Panel {
 public:
  // A store is measured against the Periods panel's PeriodDuration.
  AgentsPanel(PopupShell& shell, Form& form, PeriodsPanel& periods)
      : Panel(shell),
        cboAgName(form, "cboAgName", "picAg"),
        cmdAgAdd(form, "cmdAgAdd", "picAg"),
        cmdAgRemove(form, "cmdAgRemove", "picAg"),
        lstAgFolders(form, "lstAgFolders", "picAg"),
        txtAgRemove(form, "txtAgRemove", "picAg"),
        chkAgPurgeDisabled(form, "chkAgPurgeDisabled", "picAg"),
        chkAgSubFolders(form, "chkAgSubFolders", "picAg"),
        txtAgNewCount(form, "txtAgNewCount", "picAg"),
        cboAgNewUnits(form, "cboAgNewUnits", "picAg"),
        txtAgFormat(form, "txtAgFormat", "picAg"),
        txtAgFileAfterCount(form, "txtAgFileAfterCount", "picAg"),
        cboAgFileAfterUnits(form, "cboAgFileAfterUnits", "picAg"),
        chkAgFileDisabled(form, "chkAgFileDisabled", "picAg"),
        cmdAgNew(form, "cmdAgNew", "picAg"),
        cmdAgFileNow(form, "cmdAgFileNow", "picAg"),
        cmdAgPurgeNow(form, "cmdAgPurgeNow", "picAg"),
        cmdAgDelete(form, "cmdAgDelete", "picAg"),
        periods_(periods) {}

  ComboBox cboAgName;
  CommandButton cmdAgAdd;
  CommandButton cmdAgRemove;
  ListBox lstAgFolders;
  TextBox txtAgRemove;
  CheckBox chkAgPurgeDisabled;
  CheckBox chkAgSubFolders;
  TextBox txtAgNewCount;
  ComboBox cboAgNewUnits;
  TextBox txtAgFormat;
  TextBox txtAgFileAfterCount;
  ComboBox cboAgFileAfterUnits;
  CheckBox chkAgFileDisabled;
  CommandButton cmdAgNew;
  CommandButton cmdAgFileNow;
  CommandButton cmdAgPurgeNow;
  CommandButton cmdAgDelete;

 private:
  PeriodsPanel& periods_;
};

}  // namespace vellix
