#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "panels/panel_test.h"
#include "servers/common/write_behind.h"
#include "support/temp_folder.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kInbox = "\\\\Mailbox - Alex Morgan\\Inbox";
constexpr const char* kSent = "\\\\Mailbox - Alex Morgan\\Sent Items";
constexpr const char* kDrafts = "\\\\Mailbox - Alex Morgan\\Drafts";

std::string Key(const std::string& name) {
  return ".Strings.ControlPanel.Agents." + name;
}

AgentsPanel& OpenAgents(PopupWorld& w) {
  OpenTab(w, "Agents");
  return w.popup.agents;
}

std::vector<int32_t> Ids(const ComboBox& combo) {
  std::vector<int32_t> out;
  for (int32_t i = 0; i < combo.ListCount(); ++i)
    out.push_back(combo.ItemData(i));
  return out;
}

// What the panel shows of an agent: type, folders, removal period, store
// count, units and format, delay and its unit, and the three boxes.
std::vector<std::string> Shown(const AgentsPanel& ag) {
  std::string folders, boxes;
  for (const std::string& row : Rows(ag.lstAgFolders))
    folders += row + ";";
  for (const CheckBox* box : {&ag.chkAgFileDisabled, &ag.chkAgPurgeDisabled, &ag.chkAgSubFolders})
    boxes += std::to_string(box->Value());
  return {ag.lblAgAgentType.Caption(),
          folders,
          ag.txtAgRemove.Text(),
          ag.txtAgNewCount.Text(),
          ag.cboAgNewUnits.Text(),
          ag.txtAgFormat.Text(),
          ag.txtAgFileAfterCount.Text(),
          ag.cboAgFileAfterUnits.Text(),
          boxes};
}

