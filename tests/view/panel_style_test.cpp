#include "view/qt/panel_style.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QStyleOption>

namespace vellix::qtview {
namespace {

// One primitive drawn on a clear picture larger than its rectangle, so that
// paint outside the rectangle shows.
QImage Draw(QStyle::PrimitiveElement element, const QStyleOption& option) {
  QImage image(64, 48, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  PanelStyle style;
  style.drawPrimitive(element, &option, &painter, nullptr);
  painter.end();
  return image;
}

int CountInside(const QImage& image, const QRect& rect, QRgb colour) {
  int count = 0;
  for (int y = rect.top(); y <= rect.bottom(); ++y)
    for (int x = rect.left(); x <= rect.right(); ++x)
      count += image.pixel(x, y) == colour ? 1 : 0;
  return count;
}

// Pixels painted outside `rect`.
int PaintedOutside(const QImage& image, const QRect& rect) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      count += !rect.contains(x, y) && qAlpha(image.pixel(x, y)) != 0 ? 1 : 0;
  return count;
}

QStyleOptionButton Option(const QRect& rect, QStyle::State state) {
  QStyleOptionButton option;
  option.rect = rect;
  option.state = state | QStyle::State_Enabled;
  return option;
}

TEST(PanelStyle, ACheckBoxShowsItsMarkOnlyWhenCheckedAndInsideItsBox) {
  const QRect rect(10, 10, 13, 13);
  const QRect inside = rect.adjusted(2, 2, -2, -2);
  const QImage on = Draw(QStyle::PE_IndicatorCheckBox, Option(rect, QStyle::State_On));
  const QImage off = Draw(QStyle::PE_IndicatorCheckBox, Option(rect, QStyle::State_Off));
  const QImage partly = Draw(QStyle::PE_IndicatorCheckBox, Option(rect, QStyle::State_NoChange));
  const QRgb mark = QPalette().color(QPalette::Text).rgba();
  EXPECT_GE(CountInside(on, inside, mark), 12);  // a tick, not a dot
  EXPECT_EQ(CountInside(off, inside, mark), 0);
  EXPECT_GE(CountInside(partly, inside, mark), 5);
  // The box: its edge drawn, its inside the base colour where there's no mark.
  EXPECT_NE(qAlpha(off.pixel(rect.left(), rect.center().y())), 0);
  EXPECT_EQ(off.pixel(rect.center()), QPalette().color(QPalette::Base).rgba());
  for (const QImage* image : {&on, &off, &partly})
    EXPECT_EQ(PaintedOutside(*image, rect), 0);
}

TEST(PanelStyle, AButtonPanelStaysInItsRectangleAndTheDefaultOneIsOutlinedInTheHighlight) {
  const QRect rect(4, 4, 50, 24);
  QStyleOptionButton plain = Option(rect, {});
  QStyleOptionButton preferred = Option(rect, {});
  preferred.features = QStyleOptionButton::DefaultButton;
  const QImage plainImage = Draw(QStyle::PE_PanelButtonCommand, plain);
  const QImage preferredImage = Draw(QStyle::PE_PanelButtonCommand, preferred);
  const QPoint topEdge(rect.center().x(), rect.top());
  const QRgb highlightOutline = QPalette().color(QPalette::Highlight).darker(125).rgba();
  EXPECT_EQ(preferredImage.pixel(topEdge), highlightOutline);
  EXPECT_NE(plainImage.pixel(topEdge), highlightOutline);
  EXPECT_NE(qAlpha(plainImage.pixel(rect.center())), 0);  // filled
  EXPECT_EQ(PaintedOutside(plainImage, rect), 0);
  EXPECT_EQ(PaintedOutside(preferredImage, rect), 0);

  // A flat button shows nothing until it is pressed.
  QStyleOptionButton flat = Option(rect, {});
  flat.features = QStyleOptionButton::Flat;
  EXPECT_EQ(PaintedOutside(Draw(QStyle::PE_PanelButtonCommand, flat), QRect()), 0);
  flat.state |= QStyle::State_Sunken;
  EXPECT_NE(qAlpha(Draw(QStyle::PE_PanelButtonCommand, flat).pixel(rect.center())), 0);
}

TEST(PanelStyle, AViewsFrameIsItsOnePixelEdgeAndLeavesTheInsideClear) {
  QStyleOption option;
  option.rect = QRect(6, 6, 30, 20);
  option.state = QStyle::State_Enabled;
  const QImage image = Draw(QStyle::PE_Frame, option);
  const QRect& r = option.rect;
  for (const QPoint& edge : {QPoint(r.left(), r.center().y()), QPoint(r.right(), r.center().y()),
                             QPoint(r.center().x(), r.top()), QPoint(r.center().x(), r.bottom()),
                             r.topLeft(), r.bottomRight()})
    EXPECT_NE(qAlpha(image.pixel(edge)), 0) << edge.x() << "," << edge.y();
  EXPECT_EQ(PaintedOutside(image, r.adjusted(1, 1, -1, -1)), 2 * (r.width() + r.height()) - 4);
}

}  // namespace
}  // namespace vellix::qtview
