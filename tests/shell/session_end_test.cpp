#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "platform/desktop/stop_signals.h"
#include "servers/common/write_behind.h"
#include "support/child_process.h"
#include "support/popup/popup_world.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::IsEmpty;

// A running panel after Quick setup and Run Now; the first pass has begun
// and, unless told not to wait, has filed the demo mail.
struct RunningPanel {
  explicit RunningPanel(bool waitForPass = true) : work(w.UseProcessor()) {
    w.PresetHidden(false);
    w.Start();
    backups = w.dir / "backup";
    fs::create_directories(backups);
    EXPECT_TRUE(w.popup.quickSetup.txtBackupPath.UserSetText(backups.string()));
    w.host.OnModal("frmPredictiveStart", [this](Form& form) {
      forecast = w.engine->ForecastItemCount();
      ASSERT_TRUE(dynamic_cast<FrmPredictiveStart&>(form).cmdRunNow.UserClick());
    });
    EXPECT_TRUE(w.popup.quickSetup.cmdOK.UserClick());
    if (!waitForPass) return;
    EXPECT_TRUE(w.host.PumpUntil([this] { return work.PassesDone() >= 1 && !work.Busy(); },
                                 test::PopupWorld::kPatience));
    w.host.Pump();
    EXPECT_EQ(w.ItemsInStores(), forecast);
  }

  // What main does with the descriptor: a SIGTERM read from it ends the
  // session.
  void Terminate() {
    ASSERT_EQ(::raise(SIGTERM), 0);
    ASSERT_EQ(signals.Take(), SIGTERM);
    w.popup.EndSession();
  }

  // The program has gone as by the tray's Exit: the engine shut down, the
  // main form unloaded, the end logged, the files whole and readable again.
  void ExpectOrderlyEnd() {
    ASSERT_TRUE(w.host.PumpUntil([this] { return !w.host.IsLoaded("frmPopup"); }));
    EXPECT_THAT(w.log->lifecycle, Contains("ComponentEnded VellixControl"));
    EXPECT_FALSE(work.Busy());
    servers::WriteBehind::Shared().WaitAll();
    w.ReopenServers();
    EXPECT_TRUE(w.engine->Configured()) << "the engine file loads";
    for (const auto& entry : fs::recursive_directory_iterator(w.dir)) {
      EXPECT_EQ(entry.path().filename().string().find(".vellix-partial-"), std::string::npos)
          << entry.path();
    }
  }

  test::PopupWorld w;
  engine::Processor& work;
  desktop::StopSignals signals;
  fs::path backups;
  int32_t forecast = -1;
};

TEST(SessionEnd, DuringAPassTheEngineStopsAtItsNextStepAndNothingIsFiledTwice) {
  RunningPanel p(/*waitForPass=*/false);
  p.Terminate();
  p.ExpectOrderlyEnd();
  ASSERT_GT(p.forecast, 0);
  const int32_t filed = p.w.ItemsInStores();
  EXPECT_LE(filed, p.forecast);
  EXPECT_GE(filed, 0);
}

TEST(SessionEnd, TheOpenPurgeNoticeAnswersDoNotPurgeAndWritesNothing) {
  RunningPanel p;
  const Ref<Agent> received = p.w.engine->Config()->Agent("Received Emails");
  ASSERT_TRUE(received);
  p.w.clock.Set(Date(p.w.clock.Now().Serial() + 40));
  int questions = 0;
  int16_t answer = -1;
  p.w.host.OnModal("frmPurgeNotice", [&](Form& form) {
    auto& notice = dynamic_cast<FrmPurgeNotice&>(form);
    // The user had a choice in mind but pressed nothing. A question the pass
    // had already sent may still come while the engine stops; the user
    // closes that one.
    if (++questions > 1) {
      (void)form.UserClose();
      return;
    }
    ASSERT_TRUE(notice.optPurge.UserClick());
    p.Terminate();
    EXPECT_FALSE(form.Loaded());
    answer = static_cast<int16_t>(notice.Result());
  });
  auto inbox = p.w.ctx.Mail().CreateApplication()->GetNamespace("MAPI")->GetDefaultFolder(6);
  const int32_t inboxBefore = inbox->ItemCount();
  received->RunPurge();
  p.ExpectOrderlyEnd();
  EXPECT_GE(questions, 1);
  EXPECT_EQ(answer, 1);
  EXPECT_EQ(inbox->ItemCount(), inboxBefore) << "nothing was purged";
  EXPECT_EQ(p.w.engine->Config()->Agent("Received Emails")->PurgeNotify(), 0);
  EXPECT_EQ(p.w.ItemsInStores(), p.forecast);
}

