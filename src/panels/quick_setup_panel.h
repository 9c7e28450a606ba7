#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

class RowLayout;

// Quick setup (picQuickSetup): the one-page panel that turns an unconfigured
// system into a configured one. It holds no state beyond its controls; what
// it saves goes to the engine's configuration and the tree is committed.
class QuickSetupPanel : public Panel {
 public:
  QuickSetupPanel(PopupShell& shell, Form& form);

  // Design values of the panel's controls; run by the main form's Design.
  void Design() override;
  // Places the four frames and the button row in picQuickSetup and takes the
  // texts from the panel's text node.
  void Layout() override;
  // Fills the panel with its initial values.
  void Load() override;
  void SetupDefaultStore();
  // True when the panel may be left with its values (asks the user about an
  // empty backup folder and a store folder that can't be made).
  bool LeaveQuickSetup();
  // Writes a whole engine configuration from the panel; true when written.
  bool SaveQuickSetup();

  void chkNotFirstDay_Click();
  void cmdBrowseStore_Click();
  void cmdBrowseBackup_Click();
  void cmdRecover_Click();
  void cmdHelp_Click();
  void cmdConfigMore_Click();
  void cmdCancel_Click();
  void cmdOK_Click();

  // The main form's way to show the recover dialog modally for a backup
  // (source) and a store (destination) folder; true when the dialog reports
  // a recovered configuration. Unset, the button ends in the trace.
  std::function<bool(const std::string& source, const std::string& destination)> ShowRecover;

  FrameControl fraPeriod;
  OptionButton optAnnual;
  OptionButton optQuarter;
  FrameControl fraReference;
  CheckBox chkNotFirstDay;
  DatePicker dtpReference;
  FrameControl fraStorage;
  Label lblStore;
  TextBox txtStorePath;
  CommandButton cmdBrowseStore;
  Label lblBackup;
  TextBox txtBackupPath;
  CommandButton cmdBrowseBackup;
  Label lblRecover;
  CommandButton cmdRecover;
  FrameControl fraDefaultFolders;
  CheckBox chkEmails;
  CheckBox chkCalendar;
  CheckBox chkTasks;
  CheckBox chkContacts;
  CheckBox chkNotes;
  CommandButton cmdConfigMore;
  CommandButton cmdHelp;
  CommandButton cmdCancel;
  CommandButton cmdOK;

  // Used when the desktop has no personal folder.
  static constexpr const char* kDefaultStore = "c:\\Orvane Vellix Store";
  // The store folder's name below the personal folder.
  static constexpr const char* kStoreFolderName = "My Vellix Activity";

 private:
  // The procedure shared by both browse buttons.
  void BrowseInto(TextBox& field);
  // A text of the main branch ("" when the key is absent).
  [[nodiscard]] std::string Text(const std::string& suffix) const;
  // Each frame's rows start below its caption; a frame ends a Border below
  // its last row. Both return the frame's height.
  int16_t LayoutPeriodFrame(RowLayout& rows, int16_t width);
  int16_t LayoutReferenceFrame(RowLayout& rows, int16_t width);
  int16_t LayoutStorageFrame(RowLayout& rows, int16_t width);
  int16_t LayoutFoldersFrame(RowLayout& rows, int16_t width);
  // OK, Cancel, Configure More and Help in a row at the bottom right, no
  // higher than `below`.
  void LayoutButtons(RowLayout& rows, int16_t below);
};

}  // namespace vellix
