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

// A form with one control of each simple kind; every handler writes a line.
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
  }

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
  std::vector<std::string> log;

 protected:
  void Design() override {
    lstA.Style(ListBox::kCheckbox);
    lstB.MultiSelect(ListBox::kMultiSelectSimple);
  }
};

class ControlsTest : public ::testing::Test {
 protected:
  void SetUp() override { form.Load(); }

  test::ScriptedHost host;
  EventForm form{host};
};

TEST_F(ControlsTest, CheckBoxSetInCodeRunsItsClickOnceAndNotWhenUnchanged) {
  form.chkA.Value(CheckBox::kChecked);
  form.chkA.Value(CheckBox::kChecked);
  form.chkA.Value(CheckBox::kUnchecked);
  EXPECT_THAT(form.log, ElementsAre("chkA_Click 1", "chkA_Click 0"));

  form.log.clear();
  EXPECT_VB_ERROR(form.chkA.Value(3), 380);
  EXPECT_EQ(form.chkA.Value(), CheckBox::kUnchecked);
  EXPECT_THAT(form.log, IsEmpty());

  // A grey box ticks on a user's click.
  form.chkA.Value(CheckBox::kGrayed);
  form.log.clear();
  EXPECT_TRUE(form.chkA.UserClick());
  EXPECT_THAT(form.log, ElementsAre("chkA_Click 1"));
}

TEST_F(ControlsTest, OptionButtonsInOneContainerClearEachOther) {
  form.optA1.Value(true);
  form.optB1.Value(true);
  form.optA2.Value(true);
  EXPECT_FALSE(form.optA1.Value());
  EXPECT_TRUE(form.optA2.Value());
  EXPECT_TRUE(form.optB1.Value()) << "another frame is another group";
  EXPECT_THAT(form.log, ElementsAre("optA1_Click", "optB1_Click", "optA2_Click"));

  form.log.clear();
  form.optA2.Value(true);   // on already
  form.optA2.Value(false);  // off in code raises nothing
  form.optA1.UserClick();
  form.optA1.UserClick();  // a click on the one that is on
  EXPECT_FALSE(form.optA2.Value());
  EXPECT_THAT(form.log, ElementsAre("optA1_Click"));
}

TEST_F(ControlsTest, TextSetInCodeRunsItsChangeAndTypingThenLeavingRunsLostFocus) {
  form.txtA.Text("12");
  form.txtA.Text("12");
  EXPECT_THAT(form.log, ElementsAre("txtA_Change 12"));

  form.log.clear();
  EXPECT_TRUE(form.txtA.UserSetText("365"));
  EXPECT_TRUE(form.cmdA.UserClick());
  EXPECT_THAT(form.log, ElementsAre("txtA_Change 365", "txtA_LostFocus", "cmdA_Click"));
  EXPECT_EQ(form.ActiveControl(), &form.cmdA);

  // A locked box takes no typing; a disabled button no click.
  form.log.clear();
  form.txtA.Locked(true);
  EXPECT_FALSE(form.txtA.UserSetText("1"));
  form.cmdA.Enabled(false);
  EXPECT_FALSE(form.cmdA.UserClick());
  EXPECT_EQ(form.txtA.Text(), "365");
  EXPECT_THAT(form.log, IsEmpty());
}

TEST_F(ControlsTest, ControlsInsideAHiddenOrDisabledContainerCantBeReached) {
  form.fraB.Visible(false);
  EXPECT_FALSE(form.chkA.UserClick());
  form.fraB.Visible(true);
  form.fraB.Enabled(false);
  EXPECT_FALSE(form.optB1.UserClick());
  EXPECT_VB_ERROR(form.chkA.SetFocus(), 5);
  form.fraB.Enabled(true);
  EXPECT_TRUE(form.chkA.UserClick());
  EXPECT_THAT(form.log, ElementsAre("chkA_Click 1"));
}

TEST_F(ControlsTest, ComboTextSetInCodeRunsChangeButNotClick) {
  auto& cbo = form.cboA;
  cbo.AddItem("Year");
  cbo.AddItem("Month");
  cbo.ItemData(cbo.NewIndex(), 12);
  cbo.Text("Month");
  cbo.Text("Fortnight");
  EXPECT_THAT(form.log, ElementsAre("cboA_Change Month", "cboA_Change Fortnight"));
  EXPECT_EQ(cbo.ListIndex(), -1) << "no row holds that text";

  // Choosing a row in code clicks, without a change.
  form.log.clear();
  cbo.ListIndex(0);
  cbo.ListIndex(0);
  EXPECT_THAT(form.log, ElementsAre("cboA_Click Year"));
  EXPECT_EQ(cbo.ItemData(1), 12);
  EXPECT_VB_ERROR(cbo.ListIndex(2), 380);
  EXPECT_VB_ERROR(static_cast<void>(cbo.ItemData(2)), 381);
  EXPECT_VB_ERROR(cbo.AddItem("Day", 5), 5);
  EXPECT_EQ(cbo.List(7), "") << "reading past the list gives nothing, as the runtime does";

  // Clearing the list clears the text, which is a change.
  form.log.clear();
  cbo.Clear();
  EXPECT_EQ(cbo.Text(), "");
  EXPECT_EQ(cbo.ListCount(), 0);
  EXPECT_EQ(cbo.ListIndex(), -1);
  EXPECT_THAT(form.log, ElementsAre("cboA_Change "));
}

