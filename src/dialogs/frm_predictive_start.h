#pragma once

#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace vellix {

// The forecast shown after quick setup: how many items the first run takes
// and about how long; the user starts now or later.
class FrmPredictiveStart : public Form {
 public:
  FrmPredictiveStart(Context& ctx, UiHost& host);

  // True from load (closing the dialog counts as Run Later); Run Now clears it.
  [[nodiscard]] bool Later() const;
  void Later(bool value);

  Label lblMessage;
  CommandButton cmdRunLater;
  CommandButton cmdRunNow;

  void cmdRunNow_Click();
  void cmdRunLater_Click();

 protected:
  void Form_Load() override;

 private:
  Context& ctx_;
  bool later_ = true;
};

}  // namespace vellix
