#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "foundation/agent.h"
#include "foundation/date.h"
#include "foundation/desktop.h"
#include "foundation/engine_config.h"
#include "panels/panel_test.h"
#include "servers/engine/engine_file.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// The real file system listing each folder by name, A to Z or Z to A: the
// order the dialog reads files in is then the test's to choose.
class ListedByName : public FileSystem {
 public:
  explicit ListedByName(FileSystem& real) : real_(real) {}
  bool descending = false;
  bool FolderExists(const std::string& path) override { return real_.FolderExists(path); }
  void CreateFolder(const std::string& path) override { real_.CreateFolder(path); }
  std::string GetSpecialFolder(int32_t which) override { return real_.GetSpecialFolder(which); }
  std::string GetTempName() override { return real_.GetTempName(); }
  void WriteTextFile(const std::string& path, const std::string& text) override {
    real_.WriteTextFile(path, text);
  }
  void DeleteFile(const std::string& path) override { real_.DeleteFile(path); }
  bool FileExists(const std::string& path) override { return real_.FileExists(path); }
  std::vector<FolderFile> FilesOf(const std::string& folder) override {
    std::vector<FolderFile> files = real_.FilesOf(folder);
    std::sort(files.begin(), files.end(),
              [](const FolderFile& a, const FolderFile& b) { return a.name < b.name; });
    if (descending) std::reverse(files.begin(), files.end());
    return files;
  }

 private:
  FileSystem& real_;
};

// A configuration copy as the engine saves it beside a backup; its text.
std::string WriteSaved(const fs::path& file, Date saved, int agents) {
  engine::EngineData data;
  data.settings.configured = true;
  data.savedTime = saved;
  for (int i = 1; i <= agents; ++i) {
    engine::AgentData agent;
    agent.id = static_cast<int16_t>(i);
    agent.name = "Agent " + std::to_string(i);
    data.agents.push_back(agent);
  }
  data.nextAgentId = static_cast<int16_t>(agents + 1);
  std::string text = engine::EngineFileText(data);
  test::WriteText(file, text);
  return text;
}

int RecoverEvents(const test::PopupWorld& w) {
  const auto trace = w.StateTrace();
  return static_cast<int>(std::count_if(trace.begin(), trace.end(), [](const std::string& line) {
    return line.ends_with("Event: Recover");
  }));
}

Date On(int month) {
  return DateTimeSerial(2026, month, 1, 10, 0, 0);
}

// A first start, Quick setup on screen, whose folder listings the test orders.
class Recover : public ::testing::Test {
 protected:
  Recover() : listed_(*w.files) {
    w.services.fileSystem = &listed_;
    fs::create_directories(source);
    fs::create_directories(store);
    w.PresetHidden(false);
    w.Start();
    w.log->records.clear();  // the start's own report of an unconfigured engine
  }
  // Quick setup's Recover for these folders; `step` must close the dialog.
  void Open(const fs::path& from, const fs::path& to, const std::function<void(FrmRecover&)>& step,
            bool byButton = true) {
    QuickSetupPanel& qs = w.popup.quickSetup;
    qs.txtBackupPath.Text(from.string());
    qs.txtStorePath.Text(to.string());
    int shown = 0;
    w.host.OnModal("frmRecover", [&](Form& form) {
      ++shown;
      step(dynamic_cast<FrmRecover&>(form));
    });
    if (byButton) {
      ASSERT_TRUE(qs.cmdRecover.UserClick());
    } else {
      qs.cmdRecover_Click();  // the page is no longer in sight
    }
    ASSERT_EQ(shown, 1);
    EXPECT_FALSE(w.recover.Loaded());
  }
  std::string Text(const std::string& key) const { return w.Text(".Strings.frmRecover." + key); }
  std::string Saved(const std::string& name) const { return (source / name).string(); }
  test::PopupWorld w;
  ListedByName listed_;
  const fs::path source = w.dir / "backups";
  const fs::path store = w.dir / "store";
};

