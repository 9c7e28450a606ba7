#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <thread>

#include "sample_form.h"
#include "view/qt/qt_host.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;

// Answers the next message box with the button given once it is up,
// recording its title and text.
struct BoxAnswer {
  QString title;
  QString text;
  QStringList buttons;
};

void AnswerNextBox(QMessageBox::StandardButton answer, BoxAnswer& seen) {
  auto* poll = new QTimer;
  poll->setInterval(5);
  QObject::connect(poll, &QTimer::timeout, [poll, answer, &seen] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr) return;
    seen.title = box->windowTitle();
    seen.text = box->text();
    for (QAbstractButton* button : box->buttons())
      seen.buttons << button->text().remove(QLatin1Char('&'));
    box->button(answer)->click();
    poll->deleteLater();
  });
  poll->start();
}

TEST(QtHostMessageBox, LetsAQueuedEngineEventRunBeforeTheHandlerContinues) {
  qtview::QtHost host;
  host.SetTitle("Vellix Control");
  SampleForm form(host);
  MsgResult answer = MsgResult::OK;
  form.cmdGo.Click = [&] {
    host.Post([&] { form.log.push_back("engine event"); });
    answer = host.MsgBox("Stop the engine?", MsgButtons::YesNo, "");
    form.log.push_back("handler continues");
  };
  form.Show();
  BoxAnswer seen;
  AnswerNextBox(QMessageBox::No, seen);
  QTest::mouseClick(host.WindowOf(form)->findChild<QPushButton*>("cmdGo"), Qt::LeftButton);

  EXPECT_THAT(form.log, ::testing::Contains("engine event"));
  EXPECT_EQ(form.log.back(), "handler continues");
  EXPECT_EQ(answer, MsgResult::No);
  EXPECT_EQ(seen.title, "Vellix Control");
  EXPECT_EQ(seen.text, "Stop the engine?");
  EXPECT_THAT(seen.buttons, ElementsAre("Yes", "No"));

  // A title of the caller's own, and an OK/Cancel box.
  AnswerNextBox(QMessageBox::Cancel, seen);
  EXPECT_EQ(host.MsgBox("Go on?", MsgButtons::OKCancel, "Backup"), MsgResult::Cancel);
  EXPECT_EQ(seen.title, "Backup");
  form.Unload();
}

TEST(QtHostModalForm, RunsANestedLoopUntilTheFormIsHiddenOrUnloaded) {
  qtview::QtHost host;
  SampleForm main(host, "frmMain");
  SampleForm dialog(host, "frmDialog");
  main.Show();

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
  main.Unload();
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

TEST(QtHostWindow, CloseBoxAsksTheFormAndTheLastUnloadEndsTheProgram) {
  qtview::QtHost host;
  int ended = 0;
  host.OnLastFormUnloaded = [&] { ++ended; };
  SampleForm form(host);
  form.Show();
  ASSERT_TRUE(host.AnyFormLoaded());

  form.refuseClose = true;
  host.WindowOf(form)->close();
  EXPECT_TRUE(form.Loaded());
  EXPECT_TRUE(host.WindowOf(form)->isVisible());
  EXPECT_EQ(ended, 0);

  form.refuseClose = false;
  host.WindowOf(form)->close();
  EXPECT_FALSE(form.Loaded());
  EXPECT_EQ(host.WindowOf(form), nullptr);
  EXPECT_FALSE(host.AnyFormLoaded());
  EXPECT_EQ(ended, 1);
  EXPECT_THAT(form.log, ElementsAre("Form_QueryUnload", "Form_QueryUnload"));
}

TEST(QtHostWindow, FormSizeAndActivationFollowTheModel) {
  qtview::QtHost host;
  SampleForm first(host, "frmFirst");
  SampleForm second(host, "frmSecond");
  first.Show();
  QWidget* window = host.WindowOf(first);
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  const double tpp = host.TwipsPerPixel();
  EXPECT_EQ(window->width(), qRound((9000 - 240) / tpp));
  first.Width(6000);
  EXPECT_EQ(window->width(), qRound((6000 - 240) / tpp));

  // Activate comes when the program's forms take turns, once each time.
  second.Show();
  host.WindowOf(second)->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(host.WindowOf(second)));
  first.BringToFront();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  EXPECT_EQ(std::count(first.log.begin(), first.log.end(), "Activate"), 2);
  EXPECT_EQ(std::count(second.log.begin(), second.log.end(), "Activate"), 1);
  second.Unload();
  first.Unload();
}

TEST(QtHostPopupMenu, ShowsTheVisibleEntriesAndRunsTheChosenOne) {
  qtview::QtHost host;
  SampleForm form(host);
  form.Show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(host.WindowOf(form)));
  form.log.clear();
  QStringList shown;
  QList<bool> enabled;
  QTimer::singleShot(0, [&] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (QAction* action : menu->actions()) {
      shown << (action->isSeparator() ? QStringLiteral("-") : action->text());
      enabled << action->isEnabled();
    }
    menu->setActiveAction(menu->actions().first());
    QTest::keyClick(menu, Qt::Key_Return);
  });
  form.PopupMenu(form.mnuPopup);
  EXPECT_THAT(shown, ElementsAre("&Open", "-", "E&xit"));
  EXPECT_THAT(enabled, ElementsAre(true, true, false));
  EXPECT_THAT(form.log, ElementsAre("mnuOpen_Click"));
  form.Unload();
}

}  // namespace
}  // namespace vellix::test
