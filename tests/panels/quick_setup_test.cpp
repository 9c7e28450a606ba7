#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine_config.h"
#include "foundation/outlook.h"
#include "panels/panel_test.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/config/config_server.h"

namespace vellix::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

// Ticks the boxes given and clears the others.
void TickOnly(QuickSetupPanel& qs, const std::set<const CheckBox*>& ticked) {
  for (CheckBox* box :
       {&qs.chkEmails, &qs.chkCalendar, &qs.chkTasks, &qs.chkContacts, &qs.chkNotes}) {
    if ((box->Value() == CheckBox::kChecked) != (ticked.count(box) != 0)) {
      ASSERT_TRUE(box->UserClick());
    }
  }
}

// The page on screen, as on a first start.
void StartOnThePage(PopupWorld& w) {
  w.PresetHidden(false);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), MachineState::UnconfiguredVisible);
  ASSERT_TRUE(w.popup.picQuickSetup.Visible());
  // The engine answers the start's Announce with "not configured", which the
  // page's state takes as an unexpected event: a log line, nothing more.
  w.log->records.clear();
}

// A new user's first start: they keep mail and calendar, choose quarterly
// periods and type a backup folder.
void FillInThePage(PopupWorld& w) {
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  TickOnly(qs, {&qs.chkEmails, &qs.chkCalendar});
  ASSERT_TRUE(qs.optQuarter.UserClick());
  ASSERT_TRUE(qs.txtBackupPath.UserSetText((w.dir / "backup").string()));
}

std::vector<std::string> AgentNames(PopupWorld& w) {
  std::vector<std::string> names;
  for (const auto& agent : w.engine->Config()->Agents())
    names.push_back(agent->Name());
  return names;
}

