#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>

#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Rect = std::array<int32_t, 4>;  // left, top, width, height

Rect RectOf(const Control& c) {
  return {c.Left(), c.Top(), c.Width(), c.Height()};
}

// A world whose layout values are set before the start.
// The engine is configured, so that the start logs nothing but the layout's own problems.
void SetLayout(test::PopupWorld& w, std::initializer_list<std::pair<const char*, int>> values) {
  w.engine->Configured(true);
  w.PresetHidden(false);
  auto root = w.config->RootNode();
  for (const auto& [key, value] : values) {
    root->GetNode(key, true, "Integer", Variant(int16_t{0}))
        ->SetContent(Variant(static_cast<int16_t>(value)));
  }
  root->Commit("");
}

TEST(FillForm, PlacesTheFormItsPanelsAndButtonsByTheMetrics) {
  test::PopupWorld w;
  SetLayout(w, {{"CommonFormat.FormLayout.Border", 100},
                {"CommonFormat.FormLayout.RowHeight", 300},
                {"CommonFormat.FormLayout.ButtonWidth", 1200},
                {"CommonFormat.FormLayout.FormBLRBorder", 60},
                {"CommonFormat.FormLayout.FormTopBorder", 400},
                {"CommonFormat.FormLayout.TabsHeight", 350},
                {"Componants.VellixControl.Strings.ControlPanel.PicWidth", 8000},
                {"Componants.VellixControl.Strings.ControlPanel.PicHeight", 5000}});
  w.Start();
  const FrmPopup& p = w.popup;
  // The tab strip keeps its design place (120, 120).
  EXPECT_EQ(RectOf(p.tabControlOptions), (Rect{120, 120, 8200, 5450}));
  EXPECT_EQ(p.Width(), 8200 + 2 * 100 + 2 * 60);
  EXPECT_EQ(p.Height(), 5450 + 3 * 100 + 60 + 300 + 300 + 100);
  for (const PictureBox* pic :
       {&p.picSu, &p.picPe, &p.picAg, &p.picIm, &p.picBa, &p.picLo, &p.picAt}) {
    EXPECT_EQ(RectOf(*pic), (Rect{220, 470, 8000, 5000})) << pic->Name();
  }
  EXPECT_EQ(RectOf(p.picQuickSetup), (Rect{0, 0, 8520 - 120, 6510 - 60 - 400}));
  EXPECT_EQ(RectOf(p.picSplash), RectOf(p.picQuickSetup));
  EXPECT_EQ(RectOf(p.cmdExit), (Rect{7120, 5670, 1200, 300}));
  EXPECT_EQ(RectOf(p.cmdStopStart), (Rect{5820, 5670, 1200, 300}));
  EXPECT_EQ(RectOf(p.cmdHide), (Rect{4520, 5670, 1200, 300}));
  EXPECT_THAT(w.Problems(), IsEmpty());
  // Texts come from the tree.
  EXPECT_EQ(p.tabControlOptions.Tabs("Backup").Caption(),
            w.Text(".Strings.ControlPanel.Backup.Tab"));
  EXPECT_EQ(p.tabControlOptions.Tabs("Log").ToolTipText(),
            w.Text(".Strings.ControlPanel.Log.ToolTip"));
  EXPECT_EQ(p.cmdExit.Caption(), w.Text(".Strings.ControlPanel.cmdExit"));
  EXPECT_EQ(p.cmdStopStart.ToolTipText(), w.Text(".Strings.ControlPanel.cmdStopStart-Tip"));
}

