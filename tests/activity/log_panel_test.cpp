#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/log_box.h"
#include "foundation/monitor.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int Count(const std::vector<std::string>& journal, const std::string& call) {
  return static_cast<int>(std::count(journal.begin(), journal.end(), call));
}

TEST(LogPanel, TheEnginesLevelPicksTheOptionAndTheMonitorAndAnUnknownOneFallsToOff) {
  struct Case {
    const char* level;
    bool off, on, verbose;
    const char* writtenBack;
  };
  for (const Case c :
       {Case{"On", false, true, false, "On"}, Case{"Off", true, false, false, "Off"},
        Case{"Verbose", false, false, true, "Verbose"}, Case{"Loud", true, false, false, "Off"}}) {
    SCOPED_TRACE(c.level);
    test::PopupWorld w;
    w.engine->Configured(true);
    w.engine->LoggingLevel(c.level);
    w.Start();
    w.engine->ClearJournal();
    w.popup.tabControlOptions.Tabs("Log").Selected(true);  // LoadLog
    EXPECT_EQ(w.popup.log.optLoOff.Value(), c.off);
    EXPECT_EQ(w.popup.log.optLoOn.Value(), c.on);
    EXPECT_EQ(w.popup.log.optLoVerbose.Value(), c.verbose);
    EXPECT_EQ(w.popup.mobjMonitor().IsNothing(), c.off);
    EXPECT_EQ(w.engine->LoggingLevel(), c.writtenBack);
    EXPECT_EQ(Count(w.Journal(), std::string("put LoggingLevel ") + c.writtenBack), 1);
    // A second entry to the tab finds its option on already: nothing runs.
    w.engine->ClearJournal();
    w.popup.tabControlOptions.Tabs("Summary").Selected(true);
    w.popup.tabControlOptions.Tabs("Log").Selected(true);
    EXPECT_EQ(Count(w.Journal(), std::string("put LoggingLevel ") + c.writtenBack), 0);
    EXPECT_THAT(w.Problems(), IsEmpty());
  }
}

TEST(LogPanel, EachLevelFetchesTheMonitorBeforeItIsWrittenAndOffStopsTheLinesButKeepsThem) {
  test::PopupWorld w;
  w.engine->Configured(true);
  w.Start();
  w.popup.tabControlOptions.Tabs("Log").Selected(true);
  ASSERT_TRUE(w.popup.log.optLoOn.Value());
  const Ref<Monitor> monitor = w.engine->Monitor();
  monitor->OnProcessingStatus.Raise(0);
  ASSERT_EQ(w.popup.log.txtLoEntries.LineCount(), 1U);
  // Switching on, the monitor comes first: when it can't be had, the level
  // is not written.
  w.engine->FailCall("get Monitor", -1, 1);
  w.engine->ClearJournal();
  ASSERT_TRUE(w.popup.log.optLoVerbose.UserClick());
  EXPECT_EQ(Count(w.Journal(), "put LoggingLevel Verbose"), 0);
  EXPECT_EQ(w.engine->LoggingLevel(), "On");
  ASSERT_TRUE(w.popup.log.optLoOn.UserClick());
  ASSERT_TRUE(w.popup.log.optLoVerbose.UserClick());
  EXPECT_EQ(w.engine->LoggingLevel(), "Verbose");
  EXPECT_EQ(Count(w.Journal(), "put LoggingLevel Verbose"), 1);
  monitor->OnProcessingStatus.Raise(10);
  EXPECT_EQ(w.popup.log.txtLoEntries.LineCount(), 2U) << "old lines stay";
  // Switching off, the level falls first: when it can't be written, the
  // monitor stays.
  w.engine->FailCall("put LoggingLevel", -1, 1);
  ASSERT_TRUE(w.popup.log.optLoOff.UserClick());
  EXPECT_FALSE(w.popup.mobjMonitor().IsNothing());
  ASSERT_TRUE(w.popup.log.optLoOn.UserClick());
  ASSERT_TRUE(w.popup.log.optLoOff.UserClick());
  EXPECT_EQ(w.engine->LoggingLevel(), "Off");
  EXPECT_TRUE(w.popup.mobjMonitor().IsNothing());
  const std::string kept = w.popup.log.txtLoEntries.Text();
  monitor->OnProcessingStatus.Raise(0);
  EXPECT_EQ(w.popup.log.txtLoEntries.Text(), kept);
  w.log->records.clear();  // the two refused calls' traces
  // On again: the same box goes on growing.
  ASSERT_TRUE(w.popup.log.optLoOn.UserClick());
  monitor->OnProcessingStatus.Raise(16);
  EXPECT_EQ(w.popup.log.txtLoEntries.LineCount(), 3U);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
