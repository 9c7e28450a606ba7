#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/control_startup.h"
#include "foundation/runtime.h"
#include "servers/config/config_server.h"
#include "support/popup/popup_world.h"

// Cells name only the fields that matter to them.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

std::string StateName(int state) {
  return std::string(NameOf(static_cast<MachineState>(state)));
}
std::string EventName(int event) {
  return std::string(NameOf(static_cast<MachineEvent>(event)));
}
int StateOf(const test::PopupWorld& w) {
  return Number(w.popup.ControlState());
}

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

Cell View(int next, bool fromHidden) {
  return {.next = next,
          .hidden = false,
          .committed = true,
          .visible = true,
          .viewOffered = fromHidden ? std::optional<bool>(false) : std::nullopt};
}
Cell Hide(int next) {
  return {.next = next, .hidden = true, .committed = true, .visible = false, .viewOffered = true};
}
Cell Calls(int next, std::vector<std::string> made) {
  return {.next = next, .calls = std::move(made)};
}
Cell Saved(int next) {
  return {.next = next, .calls = {"put Configured True"}, .afterSave = true};
}

// Keyed by state * 100 + event, a row per state; a cell not listed is an
// unexpected event.
// clang-format off
const std::map<int, Cell> kTable = {
    {101, View(1, false)}, {102, Hide(2)}, {104, Saved(1)}, {105, Calls(1, {"Shutdown"})},
    {106, Saved(1)}, {107, Calls(1, {"put Configured True"})},
    {110, Cell{.next = 3, .visible = true}},
    {201, View(1, true)}, {205, Cell{.next = 2, .calls = {"Shutdown"}, .hidden = false}},
    {210, Cell{.next = 4, .visible = false}},
    {301, View(3, false)}, {302, Hide(4)}, {303, Calls(3, {"put Configured False"})},
    {305, Calls(3, {"Shutdown"})}, {309, Calls(5, {"put LoggingLevel On"})}, {311, Calls(1, {})},
    {401, View(3, true)}, {405, Calls(4, {"Shutdown"})}, {409, Calls(6, {"put LoggingLevel On"})}, {411, Calls(2, {})},
    {501, View(5, false)}, {502, Hide(6)}, {505, Calls(5, {"Shutdown"})}, {508, Calls(3, {})},
    {601, View(5, true)}, {605, Cell{.next = 6, .calls = {"Shutdown"}, .unloaded = true}},
    {608, Calls(4, {})},
};
// clang-format on

class StateMachineCell : public ::testing::TestWithParam<std::pair<int, int>> {};

// What the tree file holds now, read by a server of its own.
std::string Saved(const test::PopupWorld& w, const std::string& key) {
  ConfigServer disk(w.dir / "ConfigTree.xml", "");
  return disk.RootNode()->GetValue(key).ToString();
}
bool HiddenOnDisk(test::PopupWorld& w) {
  return CBool(Saved(w, "Componants.VellixControl.Hidden"));
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
    w.popup.ControlState(MachineState::Unloaded);
  } else {
    ASSERT_EQ(StateOf(w), state) << "the start did not reach " << StateName(state);
  }
  // Hidden on disk is the opposite of what any write would make it, so that a
  // commit shows.
  const bool diskBefore = HiddenOnDisk(w);
  w.engine->DelayReports(true);
  w.engine->SilentShutdown(true);
  w.engine->ClearJournal();
  w.log->records.clear();
  w.host.ClearPrompts();
  w.popup.StateMonitor(static_cast<MachineEvent>(event));
  w.host.Pump();
  const auto found = kTable.find(state * 100 + event);
  const Cell want = found == kTable.end() ? Cell{} : found->second;
  EXPECT_THAT(w.StateTrace(), ElementsAre(std::string("Current State: ") + StateName(state) +
                                          " Event: " + EventName(event)));
  if (want.next < 0) {
    EXPECT_EQ(StateOf(w), state);
    EXPECT_THAT(w.Problems(),
                ElementsAre(test::LogRecord{"frmPopup", "Visible",
                                            "Unexpected Event " + std::to_string(event) +
                                                " in State " + std::to_string(state),
                                            0}));
    EXPECT_THAT(w.Journal(), IsEmpty());
    return;
  }
  EXPECT_EQ(StateOf(w), want.next);
  EXPECT_THAT(w.Problems(), IsEmpty());
  const auto journal = w.Journal();
  if (want.afterSave) {
    // Quick setup's own writes come first, then the machine's call, once.
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.front(), "ResetConfig");
    EXPECT_EQ(std::count(journal.begin(), journal.end(), want.calls.front()), 1);
  } else {
    EXPECT_EQ(journal, want.calls);
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
                           return StateName(cell.param.first) + "_" + EventName(cell.param.second);
                         });

