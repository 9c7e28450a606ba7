#include "app/agent_script.h"

#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <utility>

#include "dialogs/frm_purge_notice.h"
#include "foundation/engine.h"
#include "foundation/monitor.h"
#include "shell/frm_popup.h"
#include "view/qt/mail_folder_dialog.h"
#include "view/qt/mail_folder_tree.h"

namespace vellix::app {

namespace {
// Time for a window to lay out and paint before its picture is taken.
constexpr int kSettleMs = 300;
// Polls before a state that doesn't come is given up: a minute.
constexpr int kPolls = 200;
constexpr const char* kAgent = "Received Emails";
// The folder chosen in the dialog, from the demo mail profile.
constexpr const char* kFolder = R"(\\Mailbox - Alex Morgan\Inbox\Projects)";

qtview::MailFolderDialog* ShownFolderDialog() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* dialog = dynamic_cast<qtview::MailFolderDialog*>(widget);
    if (dialog != nullptr && dialog->isVisible()) return dialog;
  }
  return nullptr;
}
}  // namespace

AgentScript::AgentScript(FrmPopup& popup, Tools tools) : popup_(popup), tools_(std::move(tools)) {}

void AgentScript::Run(std::function<void()> next) {
  next_ = std::move(next);
  tools_.step("stop for the agents");
  if (popup_.ctx().engine->Running()) popup_.cmdStopStart.UserClick();
  WaitFor(
      this, tools_, "the engine to stop", kPolls, kSettleMs,
      [this] { return !popup_.ctx().engine->Running() && popup_.agents.cmdAgAdd.Enabled(); },
      [this] { FolderDialogStep(); });
}

void AgentScript::FolderDialogStep() {
  tools_.step("folder dialog");
  if (!popup_.tabControlOptions.UserSelectTab("Agents")) tools_.note("no Agents tab");
  ComboBox& names = popup_.agents.cboAgName;
  for (int32_t i = 0; i < names.ListCount(); ++i) {
    if (names.List(i) == kAgent && names.ListIndex() != i) names.UserPick(i);
  }
  if (names.Text() != kAgent) tools_.note(std::string("no agent ") + kAgent);
  // The dialog is modal: its picture is taken from its own event loop, and
  // the click returns once it has been cancelled.
  QTimer::singleShot(kSettleMs, this, [this] { FolderDialogShot(0); });
  if (!popup_.agents.cmdAgAdd.UserClick()) tools_.note("Add... did not answer");
  if (!dialogSeen_) tools_.note("the mail folder dialog was not shown");
  PurgeStep();
}

void AgentScript::FolderDialogShot(int polls) {
  QPointer<qtview::MailFolderDialog> dialog = ShownFolderDialog();
  if (dialog.isNull()) {
    if (polls < kPolls)
      QTimer::singleShot(kSettleMs, this, [this, polls] { FolderDialogShot(polls + 1); });
    return;
  }
  dialogSeen_ = true;
  auto* tree = dynamic_cast<qtview::MailFolderTree*>(&dialog->Tree());
  if (tree == nullptr || !tree->SelectPath(kFolder))
    tools_.note(std::string("no folder ") + kFolder + " in the folder dialog");
  QTimer::singleShot(kSettleMs, this, [this, dialog] {
    if (dialog.isNull()) return;
    tools_.shotWindow(*dialog, "mail-folder-picker.png");
    // Nothing is added: the agent keeps the folders Quick setup gave it.
    dialog->reject();
  });
}

void AgentScript::PurgeStep() {
  tools_.step("purge");
  TextBox& remove = popup_.agents.txtAgRemove;
  if (!remove.UserSetText("0")) tools_.note("the agent's Remove items after can't be typed in");
  remove.UserLeave();
  // The start's pass finds the items the first pass filed due at once.
  popup_.cmdStopStart.UserClick();
  WaitFor(
      this, tools_, "the purge pass to end", kPolls, kSettleMs,
      [this] {
        const auto& monitor = popup_.mobjMonitor();
        return questions_ > 0 && !monitor.IsNothing() && !monitor->Processing();
      },
      [this] { Done(); });
}

void AgentScript::FormShown(Form& form) {
  if (!next_ || form.Name() != "frmPurgeNotice") return;
  ++questions_;
  QTimer::singleShot(kSettleMs, this, [this, &form] { Answer(form); });
}

void AgentScript::Answer(Form& form) {
  auto& notice = dynamic_cast<FrmPurgeNotice&>(form);
  if (!purgeShot_) {
    purgeShot_ = true;
    tools_.shot(notice, "purge-notice.png");
  }
  // OK with the choice the notice opened with: nothing is purged.
  if (!notice.optDontPurge.Value()) tools_.note("the purge notice opened with another choice");
  if (!notice.cmdOK.UserClick()) tools_.note("the purge notice's OK did not answer");
}

void AgentScript::Done() {
  if (questions_ == 0) tools_.note("the purge notice was not shown");
  std::printf(
      "screenshot: the purge pass asked %d times, each answered with the choice it opened with\n",
      questions_);
  auto next = std::move(next_);
  next_ = nullptr;
  if (next) next();
}

}  // namespace vellix::app
