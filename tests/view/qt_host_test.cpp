#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <cmath>
#include <thread>

#include "sample_form.h"
#include "view/qt/qt_tray.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;
using QtHostTest = ShownSampleForm;

// Answers the next message box with the button given once it is up; seen gets
// its title, text and buttons.
void AnswerNextBox(QMessageBox::StandardButton answer, std::vector<std::string>& seen) {
  auto* poll = new QTimer;
  poll->setInterval(5);
  QObject::connect(poll, &QTimer::timeout, [poll, answer, &seen] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) return;
    seen = {box->windowTitle().toStdString(), box->text().toStdString()};
    for (QAbstractButton* button : box->buttons())
      seen.push_back(button->text().remove(QLatin1Char('&')).toStdString());
    seen.push_back(box->icon() == QMessageBox::Question      ? "question icon"
                   : box->icon() == QMessageBox::Information ? "information icon"
                                                             : "other icon");
    box->button(answer)->click();
    poll->deleteLater();
  });
  poll->start();
}

TEST_F(QtHostTest, AMessageBoxLetsAQueuedEngineEventRunBeforeTheHandlerContinues) {
  host.SetTitle("Vellix Control");
  MsgResult answer = MsgResult::OK;
  form.cmdGo.Click = [&] {
    host.Post([&] { form.log.push_back("engine event"); });
    answer = host.MsgBox("Stop the engine?", MsgButtons::YesNo, "");
    form.log.push_back("handler continues");
  };
  std::vector<std::string> seen;
  AnswerNextBox(QMessageBox::No, seen);
  QTest::mouseClick(Find<QPushButton>("cmdGo"), Qt::LeftButton);

  EXPECT_THAT(form.log, ::testing::Contains("engine event"));
  EXPECT_EQ(form.log.back(), "handler continues");
  EXPECT_EQ(answer, MsgResult::No);
  EXPECT_THAT(seen,
              ElementsAre("Vellix Control", "Stop the engine?", "Yes", "No", "question icon"));

  // A title of the caller's own, and an OK/Cancel box.
  AnswerNextBox(QMessageBox::Cancel, seen);
  EXPECT_EQ(host.MsgBox("Go on?", MsgButtons::OKCancel, "Backup"), MsgResult::Cancel);
  EXPECT_THAT(seen, ElementsAre("Backup", "Go on?", "OK", "Cancel", "question icon"));
  AnswerNextBox(QMessageBox::Ok, seen);
  EXPECT_EQ(host.MsgBox("No browser.", MsgButtons::OK, ""), MsgResult::OK);
  EXPECT_THAT(seen, ElementsAre("Vellix Control", "No browser.", "OK", "information icon"));
}

