#pragma once

#include "foundation/context.h"

namespace vellix {

class Form;
class ServerFactory;

// The process entry of the control panel: attaches the error log and the
// configuration tree, grafts the boot configuration on a first start, copies
// the global formats and shows the main form. From then on the process lives
// on the events of its forms and servers.
class ControlStartup {
 public:
  // Runs once per process. Returns as soon as frmPopup is shown; when a
  // server can't be reached it returns with no form loaded.
  static void Main(Context& ctx, Form& frmPopup);

  static constexpr const char* kBootConfigFile = "VellixControlBootConfig.xml";
};

}  // namespace vellix
