#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/controls.h"
#include "support/expect_vb_error.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Rel = TreeView::Relationship;

// A form with one control of each kind; every handler writes a line.
class EventForm : public Form {
 public:
  explicit EventForm(UiHost& host) : Form(host, "frmEvents") {
    chkA.Click = [this] { log.push_back("chkA_Click " + std::to_string(chkA.Value())); };
    optA1.Click = [this] { log.push_back("optA1_Click"); };
    optA2.Click = [this] { log.push_back("optA2_Click"); };
    optB1.Click = [this] { log.push_back("optB1_Click"); };
    txtA.Change = [this] { log.push_back("txtA_Change " + txtA.Text()); };
    txtA.LostFocus = [this] { log.push_back("txtA_LostFocus"); };
    cmdA.Click = [this] { log.push_back("cmdA_Click"); };
    cboA.Click = [this] { log.push_back("cboA_Click " + cboA.Text()); };
    cboA.Change = [this] { log.push_back("cboA_Change " + cboA.Text()); };
    lstA.ItemCheck = [this](int32_t row) {
      log.push_back("lstA_ItemCheck " + std::to_string(row) + " " +
                    (lstA.Selected(row) ? "ticked" : "clear"));
    };
    lstB.Click = [this] { log.push_back("lstB_Click"); };
    tabs.BeforeClick = [this](bool& cancel) {
      log.push_back("BeforeClick " + tabs.SelectedItem()->Key());
      cancel = vetoLeaving;
    };
    tabs.Click = [this] { log.push_back("Click " + tabs.SelectedItem()->Key()); };
    tvw.NodeClick = [this](TreeNode& node) { log.push_back("NodeClick " + node.FullPath()); };
    tvw.Click = [this] { log.push_back("tvw_Click"); };
    grid.LeaveCell = [this] { log.push_back("LeaveCell " + Cell()); };
    grid.EnterCell = [this] { log.push_back("EnterCell " + Cell()); };
    dtp.Change = [this] { log.push_back("dtp_Change"); };
    txtCount.Change = [this] { log.push_back("txtCount_Change " + txtCount.Text()); };
    upd.Change = [this] { log.push_back("upd_Change"); };
  }
  std::string Cell() const { return std::to_string(grid.Row()) + "," + std::to_string(grid.Col()); }
  // The events so far, leaving the log empty.
  std::vector<std::string> Events() { return std::exchange(log, {}); }
  FrameControl fraA{*this, "fraA"};
  OptionButton optA1{*this, "optA1", "fraA"};
  OptionButton optA2{*this, "optA2", "fraA"};
  FrameControl fraB{*this, "fraB"};
  OptionButton optB1{*this, "optB1", "fraB"};
  CheckBox chkA{*this, "chkA", "fraB"};
  TextBox txtA{*this, "txtA"};
  CommandButton cmdA{*this, "cmdA"};
  ComboBox cboA{*this, "cboA"};
  ListBox lstA{*this, "lstA"};
  ListBox lstB{*this, "lstB"};
  TabStrip tabs{*this, "tabControlOptions"};
  TreeView tvw{*this, "tvwSuSelector"};
  FlexGrid grid{*this, "fgcSuDetail"};
  DatePicker dtp{*this, "dtpBaNextBackup"};
  TextBox txtCount{*this, "txtBaEveryCount"};
  UpDown upd{*this, "updBaEveryCount"};
  bool vetoLeaving = false;
  std::vector<std::string> log;

 protected:
  void Design() override {
    lstA.Style(ListBox::kCheckbox);
    lstB.MultiSelect(ListBox::kMultiSelectSimple);
    tabs.AddTab("Summary", "Summary", "Summary data");
    tabs.AddTab("Periods", "Periods", "Period Configuration");
    tabs.AddTab("Backup", "Storage && Backup");
    upd.BuddyControl("txtBaEveryCount");
    upd.Min(1);
    upd.Max(365);
  }
};

class ControlsTest : public ::testing::Test {
 protected:
  void SetUp() override { form.Load(); }
  test::ScriptedHost host;
  EventForm form{host};
};

