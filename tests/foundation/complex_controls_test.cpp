#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/controls.h"
#include "support/expect_vb_error.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PanelForm : public Form {
 public:
  explicit PanelForm(UiHost& host) : Form(host, "frmPanel") {
    tabs.BeforeClick = [this](bool& cancel) {
      log.push_back("BeforeClick " + tabs.SelectedItem()->Key());
      cancel = vetoLeaving;
    };
    tabs.Click = [this] { log.push_back("Click " + tabs.SelectedItem()->Key()); };
    tvw.NodeClick = [this](TreeNode& node) { log.push_back("NodeClick " + node.FullPath()); };
    tvw.Click = [this] { log.push_back("tvw_Click"); };
    grid.LeaveCell = [this] {
      log.push_back("LeaveCell " + std::to_string(grid.Row()) + "," + std::to_string(grid.Col()));
    };
    grid.EnterCell = [this] {
      log.push_back("EnterCell " + std::to_string(grid.Row()) + "," + std::to_string(grid.Col()));
    };
    dtp.Change = [this] { log.push_back("dtp_Change"); };
    txtCount.Change = [this] { log.push_back("txtCount_Change " + txtCount.Text()); };
    upd.Change = [this] { log.push_back("upd_Change"); };
  }

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
    tabs.AddTab("Summary", "Summary", "Summary data");
    tabs.AddTab("Periods", "Periods", "Period Configuration");
    tabs.AddTab("Backup", "Storage && Backup");
    upd.BuddyControl("txtBaEveryCount");
    upd.Min(1);
    upd.Max(365);
  }
};

class ComplexControlsTest : public ::testing::Test {
 protected:
  void SetUp() override { form.Load(); }

  test::ScriptedHost host;
  PanelForm form{host};
};

TEST_F(ComplexControlsTest, TabChangeAsksBeforeClickAndACancelKeepsTheTab) {
  auto& tabs = form.tabs;
  EXPECT_EQ(tabs.SelectedItem()->Key(), "Summary") << "the first tab stands selected";

  tabs.Tabs("Periods").Selected(true);
  EXPECT_TRUE(form.tabs.UserSelectTab("periods"));  // selected already: nothing
  EXPECT_THAT(form.log, ElementsAre("BeforeClick Summary", "Click Periods"));

  form.log.clear();
  form.vetoLeaving = true;
  EXPECT_TRUE(tabs.UserSelectTab("Backup"));
  EXPECT_EQ(tabs.SelectedItem()->Key(), "Periods");
  EXPECT_TRUE(tabs.Tabs(2).Selected());
  EXPECT_THAT(form.log, ElementsAre("BeforeClick Periods"));

  EXPECT_EQ(tabs.Tabs(3).Caption(), "Storage && Backup");
  EXPECT_VB_ERROR(static_cast<void>(tabs.Tabs("Attention")), 35601);
  EXPECT_VB_ERROR(static_cast<void>(tabs.Tabs(4)), 35600);
  EXPECT_VB_ERROR(tabs.AddTab("SUMMARY", "again"), 35602);
}

TEST_F(ComplexControlsTest, TreeKeepsSortedChildrenAndGivesFullPaths) {
  auto& tvw = form.tvw;
  tvw.AddRoot("Agents", "Agents").Sorted(true);
  tvw.AddRoot("PeriodsRoot", "Periods").Sorted(true);
  int key = 0;
  for (const char* name : {"Tasks", "calendar", "Sent Emails", "Calendar"}) {
    tvw.Add("Agents", TreeView::Relationship::Child, "agent" + std::to_string(++key), name);
  }
  tvw.Add("PeriodsRoot", TreeView::Relationship::Child, "File 2024", "File 2024");

  std::vector<std::string> texts;
  for (const TreeNode* n : tvw.Nodes("Agents").Children())
    texts.push_back(n->Text());
  EXPECT_THAT(texts, ElementsAre("calendar", "Calendar", "Sent Emails", "Tasks"));
  EXPECT_EQ(tvw.Nodes("file 2024").FullPath(), "Periods\\File 2024");
  EXPECT_EQ(tvw.Nodes("Agents").FullPath(), "Agents");

  // Another node with a key that is there, in any case, is refused.
  try {
    tvw.Add("PeriodsRoot", TreeView::Relationship::Child, "AGENTS", "Agents");
    ADD_FAILURE() << "a duplicate key was taken";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), 35602);
    EXPECT_EQ(e.Description(), "Key is not unique in collection");
  }
  EXPECT_EQ(tvw.NodeCount(), 7);
  EXPECT_VB_ERROR(tvw.Add("Nowhere", TreeView::Relationship::Child, "x", "x"), 35601);
}

