#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "processing_fixture.h"

namespace vellix::engine::test {
namespace {

using Strings = std::vector<std::string>;

struct Item {
  char folder;  // Inbox, Projects or Sent
  const char* subject;
  Date received;
};

struct FilingCase {
  const char* name;
  int16_t count;  // file after
  const char* units;
  bool subFolders, disabled;
  std::vector<Item> items;
  std::map<std::string, Strings> stores;  // what each store holds after the first pass
};

Date At(int month, int day, int hour = 0, int minute = 0) {
  return DateTimeSerial(2024, month, day, hour, minute, 0);
}

class FilingRules : public ProcessingTest, public ::testing::WithParamInterface<FilingCase> {};

TEST_P(FilingRules, FilesWhatIsOldEnoughIntoThePeriodItFallsIn) {
  const FilingCase& c = GetParam();
  for (const auto& item : c.items) {
    outlook::ProfileItem made;
    made.subject = item.subject;
    made.received = item.received;
    (item.folder == 'I' ? inbox : item.folder == 'P' ? projects : sent)->AddItem(made);
  }
  Configure();
  auto agent = MailAgent();
  agent->FileAfterCount(c.count);
  agent->FileAfterUnits(c.units);
  agent->SubFolders(c.subFolders);
  agent->FileDisabled(c.disabled);
  int32_t expected = 0;
  for (const auto& [store, subjects] : c.stores)
    expected += static_cast<int32_t>(subjects.size());
  EXPECT_EQ(engine->ForecastItemCount(), expected);
  Start();
  for (const auto& [store, subjects] : c.stores)
    EXPECT_EQ(StoreSubjects(store), subjects) << store;
  // Filing copies: every item is still in its folder.
  EXPECT_EQ(inbox->Items().size() + projects->Items().size() + sent->Items().size(),
            c.items.size());
  EXPECT_EQ(engine->Config()->Agent("Mail")->ItemCount(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, FilingRules,
    ::testing::Values(
        FilingCase("OneDayDelay", 1, "Day", true, false,
                   {{'I', "fresh", At(5, 15)}, {'I', "old", At(5, 13)}},
                   {{"File 2024-05", {"old"}}}),
        FilingCase("ThreeHours", 3, "Hours", true, false,
                   {{'I', "two hours", At(5, 15, 8, 30)}, {'I', "four", At(5, 15, 6, 30)}},
                   {{"File 2024-05", {"four"}}}),
        FilingCase(
            "PeriodBoundary", 1, "Day", true, false,
            {{'I', "april", At(4, 30, 23, 59)},
             {'I', "may", At(5, 1)},
             {'I', "march", At(3, 31, 12)}},
            {{"File 2024-03", {"march"}}, {"File 2024-04", {"april"}}, {"File 2024-05", {"may"}}}),
        FilingCase("SubFoldersTaken", 1, "Day", true, false,
                   {{'I', "top", At(5, 2)}, {'P', "below", At(5, 3)}},
                   {{"File 2024-05", {"top", "below"}}}),
        FilingCase("SubFoldersLeft", 1, "Day", false, false,
                   {{'I', "top", At(5, 2)}, {'P', "below", At(5, 3)}}, {{"File 2024-05", {"top"}}}),
        FilingCase("OtherFolderLeft", 1, "Day", true, false, {{'S', "sent", At(5, 2)}},
                   {{"File 2024-05", {}}}),
        FilingCase("FileDisabled", 1, "Day", true, true, {{'I', "old", At(4, 2)}},
                   {{"File 2024-04", {}}})),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(ProcessingTest, LaterPassesFileOnlyWhatIsNewAndComeByTheInterval) {
  Add(inbox, "one", 3);
  Add(inbox, "two", 2);
  Configure();
  MailAgent();
  EXPECT_EQ(engine->ForecastItemCount(), 2);
  Start();
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"one", "two"}));
  EXPECT_EQ(engine->ForecastItemCount(), 0);
  // Not due yet: four minutes later the interval of five has not passed.
  clock.AdvanceSeconds(4 * 60);
  processor->Tick();
  EXPECT_FALSE(processor->Busy());
  Add(inbox, "three", 1.5);
  clock.AdvanceSeconds(60);
  processor->Tick();
  EXPECT_TRUE(processor->Busy());
  Pass();
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"one", "two", "three"}));
  FileNow();
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"one", "two", "three"}));
  EXPECT_EQ(engine->Config()->Agent("Mail")->ItemCount(), 3);
  EXPECT_EQ(engine->Config()->Period("File 2024-05")->ItemCount(), 3);
}