TEST_F(Recover, TheListRunsOldestFirstWithTheNewestChosenAndEqualTimesInReverseOfTheirReading) {
  WriteSaved(source / "a early.xml", On(3), 1);
  WriteSaved(source / "b same.xml", On(6), 2);
  WriteSaved(source / "c same.xml", On(6), 3);
  const std::string late = WriteSaved(source / "d late.xml", On(9), 4);
  // What else a backup folder may hold, none of it a saved configuration; the
  // engine's own file has no saved time; a sub-folder is not searched.
  test::WriteText(source / "e cut.xml", late.substr(0, late.size() / 2));
  test::WriteText(source / "f notes.txt", "not a configuration");
  test::WriteText(source / "File 2026.pst", std::string("\x00\x01SQLite", 8));
  test::WriteText(source / "g Engine.xml", engine::EngineFileText(engine::EngineData()));
  WriteSaved(source / "older" / "h deep.xml", On(10), 5);
  for (const bool descending : {false, true}) {
    SCOPED_TRACE(descending ? "read Z to A" : "read A to Z");
    listed_.descending = descending;
    Open(source, store, [&](FrmRecover& d) {
      std::vector<std::string> names, descriptions;
      for (const Ref<ConfigFileInfo>& info : d.ConfigFiles()) {
        names.push_back(info->FileName());
        descriptions.push_back(info->Description());
      }
      const char* middle[] = {"c same.xml", "b same.xml"};
      if (descending) std::swap(middle[0], middle[1]);
      ASSERT_THAT(names, ElementsAre(Saved("a early.xml"), Saved(middle[0]), Saved(middle[1]),
                                     Saved("d late.xml")));
      EXPECT_EQ(test::Rows(d.lstConfigFiles), descriptions);
      EXPECT_THAT(descriptions[3], ::testing::StartsWith("01 September 2026 10:00 - 4 agents"));
      // Without a click the newest is used, and no row shows as chosen.
      EXPECT_EQ(d.lstConfigFiles.ListIndex(), -1);
      EXPECT_EQ(d.ChosenFile(), Saved("d late.xml"));
      EXPECT_EQ(d.lblChosenConfig.Caption(), descriptions[3]);
      EXPECT_EQ(d.lblSourcePath.Caption() + "|" + d.lblDestinationPath.Caption(),
                source.string() + "|" + store.string());
      EXPECT_TRUE(d.cmdRecover.Enabled());
      ASSERT_TRUE(d.cmdCancel.UserClick());
    });
    EXPECT_THAT(w.recover.ConfigFiles().Values(), IsEmpty()) << "dropped at unload";
  }
  // Laid out in rows with the list under them and the buttons bottom right;
  // without a width of its own the data column sets the width.
  const std::string widthKey = std::string(FrmRecover::kTextNode) + ".Width";
  for (const bool ownWidth : {true, false}) {
    if (!ownWidth) test::SetKey(w, widthKey, Variant(0));
    Open(source, store, [&](FrmRecover& d) {
      const LayoutMetrics& lm = d.Metrics();
      const int32_t right = d.lstConfigFiles.Left() + d.lstConfigFiles.Width();
      EXPECT_EQ(d.Width(), ownWidth ? w.config->RootNode()->GetValue(widthKey).ToInteger()
                                    : 3 * lm.Border + lm.LabelColumnWidth + lm.DataColumnWidth +
                                          2 * lm.FormBLRBorder);
      EXPECT_EQ(right + lm.Border + 2 * lm.FormBLRBorder, d.Width());
      EXPECT_EQ(d.lblChosenConfig.Top(), d.lblUsing.Top());
      EXPECT_EQ(d.lblChosenConfig.Left() + d.lblChosenConfig.Width(), right);
      EXPECT_EQ(d.lstConfigFiles.Top(), lm.Border + 3 * (lm.Border + lm.RowHeight));
      EXPECT_EQ(d.cmdCancel.Left() + d.cmdCancel.Width(), right);
      EXPECT_EQ(d.cmdRecover.Left() + d.cmdRecover.Width() + lm.Border, d.cmdCancel.Left());
      EXPECT_EQ(d.cmdCancel.Top() + lm.RowHeight + lm.Border + lm.FormTopBorder + lm.FormBLRBorder,
                d.Height());
      ASSERT_TRUE(d.cmdCancel.UserClick());
    });
  }
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  EXPECT_THAT(w.Problems(), IsEmpty());
  EXPECT_EQ(RecoverEvents(w), 0);
  EXPECT_EQ(w.recover.Recovered(), "False");
}

