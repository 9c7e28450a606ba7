#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "panels/panel_test.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const char* kInbox = R"(\\Mailbox - Alex Morgan\Inbox)";
constexpr const char* kSent = R"(\\Mailbox - Alex Morgan\Sent Items)";
constexpr const char* kDrafts = R"(\\Mailbox - Alex Morgan\Drafts)";
constexpr const char* kCalendar = R"(\\Mailbox - Alex Morgan\Calendar)";

ImportPanel& OpenImport(PopupWorld& w) {
  OpenTab(w, "Import");
  return w.popup.import;
}

std::vector<bool> Ticks(const ListBox& list) {
  std::vector<bool> out;
  for (int32_t i = 0; i < list.ListCount(); ++i)
    out.push_back(list.Selected(i));
  return out;
}

// The agent's import folders and, for each, whether it takes sub-folders.
std::vector<std::string> Imports(const Ref<Agent>& agent) {
  std::vector<std::string> out;
  for (const std::string& path : agent->ImportFolders())
    out.push_back(path + (agent->ImportSubFolders(path) ? " +sub" : ""));
  return out;
}

TEST(ImportPanel, WithNoAgentsOnlySmartImportAndAttachAreOffered) {
  PopupWorld w;
  w.LoadEngine("");
  ImportPanel& im = OpenImport(w);
  EXPECT_EQ(im.cboImName.Text(), w.Text(".Strings.ControlPanel.Agents.NoAgentsText"));
  EXPECT_THAT(Rows(im.cboImName), IsEmpty());
  for (const Control* c : std::vector<const Control*>{&im.lstImImportList, &im.cmdImAdd,
                                                      &im.cmdImRemove, &im.cmdImRun}) {
    EXPECT_FALSE(c->Enabled()) << c->Name();
  }
  // The texts of the layout reached the controls.
  EXPECT_EQ(im.cmdImRun.Caption(), w.Text(".Strings.ControlPanel.Import.cmdImRun"));
  EXPECT_EQ(im.chkImSubFolders.ToolTipText(),
            w.Text(".Strings.ControlPanel.Import.chkImSubfolders-Tip"));
  EXPECT_EQ(im.lstImImportList.ToolTipText(),
            w.Text(".Strings.ControlPanel.Import.lstImImportList-Tip"));
  ASSERT_TRUE(im.cmdImSmartImport.UserClick());
  EXPECT_THAT(w.host.Prompts(), ElementsAre("Feature not yet implemented"));
  // Attach leaves the panel usable beside its dialog.
  ASSERT_TRUE(im.cmdImAttach.UserClick());
  EXPECT_TRUE(im.cmdImAttach.Enabled());
  ASSERT_TRUE(w.attachPeriod.cmdCancel.UserClick());
  EXPECT_THAT(w.Problems(), IsEmpty());
  // The none text names no agent: the engine's state can't reach Import
  // Now, and the call on nothing is a line in the trace.
  w.popup.FormRun(true);
  EXPECT_FALSE(im.cmdImRun.Enabled());
  EXPECT_THAT(Traces(w), ElementsAre("frmPopup.EnableImportControls 91"));
}

