#pragma once

#include <string>
#include <vector>

#include "foundation/controls.h"

namespace vellix::test {

// A form with one control of each kind, whose handlers write what ran to a
// log, for the view's tests.
class SampleForm : public Form {
 public:
  explicit SampleForm(UiHost& host, std::string name = "frmSample");

  std::vector<std::string> log;
  bool vetoTabs = false;
  bool refuseClose = false;

  Label lblInfo{*this, "lblInfo"};
  CommandButton cmdGo{*this, "cmdGo"};
  TextBox txtName{*this, "txtName"};
  CheckBox chkOn{*this, "chkOn"};
  FrameControl fraChoice{*this, "fraChoice"};
  OptionButton optA{*this, "optA", "fraChoice"};
  OptionButton optB{*this, "optB", "fraChoice"};
  // A panel hidden at load, with a frame of its own inside.
  PictureBox picMore{*this, "picMore"};
  CheckBox chkMore{*this, "chkMore", "picMore"};
  FrameControl fraInner{*this, "fraInner", "picMore"};
  OptionButton optInner{*this, "optInner", "fraInner"};
  ComboBox cboKind{*this, "cboKind"};
  ListBox lstTicks{*this, "lstTicks"};
  TabStrip tabMain{*this, "tabMain"};
  TreeView tvwFolders{*this, "tvwFolders"};
  FlexGrid grdRuns{*this, "grdRuns"};
  TextBox txtCount{*this, "txtCount"};
  UpDown udCount{*this, "udCount"};
  DatePicker dtpStart{*this, "dtpStart"};
  Menu mnuPopup{*this, "mnuPopup"};
  Menu mnuOpen{*this, "mnuOpen", "mnuPopup"};
  Menu mnuSep{*this, "mnuSep", "mnuPopup"};
  Menu mnuHidden{*this, "mnuHidden", "mnuPopup"};
  Menu mnuExit{*this, "mnuExit", "mnuPopup"};

  double lastMouseX = -1;

 protected:
  void Design() override;
  void Form_QueryUnload(bool& cancel, int32_t unloadMode) override;
  void Form_Activate() override { log.push_back("Activate"); }
  void Form_MouseMove(int16_t button, int16_t shift, double x, double y) override;
};

}  // namespace vellix::test
