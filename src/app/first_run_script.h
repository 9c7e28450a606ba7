#pragma once

#include <QIcon>
#include <QObject>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "app/about_script.h"
#include "app/agent_script.h"
#include "app/backup_manager_script.h"
#include "app/import_script.h"
#include "app/import_wizard_script.h"
#include "app/recover_script.h"

class QWidget;

namespace vellix {
class Form;
class FrmBackupManager;
class FrmPopup;
class FrmPredictiveStart;
namespace qtview {
class QtHost;
}
}  // namespace vellix

namespace vellix::app {

// --screenshot: a first start played as a user would, writing a picture of
// each window it passes to the output folder: the Quick setup page, the
// Predictive start dialog, the main form on its Summary, Periods,
// Agents, Storage & Backup and Log tabs, the mail folder dialog and the
// purge notice of a pass (AgentScript), the Import tab with its attach period dialog, the support
// message opened from the Log tab, the backup problems notice, the backup
// manager in each look of its button, and the recover dialog with the
// configurations the backup saved, the About box, and the import wizard's
// three pages (made for the pictures alone). A control
// that isn't there is passed over with a note, so a half-built panel still
// gives what can be had. Message boxes on the way are answered with their
// default button and their texts printed.
class FirstRunScript : public QObject {
 public:
  FirstRunScript(qtview::QtHost& host, FrmPopup& popup, FrmPredictiveStart& predictiveStart,
                 FrmBackupManager& backupManager, std::filesystem::path outDir,
                 std::filesystem::path backupFolder);

  // Before start-up: the output folder is made; false with a message when it can't be.
  bool Prepare(std::string& error);
  // After start-up returned: the script goes on from the event loop.
  void Start();
  // The view showed a form.
  void FormShown(Form& form, QWidget& window);
  // The tray took a picture: the first processing one is kept, as the
  // tray shows it.
  void TrayPicture(const std::string& picture, const QIcon& icon);
  // The backup manager made its copier.
  void BackupCopierMade(const std::shared_ptr<backupcopy::BackupCopier>& copier);

  // The file system path of a path text of the logic: the import visit
  // puts files in the store folder.
  std::function<std::filesystem::path(const std::string&)> toNative;

  // 0 when every picture was written, 1 otherwise; the notes say what was missed.
  [[nodiscard]] int ExitCode() const;
  [[nodiscard]] const std::vector<std::string>& Notes() const { return notes_; }

 private:
  void QuickSetupStep();
  void PredictiveStartStep();
  void SummaryStep();
  void SummaryShot();
  // Selects a tab of the main form, then takes its picture and goes on.
  void TabShot(const char* tab, const char* file, std::function<void()> next);
  // Opens the support message from the Log tab; its picture is taken while
  // it is up, and it is cancelled.
  void WaitForPassEnd(int polls);
  void SupportMessageStep();
  void SupportMessageShot(Form& form);
  // Shows the backup problems notice with two sample lines for its picture.
  void BackupProblemsStep();
  void BackupProblemsShot(Form& form);
  // Opens the backup manager from the Storage & Backup tab; its script
  // runs while it is up and closes it.
  void BackupManagerStep();
  // Opens the About box from the tray menu; its script pictures and closes it.
  void AboutStep();
  void Finish();
  void AnswerMessageBoxes();
  // The tools every window's script is handed, each a call back to this run.
  ScriptTools Tools();
  bool Shot(const Form& form, const std::string& file);
  bool ShotWindow(QWidget& window, const std::string& file);
  void Note(std::string text);
  template <class T>
  T* FindControl(Form& form, const char* name);

  qtview::QtHost& host_;
  FrmPopup& popup_;
  FrmPredictiveStart& predictiveStart_;
  std::filesystem::path outDir_;
  std::filesystem::path backupFolder_;
  std::string step_ = "start";
  bool quickSetupDone_ = false;
  bool trayShot_ = false;
  bool predictiveSeen_ = false;
  bool supportSeen_ = false;
  bool backupSeen_ = false;
  Form* backupNotice_ = nullptr;  // while the notice is up
  FrmBackupManager& backupManager_;
  BackupManagerScript managerScript_;
  RecoverScript recoverScript_;
  ImportScript importScript_;
  ImportWizardScript importWizardScript_;
  AboutScript aboutScript_;
  AgentScript agentScript_;
  bool finished_ = false;
  int written_ = 0;
  std::vector<std::string> notes_;
};

}  // namespace vellix::app
