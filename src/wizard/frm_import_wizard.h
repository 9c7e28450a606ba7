#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "forms/layout_metrics.h"
#include "foundation/collection.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/event.h"
#include "foundation/form.h"
#include "foundation/outlook.h"
#include "foundation/ref.h"
#include "wizard/import_entry.h"

namespace vellix {

class RowLayout;

class ConfigNode;

// A three-page wizard that gives agents whole folder trees to import: page
// Source takes the root folders, each chosen in a live Explorer of the mail
// program; page Agents the agent for each kind of folder; page Run the list
// the survey made and the time of the run. Finish adds each active row as an
// import on its agent, in the same lists the Import tab edits. Nothing in
// the control panel opens it.
//
// One class over two files: the form, its pages and their flow
// (frm_import_wizard.cpp), and the Agents page with the folder survey and
// the Run grid's agent button (folder_survey.cpp).
class FrmImportWizard : public Form {
 public:
  FrmImportWizard(Context& ctx, UiHost& host);

  // ---- what the wizard holds ----
  // "Source", "Agents" or "Run".
  [[nodiscard]] const std::string& Page() const { return mstrPage_; }
  // The path of the folder last shown in the open Explorer.
  [[nodiscard]] const std::string& ExplorerFolder() const { return mstrExplorerFolder_; }
  [[nodiscard]] const Collection<std::string>& RootFolders() const { return mcolRootFolders_; }
  [[nodiscard]] const Collection<Ref<ImportEntry>>& ImportList() const { return mcolImportList_; }
  // The Explorer opened by cmdSoAdd and not yet closed, or nothing.
  [[nodiscard]] const Ref<Explorer>& OpenExplorer() const { return mobjExplorer_; }
  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  // ---- pages ----
  void LoadSource();
  void LoadAgents();
  void LoadRun();
  void ShowSource();
  void ShowAgents();
  void ShowRun();
  bool ExitSource();
  // The survey: the import list made anew from every root's folder tree.
  bool ExitAgents();
  void ExitRun();
  void LayoutSource();
  // Lays out the Agents page and fills its nine choices from the agents.
  void LayoutAgents();
  void LayoutRun();
  void LayoutForm();
  void Finish();

  // ---- the survey ----
  // Adds the folder's tree to the import list, each folder after everything
  // below it; logs as "ExitSource".
  void SurveyFolder(const Ref<MAPIFolder>& folder, const std::string& rootFolder);
  // "None", then the agents of that folder type in the engine's order.
  Collection<std::string> AgentList(const std::string& typeName);

  // ---- handlers ----
  void cmdCancel_Click();
  void cmdPrev_Click();
  void cmdNext_Click();
  void cmdFinish_Click();
  void cmdSoAdd_Click();
  void cmdSoRemove_Click();
  void mobjExplorer_FolderSwitch();
  void mobjExplorer_Close();
  void optRuNow_Click();
  void optRuLater_Click();
  void fgcRuImportList_EnterCell();
  void fgcRuImportList_LeaveCell();
  void cmdRuChange_Click();
  void picRun_Click();

  CommandButton cmdCancel;
  CommandButton cmdPrev;
  CommandButton cmdNext;
  CommandButton cmdFinish;

  PictureBox picSource;
  Label lblSoDescription;
  ListBox lstSoRootFolders;
  CommandButton cmdSoAdd;
  CommandButton cmdSoRemove;

  PictureBox picAgents;
  Label lblAgDescription;
  Label lblAgInbox;
  ComboBox cboAgInbox;
  Label lblAgSentItems;
  ComboBox cboAgSentItems;
  Label lblAgDeletedItems;
  ComboBox cboAgDeletedItems;
  Label lblAgOtherMailAndPost;
  ComboBox cboAgOtherMailAndPost;
  Label lblAgCalendar;
  ComboBox cboAgCalendar;
  Label lblAgTasks;
  ComboBox cboAgTasks;
  Label lblAgJournal;
  ComboBox cboAgJournal;
  Label lblAgNotes;
  ComboBox cboAgNotes;
  Label lblAgContacts;
  ComboBox cboAgContacts;

  PictureBox picRun;
  Label lblRuDescription;
  ::vellix::FlexGrid fgcRuImportList;
  CommandButton cmdRuChange;
  OptionButton optRuNow;
  OptionButton optRuLater;
  DatePicker dtpRuWhen;

  Menu mnuAgentList;
  Menu mnuNewItem;

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.ImportWizard";
  // Where the page Run's pop-up menu shows, in twips of the form.
  static constexpr int32_t kMenuAt = 1000;
  static constexpr int kAgentRows = 9;

 protected:
  void Design() override;
  void Form_Load() override;
  void Form_Unload(bool& cancel) override;

 private:
  // One row of the Agents page: its label and combo, the folder type whose
  // agents it offers, and the agent name that preselects it ("" for any).
  struct AgentRow {
    Label* label;
    ComboBox* combo;
    const char* type;
    const char* preselect;
  };

  // The text of a whole key below the control panel's branch.
  [[nodiscard]] std::string Text(const std::string& suffix) const;
  // The combo that takes folders of this type at this (trimmed, upper-case)
  // path; nothing for a type without one.
  [[nodiscard]] ComboBox* ChoiceFor(const std::string& typeName, const std::string& key);
  // Puts a page on the spot the three share, sized from the metrics.
  // Places a page and its description across its top (caption from the
  // layout texts); the first row below the description.
  int16_t PlacePage(PictureBox& page, Label& description, const RowLayout& rows) const;
  void ConnectExplorer();
  void SetButtons(bool next, bool prev, bool finish);

  Context& ctx_;
  LayoutMetrics metrics_;
  Ref<ConfigNode> node_;
  std::string mstrPage_;
  Ref<OutlookApplication> mobjOutlook_;
  Ref<NameSpace> mobjNamespace_;
  Ref<Explorer> mobjExplorer_;
  Connection explorerClose_;
  Connection explorerSwitch_;
  std::string mstrExplorerFolder_;
  Collection<std::string> mcolRootFolders_;
  Collection<Ref<ImportEntry>> mcolImportList_;
  std::array<AgentRow, kAgentRows> agentRows_;
  // Levels of SurveyFolder running: the outermost reads the no-agent texts.
  int surveyDepth_ = 0;
  // The two texts that mean "no agent", read once per survey.
  std::string noneText_;
  std::string noAgentText_;
  // The name tests' text of the mail folder in hand.
  std::string key_;
};

}  // namespace vellix
