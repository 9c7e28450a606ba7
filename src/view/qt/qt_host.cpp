#include "view/qt/qt_host.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <cmath>
#include <memory>
#include <utility>

#include "foundation/form.h"
#include "foundation/menu.h"
#include "foundation/timer.h"
#include "view/qt/form_window.h"
#include "view/qt/mail_folder_dialog.h"
#include "view/qt/picture_files.h"

namespace vellix::qtview {

namespace {

// Fills a Qt menu from a menu model: invisible entries are left out, "-" is
// a separator, an entry with entries of its own opens a submenu.
void FillMenu(QMenu& target, const Menu& source, std::unordered_map<QAction*, Menu*>& entries) {
  for (Menu* entry : source.Items()) {
    if (!entry->Visible()) continue;
    if (entry->IsSeparator()) {
      target.addSeparator();
      continue;
    }
    if (!entry->Items().empty()) {
      QMenu* sub = target.addMenu(Qs(entry->Caption()));
      sub->setEnabled(entry->Enabled());
      FillMenu(*sub, *entry, entries);
      continue;
    }
    QAction* action = target.addAction(Qs(entry->Caption()));
    action->setObjectName(Qs(entry->Name()));
    action->setEnabled(entry->Enabled());
    action->setCheckable(entry->Checked());
    action->setChecked(entry->Checked());
    entries[action] = entry;
  }
}

}  // namespace

QtHost::QtHost() : poster_(std::make_unique<QObject>()) {}

QtHost::~QtHost() {
  for (auto& [form, window] : windows_) {
    if (window.isNull()) continue;
    window->Detach();
    delete window.data();
  }
  for (auto& [timer, qtimer] : timers_)
    delete qtimer.data();
}

void QtHost::SetTitle(std::string productName) {
  title_ = std::move(productName);
}

void QtHost::SetIconFolder(std::string folder) {
  iconFolder_ = std::move(folder);
}

bool QtHost::AnyFormLoaded() const {
  return !windows_.empty();
}

FormWindow* QtHost::Window(const Form& form) const {
  auto it = windows_.find(&form);
  return it == windows_.end() ? nullptr : it->second.data();
}

QWidget* QtHost::WindowOf(const Form& form) const {
  return Window(form);
}

double QtHost::TwipsPerPixel() const {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const double dpi = screen == nullptr ? 96.0 : screen->logicalDotsPerInch();
  return dpi > 0 ? 1440.0 / dpi : 15.0;
}

QString QtHost::PictureFile(const std::string& name) const {
  if (name.empty()) return {};
  QString path = Qs(name);
  if (!QFileInfo(path).isAbsolute() && !iconFolder_.empty()) {
    path = Qs(iconFolder_) + QLatin1Char('/') + path;
  }
  return QFileInfo::exists(path) ? path : QString();
}

QPixmap QtHost::Picture(const std::string& name) const {
  const QString path = PictureFile(name);
  return path.isEmpty() ? QPixmap() : QPixmap::fromImage(ReadPictureFile(path));
}

QIcon QtHost::IconOf(const std::string& name) const {
  // Every size an icon file holds.
  const QString path = PictureFile(name);
  return path.isEmpty() ? QIcon() : ReadIconFile(path);
}

MsgResult QtHost::MsgBox(const std::string& prompt, MsgButtons buttons, const std::string& title) {
  // On the heap: a call posted while the box is up may unload the window it
  // lies over, and that window takes its children along.
  QPointer<QMessageBox> owner = new QMessageBox(QApplication::activeWindow());
  QMessageBox& box = *owner;
  box.setWindowTitle(Qs(title.empty() ? title_ : title));
  box.setTextFormat(Qt::PlainText);
  box.setText(Qs(prompt));
  MsgResult dismissed = MsgResult::OK;
  // Two buttons ask a question; a box with OK alone tells something, a
  // failure as often as a notice, so it gets the milder of the two icons.
  box.setIcon(buttons == MsgButtons::OK ? QMessageBox::Information : QMessageBox::Question);
  switch (buttons) {
    case MsgButtons::OK:
      box.setStandardButtons(QMessageBox::Ok);
      box.setDefaultButton(QMessageBox::Ok);
      break;
    case MsgButtons::OKCancel:
      box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
      box.setDefaultButton(QMessageBox::Ok);
      box.setEscapeButton(QMessageBox::Cancel);
      dismissed = MsgResult::Cancel;
      break;
    case MsgButtons::YesNo:
      box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
      box.setDefaultButton(QMessageBox::Yes);
      dismissed = MsgResult::No;
      break;
  }
  box.exec();
  if (owner.isNull()) return dismissed;
  const std::unique_ptr<QMessageBox> done(owner.data());
  QAbstractButton* clicked = box.clickedButton();
  if (clicked == nullptr) return dismissed;
  switch (box.standardButton(clicked)) {
    case QMessageBox::Ok:
      return MsgResult::OK;
    case QMessageBox::Cancel:
      return MsgResult::Cancel;
    case QMessageBox::Yes:
      return MsgResult::Yes;
    case QMessageBox::No:
      return MsgResult::No;
    default:
      return dismissed;
  }
}

void QtHost::Post(std::function<void()> fn) {
  // Thread-safe: a queued call runs in the thread the receiver lives in.
  QMetaObject::invokeMethod(
      poster_.get(), [fn = std::move(fn)] { RunGuarded("posted call", fn); }, Qt::QueuedConnection);
}

void QtHost::LoadForm(Form& form) {
  if (Window(form) != nullptr) return;
  FormWindow::Hooks hooks;
  hooks.context.twipsPerPixel = TwipsPerPixel();
  hooks.context.picture = [this](const std::string& name) { return Picture(name); };
  hooks.activated = [this](Form& activated) { WindowActivated(activated); };
  windows_[&form] = new FormWindow(form, std::move(hooks));
}

void QtHost::ShowForm(Form& form, bool modal) {
  if (Window(form) == nullptr) LoadForm(form);
  FormWindow* window = Window(form);
  window->setWindowModality(modal ? Qt::ApplicationModal : Qt::NonModal);
  window->ShowAsModel();
  window->raise();
  window->activateWindow();
  if (OnFormShown) OnFormShown(form, *window);
  if (!modal) return;
  // The shown hook or the activation may have closed the form already.
  if (Window(form) == nullptr || !form.Visible() || !form.Loaded()) return;
  QEventLoop loop;
  modalLoops_[&form] = &loop;
  loop.exec(QEventLoop::DialogExec);
  modalLoops_.erase(&form);
  if (FormWindow* still = Window(form); still != nullptr && !still->isVisible()) {
    still->setWindowModality(Qt::NonModal);
  }
}

void QtHost::EndModal(const Form& form) {
  auto it = modalLoops_.find(&form);
  if (it != modalLoops_.end()) it->second->quit();
}

void QtHost::HideForm(Form& form) {
  if (FormWindow* window = Window(form)) window->hide();
  if (activeForm_ == &form) activeForm_ = nullptr;
  EndModal(form);
}

void QtHost::UnloadForm(Form& form) {
  auto it = windows_.find(&form);
  if (it != windows_.end()) {
    QPointer<FormWindow> window = it->second;
    windows_.erase(it);
    if (!window.isNull()) {
      window->Detach();
      window->hide();
      // Later: the call may come from a handler of one of its own widgets.
      window->deleteLater();
    }
  }
  if (activeForm_ == &form) activeForm_ = nullptr;
  EndModal(form);
  if (windows_.empty() && OnLastFormUnloaded) {
    auto done = OnLastFormUnloaded;
    done();
  }
}

void QtHost::WindowActivated(Form& form) {
  // Activate is about forms of the program taking turns: coming back from a
  // message box or from another program raises nothing.
  if (activeForm_ == &form) return;
  activeForm_ = &form;
  form.HostActivated();
}

void QtHost::BringToFront(Form& form) {
  FormWindow* window = Window(form);
  if (window == nullptr) return;
  if (window->isMinimized()) window->showNormal();
  window->raise();
  window->activateWindow();
}

void QtHost::PopupMenu(Form& form, Menu& menu, int32_t x, int32_t y) {
  // No parent: the form may be unloaded while the menu is up, and its window
  // must not take the menu along.
  auto* popup = new QMenu;
  popup->setObjectName(Qs(menu.Name()));
  std::unordered_map<QAction*, Menu*> entries;
  FillMenu(*popup, menu, entries);
  QPoint at = QCursor::pos();
  FormWindow* window = Window(form);
  if ((x >= 0 || y >= 0) && window != nullptr && window->isVisible() && !window->isMinimized()) {
    const double tpp = TwipsPerPixel();
    at = window->mapToGlobal(QPoint(static_cast<int>(std::lround(std::max(x, 0) / tpp)),
                                    static_cast<int>(std::lround(std::max(y, 0) / tpp))));
  }
  QAction* chosen = popup->exec(at);
  auto it = entries.find(chosen);
  Menu* entry = it == entries.end() ? nullptr : it->second;
  // Later: the entry's Click may end the program, and the menu goes with the
  // event that chose it.
  popup->deleteLater();
  // The entry's Click runs once the menu has gone, as the runtime does it.
  if (entry != nullptr) entry->UserClick();
}

void QtHost::StartTimer(Timer& timer) {
  QPointer<QTimer>& slot = timers_[&timer];
  if (slot.isNull()) {
    slot = new QTimer(poster_.get());
    QObject::connect(slot.data(), &QTimer::timeout, poster_.get(),
                     [&timer] { RunGuarded("timer", [&timer] { timer.HostTick(); }); });
  }
  slot->start(timer.Interval());
}

void QtHost::StopTimer(Timer& timer) {
  auto it = timers_.find(&timer);
  if (it == timers_.end()) return;
  if (!it->second.isNull()) {
    it->second->stop();
    // Later: this may run inside the timer's own timeout.
    it->second->deleteLater();
  }
  timers_.erase(it);
}

bool QtHost::CloseTopModal() {
  if (QWidget* popup = QApplication::activePopupWidget()) {
    popup->close();
    return true;
  }
  QWidget* top = QApplication::activeModalWidget();
  if (top == nullptr) return false;
  if (auto* window = dynamic_cast<FormWindow*>(top)) {
    if (Form* form = window->Model()) {
      RunGuarded("session end", [form] { form->Unload(Form::kUnloadBySessionEnd); });
      // A form that refused stays up; hidden, it no longer holds the loop.
      if (form->Loaded() && form->Visible()) form->Hide();
      return true;
    }
  }
  // A message box or a dialog: as if closed by its frame, the Escape answer.
  if (auto* dialog = qobject_cast<QDialog*>(top)) {
    dialog->done(QDialog::Rejected);
  } else {
    top->close();
  }
  return true;
}

Ref<MAPIFolder> QtHost::PickMailFolder(NameSpace& nameSpace) {
  // On the heap: a call posted meanwhile may unload the window the dialog
  // lies over, and that window takes its children along.
  QPointer<MailFolderDialog> dialog = new MailFolderDialog(nameSpace, QApplication::activeWindow());
  const bool accepted = dialog->exec() == QDialog::Accepted;
  if (dialog.isNull()) return nullptr;
  Ref<MAPIFolder> chosen = accepted ? dialog->Selected() : nullptr;
  delete dialog.data();
  return chosen;
}

std::optional<std::string> QtHost::BrowseForFolder(const std::string& title,
                                                   const std::string& start) {
  const QString folder =
      QFileDialog::getExistingDirectory(QApplication::activeWindow(), Qs(title), Qs(start));
  if (folder.isEmpty()) return std::nullopt;
  return Std(folder);
}

}  // namespace vellix::qtview
