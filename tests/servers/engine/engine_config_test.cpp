#include <string>
#include <tuple>
#include <vector>

#include "engine_fixture.h"
#include "servers/engine/engine_file.h"

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
  // Under quarterly periods a new agent's stores are a quarter long; a
  // longer period leaves the year.
  config->PeriodCount(1);
  config->PeriodUnits("Quarter");
  auto quarterly = config->CreateAgent("");
  EXPECT_EQ(std::tuple(quarterly->StoreCount(), quarterly->StoreUnits()), std::tuple(1, "Quarter"));
  config->PeriodCount(2);
  config->PeriodUnits("Year");
  auto yearly = config->CreateAgent("");
  EXPECT_EQ(std::tuple(yearly->StoreCount(), yearly->StoreUnits()), std::tuple(1, "Year"));
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
}

// Every field different from its default, texts with characters XML must escape;
// the values are in the order of the fields.
EngineData EveryFieldSet() {
  EngineData d;
  d.settings = EngineSettings(true, true, "Verbose", "File '@yyyy mmm'-'$mmm' <&>\"", 3, "Month",
                              Date(45292.123456789012), "c:\\Orvane Vellix Store", "/home/u/b", 9,
                              "Day", Date(45400.5), Date(45399.25), 2, true, "Old Things");
  d.nextAgentId = 12;
  d.savedTime = Date(45401.75);
  const std::vector<std::string> folders = {"\\\\Mailbox\\Inbox", "\\\\Mailbox\\Inbox\\Sub"};
  const std::vector<ImportFolderData> imports = {{"\\\\Archive\\A", false},
                                                 {"\\\\Archive\\B", true}};
  const std::vector<std::string> periods(1, "File 2024 Jan-Mar");
  d.agents.push_back(AgentData(11, "Received Emails", "Mail and Post", folders, false, 2, "Quarter",
                               "'@MMM'-'$MMM'", -4, "Hours", true, 7, true, 2, imports,
                               Date(45401.5), 123456, 12, 34, Date(45000.0), Date(45300.0),
                               Date(45350.5), Date(45351.5), Date(45352.5), periods));
  d.agents.push_back(d.agents[0]);
  d.agents[1].id = 3;
  d.agents[1].name = "Calendar";
  d.agents[1].folders.clear();
  d.periods.push_back(PeriodData(periods[0], "c:\\Orvane Vellix Store\\File 2024 Jan-Mar.pst",
                                 Date(45292.0), Date(45383.0), Date(45390.5), Date(45380.5),
                                 Date(45293.5), Date(45382.5), 999, false));
  return d;
}

TEST(EngineFile, EveryPropertyOfEveryAgentAndPeriodRoundTrips) {
  const EngineData data = EveryFieldSet();
  const EngineFileRead read = ParseEngineText(EngineFileText(data));
  ASSERT_EQ(read.outcome, EngineFileRead::Outcome::Loaded) << read.error;
  EXPECT_TRUE(read.data == data);
  // Nothing is left to defaults: a default record differs from what was read.
  EXPECT_FALSE(read.data.agents[0] == AgentData{});
  EXPECT_EQ(EngineFileText(read.data), EngineFileText(data));
}

TEST_F(EngineTest, WhatThePanelWritesIsThereAfterARestart) {
  Configure();
  auto config = Config();
  config->BackupLocation("e:\\Backups");
  config->NextBackup(Date(45500.5));
  config->BackupUnattended(true);
  engine->LoggingLevel("Off");
  auto agent = config->CreateAgent("Calendar");
  (void)agent->AddFolder("\\\\Mailbox\\Calendar");
  agent->StoreUnits("Quarter");
  agent->RemovePeriod(7);
  agent->FileDisabled(true);
  (void)agent->AddImport("\\\\Archive", false);
  agent->ImportTime(Date(45430.75));
  engine->Running(true);
  config->Periods().Item(1)->LastBackup(Date(45420.5));
  const std::string before = WrittenEngineText();
  log->records.clear();
  Restart();
  config = Config();
  agent = config->Agent("Calendar");
  ASSERT_FALSE(agent.IsNothing());
  ASSERT_EQ(config->Periods().Count(), 1);
  EXPECT_EQ(std::tuple(engine->LoggingLevel(), config->BackupLocation(), config->NextBackup(),
                       config->BackupUnattended(), config->Periods().Item(1)->LastBackup()),
            std::tuple("Off", "e:\\Backups", Date(45500.5), true, Date(45420.5)));
  EXPECT_EQ(std::tuple(agent->StoreUnits(), agent->RemovePeriod(), agent->FileDisabled(),
                       agent->ImportSubFolders("\\\\Archive"), agent->ImportTime(),
                       agent->Folders().Item(1)),
            std::tuple("Quarter", 7, true, false, Date(45430.75), "\\\\Mailbox\\Calendar"));
  // The restart changed nothing, so the file is written back the same.
  config->BackupUnattended(true);
  EXPECT_EQ(WrittenEngineText(), before);
  EXPECT_TRUE(log->records.empty()) << log->records.front().message;
}