TEST(AgentsPanel, ShowsEachAgentAsTheEngineHoldsItAndWritesNothingBack) {
  PopupWorld w;
  w.LoadEngine(
      "<Agent Id=\"4\" Name=\"Received Emails\" MonitorType=\"Mail and Post\" "
      "SubFolders=\"False\" StoreCount=\"3\" StoreUnits=\"Month\" StoreFormat=\"'@MMM'\" "
      "FileAfterCount=\"2\" FileAfterUnits=\"Hour\" FileDisabled=\"True\" "
      "RemovePeriod=\"60\"><Folder Path=\"" +
      std::string(kInbox) + "\" /><Folder Path=\"" + kSent +
      "\" /></Agent>"
      "<Agent Id=\"9\" Name=\"Calendar\" MonitorType=\"Calendar\" "
      "PurgeDisabled=\"True\" />");
  AgentsPanel& ag = OpenAgents(w);
  EXPECT_THAT(Rows(ag.cboAgName), ElementsAre("Received Emails", "Calendar"));
  EXPECT_THAT(Ids(ag.cboAgName), ElementsAre(4, 9));
  EXPECT_THAT(Rows(ag.cboAgNewUnits), ElementsAre("Year", "Quarter", "Month", "Week", "Day"));
  EXPECT_THAT(Rows(ag.cboAgFileAfterUnits), ElementsAre("Minute", "Hour", "Day", "Week"));
  EXPECT_EQ(ag.cboAgName.Text(), "Received Emails");
  EXPECT_THAT(Shown(ag), ElementsAre("Mail and Post", std::string(kInbox) + ";" + kSent + ";", "60",
                                     "3", "Month", "'@MMM'", "2", "Hour", "100"));
  Pick(ag.cboAgName, "Calendar");
  const std::vector<std::string> calendar = {"Calendar", "",  "30",  "1",  "Year",
                                             "'@yyyy'",  "1", "Day", "011"};
  EXPECT_EQ(Shown(ag), calendar);
  // Showing an agent sets its boxes; none of that goes back to the engine.
  EXPECT_THAT(w.Journal(), IsEmpty());
  // An agent the engine doesn't know leaves the panel as it was; coming back
  // to the tab keeps the agent shown.
  EXPECT_FALSE(ag.LoadAgentDetails("Nobody"));
  ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Summary"));
  ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Agents"));
  EXPECT_EQ(ag.cboAgName.Text(), "Calendar");
  EXPECT_EQ(Shown(ag), calendar);
  ASSERT_TRUE(ag.chkAgSubFolders.UserClick());
  EXPECT_FALSE(AgentOf(w, "Calendar")->SubFolders());
  EXPECT_THAT(w.Journal(), ElementsAre("put SubFolders False"));
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(AgentsPanel, FieldsAreTestedBeforeTheyAreWrittenAndRestoredWhenRefused) {
  struct Case {
    TextBox AgentsPanel::*field;
    const char* typed;
    const char* stored;  // the agent's property afterwards
    const char* shown;   // the field afterwards
    const char* message;
    std::vector<std::string> traces;
  };
  // The agent holds RemovePeriod 30, FileAfterCount 5, StoreFormat '@yyyy'
  // and a store of 1 Year before each case.
  const auto remove = &AgentsPanel::txtAgRemove;
  const auto after = &AgentsPanel::txtAgFileAfterCount;
  const auto format = &AgentsPanel::txtAgFormat;
  const auto count = &AgentsPanel::txtAgNewCount;
  const char* badAfter = "MsgInvalidFileAfterCount";
  // clang-format off
  const Case cases[] = {
      {remove, "999", "999", "999", "", {}},
      {remove, "0", "0", "0", "", {}},
      {remove, "1000", "30", "30", "MsgInvalidRemovePeriod", {}},
      {remove, "-1", "30", "30", "MsgInvalidRemovePeriod", {}},
      // Letters count as 0 and go as typed, which the 16-bit period refuses.
      {remove, "abc", "30", "abc", "", {"frmPopup.txtPeFormat_Click 13"}},
      {after, "1.9", "1", "1", "", {}},       {after, "-1.9", "-1", "-1", "", {}},
      {after, "999", "999", "999", "", {}},   {after, "0", "5", "5", badAfter, {}},
      {after, "1000", "5", "5", badAfter, {}},
      {after, "12abc", "5", "12abc", "", {"frmPopup.txtAgFileAfterCount_LostFocus 13"}},
      {format, "Mail '@yyyy mmm'", "Mail '@yyyy mmm'", "Mail '@yyyy mmm'", "", {}},
      {format, "Mail", "'@yyyy'", "'@yyyy'", "MsgFormatIncorrect", {}},
      {count, "0", "1", "1", "MsgInvalidStoreDuration", {}},
      {count, "-2", "-2", "-2", "", {}},
  };
  // clang-format on
  PopupWorld w;
  w.LoadEngine("<Agent Id=\"1\" Name=\"Mail\" MonitorType=\"Mail and Post\" />");
  AgentsPanel& ag = OpenAgents(w);
  const Ref<Agent> agent = AgentOf(w, "Mail");
  const std::map<const TextBox*, std::function<std::string()>> property = {
      {&ag.txtAgRemove, [&] { return std::to_string(agent->RemovePeriod()); }},
      {&ag.txtAgFileAfterCount, [&] { return std::to_string(agent->FileAfterCount()); }},
      {&ag.txtAgFormat, [&] { return agent->StoreFormat(); }},
      {&ag.txtAgNewCount, [&] { return std::to_string(agent->StoreCount()); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string((ag.*c.field).Name()) + " \"" + c.typed + "\"");
    agent->RemovePeriod(30);
    agent->FileAfterCount(5);
    agent->StoreFormat("'@yyyy'");
    agent->StoreCount(1);
    agent->StoreUnits("Year");
    ag.LoadAgents();
    w.host.ClearPrompts();
    w.log->records.clear();
    Type(ag.*c.field, c.typed);
    EXPECT_EQ(property.at(&(ag.*c.field))(), c.stored);
    EXPECT_EQ((ag.*c.field).Text(), c.shown);
    std::vector<std::string> prompts;
    if (*c.message != '\0') {
      std::string text = w.Text(Key(c.message));
      // The limit follows the text of its message.
      if (std::string(c.message) == "MsgInvalidFileAfterCount")
        text += " " + w.Text(Key("MaxFileAfterCount"));
      prompts.push_back(text);
    }
    EXPECT_EQ(w.host.Prompts(), prompts);
    EXPECT_EQ(Traces(w), c.traces);
  }
  // A store may last the period of one year of 365 days, but no longer: by
  // the count typed to a store of one unit, or by the unit picked to a count
  // of days.
  struct Store {
    const char* count;
    const char* units;
    bool tooLong;
  };
  const Store stores[] = {
      {"4", "Quarter", false}, {"5", "Quarter", true}, {"12", "Month", false},
      {"13", "Month", true},   {"52", "Week", false},  {"53", "Week", true},
      {"365", "Day", false},   {"366", "Day", true},   {"1", "Year", false},
      {"2", "Year", true},
  };
  const std::vector<std::string> tooLong = {w.Text(Key("MsgStoreTooLong"))};
  for (const Store& c : stores) {
    SCOPED_TRACE(std::string(c.count) + " " + c.units);
    agent->StoreCount(1);
    agent->StoreUnits(c.units);
    ag.LoadAgents();
    w.host.ClearPrompts();
    Type(ag.txtAgNewCount, c.count);
    EXPECT_EQ(agent->StoreCount(), c.tooLong ? 1 : std::stoi(c.count));
    EXPECT_EQ(ag.txtAgNewCount.Text(), c.tooLong ? "1" : c.count);
    EXPECT_EQ(w.host.Prompts(), c.tooLong ? tooLong : std::vector<std::string>{});
    agent->StoreCount(static_cast<int16_t>(std::stoi(c.count)));
    agent->StoreUnits("Day");
    ag.LoadAgents();
    w.host.ClearPrompts();
    Pick(ag.cboAgNewUnits, c.units);
    EXPECT_EQ(agent->StoreUnits(), c.tooLong ? "Day" : c.units);
    EXPECT_EQ(ag.cboAgNewUnits.Text(), c.tooLong ? "Day" : c.units);
    EXPECT_EQ(w.host.Prompts(), c.tooLong ? tooLong : std::vector<std::string>{});
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(AgentsPanel, TheFirstFolderFixesTheTypeAndNoFolderOfAPeriodStoreIsTaken) {
  struct Case {
    std::optional<std::string> picked;  // nothing: the user cancels
    const char* message;
    std::vector<std::string> folders;
    const char* type;
  };
  const std::string periodInbox = "\\\\Archive 2025\\Inbox";
  const std::string periodCalendar = "\\\\Archive 2025\\Calendar";
  const Case cases[] = {
      // A period store is refused before the type is looked at.
      {periodInbox, "MsgRecrsiveAgent", {}, "Unknown"},
      {periodCalendar, "MsgRecrsiveAgent", {}, "Unknown"},
      {std::nullopt, "", {}, "Unknown"},
      {kInbox, "", {kInbox}, "Mail and Post"},
      {"\\\\Mailbox - Alex Morgan\\Calendar", "MsgIncorrectFolderType", {kInbox}, "Mail and Post"},
      {kSent, "", {kInbox, kSent}, "Mail and Post"},
      {periodCalendar, "MsgRecrsiveAgent", {kInbox, kSent}, "Mail and Post"},
  };
  PopupWorld w;
  w.LoadEngine("<Agent Id=\"1\" Name=\"New Agent\" />",
               "<Period Name=\"Archive 2025\" FileName=\"Archive 2025.pst\" />");
  // The period's store is open in the mail program, as the engine keeps it.
  ASSERT_TRUE(w.mail->CreateApplication());
  const auto store = w.mail->Profile()->AddStore("Archive 2025");
  store->AddFolder("Inbox", 0);
  store->AddFolder("Calendar", 1);
  AgentsPanel& ag = OpenAgents(w);
  const Ref<Agent> agent = AgentOf(w, "New Agent");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.picked.value_or("cancelled"));
    w.host.ClearPrompts();
    w.host.PickMailFolderNext(c.picked);
    ASSERT_TRUE(ag.cmdAgAdd.UserClick());
    std::vector<std::string> prompts;
    if (*c.message != '\0') prompts.push_back(w.Text(Key(c.message)));
    EXPECT_EQ(w.host.Prompts(), prompts);
    EXPECT_THAT(agent->Folders().Values(), ElementsAreArray(c.folders));
    EXPECT_EQ(agent->MonitorType(), c.type);
    EXPECT_THAT(Rows(ag.lstAgFolders), ElementsAreArray(c.folders));
    EXPECT_EQ(ag.lblAgAgentType.Caption(), c.type);
  }
  EXPECT_EQ(w.host.MailFolderPicks(), 7);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(AgentsPanel, RemoveWalksToTheBoundTakenAtTheStartAndSkipsTheRowThatMovedUp) {
  struct Case {
    std::vector<int32_t> selected;
    std::vector<std::string> left;
    std::vector<std::string> traces;
  };
  // The walk runs past the shortened list after any removal but the last row's.
  const std::vector<std::string> pastTheEnd = {"frmPopup.cmdAgRemove_Click 381"};
  const Case cases[] = {
      {{0, 1}, {kSent, kDrafts}, pastTheEnd},
      {{0, 2}, {kSent}, pastTheEnd},
      {{2}, {kInbox, kSent}, {}},
      {{}, {kInbox, kSent, kDrafts}, {}},
  };
  PopupWorld w;
  w.LoadEngine("<Agent Id=\"1\" Name=\"Mail\" MonitorType=\"Mail and Post\" />");
  AgentsPanel& ag = OpenAgents(w);
  const Ref<Agent> agent = AgentOf(w, "Mail");
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.selected));
    for (const std::string& path : agent->Folders().Values())
      agent->RemoveFolder(path);
    for (const char* path : {kInbox, kSent, kDrafts})
      agent->AddFolder(path);
    ag.LoadAgents();
    w.log->records.clear();
    for (int32_t row : c.selected)
      ASSERT_TRUE(ag.lstAgFolders.UserClickRow(row, true));
    ASSERT_TRUE(ag.cmdAgRemove.UserClick());
    EXPECT_THAT(agent->Folders().Values(), ElementsAreArray(c.left));
    EXPECT_THAT(Rows(ag.lstAgFolders), ElementsAreArray(c.left));
    EXPECT_EQ(Traces(w), c.traces);
  }
}

