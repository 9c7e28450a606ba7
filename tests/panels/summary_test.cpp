#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/config_node.h"
#include "foundation/engine_config.h"
#include "panels/panel_test.h"
#include "support/temp_folder.h"

namespace vellix::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using NamedRows = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kSummary = ".Strings.ControlPanel.Summary";

// The engine as processing runs would have left it, read from its own file.
void LoadArchive(PopupWorld& w) {
  auto at = [](int y, int m, int d, int h, int n, int s) {
    std::ostringstream out;
    out.precision(17);
    out << '"' << DateTimeSerial(y, m, d, h, n, s).Serial() << '"';
    return out.str();
  };
  const fs::path store = w.dir / "store";
  WriteText(store / "File 2024.pst", std::string(1500, 'x'));
  w.LoadEngine(
      "<Agent Id=\"1\" Name=\"Received Emails\" MonitorType=\"Mail and Post\" "
      "ItemCount=\"1234567\" ItemsToPurge=\"42\" EarliestStore=" +
          at(2024, 1, 1, 0, 0, 0) + " MostRecentStore=" + at(2025, 1, 1, 12, 0, 0) +
          " LastFile=" + at(2026, 11, 21, 9, 30, 5) + " Watermark=" + at(2026, 11, 20, 18, 0, 0) +
          "><StorePeriod Name=\"File 2024\" /><StorePeriod Name=\"File 2025\" /></Agent>"
          "<Agent Id=\"2\" Name=\"Sent Emails\" MonitorType=\"Mail and Post\" />"
          "<Agent Id=\"3\" Name=\"calendar\" MonitorType=\"Calendar\" />",
      "<Period Name=\"File 2025\" FileName=\"x.pst\" />"
      "<Period Name=\"File 2024\" FileName=\"" +
          (store / "File 2024.pst").string() + "\" FirstEntry=" + at(2024, 1, 3, 8, 15, 0) +
          " LastEntry=" + at(2024, 12, 30, 17, 45, 30) +
          " LastBackup=" + at(2026, 11, 21, 22, 0, 0) + " Connected=\"False\" />");
}

NamedRows GridRows(const FlexGrid& grid) {
  NamedRows out;
  for (int32_t r = 0; r < grid.Rows(); ++r)
    out.emplace_back(grid.TextMatrix(r, 0), grid.TextMatrix(r, 1));
  return out;
}

std::optional<std::string> RowValue(const FlexGrid& grid, const std::string& name) {
  for (const auto& [rowName, value] : GridRows(grid)) {
    if (rowName == name) return value;
  }
  return std::nullopt;
}

std::vector<std::string> Texts(const std::vector<TreeNode*>& nodes) {
  std::vector<std::string> out;
  for (const TreeNode* node : nodes)
    out.push_back(node->Text());
  return out;
}

// A period whose backup status can be anything the engine might answer.
class StatusPeriod : public Period {
 public:
  StatusPeriod(Ref<EngineConfig> config, int16_t status)
      : config_(std::move(config)), status_(status) {}
  std::string Name() override { return "Odd"; }
  std::string FileName() override { return "Odd.pst"; }
  std::string BackupFile() override { return "Odd.pst"; }
  std::string BackupFileLabel() override { return "Odd.pst"; }
  int32_t FileSize() override { return 0; }
  int32_t Free() override { return -1; }
  int32_t Valid() override { return -1; }
  int16_t BackupStatus() override { return status_; }
  Date LastBackup() override { return {}; }
  void LastBackup(Date) override {}
  Date LastLocated() override { return {}; }
  Date Watermark() override { return {}; }
  Date FirstEntry() override { return {}; }
  Date LastEntry() override { return {}; }
  int32_t ItemCount() override { return 1234; }
  bool Connected() override { return true; }
  Ref<EngineConfig> Config() override { return config_; }

 private:
  Ref<EngineConfig> config_;
  int16_t status_;
};

