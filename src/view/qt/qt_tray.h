#pragma once

#include <QObject>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <string>

#include "foundation/tray_platform.h"

namespace vellix {
class Form;
}

namespace vellix::qtview {

class QtHost;

// The notification area on Qt: one QSystemTrayIcon, its picture and tip
// from the tray icon model, its gestures passed to the attached form the
// way the desktop disguises them (a mouse move whose x is the message).
class QtTray : public TrayPlatform {
 public:
  // The messages the form receives for the gestures.
  static constexpr int kLeftButtonUp = 514;
  static constexpr int kLeftDoubleClick = 515;
  static constexpr int kRightButtonUp = 517;

  QtTray(QtHost& host, std::function<std::string(const std::string&)> toNativePath);
  QtTray(const QtTray&) = delete;
  QtTray& operator=(const QtTray&) = delete;
  ~QtTray() override;

  // The form that receives the gestures (the one that pops the menu up).
  void AttachForm(Form& popup);
  // The icon itself, for the application and for tests.
  [[nodiscard]] QSystemTrayIcon& Icon() { return *icon_; }
  // Told each picture the icon takes, by the name the model gave it.
  std::function<void(const std::string& picture)> pictureShown;

  std::string LoadPicture(const std::string& path) override;
  void Add(const std::string& picture, const std::string& tip) override;
  void Modify(const std::string& picture, const std::string& tip) override;
  void Delete() override;
  [[nodiscard]] bool Available() const override;

 private:
  void Show(const std::string& picture, const std::string& tip);
  void Gesture(QSystemTrayIcon::ActivationReason reason);

  QtHost& host_;
  std::function<std::string(const std::string&)> toNativePath_;
  std::unique_ptr<QSystemTrayIcon> icon_;
  Form* popup_ = nullptr;
  // Whether the icon should show once pending calls have run: a Delete's
  // hiding waits for the event loop, and a later Add cancels it.
  bool wanted_ = false;
};

}  // namespace vellix::qtview
