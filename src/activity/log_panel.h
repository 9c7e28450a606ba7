#pragma once

#include <memory>

#include "activity/frm_support_message.h"
#include "activity/processing_log.h"
#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Activity log tab (picLo): the log box and the engine's logging level.
// The level lives in the engine; the option buttons show it, and the one
// that is on decides whether the form holds the engine's monitor, whose
// events put the lines of a processing run into the box. The diagnostics
// button opens the support message over the box's text.
class LogPanel : public Panel {
 public:
  // ctx is the shell's own, handed in because the shell is still being
  // built when its panels are.
  LogPanel(PopupShell& shell, Form& form, Context& ctx);

  void Design() override;
  void Layout() override { LayoutLog(); }
  void Load() override { LoadLog(); }

  void LayoutLog();
  void LoadLog();
  bool LeaveLog();
  void SetLoggingState();

  void optLoOff_Click();
  void optLoOn_Click();
  void optLoVerbose_Click();
  void cmdLoSendDiagnostics_Click();

  LogBox txtLoEntries;
  OptionButton optLoOff;
  OptionButton optLoOn;
  OptionButton optLoVerbose;
  CommandButton cmdLoSendDiagnostics;

  ProcessingLog processing;

 private:
  // Made when first asked for: most runs never open it.
  std::unique_ptr<FrmSupportMessage> supportMessage_;
};

}  // namespace vellix
