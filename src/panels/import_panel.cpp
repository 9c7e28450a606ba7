#include "panels/import_panel.h"

#include <cstdint>
#include <string>
#include <vector>

#include "forms/row_layout.h"
#include "forms/texts.h"
#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/context.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/mail_program.h"
#include "foundation/outlook.h"
#include "foundation/period.h"
#include "foundation/text.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Import";
constexpr const char* kTexts = ".Strings.ControlPanel.Import.";
constexpr const char* kContainer = "picIm";
// The type of an agent that no folder has fixed yet.
constexpr const char* kUnknownType = "Unknown";
// Stands in the program itself: the wizard behind the button isn't offered.
constexpr const char* kSmartImportMessage = "Feature not yet implemented";
}  // namespace

ImportPanel::ImportPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      lblImAgent(form, "lblImAgent", kContainer),
      cboImName(form, "cboImName", kContainer),
      cmdImRun(form, "cmdImRun", kContainer),
      lblImImportList(form, "lblImImportList", kContainer),
      lstImImportList(form, "lstImImportList", kContainer),
      cmdImAdd(form, "cmdImAdd", kContainer),
      cmdImRemove(form, "cmdImRemove", kContainer),
      chkImSubFolders(form, "chkImSubFolders", kContainer),
      cmdImSmartImport(form, "cmdImSmartImport", kContainer),
      cmdImAttach(form, "cmdImAttach", kContainer) {
  cboImName.Click = [this] { cboImName_Click(); };
  cmdImAdd.Click = [this] { cmdImAdd_Click(); };
  cmdImRemove.Click = [this] { cmdImRemove_Click(); };
  cmdImRun.Click = [this] { cmdImRun_Click(); };
  cmdImAttach.Click = [this] { cmdImAttach_Click(); };
  cmdImSmartImport.Click = [this] { cmdImSmartImport_Click(); };
  chkImSubFolders.Click = [this] { chkImSubFolders_Click(); };
  lstImImportList.ItemCheck = [this](int32_t row) { lstImImportList_ItemCheck(row); };
}

void ImportPanel::Design() {
  lblImAgent.Caption("Agent");
  cmdImRun.Caption("Import Now");
  lblImImportList.Caption("Folders");
  cmdImAdd.Caption("Add");
  cmdImRemove.Caption("Remove");
  chkImSubFolders.Caption("Include Sub-Folders");
  cmdImSmartImport.Caption("Smart Import");
  cmdImAttach.Caption("Attach");
  // A tick on each row: the folder is taken with its sub-folders.
  lstImImportList.Style(ListBox::kCheckbox);
}

std::string ImportPanel::NoAgentsText() const {
  return BranchText(ctx(), ".Strings.ControlPanel.Agents.NoAgentsText");
}

void ImportPanel::LayoutImport() {
  Frame frame(ctx(), kModule, "LayoutImport");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    const Ref<ConfigNode> node = ctx().rootNode->GetNode(kTextNode, false, "", Variant());
    const Control& pic = Need(cboImName.ContainerControl());
    const int16_t right = Twips(int64_t{pic.Width()} - m.Border);
    RowLayout rows(m, node);

    // The agent, and Import Now beside it.
    rows.PlaceLabel(lblImAgent);
    rows.PlaceData(cboImName, m.DataColumnWidth);
    cboImName.Text(rows.Text("cboImName"));
    rows.PlaceNext(cmdImRun, cboImName, m.ButtonWidth);
    cmdImRun.Caption(rows.Text("cmdImRun"));
    rows.NextRow();

    // The list, with Add and Remove one above the other at its right.
    rows.PlaceLabel(lblImImportList);
    rows.PlaceData(lstImImportList,
                   Twips(int64_t{right} - m.ButtonWidth - m.Border - rows.DataLeft()));
    lstImImportList.Height(
        Twips(int64_t{kListRows} * m.RowHeight + int64_t{kListRows - 1} * m.Border));
    rows.PlaceNext(cmdImAdd, lstImImportList, m.ButtonWidth);
    cmdImAdd.Caption(rows.Text("cmdImAdd"));
    rows.NextRow();
    rows.PlaceNext(cmdImRemove, lstImImportList, m.ButtonWidth);
    cmdImRemove.Caption(rows.Text("cmdImRemove"));

    // Below the list: the sub-folder box, then the two other ways in. The
    // box's keys are spelt with a small f.
    rows.Row(Twips(int64_t{lstImImportList.Top()} + lstImImportList.Height() + m.Border));
    rows.PlaceData(chkImSubFolders, m.DataColumnWidth);
    chkImSubFolders.Caption(rows.Text("chkImSubfolders"));
    chkImSubFolders.ToolTipText(rows.Text("chkImSubfolders-Tip"));
    rows.NextRow();
    rows.PlaceData(cmdImSmartImport, m.ButtonWidth);
    cmdImSmartImport.Caption(rows.Text("cmdImSmartImport"));
    rows.PlaceNext(cmdImAttach, cmdImSmartImport, m.ButtonWidth);
    cmdImAttach.Caption(rows.Text("cmdImAttach"));
  });
}