TEST_F(ComplexControlsTest, TreeSelectedInCodeRaisesNoClickButAUserClickDoes) {
  auto& tvw = form.tvw;
  tvw.AddRoot("Agents", "Agents");
  tvw.Add("Agents", TreeView::Relationship::Child, "Tasks", "Tasks");
  tvw.Nodes("Agents").Selected(true);
  tvw.Nodes("Agents").Expanded(true);
  EXPECT_THAT(form.log, IsEmpty());
  EXPECT_TRUE(tvw.UserClickNode("Tasks"));
  EXPECT_EQ(tvw.SelectedItem(), &tvw.Nodes("Tasks"));
  EXPECT_THAT(form.log, ElementsAre("NodeClick Agents\\Tasks", "tvw_Click"));

  tvw.Remove("Agents");
  EXPECT_EQ(tvw.SelectedItem(), nullptr);
  EXPECT_FALSE(tvw.HasNode("Tasks"));
  EXPECT_EQ(tvw.NodeCount(), 0);
}

TEST_F(ComplexControlsTest, TreePlacesNodesByRelationship) {
  auto& tvw = form.tvw;
  tvw.AddRoot("b", "b");
  tvw.Add("b", TreeView::Relationship::Previous, "a", "a");
  tvw.Add("b", TreeView::Relationship::Next, "c", "c");
  tvw.Add("a", TreeView::Relationship::First, "first", "first");
  tvw.Add("", TreeView::Relationship::Last, "last", "last");
  std::vector<std::string> keys;
  for (const TreeNode* n : tvw.Roots())
    keys.push_back(n->Key());
  EXPECT_THAT(keys, ElementsAre("first", "a", "b", "c", "last"));
}

TEST_F(ComplexControlsTest, GridMovesItsCurrentCellWithLeaveAndEnterCell) {
  auto& grid = form.grid;
  grid.FixedRows(0);
  grid.FixedCols(0);
  grid.Rows(3);
  grid.Cols(2);
  grid.Row(0);
  grid.Col(0);
  form.log.clear();
  grid.Row(2);
  grid.Row(2);
  EXPECT_TRUE(grid.UserClickCell(0, 1));
  EXPECT_THAT(form.log,
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

  grid.Rows(1);
  grid.TextMatrix(0, 1, "x");
  grid.Clear();
  EXPECT_EQ(grid.TextMatrix(0, 1), "");
  EXPECT_EQ(grid.Cols(), 2);
  EXPECT_VB_ERROR(grid.Rows(-1), 30009);
}

TEST_F(ComplexControlsTest, GridTellsTheCellRectangleAndTheColumnUnderThePointer) {
  auto& grid = form.grid;
  grid.Cols(3);
  grid.Rows(4);
  grid.ColWidth(0, 600);
  grid.ColWidth(1, 1200);
  grid.ColWidth(2, 900);
  grid.RowHeight(0, 300);
  grid.Row(2);
  grid.Col(2);
  EXPECT_EQ(grid.CellLeft(), 1800);
  EXPECT_EQ(grid.CellTop(), 300 + FlexGrid::kDefaultRowHeight);
  EXPECT_EQ(grid.CellWidth(), 900);
  EXPECT_EQ(grid.CellHeight(), FlexGrid::kDefaultRowHeight);

  EXPECT_TRUE(grid.UserMouseMove(1799, 10));
  EXPECT_EQ(grid.MouseCol(), 1);
  EXPECT_EQ(grid.MouseRow(), 0);
  grid.UserMouseMove(2700, 10);
  EXPECT_EQ(grid.MouseCol(), -1) << "past the last column";
}

TEST_F(ComplexControlsTest, DatePickerRaisesChangeForNewValuesAndKeepsItsRange) {
  auto& dtp = form.dtp;
  dtp.Value(Date(45000.5));
  dtp.Value(Date(45000.5));
  EXPECT_THAT(form.log, ElementsAre("dtp_Change"));

  dtp.MinDate(Date(45001.0));
  EXPECT_EQ(dtp.Value(), Date(45001.0)) << "the value moves up with the minimum";
  EXPECT_VB_ERROR(dtp.Value(Date(45000.0)), 35788);
  EXPECT_FALSE(dtp.UserSetValue(Date(44000.0)));
  EXPECT_TRUE(dtp.UserSetValue(Date(45002.25)));
  EXPECT_EQ(form.log.size(), 3u);
  EXPECT_EQ(dtp.MaxDate(), Date(DatePicker::kLatestSerial));
}

TEST_F(ComplexControlsTest, UpDownStepsItsBuddyWithinItsRange) {
  form.txtCount.Text("364");
  form.log.clear();
  EXPECT_TRUE(form.upd.UserUp());
  EXPECT_EQ(form.txtCount.Text(), "365");
  form.upd.UserUp();
  EXPECT_EQ(form.txtCount.Text(), "365");
  EXPECT_EQ(form.upd.Value(), 365);
  EXPECT_THAT(form.log, ElementsAre("txtCount_Change 365", "upd_Change"));

  // A number typed out of range is pulled in first.
  form.txtCount.Text("900 days");
  form.upd.UserDown();
  EXPECT_EQ(form.txtCount.Text(), "364");
  form.txtCount.Text("0");
  form.upd.UserDown();
  EXPECT_EQ(form.txtCount.Text(), "1");
  EXPECT_VB_ERROR(form.upd.Value(366), 380);
}

}  // namespace
}  // namespace vellix