TEST(StateMachine, LoadFollowsThePersistedHiddenSettingAndAMissingOneMeansHidden) {
  for (const bool hidden : {false, true}) {
    SCOPED_TRACE(hidden ? "hidden" : "shown as shipped");
    test::PopupWorld w;
    if (hidden) w.PresetHidden(true);
    w.Start();
    EXPECT_EQ(StateOf(w), hidden ? 2 : 1);
    EXPECT_EQ(w.popup.Visible(), !hidden);
    EXPECT_EQ(w.popup.mPopView.Visible(), hidden);
    EXPECT_EQ(w.popup.mPopHide.Visible(), !hidden);
  }
  // A boot branch without the key: the window starts hidden and the key is made.
  test::PopupWorld w;
  std::ostringstream boot;
  boot << std::ifstream(fs::path(w.services.exeFolder) / ControlStartup::kBootConfigFile).rdbuf();
  std::string text = boot.str();
  const auto at = text.find("<node key=\"Hidden\"");
  ASSERT_NE(at, std::string::npos);
  text.erase(at, text.find('\n', at) - at);
  fs::create_directories(w.dir / "exe");
  std::ofstream(w.dir / "exe" / ControlStartup::kBootConfigFile) << text;
  w.services.exeFolder = (w.dir / "exe").string();
  w.Start();
  EXPECT_EQ(StateOf(w), 2);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_TRUE(w.config->RootNode()->GetValue("Componants.VellixControl.Hidden").ToBool());
}

TEST(StateMachine, ConfiguredAndRunningEngineBringsAShownPanelToRunningVisible) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.engine->Running(true);
  w.Start();
  EXPECT_EQ(StateOf(w), 5);
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

