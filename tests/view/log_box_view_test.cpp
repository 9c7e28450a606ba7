#include <gtest/gtest.h>

#include <QAbstractScrollArea>
#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTest>
#include <string>

#include "foundation/controls.h"
#include "view/qt/form_window.h"
#include "view/qt/qt_host.h"

namespace vellix {
namespace {

class LogForm : public Form {
 public:
  explicit LogForm(UiHost& host) : Form(host, "frmLog") {}
  LogBox txtLog{*this, "txtLog"};

 protected:
  void Design() override {
    Width(6000);
    Height(4000);
    txtLog.Move(0, 0, 5800, 3000);
  }
};

TEST(LogBoxView, NewLinesKeepAScrolledReaderInPlaceAndTheTopReaderSeesTheNewest) {
  qtview::QtHost host;
  LogForm form(host);
  form.Show();
  auto* window = static_cast<qtview::FormWindow*>(host.WindowOf(form));
  ASSERT_NE(window, nullptr);
  auto* view = qobject_cast<QAbstractScrollArea*>(window->WidgetOf("txtLog"));
  ASSERT_NE(view, nullptr);
  QScrollBar& bar = *view->verticalScrollBar();

  for (int i = 0; i < 200; ++i)
    form.txtLog.PrependLine("line " + std::to_string(i));
  QApplication::processEvents();
  const int visible = bar.pageStep();
  ASSERT_GT(visible, 1);
  EXPECT_EQ(bar.maximum(), 200 - visible);
  EXPECT_EQ(bar.value(), 0);

  // At the top the newest line stays in sight.
  form.txtLog.PrependLine("newest");
  EXPECT_EQ(bar.value(), 0);
  // Scrolled down, the lines in sight stay: the new ones come above them.
  bar.setValue(10);
  for (int i = 0; i < 5; ++i)
    form.txtLog.PrependLine("more");
  EXPECT_EQ(bar.value(), 15);
  EXPECT_EQ(bar.maximum(), 206 - visible);

  // The keyboard reaches both ends, and copying takes the whole log.
  view->setFocus();
  QTest::keyClick(view, Qt::Key_End);
  EXPECT_EQ(bar.value(), bar.maximum());
  QTest::keyClick(view, Qt::Key_Home);
  EXPECT_EQ(bar.value(), 0);
  QTest::keyClick(view, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), form.txtLog.Text());

  // Emptied, the view has nothing to scroll.
  form.txtLog.Text("");
  EXPECT_EQ(bar.maximum(), 0);
  form.Unload();
}

}  // namespace
}  // namespace vellix
