#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "servers/config/config_server.h"
#include "servers/engine/server_error.h"
#include "support/popup/popup_world.h"

// Cells name only the fields that matter to them.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kStates[] = {"Unloaded",          "UnconfiguredVisible", "UnconfiguredHidden",
                                   "ConfiguredVisible", "ConfiguredHidden",    "RunningVisible",
                                   "RunningHidden"};
constexpr const char* kEvents[] = {"Load",       "View", "Hide",         "QuickSetup",
                                   "MoreConfig", "Exit", "QuickSetupOK", "Recover",
                                   "Stop",       "Run",  "Configured",   "Unconfigured"};

// What one cell of the machine does by itself: the engine's reports are held
// and its Shutdown goes unanswered, so nested events don't blur the cell.
struct Cell {
  int next = -1;                    // -1: unexpected (state unchanged)
  std::vector<std::string> calls;   // engine calls made, in order
  std::optional<bool> hidden;       // Hidden in the tree afterwards
  bool committed = false;           // Hidden also on disk
  std::optional<bool> visible;      // the window afterwards
  std::optional<bool> viewOffered;  // mPopView offered (mPopHide the other way)
  bool unloaded = false;
  // The calls are the last ones made, after what quick setup saves.
  bool afterSave = false;
};

Cell Expected(int state, int event) {
  Cell c;
  auto view = [&](int next, bool setupContext) {
    c = {.next = next,
         .hidden = false,
         .committed = true,
         .visible = true,
         .viewOffered = setupContext ? std::optional<bool>(false) : std::nullopt};
  };
  auto hide = [&](int next) {
    c = {.next = next, .hidden = true, .committed = true, .visible = false, .viewOffered = true};
  };
  auto calls = [&](int next, std::vector<std::string> made) {
    c = {.next = next, .calls = std::move(made)};
  };
  switch (state * 100 + event) {
    case 101:
      view(1, false);
      break;
    case 102:
      hide(2);
      break;
    case 104:
      c = {.next = 1, .calls = {"put Configured True"}, .afterSave = true};
      break;
    case 105:
      calls(1, {"Shutdown"});
      break;
    case 106:
      c = {.next = 1, .calls = {"put Configured True"}, .afterSave = true};
      break;
    case 107:
      calls(1, {"put Configured True"});
      break;
    case 110:
      c = {.next = 3, .visible = true};
      break;
    case 201:
      view(1, true);
      break;
    case 205:
      c = {.next = 2, .calls = {"Shutdown"}, .hidden = false};
      break;
    case 210:
      c = {.next = 4, .visible = false};
      break;
    case 301:
      view(3, false);
      break;
    case 302:
      hide(4);
      break;
    case 303:
      calls(3, {"put Configured False"});
      break;
    case 305:
      calls(3, {"Shutdown"});
      break;
    case 309:
      calls(5, {});
      break;
    case 311:
      calls(1, {});
      break;
    case 401:
      view(3, true);
      break;
    case 405:
      calls(4, {"Shutdown"});
      break;
    case 409:
      calls(6, {});
      break;
    case 411:
      calls(2, {});
      break;
    case 501:
      view(5, false);
      break;
    case 502:
      hide(6);
      break;
    case 505:
      calls(5, {"Shutdown"});
      break;
    case 508:
      calls(3, {});
      break;
    case 601:
      view(5, true);
      break;
    case 605:
      c = {.next = 6, .calls = {"Shutdown"}, .unloaded = true};
      break;
    case 608:
      calls(4, {});
      break;
    default:
      break;  // unexpected
  }
  return c;
}

class StateMachineCell : public ::testing::TestWithParam<std::pair<int, int>> {};

bool HiddenOnDisk(test::PopupWorld& w) {
  ConfigServer disk(w.dir / "ConfigTree.xml", "");
  return disk.RootNode()->GetValue("Componants.VellixControl.Hidden").ToBool();
}