TEST(SummaryPanel, SelectorListsAgentsAndPeriodsAndEachNodeShowsItsListOrItsFiguresInOrder) {
  PopupWorld w;
  LoadArchive(w);
  w.Start();
  SummaryPanel& su = w.popup.summary;
  TreeView& tree = su.tvwSuSelector;
  EXPECT_THAT(Texts(tree.Roots()), ElementsAre("Agents", "Periods"));
  EXPECT_THAT(Texts(tree.Nodes("Agents").Children()),
              ElementsAre("calendar", "Received Emails", "Sent Emails"));
  EXPECT_THAT(Texts(tree.Nodes("PeriodsRoot").Children()), ElementsAre("File 2024", "File 2025"));
  EXPECT_TRUE(tree.Nodes("PeriodsRoot").Selected());
  EXPECT_TRUE(tree.Nodes("Agents").Expanded());
  EXPECT_TRUE(tree.Nodes("PeriodsRoot").Expanded());
  // Selecting in code is no click: nothing is listed yet.
  EXPECT_EQ(su.fgcSuDetail.Rows(), 0);
  ASSERT_TRUE(tree.UserClickNode("Agents"));
  EXPECT_THAT(GridRows(su.fgcSuDetail),
              ElementsAre(Pair("calendar", "Calendar"), Pair("Received Emails", "Mail and Post"),
                          Pair("Sent Emails", "Mail and Post")));
  EXPECT_EQ(su.fgcSuDetail.CellAlignmentAt(1, 1), 2);
  // Coming back to the tab rebuilds the tree and leaves the list alone.
  su.Load();
  EXPECT_EQ(su.fgcSuDetail.Rows(), 3);
  EXPECT_TRUE(tree.Nodes("PeriodsRoot").Selected());
  ASSERT_TRUE(tree.UserClickNode("PeriodsRoot"));
  EXPECT_THAT(GridRows(su.fgcSuDetail), ElementsAre(Pair("File 2024", "03/01/2024 - 30/12/2024"),
                                                    Pair("File 2025", "30/12/1899 - 30/12/1899")));
  EXPECT_TRUE(su.LeaveSummary());
  EXPECT_THAT(w.Problems(), IsEmpty());
  // Tree, grid and buttons lie inside the panel; the columns fill the grid.
  const LayoutMetrics& m = w.popup.Metrics();
  const FlexGrid& grid = su.fgcSuDetail;
  const int32_t height = w.popup.picSu.Height();
  EXPECT_THAT(
      (std::vector<int32_t>{tree.Height(), grid.Left() + grid.Width(), grid.ColWidth(0),
                            grid.ColWidth(0) + grid.ColWidth(1),
                            su.cmdSuHelp.Top() + su.cmdSuHelp.Height(), su.cmdSuSetupWiz.Left()}),
      ElementsAre(height - 2 * m.Border - m.RowHeight, w.popup.picSu.Width() - m.Border,
                  std::stoi(w.Text(std::string(kSummary) + ".DetailNameWidth")), grid.Width(),
                  height, su.cmdSuHelp.Left() + su.cmdSuHelp.Width() + m.Border));
  EXPECT_EQ(su.cmdSuHelp.Caption(), w.Text(std::string(kSummary) + ".cmdSuHelp.ButtonText"));
  // The details show every figure of an agent in the order of their names,
  // and of a period.
  auto agent = [&](const std::string& key) {
    return w.Text(std::string(kSummary) + ".Agent." + key);
  };
  auto period = [&](const std::string& key) {
    return w.Text(std::string(kSummary) + ".Period." + key);
  };
  // An agent that has filed nothing shows its count as nothing at all.
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("calendar"));
  EXPECT_EQ(RowValue(su.fgcSuDetail, agent("ItemCount")), "");
  EXPECT_EQ(RowValue(su.fgcSuDetail, agent("MonitorType")), "Calendar");
  // The order follows the configured wording: case aside, and the later of
  // two equal names first.
  const std::pair<const char*, const char*> names[] = {
      {"MonitorType", "Kind"},      {"LastFile", "dup"},  {"LastPurge", "Dup"},
      {"ItemCount", "count"},       {"Watermark", "DUP"}, {"UnfiledItems", "Unfiled"},
      {"ItemsToPurge", "purge"},    {"Periods", "Count"}, {"EarliestStore", "earliest"},
      {"MostRecentStore", "Latest"}};
  for (const auto& [key, text] : names)
    SetKey(w, std::string("Componants.VellixControl") + kSummary + ".Agent." + key, Variant(text));
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("Received Emails"));
  EXPECT_THAT(GridRows(su.fgcSuDetail),
              ElementsAre(Pair("Count", "2"), Pair("count", "1,234,567"),
                          Pair("DUP", "20 November 2026 18:00:00"), Pair("Dup", ""),
                          Pair("dup", "21 November 2026 09:30:05"),
                          Pair("earliest", "01 January 2024 00:00:00"),
                          Pair("Kind", "Mail and Post"), Pair("Latest", "01 January 2025 12:00:00"),
                          Pair("purge", "42"), Pair("Unfiled", "")));
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("File 2024"));
  const std::string store = (w.dir / "store").string();
  EXPECT_THAT(
      GridRows(su.fgcSuDetail),
      ElementsAre(
          // No backup folder to compare with.
          Pair(period("BackupStatus"), period("BackupStatusOptions.Unavailable")),
          Pair(period("BackupLocation"), (w.dir / "backups").string()),
          Pair(period("Connected"), "False"), Pair(period("FileName"), store + "/File 2024.pst"),
          Pair(period("FileSize"), "2 Kb"), Pair(period("FirstEntry"), "03 January 2024 08:15:00"),
          // A period's count shows 0, unlike an agent's.
          Pair(period("ItemCount"), "0"), Pair(period("LastBackup"), "21 November 2026 22:00:00"),
          Pair(period("LastEntry"), "30 December 2024 17:45:30"),
          Pair(period("StoreLocation"), store)));
  // Any status the engine might answer.
  auto status = [&](int16_t value) {
    su.ShowPeriodDetails(MakeRef<StatusPeriod>(w.engine->Config(), value));
    return RowValue(su.fgcSuDetail, period("BackupStatus"));
  };
  EXPECT_EQ(status(1), period("BackupStatusOptions.Yes"));
  EXPECT_EQ(status(2), period("BackupStatusOptions.No"));
  EXPECT_EQ(status(3), "");
  EXPECT_EQ(status(-1), "");
  EXPECT_EQ(status(0), period("BackupStatusOptions.Unavailable"));
  // Plain decimal, no grouping, for a period.
  EXPECT_EQ(RowValue(su.fgcSuDetail, period("ItemCount")), "1234");
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST(SummaryPanel, EmptyAgentListAndCollidingNames) {
  PopupWorld w;
  w.LoadEngine("", R"(<Period Name="File 2024" FileName="x.pst" />)");
  w.Start();
  SummaryPanel& su = w.popup.summary;
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("PeriodsRoot"));
  EXPECT_EQ(su.fgcSuDetail.Rows(), 1);
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("Agents"));
  EXPECT_EQ(su.fgcSuDetail.Rows(), 0);
  // An agent named as a period collides in the tree: the build stops there.
  // The tree's error number doesn't fit the log's 16-bit field, so the
  // record is the overflow, in the procedure that asked for the tree.
  w.engine->Config()->CreateAgent("File 2024");
  w.engine->Config()->CreateAgent("Zed");
  const size_t logged = w.Problems().size();
  su.Load();
  EXPECT_THAT(Texts(su.tvwSuSelector.Nodes("Agents").Children()), ElementsAre("File 2024", "Zed"));
  EXPECT_THAT(Texts(su.tvwSuSelector.Nodes("PeriodsRoot").Children()), IsEmpty());
  const auto problems = w.Problems();
  ASSERT_EQ(problems.size(), logged + 1);
  EXPECT_EQ(problems.back().procedure, "LoadSummary");
  EXPECT_EQ(problems.back().number, 6);
  // A name with a backslash is a path of three parts: a click shows nothing.
  w.engine->Config()->Agent("Zed")->Name("In\\Out");
  su.Load();
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("Agents"));
  const NamedRows before = GridRows(su.fgcSuDetail);
  ASSERT_TRUE(su.tvwSuSelector.UserClickNode("In\\Out"));
  EXPECT_EQ(GridRows(su.fgcSuDetail), before);
}

