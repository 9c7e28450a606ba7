#include "view/qt/panel_style.h"

#include <QApplication>
#include <QFont>
#include <QPainter>
#include <QStyleOption>
#include <algorithm>

namespace vellix::qtview {

namespace {

// Halfway between two colours: the tone of a cut corner.
QColor Between(const QColor& a, const QColor& b) {
  return {(a.red() + b.red()) / 2, (a.green() + b.green()) / 2, (a.blue() + b.blue()) / 2};
}

// The outline Fusion gives a control: the window's colour darkened, or the
// highlight's when the control has the focus (or is the default button).
QColor Outline(const QStyleOption& option, bool highlighted) {
  const QPalette& palette = option.palette;
  if (highlighted && option.state.testFlag(QStyle::State_Enabled)) {
    return palette.color(QPalette::Highlight).darker(125);
  }
  const QColor outline = palette.color(QPalette::Window).darker(140);
  return option.state.testFlag(QStyle::State_Enabled) ? outline : outline.lighter(115);
}

void ButtonPanel(const QStyleOption& option, QPainter& painter) {
  const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
  const bool isDefault =
      button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
  const bool sunken = (option.state & (QStyle::State_Sunken | QStyle::State_On)) != 0;
  const bool focused = option.state.testFlag(QStyle::State_HasFocus);
  // A flat button shows a panel only while pressed or on, as in Fusion.
  if (button != nullptr && button->features.testFlag(QStyleOptionButton::Flat) && !sunken) return;
  const QColor base = option.palette.color(QPalette::Button);
  QBrush fill;
  if (sunken) {
    fill = base.darker(110);
  } else {
    // Lighter at the top, as Fusion's button gradient.
    QLinearGradient gradient(option.rect.topLeft(), option.rect.bottomLeft());
    gradient.setColorAt(0, base.lighter(108));
    gradient.setColorAt(1, base.darker(102));
    fill = gradient;
  }
  const QRect rect = option.rect.adjusted(0, 0, -1, -1);
  const QColor outline = Outline(option, isDefault || focused);
  CutBox(painter, rect, outline, Between(outline, option.palette.color(QPalette::Window)), fill);
}

void LineEditFrame(const QStyleOption& option, QPainter& painter) {
  const QColor outline = Outline(option, option.state.testFlag(QStyle::State_HasFocus));
  const QColor base = option.palette.color(QPalette::Base);
  CutBox(painter, option.rect, outline, Between(outline, option.palette.color(QPalette::Window)),
         base);
}

void CheckBoxIndicator(const QStyleOption& option, QPainter& painter) {
  // A square of the indicator's height, centred where Fusion puts its own.
  const int size = std::min(option.rect.width(), option.rect.height());
  QRect box(0, 0, size, size);
  box.moveCenter(option.rect.center());
  const QColor outline = Outline(option, option.state.testFlag(QStyle::State_HasFocus));
  const QColor base = option.palette.color(
      option.state.testFlag(QStyle::State_Enabled) ? QPalette::Base : QPalette::Window);
  CutBox(painter, box, outline, Between(outline, option.palette.color(QPalette::Window)), base);
  const QColor mark = option.palette.color(QPalette::Text);
  if (option.state.testFlag(QStyle::State_NoChange)) {
    painter.fillRect(box.adjusted(3, size / 2 - 1, -3, -(size - size / 2 - 1)), mark);
    return;
  }
  if (!option.state.testFlag(QStyle::State_On)) return;
  // A bold tick, a block of two by two pixels for each column: down from the
  // middle of the left edge to the bottom a third of the way across, then up
  // to the top right corner.
  const QRect inner = box.adjusted(3, 3, -4, -4);
  const int w = inner.width();
  const int h = inner.height();
  const int turn = std::max(1, w / 3);
  for (int x = 0; x < w; ++x) {
    const int y = x <= turn ? h / 2 + x * (h - 1 - h / 2) / turn
                            : (h - 1) - (x - turn) * (h - 1) / std::max(1, w - 1 - turn);
    painter.fillRect(QRect(inner.left() + x, inner.top() + y, 2, 2), mark);
  }
}

// The plain frame of a scrolled view: Fusion's one-pixel rectangle, drawn by
// fills rather than through its pen's stroker.
void PlainFrame(const QStyleOption& option, QPainter& painter) {
  const QRect& rect = option.rect;
  if (rect.width() < 2 || rect.height() < 2) return;
  const QColor colour = option.palette.color(QPalette::Window).darker(140).lighter(108);
  painter.fillRect(QRect(rect.left(), rect.top(), rect.width(), 1), colour);
  painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), colour);
  painter.fillRect(QRect(rect.left(), rect.top() + 1, 1, rect.height() - 2), colour);
  painter.fillRect(QRect(rect.right(), rect.top() + 1, 1, rect.height() - 2), colour);
}

}  // namespace

void CutBox(QPainter& painter, const QRect& rect, const QColor& outline, const QColor& corner,
            const QBrush& fill) {
  const int l = rect.left();
  const int t = rect.top();
  const int r = rect.right();
  const int b = rect.bottom();
  if (r - l < 2 || b - t < 2) return;
  painter.fillRect(QRect(QPoint(l + 1, t + 1), QPoint(r - 1, b - 1)), fill);
  painter.fillRect(QRect(QPoint(l + 1, t), QPoint(r - 1, t)), outline);
  painter.fillRect(QRect(QPoint(l + 1, b), QPoint(r - 1, b)), outline);
  painter.fillRect(QRect(QPoint(l, t + 1), QPoint(l, b - 1)), outline);
  painter.fillRect(QRect(QPoint(r, t + 1), QPoint(r, b - 1)), outline);
  for (const QPoint& point : {QPoint(l, t), QPoint(r, t), QPoint(l, b), QPoint(r, b)})
    painter.fillRect(QRect(point, point), corner);
}

void PanelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                               QPainter* painter, const QWidget* widget) const {
  if (option == nullptr || painter == nullptr) {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    return;
  }
  switch (element) {
    case PE_PanelButtonCommand:
      ButtonPanel(*option, *painter);
      return;
    case PE_FrameLineEdit:
      LineEditFrame(*option, *painter);
      return;
    case PE_IndicatorCheckBox:
      CheckBoxIndicator(*option, *painter);
      return;
    case PE_Frame:
      PlainFrame(*option, *painter);
      return;
    default:
      QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void InstallPanelLook() {
  // The application takes the style and deletes it with itself.
  // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks)
  QApplication::setStyle(new PanelStyle);
  QFont font = QApplication::font();
  // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
  font.setHintingPreference(QFont::PreferFullHinting);
  QApplication::setFont(font);
}

}  // namespace vellix::qtview