TEST_P(StateMachineCell, DoesWhatItsCellSays) {
  const auto [state, event] = GetParam();
  test::PopupWorld w;
  const bool hiddenState = state == 2 || state == 4 || state == 6;
  if (state >= 3) w.engine->Configured(true);
  if (state >= 5) w.engine->Running(true);
  w.PresetHidden(hiddenState || state == 0);
  w.Start();
  if (state == 0) {
    w.popup.ControlState(0);
  } else {
    ASSERT_EQ(w.popup.ControlState(), state) << "the start did not reach " << kStates[state];
  }
  // Hidden on disk is the opposite of what any write would make it, so that a
  // commit shows.
  const bool diskBefore = HiddenOnDisk(w);
  w.engine->DelayReports(true);
  w.engine->SilentShutdown(true);
  w.engine->ClearJournal();
  w.log->records.clear();
  w.host.ClearPrompts();

  w.popup.StateMonitor(event);
  w.host.Pump();

  const Cell want = Expected(state, event);
  const std::string trace =
      std::string("Current State: ") + kStates[state] + " Event: " + kEvents[event];
  EXPECT_THAT(w.StateTrace(), ElementsAre(trace));
  if (want.next < 0) {
    EXPECT_EQ(w.popup.ControlState(), state);
    EXPECT_THAT(w.Problems(),
                ElementsAre(test::LogRecord{"frmPopup", "Visible",
                                            "Unexpected Event " + std::to_string(event) +
                                                " in State " + std::to_string(state),
                                            0}));
    EXPECT_THAT(w.Journal(), IsEmpty());
    return;
  }
  EXPECT_EQ(w.popup.ControlState(), want.next);
  EXPECT_THAT(w.Problems(), IsEmpty());
  if (want.afterSave) {
    // Quick setup's own writes come first, then the machine's call.
    const auto journal = w.Journal();
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.front(), "ResetConfig");
    const auto configured = std::find(journal.begin(), journal.end(), want.calls.front());
    EXPECT_NE(configured, journal.end());
    EXPECT_EQ(std::count(journal.begin(), journal.end(), want.calls.front()), 1);
  } else {
    EXPECT_EQ(w.Journal(), want.calls);
  }
  if (want.hidden) {
    EXPECT_EQ(w.popup.Hidden(), *want.hidden);
    EXPECT_EQ(HiddenOnDisk(w), want.committed ? *want.hidden : diskBefore);
  }
  if (want.visible) {
    EXPECT_EQ(w.popup.Visible(), *want.visible);
  }
  if (want.viewOffered) {
    EXPECT_EQ(w.popup.mPopView.Visible(), *want.viewOffered);
    EXPECT_EQ(w.popup.mPopHide.Visible(), !*want.viewOffered);
  }
  EXPECT_EQ(!w.popup.Loaded(), want.unloaded);
}

std::vector<std::pair<int, int>> AllCells() {
  std::vector<std::pair<int, int>> cells;
  for (int s = 0; s <= 6; ++s) {
    for (int e = 0; e <= 11; ++e) {
      if (!(s == 0 && e == 0)) cells.emplace_back(s, e);  // Load is the start itself
    }
  }
  return cells;
}

INSTANTIATE_TEST_SUITE_P(AllStatesAndEvents, StateMachineCell, ::testing::ValuesIn(AllCells()),
                         [](const auto& cell) {
                           return std::string(kStates[cell.param.first]) + "_" +
                                  kEvents[cell.param.second];
                         });

TEST(StateMachine, LoadFollowsThePersistedHiddenSetting) {
  test::PopupWorld shown;
  shown.Start();
  EXPECT_EQ(shown.popup.ControlState(), 1);
  EXPECT_TRUE(shown.popup.Visible());
  EXPECT_TRUE(shown.popup.mPopHide.Visible());
  EXPECT_FALSE(shown.popup.mPopView.Visible());
  EXPECT_TRUE(shown.popup.picQuickSetup.Visible());
  EXPECT_THAT(shown.Journal(), Contains("Announce"));

  test::PopupWorld hidden;
  hidden.PresetHidden(true);
  hidden.Start();
  EXPECT_EQ(hidden.popup.ControlState(), 2);
  EXPECT_FALSE(hidden.popup.Visible());
  EXPECT_TRUE(hidden.popup.mPopView.Visible());
  EXPECT_FALSE(hidden.popup.mPopHide.Visible());
}

TEST(StateMachine, ATreeWithoutHiddenStartsHiddenAndCreatesTheKey) {
  test::PopupWorld w;
  w.PresetHidden(false);
  auto root = w.config->RootNode();
  auto branch = root->GetNode("Componants.VellixControl", false, "", Variant());
  ASSERT_FALSE(branch.IsNothing());
  // Remove Hidden by rebuilding the branch without it is not offered by the
  // tree; a fresh tree whose boot branch lacks the key behaves the same as a
  // read of a missing key, which the property makes with true.
  EXPECT_TRUE(
      root->GetNode("Componants.VellixControl.NoSuchHidden", false, "", Variant()).IsNothing());
  EXPECT_TRUE(root->GetNode("Componants.VellixControl.NoSuchHidden", true, "Boolean", Variant(true))
                  ->GetContent()
                  .ToBool());
}

