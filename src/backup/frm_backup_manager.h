#pragma once

#include <cstdint>
#include <string>

#include "foundation/backup_server.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/event.h"
#include "foundation/form.h"
#include "foundation/ref.h"

namespace vellix {

class ConfigNode;
class Period;

// The modal window that copies the period stores to the backup location.
// Once a second it reads the stores' state into its grid and picks one of six
// looks for its one action button; in unattended operation that button
// presses itself when a countdown runs out. The grid's cells, not the engine,
// are what the decision reads. The class is split over three files: the
// state and looks (frm_backup_manager.cpp), the period grid with the location
// and policy (backup_period_list.cpp) and the run (backup_run.cpp).
class FrmBackupManager : public Form {
 public:
  enum BackupMode : int32_t {
    ModeNeutral = 0,
    ModeBackupNow = 1,
    ModeLater = 2,
    ModeCloseOutlook = 3,
    ModeCancel = 4,
    ModeNothingToDo = 5,
  };

  FrmBackupManager(Context& ctx, UiHost& host);

  // ---- flags, each read afresh ----
  [[nodiscard]] bool FlagBackupRunning();
  void FlagBackupRunning(bool value);
  // Some row's "Free" cell is empty (a store the mail program holds).
  [[nodiscard]] bool FlagFilesToRelease();
  // Some row reads "Yes" in both "Free" and "Backup".
  [[nodiscard]] bool FlagFilesToBackup();
  [[nodiscard]] bool FlagLater();
  [[nodiscard]] bool FlagUnattended();
  void FlagUnattended(bool value);
  [[nodiscard]] bool FlagBackupLocation();
  // Seconds of the try-later choice; 0 for none.
  [[nodiscard]] int32_t Delay();
  [[nodiscard]] int32_t Mode();
  // A new mode starts the countdown over; the same mode leaves it.
  void Mode(int32_t value);

  [[nodiscard]] int16_t Countdown() const { return countdown_; }
  [[nodiscard]] int16_t CurrentRow() const { return currentRow_; }
  [[nodiscard]] const std::string& CurrentFileSize() const { return currentFileSize_; }
  [[nodiscard]] const std::string& LaterValue() const { return laterValue_; }
  [[nodiscard]] const std::string& LaterUnit() const { return laterUnit_; }
  [[nodiscard]] bool CancelRequested() const { return cancelRequested_; }
  [[nodiscard]] bool ClosedByButton() const { return closedByButton_; }
  // The pictures of the location's state, as the view finds them.
  [[nodiscard]] const std::string& TickPicture() const { return tickPicture_; }
  [[nodiscard]] const std::string& CrossPicture() const { return crossPicture_; }

  // ---- the state of the window ----
  void SetFormStatus();
  void SetFormNeutral();
  void SetFormBackupNow();
  void SetFormLater();
  void SetFormCloseOutlook();
  void SetFormNothingToDo();
  void SetFormFormLater();
  void SetLaterDisabled();
  void SetLaterDefault();
  void CloseOutlook();
  // Seconds since the last recorded backup, which is set to now when there
  // was none. Nothing calls it.
  int32_t DelayBase();

  void cmdBackup_Click();
  void cboLater_Click();
  void cboLater_Change();
  void txtLater_Change();

  // ---- the period grid, the location and the policy ----
  // The grid column of a mask bit; 0 for a bit without one.
  [[nodiscard]] static int32_t FlexColumn(int32_t bit);
  void FlexGrid();
  void PopulateFlexGrid(int32_t mask);
  void PopulateAll();
  void PopulateLocation();
  void PopulatePolicy();
  void PopulateOthers();
  void ChangePolicy();
  void LoadAll();
  void LayoutAll();
  void LoadGraphics();
  void cmdChange_Click();  // logs as TraceNames::cmdChange_Click
  void chkUnattendedOpperation_Click();
  void fgcPeriods_MouseMove(int16_t button, int16_t shift, double x, double y);

  // ---- the run ----
  void DoBackup();
  void mobjBackupServer_Status(int32_t& code, std::string& data, bool& cancel);
  void LoadTexts();

  Label lblDescriptiveTitle;
  FrameControl fraLocation;
  Label lblPath;
  PictureBox picStoreAvailable;
  Label lblStoreAvailable;
  CommandButton cmdChange;
  FrameControl fraPolicy;
  OptionButton optPolicyAll;
  OptionButton optPolicyCheckStore;
  OptionButton optPolicyCheckHistory;
  ::vellix::FlexGrid fgcPeriods;
  CheckBox chkUnattendedOpperation;
  Label lblTryLaterIn;
  TextBox txtLater;
  ComboBox cboLater;
  Label lblCountdown;
  CommandButton cmdBackup;
  Timer tmrStatus;

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmBackupManager";
  static constexpr const char* kTitle = "Orvane Vellix Backup Manager";
  static constexpr int16_t kDefaultAutoDelay = 30;
  // Closing by the frame while a backup is due puts the next prompt off so long.
  static constexpr int32_t kFramePostponeSeconds = 300;

 protected:
  void Design() override;
  void Form_Load() override;
  void Form_QueryUnload(bool& cancel, int32_t unloadMode) override;
  void Form_Unload(bool& cancel) override;

 private:
  // The text of a key of the window's node, made with `present` when missing.
  [[nodiscard]] std::string KeyText(const std::string& key, const std::string& present);
  [[nodiscard]] int16_t AutoDelay();
  // The caption and tip of cmdBackup for a look; an empty tip key leaves the tip.
  void ButtonLook(const std::string& tipKey, const std::string& captionKey,
                  const std::string& caption);
  // Cell texts of the grid.
  [[nodiscard]] std::string DateTimeText(Date value) const;
  [[nodiscard]] std::string CellText(int32_t bit, ::vellix::Period& period);
  // Runs `found` on each row of the period whose backup file is `file`.
  template <class Found>
  void ForRowsOfFile(const std::string& file, Found&& found);

  Context& ctx_;
  Ref<ConfigNode> node_;
  std::string crossPicture_;
  std::string tickPicture_;
  Ref<BackupServer> mobjBackupServer_;
  Connection backupStatus_;
  int16_t currentRow_ = 0;
  std::string currentFileLabel_;
  std::string currentFileSize_;
  std::string laterValue_;
  std::string laterUnit_;
  bool cancelRequested_ = false;
  bool flagBackupRunning_ = false;
  bool closedByButton_ = false;
  int16_t countdown_ = 0;
  int32_t mode_ = ModeNeutral;
};

}  // namespace vellix
