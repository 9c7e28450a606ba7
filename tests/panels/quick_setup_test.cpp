#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine_config.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/config/config_server.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

void Tick(CheckBox& box, bool ticked) {
  if ((box.Value() == CheckBox::kChecked) != ticked) {
    ASSERT_TRUE(box.UserClick());
  }
}

void TickAll(QuickSetupPanel& qs, bool ticked) {
  for (CheckBox* box :
       {&qs.chkEmails, &qs.chkCalendar, &qs.chkTasks, &qs.chkContacts, &qs.chkNotes}) {
    Tick(*box, ticked);
  }
}

// The page on screen, as on a first start.
void StartOnThePage(test::PopupWorld& w) {
  w.PresetHidden(false);
  w.Start();
  ASSERT_EQ(w.popup.ControlState(), kStateUnconfiguredVisible);
  // The engine answers the start's Announce with "not configured", which the
  // page's state takes as an unexpected event: a log line, nothing more.
  w.log->records.clear();
}

void SetTreeValue(test::PopupWorld& w, const std::string& key, const std::string& type,
                  const Variant& value) {
  w.config->RootNode()
      ->GetNode("Componants.VellixControl" + key, true, type, value)
      ->SetContent(value);
}

TEST(QuickSetup, LoadFillsThePageFromTheDefaultsAndTheDocumentsFolder) {
  test::PopupWorld w;
  w.PresetHidden(false);
  // The boot file's defaults, with one turned round to show the key is read.
  SetTreeValue(w, ".DefaultTasks", "Boolean", Variant(true));
  SetTreeValue(w, ".DefaultEmails", "Boolean", Variant(false));
  w.Start();
  QuickSetupPanel& qs = w.popup.quickSetup;

  EXPECT_TRUE(qs.optAnnual.Value());
  EXPECT_FALSE(qs.optQuarter.Value());
  EXPECT_FALSE(qs.dtpReference.Enabled());
  EXPECT_EQ(qs.dtpReference.Format(), DatePicker::kCustom);
  EXPECT_EQ(qs.dtpReference.CustomFormat(), "dd MMMM");
  EXPECT_EQ(qs.dtpReference.Value(), DateSerial(2026, 1, 1));
  EXPECT_EQ(qs.chkEmails.Value(), 0);
  EXPECT_EQ(qs.chkTasks.Value(), 1);
  EXPECT_EQ(qs.chkCalendar.Value(), w.Text(".DefaultCalendar") == "True" ? 1 : 0);
  EXPECT_EQ(qs.txtStorePath.Text(), *w.shell->PersonalFolder() + "\\My Vellix Activity");
  EXPECT_EQ(qs.txtBackupPath.Text(), "");
  EXPECT_EQ(qs.fraDefaultFolders.Caption(), "Monitor and File");
  EXPECT_EQ(w.popup.Caption(), w.Text(".Strings.QuickSetup.FormCaption"));

  // A second Load leaves the box alone, so a ticked box can stand beside a
  // locked date.
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  EXPECT_TRUE(qs.dtpReference.Enabled());
  qs.Load();
  EXPECT_EQ(qs.chkNotFirstDay.Value(), 1);
  EXPECT_FALSE(qs.dtpReference.Enabled());
}

TEST(QuickSetup, WithoutAPersonalFolderTheStoreGoesToTheFixedDefault) {
  test::PopupWorld w;
  fs::remove_all(w.dir / "home" / "Documents");
  StartOnThePage(w);
  EXPECT_EQ(w.popup.quickSetup.txtStorePath.Text(), "c:\\Orvane Vellix Store");
}

TEST(QuickSetup, AllBoxesClearMakesNoAgentButWritesTheRestAndCommits) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  TickAll(qs, false);
  ASSERT_TRUE(qs.txtBackupPath.UserSetText("/srv/backup"));
  // Something changed in the tree and not yet committed: the save commits it.
  SetTreeValue(w, ".Strings.ProductName", "String", Variant("Probe"));
  w.engine->ClearJournal();

  EXPECT_TRUE(qs.SaveQuickSetup());
  EXPECT_THAT(
      w.engine->Journal().TextsFor("EngineConfig"),
      ElementsAre("ResetConfig", "put PeriodUnits Year", "SetPeriodFormat File '@yyyy'",
                  "put HistoryName History", "put PeriodCount 1", "put ReferenceDate 01/01/2026",
                  "put StoreLocation " + qs.txtStorePath.Text(), "put BackupLocation /srv/backup"));
  EXPECT_EQ(w.engine->Journal().Count("CreateAgent"), 0);
  ConfigServer disk(w.dir / "ConfigTree.xml", "");
  EXPECT_EQ(disk.RootNode()->GetValue("Componants.VellixControl.Strings.ProductName").ToString(),
            "Probe");
}

