// The baseline of the start-up benchmark: the least a Qt Widgets program does
// to show one window. It prints the wall-clock time of its first paint and
// quits, exactly as vellix-control --quit-after-first-paint does.
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <chrono>
#include <cstdio>

namespace {

class FirstPaint : public QObject {
 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Paint) {
      watched->removeEventFilter(this);
      QTimer::singleShot(0, [] {
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count();
        std::printf("first-paint-ns %lld\n", static_cast<long long>(ns));
        std::fflush(stdout);
        QCoreApplication::exit(0);
      });
    }
    return QObject::eventFilter(watched, event);
  }
};

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.setWindowTitle("Bare");
  auto* layout = new QVBoxLayout(&window);
  layout->addWidget(new QLabel("One window"));
  window.resize(680, 480);
  FirstPaint watch;
  window.installEventFilter(&watch);
  window.show();
  return QApplication::exec();
}
