#pragma once

#include "forms/panel.h"
#include "foundation/controls.h"

namespace vellix {

// The Periods tab (picPe): period length, reference date and the name format
// of a period store. Length and date were decided in Quick setup and are only
// shown; the format is the one thing the user edits here, and the engine
// alone judges it.
class PeriodsPanel : public Panel {
 public:
  PeriodsPanel(PopupShell& shell, Form& form);

  void Design() override;
  void Layout() override { LayoutPeriods(); }
  void Load() override { LoadPeriods(); }
  bool Leave() override { return LeavePeriods(); }

  void LayoutPeriods();
  void LoadPeriods();
  // True when the tab may be left.
  bool LeavePeriods();
  void txtPeFormat_LostFocus();
  // The length of a period in days, from the engine's PeriodCount and
  // PeriodUnits: what a store of an agent must not exceed.
  double PeriodDuration();

  Label lblPeNewPeriod;
  TextBox txtPeNewCount;
  ComboBox cboPeNewUnits;
  Label lblPeReference;
  DatePicker dtpPeReference;
  Label lblPeFormat;
  TextBox txtPeFormat;
};

}  // namespace vellix
