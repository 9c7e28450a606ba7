#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QPointer>
#include <QTest>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "activity/frm_support_message.h"
#include "backup/frm_backup_now.h"
#include "support/fake_outlook.h"
#include "support/popup/popup_world.h"
#include "view/qt/form_window.h"
#include "view/qt/mail_explorer_window.h"
#include "view/qt/mail_folder_dialog.h"
#include "wizard/frm_import_wizard.h"

namespace vellix::test {
namespace {

// Where a fault lies: "frmPopup (Agents): QComboBox cboAgName".
std::string Where(const std::string& page, const QWidget* widget) {
  const QWidget* named = widget;
  while (named != nullptr && named->objectName().isEmpty())
    named = named->parentWidget();
  return page + ": " + widget->metaObject()->className() + " " +
         (named == nullptr ? std::string("?") : named->objectName().toStdString());
}

bool TabStop(const QWidget* widget) {
  return widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) != 0;
}

// Every field a screen reader can land on has a name, and Tab from the
// focus visits every field in sight and comes back round.
void CheckPage(const std::string& page, QWidget& window, std::vector<std::string>& faults) {
  QApplication::processEvents();
  std::set<QWidget*> fields;
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(widget);
    // An editor inside a combo box or a date field hands its focus on.
    if (face == nullptr || !widget->isVisible() || !face->state().focusable ||
        widget->focusProxy() != nullptr)
      continue;
    // Qt names a combo box by its value on Linux (a screen reader looks for
    // its label instead), so its own name is asked.
    const QString name = face->role() == QAccessible::ComboBox ? widget->accessibleName()
                                                               : face->text(QAccessible::Name);
    if (name.trimmed().isEmpty()) faults.push_back(Where(page, widget) + " has no accessible name");
    if (TabStop(widget)) fields.insert(widget);
  }
  QWidget* start = QApplication::focusWidget();
  if (start == nullptr || start->window() != &window) {
    faults.push_back(page + ": no field has the focus");
    return;
  }
  std::set<QWidget*> visited{start};
  QWidget* at = start;
  for (size_t step = 0; step <= fields.size(); ++step) {
    QTest::keyClick(at, Qt::Key_Tab);
    at = QApplication::focusWidget();
    if (at == nullptr || at == start) break;
    visited.insert(at);
  }
  if (at != start) faults.push_back(page + ": Tab does not come back round to the first field");
  for (QWidget* field : fields) {
    if (!visited.contains(field)) faults.push_back(Where(page, field) + " is not reached by Tab");
  }
}

// A page of a window: its name and what puts it in view (false: it could
// not be shown).
struct Page {
  std::string name;
  std::function<bool()> show;
};

class EveryWindow : public ::testing::Test {
 protected:
  // Shows the window and checks each of its pages in turn.
  void Check(const std::string& name, QWidget& window, const std::vector<Page>& pages) {
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window)) {
      faults.push_back(name + ": its window never became active");
      return;
    }
    for (const Page& page : pages) {
      const std::string where = name + (page.name.empty() ? "" : " (" + page.name + ")");
      if (page.show && !page.show()) {
        faults.push_back(where + ": the page could not be shown");
        continue;
      }
      CheckPage(where, window, faults);
    }
    window.hide();
  }
  void Check(Form& form, const std::vector<Page>& pages = {{"", {}}}) {
    if (!form.Loaded()) form.Load();
    qtview::FormWindow::Hooks hooks;
    hooks.context.twipsPerPixel = 15.0;
    qtview::FormWindow window(form, hooks);
    window.ShowAsModel();
    Check(form.Name(), window, pages);
    window.Detach();
  }

  void FinishQuickSetup() {
    w.host.OnModal("frmPredictiveStart",
                   [](Form& f) { static_cast<FrmPredictiveStart&>(f).cmdRunNow.UserClick(); });
    w.popup.Get<CommandButton>("cmdOK").UserClick();
    w.host.Pump();
    w.popup.mPopView_Click();
    w.host.Pump();
  }

  PopupWorld w;
  std::vector<std::string> faults;
};

TEST_F(EveryWindow, EveryFieldHasAnAccessibleNameAndTabReachesEveryField) {
  w.Start();
  FrmPopup& popup = w.popup;
  // Quick setup as a first start shows it, then each tab once it is done.
  std::vector<Page> popupPages{{"Quick setup", {}}};
  for (int32_t i = 1; i <= popup.tabControlOptions.TabCount(); ++i) {
    const std::string key = popup.tabControlOptions.Tabs(i).Key();
    popupPages.push_back({key, [this, &popup, key] {
                            if (popup.picQuickSetup.Visible()) FinishQuickSetup();
                            popup.tabControlOptions.UserSelectTab(key);
                            return popup.CurrentTab() == key;
                          }});
  }
  Check(popup, popupPages);

  FrmAbout about(w.ctx, w.host);
  about.Identity({.Componant = [] { return std::string("VellixControl"); },
                  .Version = [] { return std::string("1.0"); },
                  .ProductName = [] { return std::string("Vellix"); }});
  FrmSupportMessage support(w.ctx, w.host);
  FrmBackupNow backupNow(w.ctx, w.host);
  for (Form* form :
       std::initializer_list<Form*>{&w.predictiveStart, &w.purgeNotice, &w.backupManager,
                                    &w.recover, &w.attachPeriod, &about, &support, &backupNow})
    Check(*form);

  FrmImportWizard wizard(w.ctx, w.host);
  // Its pages, each laid over the one before.
  Check(wizard, {{"Source", {}},
                 {"Agents", [&] { return wizard.ShowAgents(), wizard.picAgents.Visible(); }},
                 {"Run", [&] { return wizard.ShowRun(), wizard.picRun.Visible(); }}});

  // The mail program's folder windows, over a store with a folder.
  auto names = std::make_shared<FakeNameSpace>();
  names->AddStore("Mailbox")->Add("Inbox");
  qtview::MailFolderDialog picker(*names);
  Check("MailFolderDialog", picker, {{"", {}}});
  QPointer<qtview::MailExplorerWindow> explorer =
      qtview::MailExplorerWindow::Open(Ref<NameSpace>(names), {}, {}, {});
  Check("MailExplorerWindow", *explorer, {{"", {}}});
  explorer->close();

  std::string all;
  for (const std::string& fault : faults)
    all += "\n  " + fault;
  EXPECT_TRUE(faults.empty()) << all;
}

}  // namespace
}  // namespace vellix::test
