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

// The screenshot run's visit to the About box: opened by the tray menu's
// entry, as a user opens it, pictured once it is up, and closed with OK.
class AboutScript : public QObject {
 public:
  using Tools = ScriptTools;

  static constexpr int kPictures = 1;

  explicit AboutScript(Tools tools);

  // Opens the box; it is modal, so this returns once the box has closed.
  void Open(FrmPopup& popup);
  // The view showed a form: the box's picture is taken when it settles.
  void Shown(Form& form, int settleMs);

 private:
  void Picture(Form& form);

  Tools tools_;
  bool opening_ = false;
  bool seen_ = false;
};

}  // namespace vellix::app
