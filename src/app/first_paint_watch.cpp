#include "app/first_paint_watch.h"

#include <QEvent>
#include <QTimer>
#include <QWidget>

namespace vellix::app {

void FirstPaintWatch::Watch(QWidget& window) {
  if (!told_) window.installEventFilter(this);
}

bool FirstPaintWatch::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Paint && !told_) {
    told_ = true;
    watched->removeEventFilter(this);
    // The filter runs before the widget paints; tell once the paint is done.
    QTimer::singleShot(0, this, [this] {
      if (OnFirstPaint) OnFirstPaint();
    });
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace vellix::app
