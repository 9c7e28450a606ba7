#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/control.h"
#include "foundation/event.h"
#include "foundation/vb_error.h"

namespace vellix {

class Menu;
class UiHost;

// A form of the model: one long-lived object per form of the system, like the
// runtime's default form instance.
//
// - Its controls are members of the derived form (or of its panels), each
//   constructed with the form and the name of its container:
//     class FrmAbout : public Form {
//       CommandButton cmdOK{*this, "cmdOK"};
//       ...
//     };
//   They register in order of construction; handlers are wired once, in the
//   derived form's constructor.
// - Load() puts every control and the form's own properties back to their
//   construction values and runs Design(), the one place where a form sets its
//   design values (captions, styles, intervals, list entries); no event is
//   raised meanwhile. Then the form is loaded and Form_Load runs. The derived
//   form's own member fields keep their values across Unload and Load.
// - Unloading leaves the controls as they were; the next Load resets them.
//   Where the runtime would load a form implicitly (a control of an unloaded
//   form touched), code calls Load() itself; Show and Hide load it as the
//   runtime does.
// - A form's events are virtual methods named as its handlers (Form_Load,
//   Form_QueryUnload, Form_Unload, Form_Activate, Form_Resize,
//   Form_MouseMove). Cancel arguments start false; true cancels.
// - Showing, hiding and unloading go through the UiHost given at construction.
class Form {
 public:
  // How an unload was asked for, as Form_QueryUnload receives it.
  static constexpr int32_t kUnloadByUser = 0;        // the window's close box
  static constexpr int32_t kUnloadByCode = 1;        // Unload in code
  static constexpr int32_t kUnloadBySessionEnd = 2;  // the desktop session or the process ends

  Form(UiHost& host, std::string name);
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  virtual ~Form();

  [[nodiscard]] const std::string& Name() const { return name_; }
  [[nodiscard]] UiHost& Host() const { return host_; }

  [[nodiscard]] const std::string& Caption() const { return props_.caption; }
  void Caption(std::string value);
  // Position and size of the window in twips. Size changes of a loaded form
  // raise Form_Resize; a negative width or height raises 380.
  [[nodiscard]] int32_t Left() const { return props_.left; }
  void Left(int32_t value);
  [[nodiscard]] int32_t Top() const { return props_.top; }
  void Top(int32_t value);
  [[nodiscard]] int32_t Width() const { return props_.width; }
  void Width(int32_t value);
  [[nodiscard]] int32_t Height() const { return props_.height; }
  void Height(int32_t value);
  // 0 normal, 1 minimised, 2 maximised; any other value raises 380. A change
  // on a loaded form raises Form_Resize.
  [[nodiscard]] int32_t WindowState() const { return props_.windowState; }
  void WindowState(int32_t value);
  // The picture of the window's icon: a file name or a picture's name.
  [[nodiscard]] const std::string& Icon() const { return props_.icon; }
  void Icon(std::string value);
  [[nodiscard]] int32_t BackColor() const { return props_.backColor; }
  void BackColor(int32_t value);
  // 1 twips, 3 pixels: the unit of Form_MouseMove's coordinates.
  [[nodiscard]] int32_t ScaleMode() const { return props_.scaleMode; }
  void ScaleMode(int32_t value);

  // Whether the window is shown. Visible(true) is Show(), Visible(false) Hide().
  [[nodiscard]] bool Visible() const { return visible_; }
  void Visible(bool value);
  [[nodiscard]] bool Loaded() const { return loaded_; }
  // Whether the form is shown modally at this moment.
  [[nodiscard]] bool Modal() const { return modal_; }

  // Loads the form if it isn't loaded (see above).
  void Load();
  // Loads if needed, then shows. Modal returns once the form has been hidden
  // or unloaded; showing a visible form modally raises 400.
  void Show(bool modal = false);
  // Hides the window; an unloaded form is loaded first, not shown.
  void Hide();
  // Form_QueryUnload, then Form_Unload; either may cancel, and then the form
  // stays and the result is false. Unloading an unloaded form is true.
  bool Unload(int32_t unloadMode = kUnloadByCode);
  void BringToFront();
  // Pops up one of the form's menus at x, y in twips, or at the pointer.
  void PopupMenu(Menu& menu, int32_t x = -1, int32_t y = -1);

  // The controls in order of registration.
  [[nodiscard]] const std::vector<Control*>& Controls() const { return controls_; }
  // A control by name, without regard to case; nullptr when there is none.
  [[nodiscard]] Control* Find(std::string_view name) const;
  // A control of a known kind by name, for views and tests: a name that isn't
  // there raises 730, one of another kind 13.
  template <class T>
  [[nodiscard]] T& Get(std::string_view name) const {
    Control* control = Find(name);
    if (control == nullptr) RaiseControlError(ctlerr::kControlNotFound);
    auto* typed = dynamic_cast<T*>(control);
    if (typed == nullptr) throw VbError(err::kTypeMismatch);
    return *typed;
  }
  // The controls that lie directly in a container ("" for the form), in order.
  [[nodiscard]] std::vector<Control*> ChildrenOf(std::string_view container) const;
  // The control that has the focus, or nullptr.
  [[nodiscard]] Control* ActiveControl() const { return active_; }

  // The host's calls: the window became the active one.
  void HostActivated();
  // The user's actions on the window itself, for hosts and tests.
  bool UserClose();
  void UserResize(int32_t width, int32_t height);
  void UserWindowState(int32_t state);
  void UserMouseMove(int16_t button, int16_t shift, double x, double y);

  // Observers learn which property of the form changed: "Caption", "Width",
  // "Visible", "Loaded", "ActiveControl", ...
  [[nodiscard]] Connection OnChanged(std::function<void(Form&, std::string_view)> observer);

 protected:
  virtual void Design() {}
  virtual void Form_Load() {}
  virtual void Form_QueryUnload(bool& /*cancel*/, int32_t /*unloadMode*/) {}
  virtual void Form_Unload(bool& /*cancel*/) {}
  virtual void Form_Activate() {}
  virtual void Form_Resize() {}
  virtual void Form_MouseMove(int16_t /*button*/, int16_t /*shift*/, double /*x*/, double /*y*/) {}

 private:
  friend class Control;

  struct Props {
    std::string caption;
    int32_t left = 0;
    int32_t top = 0;
    int32_t width = 4800;
    int32_t height = 3600;
    int32_t windowState = 0;
    std::string icon;
    int32_t backColor = -1;
    int32_t scaleMode = 1;
  };

  void Register(Control& control);
  void Unregister(Control& control);
  [[nodiscard]] bool Designing() const { return designing_; }
  void MoveFocus(Control* to);
  int32_t NextFrontZ() { return ++frontZ_; }
  int32_t NextBackZ() { return --backZ_; }
  void Changed(std::string_view property);
  void SizeChanged(std::string_view property);

  UiHost& host_;
  std::string name_;
  Props props_;
  bool visible_ = false;
  bool loaded_ = false;
  bool modal_ = false;
  bool designing_ = false;
  bool unloading_ = false;
  std::vector<Control*> controls_;
  Control* active_ = nullptr;
  int32_t frontZ_ = 0;
  int32_t backZ_ = 0;
  Event<Form&, std::string_view> changed_;
};

}  // namespace vellix
