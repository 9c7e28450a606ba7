#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QTabBar>

#include "foundation/list_box.h"
#include "sample_form.h"
#include "view/qt/form_window.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;

// Controls declared out of their layout order, so the tab order can only
// come from where they lie.
class KeyForm : public Form {
 public:
  explicit KeyForm(UiHost& host) : Form(host, "frmKeys") {
    txtFirst.LostFocus = [this] { log.push_back("txtFirst_LostFocus"); };
    tabPages.BeforeClick = [this](bool& cancel) {
      log.push_back("BeforeClick");
      cancel = veto;
    };
    tabPages.Click = [this] { log.push_back("Click " + tabPages.SelectedItem()->Key()); };
    cmdOK.Click = [this] { log.push_back("cmdOK_Click"); };
    cmdCancel.Click = [this] { log.push_back("cmdCancel_Click"); };
  }

  std::vector<std::string> log;
  bool veto = false;

  CommandButton cmdCancel{*this, "cmdCancel"};
  FlexGrid grdData{*this, "grdData"};
  TextBox txtSecond{*this, "txtSecond"};
  TabStrip tabPages{*this, "tabPages"};
  OptionButton optTwo{*this, "optTwo", "fraOpts"};
  TextBox txtFirst{*this, "txtFirst"};
  CommandButton cmdOK{*this, "cmdOK"};
  TreeView tvwTree{*this, "tvwTree"};
  FrameControl fraOpts{*this, "fraOpts"};
  OptionButton optOne{*this, "optOne", "fraOpts"};
  Label lblNote{*this, "lblNote"};

 protected:
  void Design() override {
    Width(6000);
    Height(5000);
    fraOpts.Move(120, 120, 1500, 1200);
    optOne.Move(60, 300, 1300, 300);
    optTwo.Move(60, 700, 1300, 300);
    optTwo.Value(true);
    // A few twips lower than the frame's top: still the frame's row.
    txtFirst.Move(1800, 200, 2000, 315);
    txtSecond.Move(1800, 600, 2000, 315);
    lblNote.Move(120, 1400, 2000, 300);
    tabPages.Move(120, 1500, 4000, 375);
    for (const char* key : {"a", "b", "c"})
      tabPages.AddTab(key, key);
    grdData.Move(120, 2000, 2000, 1000);
    grdData.Rows(3);
    grdData.Cols(2);
    tvwTree.Move(2300, 2000, 2000, 1000);
    tvwTree.AddRoot("root", "Root");
    cmdOK.Move(2300, 3300, 1000, 375);
    cmdOK.Default(true);
    cmdCancel.Move(3400, 3300, 1000, 375);
    cmdCancel.Cancel(true);
  }
};

std::string Focused() {
  QWidget* widget = QApplication::focusWidget();
  return widget == nullptr ? std::string() : widget->objectName().toStdString();
}

using Keyboard = ShownForm<KeyForm>;

TEST_F(Keyboard, FocusTabEnterEscapeAndCtrlTabFollowTheLayoutAndTheButtons) {
  // The first field gets the focus and nothing else: the option that was on stays on.
  EXPECT_EQ(Focused(), "optOne");
  EXPECT_EQ(form.ActiveControl(), &form.optOne);
  EXPECT_FALSE(form.optOne.Value());
  EXPECT_TRUE(form.optTwo.Value());

  const std::vector<std::string> order{"optOne",  "optTwo",  "txtFirst", "txtSecond", "tabPages",
                                       "grdData", "tvwTree", "cmdOK",    "cmdCancel"};
  EXPECT_EQ(static_cast<qtview::FormWindow*>(window)->TabOrder(), order);
  // Tab walks that order on the screen, through the grid and the tree, and
  // comes round again; the model's focus goes along.
  std::vector<std::string> visited;
  for (size_t i = 0; i < order.size(); ++i) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    visited.push_back(Focused());
  }
  std::vector<std::string> expected(order.begin() + 1, order.end());
  expected.push_back(order.front());
  EXPECT_EQ(visited, expected);
  EXPECT_EQ(form.ActiveControl(), &form.optOne);
  EXPECT_TRUE(form.optTwo.Value());
  // The main window's size is the model's, not the user's to drag.
  EXPECT_EQ(window->minimumSize(), window->maximumSize());

  // Enter presses the default button, Escape the cancel button; as a click
  // would, the button takes the focus, then its Click runs.
  auto* edit = Find<QLineEdit>("txtFirst");
  edit->setFocus(Qt::MouseFocusReason);
  form.log.clear();  // the walk left the field once
  QTest::keyClick(edit, Qt::Key_Return);
  QTest::keyClick(edit, Qt::Key_Escape);
  EXPECT_THAT(form.log, ElementsAre("txtFirst_LostFocus", "cmdOK_Click", "cmdCancel_Click"));
  EXPECT_TRUE(window->isVisible());

  // Ctrl+Tab turns the page as a click on the strip would: the field loses
  // the focus first, then the strip's veto keeps the page.
  auto* bar = Find<QTabBar>("tabPages");
  edit->setFocus(Qt::MouseFocusReason);
  form.log.clear();
  form.veto = true;
  QTest::keyClick(edit, Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_EQ(form.tabPages.SelectedItem()->Key(), "a");
  EXPECT_EQ(bar->currentIndex(), 0);
  EXPECT_EQ(Focused(), "tabPages");

  form.veto = false;
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ControlModifier);
  EXPECT_EQ(bar->currentIndex(), 1);
  // Backwards, and round from the first page to the last.
  for (int i = 0; i < 2; ++i)
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab,
                    Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_THAT(form.log, ElementsAre("txtFirst_LostFocus", "BeforeClick", "BeforeClick", "Click b",
                                    "BeforeClick", "Click a", "BeforeClick", "Click c"));
  EXPECT_EQ(bar->currentIndex(), 2);
}

// A list that is the first field of its dialog, with no row chosen.
class ListForm : public Form {
 public:
  explicit ListForm(UiHost& host) : Form(host, "frmList") {
    lstRows.Click = [this] { clicks.push_back(lstRows.ListIndex()); };
  }
  std::vector<int32_t> clicks;
  ListBox lstRows{*this, "lstRows"};
  CommandButton cmdOK{*this, "cmdOK"};

 protected:
  void Design() override {
    Width(4000);
    Height(3000);
    lstRows.Move(120, 120, 3000, 1500);
    for (const char* row : {"Oldest", "Older", "Newest"})
      lstRows.AddItem(row);
    cmdOK.Move(120, 1800, 1000, 375);
  }
};

using KeyboardList = ShownForm<ListForm>;

TEST_F(KeyboardList, TakingTheFocusChoosesNoRowButTheArrowKeysDo) {
  ASSERT_EQ(Focused(), "lstRows");
  EXPECT_EQ(form.lstRows.ListIndex(), -1);
  EXPECT_THAT(form.clicks, ::testing::IsEmpty());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
  EXPECT_EQ(form.lstRows.ListIndex(), 2);
  EXPECT_THAT(form.clicks, ElementsAre(1, 2));
}

}  // namespace
}  // namespace vellix::test