TEST(AgentsPanel, RenameOnLeavingTheNameGivesTheIdToTheLastRow) {
  PopupWorld w;
  w.LoadEngine(
      "<Agent Id=\"1\" Name=\"Alpha\" /><Agent Id=\"2\" Name=\"Beta\" />"
      "<Agent Id=\"3\" Name=\"Gamma\" />");
  AgentsPanel& ag = OpenAgents(w);
  Pick(ag.cboAgName, "Beta");
  ASSERT_TRUE(ag.cboAgName.UserSetText("Bravo"));
  EXPECT_TRUE(ag.AgentNameEdited);
  ag.cboAgName.UserLeave();
  EXPECT_EQ(AgentOf(w, "2")->Name(), "Bravo");
  EXPECT_EQ(AgentOf(w, "3")->Name(), "Gamma");
  EXPECT_THAT(Rows(ag.cboAgName), ElementsAre("Alpha", "Bravo", "Gamma"));
  EXPECT_THAT(Ids(ag.cboAgName), ElementsAre(1, 0, 2));
  EXPECT_FALSE(ag.AgentNameEdited);
  // Typed back to the row's own text: nothing is renamed and the flag stays.
  Pick(ag.cboAgName, "Alpha");
  ASSERT_TRUE(ag.cboAgName.UserSetText("Alpine"));
  ASSERT_TRUE(ag.cboAgName.UserSetText("Alpha"));
  ag.cboAgName.UserLeave();
  EXPECT_TRUE(ag.AgentNameEdited);
  EXPECT_EQ(w.engine->Journal().Count("put Name"), 1);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(AgentsPanel, DeletingTheLastAgentLeavesNoAgentsAndNewShowsTheEnginesAgent) {
  PopupWorld w;
  w.LoadEngine(
      "<Agent Id=\"5\" Name=\"Only\" MonitorType=\"Tasks\" FileDisabled=\"True\">"
      "<Folder Path=\"\\\\Mailbox - Alex Morgan\\Tasks\" /></Agent>");
  AgentsPanel& ag = OpenAgents(w);
  w.host.AnswerNext(MsgResult::No);
  ASSERT_TRUE(ag.cmdAgDelete.UserClick());
  ASSERT_EQ(w.host.PromptRecords().size(), 1U);
  EXPECT_EQ(w.host.PromptRecords()[0].text, w.Text(Key("MsgConfirmDelete")));
  EXPECT_EQ(w.host.PromptRecords()[0].buttons, MsgButtons::YesNo);
  EXPECT_THAT(Rows(ag.cboAgName), ElementsAre("Only"));
  w.host.AnswerNext(MsgResult::Yes);
  ASSERT_TRUE(ag.cmdAgDelete.UserClick());
  EXPECT_EQ(w.engine->Config()->Agents().Count(), 0);
  EXPECT_THAT(Rows(ag.cboAgName), IsEmpty());
  EXPECT_EQ(ag.cboAgName.Text(), w.Text(Key("NoAgentsText")));
  // Only the file box is cleared; the other two keep what they showed.
  EXPECT_THAT(Shown(ag), ElementsAre("", "", "", "", "", "", "", "", "001"));
  for (const Control* c : std::vector<const Control*>{
           &ag.lblAgAgentType, &ag.lstAgFolders, &ag.txtAgNewCount, &ag.cboAgNewUnits,
           &ag.txtAgFormat, &ag.txtAgFileAfterCount, &ag.cboAgFileAfterUnits,
           &ag.chkAgPurgeDisabled, &ag.chkAgSubFolders, &ag.chkAgFileDisabled, &ag.cmdAgDelete,
           &ag.txtAgRemove, &ag.cmdAgAdd, &ag.cmdAgRemove}) {
    EXPECT_FALSE(c->Enabled()) << c->Name();
  }
  EXPECT_TRUE(ag.cmdAgNew.Enabled());
  ASSERT_TRUE(ag.cmdAgNew.UserClick());
  ASSERT_EQ(w.engine->Config()->Agents().Count(), 1);
  const Ref<Agent> made = w.engine->Config()->Agents().Item(1);
  EXPECT_THAT(Rows(ag.cboAgName), ElementsAre(made->Name()));
  EXPECT_THAT(Ids(ag.cboAgName), ElementsAre(made->Id()));
  EXPECT_EQ(ag.cboAgName.Text(), made->Name());
  EXPECT_EQ(ag.lblAgAgentType.Caption(), "Unknown");
  EXPECT_EQ(ag.txtAgNewCount.Text(), std::to_string(made->StoreCount()));
  // The engine is stopped: RunDisable opens the two boxes again.
  EXPECT_TRUE(ag.chkAgPurgeDisabled.Enabled());
  EXPECT_TRUE(ag.chkAgSubFolders.Enabled());
  EXPECT_TRUE(ag.cmdAgDelete.Enabled());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(AgentsPanel, WhicheverOfFormRunAndTheDetailsRanLastDecidesTheEnabling) {
  struct Step {
    const char* what;
    std::function<void(PopupWorld&, AgentsPanel&)> act;
    // txtAgRemove, txtAgFileAfterCount, cboAgFileAfterUnits, cmdAgPurgeNow, cmdAgFileNow
    std::vector<bool> enabled;
  };
  const auto startStop = [](PopupWorld& w, AgentsPanel&) {
    ASSERT_TRUE(w.popup.cmdStopStart.UserClick());
    w.host.Pump();
  };
  const auto showAgain = [](PopupWorld&, AgentsPanel& ag) { Pick(ag.cboAgName, "Mail"); };
  // The run buttons reach the engine while they are open.
  const auto runNow = [](PopupWorld& w, AgentsPanel& ag) {
    w.engine->ClearJournal();
    ASSERT_TRUE(ag.cmdAgFileNow.UserClick());
    ASSERT_TRUE(ag.cmdAgPurgeNow.UserClick());
    EXPECT_THAT(w.engine->Journal().TextsFor("Agent Mail"), ElementsAre("RunFile", "RunPurge"));
  };
  // The agent purges nothing (its box is ticked) and files.
  const Step steps[] = {
      {"started", startStop, {false, true, true, false, true}},
      {"shown while running", showAgain, {false, false, false, true, true}},
      {"run now", runNow, {false, false, false, true, true}},
      {"stopped", startStop, {false, true, true, false, false}},
      {"shown while stopped", showAgain, {true, true, true, false, false}},
      {"purge box cleared",
       [](PopupWorld&, AgentsPanel& ag) { ASSERT_TRUE(ag.chkAgPurgeDisabled.UserClick()); },
       {true, true, true, false, false}},
      {"file box ticked",
       [](PopupWorld&, AgentsPanel& ag) { ASSERT_TRUE(ag.chkAgFileDisabled.UserClick()); },
       {true, false, false, false, false}},
  };
  PopupWorld w;
  w.LoadEngine(
      "<Agent Id=\"1\" Name=\"Mail\" MonitorType=\"Mail and Post\" "
      "PurgeDisabled=\"True\" />");
  AgentsPanel& ag = OpenAgents(w);
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what);
    step.act(w, ag);
    EXPECT_EQ((std::vector<bool>{ag.txtAgRemove.Enabled(), ag.txtAgFileAfterCount.Enabled(),
                                 ag.cboAgFileAfterUnits.Enabled(), ag.cmdAgPurgeNow.Enabled(),
                                 ag.cmdAgFileNow.Enabled()}),
              step.enabled);
  }
  EXPECT_FALSE(AgentOf(w, "Mail")->PurgeDisabled());
  EXPECT_TRUE(AgentOf(w, "Mail")->FileDisabled());
  EXPECT_THAT(w.Problems(), IsEmpty());
  // Gone behind the panel's back: each handler fetches anew and ends in the trace.
  w.engine->Config()->DeleteAgent("Mail");
  ASSERT_TRUE(ag.chkAgSubFolders.UserClick());
  ASSERT_TRUE(ag.txtAgRemove.UserSetText("7"));
  ag.txtAgRemove.UserLeave();
  EXPECT_THAT(Traces(w),
              ElementsAre("frmPopup.chkAgSubFolders_Click 91", "frmPopup.txtPeFormat_Click 91"));
}

