#include "view/qt/qt_tray.h"

#include <QFileInfo>
#include <QIcon>
#include <QPixmap>
#include <utility>

#include "foundation/form.h"
#include "view/qt/control_binding.h"
#include "view/qt/picture_files.h"
#include "view/qt/qt_host.h"

namespace vellix::qtview {

namespace {

// What shows for "no picture": a clear square, so the icon keeps its place.
QIcon BlankIcon() {
  QPixmap pixmap(16, 16);
  pixmap.fill(Qt::transparent);
  return QIcon(pixmap);
}

}  // namespace

QtTray::QtTray(QtHost& host, std::function<std::string(const std::string&)> toNativePath)
    : host_(host),
      toNativePath_(std::move(toNativePath)),
      icon_(std::make_unique<QSystemTrayIcon>()) {
  icon_->setObjectName(QStringLiteral("trayIcon"));
  // No context menu of its own: the form pops its menu up through the host.
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                   [this](QSystemTrayIcon::ActivationReason reason) { Gesture(reason); });
}

QtTray::~QtTray() {
  icon_->hide();
}

void QtTray::AttachForm(Form& popup) {
  popup_ = &popup;
}

std::string QtTray::LoadPicture(const std::string& path) {
  std::string native = toNativePath_ ? toNativePath_(path) : path;
  if (native.empty() || !QFileInfo(Qs(native)).isFile()) return {};
  if (ReadPictureFile(Qs(native)).isNull()) return {};
  return native;
}

void QtTray::Add(const std::string& picture, const std::string& tip) {
  Show(picture, tip);
}

void QtTray::Modify(const std::string& picture, const std::string& tip) {
  Show(picture, tip);
}

void QtTray::Delete() {
  // Later: this may run inside the icon's own gesture (Exit from its menu),
  // and hiding the icon destroys the window that is delivering that event.
  wanted_ = false;
  QMetaObject::invokeMethod(
      icon_.get(),
      [this] {
        if (!wanted_) icon_->hide();
      },
      Qt::QueuedConnection);
}

bool QtTray::Available() const {
  return QSystemTrayIcon::isSystemTrayAvailable();
}

void QtTray::Show(const std::string& picture, const std::string& tip) {
  // A loaded picture is a native path; a form's icon is a name the host
  // looks up in its icon folder.
  QIcon icon;
  if (!picture.empty() && QFileInfo(Qs(picture)).isFile()) {
    icon = ReadIconFile(Qs(picture));
  } else {
    icon = host_.IconOf(picture);
  }
  icon_->setIcon(icon.isNull() ? BlankIcon() : icon);
  icon_->setToolTip(Qs(tip));
  wanted_ = true;
  icon_->show();
  if (pictureShown) pictureShown(picture);
}

void QtTray::Gesture(QSystemTrayIcon::ActivationReason reason) {
  if (popup_ == nullptr) return;
  int message = 0;
  switch (reason) {
    case QSystemTrayIcon::Trigger:
      message = kLeftButtonUp;
      break;
    case QSystemTrayIcon::DoubleClick:
      message = kLeftDoubleClick;
      break;
    case QSystemTrayIcon::Context:
      message = kRightButtonUp;
      break;
    default:
      return;
  }
  Form& form = *popup_;
  const double x = message * host_.TwipsPerPixel();
  RunGuarded("tray gesture", [&form, x] { form.UserMouseMove(0, 0, x, 0); });
}

}  // namespace vellix::qtview
