#pragma once

#include <QObject>
#include <filesystem>
#include <functional>
#include <string>

#include "app/script_tools.h"

namespace vellix {
class Form;
class FrmPopup;
}  // namespace vellix

namespace vellix::app {

// The screenshot run's visit to the Import tab and the attach period
// dialog: the first agent gets two folders to import, one ticked for its
// sub-folders, and two store files brought back from elsewhere lie loose in
// the store folder, so the dialog has something to offer. The dialog is not
// modal: its picture is taken when the view reports it shown, then it is
// cancelled and the run goes on.
class ImportScript : public QObject {
 public:
  using Tools = ScriptTools;
  static constexpr int kPictures = 2;

  ImportScript(FrmPopup& popup, Tools tools);

  // Runs the visit; `next` follows once the dialog has closed, or was not shown.
  void Run(std::function<void()> next);
  // The view showed a form.
  void FormShown(Form& form);

 private:
  void ImportShot();
  void AttachStep();
  void AttachShot(Form& form);
  void PutLooseStores();
  void Done();

  FrmPopup& popup_;
  Tools tools_;
  std::function<void()> next_;
  bool waiting_ = false;
};

}  // namespace vellix::app
