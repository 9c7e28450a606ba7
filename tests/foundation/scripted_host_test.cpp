#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "foundation/controls.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;

// A modal question with two buttons, as the forecast before the first run.
class StartDialog : public Form {
 public:
  StartDialog(UiHost& host, std::vector<std::string>& log)
      : Form(host, "frmPredictiveStart"), log_(log) {
    cmdRunNow.Click = [this] {
      log_.push_back("cmdRunNow_Click");
      later = false;
      Unload();
    };
    cmdRunLater.Click = [this] { Unload(); };
  }

  CommandButton cmdRunNow{*this, "cmdRunNow"};
  CommandButton cmdRunLater{*this, "cmdRunLater"};
  bool later = true;
  bool refuseToClose = false;

 protected:
  void Form_Load() override { later = true; }
  void Form_QueryUnload(bool& cancel, int32_t /*mode*/) override { cancel = refuseToClose; }

 private:
  std::vector<std::string>& log_;
};

// The main form: a button that asks modally, a menu, and two timers.
class MainForm : public Form {
 public:
  MainForm(UiHost& host, StartDialog& dialog) : Form(host, "frmPopup"), dialog_(dialog) {
    cmdOK.Click = [this] { cmdOK_Click(); };
    mPopExit.Click = [this] { log.push_back("mPopExit_Click"); };
    tmrFast.Tick = [this] { Tick("fast", tmrFast); };
    tmrSlow.Tick = [this] { Tick("slow", tmrSlow); };
  }

  void cmdOK_Click() {
    log.push_back("cmdOK_Click begins");
    dialog_.Show(true);
    log.push_back(dialog_.later ? "Run Later" : "Run Now");
  }

  CommandButton cmdOK{*this, "cmdOK"};
  Menu mPopupSys{*this, "mPopupSys"};
  Menu mPopAbout{*this, "mPopAbout", "mPopupSys"};
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
    mPopExit.Caption("&Exit");
    tmrFast.Interval(300);
    tmrSlow.Interval(500);
  }

 private:
  void Tick(const std::string& which, Timer& timer) {
    log.push_back(which + " " + std::to_string(clockSource->NowMs()));
    if (&timer == &tmrFast && --fastTicksLeft == 0) tmrFast.Enabled(false);
  }

  StartDialog& dialog_;
};

class ScriptedHostTest : public ::testing::Test {
 protected:
  void SetUp() override { main.clockSource = &host; }

  ManualClock clock{Date(45000.0)};
  test::ScriptedHost host{&clock};
  std::vector<std::string> dialogLog;
  StartDialog dialog{host, dialogLog};
  MainForm main{host, dialog};
};

TEST_F(ScriptedHostTest, MessageBoxesAnswerFromTheScriptAndAreRecorded) {
  host.AnswerNext(MsgResult::No);
  host.AnswerNext(MsgResult::Cancel);
  EXPECT_EQ(host.MsgBox("Delete this agent?", MsgButtons::YesNo, ""), MsgResult::No);
  EXPECT_EQ(host.MsgBox("Close the panel?", MsgButtons::OKCancel, "Vellix"), MsgResult::Cancel);
  // With the script used up: OK, or Yes.
  EXPECT_EQ(host.MsgBox("No backup folder", MsgButtons::OKCancel, ""), MsgResult::OK);
  EXPECT_EQ(host.MsgBox("Create it?", MsgButtons::YesNo, ""), MsgResult::Yes);
  EXPECT_THAT(host.Prompts(), ElementsAre("Delete this agent?", "Close the panel?",
                                          "No backup folder", "Create it?"));
  EXPECT_EQ(host.PromptRecords()[1].buttons, MsgButtons::OKCancel);
  EXPECT_EQ(host.PromptRecords()[1].title, "Vellix");
  EXPECT_EQ(host.UnusedAnswers(), 0u);

  host.AnswerNext(MsgResult::No);
  EXPECT_NONFATAL_FAILURE(host.MsgBox("Saved.", MsgButtons::OK, ""), "isn't a button");
}

TEST_F(ScriptedHostTest, ModalFormShownFromAHandlerLetsNestedEventsRunBeforeTheHandlerGoesOn) {
  main.Show();
  // An event that arrives while the handler is busy, and the user's step.
  host.Post([this] { main.log.push_back("engine event"); });
  host.OnModal("frmPredictiveStart", [this](Form& f) {
    main.log.push_back("dialog shown: " + f.Name());
    static_cast<StartDialog&>(f).cmdRunNow.UserClick();
  });
  main.cmdOK.UserClick();
  EXPECT_THAT(main.log, ElementsAre("cmdOK_Click begins", "engine event",
                                    "dialog shown: frmPredictiveStart", "Run Now"));
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_THAT(host.History(), ElementsAre("show frmPopup", "show modal frmPredictiveStart",
                                          "unload frmPredictiveStart"));

  // A message box from inside a handler lets a nested handler run too.
  main.log.clear();
  host.AnswerNext(MsgResult::OK, [this] { main.mPopExit.UserClick(); });
  host.MsgBox("Waiting to start", MsgButtons::OK, "");
  EXPECT_THAT(main.log, ElementsAre("mPopExit_Click"));
}

TEST_F(ScriptedHostTest, ModalFormWithoutAStepIsClosedByItsFrame) {
  main.cmdOK_Click();
  EXPECT_THAT(main.log, ElementsAre("cmdOK_Click begins", "Run Later"));
  EXPECT_THAT(host.History(), ElementsAre("show modal frmPredictiveStart",
                                          "close frmPredictiveStart", "unload frmPredictiveStart"));

  // A step that leaves the form open is a mistake of the test.
  host.OnModal("frmPredictiveStart", [](Form&) {});
  EXPECT_NONFATAL_FAILURE(dialog.Show(true), "still open after its step");
  EXPECT_FALSE(dialog.Loaded());

  dialog.refuseToClose = true;
  host.OnModal("frmPredictiveStart", {});
  EXPECT_NONFATAL_FAILURE(dialog.Show(true), "refused to close");
  EXPECT_TRUE(dialog.Loaded());
  EXPECT_FALSE(dialog.Visible());
}