// The folder is read in slices on the panel's thread; between two the user
// may delete or receive mail. Nothing is filed twice, and what a slice missed
// because the items moved up is filed by the next pass.
TEST_F(ProcessingTest, AFolderThatChangesWhileItIsReadInSlicesLosesNothing) {
  scanSlice = 2;
  MakeEngine();
  for (const char* subject : {"a", "b", "c", "d", "e", "f"})
    Add(inbox, subject, 3);
  Configure();
  MailAgent()->PurgeDisabled(true);
  int calls = 0;
  onProfile = [&] {
    // The list was made and the first slice (a, b) read: "a" goes, so "c"
    // moves up into the slice already read; two come in at the end.
    if (++calls != 3) return;
    inbox->RemoveItems({inbox->Items().front().key});
    Add(inbox, "late", 3);
    Add(inbox, "later", 3);
  };
  Start();
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"b", "d", "e", "f", "late", "later"}));
  onProfile = nullptr;
  FileNow();
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"b", "d", "e", "f", "late", "later", "c"}));
  EXPECT_EQ(engine->Config()->Period("File 2024-05")->ItemCount(), 7);
}

// ---- purging ----

struct PurgeCase {
  const char* name;
  int16_t removePeriod;
  int32_t purgeNotify;
  bool purgeDisabled;
  int16_t answer;  // to a question, when one comes
  double daysLater;
  bool purged;
  int questions;
  int32_t notifyAfter;       // PurgeNotify after the pass (the handler may write it)
  int16_t writeNotify = -1;  // what the question's handler writes, -1 nothing
};

class PurgeRules : public ProcessingTest, public ::testing::WithParamInterface<PurgeCase> {};

