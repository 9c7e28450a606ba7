#pragma once

#include <QIcon>
#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "foundation/ui_host.h"

class QEventLoop;

namespace vellix::qtview {

class FormWindow;

// The window system of the running program, on Qt Widgets: each loaded form
// gets a FormWindow, modal shows and message boxes run nested event loops, so
// timers and posted functions go on meanwhile, as the logic expects. Needs a
// QApplication made before it; lives on the GUI thread.
class QtHost : public UiHost {
 public:
  QtHost();
  QtHost(const QtHost&) = delete;
  QtHost& operator=(const QtHost&) = delete;
  ~QtHost() override;

  // The title of a message box whose caller gives none.
  void SetTitle(std::string productName);
  // Where file names of icons and pictures (a form's Icon) are looked up.
  void SetIconFolder(std::string folder);

  [[nodiscard]] bool AnyFormLoaded() const;
  // The last loaded form has been unloaded: the program's work is done.
  std::function<void()> OnLastFormUnloaded;
  // A form's window has been shown and laid out.
  std::function<void(Form&, QWidget&)> OnFormShown;

  [[nodiscard]] QWidget* WindowOf(const Form& form) const;
  // From the primary screen's logical resolution: 1440 / dots per inch.
  [[nodiscard]] double TwipsPerPixel() const;
  // The picture of a file name (looked up in the icon folder unless it is a
  // path of its own); a null pixmap when there is none.
  [[nodiscard]] QPixmap Picture(const std::string& name) const;
  [[nodiscard]] QIcon IconOf(const std::string& name) const;

  MsgResult MsgBox(const std::string& prompt, MsgButtons buttons,
                   const std::string& title) override;
  void Post(std::function<void()> fn) override;
  void LoadForm(Form& form) override;
  void ShowForm(Form& form, bool modal) override;
  void HideForm(Form& form) override;
  void UnloadForm(Form& form) override;
  void BringToFront(Form& form) override;
  void PopupMenu(Form& form, Menu& menu, int32_t x, int32_t y) override;
  void StartTimer(Timer& timer) override;
  void StopTimer(Timer& timer) override;
  std::optional<std::string> BrowseForFolder(const std::string& title,
                                             const std::string& start) override;
  Ref<MAPIFolder> PickMailFolder(NameSpace& nameSpace) override;
  bool CloseTopModal() override;

 private:
  [[nodiscard]] FormWindow* Window(const Form& form) const;
  // The file of a picture name, in the icon folder unless it is a path of
  // its own; empty when there is no such file.
  [[nodiscard]] QString PictureFile(const std::string& name) const;
  void WindowActivated(Form& form);
  void EndModal(const Form& form);

  std::string title_;
  std::string iconFolder_;
  // Lives on the GUI thread: queued calls to it run there.
  std::unique_ptr<QObject> poster_;
  std::unordered_map<const Form*, QPointer<FormWindow>> windows_;
  std::unordered_map<const Form*, QEventLoop*> modalLoops_;
  std::unordered_map<const Timer*, QPointer<QTimer>> timers_;
  const Form* activeForm_ = nullptr;
};

}  // namespace vellix::qtview
