#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "foundation/outlook.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

void Tick(CheckBox& box, bool ticked) {
  if ((box.Value() == CheckBox::kChecked) != ticked) {
    ASSERT_TRUE(box.UserClick());
  }
}

// A new user's first start: the page shows; they keep mail and calendar,
// choose quarterly periods and type a backup folder.
void FillInThePage(test::PopupWorld& w) {
  w.PresetHidden(false);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), kStateUnconfiguredVisible);
  ASSERT_TRUE(w.popup.picQuickSetup.Visible());
  // The engine answers the start's Announce with "not configured", which the
  // page's state takes as an unexpected event: a log line, nothing more.
  w.log->records.clear();
  QuickSetupPanel& qs = w.popup.quickSetup;
  Tick(qs.chkEmails, true);
  Tick(qs.chkCalendar, true);
  Tick(qs.chkTasks, false);
  Tick(qs.chkContacts, false);
  Tick(qs.chkNotes, false);
  ASSERT_TRUE(qs.optQuarter.UserClick());
  ASSERT_TRUE(qs.txtBackupPath.UserSetText((w.dir / "backup").string()));
}

void PressInPredictiveStart(test::PopupWorld& w, CommandButton FrmPredictiveStart::*button) {
  w.host.OnModal("frmPredictiveStart", [button](Form& form) {
    ASSERT_TRUE((dynamic_cast<FrmPredictiveStart&>(form).*button).UserClick());
  });
}

std::string DefaultFolderPath(test::PopupWorld& w, int32_t kind) {
  return w.ctx.mailProgram->CreateApplication()
      ->GetNamespace("MAPI")
      ->GetDefaultFolder(kind)
      ->FolderPath();
}

std::vector<std::string> Texts(const Collection<std::string>& list) {
  std::vector<std::string> out;
  for (const auto& text : list)
    out.push_back(text);
  return out;
}

std::vector<std::string> AgentNames(test::PopupWorld& w) {
  std::vector<std::string> names;
  for (const auto& agent : w.engine->Config()->Agents())
    names.push_back(agent->Name());
  return names;
}

// What the page above must have written, whichever way the user went on.
void ExpectQuarterlyMailAndCalendar(test::PopupWorld& w) {
  auto config = w.engine->Config();
  EXPECT_THAT(AgentNames(w), ElementsAre("Received Emails", "Sent Emails", "Calendar"));
  auto received = config->Agent("Received Emails");
  auto sent = config->Agent("Sent Emails");
  auto calendar = config->Agent("Calendar");
  ASSERT_TRUE(received && sent && calendar);
  EXPECT_EQ(received->RemovePeriod(), 7);
  EXPECT_EQ(sent->RemovePeriod(), 7);
  EXPECT_THAT(Texts(received->Folders()), ElementsAre(DefaultFolderPath(w, 6)));
  EXPECT_THAT(Texts(sent->Folders()), ElementsAre(DefaultFolderPath(w, 5)));
  EXPECT_THAT(Texts(calendar->Folders()), ElementsAre(DefaultFolderPath(w, 9)));
  EXPECT_EQ(received->MonitorType(), "Mail and Post");
  EXPECT_EQ(calendar->MonitorType(), "Calendar");
  EXPECT_EQ(calendar->StoreCount(), 1);
  EXPECT_EQ(calendar->StoreFormat(), "'@MMM'-'$MMM'");
  EXPECT_EQ(calendar->StoreUnits(), "Quarter");
  EXPECT_EQ(config->PeriodUnits(), "Quarter");
  EXPECT_EQ(config->PeriodFormat(), "File '@yyyy mmm'-'$mmm'");
  EXPECT_EQ(config->PeriodCount(), 1);
  EXPECT_EQ(config->ReferenceDate(), DateSerial(2026, 1, 1));
  EXPECT_EQ(config->StoreLocation(), w.popup.quickSetup.txtStorePath.Text());
  EXPECT_EQ(config->BackupLocation(), (w.dir / "backup").string());
  EXPECT_TRUE(w.engine->Configured());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(FirstRun, RunNowArchivesMailAndCalendarQuarterlyAndPutsTheWindowAway) {
  test::PopupWorld w;
  FillInThePage(w);
  PressInPredictiveStart(w, &FrmPredictiveStart::cmdRunNow);
  ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
  w.host.Pump();

  ExpectQuarterlyMailAndCalendar(w);
  EXPECT_THAT(w.host.History(), Contains("show modal frmPredictiveStart"));
  EXPECT_EQ(w.popup.ControlState(), kStateRunningHidden);
  EXPECT_TRUE(w.engine->Running());
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_TRUE(w.popup.Hidden());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.QuickSetup.MsgNowRunning")));
  // The store folder didn't exist: OK made it.
  EXPECT_TRUE(w.files->FolderExists(w.popup.quickSetup.txtStorePath.Text()));
}

TEST(FirstRun, RunLaterSavesEverythingButLeavesTheEngineWaitingOnScreen) {
  test::PopupWorld w;
  FillInThePage(w);
  PressInPredictiveStart(w, &FrmPredictiveStart::cmdRunLater);
  ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
  w.host.Pump();

  ExpectQuarterlyMailAndCalendar(w);
  EXPECT_EQ(w.popup.ControlState(), kStateConfiguredVisible);
  EXPECT_FALSE(w.engine->Running());
  EXPECT_TRUE(w.popup.Visible());
  EXPECT_TRUE(w.popup.tabControlOptions.Visible());
  EXPECT_FALSE(w.popup.picQuickSetup.Visible());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.QuickSetup.MsgWaitingToStart")));
}

TEST(FirstRun, ConfigureMoreSavesWithoutQuestionsAndGoesToTheTabs) {
  test::PopupWorld w;
  FillInThePage(w);
  // An empty backup folder and a store folder that can't be made: neither is
  // asked about on this way.
  QuickSetupPanel& qs = w.popup.quickSetup;
  ASSERT_TRUE(qs.txtBackupPath.UserSetText(""));
  const std::string unreachable = (w.dir / "no" / "such" / "store").string();
  ASSERT_TRUE(qs.txtStorePath.UserSetText(unreachable));
  ASSERT_TRUE(qs.cmdConfigMore.UserClick());
  w.host.Pump();

  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_THAT(w.host.History(), Not(Contains("show modal frmPredictiveStart")));
  EXPECT_EQ(w.popup.ControlState(), kStateConfiguredVisible);
  EXPECT_FALSE(w.engine->Running());
  EXPECT_TRUE(w.popup.tabControlOptions.Visible());
  EXPECT_THAT(AgentNames(w), ElementsAre("Received Emails", "Sent Emails", "Calendar"));
  EXPECT_EQ(w.engine->Config()->BackupLocation(), "");
  EXPECT_EQ(w.engine->Config()->StoreLocation(), unreachable);
  EXPECT_EQ(w.engine->Config()->Agent("Calendar")->StoreUnits(), "Quarter");
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(FirstRun, CancelLeavesTheSystemUnconfiguredAndHidden) {
  test::PopupWorld w;
  FillInThePage(w);
  w.engine->ClearJournal();
  ASSERT_TRUE(w.popup.quickSetup.cmdCancel.UserClick());
  w.host.Pump();

  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.QuickSetup.MsgLater")));
  EXPECT_EQ(w.popup.ControlState(), kStateUnconfiguredHidden);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_FALSE(w.engine->Configured());
  EXPECT_EQ(w.engine->Journal().Count("ResetConfig"), 0);
  EXPECT_EQ(w.engine->Journal().Count("CreateAgent"), 0);
}

}  // namespace
}  // namespace vellix
