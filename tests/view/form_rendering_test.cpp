#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractScrollArea>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabBar>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include "sample_form.h"
#include "view/qt/control_binding.h"

namespace vellix::test {
namespace {

using ::testing::ElementsAre;
using FormRendering = ShownSampleForm;

TEST_F(FormRendering, TypingThenLeavingThenClickingRunsTheModelsHandlersInOrder) {
  auto* edit = Find<QLineEdit>("txtName");
  auto* button = Find<QPushButton>("cmdGo");
  EXPECT_EQ(button->text(), "&Go");
  edit->setFocus(Qt::MouseFocusReason);
  QTest::keyClicks(edit, "ab");
  button->setFocus(Qt::TabFocusReason);
  EXPECT_EQ(form.ActiveControl(), &form.cmdGo);
  QTest::mouseClick(button, Qt::LeftButton);
  // A disabled control is disabled on screen and its click reaches nothing.
  form.cmdGo.Enabled(false);
  EXPECT_FALSE(button->isEnabled());
  QTest::mouseClick(button, Qt::LeftButton);
  EXPECT_THAT(form.log, ElementsAre("txtName_Change a", "txtName_Change ab", "txtName_LostFocus",
                                    "cmdGo_Click"));
}

TEST_F(FormRendering, ModelChangesShowInTheWidgets) {
  auto* edit = Find<QLineEdit>("txtName");
  auto* check = Find<QCheckBox>("chkOn");
  auto* combo = Find<QComboBox>("cboKind");
  // Setting a text in code raises Change once; the widget's update doesn't
  // come back as a second one.
  form.txtName.Text("Archive");
  EXPECT_EQ(edit->text(), "Archive");
  EXPECT_THAT(form.log, ElementsAre("txtName_Change Archive"));

  EXPECT_EQ(Find<QLabel>("lblInfo")->text(), "Name:");
  form.lblInfo.Caption("Fish && Chips");
  EXPECT_EQ(Find<QLabel>("lblInfo")->text(), "Fish & Chips");
  form.chkOn.Value(CheckBox::kGrayed);
  EXPECT_EQ(check->checkState(), Qt::PartiallyChecked);
  form.chkOn.Value(CheckBox::kChecked);
  EXPECT_EQ(check->checkState(), Qt::Checked);
  form.cboKind.AddItem("Monthly");
  form.cboKind.ListIndex(2);
  EXPECT_EQ(combo->count(), 3);
  EXPECT_EQ(combo->currentText(), "Monthly");
  EXPECT_FALSE(combo->isEditable());

  // Twips to pixels at the screen's resolution.
  const double tpp = host.TwipsPerPixel();
  form.txtName.Move(1500, 3000, 1500, 450);
  EXPECT_EQ(edit->geometry(),
            QRect(qRound(1500 / tpp), qRound(3000 / tpp), qRound(1500 / tpp), qRound(450 / tpp)));
  form.txtName.Visible(false);
  EXPECT_TRUE(edit->isHidden());
  form.txtName.ToolTipText("Who");
  EXPECT_EQ(edit->toolTip(), "Who");

  // Controls of a frame lie in its box; ZOrder(0) stacks one above its siblings.
  auto* option = Find<QRadioButton>("optA");
  auto* other = Find<QRadioButton>("optB");
  auto* frame = Find<QWidget>("fraChoice");
  EXPECT_EQ(option->parentWidget(), frame);
  const auto stacking = [frame](QObject* w) { return frame->children().indexOf(w); };
  EXPECT_LT(stacking(option), stacking(other));
  form.optA.ZOrder(0);
  EXPECT_GT(stacking(option), stacking(other));

  form.Caption("Renamed");
  EXPECT_EQ(window->windowTitle(), "Renamed");
}

TEST_F(FormRendering, AHiddenControlGetsItsWidgetWhenItFirstShows) {
  const auto named = [this](const char* name) {
    return window->findChild<QWidget*>(QString::fromLatin1(name));
  };
  // Changes while they wait are there when they show, nested frames included;
  // a panel shown while its window is hidden is built when the window shows.
  form.chkMore.Value(CheckBox::kChecked);
  form.chkMore.Visible(false);
  form.optInner.Enabled(false);
  form.Hide();
  form.picMore.Visible(true);
  EXPECT_EQ(named("picMore"), nullptr);
  form.Show();
  auto* panel = named("picMore");
  auto* inner = named("fraInner");
  auto* option = named("optInner");
  ASSERT_TRUE(panel && inner && option);
  EXPECT_EQ(option->parentWidget(), inner);
  EXPECT_FALSE(option->isEnabled());
  EXPECT_EQ(named("chkMore"), nullptr);

  // Made late, it still lies in its panel and in the model's stacking order.
  form.chkMore.Visible(true);
  auto* check = qobject_cast<QCheckBox*>(named("chkMore"));
  ASSERT_NE(check, nullptr);
  EXPECT_EQ(check->parentWidget(), panel);
  EXPECT_TRUE(check->isChecked() && check->isVisible());
  EXPECT_LT(panel->children().indexOf(check), panel->children().indexOf(inner));

  // Bound once: a click runs the model's handler and is seen once.
  QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(6, check->height() / 2));
  EXPECT_EQ(form.chkMore.Value(), CheckBox::kUnchecked);
  form.picMore.Visible(false);
  form.picMore.Visible(true);
  EXPECT_EQ(window->findChildren<QCheckBox*>("chkMore").size(), 1);
}

TEST_F(FormRendering, TabChangeVetoedByTheModelLeavesTheTabBarWhereItWas) {
  auto* bar = Find<QTabBar>("tabMain");
  ASSERT_EQ(bar->count(), 2);
  EXPECT_EQ(bar->tabText(1), "Agents");
  form.vetoTabs = true;
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
  EXPECT_EQ(bar->currentIndex(), 0);
  EXPECT_EQ(form.tabMain.SelectedItem()->Key(), "summary");
  form.vetoTabs = false;
  QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
  EXPECT_EQ(bar->currentIndex(), 1);
  EXPECT_THAT(form.log,
              ElementsAre("tabMain_BeforeClick", "tabMain_BeforeClick", "tabMain_Click agents"));
  // Selecting in code moves the bar too.
  form.tabMain.Tabs("summary").Selected(true);
  EXPECT_EQ(bar->currentIndex(), 0);
}

TEST_F(FormRendering, UserActionsOnEachKindOfControlReachTheModel) {
  auto* check = Find<QCheckBox>("chkOn");
  auto* optA = Find<QRadioButton>("optA");
  auto* optB = Find<QRadioButton>("optB");
  // On the box itself: the caption is shorter than the control.
  const auto onBox = [](QWidget* w) { return QPoint(6, w->height() / 2); };
  QTest::mouseClick(check, Qt::LeftButton, {}, onBox(check));
  EXPECT_EQ(form.chkOn.Value(), CheckBox::kChecked);

  // Option buttons of one frame: the model keeps one on, and the widgets
  // follow; clicking the one that is on keeps it on.
  QTest::mouseClick(optA, Qt::LeftButton, {}, onBox(optA));
  QTest::mouseClick(optB, Qt::LeftButton, {}, onBox(optB));
  QTest::mouseClick(optB, Qt::LeftButton, {}, onBox(optB));
  EXPECT_FALSE(form.optA.Value());
  EXPECT_TRUE(optB->isChecked());
  EXPECT_FALSE(optA->isChecked());

  Q_EMIT Find<QComboBox>("cboKind")->activated(1);
  EXPECT_EQ(form.cboKind.ListIndex(), 1);
  QTest::mouseClick(Find<QToolButton>("udCount.Up"), Qt::LeftButton);
  EXPECT_EQ(form.txtCount.Text(), "6");
  EXPECT_EQ(Find<QLineEdit>("txtCount")->text(), "6");

  auto* list = Find<QListWidget>("lstTicks");
  ASSERT_EQ(list->count(), 2);
  // An unticked row shows its empty box, so that it can be ticked at all.
  EXPECT_EQ(list->item(1)->data(Qt::CheckStateRole), QVariant(Qt::Unchecked));
  list->item(1)->setCheckState(Qt::Checked);
  EXPECT_TRUE(form.lstTicks.Selected(1));
  form.lstTicks.Selected(0, true);
  EXPECT_EQ(list->item(0)->checkState(), Qt::Checked);

  auto* tree = Find<QTreeWidget>("tvwFolders");
  ASSERT_EQ(tree->topLevelItemCount(), 1);
  QTreeWidgetItem* root = tree->topLevelItem(0);
  ASSERT_EQ(root->childCount(), 1);
  EXPECT_EQ(root->child(0)->text(0), "Inbox");
  Q_EMIT tree->itemClicked(root->child(0), 0);
  EXPECT_EQ(form.tvwFolders.SelectedItem()->Key(), "inbox");
  form.tvwFolders.Add("root", TreeView::Relationship::Child, "sent", "Sent");
  EXPECT_EQ(tree->topLevelItem(0)->childCount(), 2);

  auto* grid = Find<QTableWidget>("grdRuns");
  EXPECT_EQ(grid->item(0, 1)->text(), "Run");
  form.grdRuns.TextMatrix(2, 1, "Done");
  EXPECT_EQ(grid->item(2, 1)->text(), "Done");
  Q_EMIT grid->cellClicked(2, 1);
  EXPECT_EQ(form.grdRuns.Row(), 2);
  EXPECT_EQ(grid->currentRow(), 2);

  EXPECT_THAT(form.log,
              ElementsAre("chkOn_Click 1", "optA_Click", "optB_Click", "cboKind_Click Weekly",
                          "UpClick", "lstTicks_ItemCheck 1", "lstTicks_ItemCheck 0",
                          "NodeClick inbox", "LeaveCell 1", "EnterCell 2"));
}

TEST(CellPercent, OnlyAWholeShareOfAtMostAHundredWrittenAsHashHashZeroPercentIsABar) {
  const std::pair<const char*, int> cases[] = {
      {"0%", 0},    {"7%", 7},     {"25%", 25},     {"100%", 100}, {"101%", -1},
      {"250%", -1}, {"1000%", -1}, {"05%", -1},     {"007%", -1},  {"%", -1},
      {"25", -1},   {"-5%", -1},   {"2.5%", -1},    {"25 %", -1},  {" 25%", -1},
      {"Done", -1}, {"", -1},      {"Started", -1}, {"2a%", -1},
  };
  for (const auto& [text, percent] : cases)
    EXPECT_EQ(qtview::CellPercent(QString::fromUtf8(text)), percent) << text;
}

// A share is drawn as a bar filled to its part of the cell's width, told apart
// by colour from the rest of the bar, sampled away from the text in its middle.
TEST_F(FormRendering, AShareInAGridCellIsABarFilledToItsPartOfTheCell) {
  form.grdRuns.Move(120, 5200, 6000, 900);
  form.grdRuns.ColWidth(0, 600);
  form.grdRuns.TextMatrix(1, 1, "25%");
  form.grdRuns.TextMatrix(2, 1, "Done");
  auto* grid = Find<QTableWidget>("grdRuns");
  QCoreApplication::processEvents();

  const QImage image = grid->viewport()->grab().toImage();
  const qreal ratio = image.devicePixelRatio();
  auto at = [&](int row, double share) {
    const QRect cell = grid->visualItemRect(grid->item(row, 1));
    const QPoint p(cell.left() + qRound(cell.width() * share), cell.center().y());
    return image.pixelColor(qRound(p.x() * ratio), qRound(p.y() * ratio));
  };
  const QColor fill = grid->palette().color(QPalette::Highlight);
  auto distance = [](const QColor& a, const QColor& b) {
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
           std::abs(a.blue() - b.blue());
  };
  for (double share : {0.06, 0.15, 0.21}) {
    EXPECT_LT(distance(at(1, share), fill), distance(at(1, 0.40), fill)) << share;
    EXPECT_NE(at(1, share), at(2, share)) << share;  // a plain cell has no fill
  }
  for (double share : {0.32, 0.40, 0.75, 0.90})
    EXPECT_EQ(at(1, share), at(1, 0.85)) << share;

  // A change of one cell tells the view of that cell alone.
  QSignalSpy changed(grid->model(), &QAbstractItemModel::dataChanged);
  QSignalSpy reset(grid->model(), &QAbstractItemModel::modelReset);
  form.grdRuns.TextMatrix(1, 1, "26%");
  ASSERT_EQ(changed.size(), 1);
  EXPECT_EQ(changed[0][0].toModelIndex(), grid->model()->index(1, 1));
  EXPECT_EQ(changed[0][1].toModelIndex(), grid->model()->index(1, 1));
  EXPECT_EQ(reset.size(), 0);
  EXPECT_EQ(grid->item(1, 1)->text(), "26%");
}

TEST_F(FormRendering, NewLogLinesKeepAScrolledReaderInPlaceAndTheTopReaderSeesTheNewest) {
  auto* view = Find<QAbstractScrollArea>("txtLog");
  QScrollBar& bar = *view->verticalScrollBar();
  for (int i = 0; i < 200; ++i)
    form.txtLog.PrependLine("line " + std::to_string(i));
  QApplication::processEvents();
  const int visible = bar.pageStep();
  ASSERT_GT(visible, 1);
  EXPECT_EQ(bar.maximum(), 200 - visible);
  // At the top the newest line stays in sight; scrolled down, the lines in
  // sight stay, the new ones coming above them.
  form.txtLog.PrependLine("newest");
  EXPECT_EQ(bar.value(), 0);
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
  form.txtLog.Text("");
  EXPECT_EQ(bar.maximum(), 0);
}

}  // namespace
}  // namespace vellix::test