// As an engine event handled while the question is up may unload its form.
TEST_F(QtHostTest, AFormUnloadedWhileItsMessageBoxIsUpTakesTheBoxAlongAsDismissed) {
  host.Post([this] { form.Unload(); });
  EXPECT_EQ(host.MsgBox("Stop the engine?", MsgButtons::YesNo, ""), MsgResult::No);
  EXPECT_FALSE(form.Loaded());
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(QtHostTest, AModalFormRunsANestedLoopUntilItIsHiddenOrUnloaded) {
  SampleForm dialog(host, "frmDialog");
  host.Post([&] { dialog.log.push_back("posted while modal"); });
  host.Post([&] { dialog.Hide(); });
  dialog.Show(true);
  EXPECT_THAT(dialog.log, ::testing::Contains("posted while modal"));
  EXPECT_TRUE(dialog.Loaded());
  EXPECT_FALSE(host.WindowOf(dialog)->isVisible());

  // A button of the modal form that unloads it ends the loop too.
  dialog.cmdGo.Click = [&] { dialog.Unload(); };
  host.Post([&] {
    QTest::mouseClick(host.WindowOf(dialog)->findChild<QPushButton*>("cmdGo"), Qt::LeftButton);
  });
  dialog.Show(true);
  EXPECT_FALSE(dialog.Loaded());
  EXPECT_EQ(host.WindowOf(dialog), nullptr);
}

// The session's end closes what is modal from the top: the message box as if
// dismissed, then the modal form by the session's unload (one that refuses is
// hidden all the same, so its loop ends); then nothing is left to close.
TEST_F(QtHostTest, SessionEndClosesModalWindowsFromTheTop) {
  SampleForm dialog(host, "frmDialog");
  dialog.refuseClose = true;
  MsgResult answer = MsgResult::OK;
  std::vector<bool> closed;
  host.Post([&] {
    host.Post([&] {
      for (int i = 0; i < 3; ++i)
        closed.push_back(host.CloseTopModal());
    });
    answer = host.MsgBox("Go on?", MsgButtons::OKCancel, "");
  });
  dialog.Show(true);
  EXPECT_THAT(closed, ElementsAre(true, true, false));
  EXPECT_EQ(answer, MsgResult::Cancel);
  EXPECT_EQ(dialog.lastUnloadMode, Form::kUnloadBySessionEnd);
  EXPECT_TRUE(dialog.Loaded());
  EXPECT_FALSE(dialog.Visible());
}

TEST(QtHostPost, FromAnotherThreadRunsOnTheGuiThread) {
  qtview::QtHost host;
  std::atomic<bool> ran{false};
  std::thread::id ranOn;
  std::thread worker([&] {
    host.Post([&] {
      ranOn = std::this_thread::get_id();
      ran = true;
    });
  });
  worker.join();
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran.load(); }, 5000));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(QtHostTest, CloseBoxAsksTheFormAndTheLastUnloadEndsTheProgram) {
  int ended = 0;
  host.OnLastFormUnloaded = [&] { ++ended; };
  form.refuseClose = true;
  window->close();
  EXPECT_TRUE(form.Loaded());
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(ended, 0);

  form.refuseClose = false;
  window->close();
  EXPECT_FALSE(form.Loaded());
  EXPECT_EQ(host.WindowOf(form), nullptr);
  EXPECT_FALSE(host.AnyFormLoaded());
  EXPECT_EQ(ended, 1);
  EXPECT_THAT(form.log, ElementsAre("Form_QueryUnload", "Form_QueryUnload"));
}

TEST_F(QtHostTest, FormSizeAndActivationFollowTheModel) {
  const double tpp = host.TwipsPerPixel();
  EXPECT_EQ(window->width(), qRound((9000 - 240) / tpp));
  form.Width(6000);
  EXPECT_EQ(window->width(), qRound((6000 - 240) / tpp));

  // Activate comes when the program's forms take turns, once each time.
  SampleForm second(host, "frmSecond");
  second.Show();
  host.WindowOf(second)->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(host.WindowOf(second)));
  form.BringToFront();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  EXPECT_THAT(form.log, ElementsAre("Activate"));
  EXPECT_THAT(second.log, ElementsAre("Activate"));
  second.Unload();
}

// Once the next popup menu is up, notes its entries ("-" a separator, "(off)"
// after a disabled one) and picks the one of that name by the keyboard.
void PickFromNextMenu(const char* name, QStringList& shown, QPointer<QMenu>& menu) {
  QTimer::singleShot(0, [name, &shown, &menu] {
    menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_FALSE(menu.isNull());
    for (QAction* action : menu->actions())
      shown << (action->isSeparator() ? QStringLiteral("-") : action->text()) +
                   (action->isEnabled() ? "" : " (off)");
    auto* pick = menu->findChild<QAction*>(name);
    ASSERT_NE(pick, nullptr);
    menu->setActiveAction(pick);
    QTest::keyClick(menu, Qt::Key_Return);
  });
}

