#pragma once

#include <functional>
#include <string>

#include "forms/panel.h"
#include "foundation/controls.h"
#include "foundation/ref.h"

namespace vellix {

class Agent;

// The Import tab (picIm): per agent, the mail folders it is to take in once,
// a tick on each row standing for the folder's sub-folders, and Import Now,
// which schedules the engine's import for the present time. The engine does
// the importing and clears the agent's ImportTime when it has run. The
// panel keeps nothing of its own: cboImName's text selects the agent, and
// every operation goes by the ticks of the list, never by its highlight.
class ImportPanel : public Panel {
 public:
  ImportPanel(PopupShell& shell, Form& form);

  void Design() override;
  void Layout() override { LayoutImport(); }
  void Load() override { LoadImport(); }
  void EnableControls(bool running) override { EnableImportControls(running); }

  void LayoutImport();
  void LoadImport();
  // Shows one agent's import list; true when it was shown or the name is the
  // no-agents text, false (and the panel unchanged) for an unknown agent.
  bool LoadImportDetails(const std::string& agentName);
  // Import Now follows the engine's state, unless an import is waiting.
  void EnableImportControls(bool enabled);

  void cboImName_Click();
  void cmdImAdd_Click();
  void cmdImRemove_Click();
  void cmdImRun_Click();
  void cmdImAttach_Click();
  void cmdImSmartImport_Click();
  void chkImSubFolders_Click();
  void lstImImportList_ItemCheck(int32_t row);

  // The main form's way to open the attach period dialog, not modal. Unset,
  // the button ends in the trace.
  std::function<void()> ShowAttachPeriod;

  Label lblImAgent;
  ComboBox cboImName;
  CommandButton cmdImRun;
  Label lblImImportList;
  ListBox lstImImportList;
  CommandButton cmdImAdd;
  CommandButton cmdImRemove;
  CheckBox chkImSubFolders;
  CommandButton cmdImSmartImport;
  CommandButton cmdImAttach;

  // Rows of text the import list shows at once.
  static constexpr int kListRows = 6;

 private:
  // The agent named in cboImName, fetched anew; none raises 91.
  Ref<Agent> ShownAgent();
  [[nodiscard]] std::string NoAgentsText() const;
};

}  // namespace vellix
