#include "panels/periods_panel.h"

#include <string>

#include "forms/row_layout.h"
#include "forms/texts.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Periods";
constexpr const char* kMsgFormatIncorrect = ".Strings.ControlPanel.Periods.MsgFormatIncorrect";
// Wide enough for a count of four digits and for the longest unit word.
constexpr int kCountChars = 4;
constexpr int kUnitChars = 10;
}  // namespace

PeriodsPanel::PeriodsPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      lblPeNewPeriod(form, "lblPeNewPeriod", "picPe"),
      txtPeNewCount(form, "txtPeNewCount", "picPe"),
      cboPeNewUnits(form, "cboPeNewUnits", "picPe"),
      lblPeReference(form, "lblPeReference", "picPe"),
      dtpPeReference(form, "dtpPeReference", "picPe"),
      lblPeFormat(form, "lblPeFormat", "picPe"),
      txtPeFormat(form, "txtPeFormat", "picPe") {
  txtPeFormat.LostFocus = [this] { txtPeFormat_LostFocus(); };
}

void PeriodsPanel::Design() {
  lblPeNewPeriod.Caption("Units");
  lblPeReference.Caption("Reference Date");
  lblPeFormat.Caption("Folder Format");
  dtpPeReference.Format(DatePicker::kLongDate);
}

void PeriodsPanel::LayoutPeriods() {
  Frame frame(ctx(), kModule, "LayoutPeriods");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    RowLayout rows(m, ctx().rootNode->GetNode(kTextNode, false, "", Variant()));

    rows.PlaceLabel(lblPeNewPeriod);
    rows.PlaceData(txtPeNewCount, rows.Chars(kCountChars));
    txtPeNewCount.Text(rows.Text("txtPeNewCount"));
    rows.PlaceNext(cboPeNewUnits, txtPeNewCount, rows.Chars(kUnitChars));
    rows.FillList(cboPeNewUnits, "cboPeNewUnits.1");
    rows.NextRow();

    rows.PlaceLabel(lblPeReference);
    // The date picker's tool tip has the control's own key, not "-Tip".
    dtpPeReference.Move(rows.DataLeft(), rows.Row(), m.DataColumnWidth, m.RowHeight);
    dtpPeReference.ToolTipText(rows.Text("dtpPeReference"));
    rows.NextRow();

    rows.PlaceLabel(lblPeFormat);
    rows.PlaceData(txtPeFormat, m.DataColumnWidth);
    txtPeFormat.Text(rows.Text("txtPeFormat"));
  });
}

void PeriodsPanel::LoadPeriods() {
  Frame frame(ctx(), kModule, "LoadPeriods");
  frame.Run([&] {
    const Ref<EngineConfig> config = ctx().engine->Config();
    txtPeNewCount.Text(std::to_string(config->PeriodCount()));
    cboPeNewUnits.Text(config->PeriodUnits());
    dtpPeReference.Value(config->ReferenceDate());
    txtPeFormat.Text(config->PeriodFormat());
    // Only the format is the user's to change; RunDisable may open the
    // others with the rest, and nothing reads them back.
    txtPeNewCount.Enabled(false);
    cboPeNewUnits.Enabled(false);
    dtpPeReference.Enabled(false);
  });
}

void PeriodsPanel::txtPeFormat_LostFocus() {
  Frame frame(ctx(), kModule, "txtPeFormat_LostFocus");
  frame.Run([&] {
    const Ref<EngineConfig> config = ctx().engine->Config();
    if (txtPeFormat.Text() == config->PeriodFormat()) return;
    if (!config->SetPeriodFormat(txtPeFormat.Text())) {
      txtPeFormat.Text(config->PeriodFormat());
      ctx().Host().MsgBox(BranchText(ctx(), kMsgFormatIncorrect), MsgButtons::OK, "");
    }
  });
}

bool PeriodsPanel::LeavePeriods() {
  Frame frame(ctx(), kModule, "LeavePeriods");
  return frame.Run(false, [&](bool& result) {
    const Ref<EngineConfig> config = ctx().engine->Config();
    if (txtPeFormat.Text() == config->PeriodFormat()) {
      result = true;
      return;
    }
    // Checked here first, then by the engine in the lost-focus path, whose
    // answer doesn't keep the user on the tab.
    if (Utils(ctx()).ValidateFolderFormat(txtPeFormat.Text())) {
      txtPeFormat_LostFocus();
      result = true;
    } else {
      ctx().Host().MsgBox(BranchText(ctx(), kMsgFormatIncorrect), MsgButtons::OK, "");
    }
  });
}

double PeriodsPanel::PeriodDuration() {
  Frame frame(ctx(), kModule, "PeriodDuration");
  return frame.Run(0.0, [&]() -> double {
    const Ref<EngineConfig> config = ctx().engine->Config();
    const std::string units = config->PeriodUnits();
    const int16_t count = config->PeriodCount();
    // Years and weeks are 16-bit products: 90 years or 4682 weeks overflow.
    if (units == "Year") return CInt(int64_t{count} * 365);
    if (units == "Quarter") return count * 365.0 / 4.0;
    if (units == "Month") return count * 365.0 / 12.0;
    if (units == "Week") return CInt(int64_t{count} * 7);
    if (units == "Day") return count;
    return 0.0;
  });
}

}  // namespace vellix