Ref<Agent> ImportPanel::ShownAgent() {
  Ref<Agent> agent = ctx().engine->Config()->Agent(cboImName.Text());
  if (!agent) Raise(err::kObjectNotSet);
  return agent;
}

void ImportPanel::LoadImport() {
  Frame frame(ctx(), kModule, "LoadImport");
  frame.Run([&] {
    const std::string kept = cboImName.Text();
    cboImName.Clear();
    if (!kept.empty()) cboImName.Text(kept);
    for (const Ref<Agent>& agent : ctx().engine->Config()->Agents()) {
      const std::string name = agent->Name();
      // The first agent is the default.
      if (cboImName.Text().empty()) cboImName.Text(name);
      cboImName.AddItem(name);
      cboImName.ItemData(cboImName.ListCount() - 1, agent->Id());
      if (kept == name) cboImName.Text(kept);
    }
    if (cboImName.Text().empty()) cboImName.Text(NoAgentsText());
    LoadImportDetails(cboImName.Text());
  });
}

bool ImportPanel::LoadImportDetails(const std::string& agentName) {
  Frame frame(ctx(), kModule, "LoadImportDetails");
  return frame.Run(false, [&](bool& result) {
    const std::vector<Control*> controls = {&lstImImportList, &cmdImAdd, &cmdImRemove, &cmdImRun};
    // The no-agents text is the marker that there is nothing to show.
    if (agentName == NoAgentsText()) {
      lstImImportList.Clear();
      for (Control* control : controls)
        control->Enabled(false);
      result = true;
      return;
    }
    const Ref<Agent> agent = ctx().engine->Config()->Agent(agentName);
    if (!agent) return;
    for (Control* control : controls)
      control->Enabled(true);
    lstImImportList.Clear();
    int32_t row = 0;
    for (const std::string& path : agent->ImportFolders()) {
      lstImImportList.AddItem(path, row);
      // A tick set here goes through the ItemCheck handler, which hands the
      // engine the value it holds already.
      lstImImportList.Selected(row, agent->ImportSubFolders(path));
      ++row;
    }
    // A waiting import can't be asked for again until the engine has run it.
    cmdImRun.Enabled(agent->ImportTime().IsZero());
    result = true;
  });
}

void ImportPanel::EnableImportControls(bool enabled) {
  Frame frame(ctx(), kModule, "EnableImportControls");
  frame.Run([&] {
    if (cboImName.Text().empty()) {
      cmdImRun.Enabled(false);
      return;
    }
    // The no-agents text names no agent: the call on nothing ends here in
    // the trace, and the button keeps what the load gave it.
    const Ref<Agent> agent = ctx().engine->Config()->Agent(cboImName.Text());
    cmdImRun.Enabled(agent->ImportTime().IsZero() ? enabled : false);
  });
}

void ImportPanel::cboImName_Click() {
  Frame frame(ctx(), kModule, "cboImName_Click");
  frame.Run([&] { LoadImportDetails(cboImName.Text()); });
}