TEST_F(ControlsTest, ComboKeepsTheRowTheUserIsRenaming) {
  auto& cbo = form.cboA;
  // The load of a panel: the text first, the rows after it.
  cbo.Text("Calendar");
  cbo.AddItem("Tasks");
  cbo.AddItem("Calendar");
  EXPECT_EQ(cbo.ListIndex(), 1) << "the row showing the text is the selected one";

  form.log.clear();
  EXPECT_TRUE(cbo.UserSetText("Diary"));
  EXPECT_EQ(cbo.ListIndex(), 1);
  EXPECT_EQ(cbo.List(cbo.ListIndex()), "Calendar");
  EXPECT_THAT(form.log, ElementsAre("cboA_Change Diary"));

  // A row inserted before the selected one moves the selection along; removing
  // the selected row leaves none.
  cbo.AddItem("Contacts", 0);
  EXPECT_EQ(cbo.ListIndex(), 2);
  cbo.RemoveItem(2);
  EXPECT_EQ(cbo.ListIndex(), -1);
  EXPECT_EQ(cbo.Text(), "Diary");

  EXPECT_TRUE(cbo.UserPick(1));
  EXPECT_EQ(cbo.Text(), "Tasks");
  EXPECT_EQ(form.log.back(), "cboA_Click Tasks");
}

TEST_F(ControlsTest, DropDownListTakesOnlyTextsOfItsRows) {
  auto& cbo = form.cboA;
  cbo.Style(ComboBox::kDropdownList);
  cbo.AddItem("Backup Now");
  cbo.AddItem("Minute");
  cbo.Text("minute");
  EXPECT_EQ(cbo.Text(), "Minute");
  EXPECT_EQ(cbo.ListIndex(), 1);
  EXPECT_VB_ERROR(cbo.Text("Fortnight"), 383);
  EXPECT_EQ(cbo.Text(), "Minute");
  EXPECT_FALSE(cbo.UserSetText("Hour"));
  EXPECT_THAT(form.log, IsEmpty());
}

TEST_F(ControlsTest, TickSetInCodeRunsItemCheckWithTheNewTick) {
  auto& lst = form.lstA;
  lst.AddItem("\\\\Mailbox\\Inbox");
  lst.AddItem("\\\\Mailbox\\Sent Items");
  lst.Selected(1, true);
  lst.Selected(1, true);
  lst.Selected(0, false);
  EXPECT_TRUE(lst.UserCheck(1, false));
  EXPECT_THAT(form.log, ElementsAre("lstA_ItemCheck 1 ticked", "lstA_ItemCheck 1 clear"));
  EXPECT_EQ(lst.SelCount(), 0);
  EXPECT_VB_ERROR(lst.Selected(2, true), 381);
}

TEST_F(ControlsTest, RemovingSelectedRowsShiftsTheRowsBelow) {
  auto& lst = form.lstB;
  for (const char* text : {"A", "B", "C", "D"})
    lst.AddItem(text);
  lst.Selected(1, true);
  lst.Selected(2, true);
  lst.ItemData(2, 7);
  EXPECT_EQ(lst.SelCount(), 2);

  // A walk with a fixed bound, as the removal of folders is written: the row
  // that moves into a removed place is passed over, and the walk runs past
  // the shortened list.
  std::vector<std::string> removed;
  const int32_t last = lst.ListCount() - 1;
  try {
    for (int32_t i = 0; i <= last; ++i) {
      if (lst.Selected(i)) {
        removed.push_back(lst.List(i));
        lst.RemoveItem(i);
      }
    }
    ADD_FAILURE() << "the walk ended without an error";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), 381);
  }
  EXPECT_THAT(removed, ElementsAre("B"));
  EXPECT_EQ(lst.ListCount(), 3);
  EXPECT_TRUE(lst.Selected(1)) << "C keeps its selection";
  EXPECT_EQ(lst.ItemData(1), 7) << "and its item data";
}

TEST_F(ControlsTest, SingleSelectListFollowsListIndex) {
  ListBox& lst = form.Get<ListBox>("lstB");
  lst.MultiSelect(ListBox::kMultiSelectNone);
  lst.AddItem("one");
  lst.AddItem("two");
  lst.Selected(1, true);
  EXPECT_EQ(lst.ListIndex(), 1);
  EXPECT_EQ(lst.Text(), "two");
  lst.Selected(0, true);
  EXPECT_FALSE(lst.Selected(1));
  lst.Selected(0, false);
  EXPECT_EQ(lst.ListIndex(), -1);
  EXPECT_THAT(form.log, ElementsAre("lstB_Click", "lstB_Click"));
}

TEST_F(ControlsTest, ObserversLearnWhichPropertyChanged) {
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

}  // namespace
}  // namespace vellix
