#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "foundation/context.h"
#include "foundation/date.h"
#include "foundation/form.h"
#include "servers/config/config_tree_node.h"
#include "shell/frm_icon_timer.h"
#include "shell/tray_icon.h"
#include "support/recording_error_log.h"
#include "support/recording_tray.h"
#include "support/scripted_host.h"

namespace vellix {
namespace {

using test::LogRecord;
using test::TrayCall;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kA = "ProcessingA.ico";
const std::string kB = "ProcessingB.ico";
const std::string kFormIcon = "VellixControl.ico";

class TrayIconTest : public ::testing::Test {
 protected:
  TrayIconTest() {
    ctx.errorLog = log;
    ctx.rootNode = Ref<ConfigNode>(root);
    root->GetNode("Componants.VellixControl.Strings.SystemTrayTip", true, "String",
                  Variant("- mail archiving"));
    popup.Icon(kFormIcon);
  }
  std::unique_ptr<TrayIcon> MakeIcon(const std::string& productName = "Vellix Control") {
    return std::make_unique<TrayIcon>(ctx, tray, iconTimer, popup, productName);
  }
  std::string TipFor(const std::string& productName) { return MakeIcon(productName)->Tip(); }
  bool Ticking() { return host.TimerRunning(iconTimer.tmrTrayIcon); }
  ManualClock clock;
  test::ScriptedHost host{&clock};
  Services services{.clock = clock, .host = &host, .exeFolder = "/opt/vellix"};
  Context ctx{services};
  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
  std::shared_ptr<ConfigTreeNode> root =
      std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  test::RecordingTray tray;
  FrmIconTimer iconTimer{host};
  Form popup{host, "frmPopup"};
};

TEST_F(TrayIconTest, StartsStoppedWithItsTipAndLoadsTheSixIconsBesideTheProgram) {
  auto icon = MakeIcon();
  EXPECT_EQ(icon->State(), "Stopped");
  EXPECT_THAT(tray.calls,
              ElementsAre(TrayCall{"Add", "Stopped.ico", "Vellix Control - mail archiving"}));
  EXPECT_THAT(tray.loadedPaths,
              ElementsAre("/opt/vellix\\Stopped.ico", "/opt/vellix\\Running.ico",
                          "/opt/vellix\\ProcessingA.ico", "/opt/vellix\\ProcessingB.ico",
                          "/opt/vellix\\BackingupA.ico", "/opt/vellix\\BackingupB.ico"));
  EXPECT_FALSE(Ticking());
  EXPECT_TRUE(iconTimer.Loaded());
  EXPECT_FALSE(iconTimer.Visible());
  icon->State("Running");
  EXPECT_EQ(tray.calls.back(), (TrayCall{"Modify", "Running.ico", icon->Tip()}));
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(TrayIconTest, ProcessingAlternatesEveryHalfSecondAndTheTurnCarriesAcrossStates) {
  auto icon = MakeIcon();
  icon->State("Processing");  // A at 0 ms
  host.Advance(499);
  EXPECT_THAT(tray.Shown(), ElementsAre(kA));
  host.Advance(751);  // B at 500, A at 1000; the next tick is 250 ms away
  icon->State("Running");
  host.Advance(2000);
  EXPECT_FALSE(Ticking());
  icon->State("Processing");  // not reset: B comes next
  icon->State("Stopped");
  host.Advance(2000);
  EXPECT_FALSE(Ticking());
  EXPECT_THAT(tray.Shown(), ElementsAre(kA, kB, kA, "Running.ico", kB, "Stopped.ico"));
  // Backing up shows the processing pair and shares its turn; setting a
  // moving state again steps the picture without restarting the count.
  tray.calls.clear();
  icon->State("Backingup");  // A at 0 ms
  host.Advance(300);
  icon->State("Processing");  // B at 300 ms
  host.Advance(699);          // A at 500 ms
  EXPECT_THAT(tray.Shown(), ElementsAre(kA, kB, kA));
  host.Advance(1);
  EXPECT_THAT(tray.Shown(), ElementsAre(kA, kB, kA, kB));
}

TEST_F(TrayIconTest, AnIconFileMissingOrUnreadableMakesEveryStateShowTheFormsIcon) {
  tray.missing = {"ProcessingB.ico"};
  auto icon = MakeIcon();
  EXPECT_EQ(tray.calls.front(), (TrayCall{"Add", kFormIcon, icon->Tip()}));
  icon->State("Processing");
  host.Advance(1000);  // the animation still ticks, with one steady picture
  icon->State("Running");
  icon->State("Backingup");
  EXPECT_THAT(tray.Shown(), ElementsAre(kFormIcon, kFormIcon, kFormIcon, kFormIcon, kFormIcon));
  // A file whose loading fails is passed over the same way, after trying all.
  icon.reset();
  tray = test::RecordingTray();
  tray.failing = {"Stopped.ico"};
  icon = MakeIcon();
  EXPECT_EQ(tray.calls.front().picture, kFormIcon);
  EXPECT_EQ(tray.loadedPaths.size(), 6U);
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(TrayIconTest, TipIsCutToSixtyThreeBytesNeverInsideACharacter) {
  EXPECT_EQ(TipFor("Vellix"), "Vellix - mail archiving");
  EXPECT_EQ(TipFor(std::string(70, 'x')), std::string(63, 'x'));
  // "é" takes bytes 62 and 63: the whole character goes.
  EXPECT_EQ(TipFor(std::string(62, 'a') + "\xC3\xA9"), std::string(62, 'a'));
  // "€" would end at byte 64.
  EXPECT_EQ(TipFor(std::string(61, 'a') + "\xE2\x82\xAC"), std::string(61, 'a'));
  // A four-byte character that just fits stays whole.
  EXPECT_EQ(TipFor(std::string(59, 'a') + "\xF0\x9F\x93\xA6"),
            std::string(59, 'a') + "\xF0\x9F\x93\xA6");
  EXPECT_EQ(TipFor(std::string(60, 'a') + "\xF0\x9F\x93\xA6"), std::string(60, 'a'));
  // Broken text is cut as bytes rather than shortened without end.
  EXPECT_EQ(TrayIcon::CutToBytes(std::string(10, 'a') + std::string(60, '\x80'), 63).size(), 63U);
  // Updates send the cut tip too.
  auto icon = MakeIcon(std::string(62, 'a') + "\xC3\xA9");
  icon->State("Processing");
  EXPECT_EQ(tray.calls.back(), (TrayCall{"Modify", kA, std::string(62, 'a')}));
}

TEST_F(TrayIconTest, DestructionIsRecordedTakesTheIconAwayAndLeavesNoHandlerBehind) {
  auto icon = MakeIcon();
  icon->State("Processing");
  icon.reset();
  EXPECT_THAT(log->lifecycle, ElementsAre("ObjectCreated VellixControl TrayIcon",
                                          "ObjectDestroyed VellixControl TrayIcon"));
  EXPECT_EQ(tray.calls.back().action, "Delete");
  EXPECT_FALSE(Ticking());
  auto callsAtEnd = tray.calls.size();
  iconTimer.tmrTrayIcon.Enabled(true);  // the form outlives the icon
  host.Advance(2000);
  EXPECT_EQ(tray.calls.size(), callsAtEnd);
  EXPECT_THAT(log->records, IsEmpty());
  // Without the error log the steps stop at the record that can't be written,
  // yet the timer's handler still goes.
  icon = MakeIcon();
  icon->State("Processing");
  callsAtEnd = tray.calls.size();
  ctx.errorLog = nullptr;
  icon.reset();
  host.Advance(2000);
  EXPECT_EQ(tray.calls.size(), callsAtEnd);
  EXPECT_FALSE(static_cast<bool>(iconTimer.tmrTrayIcon.Tick));
}

TEST_F(TrayIconTest, AnUnknownStateIsKeptQuietlyAndFailuresAreLoggedWhileTheIconCarriesOn) {
  auto icon = MakeIcon();
  icon->State("Processing");
  icon->State("Paused");
  icon->State("processing");  // the texts are compared exactly
  EXPECT_EQ(icon->State(), "processing");
  EXPECT_TRUE(Ticking());
  host.Advance(1500);  // the ticks go on but show nothing for this state
  EXPECT_THAT(tray.Shown(), ElementsAre(kA));

  icon.reset();
  icon = MakeIcon();
  tray.calls.clear();
  tray.failModifyWith = 5;
  icon->State("Processing");
  host.Advance(500);
  EXPECT_EQ(icon->State(), "Processing");
  const LogRecord failed{"TrayIcon", "DisplayStoppedIcon", "Invalid procedure call or argument", 5};
  EXPECT_THAT(log->records, ElementsAre(failed, failed));
  // A picture that never went out is still the next one.
  tray.failModifyWith = 0;
  host.Advance(500);
  EXPECT_THAT(tray.Shown(), ElementsAre(kA));
}

TEST_F(TrayIconTest, WithoutAConfigurationTreeTheIconStillAnimates) {
  ctx.rootNode = nullptr;
  auto icon = MakeIcon();
  EXPECT_THAT(tray.calls, IsEmpty());  // the tip couldn't be read, so no Add
  ASSERT_EQ(log->records.size(), 1U);
  EXPECT_EQ(log->records[0].procedure, "Class_Initialize");
  EXPECT_EQ(log->records[0].number, 91);
  icon->State("Processing");
  host.Advance(500);
  EXPECT_THAT(tray.Shown(), ElementsAre(kA, kB));
}

}  // namespace
}  // namespace vellix