TEST_P(PurgeRules, PurgesFiledItemsOnlyAsTheAgentAndTheUserSay) {
  const PurgeCase& c = GetParam();
  Add(inbox, "filed", 3);
  Add(projects, "filed below", 4);
  Configure();
  auto agent = MailAgent();
  agent->RemovePeriod(c.removePeriod);
  agent->PurgeNotify(c.purgeNotify);
  agent->PurgeDisabled(c.purgeDisabled);
  Start();
  Add(inbox, "too new to file", 0.1 - c.daysLater, clock.Now());
  ASSERT_EQ(StoreSubjects("File 2024-05").size(), 2u);
  ASSERT_EQ(inbox->Items().size(), 2u);
  std::vector<std::string> asked;
  connections.push_back(engine->OnNotify.Connect(
      [&](int32_t type, const Ref<PurgeDetails>& details, int16_t& result) {
        EXPECT_EQ(std::this_thread::get_id(), uiThread);
        asked.push_back(std::to_string(type) + " " + std::to_string(details->ItemCount()) + " " +
                        details->ItemType() + " " + details->Folder()->FolderPath() + " " +
                        details->AgentName());
        if (c.writeNotify >= 0) engine->Config()->Agent("Mail")->PurgeNotify(c.writeNotify);
        result = c.answer;
      }));
  clock.AdvanceSeconds(c.daysLater * 86400);
  FileNow();
  EXPECT_EQ(static_cast<int>(asked.size()), c.questions);
  if (!asked.empty()) {
    EXPECT_EQ(asked.front(), "0 1 Email \\\\Mailbox\\Inbox Mail");
  }
  const Strings left = Subjects(*inbox);
  if (c.purged) {
    EXPECT_EQ(left, (Strings{"too new to file"}));
    EXPECT_TRUE(projects->Items().empty());
    EXPECT_EQ(engine->Config()->Agent("Mail")->LastPurge(), clock.Now());
  } else {
    EXPECT_EQ(left, (Strings{"filed", "too new to file"}));
    EXPECT_EQ(projects->Items().size(), 1u);
  }
  // Whatever happened, every item purged is in its store.
  EXPECT_EQ(StoreSubjects("File 2024-05"), (Strings{"filed below", "filed"}));
  EXPECT_EQ(engine->Config()->Agent("Mail")->PurgeNotify(), c.notifyAfter);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PurgeRules,
    ::testing::Values(PurgeCase{"AfterTheRemovePeriod", 7, 1, false, 0, 7.5, true, 0, 1},
                      PurgeCase{"BeforeTheRemovePeriod", 7, 1, false, 0, 6.5, false, 0, 1},
                      PurgeCase{"RemovePeriodZeroNextDay", 0, 1, false, 0, 1, true, 0, 1},
                      PurgeCase{"PurgeDisabled", 0, 1, true, 0, 30, false, 0, 1},
                      PurgeCase{"RememberedNo", 0, 2, false, 0, 30, false, 0, 2},
                      PurgeCase{"AskedAndYes", 7, 0, false, 0, 8, true, 2, 0},
                      PurgeCase{"AskedAndNo", 7, 0, false, 1, 8, false, 2, 0},
                      PurgeCase{"YesDontAskAgain", 7, 0, false, 0, 8, true, 1, 1, 1},
                      PurgeCase{"NoAndStopPurging", 7, 0, false, 1, 8, false, 1, 2, 2}),
    [](const auto& param) { return std::string(param.param.name); });

// ---- imports ----

TEST_F(ProcessingTest, WaitingImportRunsAtItsTimeAndIsThenCleared) {
  Add(sent, "sent today", 0.01);
  Add(sent, "sent long ago", 300);
  Configure();
  auto agent = MailAgent();
  agent->AddImport("\\\\Mailbox\\Sent Items", false);
  const Date importAt = AddSeconds(clock.Now(), 3600);
  agent->ImportTime(importAt);
  EXPECT_EQ(engine->ForecastItemCount(), 0);
  Start();
  EXPECT_EQ(StoreSubjects("File 2024-05"), Strings{});
  EXPECT_EQ(engine->Config()->Agent("Mail")->ImportTime(), importAt);
  clock.AdvanceSeconds(3600);
  EXPECT_EQ(engine->ForecastItemCount(), 2);
  FileNow();
  // An import takes every item, whatever its age.
  EXPECT_EQ(StoreSubjects("File 2024-05"), Strings{"sent today"});
  EXPECT_EQ(StoreSubjects("File 2023-07"), Strings{"sent long ago"});
  EXPECT_EQ(engine->Config()->Agent("Mail")->ImportTime(), Date());
  EXPECT_EQ(sent->Items().size(), 2u);
}

// ---- events ----