TEST(ImportPanel, AFolderIsTakenOnlyOfTheAgentsTypeAndNeverFromAPeriodStore) {
  struct Case {
    const char* agent;
    std::optional<std::string> picked;  // nothing: the user cancels
    bool withSubFolders;
    bool reloaded;
    const char* message;               // key of the message shown, "" for none
    std::vector<std::string> imports;  // the agent's afterwards
    const char* type;                  // the agent's afterwards
  };
  const std::string incorrectType = ".Strings.ControlPanel.Agents.MsgIncorrectFolderType";
  const std::string unable = ".Strings.ControlPanel.Import.MsgUnableToImport";
  const std::string periodInbox = R"(\\Archive 2025\Inbox)";
  const std::string inboxWithSub = std::string(kInbox) + " +sub";
  // clang-format off
  const std::vector<Case> cases = {
      {"Mail", kCalendar, false, false, incorrectType.c_str(), {}, "Mail and Post"},
      {"Mail", kInbox, true, true, "", {inboxWithSub}, "Mail and Post"},
      {"Mail", periodInbox, true, false, unable.c_str(), {inboxWithSub}, "Mail and Post"},
      {"Mail", std::nullopt, true, true, "", {inboxWithSub}, "Mail and Post"},
      // Clearing the box clears the rows shown, and is the default for the next.
      {"Mail", kSent, false, true, "", {kInbox, kSent}, "Mail and Post"},
      // A new agent takes the type of its first folder, then holds to it.
      {"New", kCalendar, false, true, "", {kCalendar}, "Calendar"},
      {"New", kSent, false, false, incorrectType.c_str(), {kCalendar}, "Calendar"},
  };
  // clang-format on
  PopupWorld w;
  w.LoadEngine(R"(<Agent Id="1" Name="Mail" MonitorType="Mail and Post" />)"
               R"(<Agent Id="2" Name="New" />)",
               R"(<Period Name="Archive 2025" FileName="Archive 2025.pst" />)");
  // The period's store is open in the mail program, as the engine keeps it.
  ASSERT_TRUE(w.mail->CreateApplication());
  w.mail->Profile()->AddStore("Archive 2025")->AddFolder("Inbox", 0);
  ImportPanel& im = OpenImport(w);
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.agent) + " " + c.picked.value_or("cancelled"));
    Pick(im.cboImName, c.agent);
    if (c.withSubFolders != (im.chkImSubFolders.Value() == CheckBox::kChecked)) {
      ASSERT_TRUE(im.chkImSubFolders.UserClick());
    }
    w.host.ClearPrompts();
    // A row the engine doesn't hold: a reload replaces it.
    im.lstImImportList.AddItem("stale row");
    w.host.PickMailFolderNext(c.picked);
    ASSERT_TRUE(im.cmdImAdd.UserClick());
    std::vector<std::string> prompts;
    if (*c.message != '\0') prompts.push_back(w.Text(c.message));
    EXPECT_EQ(w.host.Prompts(), prompts);
    const Ref<Agent> agent = AgentOf(w, c.agent);
    EXPECT_THAT(Imports(agent), ElementsAreArray(c.imports));
    EXPECT_EQ(agent->MonitorType(), c.type);
    EXPECT_EQ(im.lstImImportList.List(im.lstImImportList.ListCount() - 1) == "stale row",
              !c.reloaded);
  }
  // Shown as the engine holds it, the tick for the sub-folders.
  Pick(im.cboImName, "Mail");
  EXPECT_THAT(Rows(im.lstImImportList), ElementsAre(kInbox, kSent));
  EXPECT_THAT(Ticks(im.lstImImportList), ElementsAre(false, false));
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(ImportPanel, RemoveTakesTheFirstTickedRowAndTicksItsNeighbour) {
  struct Case {
    std::vector<int32_t> ticked;
    std::vector<std::string> left;
    std::vector<bool> ticksAfter;
  };
  const std::vector<Case> cases = {
      // No tick: nothing goes, and the last row is ticked.
      {{}, {kInbox, kSent, kDrafts}, {false, false, true}},
      // Of two ticks the upper goes; the row above it is ticked.
      {{1, 2}, {kInbox, kDrafts}, {true, true}},
      // The top row goes: the new top row is ticked.
      {{0}, {kSent, kDrafts}, {true, false}},
      {{2}, {kInbox, kSent}, {false, true}},
  };
  PopupWorld w;
  w.LoadEngine(R"(<Agent Id="1" Name="Mail" MonitorType="Mail and Post" />)");
  ImportPanel& im = OpenImport(w);
  const Ref<Agent> agent = AgentOf(w, "Mail");
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.ticked));
    for (const std::string& path : agent->ImportFolders().Values())
      agent->RemoveImport(path);
    for (const char* path : {kInbox, kSent, kDrafts})
      agent->AddImport(path, false);
    im.LoadImport();
    for (int32_t row : c.ticked)
      ASSERT_TRUE(im.lstImImportList.UserCheck(row, true));
    ASSERT_TRUE(im.cmdImRemove.UserClick());
    EXPECT_THAT(Rows(im.lstImImportList), ElementsAreArray(c.left));
    EXPECT_THAT(Ticks(im.lstImImportList), ElementsAreArray(c.ticksAfter));
    // The engine holds what the list shows, the ticks as sub-folder flags.
    std::vector<std::string> expected;
    for (size_t i = 0; i < c.left.size(); ++i)
      expected.push_back(c.left[i] + (c.ticksAfter[i] ? " +sub" : ""));
    EXPECT_THAT(Imports(agent), ElementsAreArray(expected));
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(ImportPanel, TheSubFolderBoxSetsEveryRowAndImportNowHoldsTheButtonWhileItWaits) {
  PopupWorld w;
  w.LoadEngine(R"(<Agent Id="1" Name="Mail" MonitorType="Mail and Post" />)"
               R"(<Agent Id="2" Name="Other" MonitorType="Mail and Post" />)");
  const Ref<Agent> agent = AgentOf(w, "Mail");
  agent->AddImport(kInbox, true);
  agent->AddImport(kSent, false);
  ImportPanel& im = OpenImport(w);
  EXPECT_THAT(Ticks(im.lstImImportList), ElementsAre(true, false));
  ASSERT_TRUE(im.chkImSubFolders.UserClick());
  EXPECT_THAT(Ticks(im.lstImImportList), ElementsAre(true, true));
  EXPECT_THAT(Imports(agent),
              ElementsAre(std::string(kInbox) + " +sub", std::string(kSent) + " +sub"));
  ASSERT_TRUE(im.chkImSubFolders.UserClick());
  EXPECT_THAT(Ticks(im.lstImImportList), ElementsAre(false, false));
  EXPECT_THAT(Imports(agent), ElementsAre(kInbox, kSent));
  // Another agent shown: the box keeps its value.
  ASSERT_TRUE(im.chkImSubFolders.UserClick());
  Pick(im.cboImName, "Other");
  EXPECT_EQ(im.chkImSubFolders.Value(), CheckBox::kChecked);
  EXPECT_THAT(Rows(im.lstImImportList), IsEmpty());
  // Import Now sets the time, and a waiting import holds the button whatever
  // the engine's state.
  Pick(im.cboImName, "Mail");
  ASSERT_TRUE(im.cmdImRun.Enabled());
  const Date first = w.clock.Now();
  ASSERT_TRUE(im.cmdImRun.UserClick());
  EXPECT_EQ(agent->ImportTime(), first);
  EXPECT_TRUE(im.cmdImRun.Enabled());
  // A second click moves the time on.
  w.clock.Set(Date(first.Serial() + 1.0 / 24));
  ASSERT_TRUE(im.cmdImRun.UserClick());
  EXPECT_EQ(agent->ImportTime(), w.clock.Now());
  for (const std::string name : {"Mail", "Other"}) {
    for (const bool running : {true, false}) {
      SCOPED_TRACE(name + (running ? " running" : " stopped"));
      Pick(im.cboImName, name);
      // Loading alone goes by the waiting import; the engine's state then
      // opens the button only where none waits.
      EXPECT_EQ(im.cmdImRun.Enabled(), name == "Other");
      w.popup.FormRun(running);
      EXPECT_EQ(im.cmdImRun.Enabled(), running && name == "Other");
    }
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix::test