void ImportPanel::cmdImAdd_Click() {
  Frame frame(ctx(), kModule, "cmdImAdd_Click");
  frame.Run([&] {
    // Without the mail program this ends in the trace, with no message.
    const Ref<MAPIFolder> folder =
        ctx().Mail().CreateApplication()->GetNamespace("MAPI")->PickFolder();
    if (folder) {
      const std::string path = folder->FullFolderPath();
      // "\\Store\Folder": the store's name is the third part. A folder of a
      // period store holds what was filed already.
      const std::vector<std::string> parts = Split(path, "\\");
      for (const Ref<Period>& period : ctx().engine->Config()->Periods()) {
        if (parts.size() < 3) Raise(err::kSubscriptOutOfRange);
        if (parts[2] == period->Name()) {
          ctx().Host().MsgBox(BranchText(ctx(), std::string(kTexts) + "MsgUnableToImport"),
                              MsgButtons::OK, "");
          return;
        }
      }
      const Ref<Agent> agent = ShownAgent();
      const bool subFolders = chkImSubFolders.Value() != CheckBox::kUnchecked;
      // The first folder fixes a new agent's type; later ones must match it.
      Utils utils(ctx());
      const std::string type = utils.FolderTypeName(folder->DefaultItemType());
      if (agent->MonitorType() == kUnknownType) {
        agent->AddImport(path, subFolders);
        agent->MonitorType(type);
      } else if (type != agent->MonitorType()) {
        ctx().Host().MsgBox(
            BranchText(ctx(), ".Strings.ControlPanel.Agents.MsgIncorrectFolderType"),
            MsgButtons::OK, "");
        return;
      } else {
        agent->AddImport(path, subFolders);
      }
    }
    LoadImport();
  });
}

void ImportPanel::cmdImRemove_Click() {
  Frame frame(ctx(), kModule, "cmdImRemove_Click");
  frame.Run([&] {
    // The tick doubles as the mark for removal: the first ticked row goes.
    int32_t found = -1;
    for (int32_t row = 0; row < lstImImportList.ListCount(); ++row) {
      if (lstImImportList.Selected(row)) {
        found = row;
        break;
      }
    }
    if (found >= 0) {
      ShownAgent()->RemoveImport(lstImImportList.List(found));
      lstImImportList.RemoveItem(found);
    }
    // The neighbour above takes a tick, and with it the sub-folders flag;
    // with none ticked, nothing goes and the last row is ticked. Kept as it
    // has always behaved.
    const int32_t at = found >= 0 ? found : lstImImportList.ListCount();
    if (at > 0) {
      lstImImportList.Selected(at - 1, true);
    } else if (lstImImportList.ListCount() > 0) {
      lstImImportList.Selected(0, true);
    }
  });
}

void ImportPanel::cmdImRun_Click() {
  Frame frame(ctx(), kModule, "cmdImRun_Click");
  // The button stays enabled until the next load; a second click moves the
  // time on.
  frame.Run([&] { ShownAgent()->ImportTime(ctx().Now()); });
}

void ImportPanel::cmdImAttach_Click() {
  Frame frame(ctx(), kModule, "cmdImAttach_Click");
  frame.Run([&] {
    if (!ShowAttachPeriod) Raise(err::kObjectNotSet);
    ShowAttachPeriod();
  });
}

void ImportPanel::cmdImSmartImport_Click() {
  Frame frame(ctx(), kModule, "cmdImSmartImport_Click");
  frame.Run([&] { ctx().Host().MsgBox(kSmartImportMessage, MsgButtons::OK, ""); });
}

void ImportPanel::chkImSubFolders_Click() {
  Frame frame(ctx(), kModule, "chkImSubFolders_Click");
  frame.Run([&] {
    // The box is the default for new folders and a set-all for the list.
    const bool ticked = chkImSubFolders.Value() != CheckBox::kUnchecked;
    for (int32_t row = 0; row < lstImImportList.ListCount(); ++row)
      lstImImportList.Selected(row, ticked);
  });
}

void ImportPanel::lstImImportList_ItemCheck(int32_t row) {
  Frame frame(ctx(), kModule, "lstImImportList_ItemCheck");
  frame.Run([&] {
    const std::string folder = lstImImportList.List(row);
    const bool ticked = lstImImportList.Selected(row);
    ShownAgent()->SetImportSubfolders(folder, ticked);
  });
}

}  // namespace vellix
