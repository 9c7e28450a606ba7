#pragma once

#include <QProxyStyle>

class QPainter;

namespace vellix::qtview {

// The application's style: the platform's (Fusion where there is none), with
// push buttons, line edits, check boxes and plain frames drawn by solid fills.
// Fusion draws each of them as antialiased round rectangles or through a pen's
// stroker, about a third of the first window's painting; cut corners look the
// same at their size.
class PanelStyle : public QProxyStyle {
 public:
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
};

// A box of one-pixel edges in `outline` whose corner pixels take `corner`,
// filled with `fill` (a colour or a gradient): solid fills only, so a round
// corner costs a pixel of half tone rather than an antialiased shape.
void CutBox(QPainter& painter, const QRect& rect, const QColor& outline, const QColor& corner,
            const QBrush& fill);

// Makes PanelStyle the application's style and draws its text with full
// hinting: each glyph is then rasterized once, where the platform's lighter
// hinting rasterizes it again at each sub-pixel position it meets, and those
// glyphs were a large part of what the first window costs to show.
// Called once, after the application object and before any widget.
void InstallPanelLook();

}  // namespace vellix::qtview