TEST(StateMachine, ConfiguredAndRunningEngineBringsAShownPanelToRunningVisible) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.engine->Running(true);
  w.Start();
  EXPECT_EQ(w.popup.ControlState(), 5);
  EXPECT_THAT(w.StateTrace(), ElementsAre("Current State: Unloaded Event: Load",
                                          "Current State: UnconfiguredVisible Event: Configured",
                                          "Current State: ConfiguredVisible Event: Run"));
  EXPECT_TRUE(w.popup.tabControlOptions.Visible());
  EXPECT_FALSE(w.popup.picQuickSetup.Visible());
  EXPECT_EQ(w.popup.CurrentTab(), "Summary");
  EXPECT_TRUE(w.popup.tmrBackupTimer.Enabled());
  EXPECT_EQ(w.popup.cmdStopStart.Caption(), w.Text(".Strings.ControlPanel.cmdStopStart.Stop"));
  EXPECT_EQ(w.tray.Current(), "Running.ico");
}

TEST(StateMachine, ExitOutsideRunningHiddenWaitsForTheEnginesShutdown) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), 3);
  w.engine->SilentShutdown(true);
  w.host.AnswerNext(MsgResult::OK);
  w.popup.cmdExit.UserClick();
  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.ControlPanel.ConfirmClose")));
  EXPECT_TRUE(w.popup.Loaded()) << "no Shutdown report: the form stays";

  w.engine->SilentShutdown(false);
  w.popup.mPopExit.UserClick();  // no question from the tray menu
  EXPECT_EQ(w.host.Prompts().size(), 1U);
  EXPECT_FALSE(w.popup.Loaded()) << "the engine's Shutdown activity unloads the form";
  EXPECT_THAT(w.log->lifecycle, Contains("ComponentEnded VellixControl"));
  EXPECT_THAT(w.tray.calls.back().action, "Delete");
}

TEST(StateMachine, CancelOnTheExitQuestionKeepsEverything) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  w.host.AnswerNext(MsgResult::Cancel);
  w.popup.cmdExit.UserClick();
  EXPECT_TRUE(w.popup.Loaded());
  EXPECT_THAT(w.Journal(), Not(Contains("Shutdown")));
}

TEST(StateMachine, MinimisingHidesTheWindowWithoutTellingTheMachine) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), 3);
  w.popup.UserWindowState(1);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_EQ(w.popup.ControlState(), 3);
  EXPECT_FALSE(w.popup.Hidden());
  // The next left click on the tray icon brings it back as it was.
  w.popup.UserMouseMove(0, 0, 514.0 * w.ctx.twipsPerPixelX, 0);
  w.host.Pump();
  EXPECT_TRUE(w.popup.Visible());
  EXPECT_EQ(w.popup.WindowState(), 0);
  EXPECT_EQ(w.popup.ControlState(), 3);
}

TEST(StateMachine, TrayGesturesReachTheMachineAndTheMenu) {
  test::PopupWorld w;
  w.PresetHidden(true);
  w.engine->Configured(true);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), 4);
  w.popup.UserMouseMove(0, 0, 515.0 * w.ctx.twipsPerPixelX, 0);  // double click
  w.host.Pump();
  EXPECT_EQ(w.popup.ControlState(), 3);
  EXPECT_TRUE(w.popup.Visible());
  w.host.OnPopup("mPopupSys", [](Menu& menu) { menu.Parent().Get<Menu>("mPopHide").UserClick(); });
  w.popup.UserMouseMove(0, 0, 517.0 * w.ctx.twipsPerPixelX, 0);
  EXPECT_THAT(w.host.History(), Contains("popup mPopupSys"));
  EXPECT_EQ(w.popup.ControlState(), 4);
  w.popup.UserMouseMove(0, 0, 513.0 * w.ctx.twipsPerPixelX, 0);  // not a gesture
  EXPECT_EQ(w.popup.ControlState(), 4);
}

TEST(StateMachine, AnUnknownStateIsLoggedAndLeftAlone) {
  test::PopupWorld w;
  w.Start();
  w.log->records.clear();
  w.popup.ControlState(9);
  w.popup.StateMonitor(kEventView);
  w.popup.StateMonitor(12);
  EXPECT_THAT(w.StateTrace(),
              ElementsAre("Current State:  Event: View", "Current State:  Event: "));
  EXPECT_THAT(w.Problems(),
              ElementsAre(test::LogRecord{"frmPopup", "Visible", "State 9 unknown", 0},
                          test::LogRecord{"frmPopup", "Visible", "State 9 unknown", 0}));
  EXPECT_EQ(w.popup.ControlState(), 9);
}

TEST(StateMachine, NoEngineMeansNoWindowAndNoMessage) {
  test::PopupWorld w;
  w.engineReachable = false;
  w.Start();
  EXPECT_FALSE(w.popup.Loaded());
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_THAT(w.Problems(), Contains(test::LogRecord{"frmPopup", "Form_Load",
                                                     "Fatal - Unable to connect to Vellix", 0}));
  // The tray icon came and went.
  ASSERT_FALSE(w.tray.calls.empty());
  EXPECT_EQ(w.tray.calls.front().action, "Add");
  EXPECT_EQ(w.tray.calls.back().action, "Delete");
}

}  // namespace
}  // namespace vellix