TEST_F(ControlsTest, CheckBoxAndOptionButtonsClickOnlyWhenTheirValueChanges) {
  form.chkA.Value(CheckBox::kChecked);
  form.chkA.Value(CheckBox::kChecked);
  form.chkA.Value(CheckBox::kUnchecked);
  EXPECT_THAT(form.Events(), ElementsAre("chkA_Click 1", "chkA_Click 0"));
  EXPECT_VB_ERROR(form.chkA.Value(3), 380);
  EXPECT_EQ(form.chkA.Value(), CheckBox::kUnchecked);
  // A grey box ticks on a user's click.
  form.chkA.Value(CheckBox::kGrayed);
  form.Events();
  EXPECT_TRUE(form.chkA.UserClick());
  EXPECT_THAT(form.Events(), ElementsAre("chkA_Click 1"));
  // Controls inside a hidden or disabled frame can't be reached.
  form.fraB.Visible(false);
  EXPECT_FALSE(form.chkA.UserClick());
  form.fraB.Visible(true);
  form.fraB.Enabled(false);
  EXPECT_FALSE(form.optB1.UserClick());
  EXPECT_VB_ERROR(form.chkA.SetFocus(), 5);
  EXPECT_THAT(form.Events(), IsEmpty());
  form.fraB.Enabled(true);
  EXPECT_TRUE(form.chkA.UserClick());
  form.Events();
  // Option buttons in one container clear each other.
  form.optA1.Value(true);
  form.optB1.Value(true);
  form.optA2.Value(true);
  EXPECT_FALSE(form.optA1.Value());
  EXPECT_TRUE(form.optA2.Value());
  EXPECT_TRUE(form.optB1.Value()) << "another frame is another group";
  EXPECT_THAT(form.Events(), ElementsAre("optA1_Click", "optB1_Click", "optA2_Click"));
  form.optA2.Value(true);   // on already
  form.optA2.Value(false);  // off in code raises nothing
  form.optA1.UserClick();
  form.optA1.UserClick();  // a click on the one that is on
  EXPECT_FALSE(form.optA2.Value());
  EXPECT_THAT(form.Events(), ElementsAre("optA1_Click"));
}

TEST_F(ControlsTest, TextRunsChangeAndLostFocusAndObserversLearnWhichPropertyChanged) {
  form.txtA.Text("12");
  form.txtA.Text("12");
  EXPECT_THAT(form.Events(), ElementsAre("txtA_Change 12"));
  EXPECT_TRUE(form.txtA.UserSetText("365"));
  EXPECT_TRUE(form.cmdA.UserClick());
  EXPECT_THAT(form.Events(), ElementsAre("txtA_Change 365", "txtA_LostFocus", "cmdA_Click"));
  EXPECT_EQ(form.ActiveControl(), &form.cmdA);
  // A locked box takes no typing; a disabled button no click.
  form.txtA.Locked(true);
  EXPECT_FALSE(form.txtA.UserSetText("1"));
  form.cmdA.Enabled(false);
  EXPECT_FALSE(form.cmdA.UserClick());
  EXPECT_EQ(form.txtA.Text(), "365");
  EXPECT_THAT(form.Events(), IsEmpty());
  // Observers learn which property changed.
  std::vector<std::string> changes;
  Connection c = form.txtA.OnChanged([&changes](Control& control, std::string_view property) {
    changes.push_back(control.Name() + "." + std::string(property));
  });
  form.txtA.Text("x");
  form.txtA.Text("x");
  form.txtA.Enabled(false);
  form.txtA.Move(120, 240, 2400, 375);
  EXPECT_THAT(changes, ElementsAre("txtA.Text", "txtA.Enabled", "txtA.Left", "txtA.Top",
                                   "txtA.Width", "txtA.Height"));
  EXPECT_VB_ERROR(form.txtA.Width(-1), 380);
}

