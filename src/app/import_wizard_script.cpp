#include "app/import_wizard_script.h"

#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <utility>

#include "foundation/agent.h"
#include "foundation/collection.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "shell/frm_popup.h"
#include "view/qt/mail_explorer_window.h"
#include "wizard/frm_import_wizard.h"

namespace vellix::app {

namespace {
// Time for a window to lay out and paint before its picture is taken.
constexpr int kSettleMs = 300;
// A window not shown by then never will be.
constexpr int kShowMs = 5000;
constexpr const char* kCalendar = R"(\\Mailbox - Alex Morgan\Calendar)";

qtview::MailExplorerWindow* ShownExplorer() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* window = dynamic_cast<qtview::MailExplorerWindow*>(widget);
    if (window != nullptr && window->isVisible()) return window;
  }
  return nullptr;
}
}  // namespace

ImportWizardScript::ImportWizardScript(FrmPopup& popup, UiHost& host, Tools tools)
    : popup_(popup), host_(host), tools_(std::move(tools)) {}

ImportWizardScript::~ImportWizardScript() = default;

void ImportWizardScript::Run(std::function<void()> next) {
  next_ = std::move(next);
  tools_.step("import wizard");
  // Made for the pictures alone, and only in this run.
  wizard_ = std::make_unique<FrmImportWizard>(popup_.ctx(), host_);
  waiting_ = true;
  wizard_->Show();
  QTimer::singleShot(kShowMs, this, [this] {
    if (!waiting_) return;
    tools_.note("the import wizard was not shown");
    Done();
  });
}

void ImportWizardScript::FormShown(Form& form) {
  if (!waiting_ || &form != wizard_.get()) return;
  waiting_ = false;
  QTimer::singleShot(kSettleMs, this, [this] {
    AddRoot(nullptr);
    AddRoot(kCalendar);
    QTimer::singleShot(kSettleMs, this, [this] { SourceShot(); });
  });
}

void ImportWizardScript::AddRoot(const char* path) {
  tools_.step("import wizard root");
  // The instruction's message box is answered by the run; the Explorer
  // window is up when the click returns.
  if (!wizard_->cmdSoAdd.UserClick()) tools_.note("the wizard's Add did not answer");
  qtview::MailExplorerWindow* explorer = ShownExplorer();
  if (explorer == nullptr) {
    tools_.note("no Explorer window was shown");
    return;
  }
  if (path != nullptr && !explorer->ShowFolder(path))
    tools_.note(std::string("no folder ") + path + " in the Explorer");
  explorer->close();
}

void ImportWizardScript::SourceShot() {
  tools_.step("import wizard source picture");
  if (wizard_->lstSoRootFolders.ListCount() != 2) tools_.note("the wizard has not two roots");
  tools_.shot(*wizard_, "import-wizard-source.png");
  wizard_->cmdNext.UserClick();
  // The user gives the Inbox and other mail to the first mail agent; the
  // other choices stay as preselected.
  const Collection<std::string> mail = wizard_->AgentList("Mail and Post");
  if (mail.Count() < 2) {
    tools_.note("no mail agent to choose in the wizard");
  } else {
    for (ComboBox* combo : {&wizard_->cboAgInbox, &wizard_->cboAgOtherMailAndPost}) {
      for (int32_t i = 0; i < combo->ListCount(); ++i) {
        if (combo->List(i) == mail.Item(2)) combo->UserPick(i);
      }
    }
  }
  QTimer::singleShot(kSettleMs, this, [this] { AgentsShot(); });
}

void ImportWizardScript::AgentsShot() {
  tools_.step("import wizard agents picture");
  tools_.shot(*wizard_, "import-wizard-agents.png");
  wizard_->cmdNext.UserClick();
  QTimer::singleShot(kSettleMs, this, [this] { RunShot(); });
}

void ImportWizardScript::RunShot() {
  tools_.step("import wizard run picture");
  if (wizard_->ImportList().Count() == 0) tools_.note("the wizard's survey found no folder");
  tools_.shot(*wizard_, "import-wizard-run.png");
  // Cancelled: the user's agents get no imports from the pictures.
  wizard_->cmdCancel.UserClick();
  Done();
}

void ImportWizardScript::Done() {
  if (!next_) return;
  auto next = std::move(next_);
  next_ = nullptr;
  next();
}

}  // namespace vellix::app
