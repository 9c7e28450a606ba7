#include "app/backup_manager_script.h"

#include <QTimer>
#include <chrono>
#include <cstdio>
#include <utility>

#include "backup/frm_backup_manager.h"
#include "servers/backupcopy/backup_copier.h"
#include "view/qt/control_binding.h"

namespace vellix::app {

namespace {

constexpr int kPollMs = 100;
// The status timer ticks once a second; a look is given a few ticks.
constexpr int kLookPolls = 50;
// The demo stores are copied within seconds; this is for a loaded machine.
constexpr int kRunPolls = 400;
// The bar is pictured half full or a little more.
constexpr int kHalfLow = 50;
constexpr int kHalfHigh = 60;

}  // namespace

BackupManagerScript::BackupManagerScript(FrmBackupManager& form, Tools tools)
    : form_(form), tools_(std::move(tools)) {}

BackupManagerScript::~BackupManagerScript() = default;

void BackupManagerScript::CopierMade(const std::shared_ptr<backupcopy::BackupCopier>& copier) {
  // Only this run reports so often: each event is a round trip to the
  // window, too dear for real stores.
  copier->ChunkBytes(kChunkBytes);
  copier->ProgressInterval(std::chrono::milliseconds(0));
  copier_ = copier;
}

void BackupManagerScript::Shown() {
  if (seen_) return;
  seen_ = true;
  tools_.step("backup manager: first look");
  // The window opens on "Wait" until its first tick has looked at the stores.
  WaitFor(
      this, tools_, "the backup manager's first look", kLookPolls, kPollMs,
      [this] { return form_.Mode() != FrmBackupManager::ModeNeutral; },
      [this] { CloseOutlookStep(); });
}

void BackupManagerScript::LookShot(int32_t mode, const std::string& caption,
                                   const std::string& file) {
  const std::string& shown = form_.cmdBackup.Caption();
  if (form_.Mode() != mode || shown != caption) {
    tools_.note("the backup manager's button reads \"" + shown + "\" (mode " +
                std::to_string(form_.Mode()) + "), not \"" + caption + "\": " + file +
                " not written");
    return;
  }
  tools_.shot(form_, file);
}

bool BackupManagerScript::PickLater(const std::string& unit) {
  auto& combo = form_.cboLater;
  for (int32_t i = 0; i < combo.ListCount(); ++i) {
    if (combo.List(i) == unit) return combo.UserPick(i);
  }
  tools_.note("no \"" + unit + "\" in " + combo.Name());
  return false;
}

void BackupManagerScript::CloseOutlookStep() {
  tools_.step("backup manager: Save & Close Outlook");
  // The mail profile holds the period stores open, as a running mail program does.
  LookShot(FrmBackupManager::ModeCloseOutlook, "Save && Close Outlook",
           "backup-manager-close-outlook.png");
  // In any other look the press would do something else, a backup for one.
  if (form_.Mode() == FrmBackupManager::ModeCloseOutlook) form_.cmdBackup.UserClick();
  WaitFor(
      this, tools_, "the stores to be let go", kLookPolls, kPollMs,
      [this] { return form_.Mode() == FrmBackupManager::ModeBackupNow; },
      [this] { BackupNowStep(); });
}

void BackupManagerScript::BackupNowStep() {
  tools_.step("backup manager: Backup Now");
  LookShot(FrmBackupManager::ModeBackupNow, "Backup Now", "backup-manager-backup-now.png");
  PickLater("Minute");
  WaitFor(
      this, tools_, "the try-later look", kLookPolls, kPollMs,
      [this] { return form_.Mode() == FrmBackupManager::ModeLater; }, [this] { LaterStep(); });
}

void BackupManagerScript::LaterStep() {
  tools_.step("backup manager: Try Again Later");
  if (form_.txtLater.Text() != "10" || form_.cboLater.Text() != "Minute") {
    tools_.note("the try-later fields read \"" + form_.txtLater.Text() + "\" \"" +
                form_.cboLater.Text() +
                "\", not \"10\" \"Minute\": backup-manager-later.png "
                "not written");
  } else {
    LookShot(FrmBackupManager::ModeLater, "Try Again Later", "backup-manager-later.png");
  }
  // Back to no delay: the list's first entry.
  if (form_.cboLater.ListCount() > 0) PickLater(form_.cboLater.List(0));
  WaitFor(
      this, tools_, "the Backup Now look again", kLookPolls, kPollMs,
      [this] { return form_.Mode() == FrmBackupManager::ModeBackupNow; }, [this] { RunStep(); });
}

void BackupManagerScript::RunStep() {
  tools_.step("backup manager: run");
  // The files the press hands the copier: the grid's rows to back up.
  auto& grid = form_.fgcPeriods;
  const int32_t backupCol = FrmBackupManager::FlexColumn(256);
  const int32_t validCol = FrmBackupManager::FlexColumn(64);
  filesWanted_ = 0;
  for (int32_t row = 1; row < grid.Rows(); ++row) {
    if (grid.TextMatrix(row, backupCol) == "Yes" && grid.TextMatrix(row, validCol) == "Yes")
      ++filesWanted_;
  }
  if (auto copier = copier_.lock()) {
    // Connected after the window's own handler, so the cell is already written.
    status_ = copier->Status.Connect(
        [this](int32_t& code, std::string& /*data*/, bool& /*cancel*/) { CopierStatus(code); });
  } else {
    tools_.note("the backup manager made no backup copier");
  }
  if (form_.Mode() == FrmBackupManager::ModeBackupNow) form_.cmdBackup.UserClick();
  WaitFor(
      this, tools_, "the backup run to end", kRunPolls, kPollMs,
      [this] { return runEnded_ && !form_.FlagBackupRunning(); }, [this] { AfterRunStep(); });
}

void BackupManagerScript::CopierStatus(int32_t code) {
  switch (code) {
    case BackupServer::kFileBegins:
      ++filesBegun_;
      break;
    case BackupServer::kProgress: {
      // A later file than the first, when there is one, so that the picture
      // shows a finished row above the bar.
      const int target = filesWanted_ > 1 ? 2 : 1;
      if (runningShot_ || filesBegun_ < target) break;
      const int32_t row = form_.CurrentRow();
      if (row < 1 || row >= form_.fgcPeriods.Rows()) break;
      const int percent = qtview::CellPercent(
          qtview::Qs(form_.fgcPeriods.TextMatrix(row, FrmBackupManager::FlexColumn(512))));
      if (percent < kHalfLow || percent > kHalfHigh) break;
      runningShot_ = true;
      // Taken here, while the copier waits for this event to be handled.
      LookShot(FrmBackupManager::ModeCancel, "Cancel Backup", "backup-manager-running.png");
      break;
    }
    case BackupServer::kFileError:
      tools_.note("a store could not be backed up");
      break;
    case BackupServer::kCancelled:
      tools_.note("the backup run was cancelled");
      runEnded_ = true;
      break;
    case BackupServer::kRunComplete:
      runEnded_ = true;
      break;
    default:
      break;
  }
}

void BackupManagerScript::AfterRunStep() {
  tools_.step("backup manager: after the run");
  if (!runningShot_) {
    tools_.note("no progress cell read " + std::to_string(kHalfLow) + "%-" +
                std::to_string(kHalfHigh) + "%: backup-manager-running.png not written");
  }
  std::printf("screenshot: after the run the backup manager's button reads \"%s\"\n",
              form_.cmdBackup.Caption().c_str());
  tools_.shot(form_, "backup-manager-done.png");

  // Under the policy of stores updated since the last backup, nothing is
  // left to do after the run, and the next tick offers to close.
  tools_.step("backup manager: Close");
  if (!form_.optPolicyCheckHistory.Value()) form_.optPolicyCheckHistory.UserClick();
  WaitFor(
      this, tools_, "the Close look", kLookPolls, kPollMs,
      [this] { return form_.Mode() == FrmBackupManager::ModeNothingToDo; },
      [this] { CloseLookStep(); });
}

void BackupManagerScript::CloseLookStep() {
  // Should a store still need a copy, the look is set by calling its
  // procedure, for the picture only.
  if (form_.Mode() != FrmBackupManager::ModeNothingToDo) {
    tools_.note("the Close look was set directly");
    form_.SetFormNothingToDo();
  }
  LookShot(FrmBackupManager::ModeNothingToDo, "Close", "backup-manager-close.png");
  // Only a store that changes between two reads of one tick leads to "Wait",
  // which no run can be made to show: it is set directly and pictured before
  // the next tick chooses again.
  tools_.step("backup manager: Wait");
  form_.SetFormNeutral();
  LookShot(FrmBackupManager::ModeNeutral, "Wait", "backup-manager-wait.png");
  Close();
}

void BackupManagerScript::Close() {
  tools_.step("backup manager: closing");
  status_.Disconnect();
  // By its frame, as "Wait" leaves the button disabled.
  form_.UserClose();
  if (form_.Loaded()) tools_.note("the backup manager did not close");
}

}  // namespace vellix::app