TEST_F(ControlsTest, ComboTextRunsChangeARowRunsClickAndARenamedRowStaysSelected) {
  auto& cbo = form.cboA;
  cbo.AddItem("Year");
  cbo.AddItem("Month");
  cbo.ItemData(1, 12);
  cbo.Text("Month");
  cbo.Text("Fortnight");
  EXPECT_THAT(form.Events(), ElementsAre("cboA_Change Month", "cboA_Change Fortnight"));
  EXPECT_EQ(cbo.ListIndex(), -1) << "no row holds that text";
  // Choosing a row in code clicks, without a change.
  cbo.ListIndex(0);
  cbo.ListIndex(0);
  EXPECT_THAT(form.Events(), ElementsAre("cboA_Click Year"));
  EXPECT_EQ(cbo.ItemData(1), 12);
  EXPECT_VB_ERROR(cbo.ListIndex(2), 380);
  EXPECT_VB_ERROR(static_cast<void>(cbo.ItemData(2)), 381);
  EXPECT_VB_ERROR(cbo.AddItem("Day", 5), 5);
  EXPECT_EQ(cbo.List(7), "") << "reading past the list gives nothing, as the runtime does";
  // Clearing the list clears the text, which is a change.
  cbo.Clear();
  EXPECT_EQ(cbo.Text() + std::to_string(cbo.ListCount()) + std::to_string(cbo.ListIndex()), "0-1");
  EXPECT_THAT(form.Events(), ElementsAre("cboA_Change "));
  // The load of a panel: the text first, the rows after it. The row the user
  // renames stays the selected one.
  cbo.Text("Calendar");
  cbo.AddItem("Tasks");
  cbo.AddItem("Calendar");
  EXPECT_EQ(cbo.ListIndex(), 1) << "the row showing the text is the selected one";
  form.Events();
  EXPECT_TRUE(cbo.UserSetText("Diary"));
  EXPECT_EQ(cbo.ListIndex(), 1);
  EXPECT_EQ(cbo.List(cbo.ListIndex()), "Calendar");
  EXPECT_THAT(form.Events(), ElementsAre("cboA_Change Diary"));
  // A row inserted before the selected one moves the selection along; removing
  // the selected row leaves none.
  cbo.AddItem("Contacts", 0);
  EXPECT_EQ(cbo.ListIndex(), 2);
  cbo.RemoveItem(2);
  EXPECT_EQ(cbo.ListIndex(), -1);
  EXPECT_EQ(cbo.Text(), "Diary");
  EXPECT_TRUE(cbo.UserPick(1));
  EXPECT_EQ(cbo.Text(), "Tasks");
  EXPECT_THAT(form.Events(), ElementsAre("cboA_Click Tasks"));
  // A drop-down list takes only the texts of its rows.
  cbo.Style(ComboBox::kDropdownList);
  cbo.Text("contacts");
  EXPECT_EQ(cbo.Text(), "Contacts");
  EXPECT_EQ(cbo.ListIndex(), 0);
  EXPECT_VB_ERROR(cbo.Text("Fortnight"), 383);
  EXPECT_EQ(cbo.Text(), "Contacts");
  EXPECT_FALSE(cbo.UserSetText("Hour"));
  EXPECT_THAT(form.Events(), IsEmpty());
}

TEST_F(ControlsTest, ListTicksRunItemCheckAndRemovedRowsShiftTheRowsBelow) {
  auto& lst = form.lstA;
  lst.AddItem("\\\\Mailbox\\Inbox");
  lst.AddItem("\\\\Mailbox\\Sent Items");
  lst.Selected(1, true);
  lst.Selected(1, true);
  lst.Selected(0, false);
  EXPECT_TRUE(lst.UserCheck(1, false));
  EXPECT_THAT(form.Events(), ElementsAre("lstA_ItemCheck 1 ticked", "lstA_ItemCheck 1 clear"));
  EXPECT_FALSE(lst.Selected(0) || lst.Selected(1));
  EXPECT_VB_ERROR(lst.Selected(2, true), 381);
  auto& lstB = form.lstB;
  for (const char* text : {"A", "B", "C", "D"})
    lstB.AddItem(text);
  lstB.Selected(1, true);
  lstB.Selected(2, true);
  lstB.ItemData(2, 7);
  EXPECT_TRUE(lstB.Selected(1) && lstB.Selected(2));
  // A walk with a fixed bound, as the removal of folders is written: the row
  // that moves into a removed place is passed over, and the walk runs past
  // the shortened list.
  std::vector<std::string> removed;
  const int32_t last = lstB.ListCount() - 1;
  EXPECT_VB_ERROR(
      for (int32_t i = 0; i <= last; ++i) {
        if (lstB.Selected(i)) {
          removed.push_back(lstB.List(i));
          lstB.RemoveItem(i);
        }
      },
      381);
  EXPECT_THAT(removed, ElementsAre("B"));
  EXPECT_EQ(lstB.ListCount(), 3);
  EXPECT_TRUE(lstB.Selected(1)) << "C keeps its selection";
  EXPECT_EQ(lstB.ItemData(1), 7) << "and its item data";
  // A single-select list follows its ListIndex.
  lstB.MultiSelect(ListBox::kMultiSelectNone);
  form.Events();
  lstB.Selected(2, true);
  EXPECT_EQ(lstB.ListIndex(), 2);
  EXPECT_EQ(lstB.Text(), "D");
  lstB.Selected(0, true);
  EXPECT_FALSE(lstB.Selected(2));
  lstB.Selected(0, false);
  EXPECT_EQ(lstB.ListIndex(), -1);
  EXPECT_THAT(form.Events(), ElementsAre("lstB_Click", "lstB_Click"));
}

