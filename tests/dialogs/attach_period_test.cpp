#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "foundation/tree_view.h"
#include "panels/panel_test.h"
#include "servers/engine/store_file.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using test::Rows;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

class AttachPeriod : public ::testing::Test {
 protected:
  // The engine's store folder and its periods, each "name=file" with the
  // file's path as the engine keeps it.
  void Engine(const std::vector<std::pair<std::string, std::string>>& periods) {
    std::string xml;
    for (const auto& [name, file] : periods)
      xml += "<Period Name=\"" + name + "\" FileName=\"" + file + "\" />";
    w.LoadEngine("", xml);
    w.Start();
    w.log->records.clear();
  }
  fs::path Store() const { return w.dir / "store"; }
  void Put(const std::string& name) { test::WriteText(Store() / name, "not a store"); }
  // Opens the dialog as the Import panel's Attach does.
  FrmAttachPeriod& Open() {
    EXPECT_TRUE(w.popup.tabControlOptions.UserSelectTab("Import"));
    EXPECT_TRUE(w.popup.import.cmdImAttach.UserClick());
    EXPECT_TRUE(w.attachPeriod.Visible());
    return w.attachPeriod;
  }
  [[nodiscard]] int AttachCalls() const { return w.engine->Journal().Count("AttachPeriod"); }
  test::PopupWorld w;
};

TEST_F(AttachPeriod, OffersTheStoreFilesOfTheStoreFolderThatNoPeriodClaims) {
  struct Case {
    const char* file;
    bool offered;
  };
  const std::vector<Case> cases = {
      {"Loose 2023.pst", true},
      {"LOOSE 2022.PST", true},
      {"Mixed.Pst", true},
      // A name with no point is its own extension.
      {"pst", true},
      {"Loose 2023.pst.bak", false},
      {"notes.txt", false},
      {"pst.txt", false},
      // Claimed by a period under another case of its path.
      {"Archive 2024.pst", false},
  };
  Engine({{"Archive 2024", (Store() / "ARCHIVE 2024.PST").string()}});
  std::vector<std::string> offered;
  for (const Case& c : cases) {
    Put(c.file);
    if (c.offered) offered.emplace_back(c.file);
  }
  // A folder is no file, whatever its name.
  fs::create_directories(Store() / "Folder.pst");
  FrmAttachPeriod& dialog = Open();
  EXPECT_THAT(Rows(dialog.lstPeriods), UnorderedElementsAreArray(offered));
  EXPECT_EQ(dialog.Caption(), w.Text(".Strings.frmAttachPeriod.Caption"));
  EXPECT_EQ(dialog.cmdOK.Caption(), w.Text(".Strings.frmAttachPeriod.cmdOK"));
  // The width from the texts, the rest from the metrics.
  EXPECT_EQ(dialog.Width(), 6600);
  const LayoutMetrics& m = dialog.Metrics();
  EXPECT_EQ(dialog.cmdCancel.Left() + dialog.cmdCancel.Width(),
            dialog.Width() - 2 * m.FormBLRBorder - m.Border);
  EXPECT_EQ(dialog.cmdOK.Top(), dialog.lstPeriods.Top() + dialog.lstPeriods.Height() + m.Border);
  ASSERT_TRUE(dialog.cmdCancel.UserClick());
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_EQ(AttachCalls(), 0);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(AttachPeriod, OkWithNothingChosenClosesAFileThatIsNoStoreIsRefusedAMissingFolderIsTraced) {
  // Every store is a period's: the list is empty.
  Engine({{"Archive 2024", (Store() / "Archive 2024.pst").string()}});
  Put("Archive 2024.pst");
  FrmAttachPeriod& dialog = Open();
  EXPECT_THAT(Rows(dialog.lstPeriods), IsEmpty());
  ASSERT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_FALSE(dialog.Loaded());
  // A file offered, none chosen.
  Put("Impostor.pst");
  Open();
  ASSERT_THAT(Rows(dialog.lstPeriods), ElementsAre("Impostor.pst"));
  ASSERT_EQ(dialog.lstPeriods.ListIndex(), -1);
  ASSERT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_EQ(AttachCalls(), 0);
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  // Chosen, it is no store: refused once.
  Open();
  ASSERT_TRUE(dialog.lstPeriods.UserClickRow(0));
  ASSERT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(w.Text(".Strings.frmAttachPeriod.MsgFail")));
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_EQ(w.engine->Config()->Periods().Count(), 1);
  EXPECT_THAT(w.Problems(), IsEmpty());
  // A missing store folder leaves the list empty and a trace.
  fs::remove_all(Store());
  Open();
  EXPECT_THAT(Rows(dialog.lstPeriods), IsEmpty());
  EXPECT_THAT(w.Problems(),
              ElementsAre(test::LogRecord{"frmAttachPeriod", "LoadForm", "Path not found", 76}));
  ASSERT_TRUE(dialog.cmdCancel.UserClick());
}

TEST_F(AttachPeriod, AStoreBroughtBackBecomesAPeriodTheSummaryLists) {
  Engine({});
  // A store made elsewhere, copied into the store folder.
  const fs::path elsewhere = w.dir / "elsewhere" / "Archive 2019.pst";
  fs::create_directories(elsewhere.parent_path());
  std::string error;
  ASSERT_TRUE(engine::CreateStoreFile(elsewhere, "Archive 2019", DateSerial(2019, 1, 1),
                                      DateSerial(2020, 1, 1), &error))
      << error;
  fs::copy_file(elsewhere, Store() / "Archive 2019.pst");
  FrmAttachPeriod& dialog = Open();
  ASSERT_THAT(Rows(dialog.lstPeriods), ElementsAre("Archive 2019.pst"));
  ASSERT_TRUE(dialog.lstPeriods.UserClickRow(0));
  ASSERT_TRUE(dialog.cmdOK.UserClick());
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_EQ(w.engine->Journal().Count("AttachPeriod Archive 2019.pst"), 1);
  ASSERT_EQ(w.engine->Config()->Periods().Count(), 1);
  EXPECT_EQ(w.engine->Config()->Periods().Item(1)->Name(), "Archive 2019");
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  // The Summary, entered again, lists the new period.
  ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Summary"));
  std::vector<std::string> listed;
  for (const TreeNode* node : w.popup.summary.tvwSuSelector.Nodes("PeriodsRoot").Children())
    listed.push_back(node->Text());
  EXPECT_THAT(listed, ElementsAre("Archive 2019"));
  // Offered no more.
  Open();
  EXPECT_THAT(Rows(dialog.lstPeriods), IsEmpty());
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix
