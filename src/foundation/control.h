#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/event.h"
#include "foundation/property.h"

namespace vellix {

class Form;

// The kinds of control; a view renders a control by its kind and properties
// and never knows which panel it belongs to.
enum class ControlKind {
  Label,
  CommandButton,
  TextBox,
  LogBox,
  CheckBox,
  OptionButton,
  ComboBox,
  ListBox,
  Frame,
  PictureBox,
  TabStrip,
  TreeView,
  FlexGrid,
  DatePicker,
  UpDown,
  Timer,
  Menu,
};

// "TextBox", "FlexGrid", ...
std::string_view KindName(ControlKind kind);

// Run-time errors of the controls, raised with the runtime's own texts by
// RaiseControlError. Invalid calls raise err::kInvalidCall (5) as elsewhere.
namespace ctlerr {
inline constexpr int32_t kInvalidPropertyValue = 380;  // a value out of its range
inline constexpr int32_t kInvalidPropertyIndex = 381;  // a list row that isn't there
inline constexpr int32_t kTextReadOnly = 383;          // text of a drop-down list not in it
inline constexpr int32_t kAlreadyDisplayed = 400;      // modal show of a shown form
inline constexpr int32_t kControlNotFound = 730;
inline constexpr int32_t kInvalidRow = 30009;
inline constexpr int32_t kInvalidCol = 30010;
inline constexpr int32_t kIndexOutOfBounds = 35600;  // tab by position
inline constexpr int32_t kElementNotFound = 35601;   // tab or tree node by key
inline constexpr int32_t kDateOutOfRange = 35788;
}  // namespace ctlerr

[[noreturn]] void RaiseControlError(int32_t number);

// The base of every control kind: a plain object of the form model.
//
// - A control belongs to one form for its whole life and must not outlive it.
//   It registers itself with the form when it is constructed, so a form's
//   controls are its members (or members of its panels) and their order of
//   declaration is the form's order. Names are unique in a form without regard
//   to case; a second control of a name raises 5.
// - Properties are overloaded pairs, getter X() and setter X(value). Every
//   setter that changes a value tells the observers which property changed
//   (OnChanged, through SetProperty); the view re-reads that property.
// - Events are std::function members named as the system names the event
//   (Click, Change, LostFocus, ItemCheck, ...). A form or panel wires each
//   once, in its constructor: cmdOK.Click = [this] { cmdOK_Click(); };
//   Loading the form resets properties to their design values, never the
//   handlers.
// - Code that changes a property raises what the runtime raises for it, and
//   code that sets the value a property already has raises nothing. Each kind
//   tells its own rule. Nothing is raised while the form runs its Design step.
// - User... entry points are what a view or a test calls for a user's action.
//   They act only on a control the user can reach (it and its containers
//   visible and enabled) and return false otherwise. A user's action on a
//   control that takes the focus first moves the focus there, so the control
//   that had it raises LostFocus before the action's own events.
class Control {
 public:
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  Control(Control&&) = delete;
  Control& operator=(Control&&) = delete;
  virtual ~Control();

  [[nodiscard]] ControlKind Kind() const { return kind_; }
  [[nodiscard]] const std::string& Name() const { return name_; }
  // The name of the frame, picture box or parent menu the control lies in;
  // empty when it lies on the form itself.
  [[nodiscard]] const std::string& Container() const { return container_; }
  [[nodiscard]] Control* ContainerControl() const;
  [[nodiscard]] Form& Parent() const { return form_; }

  [[nodiscard]] bool Enabled() const { return base_.enabled; }
  void Enabled(bool value);
  [[nodiscard]] bool Visible() const { return base_.visible; }
  void Visible(bool value);
  [[nodiscard]] const std::string& ToolTipText() const { return base_.toolTip; }
  void ToolTipText(std::string value);

  // The rectangle in twips, relative to the container. A negative width or
  // height raises 380 as the runtime does.
  [[nodiscard]] int32_t Left() const { return base_.left; }
  void Left(int32_t value);
  [[nodiscard]] int32_t Top() const { return base_.top; }
  void Top(int32_t value);
  [[nodiscard]] int32_t Width() const { return base_.width; }
  void Width(int32_t value);
  [[nodiscard]] int32_t Height() const { return base_.height; }
  void Height(int32_t value);
  void Move(int32_t left, int32_t top, int32_t width, int32_t height);

  // An RGB value red + 256 * green + 65536 * blue; -1 is the desktop's colour.
  [[nodiscard]] int32_t BackColor() const { return base_.backColor; }
  void BackColor(int32_t value);

  // Stacking among the controls of the same container: the higher lies in
  // front. ZOrder(0) brings the control to the front, ZOrder(1) sends it back.
  [[nodiscard]] int32_t ZIndex() const { return base_.zIndex; }
  void ZOrder(int32_t position = 0);

  // Whether a user can reach the control: it and each of its containers are
  // visible and enabled. The form's own visibility is not asked, so tests can
  // act on forms that aren't shown.
  [[nodiscard]] bool Reachable() const;
  [[nodiscard]] bool HasFocus() const;
  // Gives the control the focus (the previous holder raises LostFocus, this
  // one GotFocus). A control that can't take it, or can't be reached, raises
  // 5 as the runtime does.
  void SetFocus();

  std::function<void()> Click;
  std::function<void()> GotFocus;
  std::function<void()> LostFocus;
  // Button and shift state as the runtime counts them; x, y in twips within
  // the control.
  std::function<void(int16_t button, int16_t shift, double x, double y)> MouseMove;

  // The user moves the focus to the control, or away from it to nothing.
  bool UserFocus();
  void UserLeave();
  // The user clicks the control. Each kind does what a click does to it.
  virtual bool UserClick();
  // The pointer moves over the control.
  virtual bool UserMouseMove(double x, double y, int16_t button = 0, int16_t shift = 0);

  // Observers (the view) learn which property changed, by its name: "Text",
  // "Caption", "Value", "List", "ListIndex", "Enabled", "Left", ...; "Reset"
  // when a Load put everything back to its construction values.
  [[nodiscard]] Connection OnChanged(std::function<void(Control&, std::string_view)> observer);

 protected:
  Control(Form& form, ControlKind kind, std::string name, std::string container);

  void Changed(std::string_view property);
  // Events are raised, except while the form runs its Design step.
  [[nodiscard]] bool Live() const;
  // Raises an event. The handler runs from a copy, so it may rewire itself.
  template <class Handler, class... Args>
  void Fire(const Handler& handler, Args&&... args) const {
    if (!handler || !Live()) return;
    Handler run = handler;
    run(std::forward<Args>(args)...);
  }
  // Reachable, and the focus moved here when the kind takes it: the common
  // start of every User... action.
  bool BeginUserAction();

  // Whether the kind takes the focus at all.
  [[nodiscard]] virtual bool CanFocus() const { return false; }
  // Puts the kind's own properties back to their construction values.
  virtual void ResetProperties() {}
  // Enabled changed, or the form was loaded or unloaded.
  virtual void EnabledChanged() {}
  virtual void FormLoadChanged() {}

 private:
  friend class Form;

  struct BaseProps {
    bool enabled = true;
    bool visible = true;
    std::string toolTip;
    int32_t left = 0;
    int32_t top = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t backColor = -1;
    int32_t zIndex = 0;
  };

  void ResetAll();
  void RaiseGotFocus() { Fire(GotFocus); }
  void RaiseLostFocus() { Fire(LostFocus); }

  Form& form_;
  ControlKind kind_;
  std::string name_;
  std::string container_;
  BaseProps base_;
  Event<Control&, std::string_view> changed_;
};

}  // namespace vellix