TEST_F(ControlsTest, TabChangeAsksBeforeClickAndACancelKeepsTheTab) {
  auto& tabs = form.tabs;
  EXPECT_EQ(tabs.SelectedItem()->Key(), "Summary") << "the first tab stands selected";
  tabs.Tabs("Periods").Selected(true);
  EXPECT_TRUE(tabs.UserSelectTab("periods"));  // selected already: nothing
  EXPECT_THAT(form.Events(), ElementsAre("BeforeClick Summary", "Click Periods"));
  form.vetoLeaving = true;
  EXPECT_TRUE(tabs.UserSelectTab("Backup"));
  EXPECT_EQ(tabs.SelectedItem()->Key(), "Periods");
  EXPECT_TRUE(tabs.Tabs(2).Selected());
  EXPECT_THAT(form.Events(), ElementsAre("BeforeClick Periods"));
  EXPECT_VB_ERROR(static_cast<void>(tabs.Tabs("Attention")), 35601);
  EXPECT_VB_ERROR(static_cast<void>(tabs.Tabs(4)), 35600);
  EXPECT_VB_ERROR(tabs.AddTab("SUMMARY", "again"), 35602);
}

TEST_F(ControlsTest, TreePlacesNodesSortsChildrenAndClicksOnlyForTheUser) {
  auto& tvw = form.tvw;
  tvw.AddRoot("b", "b");
  tvw.Add("b", Rel::Previous, "a", "a");
  tvw.Add("b", Rel::Next, "c", "c");
  tvw.Add("a", Rel::First, "first", "first");
  tvw.Add("", Rel::Last, "AgentsRoot", "Agents").Sorted(true);
  std::vector<std::string> keys;
  for (const TreeNode* n : tvw.Roots())
    keys.push_back(n->Key());
  EXPECT_THAT(keys, ElementsAre("first", "a", "b", "c", "AgentsRoot"));
  int key = 0;
  for (const char* name : {"Tasks", "calendar", "Sent Emails", "Calendar"})
    tvw.Add("AgentsRoot", Rel::Child, "agent" + std::to_string(++key), name);
  std::vector<std::string> texts;
  for (const TreeNode* n : tvw.Nodes("agentsroot").Children())
    texts.push_back(n->Text());
  EXPECT_THAT(texts, ElementsAre("calendar", "Calendar", "Sent Emails", "Tasks"));
  EXPECT_EQ(tvw.Nodes("AGENT3").FullPath(), "Agents\\Sent Emails");
  // Another node with a key that is there, in any case, is refused.
  const auto again = [&] { tvw.Add("b", Rel::Child, "AGENTSROOT", "Agents"); };
  EXPECT_EQ(test::ErrorNumber(again), 35602);
  EXPECT_EQ(test::ErrorDescription(again), "Key is not unique in collection");
  EXPECT_EQ(tvw.Nodes("AgentsRoot").Children().size(), 4U);
  EXPECT_VB_ERROR(tvw.Add("Nowhere", Rel::Child, "x", "x"), 35601);
  // Selected in code raises no click; a user's click does.
  tvw.Nodes("AgentsRoot").Selected(true);
  tvw.Nodes("AgentsRoot").Expanded(true);
  EXPECT_THAT(form.Events(), IsEmpty());
  EXPECT_TRUE(tvw.UserClickNode("agent4"));
  EXPECT_EQ(tvw.SelectedItem(), &tvw.Nodes("agent4"));
  EXPECT_THAT(form.Events(), ElementsAre("NodeClick Agents\\Calendar", "tvw_Click"));
  // Removing a node takes its children and the selection with it.
  tvw.Remove("AgentsRoot");
  EXPECT_EQ(tvw.SelectedItem(), nullptr);
  EXPECT_EQ(tvw.Roots().size(), 4U);
  // The children's keys are free again.
  EXPECT_NO_THROW(tvw.AddRoot("agent4", "again"));
}