TEST_F(ProcessingTest, EventsArriveInOrderOnThePanelThreadWithTheStepTheyReport) {
  Add(inbox, "first", 3);
  Add(projects, "second", 2);
  Configure();
  MailAgent()->PurgeDisabled(true);
  engine->LoggingLevel("Verbose");
  Start();
  const Strings expected = {
      "Activity Start",
      "Status 0 To File:2",
      "Status 1 agent=Mail To File:2",
      "Status 3 agent=Mail To File:2",
      "Status 4 agent=Mail folder=Inbox To File:2",
      "Status 17 agent=Mail folder=Inbox store=File 2024-05 To File:2",
      "Status 6 agent=Mail folder=Inbox item=first store=File 2024-05 Filed:1 To File:2",
      "Status 7 agent=Mail folder=Inbox item=first store=File 2024-05 Filed:1 To File:2",
      "Status 18 agent=Mail folder=Inbox store=File 2024-05 Filed:1 To File:2",
      "Status 5 agent=Mail folder=Inbox Filed:1 To File:2",
      "Status 4 agent=Mail folder=Projects Filed:1 To File:2",
      "Status 17 agent=Mail folder=Projects store=File 2024-05 Filed:1 To File:2",
      "Status 6 agent=Mail folder=Projects item=second store=File 2024-05 Filed:2 To File:2",
      "Status 7 agent=Mail folder=Projects item=second store=File 2024-05 Filed:2 To File:2",
      "Status 18 agent=Mail folder=Projects store=File 2024-05 Filed:2 To File:2",
      "Status 5 agent=Mail folder=Projects Filed:2 To File:2",
      "Status 12 agent=Mail Filed:2 To File:2",
      "Status 2 agent=Mail Filed:2 To File:2",
      "Status 10 Filed:2 To File:2",
      "Activity Complete",
  };
  EXPECT_EQ(events, expected);
  EXPECT_FALSE(engine->Monitor()->Processing());
}

// ---- stopping and shutting down ----

TEST_F(ProcessingTest, StopEndsThePassAtTheNextItemAndTheNextRunFilesTheRest) {
  for (int i = 0; i < 30; ++i)
    Add(inbox, "item " + std::to_string(100 + i), 3);
  Configure();
  MailAgent()->PurgeDisabled(true);
  engine->LoggingLevel("Verbose");
  bool stopped = false;
  connections.push_back(engine->Monitor()->OnProcessingStatus.Connect([&](int32_t code) {
    if (code == 7 && !stopped) {
      stopped = true;
      engine->Running(false);
    }
  }));
  connections.push_back(engine->OnRun.Connect(
      [&](bool value) { events.push_back(value ? "Run True" : "Run False"); }));
  Start();
  ASSERT_TRUE(stopped);
  // The pass says it stopped before the engine says so.
  ASSERT_GE(events.size(), 3u);
  EXPECT_EQ(events[events.size() - 1], "Run False");
  EXPECT_EQ(events[events.size() - 2], "Activity Stop");
  EXPECT_TRUE(events[events.size() - 3].starts_with("Status 16"));
  // The worker waits for the panel between two batches of three, so the stop
  // came while the first batch was being reported.
  EXPECT_EQ(StoreSubjects("File 2024-05").size(), 3u);
  stopped = true;
  Start();
  const Strings all = StoreSubjects("File 2024-05");
  EXPECT_EQ(all.size(), 30u);
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), 30u);
}

TEST_F(ProcessingTest, ShutdownDeliversThePassEndFirstAndNothingAfter) {
  for (int i = 0; i < 40; ++i)
    Add(inbox, "item " + std::to_string(i), 3);
  Configure();
  MailAgent();
  engine->LoggingLevel("Verbose");
  engine->Running(true);
  // Some of the pass reaches the panel, then the program closes.
  ASSERT_TRUE(host.PumpUntil([&] { return events.size() >= 5; }));
  engine->Shutdown();
  ASSERT_GE(events.size(), 2u);
  EXPECT_EQ(events.back(), "Activity Shutdown");
  const std::string& end = events[events.size() - 2];
  EXPECT_TRUE(end == "Activity Stop" || end == "Activity Complete") << end;
  const size_t seen = events.size();
  host.Pump();
  EXPECT_EQ(events.size(), seen);
  EXPECT_FALSE(processor->Busy());
  // The engine file and the store are whole.
  engine.reset();
  MakeEngine();
  EXPECT_NE(engine->Config()->Period("File 2024-05"), nullptr);
  EXPECT_NO_THROW(StoreSubjects("File 2024-05"));
}

}  // namespace
}  // namespace vellix::engine::test