// A user's whole edit, kept across a restart of the program: the files the
// first run leaves are all the second one gets.
TEST(AgentsPanel, AnAgentMadeWithTwoPickedFoldersAndItsFormatIsThereAfterARestart) {
  const std::string projects = std::string(kInbox) + "\\Projects";
  const std::string clients = std::string(kInbox) + "\\Clients";
  std::string engineFile;
  std::string treeFile;
  {
    PopupWorld w;
    w.engine->Configured(true);
    AgentsPanel& ag = OpenAgents(w);
    ASSERT_TRUE(ag.cmdAgNew.UserClick());
    ASSERT_TRUE(ag.cboAgName.UserSetText("Projects and clients"));
    // Pressing Add takes the focus from the name: the rename comes first.
    w.host.PickMailFolderNext(projects);
    ASSERT_TRUE(ag.cmdAgAdd.UserClick());
    w.host.PickMailFolderNext(clients);
    ASSERT_TRUE(ag.cmdAgAdd.UserClick());
    ASSERT_TRUE(ag.txtAgFormat.UserFocus());
    ASSERT_TRUE(ag.txtAgFormat.UserSetText("Projects '@yyyy'"));
    // The tab takes the focus too, and the format is written as it goes.
    ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Periods"));
    EXPECT_EQ(w.host.MailFolderPicks(), 2);
    EXPECT_THAT(w.host.Prompts(), IsEmpty());
    EXPECT_THAT(w.Problems(), IsEmpty());
    w.host.AnswerNext(MsgResult::OK);  // yes, close the control panel
    ASSERT_TRUE(w.popup.cmdExit.UserClick());
    EXPECT_FALSE(w.host.IsLoaded("frmPopup"));
    servers::WriteBehind::Shared().WaitAll();  // as the program's end does
    engineFile = ReadText(w.dir / "Engine.xml");
    treeFile = ReadText(w.dir / "ConfigTree.xml");
  }
  PopupWorld w;
  WriteText(w.dir / "Engine.xml", engineFile);
  WriteText(w.dir / "ConfigTree.xml", treeFile);
  w.ReopenServers();
  AgentsPanel& ag = OpenAgents(w);
  Pick(ag.cboAgName, "Projects and clients");
  EXPECT_EQ(ag.lblAgAgentType.Caption(), "Mail and Post");
  EXPECT_THAT(Rows(ag.lstAgFolders), ElementsAre(projects, clients));
  EXPECT_EQ(ag.txtAgFormat.Text(), "Projects '@yyyy'");
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix::test