TEST_F(ControlsTest, GridMovesItsCurrentCellWithLeaveAndEnterCellAndKnowsItsGeometry) {
  auto& grid = form.grid;
  grid.FixedRows(0);
  grid.FixedCols(0);
  grid.Rows(3);
  grid.Cols(2);
  grid.Row(0);
  grid.Col(0);
  form.Events();
  grid.Row(2);
  grid.Row(2);
  EXPECT_TRUE(grid.UserClickCell(0, 1));
  EXPECT_THAT(form.Events(),
              ElementsAre("LeaveCell 0,0", "EnterCell 2,0", "LeaveCell 2,0", "EnterCell 0,1"));
  grid.Text("Name");
  grid.TextMatrix(2, 1, "Value");
  grid.CellAlignment(FlexGrid::kAlignLeftBottom);
  EXPECT_EQ(grid.TextMatrix(0, 1), "Name");
  EXPECT_EQ(grid.CellAlignmentAt(0, 1), FlexGrid::kAlignLeftBottom);
  EXPECT_EQ(grid.CellAlignmentAt(1, 1), FlexGrid::kAlignGeneral) << "the column's alignment";
  // Growing keeps the texts; shrinking pulls the current cell in.
  grid.Rows(5);
  EXPECT_EQ(grid.TextMatrix(2, 1), "Value");
  grid.Row(4);
  grid.Rows(2);
  EXPECT_EQ(grid.Row(), 1);
  EXPECT_VB_ERROR(grid.Row(2), 30009);
  EXPECT_VB_ERROR(grid.Col(2), 30010);
  EXPECT_VB_ERROR(static_cast<void>(grid.TextMatrix(2, 0)), 381);
  // A grid set to no rows has no current cell.
  grid.Rows(0);
  EXPECT_EQ(grid.Row(), -1);
  EXPECT_VB_ERROR(grid.Row(0), 30009);
  EXPECT_VB_ERROR(static_cast<void>(grid.Text()), 30009);
  EXPECT_VB_ERROR(grid.Rows(-1), 30009);
  grid.Rows(1);
  grid.TextMatrix(0, 1, "x");
  grid.Clear();
  EXPECT_EQ(grid.TextMatrix(0, 1), "");
  EXPECT_EQ(grid.Cols(), 2);
  // The cell rectangle and the column under the pointer.
  grid.Cols(3);
  grid.Rows(4);
  grid.ColWidth(0, 600);
  grid.ColWidth(1, 1200);
  grid.ColWidth(2, 900);
  grid.RowHeight(0, 300);
  grid.Row(2);
  grid.Col(2);
  const int32_t h = FlexGrid::kDefaultRowHeight;
  EXPECT_THAT((std::vector{grid.CellLeft(), grid.CellTop(), grid.CellWidth(), grid.CellHeight()}),
              ElementsAre(1800, 300 + h, 900, h));
  EXPECT_TRUE(grid.UserMouseMove(1799, 10));
  EXPECT_EQ(grid.MouseCol(), 1);
  EXPECT_EQ(grid.MouseRow(), 0);
  grid.UserMouseMove(2700, 10);
  EXPECT_EQ(grid.MouseCol(), -1) << "past the last column";
}

TEST_F(ControlsTest, DatePickerAndUpDownRaiseChangeAndKeepTheirRange) {
  auto& dtp = form.dtp;
  dtp.Value(Date(45000.5));
  dtp.Value(Date(45000.5));
  EXPECT_THAT(form.Events(), ElementsAre("dtp_Change"));
  dtp.MinDate(Date(45001.0));
  EXPECT_EQ(dtp.Value(), Date(45001.0)) << "the value moves up with the minimum";
  EXPECT_VB_ERROR(dtp.Value(Date(45000.0)), 35788);
  EXPECT_FALSE(dtp.UserSetValue(Date(44000.0)));
  EXPECT_TRUE(dtp.UserSetValue(Date(45002.25)));
  EXPECT_THAT(form.Events(), ElementsAre("dtp_Change", "dtp_Change"));
  // The up-down steps its buddy within its range; a number typed out of range is pulled in first.
  form.txtCount.Text("364");
  form.Events();
  EXPECT_TRUE(form.upd.UserUp());
  form.upd.UserUp();
  EXPECT_EQ(form.txtCount.Text(), "365");
  EXPECT_EQ(form.upd.Value(), 365);
  EXPECT_THAT(form.Events(), ElementsAre("txtCount_Change 365", "upd_Change"));
  form.txtCount.Text("900 days");
  form.upd.UserDown();
  EXPECT_EQ(form.txtCount.Text(), "364");
  form.txtCount.Text("0");
  form.upd.UserDown();
  EXPECT_EQ(form.txtCount.Text(), "1");
  EXPECT_VB_ERROR(form.upd.Value(366), 380);
}