TEST(FillForm, ABorderOfZeroMakesControlsTouchWithoutNegativeValues) {
  test::PopupWorld w;
  SetLayout(w, {{"CommonFormat.FormLayout.Border", 0}});
  w.Start();
  for (const Control* c : w.popup.Controls())
    EXPECT_GE(std::min({c->Left(), c->Top(), c->Width(), c->Height()}), 0) << c->Name();
  EXPECT_EQ(w.popup.cmdStopStart.Left() + w.popup.cmdStopStart.Width(), w.popup.cmdExit.Left());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(FillForm, ASumPast32767StopsTheLayoutWithOneOverflowRecord) {
  test::PopupWorld w;
  SetLayout(w, {{"Componants.VellixControl.Strings.ControlPanel.PicHeight", 32600},
                {"CommonFormat.FormLayout.TabsHeight", 350}});
  w.Start();
  EXPECT_THAT(w.Problems(), ElementsAre(test::LogRecord{"frmPopup", "FillForm", "Overflow", 6}));
  // The width was set before the failing sum; nothing after it ran.
  EXPECT_EQ(w.popup.tabControlOptions.Width(), 9600 + 2 * 120);
  EXPECT_EQ(w.popup.cmdExit.Width(), 0);
  // The state machine still got its Load, and the engine's report.
  EXPECT_EQ(w.popup.ControlState(), MachineState::ConfiguredVisible);
}

// Every key the program asks the tree for is shipped in the boot
// configuration or the shared branch: a missing one would show as an empty
// caption or message.
std::set<std::string> Missing(const test::PopupWorld& w) {
  std::set<std::string> missing = *w.configSeen->missing;
  // The first start's probe for the branch, before it is grafted.
  missing.erase("Componants.VellixControl");
  return missing;
}

TEST(BootConfiguration, HoldsEveryKeyAFirstRunTheTabsTheQuestionsAndMessagesAskFor) {
  test::PopupWorld w;
  w.Start();
  w.log->records.clear();  // the engine's "not configured", unexpected on the page
  w.host.OnModal("frmPredictiveStart",
                 [](Form& f) { static_cast<FrmPredictiveStart&>(f).cmdRunNow.UserClick(); });
  w.popup.Get<CommandButton>("cmdOK").UserClick();
  w.host.Pump();
  ASSERT_EQ(w.popup.ControlState(), MachineState::RunningHidden);
  w.popup.mPopView_Click();
  w.host.Pump();
  SummaryPanel& su = w.popup.summary;
  su.tvwSuSelector.UserClickNode("Agents");
  su.tvwSuSelector.UserClickNode("Received Emails");
  su.tvwSuSelector.UserClickNode("PeriodsRoot");
  for (const auto& period : w.engine->Config()->Periods())
    su.tvwSuSelector.UserClickNode(period->Name());
  for (const char* tab : {"Periods", "Agents", "Import", "Backup", "Log", "Summary"})
    w.popup.tabControlOptions.UserSelectTab(tab);
  w.popup.cmdStopStart.UserClick();  // stop; the first run started it
  w.popup.cmdHide.UserClick();
  w.popup.mPopView_Click();
  w.host.Pump();
  EXPECT_THAT(w.Problems(), IsEmpty());
  w.host.ClearPrompts();
  w.host.AnswerNext(MsgResult::No);
  w.popup.StateMonitor(MachineEvent::QuickSetup);  // the warning before quick setup
  w.host.AnswerNext(MsgResult::Cancel);
  w.popup.cmdExit.UserClick();  // the question before closing
  ASSERT_EQ(w.host.Prompts().size(), 2U);
  for (const auto& prompt : w.host.Prompts())
    EXPECT_FALSE(prompt.empty());
  EXPECT_THAT(Missing(w), IsEmpty());
}

// The controls whose Enabled changed, in the order they changed.
class EnabledWatch {
 public:
  explicit EnabledWatch(const Form& form) {
    for (Control* control : form.Controls()) {
      connections_.push_back(control->OnChanged([this](Control& c, std::string_view property) {
        if (property == "Enabled") changed.push_back(c.Name() + (c.Enabled() ? "+" : "-"));
      }));
    }
  }
  std::vector<std::string> changed;

 private:
  std::vector<Connection> connections_;
};

TEST(RunDisable, SetsTheEditingControlsInOrderAndTheRunButtonsTheOtherWayAndExitKeepsItsTraceName) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  w.popup.RunDisable(false);
  EnabledWatch watch(w.popup);
  w.popup.RunDisable(true);
  const std::vector<std::string> stopped = {
      "txtPeNewCount",      "cboPeNewUnits",       "dtpPeReference",      "txtPeFormat",
      "cmdAgAdd",           "cmdAgRemove",         "lstAgFolders",        "txtAgRemove",
      "chkAgPurgeDisabled", "chkAgSubFolders",     "txtAgNewCount",       "cboAgNewUnits",
      "txtAgFormat",        "txtAgFileAfterCount", "cboAgFileAfterUnits", "chkAgFileDisabled",
      "cmdAgNew",           "cmdAgFileNow",        "cmdAgPurgeNow",       "cmdAgDelete",
      "txtBaFolder",        "txtBaBackupFolder",   "cmdBaBrowseFolder",   "cmdBaBrowseBackup",
      "txtBaEveryCount",    "updBaEveryCount",     "cboBaEveryUnits"};
  std::vector<std::string> expected;
  for (const std::string& name : stopped) {
    const bool runButton = name == "cmdAgFileNow" || name == "cmdAgPurgeNow";
    expected.push_back(name + (runButton ? "+" : "-"));
  }
  EXPECT_EQ(watch.changed, expected);
  EXPECT_FALSE(w.popup.mPopStart.Visible());
  EXPECT_TRUE(w.popup.mPopStop.Visible());
  EXPECT_EQ(w.tray.Current(), "Running.ico");

  // The exit's question logs under a name that is not the procedure's own:
  // log searches know it by that name. (The machine's "Visible" is checked
  // with its cells.) Here the question itself fails.
  w.log->records.clear();
  w.host.AnswerNext(MsgResult::Cancel, [] { throw VbError(err::kInvalidCall); });
  w.popup.cmdExit.UserClick();
  ASSERT_EQ(w.Problems().size(), 1U);
  EXPECT_EQ(w.Problems()[0].module + "." + w.Problems()[0].procedure, "frmPopup.GetIndex");
}

}  // namespace
}  // namespace vellix