TEST_F(Recover, FoldersThatCannotServeLeaveTheButtonAsTheyShouldAndOnlyAMissingSourceIsLogged) {
  fs::create_directories(w.dir / "empty");
  test::WriteText(w.dir / "strangers" / "notes.txt", "not a configuration");
  WriteSaved(source / "a.xml", On(3), 1);
  const std::string invalid = Text("InvalidFolder"), none = Text("NoConfigFile");
  ASSERT_FALSE(invalid.empty() || none.empty());
  const struct {
    fs::path from, to;
    std::string sourceShown, destinationShown;
    int rows;
    std::string chosenShown, chosenFile;
    bool enabled, logged;
  } cases[] = {
      {w.dir / "empty", store, (w.dir / "empty").string(), store.string(), 0, none, "", false,
       false},
      {w.dir / "strangers", store, (w.dir / "strangers").string(), store.string(), 0, none, "",
       false, false},
      {source, w.dir / "gone", source.string(), invalid, 1, "", Saved("a.xml"), false, false},
      // Listing a missing source fails and ends the load before the button is
      // looked at: it stays as it starts, with nothing chosen.
      {w.dir / "nowhere", store, invalid, store.string(), 0, "", "", true, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.from.string() + " to " + c.to.string());
    w.log->records.clear();
    Open(c.from, c.to, [&](FrmRecover& d) {
      EXPECT_EQ(d.lblSourcePath.Caption(), c.sourceShown);
      EXPECT_EQ(d.lblDestinationPath.Caption(), c.destinationShown);
      EXPECT_EQ(d.lstConfigFiles.ListCount(), c.rows);
      if (c.rows == 0 || !c.chosenShown.empty()) {
        EXPECT_EQ(d.lblChosenConfig.Caption(), c.chosenShown);
      }
      EXPECT_EQ(d.ChosenFile(), c.chosenFile);
      EXPECT_EQ(d.cmdRecover.Enabled(), c.enabled);
      ASSERT_TRUE(d.cmdCancel.UserClick());
    });
    if (c.logged) {
      EXPECT_THAT(w.Problems(),
                  ElementsAre(test::LogRecord{"frmRecover", "LoadForm", "Path not found", 76}));
    } else {
      EXPECT_THAT(w.Problems(), IsEmpty());
    }
  }
  // Recover pressed with nothing chosen: the engine refuses, the user is told.
  Open(w.dir / "nowhere", store, [&](FrmRecover& d) { ASSERT_TRUE(d.cmdRecover.UserClick()); });
  EXPECT_THAT(w.host.Prompts(), ElementsAre(Text("RecoveryFailed")));
  EXPECT_THAT(w.Journal(), Contains("RecoverConfig " + (w.dir / "nowhere").string() + ", " +
                                    store.string() + ", "));
  EXPECT_EQ(RecoverEvents(w), 0);
}

TEST_F(Recover, AClickedRowIsRecoveredAndOnceOneSucceededEvenACancelReportsARecovery) {
  WriteSaved(source / "a.xml", On(3), 1);
  WriteSaved(source / "b.xml", On(6), 2);
  WriteSaved(source / "d.xml", On(9), 4);
  const std::string failed = Text("RecoveryFailed");
  ASSERT_FALSE(failed.empty());
  // Each click chooses the member at the row's position; the engine refuses.
  w.engine->FailRecoverConfig(true);
  Open(source, store, [&](FrmRecover& d) {
    for (const auto& [row, file] : {std::pair{0, "a.xml"}, {2, "d.xml"}, {1, "b.xml"}}) {
      ASSERT_TRUE(d.lstConfigFiles.UserClickRow(row));
      EXPECT_EQ(d.ChosenFile(), Saved(file)) << row;
      EXPECT_EQ(d.lblChosenConfig.Caption(), d.lstConfigFiles.List(row));
    }
    ASSERT_TRUE(d.cmdRecover.UserClick());
  });
  EXPECT_THAT(w.host.Prompts(), ElementsAre(failed));
  EXPECT_THAT(w.Journal(), Contains("RecoverConfig " + source.string() + ", " + store.string() +
                                    ", " + Saved("b.xml")));
  EXPECT_EQ(RecoverEvents(w), 0);
  EXPECT_EQ(w.recover.Recovered(), "False");
  EXPECT_FALSE(w.engine->Configured());
  // The oldest, clicked, is what comes back; the machine hears of it.
  w.engine->FailRecoverConfig(false);
  Open(source, store, [&](FrmRecover& d) {
    ASSERT_TRUE(d.lstConfigFiles.UserClickRow(0));
    ASSERT_TRUE(d.cmdRecover.UserClick());
  });
  EXPECT_THAT(w.host.Prompts(), ElementsAre(failed)) << "no second message";
  EXPECT_EQ(RecoverEvents(w), 1);
  EXPECT_EQ(w.recover.Recovered(), "True");
  EXPECT_EQ(w.popup.ControlState(), MachineState::ConfiguredVisible);
  const auto agents = w.engine->Config()->Agents();
  ASSERT_EQ(agents.Count(), 1);
  EXPECT_EQ(agents.Item(1)->Name(), "Agent 1");
  // The one instance keeps its answer: a cancelled dialog reports it again.
  Open(
      source, store, [&](FrmRecover& d) { ASSERT_TRUE(d.cmdCancel.UserClick()); }, false);
  EXPECT_EQ(RecoverEvents(w), 2);
  EXPECT_EQ(w.recover.Recovered(), "True");
  EXPECT_THAT(w.host.Prompts(), SizeIs(1));
}

}  // namespace
}  // namespace vellix