// What the filled-in page must have written, whichever way the user went on.
void ExpectQuarterlyMailAndCalendar(PopupWorld& w) {
  auto config = w.engine->Config();
  auto mapi = w.ctx.Mail().CreateApplication()->GetNamespace("MAPI");
  EXPECT_THAT(AgentNames(w), ElementsAre("Received Emails", "Sent Emails", "Calendar"));
  // Each agent watches its default folder; mail is removed after seven periods.
  const std::pair<const char*, int32_t> folders[] = {
      {"Received Emails", 6}, {"Sent Emails", 5}, {"Calendar", 9}};
  for (const auto& [name, kind] : folders) {
    ASSERT_TRUE(config->Agent(name)) << name;
    EXPECT_THAT(config->Agent(name)->Folders().Values(),
                ElementsAre(mapi->GetDefaultFolder(kind)->FolderPath()));
    if (kind != 9) {
      EXPECT_EQ(config->Agent(name)->RemovePeriod(), 7) << name;
    }
  }
  EXPECT_EQ(config->Agent("Received Emails")->MonitorType(), "Mail and Post");
  auto calendar = config->Agent("Calendar");
  EXPECT_THAT(
      (std::vector<std::string>{calendar->MonitorType(), calendar->StoreFormat(),
                                calendar->StoreUnits(), config->PeriodUnits(),
                                config->PeriodFormat()}),
      ElementsAre("Calendar", "'@MMM'-'$MMM'", "Quarter", "Quarter", "File '@yyyy mmm'-'$mmm'"));
  EXPECT_EQ(calendar->StoreCount(), 1);
  EXPECT_EQ(config->PeriodCount(), 1);
  EXPECT_EQ(config->ReferenceDate(), DateSerial(2026, 1, 1));
  EXPECT_EQ(config->StoreLocation(), w.popup.quickSetup.txtStorePath.Text());
  EXPECT_EQ(config->BackupLocation(), (w.dir / "backup").string());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(FirstRun, OkSavesThePageThenRunsNowOrWaitsOnScreen) {
  const std::string ok = "Current State: UnconfiguredVisible Event: QuickSetupOK";
  const std::string configured = "Current State: UnconfiguredVisible Event: Configured";
  const std::string run = "Current State: ConfiguredHidden Event: Run";
  struct Way {
    const char* name;
    CommandButton FrmPredictiveStart::*button;  // none: closed by its frame
    bool reportsLater;
    bool runs;
    std::vector<std::string> trace;
  };
  // clang-format off
  const Way ways[] = {
      {"Run Now", &FrmPredictiveStart::cmdRunNow, false, true,
       {ok, configured, "Current State: ConfiguredVisible Event: Hide", run}},
      // The window goes before the engine says anything: the hidden states.
      {"Run Now, engine reports later", &FrmPredictiveStart::cmdRunNow, true, true,
       {ok, "Current State: UnconfiguredVisible Event: Hide",
        "Current State: UnconfiguredHidden Event: Configured", run}},
      {"Run Later", &FrmPredictiveStart::cmdRunLater, false, false, {ok, configured}},
      {"closed", nullptr, false, false, {ok, configured}}};
  // clang-format on
  for (const Way& way : ways) {
    SCOPED_TRACE(way.name);
    PopupWorld w;
    FillInThePage(w);
    if (way.button != nullptr) {
      w.host.OnModal("frmPredictiveStart", [&way](Form& form) {
        ASSERT_TRUE((dynamic_cast<FrmPredictiveStart&>(form).*way.button).UserClick());
      });
    }
    w.engine->DelayReports(way.reportsLater);
    ASSERT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
    w.host.Pump();
    if (way.reportsLater) {
      EXPECT_EQ(w.popup.ControlState(), MachineState::UnconfiguredHidden);
      EXPECT_EQ(w.engine->PendingReports(), 2);
      w.engine->DelayReports(false);
      w.engine->ReleaseReports();
      w.host.Pump();
    }
    ExpectQuarterlyMailAndCalendar(w);
    EXPECT_THAT(w.StateTrace(), ElementsAreArray(way.trace));
    EXPECT_THAT(w.host.History(), Contains("show modal frmPredictiveStart"));
    EXPECT_EQ(w.popup.ControlState(),
              way.runs ? MachineState::RunningHidden : MachineState::ConfiguredVisible);
    EXPECT_EQ(w.engine->Running(), way.runs);
    EXPECT_EQ(w.tray.Current(), way.runs ? "Running.ico" : "Stopped.ico");
    EXPECT_THAT(w.host.Prompts(),
                ElementsAre(w.Text(way.runs ? ".Strings.QuickSetup.MsgNowRunning"
                                            : ".Strings.QuickSetup.MsgWaitingToStart")));
    // The store folder didn't exist: OK made it.
    EXPECT_TRUE(w.files->FolderExists(w.popup.quickSetup.txtStorePath.Text()));
  }
}

TEST(FirstRun, ConfigureMoreSavesWithoutQuestionsAndGoesToTheTabs) {
  PopupWorld w;
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
  EXPECT_EQ(w.popup.ControlState(), MachineState::ConfiguredVisible);
  EXPECT_FALSE(w.engine->Running());
  EXPECT_TRUE(w.popup.tabControlOptions.Visible());
  EXPECT_THAT(AgentNames(w), ElementsAre("Received Emails", "Sent Emails", "Calendar"));
  EXPECT_EQ(w.engine->Config()->BackupLocation(), "");
  EXPECT_EQ(w.engine->Config()->StoreLocation(), unreachable);
  EXPECT_EQ(w.engine->Config()->Agent("Calendar")->StoreUnits(), "Quarter");
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(FirstRun, CancelLeavesTheSystemUnconfiguredAndHidden) {
  PopupWorld w;
  FillInThePage(w);
  w.engine->ClearJournal();
  ASSERT_TRUE(w.popup.quickSetup.cmdCancel.UserClick());
  w.host.Pump();
  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.QuickSetup.MsgLater")));
  EXPECT_EQ(w.popup.ControlState(), MachineState::UnconfiguredHidden);
  EXPECT_FALSE(w.popup.Visible());
  EXPECT_FALSE(w.engine->Configured());
  EXPECT_THAT(w.Journal(), IsEmpty());
}

TEST(QuickSetup, LoadFillsThePageFromTheDefaultsAndTheDateUnlocksOnlyWhileTicked) {
  PopupWorld w;
  w.PresetHidden(false);
  // The boot file's defaults, with one turned round to show the key is read.
  SetKey(w, "Componants.VellixControl.DefaultTasks", Variant(true));
  SetKey(w, "Componants.VellixControl.DefaultEmails", Variant(false));
  w.Start();
  QuickSetupPanel& qs = w.popup.quickSetup;
  EXPECT_THAT(
      (std::vector<bool>{qs.optAnnual.Value(), qs.optQuarter.Value(), qs.dtpReference.Enabled()}),
      ElementsAre(true, false, false));
  EXPECT_EQ(qs.dtpReference.CustomFormat(), "dd MMMM");
  EXPECT_EQ(qs.dtpReference.Value(), DateSerial(2026, 1, 1));
  EXPECT_THAT(
      (std::vector<int32_t>{qs.chkEmails.Value(), qs.chkTasks.Value(), qs.chkCalendar.Value()}),
      ElementsAre(0, 1, w.Text(".DefaultCalendar") == "True" ? 1 : 0));
  EXPECT_THAT((std::vector<std::string>{qs.txtStorePath.Text(), qs.txtBackupPath.Text(),
                                        qs.fraDefaultFolders.Caption(), w.popup.Caption()}),
              ElementsAre(*w.shell->PersonalFolder() + "\\My Vellix Activity", "",
                          "Monitor and File", w.Text(".Strings.QuickSetup.FormCaption")));
  // A date changed while ticked is saved even after the box is cleared.
  EXPECT_FALSE(qs.dtpReference.UserSetValue(DateSerial(2026, 4, 6))) << "locked until ticked";
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  ASSERT_TRUE(qs.dtpReference.UserSetValue(DateSerial(2026, 4, 6)));
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  EXPECT_FALSE(qs.dtpReference.Enabled());
  ASSERT_TRUE(qs.SaveQuickSetup());
  EXPECT_EQ(w.engine->Config()->ReferenceDate(), DateSerial(2026, 4, 6));
  // A second Load leaves the box alone, so a ticked box can stand beside a
  // locked date.
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  EXPECT_TRUE(qs.dtpReference.Enabled());
  qs.Load();
  EXPECT_EQ(qs.chkNotFirstDay.Value(), 1);
  EXPECT_FALSE(qs.dtpReference.Enabled());
  // Without a personal folder the store goes to the fixed default.
  PopupWorld bare;
  fs::remove_all(bare.dir / "home" / "Documents");
  StartOnThePage(bare);
  EXPECT_EQ(bare.popup.quickSetup.txtStorePath.Text(), "c:\\Orvane Vellix Store");
}

TEST(QuickSetup, EveryBoxMakesItsAgentAndOnlyAQuarterlySetupChangesMailAndCalendarFurther) {
  for (const int ticked : {0, 1, 2}) {  // none; all, annual; all, quarterly
    SCOPED_TRACE(ticked);
    const bool quarterly = ticked == 2;
    PopupWorld w;
    StartOnThePage(w);
    QuickSetupPanel& qs = w.popup.quickSetup;
    TickOnly(qs, ticked == 0
                     ? std::set<const CheckBox*>{}
                     : std::set<const CheckBox*>{&qs.chkEmails, &qs.chkCalendar, &qs.chkTasks,
                                                 &qs.chkContacts, &qs.chkNotes});
    if (quarterly) {
      ASSERT_TRUE(qs.optQuarter.UserClick());
    }
    ASSERT_TRUE(qs.txtBackupPath.UserSetText("/srv/backup"));
    // Something changed in the tree and not yet committed: the save commits it.
    SetKey(w, "Componants.VellixControl.Strings.ProductName", Variant("Probe"));
    w.engine->ClearJournal();
    ASSERT_TRUE(qs.SaveQuickSetup());
    const auto& journal = w.engine->Journal();
    ConfigServer disk(w.dir / "ConfigTree.xml", "");
    EXPECT_EQ(disk.RootNode()->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
              "Probe");
    if (ticked == 0) {
      // No box ticked: no agent, the rest written all the same.
      EXPECT_THAT(
          journal.TextsFor("EngineConfig"),
          ElementsAre("ResetConfig", "put PeriodUnits Year", "SetPeriodFormat File '@yyyy'",
                      "put HistoryName History", "put PeriodCount 1",
                      "put ReferenceDate 01/01/2026", "put StoreLocation " + qs.txtStorePath.Text(),
                      "put BackupLocation /srv/backup"));
      EXPECT_EQ(journal.Count("CreateAgent"), 0);
      continue;
    }
    EXPECT_THAT(AgentNames(w), ElementsAre("Received Emails", "Sent Emails", "Calendar", "Tasks",
                                           "Notes", "Contacts"));
    // Every agent gets its folder and its type; the others keep the engine's
    // defaults whatever the period (what the quarterly setup adds for mail
    // and calendar is checked on the first run).
    for (const char* agent : {"Tasks", "Notes", "Contacts"}) {
      const auto texts = journal.TextsFor(std::string("Agent ") + agent);
      ASSERT_EQ(texts.size(), 2U) << agent;
      EXPECT_EQ(texts[0].rfind("AddFolder ", 0), 0U) << agent;
      EXPECT_EQ(texts[1], std::string("put MonitorType ") + agent);
    }
    EXPECT_EQ(journal.Count("put RemovePeriod"), quarterly ? 2 : 0);
    EXPECT_EQ(journal.TextsFor("Agent Calendar").size(), quarterly ? 5U : 2U);
  }
}

TEST(QuickSetup, ThePageIsLaidOutInFramesBrowseFillsItsOwnFieldAndDoubtfulFoldersAreAskedAbout) {
  PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  const LayoutMetrics& m = w.popup.Metrics();
  // Each frame holds its controls, each inside it and none on another.
  const std::pair<const char*, size_t> containers[] = {{"picQuickSetup", 8U},
                                                       {"fraPeriod", 2U},
                                                       {"fraReference", 2U},
                                                       {"fraStorage", 8U},
                                                       {"fraDefaultFolders", 5U}};
  for (const auto& [container, count] : containers) {
    const Control* box = w.popup.Find(container);
    ASSERT_NE(box, nullptr);
    const auto children = w.popup.ChildrenOf(container);
    EXPECT_EQ(children.size(), count) << container;
    for (size_t i = 0; i < children.size(); ++i) {
      const Control& a = *children[i];
      const bool inside = a.Left() >= 0 && a.Top() >= 0 && a.Width() > 0 && a.Height() > 0 &&
                          a.Left() + a.Width() <= box->Width() &&
                          a.Top() + a.Height() <= box->Height();
      EXPECT_TRUE(inside) << a.Name() << " is empty or sticks out of " << container;
      for (size_t j = i + 1; j < children.size(); ++j) {
        const Control& b = *children[j];
        const bool apart = a.Left() + a.Width() <= b.Left() || b.Left() + b.Width() <= a.Left() ||
                           a.Top() + a.Height() <= b.Top() || b.Top() + b.Height() <= a.Top();
        EXPECT_TRUE(apart) << a.Name() << " overlaps " << b.Name();
      }
    }
  }
  // The buttons: one row at the bottom right, in the order Help, Configure
  // More, Cancel, OK, a Border apart.
  const Control& pic = w.popup.picQuickSetup;
  EXPECT_EQ(qs.cmdOK.Left() + qs.cmdOK.Width(), pic.Width() - m.Border);
  EXPECT_EQ(qs.cmdOK.Top() + qs.cmdOK.Height(), pic.Height() - m.Border);
  const CommandButton* row[] = {&qs.cmdHelp, &qs.cmdConfigMore, &qs.cmdCancel, &qs.cmdOK};
  for (size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(row[i]->Top(), qs.cmdOK.Top());
    EXPECT_EQ(row[i]->Left(), row[i - 1]->Left() + row[i - 1]->Width() + m.Border);
  }
  // Labels sit in the label column.
  EXPECT_EQ(qs.lblStore.Top(), qs.txtStorePath.Top() + m.TextOffset);
  EXPECT_EQ(qs.txtStorePath.Left(), m.Border + m.LabelColumnWidth + m.Border);
  // Each browse button fills its own field; a cancelled dialog changes nothing.
  const std::string storeBefore = qs.txtStorePath.Text();
  const fs::path chosen = w.dir / "chosen";
  fs::create_directories(chosen);
  w.host.ChooseFolderNext(chosen.string());
  ASSERT_TRUE(qs.cmdBrowseBackup.UserClick());
  EXPECT_EQ(qs.txtBackupPath.Text(), w.paths.ToLogic(chosen));
  EXPECT_EQ(qs.txtStorePath.Text(), storeBefore);
  w.host.ChooseFolderNext(std::nullopt);
  ASSERT_TRUE(qs.cmdBrowseStore.UserClick());
  EXPECT_EQ(qs.txtStorePath.Text(), storeBefore);
  w.host.ChooseFolderNext(w.dir.string());
  ASSERT_TRUE(qs.cmdBrowseStore.UserClick());
  EXPECT_EQ(qs.txtStorePath.Text(), w.paths.ToLogic(w.dir));
  EXPECT_EQ(qs.txtBackupPath.Text(), w.paths.ToLogic(chosen));
  const std::string title = w.Text(".Strings.ControlPanel.CaptionFindFolder");
  EXPECT_THAT(w.host.FolderTitles(), ElementsAre(title, title, title));
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  // A store folder two levels down can't be made.
  const fs::path deep = w.dir / "missing" / "store";
  ASSERT_TRUE(qs.txtStorePath.UserSetText(deep.string()));
  w.host.AnswerNext(MsgResult::No);
  EXPECT_FALSE(qs.LeaveQuickSetup());
  ASSERT_EQ(w.host.PromptRecords().size(), 1U);
  EXPECT_EQ(w.host.PromptRecords()[0].text, w.Text(".Strings.ControlPanel.MsgNoStorePath"));
  EXPECT_EQ(w.host.PromptRecords()[0].buttons, MsgButtons::YesNo);
  EXPECT_FALSE(fs::exists(w.dir / "missing"));
  w.host.AnswerNext(MsgResult::Yes);
  EXPECT_TRUE(qs.LeaveQuickSetup());
  EXPECT_FALSE(fs::exists(deep));
  // One level down is made without a question.
  w.host.ClearPrompts();
  ASSERT_TRUE(qs.txtStorePath.UserSetText((w.dir / "store").string()));
  EXPECT_TRUE(qs.LeaveQuickSetup());
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_TRUE(fs::is_directory(w.dir / "store"));
  // A backup folder of blanks: Cancel keeps the user on the page with
  // nothing written; OK goes on, and the blanks themselves reach the engine.
  ASSERT_TRUE(qs.txtBackupPath.UserSetText("   "));
  w.host.AnswerNext(MsgResult::Cancel);
  w.engine->ClearJournal();
  ASSERT_TRUE(qs.cmdOK.UserClick());
  EXPECT_EQ(w.popup.ControlState(), MachineState::UnconfiguredVisible);
  EXPECT_THAT(w.Journal(), IsEmpty());
  ASSERT_EQ(w.host.PromptRecords().size(), 1U);
  EXPECT_EQ(w.host.PromptRecords()[0].text, w.Text(".Strings.ControlPanel.MsgNoBackupPath"));
  EXPECT_EQ(w.host.PromptRecords()[0].buttons, MsgButtons::OKCancel);
  w.host.AnswerNext(MsgResult::OK);
  ASSERT_TRUE(qs.cmdOK.UserClick());
  w.host.Pump();
  EXPECT_EQ(w.engine->Config()->BackupLocation(), "   ");
  EXPECT_NE(w.popup.ControlState(), MachineState::UnconfiguredVisible);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(QuickSetup, WithoutOutlookNothingIsWrittenAndTheUserIsTold) {
  PopupWorld w;
  outlook::ProfileMailProgram noOutlook{std::shared_ptr<outlook::MailProfile>()};
  w.services.mailProgram = &noOutlook;
  StartOnThePage(w);
  w.engine->ClearJournal();
  EXPECT_FALSE(w.popup.quickSetup.SaveQuickSetup());
  const std::string message = w.Text(".Strings.QuickSetup.MsgNoOutlook");
  EXPECT_FALSE(message.empty());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(message));
  EXPECT_THAT(w.Problems(), ElementsAre(LogRecord{"frmPopup", "SaveQuickSetup", message, 0}));
  EXPECT_THAT(w.Journal(), IsEmpty());
}
}  // namespace
}  // namespace vellix::test
