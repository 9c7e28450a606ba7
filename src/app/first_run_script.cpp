#include "app/first_run_script.h"

#include <QApplication>
#include <QMessageBox>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "backup/frm_backup_now.h"
#include "dialogs/frm_predictive_start.h"
#include "forms/panel.h"
#include "foundation/controls.h"
#include "foundation/monitor.h"
#include "foundation/text.h"
#include "shell/frm_popup.h"
#include "view/qt/qt_host.h"

namespace vellix::app {

namespace {

// Time for a window to lay out and paint before its picture is taken.
constexpr int kSettleMs = 300;
// How many settle times the script waits for a pass to end.
constexpr int kPassPolls = 100;
constexpr int kPictures = 9 + AgentScript::kPictures + BackupManagerScript::kPictures +
                          RecoverScript::kPictures + ImportScript::kPictures +
                          AboutScript::kPictures + ImportWizardScript::kPictures;

// Whether the control lies in the container, directly or further down.
bool Inside(const Form& form, const Control& control, const std::string& container) {
  std::string at = control.Container();
  for (int depth = 0; !at.empty() && depth < 32; ++depth) {
    if (EqualsText(at, container)) return true;
    const auto* parent = form.Find(at);
    if (parent == nullptr) return false;
    at = parent->Container();
  }
  return false;
}

}  // namespace

FirstRunScript::FirstRunScript(qtview::QtHost& host, FrmPopup& popup,
                               FrmPredictiveStart& predictiveStart, FrmBackupManager& backupManager,
                               std::filesystem::path outDir, std::filesystem::path backupFolder)
    : host_(host),
      popup_(popup),
      predictiveStart_(predictiveStart),
      outDir_(std::move(outDir)),
      backupFolder_(std::move(backupFolder)),
      backupManager_(backupManager),
      managerScript_(backupManager, Tools()),
      recoverScript_(popup, backupFolder_, Tools()),
      importScript_(popup, Tools()),
      importWizardScript_(popup, host, Tools()),
      aboutScript_(Tools()),
      agentScript_(popup, Tools()) {}

ScriptTools FirstRunScript::Tools() {
  return {.shot = [this](const Form& form, const std::string& file) { return Shot(form, file); },
          .shotWindow = [this](QWidget& window,
                               const std::string& file) { return ShotWindow(window, file); },
          .note = [this](std::string text) { Note(std::move(text)); },
          .step = [this](std::string step) { step_ = std::move(step); },
          .toNative = [this](const std::string& path) { return toNative(path); }};
}

bool FirstRunScript::Prepare(std::string& error) {
  std::error_code ec;
  std::filesystem::create_directories(outDir_, ec);
  if (ec) {
    error = "Unable to create the folder " + outDir_.string() + ": " + ec.message();
    return false;
  }
  std::filesystem::create_directories(backupFolder_, ec);
  if (ec) {
    error = "Unable to create the folder " + backupFolder_.string() + ": " + ec.message();
    return false;
  }
  auto* answerer = new QTimer(this);
  connect(answerer, &QTimer::timeout, this, [this] { AnswerMessageBoxes(); });
  answerer->start(100);
  QTimer::singleShot(WatchdogMs(), this, [this] {
    std::fprintf(stderr, "vellix-control: the screenshot run is stuck at step \"%s\"\n",
                 step_.c_str());
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(3);
  });
  return true;
}

void FirstRunScript::Start() {
  // Start-up shows the main form; should the view not report it, go on anyway.
  QTimer::singleShot(kSettleMs * 2, this, [this] {
    if (step_ == "start") QuickSetupStep();
  });
}

void FirstRunScript::FormShown(Form& form, QWidget& /*window*/) {
  if (&form == &popup_ && step_ == "start") {
    step_ = "quick setup shown";
    QTimer::singleShot(kSettleMs, this, [this] { QuickSetupStep(); });
  } else if (&form == &predictiveStart_ && !predictiveSeen_) {
    predictiveSeen_ = true;
    QTimer::singleShot(kSettleMs, this, [this] { PredictiveStartStep(); });
  } else if (&form == backupNotice_ && !backupSeen_) {
    backupSeen_ = true;
    QTimer::singleShot(kSettleMs, this, [this, &form] { BackupProblemsShot(form); });
  } else if (&form == &backupManager_ && step_ == "backup manager") {
    QTimer::singleShot(kSettleMs, this, [this] { managerScript_.Shown(); });
  } else if (form.Name() == "frmRecover") {
    recoverScript_.Shown(form);
  } else if (form.Name() == "frmPurgeNotice") {
    agentScript_.FormShown(form);
  } else if (form.Name() == "frmAttachPeriod") {
    importScript_.FormShown(form);
  } else if (form.Name() == "frmImportWizard") {
    importWizardScript_.FormShown(form);
  } else if (form.Name() == "frmSupportMessage" && !supportSeen_) {
    supportSeen_ = true;
    QTimer::singleShot(kSettleMs, this, [this, &form] { SupportMessageShot(form); });
  } else {
    aboutScript_.Shown(form, kSettleMs);
  }
}

template <class T>
T* FirstRunScript::FindControl(Form& form, const char* name) {
  auto* typed = dynamic_cast<T*>(form.Find(name));
  if (typed == nullptr) Note(std::string("no control ") + name + " on " + form.Name());
  return typed;
}

void FirstRunScript::QuickSetupStep() {
  if (quickSetupDone_) return;
  quickSetupDone_ = true;
  step_ = "quick setup";
  if (!popup_.picQuickSetup.Visible()) Note("the Quick setup page is not in view");
  Shot(popup_, "quick-setup.png");

  for (const char* name : {"chkEmails", "chkCalendar"}) {
    if (auto* box = FindControl<CheckBox>(popup_, name); box && box->Value() != 1) box->UserClick();
  }
  if (auto* option = FindControl<OptionButton>(popup_, "optQuarter"); option && !option->Value())
    option->UserClick();
  if (auto* path = FindControl<TextBox>(popup_, "txtBackupPath")) {
    path->UserSetText(backupFolder_.string());
    path->UserLeave();
  }
  step_ = "quick setup OK";
  if (auto* ok = FindControl<CommandButton>(popup_, "cmdOK")) {
    // Runs the whole confirmation: the Predictive start dialog comes up
    // modal inside this call and the step for it runs from its event loop.
    ok->UserClick();
  }
  if (!predictiveSeen_) Note("the Predictive start dialog was not shown");
  QTimer::singleShot(kSettleMs, this, [this] { SummaryStep(); });
}

void FirstRunScript::PredictiveStartStep() {
  step_ = "predictive start";
  Shot(predictiveStart_, "predictive-start.png");
  if (auto* run = FindControl<CommandButton>(predictiveStart_, "cmdRunNow")) run->UserClick();
}

void FirstRunScript::SummaryStep() {
  step_ = "summary";
  popup_.mPopView_Click();
  auto& tabs = popup_.tabControlOptions;
  if (tabs.SelectedItem() == nullptr || tabs.SelectedItem()->Key() != "Summary")
    tabs.UserSelectTab("Summary");
  TreeView* tree = nullptr;
  for (auto* control : popup_.Controls()) {
    if (control->Kind() == ControlKind::TreeView && Inside(popup_, *control, "picSu")) {
      tree = dynamic_cast<TreeView*>(control);
      break;
    }
  }
  if (tree == nullptr) {
    Note("no tree on the Summary tab");
  } else {
    const TreeNode* agents = nullptr;
    for (const auto* root : tree->Roots()) {
      if (EqualsText(root->Text(), "Agents")) agents = root;
    }
    if (agents != nullptr)
      tree->UserClickNode(agents->Key());
    else
      Note("no \"Agents\" root in " + tree->Name());
  }
  QTimer::singleShot(kSettleMs, this, [this] { SummaryShot(); });
}

void FirstRunScript::SummaryShot() {
  step_ = "summary picture";
  Shot(popup_, "summary.png");
  TabShot("Periods", "periods.png", [this] {
    TabShot("Agents", "agents.png",
            [this] { TabShot("Backup", "backup.png", [this] { WaitForPassEnd(0); }); });
  });
}

void FirstRunScript::TabShot(const char* tab, const char* file, std::function<void()> next) {
  step_ = std::string(tab) + " tab";
  if (!popup_.tabControlOptions.UserSelectTab(tab)) Note(std::string("no ") + tab + " tab");
  QTimer::singleShot(kSettleMs, this, [this, file, next = std::move(next)] {
    Shot(popup_, file);
    next();
  });
}

void FirstRunScript::TrayPicture(const std::string& picture, const QIcon& icon) {
  if (trayShot_ || picture.find("Processing") == std::string::npos) return;
  trayShot_ = true;
  const auto path = outDir_ / "tray-processing.png";
  if (icon.pixmap(64, 64).save(QString::fromStdString(path.string()), "PNG")) {
    std::printf("screenshot: wrote %s (%s)\n", path.string().c_str(), picture.c_str());
  } else {
    Note("unable to write " + path.string());
  }
}

void FirstRunScript::WaitForPassEnd(int polls) {
  // Leaving mid-pass would stop it at the next item: the stores would be
  // made and half filled. The pass ends on its own within seconds.
  step_ = "waiting for the pass to end";
  const auto& monitor = popup_.mobjMonitor();
  const bool processing = !monitor.IsNothing() && monitor->Processing();
  if (processing && polls < kPassPolls * WaitScale()) {
    QTimer::singleShot(kSettleMs, this, [this, polls] { WaitForPassEnd(polls + 1); });
    return;
  }
  if (processing) Note("the pass was still going at exit");
  // The log with the whole pass, its end on top.
  TabShot("Log", "log.png", [this] {
    agentScript_.Run([this] { importScript_.Run([this] { SupportMessageStep(); }); });
  });
}

void FirstRunScript::SupportMessageStep() {
  step_ = "support message";
  if (!popup_.tabControlOptions.UserSelectTab("Log")) Note("no Log tab");
  // The form comes up modal inside the click; its step runs from its event loop.
  if (auto* send = FindControl<CommandButton>(popup_, "cmdLoSendDiagnostics")) send->UserClick();
  if (!supportSeen_) Note("the support message was not shown");
  BackupProblemsStep();
  BackupManagerStep();
  recoverScript_.Open();
  AboutStep();
  importWizardScript_.Run([this] { Finish(); });
}

void FirstRunScript::AboutStep() {
  step_ = "about";
  aboutScript_.Open(popup_);
}

void FirstRunScript::BackupProblemsStep() {
  step_ = "backup problems";
  // Nothing in the panel opens the notice yet: it is shown here only for
  // its picture, modal, until its step presses OK.
  FrmBackupNow notice(popup_.ctx(), host_);
  backupNotice_ = &notice;
  notice.Show(true);
  backupNotice_ = nullptr;
  if (!backupSeen_) Note("the backup problems notice was not shown");
}

void FirstRunScript::BackupManagerStep() {
  step_ = "backup manager";
  if (!popup_.tabControlOptions.UserSelectTab("Backup")) Note("no Backup tab");
  // The window is modal: the click returns once the script has closed it.
  if (auto* now = FindControl<CommandButton>(popup_, "cmdBaBackupNow")) now->UserClick();
  if (!managerScript_.Seen()) Note("the backup manager was not shown");
}

void FirstRunScript::BackupCopierMade(const std::shared_ptr<backupcopy::BackupCopier>& copier) {
  managerScript_.CopierMade(copier);
}

void FirstRunScript::BackupProblemsShot(Form& form) {
  step_ = "backup problems picture";
  // What a run's failures read like; no caller fills the list yet.
  if (auto* list = FindControl<ListBox>(form, "lstMessages")) {
    list->AddItem("Could not read X:\\Stores\\Vellix 2025.pst: Input/output error");
    list->AddItem(
        "Could not copy X:\\Stores\\Vellix 2026.pst: the disk of the backup folder E:\\Backup "
        "is full");
  }
  Shot(form, "backup-problems.png");
  if (auto* ok = FindControl<CommandButton>(form, "cmdOK")) ok->UserClick();
}

void FirstRunScript::SupportMessageShot(Form& form) {
  step_ = "support message picture";
  if (auto* text = FindControl<TextBox>(form, "txtMessage")) {
    text->UserSetText(
        "Since this morning the Inbox is no longer archived; the tray icon stays on Running.");
  }
  Shot(form, "support-message.png");
  if (auto* cancel = FindControl<CommandButton>(form, "cmdCancel")) cancel->UserClick();
}

void FirstRunScript::Finish() {
  if (finished_) return;
  finished_ = true;
  step_ = "exit";
  for (const auto& note : notes_)
    std::printf("screenshot: %s\n", note.c_str());
  std::printf("screenshot: %d of %d pictures written to %s\n", written_, kPictures,
              outDir_.string().c_str());
  std::fflush(stdout);
  const int code = ExitCode();
  popup_.mPopExit_Click();
  // Exit may stop for a question; the pictures are taken, so leave anyway.
  QTimer::singleShot(kSettleMs * 3, this, [code] { QCoreApplication::exit(code); });
}

int FirstRunScript::ExitCode() const {
  return written_ == kPictures ? 0 : 1;
}

bool FirstRunScript::Shot(const Form& form, const std::string& file) {
  QWidget* window = host_.WindowOf(form);
  if (window == nullptr) {
    Note("no window for " + form.Name() + ", " + file + " not written");
    return false;
  }
  return ShotWindow(*window, file);
}

bool FirstRunScript::ShotWindow(QWidget& window, const std::string& file) {
  const auto path = outDir_ / file;
  if (!window.grab().save(QString::fromStdString(path.string()), "PNG")) {
    Note("unable to write " + path.string());
    return false;
  }
  ++written_;
  std::printf("screenshot: wrote %s\n", path.string().c_str());
  return true;
}

void FirstRunScript::AnswerMessageBoxes() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* box = qobject_cast<QMessageBox*>(widget);
    if (box == nullptr || !box->isVisible()) continue;
    std::printf("screenshot: message box \"%s\" answered\n", box->text().toStdString().c_str());
    std::fflush(stdout);
    QAbstractButton* button = box->defaultButton();
    if (button == nullptr && !box->buttons().isEmpty()) button = box->buttons().first();
    if (button != nullptr)
      button->click();
    else
      box->done(0);
  }
}

void FirstRunScript::Note(std::string text) {
  notes_.push_back(std::move(text));
}

}  // namespace vellix::app
