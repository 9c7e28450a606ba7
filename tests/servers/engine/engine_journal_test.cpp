// The call journal and the fault switches that panel tests rely on.
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "foundation/vb_error.h"

namespace vellix::engine::test {
namespace {

using Texts = std::vector<std::string>;

TEST_F(EngineTest, TheJournalRecordsEveryWriteAndCallInOrderButNoRead) {
  auto config = Config();
  config->ResetConfig();
  config->PeriodUnits("Quarter");
  (void)config->SetPeriodFormat("File '@yyyy mmm'-'$mmm'");
  auto agent = config->CreateAgent("Received Emails");
  (void)agent->AddFolder("\\\\Mailbox\\Inbox");
  agent->MonitorType("Mail and Post");
  agent->RemovePeriod(7);
  (void)agent->AddImport("\\\\Archive", true);
  config->HistoryName("History");
  config->PeriodCount(1);
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
      (Texts{"ResetConfig", "put PeriodUnits Quarter", "SetPeriodFormat File '@yyyy mmm'-'$mmm'",
             "CreateAgent Received Emails", "AddFolder \\\\Mailbox\\Inbox",
             "put MonitorType Mail and Post", "put RemovePeriod 7", "AddImport \\\\Archive, True",
             "put HistoryName History", "put PeriodCount 1", "put ReferenceDate 01/01/2024",
             "put BackupUnattended False", "put LoggingLevel Verbose", "BackupManagerOpen True"}));
  EXPECT_EQ(engine->Journal().TextsFor("Agent Received Emails"),
            (Texts{"AddFolder \\\\Mailbox\\Inbox", "put MonitorType Mail and Post",
                   "put RemovePeriod 7", "AddImport \\\\Archive, True"}));
  EXPECT_EQ(engine->Journal().Count("put RemovePeriod"), 1);
  EXPECT_EQ(engine->Journal().Count("put Remove"), 0);  // whole operations only
  EXPECT_EQ(engine->Journal().Count("put StoreCount"), 0);
  EXPECT_TRUE(engine->Journal().Contains("put RemovePeriod 7"));

  engine->ClearJournal();
  EXPECT_TRUE(engine->Journal().Entries().empty());
}

TEST_F(EngineTest, AFailingCallRaisesANegativeNumberAndChangesNothing) {
  auto agent = Config()->CreateAgent("Received Emails");
  engine->FailCall("put RemovePeriod", -2147024891);
  try {
    agent->RemovePeriod(7);
    ADD_FAILURE() << "the write went through";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), -2147024891);
  }
  EXPECT_EQ(agent->RemovePeriod(), 30);
  // It was received all the same, and other operations work.
  EXPECT_EQ(engine->Journal().Count("put RemovePeriod"), 1);
  agent->StoreCount(2);
  EXPECT_EQ(agent->StoreCount(), 2);

  // A count of calls, a read, and a positive number turned negative.
  engine->ClearFaults();
  engine->FailCall("CreateAgent", -1, 1);
  EXPECT_THROW(Config()->CreateAgent("Tasks"), VbError);
  EXPECT_EQ(Config()->CreateAgent("Tasks")->Name(), "Tasks");
  engine->FailCall("get Config", 5);
  try {
    (void)engine->Config();
    ADD_FAILURE() << "the read went through";
  } catch (const VbError& e) {
    EXPECT_LT(e.Number(), 0);
  }
  engine->ClearFaults();
  EXPECT_FALSE(engine->Config().IsNothing());
}

TEST_F(EngineTest, AFailedRecoveryLeavesTheConfigurationAlone) {
  Config()->CreateAgent("Notes");
  engine->FailRecoverConfig(true);
  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "c:\\Store", "config.xml"));
  EXPECT_EQ(Config()->Agents().Count(), 1);
  EXPECT_TRUE(engine->Journal().Contains("RecoverConfig e:\\Backups, c:\\Store, config.xml"));
}

}  // namespace
}  // namespace vellix::engine::test
