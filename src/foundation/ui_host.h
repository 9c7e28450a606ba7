#pragma once

#include <functional>
#include <string>

namespace vellix {

class Form;
class Menu;

enum class MsgButtons { OK, OKCancel, YesNo };
enum class MsgResult { OK, Cancel, Yes, No };

// Everything that needs a window system.
class UiHost {
 public:
  virtual ~UiHost() = default;

  // A plain message box; an empty title gives the product's name.
  virtual MsgResult MsgBox(const std::string& prompt, MsgButtons buttons,
                           const std::string& title) = 0;

  // Runs fn on the user-interface thread later. The only call that may be
  // made from another thread.
  virtual void Post(std::function<void()> fn) = 0;
};

}  // namespace vellix
