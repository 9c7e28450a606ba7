#pragma once

#include <QObject>
#include <functional>

class QWidget;

namespace vellix::app {

// Tells once, just after the first of the watched windows has been painted.
// The start-up benchmark and --quit-after-first-paint end the program there.
class FirstPaintWatch : public QObject {
 public:
  FirstPaintWatch() = default;
  void Watch(QWidget& window);
  std::function<void()> OnFirstPaint;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool told_ = false;
};

}  // namespace vellix::app
