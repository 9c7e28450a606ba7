#include "backup/frm_backup_now.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

#include "foundation/config_node.h"
#include "support/popup/popup_world.h"
#include "support/popup/recording_config.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The tree the program reads, less one key: its value reads as Empty and its
// node is not found.
class TreeWithout : public test::RecordingConfigNode {
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

  test::PopupWorld w;
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
  const Label& heading = notice.lblProblems;
  const ListBox& list = notice.lstMessages;
  const CommandButton& ok = notice.cmdOK;

  EXPECT_EQ(notice.Width(), 5400);
  EXPECT_EQ(notice.Caption(), w.Text(".Strings.frmBackupNow.Caption"));
  EXPECT_FALSE(notice.Caption().empty());
  EXPECT_EQ(heading.Caption(), "These stores were not backed up:");
  EXPECT_EQ(ok.Caption(), w.Text(".Strings.frmBackupNow.cmdOK"));

  const int inner = 5400 - 2 * m.Border - 2 * m.FormBLRBorder;
  EXPECT_EQ(heading.Left(), m.Border);
  EXPECT_EQ(heading.Top(), m.Border + m.TextOffset);
  EXPECT_EQ(heading.Width(), inner);
  EXPECT_EQ(list.Left(), m.Border);
  EXPECT_EQ(list.Top(), m.Border + m.RowHeight + m.Border);
  EXPECT_EQ(list.Width(), inner);
  EXPECT_GT(list.Height(), m.RowHeight);
  EXPECT_EQ(ok.Top(), list.Top() + list.Height() + m.Border);
  EXPECT_EQ(ok.Left() + ok.Width(), list.Left() + list.Width());
  EXPECT_EQ(ok.Height(), m.RowHeight);
  EXPECT_EQ(notice.Height(), ok.Top() + ok.Height() + m.Border + m.FormTopBorder + m.FormBLRBorder);
  EXPECT_THAT(w.Problems(), IsEmpty());

  // OK closes the notice, and it opens again laid out the same.
  notice.cmdOK.UserClick();
  EXPECT_FALSE(notice.Loaded());
  notice.Load();
  EXPECT_EQ(notice.cmdOK.Top(), ok.Top());
  notice.Unload();
}

// A key the tree lacks never stops the notice from opening or OK from
// closing it; what it costs shows in the log under the procedure's name.
TEST_F(BackupNow, AMissingKeyIsLoggedAndTheNoticeStillOpensAndCloses) {
  struct Case {
    std::string hidden;
    std::vector<test::LogRecord> logged;
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
}  // namespace vellix
