#pragma once

#include <string>

#include "forms/panel.h"
#include "foundation/controls.h"
#include "foundation/ref.h"
#include "panels/periods_panel.h"

namespace vellix {

class Agent;

// The Agents tab (picAg): one agent of the engine at a time, chosen in
// cboAgName, each change written straight through to the engine when a
// control loses focus or is clicked. There is no Apply and no undo: a value
// that fails its test is replaced by the one the engine holds. The panel
// keeps no agent between events; every handler fetches it by the combo's text.
class AgentsPanel : public Panel {
 public:
  // A store is measured against the Periods panel's PeriodDuration.
  AgentsPanel(PopupShell& shell, Form& form, PeriodsPanel& periods);

  void Design() override;
  void Layout() override { LayoutAgents(); }
  void Load() override { LoadAgents(); }
  void EnableControls(bool running) override { EnableAgentControls(running); }

  void LayoutAgents();
  void LoadAgents();
  // Shows one agent; true when it was shown or the name is the no-agents
  // text, false (and the panel unchanged) when the engine has no such agent.
  bool LoadAgentDetails(const std::string& agentName);
  // The File now and Purge now buttons and the fields their boxes switch off;
  // runs after RunDisable in FormRun, and after a click on either box.
  void EnableAgentControls(bool running);
  // Length in days of the store that txtAgNewCount and cboAgNewUnits say.
  double StoreDuration();

  void cboAgName_Change();  // logs as TraceNames::cboAgName_Change
  void cboAgName_Click();
  void cboAgName_LostFocus();
  void cboAgNewUnits_Click();
  void cboAgFileAfterUnits_Click();
  void chkAgPurgeDisabled_Click();
  void chkAgSubFolders_Click();
  void chkAgFileDisabled_Click();
  void cmdAgAdd_Click();
  void cmdAgRemove_Click();
  void cmdAgNew_Click();
  void cmdAgDelete_Click();
  void cmdAgFileNow_Click();
  void cmdAgPurgeNow_Click();
  void txtAgNewCount_LostFocus();
  void txtAgFormat_LostFocus();
  void txtAgFileAfterCount_LostFocus();
  void txtAgRemove_LostFocus();  // logs as TraceNames::txtAgRemove_LostFocus

  // The frames come first: the controls of the panel lie in them.
  FrameControl fraAgAgent;
  FrameControl fraAgStores;
  FrameControl fraAgSchedule;
  ComboBox cboAgName;
  CommandButton cmdAgAdd;
  CommandButton cmdAgRemove;
  ListBox lstAgFolders;
  TextBox txtAgRemove;
  CheckBox chkAgPurgeDisabled;
  CheckBox chkAgSubFolders;
  TextBox txtAgNewCount;
  ComboBox cboAgNewUnits;
  TextBox txtAgFormat;
  TextBox txtAgFileAfterCount;
  ComboBox cboAgFileAfterUnits;
  CheckBox chkAgFileDisabled;
  CommandButton cmdAgNew;
  CommandButton cmdAgFileNow;
  CommandButton cmdAgPurgeNow;
  CommandButton cmdAgDelete;
  Label lblAgAgentType;
  Label lblAgFolders;
  Label lblAgRemove1;
  Label lblAgRemove2;
  Label lblAgNewStore;
  Label lblAgFormat;
  Label lblAgFileAfter;

  // True from a change of cboAgName's text until a rename is carried out or
  // the panel is loaded.
  bool AgentNameEdited = false;

 private:
  // The agent named in cboAgName, fetched anew; none raises 91.
  Ref<Agent> ShownAgent();
  [[nodiscard]] std::string Text(const std::string& key) const;

  PeriodsPanel& periods_;
  // While LoadAgentDetails sets the boxes, their clicks write nothing back.
  bool showingAgent_ = false;
};

}  // namespace vellix
