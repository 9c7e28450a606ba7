#include "app/about_script.h"

#include <QTimer>
#include <utility>

#include "dialogs/frm_about.h"
#include "shell/frm_popup.h"

namespace vellix::app {

AboutScript::AboutScript(Tools tools) : tools_(std::move(tools)) {}

void AboutScript::Open(FrmPopup& popup) {
  opening_ = true;
  // The menu entry's own click, as the tray's menu raises it.
  if (!popup.mPopAbout.UserClick()) tools_.note("the tray menu's About entry did not answer");
  opening_ = false;
  if (!seen_) tools_.note("the About box was not shown");
}

void AboutScript::Shown(Form& form, int settleMs) {
  if (!opening_ || seen_ || form.Name() != "frmAbout") return;
  seen_ = true;
  QTimer::singleShot(settleMs, this, [this, &form] { Picture(form); });
}

void AboutScript::Picture(Form& form) {
  tools_.shot(form, "about.png");
  auto* box = dynamic_cast<FrmAbout*>(&form);
  if (box == nullptr || !box->cmdOK.UserClick()) tools_.note("the About box's OK did not answer");
}

}  // namespace vellix::app
