#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/config_node.h"
#include "panels/panel_test.h"
#include "support/fake_outlook.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kAgent = "Mail Agent";
constexpr const char* kFolderPath = "\\\\Personal Folders\\Inbox";

// The engine's question as it hands it over.
class Question : public PurgeDetails {
 public:
  Question(std::string agent, int32_t count, std::string type)
      : agent_(std::move(agent)), count_(count), type_(std::move(type)) {}
  int32_t ItemCount() override { return count_; }
  std::string ItemType() override { return type_; }
  Ref<MAPIFolder> Folder() override {
    return std::make_shared<test::FakeFolder>("Inbox", kFolderPath, 0);
  }
  std::string AgentName() override { return agent_; }

 private:
  std::string agent_;
  int32_t count_;
  std::string type_;
};

// What the user does while the notice is up.
using Step = std::function<void(FrmPurgeNotice&)>;

class PurgeNotice : public ::testing::Test {
 protected:
  // A started panel whose engine has the asking agent, which does not ask
  // again (1) until the notice writes otherwise.
  void Start() {
    w.Start();
    w.engine->Config()->CreateAgent(kAgent)->PurgeNotify(1);
    w.engine->ClearJournal();
    w.log->records.clear();
  }
  // The engine asks; `step` runs while the notice is up. Result comes back
  // as the handler left it, starting from 7.
  int16_t Ask(const Step& step, int32_t type = 0, const std::string& agent = kAgent,
              int32_t count = 1, const std::string& itemType = "Mail Item") {
    w.host.OnModal("frmPurgeNotice", [this, step](Form&) { step(w.purgeNotice); });
    int16_t result = 7;
    w.engine->OnNotify.Raise(type, MakeRef<Question>(agent, count, itemType), result);
    EXPECT_FALSE(w.purgeNotice.Loaded());
    return result;
  }
  void SetKey(const std::string& key, const Variant& value) {
    test::SetKey(w, std::string(FrmPurgeNotice::kTextNode) + "." + key, value);
  }
  int32_t PurgeNotify() { return w.engine->Config()->Agent(kAgent)->PurgeNotify(); }
  std::vector<std::string> AgentWrites() {
    return w.engine->Journal().TextsFor(std::string("Agent ") + kAgent);
  }
  int Flushes() { return w.engine->Journal().Count("Flush"); }
  test::PopupWorld w;
};

