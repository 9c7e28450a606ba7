#pragma once

#include "foundation/form.h"
#include "foundation/timer.h"

namespace vellix {

class UiHost;

// The hidden form that hosts the tray icon's timer: the icon class has no
// window of its own. It is never shown; the tray icon loads it when it takes
// the timer, and the main form unloads it at the end.
class FrmIconTimer : public Form {
 public:
  explicit FrmIconTimer(UiHost& host);

  // No interval at design: the tray icon sets it when an animation starts,
  // and its handler is the tray icon's.
  Timer tmrTrayIcon{*this, "tmrTrayIcon"};
};

}  // namespace vellix
