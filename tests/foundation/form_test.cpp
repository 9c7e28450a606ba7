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