TEST(QtTray, LoadsIconFilesAndRefusesWhatIsNoIcon) {
  qtview::QtHost host;
  QTemporaryDir dir;
  ASSERT_TRUE(dir.isValid());
  QFile::copy(QStringLiteral(VELLIX_SOURCE_DIR "/resources/Running.ico"),
              dir.filePath("Running.ico"));
  QFile text(dir.filePath("Notes.ico"));
  ASSERT_TRUE(text.open(QIODevice::WriteOnly));
  text.write("not an icon");
  text.close();
  // The program's "<folder>\<file>" texts lie in the temporary folder here.
  qtview::QtTray tray(host, [&dir](const std::string& path) {
    return dir.filePath(QString::fromStdString(path.substr(path.find_last_of('\\') + 1)))
        .toStdString();
  });

  const std::string running = tray.LoadPicture("C:\\Program\\Running.ico");
  EXPECT_EQ(running, dir.filePath("Running.ico").toStdString());
  EXPECT_EQ(tray.LoadPicture("C:\\Program\\Missing.ico"), "");
  EXPECT_EQ(tray.LoadPicture("C:\\Program\\Notes.ico"), "");

  tray.Add(running, "Vellix: running");
  EXPECT_FALSE(tray.Icon().icon().isNull());
  EXPECT_EQ(tray.Icon().toolTip(), "Vellix: running");
  tray.Modify("", "Vellix: stopped");
  EXPECT_EQ(tray.Icon().toolTip(), "Vellix: stopped");
  EXPECT_TRUE(tray.Icon().isVisible());
  tray.Delete();
  QCoreApplication::sendPostedEvents();
  EXPECT_FALSE(tray.Icon().isVisible());
}

TEST_F(QtHostTest, TrayPassesGesturesToTheFormAndItsMenuUnloadsTheFormWithinTheGesture) {
  qtview::QtTray tray(host, {});
  tray.AttachForm(form);
  const double tpp = host.TwipsPerPixel();
  for (const auto& [reason, message] : {std::pair{QSystemTrayIcon::Context, 517},
                                        {QSystemTrayIcon::Trigger, 514},
                                        {QSystemTrayIcon::DoubleClick, 515}}) {
    Q_EMIT tray.Icon().activated(reason);
    EXPECT_DOUBLE_EQ(form.lastMouseX / tpp, message);
  }
  // The icon pops no menu of its own.
  EXPECT_EQ(tray.Icon().contextMenu(), nullptr);

  // As the main form does: the right click pops the form's menu up, and the
  // entry picked unloads the form, which takes the icon away.
  int ended = 0;
  host.OnLastFormUnloaded = [&] { ++ended; };
  tray.Add("", "Vellix");
  form.mouseMoved = [&] {
    if (std::lround(form.lastMouseX / tpp) == qtview::QtTray::kRightButtonUp)
      form.PopupMenu(form.mnuPopup);
  };
  form.mnuOpen.Click = [&] {
    form.log.push_back("mnuOpen_Click");
    form.Unload();
  };
  form.unloading = [&] {
    tray.Delete();
    form.log.push_back(tray.Icon().isVisible() ? "Form_Unload, icon still there"
                                               : "Form_Unload, icon gone");
  };
  QStringList shown;
  QPointer<QMenu> menu;
  PickFromNextMenu("mnuOpen", shown, menu);
  Q_EMIT tray.Icon().activated(QSystemTrayIcon::Context);
  EXPECT_THAT(shown, ElementsAre("&Open", "-", "E&xit (off)"));  // the visible entries

  // Form_Unload ran in full inside the gesture; the icon's window, which is
  // delivering that gesture, stays until the event is over.
  EXPECT_FALSE(form.Loaded());
  EXPECT_EQ(ended, 1);
  EXPECT_THAT(form.log,
              ElementsAre("mnuOpen_Click", "Form_QueryUnload", "Form_Unload, icon still there"));
  EXPECT_TRUE(tray.Icon().isVisible());
  QCoreApplication::sendPostedEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_FALSE(tray.Icon().isVisible());
  EXPECT_TRUE(menu.isNull());

  // A new Add before the event loop ran keeps the icon.
  tray.Add("", "Vellix");
  tray.Delete();
  tray.Add("", "Vellix");
  QCoreApplication::sendPostedEvents();
  EXPECT_TRUE(tray.Icon().isVisible());
}

}  // namespace
}  // namespace vellix::test
