// Periods and their stores, and how the engine reports to the panel.
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "foundation/runtime.h"
#include "servers/engine/period_calendar.h"

namespace vellix::engine::test {
namespace {

using std::filesystem::exists;

Date D(int year, int month, int day) {
  return DateSerial(year, month, day);
}

TEST(PeriodCalendar, ThePeriodHoldingAMomentIsCountedFromTheReferenceDay) {
  const Date ref = D(2024, 1, 1);
  const Date may = DateTimeSerial(2024, 5, 15, 10, 30, 0);
  struct Case {
    Date ref;
    int count;
    const char* units;
    Date when, start, end;
  };
  const Case cases[] = {
      {ref, 1, "Year", may, D(2024, 1, 1), D(2025, 1, 1)},
      {ref, 1, "Quarter", may, D(2024, 4, 1), D(2024, 7, 1)},
      {ref, 2, "Month", may, D(2024, 5, 1), D(2024, 7, 1)},
      {ref, 1, "Week", may, D(2024, 5, 13), D(2024, 5, 20)},
      {ref, 1, "days", may, D(2024, 5, 15), D(2024, 5, 16)},
      // The first moment of a period belongs to it, the first of the next does not.
      {ref, 1, "Quarter", D(2024, 7, 1), D(2024, 7, 1), D(2024, 10, 1)},
      // Before the reference day, and with a reference in the middle of a month.
      {D(2024, 3, 10), 1, "Year", may, D(2024, 3, 10), D(2025, 3, 10)},
      {D(2024, 3, 10), 1, "Year", D(2023, 1, 5), D(2022, 3, 10), D(2023, 3, 10)},
      {D(2024, 1, 10), 1, "Week", D(2024, 1, 9), D(2024, 1, 3), D(2024, 1, 10)},
      // The 31st falls back to the last day of a shorter month, and comes back.
      {D(2024, 1, 31), 1, "Month", D(2024, 2, 29), D(2024, 2, 29), D(2024, 3, 31)},
      // A count below one is one, an unknown unit a year.
      {ref, 0, "Fortnight", may, D(2024, 1, 1), D(2025, 1, 1)}};
  for (const auto& c : cases) {
    const PeriodSpan span = PeriodCovering(c.ref, c.count, c.units, c.when);
    EXPECT_TRUE(span.start == c.start && span.end == c.end)
        << c.count << " " << c.units << " from " << c.ref.Serial() << " at " << c.when.Serial()
        << ": " << span.start.Serial() << " - " << span.end.Serial();
  }
  // Tokens are expanded in quotes only.
  const PeriodSpan q1{D(2024, 1, 1), D(2024, 4, 1)};
  EXPECT_EQ(ExpandStoreName("'@MMM'-'$MMM'", q1, Locale::English()), "Jan-Mar");
  EXPECT_EQ(ExpandStoreName("yyyy 'Store' '$dd mmmm'", q1, Locale::English()),
            "yyyy Store 31 March");
}

TEST_F(EngineTest, StartingTheEngineMakesTheStoreOfThePresentPeriod) {
  Configure();
  ASSERT_TRUE(Config()->SetPeriodFormat("File '@yyyy mmm'-'$mmm'"));
  Config()->PeriodUnits("Quarter");
  engine->Running(true);
  auto periods = Config()->Periods();
  ASSERT_EQ(periods.Count(), 1);
  auto period = periods.Item("File 2024 Apr-Jun");
  EXPECT_EQ(period->FileName(), "c:\\Orvane Vellix Store\\File 2024 Apr-Jun.pst");
  EXPECT_EQ(period->BackupFile(), period->FileName());
  EXPECT_EQ(period->BackupFileLabel(), "File 2024 Apr-Jun.pst");
  EXPECT_EQ(period->Valid(), -1);  // the file is there, and a store
  EXPECT_TRUE(period->Connected());
  EXPECT_EQ(period->Config()->StoreLocation(), "c:\\Orvane Vellix Store");
  EXPECT_EQ(Config()->Period("file 2024 apr-jun")->Name(), "File 2024 Apr-Jun");
  // A store file that goes bad no longer reads as valid.
  WriteText(Native(period->FileName()), "scribbled over");
  EXPECT_EQ(period->Valid(), 0);
  EXPECT_EQ(period->FileSize(), 14);
  // Stopping and starting in the same period makes no second store; a new
  // quarter makes its own.
  engine->Running(false);
  engine->Running(true);
  EXPECT_EQ(Config()->Periods().Count(), 1);
  engine->Running(false);
  clock.Set(DateTimeSerial(2024, 7, 1, 0, 0, 1));
  engine->Running(true);
  EXPECT_FALSE(Config()->Period("File 2024 Jul-Sep").IsNothing());
  EXPECT_EQ(Config()->Periods().Count(), 2);
}

TEST_F(EngineTest, AStoreIsMadeOnlyWhereItCanBeAndNeverOverAnotherFile) {
  Configure();
  Config()->StoreLocation("");
  engine->Running(true);
  EXPECT_TRUE(engine->Running());
  EXPECT_EQ(Config()->Periods().Count(), 0);
  EXPECT_EQ(log->records.back().message,
            "No store location is set, so no period store can be made");
  // A file that is no store where the store should go is left alone.
  engine->Running(false);
  Config()->StoreLocation("c:\\Store");
  WriteText(Native("c:\\Store\\File 2024.pst"), "a user's own file");
  engine->Running(true);
  EXPECT_EQ(Config()->Periods().Count(), 0);
  EXPECT_EQ(ReadText(Native("c:\\Store\\File 2024.pst")), "a user's own file");
  // A POSIX store folder gets slashes, and a name that clashes a number.
  engine->Running(false);
  const std::string store = (root / "posix store").string();
  Config()->StoreLocation(store);
  ASSERT_TRUE(Config()->SetPeriodFormat("Store'@mmm'"));
  Config()->PeriodUnits("Month");
  engine->Running(true);
  engine->Running(false);
  clock.Set(DateSerial(2025, 5, 2));  // May again, a year on
  engine->Running(true);
  auto periods = Config()->Periods();
  ASSERT_EQ(periods.Count(), 2);
  EXPECT_EQ(periods.Item(1)->FileName(), store + "/StoreMay.pst");
  EXPECT_EQ(periods.Item(2)->Name(), "StoreMay (2)");
  EXPECT_TRUE(exists(store + "/StoreMay (2).pst"));
}

using Lines = std::vector<std::string>;

// Records every report of the engine as one text line.
class ReportTrace {
 public:
  explicit ReportTrace(VellixEngine& engine)
      : configured_(engine.OnConfigured.Connect(
            [this](bool v) { lines.push_back("Configured " + BoolText(v)); })),
        run_(engine.OnRun.Connect([this](bool v) { lines.push_back("Run " + BoolText(v)); })),
        activity_(engine.OnActivity.Connect(
            [this](const std::string& a) { lines.push_back("Activity " + a); })) {}
  Lines lines;

