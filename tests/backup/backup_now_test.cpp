#include "backup/frm_backup_now.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/config_node.h"
#include "support/popup/popup_world.h"
#include "support/popup/recording_config.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The tree the program reads, less one key: its value reads as Empty and its
// node is not found.
class TreeWithout : public RecordingConfigNode {
 public:
  TreeWithout(Ref<ConfigNode> inner, std::string hidden)
      : RecordingConfigNode(std::move(inner), "", std::make_shared<std::set<std::string>>()),
        hidden_(std::move(hidden)) {}
  Variant GetValue(const std::string& keyPath) override {
    return keyPath == hidden_ ? Variant() : RecordingConfigNode::GetValue(keyPath);
  }
  Ref<ConfigNode> GetNode(const std::string& keyPath, bool create, const std::string& contentType,
                          const Variant& defaultValue) override {
    if (keyPath == hidden_ && !create) return {};
    return RecordingConfigNode::GetNode(keyPath, create, contentType, defaultValue);
  }

 private:
  std::string hidden_;
};

class BackupNow : public ::testing::Test {
 protected:
  void SetUp() override {
    w.Start();
    w.log->records.clear();
  }
  void SetText(const std::string& key, const Variant& value) {
    w.config->RootNode()
        ->GetNode(std::string(FrmBackupNow::kTextNode) + key, true, "String", value)
        ->SetContent(value);
  }
  PopupWorld w;
  FrmBackupNow notice{w.ctx, w.host};
};

TEST_F(BackupNow, TheListLiesUnderTheHeadingAndOkUnderTheListWithTheHeightFromThem) {
  SetText("Width", Variant(5400));
  SetText("lblProblems", Variant("These stores were not backed up:"));
  notice.Load();
  ASSERT_TRUE(notice.Loaded());
  const LayoutMetrics& m = notice.Metrics();
  ASSERT_GT(m.Border, 0);
  ASSERT_GT(m.RowHeight, 0);
  const Label& head = notice.lblProblems;
  const ListBox& list = notice.lstMessages;
  const CommandButton& ok = notice.cmdOK;
  EXPECT_EQ(head.Caption(), "These stores were not backed up:");
  EXPECT_EQ(ok.Caption(), w.Text(".Strings.frmBackupNow.cmdOK"));
  EXPECT_GT(list.Height(), m.RowHeight);
  const int inner = 5400 - 2 * m.Border - 2 * m.FormBLRBorder;
  const int okTop = list.Top() + list.Height() + m.Border;
  EXPECT_THAT(
      (std::vector<int>{notice.Width(), head.Left(), head.Top(), head.Width(), list.Left(),
                        list.Top(), list.Width(), ok.Top(), ok.Left() + ok.Width(), ok.Height(),
                        notice.Height()}),
      ElementsAre(5400, m.Border, m.Border + m.TextOffset, inner, m.Border,
                  m.Border + m.RowHeight + m.Border, inner, okTop, m.Border + inner, m.RowHeight,
                  okTop + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  EXPECT_THAT(w.Problems(), IsEmpty());
  // OK closes the notice, and it opens again laid out the same.
  notice.cmdOK.UserClick();
  EXPECT_FALSE(notice.Loaded());
  notice.Load();
  EXPECT_EQ(notice.cmdOK.Top(), okTop);
  notice.Unload();
}

// A key the tree lacks never stops the notice from opening or OK from
// closing it; what it costs shows in the log under the procedure's name.
TEST_F(BackupNow, AMissingKeyIsLoggedAndTheNoticeStillOpensAndCloses) {
  struct Case {
    std::string hidden;
    std::vector<LogRecord> logged;
    std::string caption;
  };
  const std::string strings = "Componants.VellixControl.Strings.frmBackupNow.";
  const Case cases[] = {
      {strings + "Caption", {}, "Backup Problems"},
      // No width leaves no room for the list: the layout stops there.
      {strings + "Width",
       {{"frmBackupNow", "LayoutForm", "Invalid property value", 380}},
       w.Text(".Strings.frmBackupNow.Caption")},
      // The load reports under the layout's name.
      {"CommonFormat.FormLayout.RowHeight",
       {{"frmBackupNow", "LayoutForm", "Object variable or With block variable not set", 91}},
       "Backup Problems"},
  };
  const Ref<ConfigNode> root = w.ctx.rootNode;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.hidden);
    w.log->records.clear();
    w.ctx.rootNode = MakeRef<TreeWithout>(root, c.hidden);
    notice.Load();
    EXPECT_TRUE(notice.Loaded());
    EXPECT_EQ(notice.Caption(), c.caption);
    EXPECT_EQ(w.Problems(), c.logged);
    notice.cmdOK.UserClick();
    EXPECT_FALSE(notice.Loaded());
  }
  w.ctx.rootNode = root;
}

}  // namespace
}  // namespace vellix::test