TEST_F(PurgeNotice, TextsComeFromTheTreeWithEveryPlaceholderFilledInAnyCase) {
  Start();
  struct Row {
    std::string caption;
    int32_t count;
    std::string expected;
  };
  const std::vector<Row> rows = {
      {"Agent $AgentName has identified $ItemCount $ItemType(s) to purge", 1,
       "Agent Mail Agent has identified 1 Mail Item(s) to purge"},
      {"$agentname/$AGENTNAME: $itemCOUNT $itemtype, $ItemType", 12345,
       "Mail Agent/Mail Agent: 12345 Mail Item, Mail Item"},
      {"Nothing to fill in $Agent", -3, "Nothing to fill in $Agent"},
  };
  SetKey("optPurge_ToolTip", Variant("Purge now"));
  for (const Row& row : rows) {
    SetKey("lblItemCount_Caption", Variant(row.caption));
    Ask(
        [&](FrmPurgeNotice& d) {
          EXPECT_EQ(d.lblItemCount.Caption(), row.expected) << row.caption;
          EXPECT_EQ(d.lblFolder.Caption(), kFolderPath);
          EXPECT_EQ(d.Caption(), w.Text(".Strings.Form_Caption"));
          EXPECT_EQ(d.optDontPurgeDontAsk.Caption(),
                    w.Text(".Strings.optDontPurgeDontAsk_Caption"));
          EXPECT_EQ(d.optPurge.ToolTipText(), "Purge now");
          EXPECT_TRUE(d.optDontPurge.Value());
          d.cmdOK.UserClick();
        },
        0, kAgent, row.count);
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(PurgeNotice, MissingKeysAreMadeWithTheDesignTexts) {
  // A tree whose branch has no texts at all: start-up grafts nothing.
  test::SetKey(w, "Componants.VellixControl.Hidden", Variant(true));
  Start();
  SetKey("cmdOK_Caption", Variant("Fine"));  // a key that is there stays as it is
  Ask([](FrmPurgeNotice& d) {
    EXPECT_EQ(d.Caption(), "Orvane Vellix");
    EXPECT_EQ(d.lblItemCount.Caption(),
              "Agent Mail Agent has identified 1 Mail Item(s) to purge from the following "
              "folder:");
    EXPECT_EQ(d.cmdOK.Caption(), "Fine");
    EXPECT_EQ(d.Timeout(), 30000);
    d.cmdOK.UserClick();
  });
  auto node = [&](const std::string& key) {
    return w.config->RootNode()->GetNode(std::string(FrmPurgeNotice::kTextNode) + "." + key, false,
                                         "", Variant());
  };
  const std::vector<std::pair<std::string, Variant>> made = {
      {"Form_Caption", Variant("Orvane Vellix")},
      {"lblMessage_Caption",
       Variant("This selection is based on the Agent configuration.  These Items have already "
               "been filed safely in a Period Store.")},
      {"optDontPurgeDontAsk_Caption",
       Variant("Do not purge these Items and disable Purging from this Agent next time it runs")},
      {"lblFolder_ToolTip", Variant("")},
      {"cmdOK_ToolTip", Variant("")},
      {"cmdOK_Caption", Variant("Fine")},
      {"Timeout", Variant(int16_t{30000})},
  };
  for (const auto& [key, value] : made) {
    const Ref<ConfigNode> n = node(key);
    ASSERT_FALSE(n.IsNothing()) << key;
    EXPECT_EQ(n->GetContent(), value) << key;
  }
  // The folder line always shows the path: no key for its caption.
  EXPECT_TRUE(node("lblFolder_Caption").IsNothing());
}

TEST_F(PurgeNotice, TheAnswerGoesBackAndTheChoiceIsWrittenThenFlushed) {
  Start();
  struct Row {
    const char* what;
    Step step;
    int16_t result;
    int32_t purgeNotify;  // -1: not written, and no Flush either
  };
  auto choose = [](OptionButton FrmPurgeNotice::*option) {
    return [option](FrmPurgeNotice& d) {
      (d.*option).UserClick();
      d.cmdOK.UserClick();
    };
  };
  const std::vector<Row> rows = {
      {"nobody answers",
       [&](FrmPurgeNotice& d) {
         w.host.Advance(29999);
         ASSERT_TRUE(d.Loaded());
         w.host.Advance(1);
       },
       1, 0},
      {"moved to Purge, then time is up",
       [&](FrmPurgeNotice& d) {
         d.optPurge.UserClick();
         w.host.Advance(30000);
       },
       0, 0},
      {"Purge", choose(&FrmPurgeNotice::optPurge), 0, 0},
      {"Purge, don't ask", choose(&FrmPurgeNotice::optPurgeDontAsk), 0, 1},
      {"Don't purge", choose(&FrmPurgeNotice::optDontPurge), 1, 0},
      {"Don't purge, stop purging", choose(&FrmPurgeNotice::optDontPurgeDontAsk), 1, 2},
      {"closed by its frame", [](FrmPurgeNotice& d) { d.UserClose(); }, 1, -1},
      {"moved to Purge, closed by its frame",
       [](FrmPurgeNotice& d) {
         d.optPurge.UserClick();
         d.UserClose();
       },
       1, -1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    w.engine->Config()->Agent(kAgent)->PurgeNotify(9);
    w.engine->ClearJournal();
    EXPECT_EQ(Ask(row.step), row.result);
    if (row.purgeNotify < 0) {
      EXPECT_EQ(PurgeNotify(), 9);
      EXPECT_THAT(AgentWrites(), IsEmpty());
      EXPECT_EQ(Flushes(), 0);
    } else {
      EXPECT_EQ(PurgeNotify(), row.purgeNotify);
      EXPECT_THAT(w.Journal(),
                  ElementsAre("put PurgeNotify " + std::to_string(row.purgeNotify), "Flush"));
    }
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(PurgeNotice, ATimeoutOfZeroWaitsAndAnAgentTheEngineDoesNotKnowIsTracedWithoutFlush) {
  Start();
  SetKey("Timeout", Variant(int16_t{0}));
  const auto purgeDontAsk = [&](FrmPurgeNotice& d) {
    w.host.Advance(24LL * 3600 * 1000);
    ASSERT_TRUE(d.Loaded());
    EXPECT_FALSE(w.host.TimerRunning(d.tmrTimeout));
    d.optPurgeDontAsk.UserClick();
    d.cmdOK.UserClick();
  };
  EXPECT_EQ(Ask(purgeDontAsk), 0);
  EXPECT_EQ(PurgeNotify(), 1);
  // The answer stands; only the agent's setting is lost, with a trace.
  w.engine->Config()->Agent(kAgent)->PurgeNotify(0);
  w.engine->ClearJournal();
  EXPECT_EQ(Ask(purgeDontAsk, 0, "Gone Agent"), 0);
  EXPECT_EQ(Flushes(), 0);
  EXPECT_EQ(PurgeNotify(), 0);
  EXPECT_THAT(w.Problems(),
              ElementsAre(test::LogRecord{"frmPurgeNotice", "SetPurgeNotify",
                                          "Object variable or With block variable not set", 91}));
}

TEST_F(PurgeNotice, TheBackupTimerStopsWhileAskedAndRestartsUnlessTheHandlerFailed) {
  Start();
  ASSERT_FALSE(w.popup.tmrBackupTimer.Enabled());  // the engine isn't running
  // Another type shows nothing and leaves Result as it came.
  w.host.ClearHistory();
  EXPECT_EQ(Ask([](FrmPurgeNotice&) { ADD_FAILURE() << "shown"; }, 3), 7);
  EXPECT_THAT(w.host.History(), Not(Contains("show modal frmPurgeNotice")));
  EXPECT_TRUE(w.popup.tmrBackupTimer.Enabled());
  // A second question while the notice is up can't show it again: that
  // handler fails after stopping the timer and leaves it stopped.
  EXPECT_EQ(Ask([&](FrmPurgeNotice& d) {
              EXPECT_FALSE(w.popup.tmrBackupTimer.Enabled());
              int16_t nested = 7;
              w.engine->OnNotify.Raise(0, MakeRef<Question>(kAgent, 2, "Mail Item"), nested);
              EXPECT_EQ(nested, 7);
              EXPECT_FALSE(w.popup.tmrBackupTimer.Enabled());
              EXPECT_THAT(w.Problems(), ElementsAre(test::LogRecord{
                                            "frmPopup", "mobjVellix_Notify",
                                            "Form already displayed; can't show modally", 400}));
              d.cmdOK.UserClick();
            }),
            1);
  EXPECT_TRUE(w.popup.tmrBackupTimer.Enabled());
}

}  // namespace
}  // namespace vellix
