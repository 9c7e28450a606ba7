#include "activity/processing_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "foundation/engine_config.h"
#include "foundation/log_box.h"
#include "foundation/monitor.h"
#include "support/fake_outlook.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using test::LogRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakeCount : public ActivityCount {
 public:
  FakeCount(std::string label, int32_t count, bool fails = false)
      : label_(std::move(label)), count_(count), fails_(fails) {}
  std::string Label() override { return label_; }
  int32_t Count() override {
    if (fails_) throw VbError(5, "Invalid procedure call or argument");
    return count_;
  }

 private:
  std::string label_;
  int32_t count_;
  bool fails_;
};

class Item : public OutlookItem {
 public:
  explicit Item(std::string subject) : subject_(std::move(subject)) {}
  std::string Subject() override { return subject_; }

 private:
  std::string subject_;
};

class FakeMonitor : public Monitor {
 public:
  bool Processing() override { return true; }
  Ref<Agent> CurrentAgent() override { return agent; }
  Ref<MAPIFolder> CurrentFolder() override { return folder; }
  Ref<OutlookItem> CurrentItem() override { return item; }
  std::string CurrentStore() override { return store; }
  Collection<Ref<ActivityCount>> Progress() override { return progress; }
  Collection<Ref<ActivityCount>> Forecast() override { return forecast; }
  Ref<Agent> agent;
  Ref<MAPIFolder> folder;
  Ref<OutlookItem> item;
  std::string store;
  Collection<Ref<ActivityCount>> progress;
  Collection<Ref<ActivityCount>> forecast;
};

// A clock that moves on by a set step each time it is read.
class SteppingClock : public Clock {
 public:
  explicit SteppingClock(Date start, double stepSeconds) : now_(start), step_(stepSeconds) {}
  [[nodiscard]] Date Now() const override {
    const Date now = now_;
    now_ = AddSeconds(now_, step_);
    return now;
  }

 private:
  mutable Date now_;
  double step_;
};

class ProcessingLogTest : public ::testing::Test {
 protected:
  ProcessingLogTest() {
    ctx.errorLog = log;
    monitor = fake;
    fake->agent = world.engine->Config()->CreateAgent("Inbox agent");
    fake->folder = Ref<MAPIFolder>(
        std::make_shared<test::FakeFolder>("Inbox", "\\\\Personal Folders\\Inbox", 0));
    fake->item = MakeRef<Item>("Quarterly figures for the board meeting");  // 39 characters
    fake->store = "Archive 2026";
    fake->forecast.Add(MakeRef<FakeCount>("Items", 3));
    fake->forecast.Add(MakeRef<FakeCount>("Stores", 0));  // leaves no trace
    fake->forecast.Add(MakeRef<FakeCount>("Folders", 1));
    fake->progress.Add(MakeRef<FakeCount>("Filed", 2));
  }
  std::string Event(int32_t code) {
    processing.mobjMonitor_ProcessingStatus(code);
    return entries.LineCount() == 0 ? "" : entries.Line(0);
  }
  // The engine stand-in, for an agent to be in hand.
  test::PopupWorld world;
  ManualClock clock{DateTimeSerial(2026, 11, 25, 14, 5, 30)};
  test::ScriptedHost host{&clock};
  Services services{.clock = clock, .host = &host};
  Context ctx{services};
  std::shared_ptr<test::RecordingErrorLog> log = std::make_shared<test::RecordingErrorLog>();
  Form form{host, "frmPopup"};
  LogBox entries{form, "txtLoEntries"};
  std::shared_ptr<FakeMonitor> fake = std::make_shared<FakeMonitor>();
  Ref<Monitor> monitor;
  ProcessingLog processing{ctx, monitor, entries};
};

