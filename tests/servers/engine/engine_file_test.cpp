// The engine's own file: what it keeps, and how it meets a bad file.
#include <algorithm>
#include <string>
#include <tuple>

#include "engine_fixture.h"
#include "servers/engine/engine_file.h"

namespace vellix::engine::test {
namespace {

bool LogSays(const vellix::test::RecordingErrorLog& log, const std::string& words) {
  return std::any_of(log.records.begin(), log.records.end(),
                     [&](const auto& r) { return r.message.find(words) != std::string::npos; });
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
  const std::string before = ReadText(engineFile);

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
  EXPECT_EQ(ReadText(engineFile), before);
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
  const Case cases[] = {
      {"<VellixEngine FormatVersion=\"1\">\n<Settings Configured=\"True\"", "line 2, column 27"},
      {"<Something/>", "<Something>"},
      {"<VellixEngine FormatVersion=\"7\"/>", "\"7\""},
      {std::string("\x00\x01\xff garbage", 12), "line 1, column 1"},
      // A value taken as something else would be written back as that.
      {"<VellixEngine FormatVersion=\"1\">\n  <Settings Configured=\"True\" "
       "ReferenceDate=\"1 Jan 2024\"/>\n</VellixEngine>",
       "ReferenceDate \"1 Jan 2024\" can't be read (line 2, column 3)"},
      {"<VellixEngine FormatVersion=\"1\"><Agents><Agent Id=\"4\" Name=\"Notes\" "
       "RemovePeriod=\"x\"/></Agents></VellixEngine>",
       "RemovePeriod \"x\""},
      {"<VellixEngine FormatVersion=\"1\"><Agents><Agent Id=\"4\" Name=\"Notes\"/>"
       "<Agent Id=\"5\" Name=\"notes\"/></Agents></VellixEngine>",
       "repeats the Id or name"},
      {"<VellixEngine FormatVersion=\"1\"><Periods><Period Name=\"\"/></Periods></VellixEngine>",
       "has no name"},
  };
  const std::string stamp = engineFile.string() + ".corrupt-20240515-103000";
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    const std::string kept = i == 0 ? stamp : stamp + "-" + std::to_string(i + 1);
    WriteText(engineFile, c.text);
    log->records.clear();
    Restart();
    EXPECT_FALSE(engine->Configured()) << c.says;
    EXPECT_EQ(engine->OpenError(), "");
    // What the user had is kept, byte for byte, under a name of its own.
    EXPECT_EQ(ReadText(kept), c.text);
    EXPECT_FALSE(std::filesystem::exists(engineFile));
    for (const std::string& part : {engineFile.string(), kept, c.says})
      EXPECT_NE(engine->Notice().find(part), std::string::npos) << engine->Notice();
    // A fresh start: the defaults, and a change writes a fresh file.
    EXPECT_EQ(Config()->ReferenceDate(), DateSerial(2024, 1, 1));
    Config()->CreateAgent("Notes");
    EXPECT_EQ(ParseEngineText(ReadText(engineFile)).outcome, EngineFileRead::Outcome::Loaded);
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

TEST_F(EngineTest, AnEngineFileThatCannotBeWrittenIsLoggedAndTheValuesStay) {
  std::filesystem::create_directories(engineFile);  // a folder where the file should be
  auto config = Config();
  config->BackupEveryCount(5);
  EXPECT_EQ(config->BackupEveryCount(), 5);
  EXPECT_TRUE(LogSays(*log, "can't be written"));
}

}  // namespace
}  // namespace vellix::engine::test