TEST(SessionEnd, ABackupRunIsCancelledWithoutTheCloseWarningAndLeavesNoPartialCopy) {
  RunningPanel p;
  bool cancelled = false;
  p.w.host.OnModal("frmBackupManager", [&](Form& form) {
    auto& m = dynamic_cast<FrmBackupManager&>(form);
    for (const int mode : {FrmBackupManager::ModeCloseOutlook, FrmBackupManager::ModeBackupNow}) {
      p.w.host.Advance(1000);
      ASSERT_EQ(m.Mode(), mode);
      ASSERT_TRUE(m.cmdBackup.UserClick());
    }
    ASSERT_TRUE(m.FlagBackupRunning());
    p.w.host.ClearPrompts();
    p.Terminate();
    cancelled = m.CancelRequested();
    EXPECT_FALSE(form.Loaded());
  });
  p.w.host.Advance(int64_t{60} * 1000);  // the backup timer's tick opens the manager
  p.ExpectOrderlyEnd();
  EXPECT_TRUE(cancelled);
  EXPECT_THAT(p.w.host.Prompts(), IsEmpty()) << "no close warning to answer";
  EXPECT_TRUE(p.w.engine->Config()->BackupDue()) << "a cancelled run is no backup";
  // What was copied before the run stopped is whole.
  for (const Ref<Period>& period : p.w.engine->Config()->Periods()) {
    const fs::path store = p.w.paths.ToNative(period->FileName());
    const fs::path copy = p.backups / store.filename();
    if (fs::exists(copy)) {
      EXPECT_EQ(test::ReadText(copy), test::ReadText(store)) << copy;
    }
  }
}

// A message box over a modal form: the box goes first, as if dismissed, then
// the form; only then does Exit run.
TEST(SessionEnd, ModalWindowsCloseFromTheTopBeforeExit) {
  RunningPanel p;
  MsgResult boxAnswer = MsgResult::OK;
  p.w.host.OnModal("frmBackupManager", [&](Form&) {
    p.w.host.AnswerNext(MsgResult::OK, [&] { p.Terminate(); });
    boxAnswer = p.w.host.MsgBox("asked", MsgButtons::OKCancel, "");
    p.w.host.Pump();  // the form's own loop runs on
  });
  p.w.host.Advance(int64_t{60} * 1000);
  p.ExpectOrderlyEnd();
  EXPECT_EQ(boxAnswer, MsgResult::Cancel);
  const auto& history = p.w.host.History();
  const auto box = std::find(history.begin(), history.end(), "session close message box");
  ASSERT_NE(box, history.end());
  EXPECT_EQ(*(box + 1), "session close frmBackupManager");
}

TEST(SessionEnd, OnlyTheFirstStopSignalIsCaught) {
  test::ChildProcess child([](int out) {
    desktop::StopSignals signals;
    if (::raise(SIGINT) != 0) return;
    test::Tell(out, signals.Take() == SIGINT ? 'y' : 'n');
    (void)::raise(SIGINT);  // the default action ends the child here
  });
  const int status = child.Wait();
  EXPECT_EQ(child.Told(), "y");
  ASSERT_TRUE(WIFSIGNALED(status)) << "the second one ends the process";
  EXPECT_EQ(WTERMSIG(status), SIGINT);
}

}  // namespace
}  // namespace vellix