 private:
  Connection configured_;
  Connection run_;
  Connection activity_;
};

TEST_F(EngineTest, EachChangeOfStateIsReportedOnceAndAnnounceRepeatsTheTrueState) {
  ReportTrace trace(*engine);
  engine->Announce();     // no run report while stopped
  engine->Running(true);  // unconfigured: refused, and said to be stopped
  EXPECT_FALSE(engine->Running());
  Configure();
  engine->Configured(true);  // a repeated value needs no answer
  engine->Running(true);
  engine->Running(true);
  engine->Announce();
  engine->Running(false);
  engine->Running(false);
  engine->Running(true);
  engine->Shutdown();  // answered by its activity; the configuration stays
  EXPECT_TRUE(engine->Configured());
  engine->Configured(false);  // returning to quick setup stops first
  EXPECT_FALSE(engine->Running());
  EXPECT_EQ(trace.lines, (Lines{"Configured False", "Run False", "Configured True", "Run True",
                                "Configured True", "Run True", "Run False", "Run True",
                                "Activity Shutdown", "Run False", "Configured False"}));
  // The state outlives the program: a new engine on the same file says the same.
  Configure();
  engine->Running(true);
  Restart();
  ReportTrace afterRestart(*engine);
  engine->Announce();
  EXPECT_EQ(afterRestart.lines, (Lines{"Configured True", "Run True"}));
}

TEST_F(EngineTest, ReportsArriveNestedInsideTheWriteThatCausedThem) {
  Lines order;
  // A handler that starts the engine as soon as it is configured, the way the
  // panel's Quick setup does with a modal form open.
  auto onConfigured = engine->OnConfigured.Connect([&](bool v) {
    order.push_back("Configured " + BoolText(v) + " begins");
    engine->Running(true);
    order.push_back("Configured " + BoolText(v) + " ends");
  });
  auto onRun = engine->OnRun.Connect([&](bool v) { order.push_back("Run " + BoolText(v)); });
  Config()->StoreLocation("c:\\Store");
  order.push_back("write begins");
  engine->Configured(true);
  order.push_back("write ends");
  EXPECT_EQ(order, (Lines{"write begins", "Configured True begins", "Run True",
                          "Configured True ends", "write ends"}));
  EXPECT_TRUE(engine->Running());
}

TEST_F(EngineTest, DelayedReportsWaitForTheTestAndComeInOrder) {
  ReportTrace trace(*engine);
  engine->DelayReports(true);
  Configure();
  engine->Running(true);
  // The engine's truth has changed, the panel has not been told yet.
  EXPECT_TRUE(engine->Configured());
  EXPECT_TRUE(engine->Running());
  EXPECT_TRUE(trace.lines.empty());
  EXPECT_EQ(engine->PendingReports(), 2);
  // A report held while releasing (a handler writing back) is released too.
  auto stopOnRun = engine->OnRun.Connect([&](bool v) {
    if (v) engine->Running(false);
  });
  engine->ReleaseReports();
  EXPECT_EQ(trace.lines, (Lines{"Configured True", "Run True", "Run False"}));
  EXPECT_EQ(engine->PendingReports(), 0);
  // Without the switch, reports come at once again.
  stopOnRun.Disconnect();
  engine->DelayReports(false);
  trace.lines.clear();
  engine->Configured(false);
  EXPECT_EQ(trace.lines, Lines{"Configured False"});
}

// Stands where a processing run plugs in and notes what the engine asks of it.
class RecordingHooks : public ProcessingHooks {
 public:
  explicit RecordingHooks(Lines& calls) : calls_(calls) {}
  void Started(EngineCore&) override { calls_.push_back("Started"); }
  void Stopping(EngineCore&) override { calls_.push_back("Stopping"); }
  void FileNow(EngineCore&, int16_t id) override { calls_.push_back("File " + std::to_string(id)); }
  void PurgeNow(EngineCore&, int16_t id) override {
    calls_.push_back("Purge " + std::to_string(id));
  }
  int32_t ForecastItemCount(EngineCore&) override { return 42; }
  void Flush(EngineCore&) override { calls_.push_back("Flush"); }
  void BackupFinished(EngineCore&) override { calls_.push_back("BackupFinished"); }

