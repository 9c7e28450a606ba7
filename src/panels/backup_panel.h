#pragma once

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Storage and backup tab (picBa). Its editing procedures come later; the
// controls are here so that the shell's run-time enabling finds them.
class BackupPanel : public Panel {
 public:
  BackupPanel(PopupShell& shell, Form& form)
      : Panel(shell),
        txtBaFolder(form, "txtBaFolder", "picBa"),
        cmdBaBrowseFolder(form, "cmdBaBrowseFolder", "picBa"),
        txtBaBackupFolder(form, "txtBaBackupFolder", "picBa"),
        cmdBaBrowseBackup(form, "cmdBaBrowseBackup", "picBa"),
        txtBaEveryCount(form, "txtBaEveryCount", "picBa"),
        updBaEveryCount(form, "updBaEveryCount", "picBa"),
        cboBaEveryUnits(form, "cboBaEveryUnits", "picBa") {}

  TextBox txtBaFolder;
  CommandButton cmdBaBrowseFolder;
  TextBox txtBaBackupFolder;
  CommandButton cmdBaBrowseBackup;
  TextBox txtBaEveryCount;
  UpDown updBaEveryCount;
  ComboBox cboBaEveryUnits;
};

}  // namespace vellix
