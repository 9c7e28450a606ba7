// Random user, engine and timer events over every form, with the invariants
// checked after each. VELLIX_STORM_EVENTS sets how many (20000 by default),
// VELLIX_STORM_SEED replays a run; the seed is in every failure.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "foundation/buttons.h"
#include "foundation/combo_box.h"
#include "foundation/date_picker.h"
#include "foundation/flex_grid.h"
#include "foundation/list_box.h"
#include "foundation/menu.h"
#include "foundation/purge_details.h"
#include "foundation/tab_strip.h"
#include "foundation/text_box.h"
#include "foundation/up_down.h"
#include "servers/common/write_behind.h"
#include "servers/config/config_xml.h"
#include "servers/engine/engine_file.h"
#include "support/fake_outlook.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

uint64_t FromEnvironment(const char* name, uint64_t fallback) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before the world makes its threads
  const char* text = std::getenv(name);
  return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : fallback;
}

// What a user types, good and bad.
const std::vector<std::string> kTexts = {"",
                                         "0",
                                         "1",
                                         "7",
                                         "-1",
                                         "32768",
                                         "99999999999",
                                         "abc",
                                         "12.5",
                                         "Mail",
                                         "Inbox",
                                         "C:\\Archive",
                                         "..\\..\\x",
                                         "/etc",
                                         "2024-02-30",
                                         "@yyyy-mm",
                                         "File '@yyyy'",
                                         "\t",
                                         "é✓",
                                         std::string(300, 'x')};
const std::vector<std::string> kTabs = {"Summary", "Periods", "Agents", "Import", "Backup", "Log"};
const std::vector<std::string> kActivities = {"Start", "Complete", "Stop", "", "Unknown"};

class Question : public PurgeDetails {
 public:
  int32_t ItemCount() override { return 3; }
  std::string ItemType() override { return "Mail Item"; }
  Ref<MAPIFolder> Folder() override {
    return std::make_shared<test::FakeFolder>("Inbox", R"(\\Personal Folders\Inbox)", 0);
  }
  std::string AgentName() override { return "Received Emails"; }
};

class Storm {
 public:
  explicit Storm(uint64_t seed) : random_(seed) {
    for (const char* name : {"frmPredictiveStart", "frmPurgeNotice", "frmBackupManager",
                             "frmRecover", "frmAbout", "frmBackupNow", "frmSupportMessage"}) {
      w_.host.OnModal(name, [this](Form& form) { InModal(form); });
    }
    w_.PresetHidden(false);
    w_.Start();
  }

  // One top-level event and the invariants after it.
  void Step() {
    ++events;
    try {
      Event(w_.popup);
    } catch (const VbError& e) {
      // An error number above 32767 overflows the frame's 16-bit field and
      // goes to the caller; here no frame is above the host's call.
      ASSERT_EQ(e.Number(), 6) << "error " << e.Number() << " left a handler: " << e.Description();
      ++overflowsToHost;
    } catch (const std::exception& e) {
      FAIL() << "an exception left a handler: " << e.what();
    }
    const auto state = static_cast<int32_t>(w_.popup.ControlState());
    ASSERT_TRUE(state >= 0 && state <= 6) << "state " << state;
    states.insert(state);
    for (const std::string& line : w_.host.History()) {
      if (line.starts_with("show modal ")) ++modalShows[line.substr(11)];
    }
    w_.host.ClearHistory();
    w_.host.ClearPrompts();
    if (w_.popup.Loaded()) {
      ASSERT_FALSE(w_.popup.mPopView.Visible() && w_.popup.mPopHide.Visible())
          << "View and Hide both offered in state " << state;
    }
  }

  void CheckFilesLoad() {
    servers::WriteBehind::Shared().WaitAll();
    w_.config->RootNode()->Commit("");
    std::vector<std::shared_ptr<ConfigTreeNode>> nodes;
    std::string error;
    ASSERT_TRUE(ReadConfigXmlFile(w_.dir / "ConfigTree.xml", 64, &nodes, &error)) << error;
    if (std::filesystem::exists(w_.dir / "Engine.xml")) {
      const auto read = engine::ReadEngineFile(w_.dir / "Engine.xml");
      ASSERT_EQ(read.outcome, engine::EngineFileRead::Outcome::Loaded) << read.error;
    }
  }

  [[nodiscard]] bool Alive() const { return w_.popup.Loaded(); }

  uint64_t events = 0;
  uint64_t overflowsToHost = 0;
  // What the storm reached, so that a run that stays on one page shows.
  std::set<int32_t> states;
  std::map<std::string, int> modalShows;

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

  // Inside a modal form: a few actions on it (some of them nested events of
  // other kinds), then the user closes it.
  void InModal(Form& form) {
    if (depth_ < 3) {
      ++depth_;
      for (int i = Pick(6); i > 0 && form.Loaded() && form.Visible(); --i) {
        ++events;
        Event(form);
      }
      --depth_;
    }
    if (form.Loaded() && form.Visible() && !form.UserClose()) form.Hide();
  }

