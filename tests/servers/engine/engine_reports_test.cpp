// How the engine answers the panel: its reports, their order and nesting.
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "foundation/runtime.h"

namespace vellix::engine::test {
namespace {

// Records every report of the engine as one text line.
class ReportTrace {
 public:
  explicit ReportTrace(VellixEngine& engine)
      : configured_(engine.OnConfigured.Connect(
            [this](bool v) { lines.push_back("Configured " + BoolText(v)); })),
        run_(engine.OnRun.Connect([this](bool v) { lines.push_back("Run " + BoolText(v)); })),
        activity_(engine.OnActivity.Connect(
            [this](const std::string& a) { lines.push_back("Activity " + a); })) {}

  std::vector<std::string> lines;

 private:
  Connection configured_;
  Connection run_;
  Connection activity_;
};

using Lines = std::vector<std::string>;

TEST_F(EngineTest, AnnounceReportsTheTrueStateAndRunOnlyWhenRunning) {
  ReportTrace trace(*engine);
  engine->Announce();
  EXPECT_EQ(trace.lines, Lines{"Configured False"});

  Configure();
  engine->Running(true);
  trace.lines.clear();
  engine->Announce();
  EXPECT_EQ(trace.lines, (Lines{"Configured True", "Run True"}));

  // The state outlives the program: a new engine on the same file says the same.
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

TEST_F(EngineTest, EachWriteIsAnsweredOnceAndARepeatedValueNeedsNoAnswer) {
  ReportTrace trace(*engine);
  Configure();
  engine->Configured(true);
  engine->Running(true);
  engine->Running(true);
  engine->Running(false);
  engine->Running(false);
  EXPECT_EQ(trace.lines, (Lines{"Configured True", "Run True", "Run False"}));

  // Shutdown is answered by its activity, and the configuration stays.
  trace.lines.clear();
  engine->Shutdown();
  EXPECT_EQ(trace.lines, Lines{"Activity Shutdown"});
  EXPECT_TRUE(engine->Configured());
}

TEST_F(EngineTest, AnUnconfiguredEngineRefusesToStartAndSaysItIsStopped) {
  ReportTrace trace(*engine);
  engine->Running(true);
  EXPECT_EQ(trace.lines, Lines{"Run False"});
  EXPECT_FALSE(engine->Running());
}

TEST_F(EngineTest, ReturningToQuickSetupStopsTheEngineFirst) {
  Configure();
  engine->Running(true);
  ReportTrace trace(*engine);
  engine->Configured(false);
  EXPECT_EQ(trace.lines, (Lines{"Run False", "Configured False"}));
  EXPECT_FALSE(engine->Running());
  EXPECT_FALSE(engine->Configured());
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

TEST_F(EngineTest, AMonitorIsAlwaysThereAndIdleWithoutAProcessor) {
  auto monitor = engine->Monitor();
  ASSERT_FALSE(monitor.IsNothing());
  EXPECT_EQ(engine->Monitor(), monitor);  // one monitor, whose events the log follows
  EXPECT_FALSE(monitor->Processing());
  EXPECT_TRUE(monitor->CurrentAgent().IsNothing());
  EXPECT_TRUE(monitor->CurrentItem().IsNothing());
  EXPECT_EQ(monitor->Progress().Count(), 0);
  EXPECT_EQ(engine->ForecastItemCount(), 0);
}

// Stands where a processing run plugs in and notes what the engine asks of it.
class RecordingHooks : public ProcessingHooks {
 public:
  explicit RecordingHooks(Lines& calls) : calls_(calls) {}
  void Started(EngineCore& /*core*/) override { calls_.push_back("Started"); }
  void Stopping(EngineCore& /*core*/) override { calls_.push_back("Stopping"); }
  void FileNow(EngineCore& /*core*/, int16_t agentId) override {
    calls_.push_back("FileNow " + std::to_string(agentId));
  }
  void PurgeNow(EngineCore& /*core*/, int16_t agentId) override {
    calls_.push_back("PurgeNow " + std::to_string(agentId));
  }
  int32_t ForecastItemCount(EngineCore& /*core*/) override { return 42; }
  void Flush(EngineCore& /*core*/) override { calls_.push_back("Flush"); }
  void BackupFinished(EngineCore& /*core*/) override { calls_.push_back("BackupFinished"); }

 private:
  Lines& calls_;
};

TEST_F(EngineTest, AProcessingRunIsToldWhenTheEngineStartsStopsAndIsAskedToWork) {
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
  EXPECT_EQ(calls, (Lines{"Run True", "Started", "FileNow " + id, "PurgeNow " + id, "Flush",
                          "BackupFinished", "Stopping", "Run False"}));

  // An engine that was running when it closed takes up its work at the next start.
  engine->Running(true);
  calls.clear();
  engine = std::make_shared<EngineServer>(engineFile, paths, clock, log,
                                          std::make_unique<RecordingHooks>(calls));
  EXPECT_EQ(calls, Lines{"Started"});
}

}  // namespace
}  // namespace vellix::engine::test
