#pragma once

#include <functional>

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Storage and backup tab (picBa): where the period stores lie, where
// they are copied to, how often a backup falls due and when the next one is.
// Each field is written straight through to the engine when it loses focus;
// a folder that can't be made is questioned, and No puts the engine's value
// back. The backup itself is the backup manager's.
class BackupPanel : public Panel {
 public:
  BackupPanel(PopupShell& shell, Form& form);

  void Design() override;
  void Layout() override { LayoutBackup(); }
  void Load() override { LoadBackup(); }
  bool Leave() override { return LeaveBackup(); }

  void LayoutBackup();
  void LoadBackup();
  // Writes the picker's time to the engine; never keeps the user on the tab.
  bool LeaveBackup();

  void txtBaFolder_LostFocus();
  void txtBaBackupFolder_LostFocus();  // logs as TraceNames::txtBaBackupFolder_LostFocus
  void txtBaEveryCount_LostFocus();
  void cboBaEveryUnits_LostFocus();
  void dtpBaNextBackup_Change();   // logs as TraceNames::dtpBaNextBackup_Change
  void cmdBaBrowseFolder_Click();  // logs as TraceNames::cmdBaBrowseFolder_Click
  void cmdBaBrowseBackup_Click();  // logs as TraceNames::cmdBaBrowseBackup_Click
  void cmdBaBackupNow_Click();

  // The main form's way to show the backup manager modally; it returns once
  // the manager has closed. Unset, the button ends in the trace.
  std::function<void()> ShowBackupManager;

  Label lblBaFolder;
  TextBox txtBaFolder;
  CommandButton cmdBaBrowseFolder;
  Label lblBaBackupFolder;
  TextBox txtBaBackupFolder;
  CommandButton cmdBaBrowseBackup;
  Label lblBaEvery;
  TextBox txtBaEveryCount;
  UpDown updBaEveryCount;
  ComboBox cboBaEveryUnits;
  Label lblBaNextBackup;
  DatePicker dtpBaNextBackup;
  CommandButton cmdBaBackupNow;

 private:
  // The folder dialog into a field; its lost focus follows either way.
  void BrowseInto(TextBox& field);
};

}  // namespace vellix