TEST(StateMachine, ExitAsksFirstAndThenWaitsForTheEnginesShutdown) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  ASSERT_EQ(StateOf(w), 3);
  const std::string question = w.Text(".Strings.ControlPanel.ConfirmClose");
  w.host.AnswerNext(MsgResult::Cancel);
  w.popup.cmdExit.UserClick();
  EXPECT_TRUE(w.popup.Loaded());
  EXPECT_THAT(w.Journal(), Not(Contains("Shutdown")));
  w.engine->SilentShutdown(true);
  w.host.AnswerNext(MsgResult::OK);
  w.popup.cmdExit.UserClick();
  EXPECT_THAT(w.host.Prompts(), ElementsAre(question, question));
  EXPECT_TRUE(w.popup.Loaded()) << "no Shutdown report: the form stays";
  // The tray menu's Exit asks nothing, commits the tree and ends the component.
  const std::string key = "Componants.VellixControl.TrayExitMark";
  w.config->RootNode()->GetNode(key, true, "String", Variant("kept"));
  ASSERT_NE(Saved(w, key), "kept") << "not committed before the exit";
  w.engine->SilentShutdown(false);
  w.host.OnPopup("mPopupSys", [](Menu& menu) { menu.Parent().Get<Menu>("mPopExit").UserClick(); });
  w.popup.UserMouseMove(0, 0, 517.0 * w.services.twipsPerPixelX, 0);  // right button up
  w.host.Pump();
  EXPECT_EQ(w.host.Prompts().size(), 2U);
  EXPECT_FALSE(w.popup.Loaded()) << "the engine's Shutdown activity unloads the form";
  EXPECT_EQ(Saved(w, key), "kept");
  // The icon goes before the component ends, as Form_Unload orders them.
  EXPECT_EQ(w.tray.calls.back().action, "Delete");
  const auto& life = w.log->lifecycle;
  const auto icon = std::find(life.begin(), life.end(), "ObjectDestroyed VellixControl TrayIcon");
  const auto ended = std::find(life.begin(), life.end(), "ComponentEnded VellixControl");
  ASSERT_NE(ended, life.end());
  EXPECT_LT(icon, ended);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(StateMachine, TrayGesturesReachTheWindowTheMachineAndTheMenuAndStrayNumbersAreLogged) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  ASSERT_EQ(StateOf(w), 3);
  auto mouse = [&](double message) {
    w.popup.UserMouseMove(0, 0, message * w.services.twipsPerPixelX, 0);
    w.host.Pump();
  };
  // Minimising hides the window without telling the machine; a left click on
  // the icon brings it back as it was.
  w.popup.UserWindowState(1);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_EQ(StateOf(w), 3);
  EXPECT_FALSE(w.popup.Hidden());
  mouse(514);
  EXPECT_TRUE(w.popup.Visible());
  EXPECT_EQ(w.popup.WindowState(), 0);
  EXPECT_EQ(StateOf(w), 3);
  w.host.OnPopup("mPopupSys", [](Menu& menu) { menu.Parent().Get<Menu>("mPopHide").UserClick(); });
  mouse(517);  // right button up: the menu
  EXPECT_THAT(w.host.History(), Contains("popup mPopupSys"));
  EXPECT_EQ(StateOf(w), 4);
  mouse(513);  // not a gesture
  EXPECT_EQ(StateOf(w), 4);
  mouse(515);  // double click
  EXPECT_EQ(StateOf(w), 3);
  EXPECT_TRUE(w.popup.Visible());

  // An event or a state out of range is traced by number, logged and left alone.
  w.log->records.clear();
  w.popup.StateMonitor(static_cast<MachineEvent>(12));
  w.popup.ControlState(static_cast<MachineState>(9));
  w.popup.StateMonitor(MachineEvent::View);
  w.popup.StateMonitor(static_cast<MachineEvent>(12));
  EXPECT_THAT(w.StateTrace(),
              ElementsAre("Current State: ConfiguredVisible Event: ", "Current State:  Event: View",
                          "Current State:  Event: "));
  EXPECT_THAT(
      w.Problems(),
      ElementsAre(test::LogRecord{"frmPopup", "Visible", "Unexpected Event 12 in State 3", 0},
                  test::LogRecord{"frmPopup", "Visible", "State 9 unknown", 0},
                  test::LogRecord{"frmPopup", "Visible", "State 9 unknown", 0}));
  EXPECT_EQ(StateOf(w), 9);
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

TEST(NoNotificationArea, TheTaskBarStandsInForTheTrayAndTheMachineFollowsIt) {
  test::PopupWorld w;
  w.tray.available = false;
  w.engine->Configured(true);
  w.PresetHidden(true);
  w.Start();
  w.host.Pump();
  // A hidden start leaves the window minimised on the task bar, not out of reach.
  ASSERT_EQ(StateOf(w), 4);
  EXPECT_TRUE(w.popup.Visible());
  EXPECT_EQ(w.popup.WindowState(), 1);
  const auto restore = [&](int32_t windowState) {
    w.popup.UserWindowState(windowState);
    w.host.Pump();
  };
  // Restoring it from the task bar is a View, once.
  w.log->records.clear();
  restore(0);
  EXPECT_EQ(StateOf(w), 3);
  EXPECT_FALSE(w.popup.Hidden());
  EXPECT_THAT(w.StateTrace(), ElementsAre("Current State: ConfiguredHidden Event: View"));
  // Hide minimises, and the machine is told as usual.
  w.popup.cmdHide.UserClick();
  w.host.Pump();
  EXPECT_EQ(StateOf(w), 4);
  EXPECT_TRUE(w.popup.Hidden() && w.popup.Visible());
  EXPECT_EQ(w.popup.WindowState(), 1);
  restore(0);
  ASSERT_EQ(StateOf(w), 3);
  // Minimising a shown window by hand hides nothing and tells nobody.
  w.log->records.clear();
  restore(1);
  restore(0);
  EXPECT_EQ(StateOf(w), 3);
  EXPECT_TRUE(w.popup.Visible());
  EXPECT_THAT(w.StateTrace(), IsEmpty());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