TEST(LogBox, LinesGoOnTopTheTextEndsEachWithABreakAndObserversLearnOfEachLine) {
  test::ScriptedHost host;
  Form form{host, "frmLog"};
  LogBox box{form, "txtLog"};
  std::vector<std::string> changes;
  Connection c = box.OnChanged(
      [&changes](Control&, std::string_view property) { changes.emplace_back(property); });
  EXPECT_EQ(box.Text(), "");
  box.PrependLine("first");
  box.PrependLine("");
  box.PrependLine("third");
  EXPECT_EQ(box.Text(), "third\r\n\r\nfirst\r\n");
  EXPECT_EQ(box.Line(0), "third");
  EXPECT_THAT(changes, ElementsAre("Prepend", "Prepend", "Prepend"));
  // The text read back and set again keeps the box as it was, blank line
  // included; a last piece without its break is a line as well.
  changes.clear();
  box.Text(box.Text());
  EXPECT_THAT(changes, IsEmpty());
  box.Text("one\r\ntwo");
  EXPECT_EQ(box.LineCount(), 2U);
  EXPECT_EQ(box.Text(), "one\r\ntwo\r\n");
  box.Text("");
  EXPECT_EQ(box.LineCount(), 0U);
  EXPECT_THAT(changes, ElementsAre("Text", "Text"));
}

// A dialog that counts its loads in a member field and logs its events.
class CountingDialog : public Form {
 public:
  explicit CountingDialog(UiHost& host) : Form(host, "frmCounting") {
    txtLater.Change = [this] { log.push_back("txtLater_Change"); };
    cmdOK.Click = [this] { Unload(); };
  }
  std::vector<std::string> Events() { return std::exchange(log, {}); }
  Label lblTitle{*this, "lblTitle"};
  TextBox txtLater{*this, "txtLater"};
  CheckBox chkUnattended{*this, "chkUnattended"};
  ComboBox cboLater{*this, "cboLater"};
  CommandButton cmdOK{*this, "cmdOK"};
  Timer tmrStatus{*this, "tmrStatus"};
  int loads = 0;  // a member field: it survives unload and load
  bool refuseToClose = false;
  int lastUnloadMode = -1;
  bool hideOnActivate = false;  // a window that puts itself away when shown hidden
  bool unloadInLoad = false;    // a window that gives up in its own Form_Load
  std::vector<std::string> log;

 protected:
  void Design() override {
    Caption("Backup Manager");
    lblTitle.Caption("Backup Period Stores");
    txtLater.Text("10");  // design values raise nothing
    chkUnattended.Value(CheckBox::kChecked);
    cboLater.AddItem("Backup Now");
    cboLater.AddItem("Minute");
  }
  void Form_Load() override {
    ++loads;
    log.push_back("Form_Load");
    if (unloadInLoad) Unload();
  }
  void Form_QueryUnload(bool& cancel, int32_t unloadMode) override {
    lastUnloadMode = unloadMode;
    log.push_back("Form_QueryUnload");
    cancel = refuseToClose;
  }
  void Form_Unload(bool& /*cancel*/) override { log.push_back("Form_Unload"); }
  void Form_Activate() override {
    log.push_back("Form_Activate");
    if (hideOnActivate) Hide();
  }
  void Form_Resize() override { log.push_back("Form_Resize " + std::to_string(WindowState())); }
};

// The main form: a button that asks modally, a menu, and two timers.
class MainForm : public Form {
 public:
  MainForm(UiHost& host, CountingDialog& dialog) : Form(host, "frmPopup"), dialog_(dialog) {
    cmdOK.Click = [this] { cmdOK_Click(); };
    mPopExit.Click = [this] { log.push_back("mPopExit_Click"); };
    tmrFast.Tick = [this] { Tick("fast", tmrFast); };
    tmrSlow.Tick = [this] { Tick("slow", tmrSlow); };
  }
  void cmdOK_Click() {
    log.push_back("cmdOK_Click begins");
    dialog_.Show(true);
    log.push_back("cmdOK_Click goes on");
  }
  CommandButton cmdOK{*this, "cmdOK"};
  Menu mPopupSys{*this, "mPopupSys"};
  Menu mPopSep{*this, "mPopSep", "mPopupSys"};
  Menu mPopExit{*this, "mPopExit", "mPopupSys"};
  Timer tmrFast{*this, "tmrFast"};
  Timer tmrSlow{*this, "tmrSlow"};
  int fastTicksLeft = 100;
  std::vector<std::string> log;
  test::ScriptedHost* clockSource = nullptr;

 protected:
  void Design() override {
    mPopupSys.Visible(false);
    mPopSep.Caption("-");
    tmrFast.Interval(300);
    tmrSlow.Interval(500);
  }

