#pragma once

namespace vellix {

// Names the error log shows that are not the procedure's own. Support staff
// and their log searches know the records by these names, so they stay as
// they have always been written, however wrong they look. Each panel adds the
// literals of its own procedures here when it is built.
struct TraceNames {
  // Module of ControlStartup's Main, shorter than the module's name.
  static constexpr const char* Startup = "Startup";
  // The frame of frmPopup's StateMonitor; its trace line keeps "StateMonitor".
  static constexpr const char* StateMonitorFrame = "Visible";
  // frmPopup's cmdExit_Click.
  static constexpr const char* cmdExit_Click = "GetIndex";
  // frmPopup's mPopAbout_Click.
  static constexpr const char* mPopAbout_Click = "mPopHide_Click";
  // The Log panel's optLoVerbose_Click and cmdLoSendDiagnostics_Click.
  static constexpr const char* optLoVerbose_Click = "optVerboseOff_Click";
  static constexpr const char* cmdLoSendDiagnostics_Click = "cmdAgFileNow_Click";
  // The Agents panel's txtAgRemove_LostFocus and cboAgName_Change.
  static constexpr const char* txtAgRemove_LostFocus = "txtPeFormat_Click";
  static constexpr const char* cboAgName_Change = "cboAgName_Click";
  // The Storage and backup panel's handlers.
  static constexpr const char* dtpBaNextBackup_Change = "lstImImportList_ItemCheck";
  static constexpr const char* txtBaBackupFolder_LostFocus = "txtBaBackupPath_LostFocus";
  static constexpr const char* cmdBaBrowseFolder_Click = "cmdBrowseFolder_Click";
  static constexpr const char* cmdBaBrowseBackup_Click = "cmdBrowseBackup_Click";
  // frmBackupNow's Form_Load.
  static constexpr const char* frmBackupNow_Form_Load = "LayoutForm";
  // frmAbout's Form_Load.
  static constexpr const char* frmAbout_Form_Load = "LayoutForm";
  // The backup manager's cmdChange_Click and the mouse handler of its grid.
  static constexpr const char* cmdChange_Click = "cmdBrowseStore_Click";
  static constexpr const char* fgcPeriods_MouseMove = "Form_Load";
  // frmRecover's cmdCancel_Click and Form_Unload.
  static constexpr const char* frmRecover_cmdCancel_Click = "cmdOK_Click";
  static constexpr const char* frmRecover_Form_Unload = "lstConfigFiles_Click";
  // The import wizard's SurveyFolder.
  static constexpr const char* SurveyFolder = "ExitSource";
};

}  // namespace vellix