TEST_F(ProcessingLogTest, EveryCodeGivesItsLineWithTheCountsItsTableNames) {
  const std::string stamp = "25/11/2026 14:05";
  const std::string forecast = "Items:3 Folders:1 ";
  const std::string progress = "Filed:2 ";
  const std::string item = "(Quarterly figures for the boar) ";
  const struct {
    int32_t code;
    std::string line;
  } cases[] = {
      {0, " Processing Started " + forecast},
      {1, "   Agent Started (Inbox agent) " + forecast},
      {2, "   Agent Complete (Inbox agent) " + progress},
      {3, "     Filing Started " + forecast},
      {4, "       Folder Started (\\\\Personal Folders\\Inbox) " + forecast},
      {5, "       Folder Complete (\\\\Personal Folders\\Inbox) " + progress},
      {6, "         Item Started " + item + forecast},
      {7, "         Item Complete " + item + progress},
      {8, "     Importing Started " + forecast},
      {9, "     Importing Complete " + progress},
      {10, " Processing Complete " + progress},
      {11, " Backup Started " + forecast},
      {12, "     Filing Complete " + progress},
      {13, " Backup Complete " + progress},
      {14, "     Purging Started " + forecast},
      {15, "     Purging Complete " + progress},
      {16, " Processing Stopped " + progress},
      {17, "     Store Started Archive 2026 " + forecast},
      {18, "     Store Complete Archive 2026 " + progress},
      // An error names the item and ends, like a start, with what is expected.
      {21, "         Processing Error " + item + forecast},
      // No entry: the stamp alone, still on top.
      {19, ""},
      {20, ""},
      {22, ""},
      {-1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(Event(c.code), stamp + c.line);
  }
  EXPECT_EQ(entries.LineCount(), std::size(cases));
  EXPECT_THAT(log->records, IsEmpty());
}

TEST_F(ProcessingLogTest, TheNewestLineStandsOnTopTextsAreCutByCharactersAndTheStampReadsTwice) {
  fake->forecast = {};
  fake->item = MakeRef<Item>("Lunch");
  Event(0);
  clock.AdvanceSeconds(20);  // the same minute: the same stamp
  Event(6);
  EXPECT_EQ(entries.Text(),
            "25/11/2026 14:05         Item Started (Lunch) \r\n"
            "25/11/2026 14:05 Processing Started \r\n");
  fake->item = MakeRef<Item>("Überweisung für die Miete im Dezember 2026");
  EXPECT_EQ(Event(7),
            "25/11/2026 14:05         Item Complete (Überweisung für die Miete im D) Filed:2 ");
  // The date and the time are read apart: a midnight between shows both days.
  SteppingClock stepping(DateTimeSerial(2026, 11, 25, 23, 59, 59), 1.0);
  Services steppingServices{.clock = stepping, .host = &host};
  Context steppingCtx{steppingServices};
  ProcessingLog late{steppingCtx, monitor, entries};
  int32_t code = 19;
  late.mobjMonitor_ProcessingStatus(code);
  EXPECT_EQ(entries.Line(0), "25/11/2026 00:00");
}

TEST_F(ProcessingLogTest, AFailureLosesTheLineOrShortensItsDetailsAndIsTraced) {
  Event(0);
  const std::string before = entries.Text();
  // No item in hand: the handler's line is lost, the box keeps its text.
  fake->item = Ref<OutlookItem>();
  Event(6);
  EXPECT_EQ(entries.Text(), before);
  ASSERT_EQ(log->records.size(), 1U);
  EXPECT_EQ(log->records[0].procedure, "mobjVellix_ProcessingStatus");
  EXPECT_EQ(log->records[0].number, 91);
  // A counter that fails ends its details there; the line goes on.
  log->records.clear();
  fake->forecast.Add(MakeRef<FakeCount>("Broken", 1, true));
  fake->forecast.Add(MakeRef<FakeCount>("Never", 4));
  EXPECT_EQ(Event(0), "25/11/2026 14:05 Processing Started Items:3 Folders:1 ");
  EXPECT_THAT(log->records, ElementsAre(LogRecord{"frmPopup", "ForecastLogDetails",
                                                  "Invalid procedure call or argument", 5}));
  // With no monitor at all the line is lost as well, and the next event is
  // handled as usual once there is one again.
  log->records.clear();
  monitor = Ref<Monitor>();
  Event(10);
  EXPECT_EQ(entries.LineCount(), 2U);
  monitor = fake;
  fake->forecast = {};
  EXPECT_EQ(Event(0), "25/11/2026 14:05 Processing Started ");
}

TEST_F(ProcessingLogTest, EventDataStringTestsTheNeighbouringCounterWhereItAlwaysHas) {
  const auto text = [&](std::vector<int> counts) {
    std::vector<Variant> data;
    for (int n : counts)
      data.emplace_back(static_cast<int32_t>(n));
    return processing.EventDataString(data);
  };
  EXPECT_EQ(text({10, 4, 0, 0, 0, 0, 0, 0, 0}), "Total Items: 10 Items To Process: 4");
  // Progress shows by the added count; the newer copies by the duplicates.
  EXPECT_EQ(text({10, 4, 7, 0, 0, 0, 9, 0, 0}), "Total Items: 10 Items To Process: 4");
  EXPECT_EQ(text({10, 4, 0, 2, 0, 3, 0, 0, 0}),
            "Total Items: 10 Items To Process: 4 Progress: 0 Items Added To File: 2 Duplicates: 3 "
            "File Copies More Recent: 0");
  EXPECT_EQ(text({1, 2, 3, 4, 5, 6, 7, 8, 9}),
            "Total Items: 1 Items To Process: 2 Progress: 3 Items Added To File: 4 Updated Items: "
            "5 Duplicates: 6 File Copies More Recent: 7 Errors: 8 Purged: 9");
  EXPECT_THAT(log->records, IsEmpty());
  // Fewer than nine counters: what was built so far, and the trace.
  EXPECT_EQ(text({1, 2, 3, 4}),
            "Total Items: 1 Items To Process: 2 Progress: 3 Items Added To File: 4");
  ASSERT_EQ(log->records.size(), 1U);
  EXPECT_EQ(log->records[0].procedure, "EventDataString");
  EXPECT_EQ(log->records[0].number, 9);
}

}  // namespace
}  // namespace vellix
