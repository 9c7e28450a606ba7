// Period stores: made when the engine runs, attached, backed up, recovered.
#include <string>

#include "engine_fixture.h"
#include "servers/engine/engine_server_connector.h"
#include "servers/engine/store_file.h"

namespace vellix::engine::test {
namespace {

using std::filesystem::exists;

// A store file as the engine makes it, for another period.
void MakeForeignStore(const std::filesystem::path& file, const std::string& name) {
  std::string error;
  ASSERT_TRUE(CreateStoreFile(file, name, DateSerial(2019, 1, 1), DateSerial(2020, 1, 1), &error))
      << error;
}

TEST_F(EngineTest, StartingTheEngineMakesTheStoreOfThePresentPeriod) {
  Configure();
  ASSERT_TRUE(Config()->SetPeriodFormat("File '@yyyy mmm'-'$mmm'"));
  Config()->PeriodUnits("Quarter");
  engine->Running(true);

  auto periods = Config()->Periods();
  ASSERT_EQ(periods.Count(), 1);
  auto period = periods.Item("File 2024 Apr-Jun");
  EXPECT_EQ(period->Name(), "File 2024 Apr-Jun");
  EXPECT_EQ(period->FileName(), "c:\\Orvane Vellix Store\\File 2024 Apr-Jun.pst");
  EXPECT_EQ(period->BackupFile(), period->FileName());
  EXPECT_EQ(period->BackupFileLabel(), "File 2024 Apr-Jun.pst");
  EXPECT_TRUE(exists(Native(period->FileName())));
  EXPECT_EQ(period->Valid(), -1);
  EXPECT_EQ(period->Free(), -1);
  EXPECT_EQ(period->FileSize(),
            static_cast<int32_t>(std::filesystem::file_size(Native(period->FileName()))));
  EXPECT_GT(period->FileSize(), 0);
  EXPECT_TRUE(period->Connected());
  EXPECT_EQ(period->LastBackup(), Date());
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

TEST_F(EngineTest, APosixStoreFolderGetsSlashesAndAClashingNameANumber) {
  Configure();
  const std::string store = (root / "posix store").string();
  Config()->StoreLocation(store);
  ASSERT_TRUE(
      Config()->SetPeriodFormat("Store"
                                "'@mmm'"));
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

TEST_F(EngineTest, WithoutAStoreFolderTheEngineRunsAndLogsWhyThereIsNoStore) {
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
}

TEST_F(EngineTest, AStoreFileOfTheStoreFolderCanBeAttachedOnce) {
  Configure();
  auto config = Config();
  MakeForeignStore(Native("c:\\Orvane Vellix Store\\File 2019.pst"), "File 2019");
  WriteText(Native("c:\\Orvane Vellix Store\\Notes.pst"), "not a store");

  EXPECT_FALSE(config->AttachPeriod("Notes.pst"));
  EXPECT_FALSE(config->AttachPeriod("Missing.pst"));
  EXPECT_FALSE(config->AttachPeriod("c:\\Orvane Vellix Store\\File 2019.pst"));
  EXPECT_TRUE(config->AttachPeriod("FILE 2019.PST"));
  EXPECT_FALSE(config->AttachPeriod("File 2019.pst"));

  ASSERT_EQ(config->Periods().Count(), 1);
  auto period = config->Period("File 2019");
  ASSERT_FALSE(period.IsNothing());
  EXPECT_EQ(period->Valid(), -1);
  EXPECT_EQ(period->FileName(), "c:\\Orvane Vellix Store\\File 2019.pst");
  EXPECT_TRUE(engine->Journal().Contains("AttachPeriod FILE 2019.PST"));
}

TEST_F(EngineTest, BackupStatusFollowsThePolicyAndTheCopyInTheBackupFolder) {
  Configure();
  engine->Running(true);
  auto config = Config();
  auto period = config->Period("File 2024");
  ASSERT_FALSE(period.IsNothing());

  // No reachable backup folder: no status to be had, nothing located.
  EXPECT_EQ(period->BackupStatus(), 0);
  EXPECT_EQ(period->LastLocated(), Date());
  config->BackupLocation("e:\\Backups");
  MakeFolder("e:\\Backups");

  config->BackupPolicy(0);
  EXPECT_EQ(period->BackupStatus(), 1);

  config->BackupPolicy(1);  // by the copy in the backup folder
  EXPECT_EQ(period->BackupStatus(), 1);
  std::filesystem::copy_file(Native(period->FileName()), Native("e:\\Backups\\File 2024.pst"));
  EXPECT_EQ(period->BackupStatus(), 2);
  EXPECT_NE(period->LastLocated(), Date());
  WriteText(Native(period->FileName()), ReadText(Native(period->FileName())) + "new items");
  EXPECT_EQ(period->BackupStatus(), 1);

  config->BackupPolicy(2);  // by the recorded backup
  EXPECT_EQ(period->BackupStatus(), 1);
  period->LastBackup(DateSerial(2099, 1, 1));
  EXPECT_EQ(period->BackupStatus(), 2);
  period->LastBackup(DateSerial(2000, 1, 1));
  EXPECT_EQ(period->BackupStatus(), 1);
}

TEST_F(EngineTest, AFinishedBackupSavesTheConfigurationThatRecoveryBringsBack) {
  Configure();
  engine->Running(true);
  auto config = Config();
  config->BackupLocation("e:\\Backups");
  MakeFolder("e:\\Backups");
  auto agent = config->CreateAgent("Received Emails");
  agent->RemovePeriod(7);
  std::filesystem::copy_file(Native(config->Period("File 2024")->FileName()),
                             Native("e:\\Backups\\File 2024.pst"));
  engine->BackupFinished();

  // The saved copy is read by a configuration file reader; the engine's own file is not one.
  EngineServerConnector connector(engine, paths);
  std::string savedName;
  for (const auto& entry : std::filesystem::directory_iterator(Native("e:\\Backups"))) {
    if (entry.path().extension() == ".xml") savedName = entry.path().filename().string();
  }
  const std::string saved = "e:\\Backups\\" + savedName;
  ASSERT_FALSE(savedName.empty());
  auto info = connector.NewConfigFileInfo();
  ASSERT_TRUE(info->Load(saved));
  EXPECT_EQ(info->FileName(), saved);
  EXPECT_EQ(info->SavedTime(), clock.Now());
  EXPECT_EQ(info->Description(), "15 May 2024 10:30 - 1 agent, 1 period store");
  EXPECT_FALSE(connector.NewConfigFileInfo()->Load(engineFile.string()));
  EXPECT_FALSE(connector.NewConfigFileInfo()->Load("e:\\Backups\\File 2024.pst"));

  // The store is lost; a new quick setup starts; recovery brings both back.
  engine->Configured(false);
  config->ResetConfig();
  std::filesystem::remove_all(Native("c:\\Orvane Vellix Store"));
  ASSERT_TRUE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", savedName));
  EXPECT_FALSE(engine->Configured());  // until the panel declares it finished
  EXPECT_FALSE(engine->Running());
  config = Config();
  EXPECT_EQ(config->Agent("Received Emails")->RemovePeriod(), 7);
  EXPECT_EQ(config->StoreLocation(), "d:\\New Store");
  EXPECT_EQ(config->BackupLocation(), "e:\\Backups");
  auto period = config->Period("File 2024");
  ASSERT_FALSE(period.IsNothing());
  EXPECT_EQ(period->FileName(), "d:\\New Store\\File 2024.pst");
  EXPECT_EQ(period->Valid(), -1);

  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", "File 2024.pst"));
  EXPECT_FALSE(engine->RecoverConfig("e:\\Backups", "d:\\New Store", "nothing.xml"));
}

}  // namespace
}  // namespace vellix::engine::test
