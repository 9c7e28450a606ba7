#pragma once

#include <string>

#include "forms/panel.h"
#include "foundation/agent.h"
#include "foundation/collection.h"
#include "foundation/controls.h"
#include "foundation/date.h"
#include "foundation/period.h"
#include "foundation/ref.h"

namespace vellix {

// One line of the detail grid: its name, which is also its sort key, and
// its value.
struct DetailRow {
  std::string name;
  std::string value;
};

// The Summary tab (picSu): the read-only view of agents and period stores,
// the help button and the way back to quick setup. Every row is computed
// from the engine at the moment of the click; nothing here writes to it.
class SummaryPanel : public Panel {
 public:
  SummaryPanel(PopupShell& shell, Form& form);

  // Design values: captions and the grid's shape.
  void Design() override;
  void Layout() override { LayoutSummary(); }
  void Load() override { LoadSummary(); }
  bool Leave() override { return LeaveSummary(); }

  void LayoutSummary();
  void LoadSummary();
  bool LeaveSummary();
  void PopulateSelector();
  void ShowAgentSummary();
  void ShowPeriodSumary();
  void ShowAgentDetails(const Ref<Agent>& agent);
  void ShowPeriodDetails(const Ref<Period>& period);
  // Inserts the row before the first one whose name is equal or greater,
  // without regard to case.
  bool AddAlphaRow(Collection<DetailRow>& rows, const DetailRow& row);
  bool PopulateDetails(const Collection<DetailRow>& rows);

  void tvwSuSelector_Click();
  void cmdSuHelp_Click();
  void cmdSuSetupWiz_Click();

  TreeView tvwSuSelector;
  FlexGrid fgcSuDetail;
  CommandButton cmdSuHelp;
  CommandButton cmdSuSetupWiz;

 private:
  // "Long Date" and "Long Time" with a blank between; empty for a date of 0.
  [[nodiscard]] std::string DateTimeText(Date value) const;
  // "###,###": empty for 0, thousands grouped by the user's locale.
  [[nodiscard]] std::string CountText(int32_t value) const;
};

}  // namespace vellix
