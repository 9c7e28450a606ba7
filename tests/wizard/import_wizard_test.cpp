#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "foundation/vb_error.h"
#include "panels/panel_test.h"
#include "platform/outlook/profile_explorer.h"
#include "platform/outlook/profile_generator.h"
#include "support/fake_outlook.h"
#include "support/popup/popup_world.h"
#include "wizard/frm_import_wizard.h"

namespace vellix {
namespace {

using outlook::MailProfile;
using test::Rows;
using test::Traces;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
// (folder, agent, active) of a row of the import list.
using Entry = std::tuple<std::string, std::string, bool>;

constexpr const char* kStore = R"(\\Mailbox - Pat)";
constexpr const char* kInbox = R"(\\Mailbox - Pat\Inbox)";

std::string Agent(int id, const std::string& name, const std::string& type) {
  return "<Agent Id=\"" + std::to_string(id) + "\" Name=\"" + name + "\" MonitorType=\"" + type +
         "\" />";
}

// Mail agents named as three default folders and one other; two task
// agents; one agent for calendar, notes and contacts each; none for the
// journal; and a new agent no folder has typed yet.
const std::string kAgents =
    Agent(1, "Inbox", "Mail and Post") + Agent(2, "Sent Items", "Mail and Post") +
    Agent(3, "Deleted Items", "Mail and Post") + Agent(4, "Archive", "Mail and Post") +
    Agent(5, "Diary", "Calendar") + Agent(6, "Todo A", "Tasks") + Agent(7, "Todo B", "Tasks") +
    Agent(8, "Jottings", "Notes") + Agent(9, "People", "Contacts") + Agent(10, "Fresh", "Unknown");

// A store with the default folders, folders below Inbox, a folder of a kind
// without a name with a mail folder under it, and a second store named
// after the Inbox.
std::shared_ptr<MailProfile> PatsProfile() {
  auto profile = std::make_shared<MailProfile>();
  auto store = profile->AddStore("Mailbox - Pat");
  auto inbox = store->AddFolder("Inbox", 0);
  profile->DefaultFolder(6, inbox);
  inbox->AddFolder("A", 0)->AddFolder("B", 0);
  inbox->AddFolder("Sent Items", 0);
  inbox->AddFolder("Meetings", 1);
  store->AddFolder("Sent Items", 0);
  store->AddFolder("Deleted Items", 0);
  store->AddFolder("inbox notes", 6);
  auto projects = store->AddFolder("Projects", 0);
  projects->AddFolder("Odd", 99)->AddFolder("Deep", 0);
  // Blanks, a tab and letters outside ASCII inside the names the tests look for.
  projects->AddFolder("Old s\xC3\xA4nt - sent  items archive", 0);
  projects->AddFolder("De leted\tItems of 2025", 0);
  store->AddFolder("Calendar", 1);
  store->AddFolder("Tasks", 3);
  store->AddFolder("Journal", 4);
  store->AddFolder("Notes", 5);
  store->AddFolder("Contacts", 2)->AddFolder("Lists", 7);
  profile->AddStore("Inbox Copy")->AddFolder("Deleted Items", 0);
  return profile;
}

// The control panel's world with the wizard shown over a profile; the
// Explorer windows it asks for are the test's to drive.
struct WizardWorld {
  explicit WizardWorld(std::shared_ptr<MailProfile> mailProfile,
                       const std::string& agents = kAgents)
      : profile(std::move(mailProfile)) {
    w.mail = std::make_unique<outlook::ProfileMailProgram>(profile);
    w.services.mailProgram = w.mail.get();
    w.mail->ShowExplorersWith([this](outlook::ExplorerView view) { windows.push_back(view); });
    w.LoadEngine(agents);
    w.Start();
    wizard.Show();
    w.host.Pump();
    w.log->records.clear();
  }

  Ref<MAPIFolder> At(const std::string& path) const { return {profile->FindFolder(path)}; }

  // Add, move to the folder (stay on the Inbox for none), close the window.
  void AddRoot(const Ref<MAPIFolder>& folder = nullptr) {
    ASSERT_TRUE(wizard.cmdSoAdd.UserClick());
    ASSERT_FALSE(windows.empty());
    if (folder) windows.back().switchTo(folder);
    windows.back().closed();
  }
  void AddRoot(const std::string& path) { AddRoot(At(path)); }

