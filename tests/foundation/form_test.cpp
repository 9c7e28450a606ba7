#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/controls.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;

// A dialog that counts its loads in a member field and logs its events.
class CountingDialog : public Form {
 public:
  explicit CountingDialog(UiHost& host) : Form(host, "frmCounting") {
    chkUnattended.Click = [this] { log.push_back("chkUnattended_Click"); };
    txtLater.Change = [this] { log.push_back("txtLater_Change"); };
    cmdOK.Click = [this] { Unload(); };
  }

  Label lblTitle{*this, "lblTitle"};
  TextBox txtLater{*this, "txtLater"};
  CheckBox chkUnattended{*this, "chkUnattended"};
  ComboBox cboLater{*this, "cboLater"};
  CommandButton cmdOK{*this, "cmdOK"};
  Timer tmrStatus{*this, "tmrStatus"};

  int loads = 0;  // a member field: it survives unload and load
  bool refuseToClose = false;
  int lastUnloadMode = -1;
  std::vector<std::string> log;

 protected:
  void Design() override {
    Caption("Backup Manager");
    Width(7200);
    lblTitle.Caption("Backup Period Stores");
    txtLater.Text("10");  // design values raise nothing
    chkUnattended.Value(CheckBox::kChecked);
    cboLater.AddItem("Backup Now");
    cboLater.AddItem("Minute");
    tmrStatus.Interval(1000);
  }
  void Form_Load() override {
    ++loads;
    log.push_back("Form_Load");
  }
  void Form_QueryUnload(bool& cancel, int32_t unloadMode) override {
    lastUnloadMode = unloadMode;
    log.push_back("Form_QueryUnload");
    cancel = refuseToClose;
  }
  void Form_Unload(bool& /*cancel*/) override { log.push_back("Form_Unload"); }
  void Form_Activate() override { log.push_back("Form_Activate"); }
  void Form_Resize() override { log.push_back("Form_Resize " + std::to_string(WindowState())); }
};

class FormTest : public ::testing::Test {
 protected:
  test::ScriptedHost host;
  CountingDialog dialog{host};
};

TEST_F(FormTest, LoadRestoresDesignValuesWhileMemberFieldsKeepTheirs) {
  dialog.Load();
  EXPECT_THAT(dialog.log, ElementsAre("Form_Load"));
  EXPECT_EQ(dialog.Caption(), "Backup Manager");
  EXPECT_EQ(dialog.txtLater.Text(), "10");
  EXPECT_EQ(dialog.cboLater.ListCount(), 2);

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
  EXPECT_EQ(dialog.lblTitle.Caption(), "Backup Period Stores");
  EXPECT_THAT(dialog.log, ElementsAre("Form_Load", "txtLater_Change", "Form_QueryUnload",
                                      "Form_Unload", "Form_Load"));
}

TEST_F(FormTest, QueryUnloadCanKeepTheFormOpen) {
  dialog.Show();
  dialog.refuseToClose = true;
  EXPECT_FALSE(dialog.UserClose());
  EXPECT_TRUE(dialog.Loaded());
  EXPECT_TRUE(dialog.Visible());
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadByUser);

  dialog.refuseToClose = false;
  EXPECT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_FALSE(dialog.Visible());
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadByCode);
  EXPECT_THAT(host.History(), ElementsAre("show frmCounting", "unload frmCounting"));
  EXPECT_FALSE(host.IsLoaded("frmCounting"));
}

TEST_F(FormTest, ShowHideAndWindowStateGoThroughTheHost) {
  dialog.Hide();  // loads without showing, as the runtime does
  EXPECT_TRUE(dialog.Loaded());
  EXPECT_FALSE(dialog.Visible());
  dialog.Visible(true);
  host.Pump();  // the window's activation
  dialog.WindowState(1);
  dialog.WindowState(1);
  dialog.BringToFront();
  host.Pump();
  EXPECT_THAT(host.History(), ElementsAre("show frmCounting", "front frmCounting"));
  EXPECT_THAT(dialog.log, ElementsAre("Form_Load", "Form_Activate", "Form_Resize 1"));
  EXPECT_THROW(dialog.WindowState(3), VbError);

  try {
    dialog.Show(true);
    ADD_FAILURE() << "a shown form was shown modally";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), 400);
  }
}

TEST_F(FormTest, ControlsAreFoundByNameWithoutRegardToCase) {
  EXPECT_EQ(&dialog.Get<TextBox>("TXTLATER"), &dialog.txtLater);
  EXPECT_EQ(dialog.Find("nothing"), nullptr);
  try {
    static_cast<void>(dialog.Get<TextBox>("cboLater"));
    ADD_FAILURE() << "a combo box was taken for a text box";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), err::kTypeMismatch);
  }
  try {
    static_cast<void>(dialog.Get<TextBox>("txtNone"));
    ADD_FAILURE() << "a missing control was found";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), 730);
  }
  EXPECT_EQ(dialog.Controls().front(), &dialog.lblTitle);
  EXPECT_EQ(dialog.ChildrenOf("").size(), 6u);
  EXPECT_THROW(static_cast<void>(TextBox(dialog, "txtlater")), VbError)
      << "two controls of one name";
}

TEST_F(FormTest, FocusMovesOnAndLostFocusRunsOnTheControlLeft) {
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

TEST_F(FormTest, MenuEntriesRespondOnlyWhenOffered) {
  dialog.Load();
  Menu mPopupSys{dialog, "mPopupSys"};
  Menu mPopStart{dialog, "mPopStart", "mPopupSys"};
  Menu mPopStop{dialog, "mPopStop", "mPopupSys"};
  int starts = 0;
  int stops = 0;
  mPopStart.Click = [&starts] { ++starts; };
  mPopStop.Click = [&stops] { ++stops; };
  mPopStart.Enabled(false);
  mPopStop.Visible(false);
  EXPECT_FALSE(mPopStart.UserClick());
  EXPECT_FALSE(mPopStop.UserClick());
  mPopStart.Enabled(true);
  EXPECT_TRUE(mPopStart.UserClick());
  EXPECT_EQ(starts, 1);
  EXPECT_EQ(stops, 0);
  EXPECT_EQ(mPopupSys.Items().size(), 2u);
}

}  // namespace
}  // namespace vellix