// The page lies beside the temporary folder, its name joined straight on, and
// is gone once the browser is found or not.
void ExpectPageGone(PopupWorld& w) {
  const std::string temp = w.files->GetSpecialFolder(2);
  EXPECT_EQ(w.browser.page.rfind(temp + "rad", 0), 0U) << w.browser.page;
  EXPECT_EQ(w.browser.page.substr(w.browser.page.size() - 4), ".htm");
  EXPECT_EQ(w.browser.pageText, "<HTML> <\\HTML>");
  EXPECT_FALSE(w.files->FileExists(w.browser.page));
  for (const auto& entry : fs::recursive_directory_iterator(w.dir))
    EXPECT_NE(entry.path().extension(), ".htm") << entry.path();
}

TEST(SummaryPanel, HelpOpensTheAddressWithTheProgramFoundFromATemporaryPageOrSaysWhyNot) {
  PopupWorld w;
  LoadArchive(w);
  w.Start();
  w.host.ClearPrompts();
  auto text = [&](const std::string& key) { return w.Text(std::string(kSummary) + key); };
  ASSERT_TRUE(w.popup.summary.cmdSuHelp.UserClick());
  // The program's name comes trimmed; the address is its one parameter.
  EXPECT_THAT(w.browser.opened, ElementsAre("web-browser " + text(".cmdSuHelp.LinkURL")));
  EXPECT_THAT(w.host.Prompts(), IsEmpty());
  ExpectPageGone(w);
  // No browser.
  w.browser.opened.clear();
  w.browser.findResult = kShellErrorNoAssociation;
  ASSERT_TRUE(w.popup.summary.cmdSuHelp.UserClick());
  EXPECT_THAT(w.host.Prompts(), ElementsAre(text(".cmdSuHelp.NoBrowser")));
  EXPECT_THAT(w.browser.opened, IsEmpty());
  ExpectPageGone(w);
  // Found, but it does not start.
  w.host.ClearPrompts();
  w.browser.findResult = kShellSuccess;
  w.browser.executeResult = kShellErrorOutOfResources;
  ASSERT_TRUE(w.popup.summary.cmdSuHelp.UserClick());
  EXPECT_EQ(w.browser.opened.size(), 1U);
  EXPECT_THAT(w.host.Prompts(),
              ElementsAre(text(".cmdSuHelp.NoURL") + "\n" + text(".cmdSuHelp.LinkURL")));
  ExpectPageGone(w);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

}  // namespace
}  // namespace vellix::test