  [[nodiscard]] std::vector<Entry> Entries() const {
    std::vector<Entry> out;
    for (const Ref<ImportEntry>& e : wizard.ImportList())
      out.emplace_back(e->Folder, e->Agent, e->Active);
    return out;
  }
  [[nodiscard]] std::vector<std::string> Grid(int32_t col) const {
    std::vector<std::string> out;
    for (int32_t row = 1; row < wizard.fgcRuImportList.Rows(); ++row)
      out.push_back(wizard.fgcRuImportList.TextMatrix(row, col));
    return out;
  }

  test::PopupWorld w;
  std::shared_ptr<MailProfile> profile;
  std::vector<outlook::ExplorerView> windows;
  FrmImportWizard wizard{w.ctx, w.host};
};

TEST(ImportWizard, EachChoiceIsPreselectedByItsAgentsAndShowsTheNoneTextOtherwise) {
  struct Case {
    const char* what;
    std::string agents;
    // The nine texts from Inbox to Contacts, and the Inbox choice's rows.
    std::vector<std::string> texts;
    std::vector<std::string> inboxRows;
  };
  const std::string none = "(none)";
  const std::vector<Case> cases = {
      {"an agent for each kind",
       kAgents,
       {"Inbox", "Sent Items", "Deleted Items", "Inbox", "Diary", "Todo B", none, "Jottings",
        "People"},
       {none, "Inbox", "Sent Items", "Deleted Items", "Archive"}},
      {"no agents", "", std::vector<std::string>(9, none), {none}},
      {"mail agents, none named Inbox",
       Agent(1, "Work", "Mail and Post") + Agent(2, "Sent Items", "Mail and Post") +
           Agent(3, "inbox", "Mail and Post"),
       {none, "Sent Items", none, none, none, none, none, none, none},
       {none, "Work", "Sent Items", "inbox"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WizardWorld ww(PatsProfile(), c.agents);
    FrmImportWizard& wz = ww.wizard;
    ASSERT_EQ(ww.w.Text(".Strings.None"), none);
    const std::vector<const ComboBox*> combos = {
        &wz.cboAgInbox,    &wz.cboAgSentItems, &wz.cboAgDeletedItems, &wz.cboAgOtherMailAndPost,
        &wz.cboAgCalendar, &wz.cboAgTasks,     &wz.cboAgJournal,      &wz.cboAgNotes,
        &wz.cboAgContacts};
    std::vector<std::string> texts;
    for (const ComboBox* combo : combos)
      texts.push_back(combo->Text());
    EXPECT_EQ(texts, c.texts);
    EXPECT_EQ(Rows(wz.cboAgInbox), c.inboxRows);
    EXPECT_EQ(Rows(wz.cboAgOtherMailAndPost), c.inboxRows);
  }
}

TEST(ImportWizard, TheSurveyListsEveryFolderAfterItsDescendantsAndTestsTheWholePath) {
  WizardWorld ww(PatsProfile());
  FrmImportWizard& wz = ww.wizard;
  // The agent list of the Run grid starts with the literal, not the none text.
  EXPECT_EQ(wz.AgentList("Tasks").Values(), (std::vector<std::string>{"None", "Todo A", "Todo B"}));
  EXPECT_EQ(wz.AgentList("Journal").Values(), std::vector<std::string>{"None"});
  EXPECT_EQ(wz.Page(), "Source");
  EXPECT_FALSE(wz.cmdNext.Enabled());
  // Roots: Inbox by moving there, Inbox again by closing at once, the whole
  // store, a folder of the store named Inbox Copy, and one that no longer resolves.
  ww.AddRoot(kInbox);
  EXPECT_TRUE(wz.cmdNext.Enabled());
  ww.AddRoot();
  ww.AddRoot(kStore);
  ww.AddRoot(R"(\\Inbox Copy\Deleted Items)");
  ww.AddRoot(MakeRef<test::FakeFolder>("Inbox", R"(\\Nowhere\Inbox)", 0));
  const std::string instruct = ww.w.Text(".Strings.ControlPanel.Agents.MsgFolderInstruct");
  EXPECT_FALSE(instruct.empty());
  EXPECT_EQ(ww.w.host.Prompts(), std::vector<std::string>(5, instruct));
  const std::vector<std::string> roots = {kInbox, kInbox, kStore, R"(\\Inbox Copy\Deleted Items)",
                                          R"(\\Nowhere\Inbox)"};
  EXPECT_EQ(wz.RootFolders().Values(), roots);
  // The user gives other mail to Archive and leaves the journal at none.
  ASSERT_TRUE(wz.cmdNext.UserClick());
  EXPECT_EQ(wz.Page(), "Agents");
  EXPECT_TRUE(wz.picSource.Visible());  // left behind the Agents page
  EXPECT_GT(wz.picAgents.ZIndex(), wz.picSource.ZIndex());
  ASSERT_TRUE(wz.cboAgOtherMailAndPost.UserSetText("Archive"));
  ASSERT_TRUE(wz.cmdNext.UserClick());
  EXPECT_EQ(wz.Page(), "Run");
  EXPECT_FALSE(wz.picSource.Visible());
  EXPECT_FALSE(wz.picAgents.Visible());
  const std::string p = kStore;
  const std::vector<Entry> inboxTree = {
      {p + R"(\Inbox\A\B)", "Inbox", true},
      {p + R"(\Inbox\A)", "Inbox", true},
      {p + R"(\Inbox\Sent Items)", "Inbox", true},  // INBOX is tested first
      {p + R"(\Inbox\Meetings)", "Diary", true},    // a calendar below Inbox
      {p + R"(\Inbox)", "Inbox", true}};
  std::vector<Entry> expected;
  for (int i = 0; i < 3; ++i)
    expected.insert(expected.end(), inboxTree.begin(), inboxTree.end());
  const std::vector<Entry> rest = {
      {p + R"(\Sent Items)", "Sent Items", true},
      {p + R"(\Deleted Items)", "Deleted Items", true},
      {p + R"(\inbox notes)", "Inbox", true},          // case and blanks don't count
      {p + R"(\Projects\Odd\Deep)", "Archive", true},  // Odd has no kind: no row
      {p + "\\Projects\\Old s\xC3\xA4nt - sent  items archive", "Sent Items", true},
      {p + "\\Projects\\De leted\tItems of 2025", "Deleted Items", true},
      {p + R"(\Projects)", "Archive", true},
      {p + R"(\Calendar)", "Diary", true},
      {p + R"(\Tasks)", "Todo B", true},
      {p + R"(\Journal)", "(none)", false},
      {p + R"(\Notes)", "Jottings", true},
      {p + R"(\Contacts\Lists)", "People", true},  // distribution lists are contacts
      {p + R"(\Contacts)", "People", true},
      {p, "Archive", true},  // the store's own folder, last of its tree
      {R"(\\Inbox Copy\Deleted Items)", "Inbox", true}};
  expected.insert(expected.end(), rest.begin(), rest.end());
  EXPECT_THAT(ww.Entries(), ElementsAreArray(expected));
  // The grid shows every row, inactive ones too, numbered from 1.
  const FlexGrid& grid = wz.fgcRuImportList;
  ASSERT_EQ(grid.Rows(), static_cast<int32_t>(expected.size()) + 1);
  EXPECT_EQ(grid.Cols(), 3);
  EXPECT_THAT((std::vector<std::string>{grid.TextMatrix(0, 0), grid.TextMatrix(0, 1),
                                        grid.TextMatrix(0, 2)}),
              ElementsAre("#", "Folder", "Agent"));
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(ww.Grid(0)[i], std::to_string(i + 1));
    EXPECT_EQ(ww.Grid(1)[i], std::get<0>(expected[i]));
    EXPECT_EQ(ww.Grid(2)[i], std::get<1>(expected[i]));
  }
  const double width = grid.Width();
  EXPECT_EQ(grid.ColWidth(0), std::lround(width / 20 * 2));
  EXPECT_EQ(grid.ColWidth(1), std::lround(width / 20 * 12));
  EXPECT_EQ(grid.ColWidth(2), std::lround(width / 20 * 6));
  EXPECT_EQ(grid.ColAlignment(0), FlexGrid::kAlignLeftCenter);
  // The agent button lies over the current cell, row 1 column 2.
  EXPECT_EQ(std::make_pair(grid.Row(), grid.Col()), std::make_pair(1, 2));
  EXPECT_TRUE(wz.cmdRuChange.Visible());
  EXPECT_EQ(wz.cmdRuChange.Width(), grid.CellHeight());
  EXPECT_EQ(wz.cmdRuChange.Left(),
            grid.Left() + grid.CellLeft() + grid.CellWidth() - 2 * grid.CellHeight());
  // The root that no longer resolves is passed over: no message, one log
  // record from the path's walk.
  const test::LogRecord walked{"Utils", "GetFolder", "Inbox not found", 0};
  EXPECT_THAT(ww.w.Problems(), ElementsAre(walked));
}

TEST(ImportWizard, GoingBackAndForthSurveysAgainAndFinishHandsOverTheSurveyedAgents) {
  WizardWorld ww(PatsProfile());
  FrmImportWizard& wz = ww.wizard;
  ww.AddRoot(R"(\\Mailbox - Pat\Inbox\A)");
  ww.AddRoot(R"(\\Mailbox - Pat\Tasks)");
  ww.AddRoot(R"(\\Mailbox - Pat\Journal)");
  ASSERT_TRUE(wz.cmdNext.UserClick());
  ASSERT_TRUE(wz.cmdNext.UserClick());
  const Date entered = ww.w.ctx.Now();
  EXPECT_EQ(wz.dtpRuWhen.Value(), entered);
  EXPECT_EQ(wz.dtpRuWhen.MinDate(), entered);
  EXPECT_TRUE(wz.optRuNow.Value());
  EXPECT_FALSE(wz.dtpRuWhen.Enabled());
  EXPECT_TRUE(wz.cmdFinish.Enabled());
  EXPECT_FALSE(wz.cmdNext.Enabled());
  // Rows: B and A for Inbox, Tasks for Todo B, Journal inactive.
  EXPECT_EQ(ww.Grid(2), (std::vector<std::string>{"Inbox", "Inbox", "Todo B", "(none)"}));
  // The change button cycles the cell through the literal None and the
  // agents of the row's kind, and changes nothing else.
  FlexGrid& grid = wz.fgcRuImportList;
  const std::vector<std::pair<int32_t, std::vector<std::string>>> cycles = {
      {1, {"Sent Items", "Deleted Items", "Archive", "None", "Inbox"}},
      {3, {"None", "Todo A", "Todo B", "None"}},
      {4, {"(none)", "(none)"}},  // the none text is no entry: nothing moves
  };
  for (const auto& [row, shown] : cycles) {
    SCOPED_TRACE(row);
    ASSERT_TRUE(grid.UserClickCell(row, 2));
    for (const std::string& text : shown) {
      ASSERT_TRUE(wz.cmdRuChange.UserClick());
      EXPECT_EQ(grid.TextMatrix(row, 2), text);
    }
  }
  // Press until row 1 shows None; it is still handed to its surveyed agent.
  ASSERT_TRUE(grid.UserClickCell(1, 2));
  while (grid.Text() != "None")
    ASSERT_TRUE(wz.cmdRuChange.UserClick());
  ASSERT_TRUE(grid.UserClickCell(1, 1));
  EXPECT_FALSE(wz.cmdRuChange.Visible());
  // A click on the page's background pops up the agent menu; it does nothing.
  ASSERT_TRUE(wz.picRun.UserClick());
  EXPECT_EQ(ww.w.host.History().back(), "popup mnuAgentList");
  // Back to Agents, then to Source: the survey runs again on the way out,
  // from the choices as they stand.
  ww.w.host.Advance(60000);
  ASSERT_TRUE(wz.optRuLater.UserClick());
  EXPECT_TRUE(wz.dtpRuWhen.Enabled());
  ASSERT_TRUE(wz.cmdPrev.UserClick());
  EXPECT_EQ(wz.Page(), "Agents");
  EXPECT_FALSE(wz.picRun.Visible());
  ASSERT_TRUE(wz.cboAgTasks.UserSetText("Todo A"));
  ASSERT_TRUE(wz.cmdPrev.UserClick());
  EXPECT_EQ(wz.Page(), "Source");
  EXPECT_FALSE(wz.cmdPrev.Enabled());
  EXPECT_EQ(std::get<1>(ww.Entries()[2]), "Todo A");
  ASSERT_TRUE(wz.cmdNext.UserClick());
  ASSERT_TRUE(wz.cboAgTasks.UserSetText("Todo B"));
  ASSERT_TRUE(wz.cmdNext.UserClick());
  // The same grid, the picker at the new now, and Run now on again.
  EXPECT_EQ(ww.Grid(2), (std::vector<std::string>{"Inbox", "Inbox", "Todo B", "(none)"}));
  const Date reentered = ww.w.ctx.Now();
  EXPECT_GT(reentered, entered);
  EXPECT_EQ(wz.dtpRuWhen.Value(), reentered);
  EXPECT_TRUE(wz.optRuNow.Value());
  EXPECT_FALSE(wz.dtpRuWhen.Enabled());
  // Row 1 shows None, and time goes on before Finish: the row still goes to
  // its surveyed agent, with the moment the page came up.
  ASSERT_TRUE(grid.UserClickCell(1, 2));
  while (grid.Text() != "None")
    ASSERT_TRUE(wz.cmdRuChange.UserClick());
  ww.w.host.Advance(5000);
  ASSERT_TRUE(wz.cmdFinish.UserClick());
  EXPECT_FALSE(wz.Loaded());
  const Ref<EngineConfig> config = ww.w.engine->Config();
  const std::vector<std::string> inbox = {R"(\\Mailbox - Pat\Inbox\A\B)",
                                          R"(\\Mailbox - Pat\Inbox\A)"};
  EXPECT_EQ(config->Agent("Inbox")->ImportFolders().Values(), inbox);
  EXPECT_EQ(config->Agent("Todo B")->ImportFolders().Values(),
            std::vector<std::string>{R"(\\Mailbox - Pat\Tasks)"});
  for (const char* name : {"Inbox", "Todo B"}) {
    EXPECT_EQ(config->Agent(name)->ImportTime(), reentered) << name;
    for (const std::string& folder : config->Agent(name)->ImportFolders().Values())
      EXPECT_TRUE(config->Agent(name)->ImportSubFolders(folder)) << folder;
  }
  // The inactive row and the agents nobody chose get nothing.
  for (const char* name : {"Archive", "Todo A", "Diary"})
    EXPECT_THAT(config->Agent(name)->ImportFolders().Values(), IsEmpty()) << name;
  // The Import tab shows them at its next load; Finish itself reloaded nothing.
  ImportPanel& im = ww.w.popup.import;
  im.cboImName.Text("Inbox");
  im.LoadImport();
  EXPECT_EQ(im.lstImImportList.ListCount(), 2);
  EXPECT_EQ(im.lstImImportList.List(0), inbox[0]);
  EXPECT_THAT(ww.w.Problems(), IsEmpty());
}

TEST(ImportWizard, TheExplorerGivesTheFolderOnShowWhenClosedAndRemoveKeepsItsLaggingPosition) {
  WizardWorld ww(PatsProfile());
  FrmImportWizard& wz = ww.wizard;
  // A second Explorer lets the first go: closing the first adds nothing.
  ASSERT_TRUE(wz.cmdSoAdd.UserClick());
  EXPECT_EQ(wz.ExplorerFolder(), kInbox);
  ASSERT_TRUE(wz.cmdSoAdd.UserClick());
  ASSERT_EQ(ww.windows.size(), 2U);
  ww.windows[0].switchTo(ww.At(R"(\\Mailbox - Pat\Notes)"));
  ww.windows[0].closed();
  EXPECT_EQ(wz.lstSoRootFolders.ListCount(), 0);
  EXPECT_FALSE(wz.cmdNext.Enabled());
  ww.windows[1].switchTo(ww.At(R"(\\Mailbox - Pat\Calendar)"));
  EXPECT_EQ(wz.ExplorerFolder(), R"(\\Mailbox - Pat\Calendar)");
  ww.windows[1].closed();
  EXPECT_EQ(wz.lstSoRootFolders.List(0), R"(\\Mailbox - Pat\Calendar)");
  EXPECT_TRUE(wz.OpenExplorer().IsNothing());
  EXPECT_EQ(wz.ExplorerFolder(), "");
  EXPECT_TRUE(wz.cmdNext.Enabled());
  struct Case {
    std::vector<std::string> roots;
    int selected;
    std::vector<std::string> rootsAfter;
    std::vector<std::string> rowsAfter;
    bool ranOut;  // error 9 ends the handler with the row still there
  };
  const std::string a = kInbox;
  const std::string b = R"(\\Mailbox - Pat\Tasks)";
  const std::vector<Case> cases = {
      {{a}, 0, {}, {}, false},
      {{a, b}, 1, {a}, {a}, false},
      {{a, a}, 0, {a}, {a, a}, true},
      {{a, a, b}, 0, {a}, {a, b}, false},  // the second match takes b along
      {{b, a, a}, 2, {b, a}, {b, a, a}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.roots.size() * 10 + static_cast<size_t>(c.selected));
    WizardWorld fresh(PatsProfile());
    FrmImportWizard& f = fresh.wizard;
    for (const std::string& root : c.roots)
      fresh.AddRoot(root);
    ASSERT_TRUE(f.lstSoRootFolders.UserClickRow(c.selected));
    ASSERT_TRUE(f.cmdSoRemove.UserClick());
    EXPECT_EQ(f.RootFolders().Values(), c.rootsAfter);
    EXPECT_EQ(Rows(f.lstSoRootFolders), c.rowsAfter);
    EXPECT_EQ(f.cmdNext.Enabled(), !c.rowsAfter.empty());
    std::vector<test::LogRecord> expected;
    if (c.ranOut) expected.push_back({"frmImportWizard", "cmdSoRemove_Click", "", 9});
    std::vector<test::LogRecord> got = fresh.w.Problems();
    for (auto& r : got)
      r.message.clear();
    EXPECT_EQ(got, expected);
  }
}

TEST(ImportWizard, FailuresStopWhereTheyHappenAndLeaveWhatWasDone) {
  // A typed agent that is no agent: the rows before it are handed over.
  {
    WizardWorld ww(PatsProfile());
    FrmImportWizard& wz = ww.wizard;
    ww.AddRoot(R"(\\Mailbox - Pat\Calendar)");
    ww.AddRoot(R"(\\Mailbox - Pat\Notes)");
    ww.AddRoot(R"(\\Mailbox - Pat\Contacts)");
    ASSERT_TRUE(wz.cmdNext.UserClick());
    ASSERT_TRUE(wz.cboAgNotes.UserSetText("Nobody"));
    ASSERT_TRUE(wz.cmdNext.UserClick());
    EXPECT_TRUE(std::get<2>(ww.Entries()[1]));  // a typed name counts as an agent
    ASSERT_TRUE(wz.cmdFinish.UserClick());
    EXPECT_TRUE(wz.Loaded());
    const Ref<EngineConfig> config = ww.w.engine->Config();
    EXPECT_EQ(config->Agent("Diary")->ImportFolders().Count(), 1);
    EXPECT_EQ(config->Agent("People")->ImportFolders().Count(), 0);
    EXPECT_THAT(Traces(ww.w), ElementsAre("frmImportWizard.Finish 91"));
  }
  // Every root gone: the grid has no data row, LoadRun stops after the
  // options, the page still shows, and Finish hands nothing over.
  {
    WizardWorld ww(PatsProfile());
    FrmImportWizard& wz = ww.wizard;
    ww.AddRoot(MakeRef<test::FakeFolder>("Gone", R"(\\Elsewhere\Gone)", 0));
    ASSERT_TRUE(wz.cmdNext.UserClick());
    ASSERT_TRUE(wz.cmdNext.UserClick());
    EXPECT_EQ(wz.Page(), "Run");
    EXPECT_TRUE(wz.picRun.Visible());
    EXPECT_TRUE(wz.optRuNow.Value());
    EXPECT_EQ(wz.fgcRuImportList.Rows(), 1);
    EXPECT_THAT(Traces(ww.w), Contains("frmImportWizard.LoadRun 30009"));
    ASSERT_TRUE(wz.cmdFinish.UserClick());
    EXPECT_FALSE(wz.Loaded());
  }
  // A folder that fails mid-walk: its survey ends in the trace under the
  // page-exit name, the rows made so far stay, and its parent goes on.
  {
    struct Failing : test::FakeFolder {
      using FakeFolder::FakeFolder;
      int32_t DefaultItemType() override { throw VbError(5, "Invalid procedure call"); }
    };
    WizardWorld ww(PatsProfile());
    auto root = std::make_shared<test::FakeFolder>("Root", R"(\S\Root)", 0);
    root->Add("Before", 0);
    root->children.push_back(std::make_shared<Failing>("Bad", R"(\S\Root\Bad)", 0));
    root->Add("After", 3);
    ww.wizard.SurveyFolder(Ref<MAPIFolder>(root), R"(\S\Root)");
    std::vector<std::string> rows;
    for (const auto& [folder, agent, active] : ww.Entries())
      rows.push_back(folder + " " + agent);
    EXPECT_THAT(rows, ElementsAre(R"(\S\Root\Before Inbox)", R"(\S\Root\After Todo B)",
                                  R"(\S\Root Inbox)"));
    const test::LogRecord failed{"frmImportWizard", "ExitSource", "Invalid procedure call", 5};
    EXPECT_THAT(ww.w.Problems(), ElementsAre(failed));
  }
  // No mail program: the form stands without layout or lists.
  {
    test::PopupWorld w;
    w.mail = std::make_unique<outlook::ProfileMailProgram>(std::shared_ptr<MailProfile>());
    w.services.mailProgram = w.mail.get();
    w.LoadEngine(kAgents);
    w.Start();
    w.log->records.clear();
    FrmImportWizard wz(w.ctx, w.host);
    wz.Show();
    EXPECT_EQ(wz.Page(), "");
    EXPECT_EQ(wz.cboAgInbox.ListCount(), 0);
    EXPECT_THAT(Traces(w), ElementsAre("frmImportWizard.Form_Load 91"));
  }
}

// A generated profile: the survey of the store is the post-order of its
// tree, and every row and nothing else reports its life to the error log.
TEST(ImportWizard, AGeneratedProfileIsSurveyedInPostOrderAndEveryEntryEnds) {
  outlook::ProfileRecipe recipe;
  recipe.folders = 3000;
  recipe.items = 0;
  auto profile = outlook::GenerateProfile(recipe);
  const std::string store = "\\\\" + recipe.storeName;
  std::vector<std::string> postOrder;
  std::function<void(const outlook::ProfileFolder&)> walk = [&](const outlook::ProfileFolder& f) {
    for (const auto& sub : f.SubFolders())
      walk(*sub);
    postOrder.push_back(const_cast<outlook::ProfileFolder&>(f).FolderPath());
  };
  walk(*profile->Store(recipe.storeName));
  auto ww = std::make_unique<WizardWorld>(profile);
  ww->AddRoot(store);
  ASSERT_TRUE(ww->wizard.cmdNext.UserClick());
  ASSERT_TRUE(ww->wizard.cmdNext.UserClick());
  std::vector<std::string> folders;
  for (const auto& [folder, agent, active] : ww->Entries())
    folders.push_back(folder);
  EXPECT_EQ(folders, postOrder);
  const auto count = [&](const std::string& line) {
    const auto& life = ww->w.log->lifecycle;
    return std::count(life.begin(), life.end(), line + " VellixControl ImportEntry");
  };
  EXPECT_EQ(count("ObjectCreated"), static_cast<long>(postOrder.size()));
  ASSERT_TRUE(ww->wizard.cmdCancel.UserClick());
  EXPECT_EQ(count("ObjectDestroyed"), count("ObjectCreated"));
  EXPECT_THAT(ww->w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
