#pragma once

#include <QObject>
#include <functional>
#include <string>

#include "app/script_tools.h"

namespace vellix {
class Form;
class FrmPopup;
}  // namespace vellix

namespace vellix::app {

// The screenshot run's visit to an agent, after the first pass: the engine
// is stopped with Stop, as agents are edited only then. On the Agents tab
// Add... opens the mail program's folder dialog, pictured with a folder
// chosen and cancelled. The agent of received mail is then told to remove
// filed items after 0 days, and Start runs a pass at once that finds the
// Inbox's filed items due: its purge question is pictured, and each question
// of the pass is answered with the choice the notice opens with, do not
// purge. The run goes on once that pass has ended.
class AgentScript : public QObject {
 public:
  using Tools = ScriptTools;
  static constexpr int kPictures = 2;

  AgentScript(FrmPopup& popup, Tools tools);

  // Runs the visit; `next` follows once the purge pass has ended, or gave up.
  void Run(std::function<void()> next);
  // The view showed a form.
  void FormShown(Form& form);

 private:
  void FolderDialogStep();
  // Retried while the dialog is not up yet.
  void FolderDialogShot(int polls);
  void PurgeStep();
  void Answer(Form& form);
  void Done();

  FrmPopup& popup_;
  Tools tools_;
  std::function<void()> next_;
  bool dialogSeen_ = false;
  int questions_ = 0;
  bool purgeShot_ = false;
};

}  // namespace vellix::app
