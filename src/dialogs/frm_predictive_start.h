#pragma once

#include <string>

#include "forms/layout_metrics.h"
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

  // Size and place of the message and the two buttons, from the metrics and
  // the dialog's texts.
  void LayoutForm();
  // Fills the engine's forecast into the message: "XXX" the items, "YYY" the
  // minutes.
  void LoadForm();

  void cmdRunNow_Click();
  void cmdRunLater_Click();

  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmPredictiveStart.";

 protected:
  void Design() override;
  void Form_Load() override;

 private:
  // The dialog's text of that key; Empty reads as "".
  [[nodiscard]] std::string Text(const std::string& key) const;

  Context& ctx_;
  LayoutMetrics metrics_;
  bool later_ = true;
};

}  // namespace vellix
