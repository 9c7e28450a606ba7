// What the configuration answers: agents, lookups, defaults and settings.
#include <string>
#include <tuple>
#include <vector>

#include "engine_fixture.h"

namespace vellix::engine::test {
namespace {

std::vector<std::string> Names(const Collection<Ref<Agent>>& agents) {
  std::vector<std::string> names;
  for (const auto& a : agents)
    names.push_back(a->Name());
  return names;
}

TEST_F(EngineTest, AgentsAreFoundByNameInAnyCaseOrByIdNamesStayUniqueAndDeletedOnesStayGone) {
  auto config = Config();
  auto mail = config->CreateAgent("Received Emails");
  auto sent = config->CreateAgent("Sent Emails");
  for (const char* unknown : {"Notes", "", "99", "1x"})
    EXPECT_TRUE(config->Agent(unknown).IsNothing()) << unknown;
  EXPECT_TRUE(config->Period("File 2024").IsNothing());
  EXPECT_EQ(config->Watermark("Notes"), Date());
  EXPECT_EQ(config->Agent(std::to_string(mail->Id()))->Name(), "Received Emails");
  EXPECT_EQ(config->Agent("received emails")->Id(), mail->Id());
  EXPECT_EQ(config->Agents().Item("RECEIVED EMAILS")->Id(), mail->Id());

  EXPECT_LT(ErrorNumber([&] { config->CreateAgent("RECEIVED EMAILS"); }), 0);
  EXPECT_LT(ErrorNumber([&] { sent->Name("received emails"); }), 0);
  EXPECT_LT(ErrorNumber([&] { sent->Name("  "); }), 0);
  EXPECT_EQ(sent->Name(), "Sent Emails");
  // A rename is found by the new name, and by its id as before.
  mail->Name("Inbox");
  EXPECT_TRUE(config->Agent("Received Emails").IsNothing());
  EXPECT_EQ(config->Agent("Inbox")->Id(), mail->Id());
  mail->Name("INBOX");  // its own name in another case is no clash
  EXPECT_EQ(config->Agent(std::to_string(mail->Id()))->Name(), "INBOX");

  // A deleted agent is gone, and its old object fails with a server error.
  auto notes = config->CreateAgent("Notes");
  const int16_t notesId = notes->Id();
  config->CreateAgent("Tasks");
  config->DeleteAgent("notes");
  EXPECT_EQ(Names(config->Agents()), (std::vector<std::string>{"INBOX", "Sent Emails", "Tasks"}));
  EXPECT_LT(ErrorNumber([&] { (void)notes->StoreCount(); }), 0);
  EXPECT_LT(ErrorNumber([&] { notes->RemovePeriod(5); }), 0);
  EXPECT_LT(ErrorNumber([&] { config->DeleteAgent("Notes"); }), 0);
  // A new agent does not take the id of the deleted one, so the old object stays dead.
  EXPECT_NE(config->CreateAgent("")->Id(), notesId);
  EXPECT_TRUE(config->Agent(std::to_string(notesId)).IsNothing());
}

TEST_F(EngineTest, ANewAgentGetsAFreshNameTheDocumentedDefaultsAndAnUnknownType) {
  auto config = Config();
  config->CreateAgent("Agent 2");
  auto first = config->CreateAgent("");
  auto third = config->CreateAgent("");
  EXPECT_EQ(Names(config->Agents()), (std::vector<std::string>{"Agent 2", "Agent 1", "Agent 3"}));
  EXPECT_NE(first->Id(), third->Id());

  EXPECT_EQ(std::tuple(first->MonitorType(), first->StoreCount(), first->StoreUnits(),
                       first->StoreFormat(), first->RemovePeriod(), first->FileAfterCount(),
                       first->FileAfterUnits(), first->PurgeNotify()),
            std::tuple("Unknown", 1, "Year", "'@yyyy'", 30, 1, "Day", 0));
  EXPECT_EQ(std::tuple(first->FileDisabled(), first->PurgeDisabled(), first->SubFolders(),
                       first->Folders().Count(), first->Periods().Count()),
            std::tuple(false, false, true, 0, 0));
  EXPECT_EQ(first->ImportTime(), Date());
}

TEST_F(EngineTest, FoldersAndTheImportListKeepOneEntryPerPath) {
  auto agent = Config()->CreateAgent("Received Emails");
  EXPECT_TRUE(agent->AddFolder("\\\\Mailbox\\Inbox"));
  EXPECT_FALSE(agent->AddFolder("\\\\mailbox\\inbox"));
  EXPECT_FALSE(agent->AddFolder(""));
  EXPECT_TRUE(agent->AddFolder("\\\\Mailbox\\Inbox\\Orders"));
  agent->RemoveFolder("\\\\MAILBOX\\Inbox");
  agent->RemoveFolder("\\\\Mailbox\\Nowhere");
  EXPECT_EQ(agent->Folders().Values(), std::vector<std::string>{"\\\\Mailbox\\Inbox\\Orders"});

  EXPECT_TRUE(agent->AddImport("\\\\Archive\\Old", false));
  EXPECT_TRUE(agent->AddImport("\\\\Archive\\Older", true));
  EXPECT_FALSE(agent->ImportSubFolders("\\\\Archive\\Old"));
  EXPECT_TRUE(agent->ImportSubFolders("\\\\Archive\\Older"));
  EXPECT_FALSE(agent->ImportSubFolders("\\\\Archive\\Unknown"));
  EXPECT_FALSE(agent->AddImport("\\\\archive\\old", true));  // adding again only sets the flag
  EXPECT_TRUE(agent->ImportSubFolders("\\\\Archive\\Old"));
  agent->SetImportSubfolders("\\\\Archive\\Older", false);
  EXPECT_FALSE(agent->ImportSubFolders("\\\\Archive\\Older"));
  agent->RemoveImport("\\\\Archive\\Old");
  EXPECT_EQ(agent->ImportFolders().Values(), std::vector<std::string>{"\\\\Archive\\Older"});
}

TEST_F(EngineTest, ResetConfigRemovesAgentsAndPeriodsAndRestoresTheDefaults) {
  Configure();
  engine->Running(true);  // makes the present period
  auto config = Config();
  config->CreateAgent("Calendar");
  config->BackupEveryCount(3);
  config->BackupUnattended(true);
  ASSERT_TRUE(config->SetPeriodFormat("Store '@yyyy mmm'"));
  ASSERT_EQ(config->Periods().Count(), 1);
  const auto storeFile = Native(config->Periods().Item(1)->FileName());

  config->ResetConfig();
  EXPECT_EQ(std::tuple(config->Agents().Count(), config->Periods().Count(),
                       config->BackupEveryCount(), config->BackupEveryUnits(),
                       config->BackupUnattended(), config->PeriodFormat(), config->StoreLocation()),
            std::tuple(0, 0, 1, "Week", false, "File '@yyyy'", ""));
  EXPECT_EQ(config->ReferenceDate(), DateSerial(2024, 1, 1));
  EXPECT_EQ(config->CreateAgent("")->Name(), "Agent 1");
  // The engine's own state is no setting, and no store file is ever deleted.
  EXPECT_TRUE(engine->Configured());
  EXPECT_TRUE(engine->Running());
  EXPECT_TRUE(std::filesystem::exists(storeFile));
}

TEST_F(EngineTest, SetPeriodFormatRefusesAFormatThatCannotNameAStore) {
  auto config = Config();
  EXPECT_TRUE(config->SetPeriodFormat("File '@yyyy mmm'-'$mmm'"));
  for (const char* bad :
       {"", "File", "File @yyyy", "''", "File '@yyyy", "File '@dd/mm/yyyy'", "'$'", "'yyyy'"}) {
    EXPECT_FALSE(config->SetPeriodFormat(bad)) << bad;
  }
  EXPECT_EQ(config->PeriodFormat(), "File '@yyyy mmm'-'$mmm'");
  EXPECT_FALSE(log->records.empty());  // a refusal is logged with its reason

  engine->RefuseSetPeriodFormat(true);
  EXPECT_FALSE(config->SetPeriodFormat("File '@yyyy'"));
  EXPECT_EQ(config->PeriodFormat(), "File '@yyyy mmm'-'$mmm'");
  engine->ClearFaults();
  EXPECT_TRUE(config->SetPeriodFormat("File '@yyyy'"));
}

TEST_F(EngineTest, BackupSettingsFollowTheClockTheIntervalAndTheFolder) {
  auto config = Config();
  EXPECT_TRUE(config->BackupDue());  // never scheduled: a backup is owed
  config->NextBackup(DateTimeSerial(2024, 5, 15, 10, 31, 0));
  EXPECT_FALSE(config->BackupDue());
  clock.AdvanceSeconds(60);
  EXPECT_TRUE(config->BackupDue());

  EXPECT_EQ(config->BackupEverySeconds(), 7 * 86400);  // the default: a week
  // Real lengths; a count below one is one, an unknown unit is days, and the
  // largest Long is the most.
  const std::tuple<int32_t, const char*, int32_t> intervals[] = {
      {2, "Day", 2 * 86400},        {2, "Hours", 2 * 3600}, {2, "Month", 2 * 365 * 86400 / 12},
      {4, "Quarters", 365 * 86400}, {30, "Minute", 1800},   {10, "Second", 10},
      {2, "Fortnight", 2 * 86400},  {0, "Day", 86400},      {-3, "Week", 604800},
      {100000, "Year", 2147483647}};
  for (const auto& [count, units, seconds] : intervals) {
    config->BackupEveryCount(count);
    config->BackupEveryUnits(units);
    EXPECT_EQ(config->BackupEverySeconds(), seconds) << count << " " << units;
  }

  EXPECT_FALSE(config->BackupLocationAvailable());
  config->BackupLocation("e:\\Backups");
  EXPECT_FALSE(config->BackupLocationAvailable());
  MakeFolder("e:\\Backups");
  EXPECT_TRUE(config->BackupLocationAvailable());
  config->BackupLocation((root / "posix-backups").string());
  EXPECT_FALSE(config->BackupLocationAvailable());
  std::filesystem::create_directories(root / "posix-backups");
  EXPECT_TRUE(config->BackupLocationAvailable());
}

}  // namespace
}  // namespace vellix::engine::test