 private:
  void Tick(const std::string& which, Timer& timer) {
    log.push_back(which + " " + std::to_string(clockSource->NowMs()));
    if (&timer == &tmrFast && --fastTicksLeft == 0) tmrFast.Enabled(false);
  }
  CountingDialog& dialog_;
};

class FormTest : public ::testing::Test {
 protected:
  void SetUp() override { main.clockSource = &host; }
  test::ScriptedHost host;
  CountingDialog dialog{host};
  MainForm main{host, dialog};
};

TEST_F(FormTest, LoadRestoresDesignValuesWhileMemberFieldsKeepTheirs) {
  dialog.Load();
  // The user's session changes the controls; the next opening starts afresh.
  dialog.txtLater.Text("25");
  dialog.chkUnattended.Enabled(false);
  dialog.cboLater.Clear();
  dialog.lblTitle.Caption("changed");
  ASSERT_TRUE(dialog.Unload());
  EXPECT_EQ(dialog.txtLater.Text(), "25") << "unloading leaves the controls as they were";
  dialog.Load();
  EXPECT_EQ(dialog.loads, 2);
  EXPECT_EQ(dialog.txtLater.Text(), "10");
  EXPECT_TRUE(dialog.chkUnattended.Enabled());
  EXPECT_EQ(dialog.cboLater.ListCount(), 2);
  EXPECT_EQ(dialog.lblTitle.Caption() + dialog.Caption(), "Backup Period StoresBackup Manager");
  EXPECT_THAT(dialog.Events(), ElementsAre("Form_Load", "txtLater_Change", "Form_QueryUnload",
                                           "Form_Unload", "Form_Load"));
}

TEST_F(FormTest, QueryUnloadCanKeepTheFormOpenAndAModalFormWithoutAStepIsClosed) {
  dialog.Show();
  dialog.refuseToClose = true;
  EXPECT_FALSE(dialog.UserClose());
  EXPECT_TRUE(dialog.Loaded() && dialog.Visible());
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadByUser);
  dialog.refuseToClose = false;
  EXPECT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_FALSE(dialog.Loaded() || dialog.Visible());
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadByCode);
  EXPECT_THAT(host.History(), ElementsAre("show frmCounting", "unload frmCounting"));
  EXPECT_FALSE(host.IsLoaded("frmCounting"));
  // A modal form without a step is closed by its frame, as by the user.
  host.ClearHistory();
  main.cmdOK_Click();
  EXPECT_THAT(main.log, ElementsAre("cmdOK_Click begins", "cmdOK_Click goes on"));
  EXPECT_THAT(host.History(),
              ElementsAre("show modal frmCounting", "close frmCounting", "unload frmCounting"));
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadByUser);
}

TEST_F(FormTest, ShowHideAndWindowStateGoThroughTheHost) {
  dialog.Hide();  // loads without showing, as the runtime does
  EXPECT_TRUE(dialog.Loaded() && !dialog.Visible());
  dialog.Visible(true);
  host.Pump();  // the window's activation
  dialog.WindowState(1);
  dialog.WindowState(1);
  dialog.BringToFront();
  host.Pump();
  EXPECT_THAT(host.History(), ElementsAre("show frmCounting", "front frmCounting"));
  EXPECT_THAT(dialog.Events(), ElementsAre("Form_Load", "Form_Activate", "Form_Resize 1"));
  EXPECT_VB_ERROR(dialog.WindowState(3), 380);
  EXPECT_VB_ERROR(dialog.Show(true), 400);
}

TEST_F(FormTest, ControlsAreFoundByNameWithoutRegardToCaseAndFocusMoves) {
  EXPECT_EQ(&dialog.Get<TextBox>("TXTLATER"), &dialog.txtLater);
  EXPECT_EQ(dialog.Find("nothing"), nullptr);
  EXPECT_VB_ERROR(static_cast<void>(dialog.Get<TextBox>("cboLater")), err::kTypeMismatch);
  EXPECT_VB_ERROR(static_cast<void>(dialog.Get<TextBox>("txtNone")), 730);
  EXPECT_EQ(dialog.Controls().front(), &dialog.lblTitle);
  EXPECT_EQ(dialog.ChildrenOf("").size(), 6u);
  EXPECT_THROW(static_cast<void>(TextBox(dialog, "txtlater")), VbError)
      << "two controls of one name";
  // LostFocus runs on the control left, GotFocus on the one entered.
  std::vector<std::string> focus;
  dialog.txtLater.LostFocus = [&focus] { focus.push_back("txtLater_LostFocus"); };
  dialog.cboLater.GotFocus = [&focus] { focus.push_back("cboLater_GotFocus"); };
  dialog.Load();
  dialog.txtLater.SetFocus();
  EXPECT_TRUE(dialog.txtLater.HasFocus());
  dialog.cboLater.UserPick(1);
  EXPECT_EQ(dialog.ActiveControl(), &dialog.cboLater);
  EXPECT_THAT(focus, ElementsAre("txtLater_LostFocus", "cboLater_GotFocus"));
  EXPECT_THROW(dialog.lblTitle.SetFocus(), VbError) << "a label takes no focus";
}

