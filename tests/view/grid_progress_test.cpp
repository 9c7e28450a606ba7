#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include "sample_form.h"
#include "view/qt/control_binding.h"

namespace vellix::test {
namespace {

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

using GridProgress = ShownSampleForm;

// A share is drawn as a bar filled to its part of the cell's width; another
// text as before. The bar's fill is told apart by colour from the rest of
// the bar, sampled away from the text in its middle.
TEST_F(GridProgress, AShareIsABarFilledToItsPartOfTheCell) {
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
  for (double share : {0.32, 0.40, 0.75, 0.90}) {
    EXPECT_EQ(at(1, share), at(1, 0.85)) << share;
  }

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

}  // namespace
}  // namespace vellix::test