  void Event(Form& top) {
    switch (Pick(10)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return UserAction(top);
      case 4:
        return TrayAction();
      case 5:
        return EngineEvent();
      case 6:
        w_.host.Advance(int64_t{Pick(130)} * 1000);
        return;
      case 7:
        (void)w_.popup.tabControlOptions.UserSelectTab(kTabs[Pick(static_cast<int>(kTabs.size()))]);
        return;
      default:
        w_.host.Pump();
        return;
    }
  }

  void UserAction(Form& form) {
    const auto& controls = form.Controls();
    if (controls.empty()) return;
    Control& c = *controls[Pick(static_cast<int>(controls.size()))];
    const std::string& text = kTexts[Pick(static_cast<int>(kTexts.size()))];
    if (auto* box = dynamic_cast<TextBox*>(&c)) {
      (void)box->UserSetText(text);
      box->UserLeave();
    } else if (auto* combo = dynamic_cast<ComboBox*>(&c)) {
      if (Pick(2) == 0) {
        (void)combo->UserPick(Pick(combo->ListCount() + 1) - 1);
      } else {
        (void)combo->UserSetText(text);
      }
    } else if (auto* list = dynamic_cast<ListBox*>(&c)) {
      if (list->ListCount() > 0) (void)list->UserClickRow(Pick(list->ListCount()));
    } else if (auto* grid = dynamic_cast<FlexGrid*>(&c)) {
      (void)grid->UserClickCell(Pick(grid->Rows() + 1), Pick(grid->Cols() + 1));
    } else if (auto* upDown = dynamic_cast<UpDown*>(&c)) {
      (void)(Pick(2) == 0 ? upDown->UserUp() : upDown->UserDown());
    } else if (auto* picker = dynamic_cast<DatePicker*>(&c)) {
      (void)picker->UserSetValue(Date(45000 + Pick(2000)));
    } else if (dynamic_cast<Menu*>(&c) != nullptr &&
               (c.Name() == "mPopExit" || c.Name() == "cmdExit")) {
      // Exit ends the storm's world; the session-end tests cover it.
    } else if (c.Name() != "cmdExit") {
      (void)c.UserClick();
    }
  }

  void TrayAction() {
    FrmPopup& p = w_.popup;
    switch (Pick(6)) {
      case 0:
        return (void)p.mPopView.UserClick();
      case 1:
        return (void)p.mPopHide.UserClick();
      case 2:
        return (void)p.mPopStart.UserClick();
      case 3:
        return (void)p.mPopStop.UserClick();
      case 4:
        return (void)p.mPopAbout.UserClick();
      default:
        // The tray icon's clicks come as mouse moves on the form.
        return p.UserMouseMove(0, 0, 514 + Pick(4), 0);
    }
  }

  void EngineEvent() {
    engine::EngineServer& e = *w_.engine;
    switch (Pick(6)) {
      case 0:
        return e.OnActivity.Raise(kActivities[Pick(static_cast<int>(kActivities.size()))]);
      case 1:
        return e.OnRun.Raise(Pick(2) == 0);
      case 2:
        return e.OnConfigured.Raise(Pick(2) == 0);
      case 3: {
        int16_t result = 7;
        return e.OnNotify.Raise(Pick(3) == 0 ? 1 : 0, MakeRef<Question>(), result);
      }
      case 4:
        return e.Running(!e.Running());
      default:
        return e.Configured(!e.Configured());
    }
  }

  std::mt19937_64 random_;
  test::PopupWorld w_;
  int depth_ = 0;
};

TEST(EventStorm, InvariantsHoldAfterEveryEvent) {
  const uint64_t seed = FromEnvironment("VELLIX_STORM_SEED", std::random_device{}());
  const uint64_t wanted = FromEnvironment("VELLIX_STORM_EVENTS", 20000);
  SCOPED_TRACE("VELLIX_STORM_SEED=" + std::to_string(seed));
  Storm storm(seed);
  while (storm.events < wanted && storm.Alive() && !::testing::Test::HasFatalFailure()) {
    storm.Step();
    if (storm.events % 5000 < 1) storm.CheckFilesLoad();
  }
  ASSERT_TRUE(storm.Alive()) << "the main form went after " << storm.events << " events";
  storm.CheckFilesLoad();
  std::string reached;
  for (const auto& [form, shows] : storm.modalShows)
    reached += " " + form + ":" + std::to_string(shows);
  std::printf(
      "storm: %llu events, %zu states, %llu overflows passed to the host, seed %llu;"
      " modal shows%s\n",
      static_cast<unsigned long long>(storm.events), storm.states.size(),
      static_cast<unsigned long long>(storm.overflowsToHost), static_cast<unsigned long long>(seed),
      reached.c_str());
  // Every state but Unloaded, and the forms the panel opens by itself.
  EXPECT_GE(storm.states.size(), 6U);
}

}  // namespace
}  // namespace vellix
