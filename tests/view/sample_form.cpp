#include "sample_form.h"

namespace vellix::test {

SampleForm::SampleForm(UiHost& host, std::string name) : Form(host, std::move(name)) {
  cmdGo.Click = [this] { log.push_back("cmdGo_Click"); };
  txtName.Change = [this] { log.push_back("txtName_Change " + txtName.Text()); };
  txtName.LostFocus = [this] { log.push_back("txtName_LostFocus"); };
  chkOn.Click = [this] { log.push_back("chkOn_Click " + std::to_string(chkOn.Value())); };
  optA.Click = [this] { log.push_back("optA_Click"); };
  optB.Click = [this] { log.push_back("optB_Click"); };
  cboKind.Click = [this] { log.push_back("cboKind_Click " + cboKind.Text()); };
  lstTicks.ItemCheck = [this](int32_t i) {
    log.push_back("lstTicks_ItemCheck " + std::to_string(i));
  };
  tabMain.BeforeClick = [this](bool& cancel) {
    log.push_back("tabMain_BeforeClick");
    cancel = vetoTabs;
  };
  tabMain.Click = [this] { log.push_back("tabMain_Click " + tabMain.SelectedItem()->Key()); };
  tvwFolders.NodeClick = [this](TreeNode& node) { log.push_back("NodeClick " + node.Key()); };
  grdRuns.LeaveCell = [this] { log.push_back("LeaveCell " + std::to_string(grdRuns.Row())); };
  grdRuns.EnterCell = [this] { log.push_back("EnterCell " + std::to_string(grdRuns.Row())); };
  udCount.UpClick = [this] { log.push_back("UpClick"); };
  mnuOpen.Click = [this] { log.push_back("mnuOpen_Click"); };
}

void SampleForm::Design() {
  Width(9000);
  Height(7000);
  lblInfo.Caption("&Name:");
  cmdGo.Move(3240, 120, 1500, 375);
  cmdGo.Caption("&Go");
  txtName.Move(120, 600, 3000, 315);
  chkOn.Move(3240, 600, 1500, 315);
  fraChoice.Move(120, 1020, 3000, 1200);
  optA.Move(120, 300, 2000, 300);
  optB.Move(120, 700, 2000, 300);
  picMore.Move(5400, 1200, 3000, 1500);
  picMore.Visible(false);
  chkMore.Move(60, 60, 2000, 300);
  cboKind.Style(ComboBox::kDropdownList);
  cboKind.AddItem("Daily");
  cboKind.AddItem("Weekly");
  lstTicks.Style(ListBox::kCheckbox);
  lstTicks.AddItem("Inbox");
  lstTicks.AddItem("Sent");
  tabMain.Move(120, 2400, 6000, 375);
  tabMain.AddTab("summary", "Summary");
  tabMain.AddTab("agents", "Agents");
  tvwFolders.AddRoot("root", "Mailbox");
  tvwFolders.Add("root", TreeView::Relationship::Child, "inbox", "Inbox");
  grdRuns.Rows(3);
  grdRuns.Cols(2);
  grdRuns.TextMatrix(0, 1, "Run");
  txtCount.Move(120, 4600, 1000, 315);
  txtCount.Text("5");
  udCount.Move(1120, 4600, 255, 315);
  udCount.Max(10);
  udCount.BuddyControl("txtCount");
  txtLog.Move(3240, 4600, 5600, 2000);
  mnuPopup.Visible(false);
  mnuOpen.Caption("&Open");
  mnuSep.Caption("-");
  mnuHidden.Caption("Hidden");
  mnuHidden.Visible(false);
  mnuExit.Caption("E&xit");
  mnuExit.Enabled(false);
}

void SampleForm::Form_QueryUnload(bool& cancel, int32_t unloadMode) {
  log.push_back("Form_QueryUnload");
  lastUnloadMode = unloadMode;
  cancel = refuseClose;
}

void SampleForm::Form_MouseMove(int16_t /*button*/, int16_t /*shift*/, double x, double /*y*/) {
  lastMouseX = x;
  if (mouseMoved) mouseMoved();
}

}  // namespace vellix::test