TEST(QuickSetup, OnlyAQuarterlySetupChangesTheMailAndCalendarAgentsBeyondTheirFolder) {
  for (const bool quarterly : {false, true}) {
    test::PopupWorld w;
    StartOnThePage(w);
    QuickSetupPanel& qs = w.popup.quickSetup;
    TickAll(qs, true);
    if (quarterly) {
      ASSERT_TRUE(qs.optQuarter.UserClick());
    }
    w.engine->ClearJournal();
    ASSERT_TRUE(qs.SaveQuickSetup());

    const auto& journal = w.engine->Journal();
    std::vector<std::string> created;
    for (const auto& e : journal.Entries()) {
      if (e.text.rfind("CreateAgent ", 0) == 0) created.push_back(e.text.substr(12));
    }
    EXPECT_THAT(created, ElementsAre("Received Emails", "Sent Emails", "Calendar", "Tasks", "Notes",
                                     "Contacts"));
    // Every agent gets its folder and its type; the others keep the engine's
    // defaults whatever the period.
    const std::pair<const char*, const char*> plain[] = {
        {"Tasks", "Tasks"}, {"Notes", "Notes"}, {"Contacts", "Contacts"}};
    for (const auto& [agent, type] : plain) {
      const auto texts = journal.TextsFor(std::string("Agent ") + agent);
      ASSERT_EQ(texts.size(), 2U) << agent;
      EXPECT_EQ(texts[0].rfind("AddFolder ", 0), 0U) << agent;
      EXPECT_EQ(texts[1], std::string("put MonitorType ") + type);
    }
    const auto calendar = journal.TextsFor("Agent Calendar");
    if (!quarterly) {
      EXPECT_EQ(journal.Count("put RemovePeriod"), 0);
      EXPECT_EQ(calendar.size(), 2U);
      EXPECT_TRUE(journal.Contains("SetPeriodFormat File '@yyyy'"));
      continue;
    }
    EXPECT_EQ(journal.TextsFor("Agent Received Emails").back(), "put RemovePeriod 7");
    EXPECT_EQ(journal.TextsFor("Agent Sent Emails").back(), "put RemovePeriod 7");
    ASSERT_EQ(calendar.size(), 5U);
    EXPECT_THAT(
        std::vector<std::string>(calendar.begin() + 2, calendar.end()),
        ElementsAre("put StoreCount 1", "put StoreFormat '@MMM'-'$MMM'", "put StoreUnits Quarter"));
    EXPECT_TRUE(journal.Contains("put PeriodUnits Quarter"));
    EXPECT_TRUE(journal.Contains("SetPeriodFormat File '@yyyy mmm'-'$mmm'"));
  }
}

TEST(QuickSetup, AChangedReferenceDateIsSavedEvenAfterTheBoxIsCleared) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  EXPECT_FALSE(qs.dtpReference.UserSetValue(DateSerial(2026, 4, 6))) << "locked until ticked";
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  ASSERT_TRUE(qs.dtpReference.UserSetValue(DateSerial(2026, 4, 6)));
  ASSERT_TRUE(qs.chkNotFirstDay.UserClick());
  EXPECT_FALSE(qs.dtpReference.Enabled());
  ASSERT_TRUE(qs.SaveQuickSetup());
  EXPECT_EQ(w.engine->Config()->ReferenceDate(), DateSerial(2026, 4, 6));
}

TEST(QuickSetup, ABackupFolderOfBlanksIsAskedAboutButSavedAsBlanks) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  ASSERT_TRUE(qs.txtBackupPath.UserSetText("   "));

  // Cancel keeps the user on the page with nothing written.
  w.host.AnswerNext(MsgResult::Cancel);
  w.engine->ClearJournal();
  ASSERT_TRUE(qs.cmdOK.UserClick());
  EXPECT_EQ(w.popup.ControlState(), kStateUnconfiguredVisible);
  EXPECT_THAT(w.Journal(), IsEmpty());
  ASSERT_EQ(w.host.PromptRecords().size(), 1U);
  EXPECT_EQ(w.host.PromptRecords()[0].text, w.Text(".Strings.ControlPanel.MsgNoBackupPath"));
  EXPECT_EQ(w.host.PromptRecords()[0].buttons, MsgButtons::OKCancel);

  // OK goes on, and the blanks themselves reach the engine.
  w.host.AnswerNext(MsgResult::OK);
  ASSERT_TRUE(qs.cmdOK.UserClick());
  w.host.Pump();
  EXPECT_TRUE(w.engine->Journal().Contains("put BackupLocation    "));
  EXPECT_EQ(w.engine->Config()->BackupLocation(), "   ");
  EXPECT_NE(w.popup.ControlState(), kStateUnconfiguredVisible);
}