 private:
  Lines& calls_;
};

TEST_F(EngineTest, AProcessingRunIsToldWhenTheEngineStartsStopsAndIsAskedToWork) {
  // Without a processing run there is one idle monitor, whose events the log follows.
  auto monitor = engine->Monitor();
  ASSERT_FALSE(monitor.IsNothing());
  EXPECT_EQ(engine->Monitor(), monitor);
  EXPECT_FALSE(monitor->Processing());
  EXPECT_TRUE(monitor->CurrentAgent().IsNothing());
  EXPECT_EQ(engine->ForecastItemCount(), 0);
  Lines calls;
  engine = std::make_shared<EngineServer>(engineFile, paths, clock, log,
                                          std::make_unique<RecordingHooks>(calls));
  auto onRun = engine->OnRun.Connect([&](bool v) { calls.push_back("Run " + BoolText(v)); });
  Configure();
  engine->Running(true);
  auto agent = Config()->CreateAgent("Tasks");
  agent->RunFile();
  agent->RunPurge();
  EXPECT_EQ(engine->ForecastItemCount(), 42);
  engine->Flush();
  engine->BackupFinished();
  engine->Running(false);
  const std::string id = std::to_string(agent->Id());
  EXPECT_EQ(calls, (Lines{"Run True", "Started", "File " + id, "Purge " + id, "Flush",
                          "BackupFinished", "Stopping", "Run False"}));
  // An engine that was running when it closed takes up its work at the next start.
  engine->Running(true);
  calls.clear();
  engine = std::make_shared<EngineServer>(engineFile, paths, clock, log,
                                          std::make_unique<RecordingHooks>(calls));
  EXPECT_EQ(calls, Lines{"Started"});
}

TEST_F(EngineTest, TheJournalRecordsEveryWriteAndCallInOrderButNoRead) {
  auto config = Config();
  config->ResetConfig();
  (void)config->SetPeriodFormat("File '@yyyy mmm'-'$mmm'");
  auto agent = config->CreateAgent("Received Emails");
  (void)agent->AddFolder("\\\\Mailbox\\Inbox");
  agent->MonitorType("Mail and Post");
  agent->RemovePeriod(7);
  (void)agent->AddImport("\\\\Archive", true);
  config->ReferenceDate(DateSerial(2024, 1, 1));
  config->BackupUnattended(false);
  engine->LoggingLevel("Verbose");
  engine->BackupManagerOpen(true);
  // Reads and lookups leave no trace.
  (void)config->Agent("Received Emails")->StoreCount();
  (void)config->Agents();
  (void)engine->Running();
  EXPECT_EQ(
      engine->Journal().Texts(),
      (Lines{"ResetConfig", "SetPeriodFormat File '@yyyy mmm'-'$mmm'",
             "CreateAgent Received Emails", "AddFolder \\\\Mailbox\\Inbox",
             "put MonitorType Mail and Post", "put RemovePeriod 7", "AddImport \\\\Archive, True",
             "put ReferenceDate 01/01/2024", "put BackupUnattended False",
             "put LoggingLevel Verbose", "BackupManagerOpen True"}));
  EXPECT_EQ(engine->Journal().TextsFor("Agent Received Emails"),
            (Lines{"AddFolder \\\\Mailbox\\Inbox", "put MonitorType Mail and Post",
                   "put RemovePeriod 7", "AddImport \\\\Archive, True"}));
  EXPECT_EQ(engine->Journal().Count("put Remove"), 0);  // whole operations only
  // A panel running for weeks keeps the latest calls only.
  for (size_t i = 0; i < CallJournal::kLimit; ++i)
    engine->LoggingLevel(i % 2 == 0 ? "Normal" : "Verbose");
  EXPECT_LE(engine->Journal().Entries().size(), CallJournal::kLimit);
  EXPECT_GE(engine->Journal().Entries().size(), CallJournal::kLimit / 2);
  EXPECT_EQ(engine->Journal().Texts().back(), "put LoggingLevel Verbose");
  EXPECT_FALSE(engine->Journal().Contains("ResetConfig"));
  engine->ClearJournal();
  EXPECT_TRUE(engine->Journal().Entries().empty());
}

TEST_F(EngineTest, AFailingCallRaisesANegativeNumberAndChangesNothing) {
  auto agent = Config()->CreateAgent("Received Emails");
  engine->FailCall("put RemovePeriod", -2147024891);
  EXPECT_EQ(ErrorNumber([&] { agent->RemovePeriod(7); }), -2147024891);
  EXPECT_EQ(agent->RemovePeriod(), 30);
  // It was received all the same, and other operations work.
  EXPECT_EQ(engine->Journal().Count("put RemovePeriod"), 1);
  agent->StoreCount(2);
  EXPECT_EQ(agent->StoreCount(), 2);
  // A count of calls, a read, and a positive number turned negative.
  engine->ClearFaults();
  engine->FailCall("CreateAgent", -1, 1);
  EXPECT_EQ(ErrorNumber([&] { Config()->CreateAgent("Tasks"); }), -1);
  EXPECT_EQ(Config()->CreateAgent("Tasks")->Name(), "Tasks");
  engine->FailCall("get Config", 5);
  EXPECT_LT(ErrorNumber([&] { (void)engine->Config(); }), 0);
  engine->ClearFaults();
  EXPECT_FALSE(engine->Config().IsNothing());
  // A failed recovery leaves the configuration alone.
  engine->FailRecoverConfig(true);
  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "c:\\Store", "config.xml"));
  EXPECT_EQ(Config()->Agents().Count(), 2);
  EXPECT_TRUE(engine->Journal().Contains("RecoverConfig e:\\Backups, c:\\Store, config.xml"));
}

}  // namespace
}  // namespace vellix::engine::test
