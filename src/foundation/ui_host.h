#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "foundation/ref.h"

namespace vellix {

class Form;
class MAPIFolder;
class NameSpace;
class Menu;
class Timer;

enum class MsgButtons { OK, OKCancel, YesNo };
enum class MsgResult { OK, Cancel, Yes, No };

// Everything that needs a window system. The form and control models call
// it; a host answers by the models' own entry points (Form::HostActivated,
// Form::UserClose, Control::UserClick, Timer::HostTick, ...), never by setting
// their fields behind their back. All calls but Post come on the user-interface
// thread. The host outlives every form shown through it.
class UiHost {
 public:
  virtual ~UiHost() = default;

  // A plain message box; an empty title gives the product's name. Other
  // events (timers, posted functions) may run while it is up.
  virtual MsgResult MsgBox(const std::string& prompt, MsgButtons buttons,
                           const std::string& title) = 0;

  // Runs fn on the user-interface thread later. The only call that may be
  // made from another thread.
  virtual void Post(std::function<void()> fn) = 0;

  // The form has been loaded (its design values set, Form_Load about to run):
  // a window may be made for it, not yet shown. A program lives while any
  // form is loaded.
  virtual void LoadForm(Form& form) = 0;
  // Shows a loaded form. Modeless returns at once. Modal returns only once the
  // form has been hidden or unloaded, other events running meanwhile as in a
  // nested event loop; the host raises the form's Activate when it shows.
  virtual void ShowForm(Form& form, bool modal) = 0;
  // The form has been hidden; it stays loaded.
  virtual void HideForm(Form& form) = 0;
  // The form has been unloaded: its window goes. Called also from a loaded
  // form's destructor, when its controls are already gone.
  virtual void UnloadForm(Form& form) = 0;
  // The session is ending: closes the topmost modal window, a message box or
  // dialog as if dismissed by its frame, a form by Unload(kUnloadBySessionEnd),
  // and says whether there was one. Its nested loop returns once control
  // comes back to it. A host that shows nothing modally has nothing to close.
  virtual bool CloseTopModal() { return false; }
  // Raises the form's window above all others and gives it the input.
  virtual void BringToFront(Form& form) = 0;
  // Pops up a menu of the form at x, y (twips from the form's top left), or
  // at the pointer when both are negative. Returns once the user has chosen an
  // entry (its Click has run) or dismissed the menu.
  virtual void PopupMenu(Form& form, Menu& menu, int32_t x, int32_t y) = 0;

  // Starts counting the timer's Interval from now; a running timer starts
  // over. Each time the interval has passed the host calls timer.HostTick().
  virtual void StartTimer(Timer& timer) = 0;
  virtual void StopTimer(Timer& timer) = 0;

  // A modal folder dialog with the title given, opened at the native folder
  // `start` when it names one: the chosen folder's path, or nothing when the
  // user cancelled.
  virtual std::optional<std::string> BrowseForFolder(const std::string& title,
                                                     const std::string& start) = 0;
  // The mail program's modal folder dialog over the stores of a name space:
  // the chosen folder, or nothing when the user cancelled. A mail program
  // without a window system of its own shows its picker through this.
  virtual Ref<MAPIFolder> PickMailFolder(NameSpace& nameSpace) = 0;
};

}  // namespace vellix