TEST(QuickSetup, AStoreFolderTwoLevelsDownCantBeMadeAndIsAskedAbout) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  ASSERT_TRUE(qs.txtBackupPath.UserSetText("/srv/backup"));
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
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(QuickSetup, WithoutOutlookNothingIsWrittenAndTheUserIsTold) {
  test::PopupWorld w;
  outlook::ProfileMailProgram noOutlook{std::shared_ptr<outlook::MailProfile>()};
  w.ctx.mailProgram = &noOutlook;
  StartOnThePage(w);
  w.engine->ClearJournal();

  EXPECT_FALSE(w.popup.quickSetup.SaveQuickSetup());
  const std::string message = w.Text(".Strings.QuickSetup.MsgNoOutlook");
  EXPECT_FALSE(message.empty());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(message));
  EXPECT_THAT(w.Problems(), ElementsAre(test::LogRecord{"frmPopup", "SaveQuickSetup", message, 0}));
  EXPECT_THAT(w.Journal(), IsEmpty());
}

TEST(QuickSetup, BrowseButtonsFillTheirOwnFieldAndACancelledDialogChangesNothing) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
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
  EXPECT_THAT(w.host.FolderTitles(),
              ElementsAre(w.Text(".Strings.ControlPanel.CaptionFindFolder"),
                          w.Text(".Strings.ControlPanel.CaptionFindFolder")));
}

// ---------------------------------------------------------------- layout

struct Rect {
  int32_t left, top, right, bottom;
};

Rect RectOf(const Control& c) {
  return {c.Left(), c.Top(), c.Left() + c.Width(), c.Top() + c.Height()};
}

TEST(QuickSetup, ThePageIsLaidOutInFramesWithoutOverlapsAndButtonsBottomRight) {
  test::PopupWorld w;
  StartOnThePage(w);
  QuickSetupPanel& qs = w.popup.quickSetup;
  Form& form = w.popup;
  const LayoutMetrics& m = w.popup.Metrics();

  // Each control lies in its frame, and every frame in the page.
  const std::pair<const char*, std::vector<const char*>> containers[] = {
      {"picQuickSetup",
       {"fraPeriod", "fraReference", "fraStorage", "fraDefaultFolders", "cmdHelp", "cmdConfigMore",
        "cmdCancel", "cmdOK"}},
      {"fraPeriod", {"optAnnual", "optQuarter"}},
      {"fraReference", {"chkNotFirstDay", "dtpReference"}},
      {"fraStorage",
       {"lblStore", "txtStorePath", "cmdBrowseStore", "lblBackup", "txtBackupPath",
        "cmdBrowseBackup", "lblRecover", "cmdRecover"}},
      {"fraDefaultFolders", {"chkEmails", "chkCalendar", "chkTasks", "chkContacts", "chkNotes"}},
  };
  for (const auto& [container, names] : containers) {
    const Control* box = form.Find(container);
    ASSERT_NE(box, nullptr);
    std::vector<std::string> children;
    for (const Control* c : form.ChildrenOf(container))
      children.push_back(c->Name());
    EXPECT_THAT(children, ::testing::UnorderedElementsAreArray(names)) << container;
    for (size_t i = 0; i < names.size(); ++i) {
      const Rect a = RectOf(*form.Find(names[i]));
      const bool inside = a.left >= 0 && a.top >= 0 && a.left < a.right && a.top < a.bottom &&
                          a.right <= box->Width() && a.bottom <= box->Height();
      EXPECT_TRUE(inside) << names[i] << " is empty or sticks out of " << container;
      for (size_t j = i + 1; j < names.size(); ++j) {
        const Rect b = RectOf(*form.Find(names[j]));
        const bool apart =
            a.right <= b.left || b.right <= a.left || a.bottom <= b.top || b.bottom <= a.top;
        EXPECT_TRUE(apart) << names[i] << " overlaps " << names[j];
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

  // Texts come from the panel's node.
  EXPECT_EQ(qs.optQuarter.ToolTipText(), w.Text(".Strings.QuickSetup.optQuarter-Tip"));
  EXPECT_EQ(qs.lblRecover.Caption(), w.Text(".Strings.QuickSetup.lblRecover"));
  // The row rule: labels in the label column, a field after it.
  EXPECT_EQ(qs.lblStore.Top(), qs.txtStorePath.Top() + m.TextOffset);
  EXPECT_EQ(qs.txtStorePath.Left(), m.Border + m.LabelColumnWidth + m.Border);
}

}  // namespace
}  // namespace vellix