TEST_F(ScriptedHostTest, TimersFireInOrderOfDueTimeAndMoveTheClock) {
  main.Load();
  host.Advance(1000);
  EXPECT_THAT(main.log, ElementsAre("fast 300", "slow 500", "fast 600", "fast 900", "slow 1000"));
  EXPECT_EQ(host.NowMs(), 1000);
  EXPECT_DOUBLE_EQ(clock.Now().Serial(), 45000.0 + 1.0 / 86400.0);

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
}

TEST_F(ScriptedHostTest, TimerDisabledInsideItsOwnTickDoesNotTickAgain) {
  main.fastTicksLeft = 2;
  main.Load();
  host.Advance(2000);
  const auto fast = std::count_if(main.log.begin(), main.log.end(),
                                  [](const std::string& s) { return s.rfind("fast", 0) == 0; });
  EXPECT_EQ(fast, 2);
  EXPECT_FALSE(host.TimerRunning(main.tmrFast));
  EXPECT_TRUE(host.TimerRunning(main.tmrSlow));

  // A timer runs only while its form is loaded.
  main.Unload();
  EXPECT_FALSE(host.TimerRunning(main.tmrSlow));
  main.log.clear();
  host.Advance(2000);
  EXPECT_TRUE(main.log.empty());
}

TEST_F(ScriptedHostTest, PostedFunctionsFromOtherThreadsAllRunOnThePump) {
  host.RunPostedWhileModal(false);
  std::atomic<int> ran{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, &ran] {
      for (int i = 0; i < 250; ++i)
        host.Post([&ran] { ran.fetch_add(1); });
    });
  }
  EXPECT_TRUE(host.PumpUntil([&ran] { return ran.load() == 1000; }));
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(host.Pump(), 0);
  EXPECT_EQ(ran.load(), 1000);
  EXPECT_FALSE(host.PumpUntil([] { return false; }, std::chrono::milliseconds(20)));
}

TEST_F(ScriptedHostTest, PopupMenusAndFolderDialogsFollowTheScript) {
  main.Load();
  host.OnPopup("mPopupSys", [](Menu& menu) {
    for (Menu* entry : menu.Items()) {
      if (entry->Name() == "mPopExit") entry->UserClick();
    }
  });
  main.PopupMenu(main.mPopupSys);
  EXPECT_THAT(main.log, ElementsAre("mPopExit_Click"));
  EXPECT_EQ(main.mPopupSys.Items().size(), 3u);
  EXPECT_FALSE(main.mPopSep.UserClick()) << "a separator is no choice";

  host.ChooseFolderNext("/home/user/Vellix Backup");
  EXPECT_EQ(host.BrowseForFolder("Find Folder"), "/home/user/Vellix Backup");
  EXPECT_EQ(host.BrowseForFolder("Find Folder"), std::nullopt);
  EXPECT_THAT(host.FolderTitles(), ElementsAre("Find Folder", "Find Folder"));
  EXPECT_THAT(host.History(), ElementsAre("popup mPopupSys"));
}

// A window that puts itself away when it is shown in a hidden state, and one
// that gives up in its own Form_Load.
class SelfHidingForm : public Form {
 public:
  explicit SelfHidingForm(UiHost& host) : Form(host, "frmSelfHiding") {}
  bool hiddenState = true;
  bool failInLoad = false;

 protected:
  void Form_Load() override {
    if (failInLoad) Unload();
  }
  void Form_Activate() override {
    if (hiddenState) Hide();
  }
};

TEST_F(ScriptedHostTest, FormsThatHideOrUnloadThemselvesWhileShowingStayAway) {
  SelfHidingForm form{host};
  form.Show();
  EXPECT_TRUE(form.Visible()) << "activation comes later, from the event loop";
  host.Pump();
  EXPECT_TRUE(form.Loaded());
  EXPECT_FALSE(form.Visible());
  EXPECT_THAT(host.History(), ElementsAre("show frmSelfHiding", "hide frmSelfHiding"));

  // A modal step that hides the form ends the modal show with the form loaded.
  form.hiddenState = false;
  host.OnModal("frmSelfHiding", [](Form& f) { f.Hide(); });
  host.ClearHistory();
  form.Show(true);
  EXPECT_TRUE(form.Loaded());
  EXPECT_FALSE(form.Modal());
  EXPECT_THAT(host.History(), ElementsAre("show modal frmSelfHiding", "hide frmSelfHiding"));

  form.Unload();
  form.failInLoad = true;
  host.ClearHistory();
  form.Show();
  EXPECT_FALSE(form.Loaded());
  EXPECT_THAT(host.History(), ElementsAre("unload frmSelfHiding"));
}

TEST_F(ScriptedHostTest, ATimerGoesWithItsForm) {
  std::vector<std::string> ticks;
  {
    SelfHidingForm form{host};
    Timer tmrShort{form, "tmrShort"};
    tmrShort.Tick = [&ticks] { ticks.push_back("tick"); };
    form.Load();
    tmrShort.Interval(100);
    host.Advance(100);
    EXPECT_TRUE(host.TimerRunning(tmrShort));
  }
  host.Advance(1000);  // the host must not tick a timer that is gone
  EXPECT_THAT(ticks, ElementsAre("tick"));
  EXPECT_FALSE(host.IsLoaded("frmSelfHiding"));
}

}  // namespace
}  // namespace vellix