TEST_F(EngineTest, AMissingOrUnreadableEngineFileStartsAnUnconfiguredEngineAndKeepsTheFile) {
  // The fixture's engine started with no file at all, and writes none until something changes.
  EXPECT_FALSE(engine->Configured());
  EXPECT_TRUE(LogSays(*log, "starts unconfigured"));
  EXPECT_FALSE(std::filesystem::exists(engineFile));
  EXPECT_EQ(engine->Notice(), "");
  struct Case {
    std::string text;
    std::string says;  // what the notice names besides the files
  };
  const std::string settingsFromEntity =
      "<VellixEngine FormatVersion=\"1\"><Settings PeriodFormat=\"&x;\"/></VellixEngine>";
  const Case cases[] = {
      {"<VellixEngine FormatVersion=\"1\">\n<Settings Configured=\"True\"", "line 2, column 27"},
      {"<Something/>", "<Something>"},
      {"<VellixEngine FormatVersion=\"7\"/>", "\"7\""},
      {std::string("\x00\x01\xff garbage", 12), "line 1, column 1"},
      // A value taken as something else would be written back as that.
      {"<VellixEngine FormatVersion=\"1\">\n  <Settings Configured=\"True\" "
       "ReferenceDate=\"1 Jan 2024\"/>\n</VellixEngine>",
       "ReferenceDate \"1 Jan 2024\" can't be read (line 2, column 3)"},
      // The first problem is said, and the others counted.
      {"<VellixEngine FormatVersion=\"1\"><Agents><Agent Id=\"4\" Name=\"Notes\" "
       "RemovePeriod=\"x\" PurgeNotify=\"maybe\"/></Agents></VellixEngine>",
       "RemovePeriod \"x\" can't be read (line 1, column 41), and 1 more"},
      {"<VellixEngine FormatVersion=\"1\"><Agents><Agent Id=\"4\" Name=\"Notes\"/>"
       "<Agent Id=\"5\" Name=\"notes\"/></Agents></VellixEngine>",
       "repeats the Id or name"},
      {"<VellixEngine FormatVersion=\"1\"><Periods><Period Name=\"\"/></Periods></VellixEngine>",
       "has no name"},
      // A document type declaration is refused, not expanded.
      {"<!DOCTYPE VellixEngine [<!ENTITY x \"'@yyyy'\">]>\n" + settingsFromEntity,
       "document type declaration"},
      {"<!DOCTYPE VellixEngine SYSTEM \"file:///etc/passwd\">\n" + settingsFromEntity,
       "document type declaration"},
      {"<VellixEngine FormatVersion=\"1\"><!DOCTYPE x></VellixEngine>", "malformed"},
  };
  const std::string stamp = engineFile.string() + ".corrupt-20240515-103000";
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.says);
    const std::string kept = i == 0 ? stamp : stamp + "-" + std::to_string(i + 1);
    WriteText(engineFile, c.text);
    log->records.clear();
    Restart();
    EXPECT_FALSE(engine->Configured());
    EXPECT_EQ(engine->OpenError(), "");
    // What the user had is kept, byte for byte, under a name of its own.
    EXPECT_EQ(ReadText(kept), c.text);
    EXPECT_FALSE(std::filesystem::exists(engineFile));
    for (const std::string& part : {engineFile.string(), kept, c.says})
      EXPECT_NE(engine->Notice().find(part), std::string::npos) << engine->Notice();
    // A fresh start: the defaults, and a change writes a fresh file.
    EXPECT_EQ(Config()->ReferenceDate(), DateSerial(2024, 1, 1));
    Config()->CreateAgent("Notes");
    EXPECT_EQ(ParseEngineText(WrittenEngineText()).outcome, EngineFileRead::Outcome::Loaded);
  }
  // A file that can't be had is no reason to start afresh: the engine can't
  // be used, and it writes nothing.
  std::filesystem::remove(engineFile);
  std::filesystem::create_directories(engineFile / "inside");
  Restart();
  EXPECT_NE(engine->OpenError().find(engineFile.string()), std::string::npos);
  Config()->CreateAgent("Tasks");
  EXPECT_TRUE(std::filesystem::exists(engineFile / "inside"));
}

}  // namespace
}  // namespace vellix::engine::test