TEST_F(FormTest, TimersFireInOrderOfDueTimeAndStopWithTheirForm) {
  main.Load();
  host.Advance(1000);
  EXPECT_THAT(main.log, ElementsAre("fast 300", "slow 500", "fast 600", "fast 900", "slow 1000"));
  // Setting a running timer to what it has goes on counting; enabling starts over.
  main.log.clear();
  host.Advance(200);
  main.tmrSlow.Interval(500);
  main.tmrSlow.Enabled(true);
  host.Advance(100);
  main.tmrFast.Enabled(false);
  main.tmrFast.Enabled(true);
  host.Advance(300);
  EXPECT_THAT(main.log, ElementsAre("fast 1200", "slow 1500", "fast 1600"));
  // A timer disabled in its own tick stops.
  main.log.clear();
  main.fastTicksLeft = 1;
  host.Advance(1000);
  EXPECT_THAT(main.log, ElementsAre("fast 1900", "slow 2000", "slow 2500"));
  EXPECT_FALSE(host.TimerRunning(main.tmrFast));
  EXPECT_TRUE(host.TimerRunning(main.tmrSlow));
  // A timer runs only while its form is loaded, and the host forgets it with its form.
  main.Unload();
  EXPECT_FALSE(host.TimerRunning(main.tmrSlow));
  main.log.clear();
  std::vector<std::string> ticks;
  {
    Form form{host, "frmShort"};
    Timer tmrShort{form, "tmrShort"};
    tmrShort.Tick = [&ticks] { ticks.push_back("tick"); };
    form.Load();
    tmrShort.Interval(100);
    host.Advance(100);
    EXPECT_TRUE(host.TimerRunning(tmrShort));
  }
  host.Advance(1000);
  EXPECT_THAT(ticks, ElementsAre("tick"));
  EXPECT_THAT(main.log, IsEmpty());
  EXPECT_FALSE(host.IsLoaded("frmShort"));
}

TEST_F(FormTest, PopupMenusOfferOnlyEnabledVisibleEntries) {
  main.Load();
  host.OnPopup("mPopupSys", [](Menu& menu) {
    for (Menu* entry : menu.Items())
      entry->UserClick();
  });
  main.PopupMenu(main.mPopupSys);
  EXPECT_THAT(main.log, ElementsAre("mPopExit_Click")) << "a separator is no choice";
  EXPECT_EQ(main.mPopupSys.Items().size(), 2u);
  main.mPopExit.Enabled(false);
  EXPECT_FALSE(main.mPopExit.UserClick());
  main.mPopExit.Enabled(true);
  main.mPopExit.Visible(false);
  EXPECT_FALSE(main.mPopExit.UserClick());
  main.mPopExit.Visible(true);
  EXPECT_TRUE(main.mPopExit.UserClick());
  EXPECT_THAT(host.History(), ElementsAre("popup mPopupSys"));
}

TEST_F(FormTest, FormsThatHideOrUnloadThemselvesWhileShowingStayAway) {
  dialog.hideOnActivate = true;
  dialog.Show();
  EXPECT_TRUE(dialog.Visible()) << "activation comes later, from the event loop";
  host.Pump();
  EXPECT_TRUE(dialog.Loaded() && !dialog.Visible());
  EXPECT_THAT(host.History(), ElementsAre("show frmCounting", "hide frmCounting"));
  // A modal step that hides the form ends the modal show with the form loaded.
  dialog.hideOnActivate = false;
  host.OnModal("frmCounting", [](Form& f) { f.Hide(); });
  host.ClearHistory();
  dialog.Show(true);
  EXPECT_TRUE(dialog.Loaded() && !dialog.Modal());
  EXPECT_THAT(host.History(), ElementsAre("show modal frmCounting", "hide frmCounting"));
  dialog.Unload();
  dialog.unloadInLoad = true;
  host.ClearHistory();
  dialog.Show();
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_THAT(host.History(), ElementsAre("unload frmCounting"));
}

}  // namespace
}  // namespace vellix
