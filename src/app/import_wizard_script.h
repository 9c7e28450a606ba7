#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <string>

#include "app/script_tools.h"

namespace vellix {
class Form;
class FrmImportWizard;
class FrmPopup;
class UiHost;
}  // namespace vellix

namespace vellix::app {

// The screenshot run's visit to the import wizard, which nothing in the
// panel opens: it is made here, for its pictures only. Two roots are chosen
// as a user chooses them, in the mail program's Explorer window (the Inbox
// by closing it at once, then the Calendar); on page Agents the mail
// choices are given the first mail agent; page Run shows the survey. Each
// page is pictured, then the wizard is cancelled: nothing is handed over.
class ImportWizardScript : public QObject {
 public:
  using Tools = ScriptTools;
  static constexpr int kPictures = 3;

  ImportWizardScript(FrmPopup& popup, UiHost& host, Tools tools);
  ~ImportWizardScript() override;
  ImportWizardScript(const ImportWizardScript&) = delete;
  ImportWizardScript& operator=(const ImportWizardScript&) = delete;

  // Runs the visit; `next` follows once the wizard has closed, or was not shown.
  void Run(std::function<void()> next);
  // The view showed a form.
  void FormShown(Form& form);

 private:
  // Adds a root through the Explorer: moves to `path` (none: stays on the
  // Inbox) and closes the window.
  void AddRoot(const char* path);
  void SourceShot();
  void AgentsShot();
  void RunShot();
  void Done();

  FrmPopup& popup_;
  UiHost& host_;
  Tools tools_;
  std::unique_ptr<FrmImportWizard> wizard_;
  std::function<void()> next_;
  bool waiting_ = false;
};

}  // namespace vellix::app
