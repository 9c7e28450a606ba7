#include "panels/agents_panel.h"

#include <cmath>
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
#include "foundation/runtime.h"
#include "foundation/scoped_value.h"
#include "foundation/text.h"
#include "foundation/trace_names.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Agents";
constexpr const char* kTexts = ".Strings.ControlPanel.Agents.";
constexpr const char* kContainer = "picAg";
// The type of an agent that no folder has fixed yet.
constexpr const char* kUnknownType = "Unknown";
// Short fields: counts of up to four digits, and the longest unit word
// ("Quarter", "Minutes") with the combo's button.
constexpr int kCountChars = 4;
constexpr int kUnitChars = 10;
// "days" after the removal period.
constexpr int kDaysChars = 4;
}  // namespace

AgentsPanel::AgentsPanel(PopupShell& shell, Form& form, PeriodsPanel& periods)
    : Panel(shell),
      fraAgAgent(form, "fraAgAgent", kContainer),
      fraAgStores(form, "fraAgStores", kContainer),
      fraAgSchedule(form, "fraAgSchedule", kContainer),
      cboAgName(form, "cboAgName", "fraAgAgent"),
      cmdAgAdd(form, "cmdAgAdd", "fraAgAgent"),
      cmdAgRemove(form, "cmdAgRemove", "fraAgAgent"),
      lstAgFolders(form, "lstAgFolders", "fraAgAgent"),
      txtAgRemove(form, "txtAgRemove", "fraAgAgent"),
      chkAgPurgeDisabled(form, "chkAgPurgeDisabled", "fraAgAgent"),
      chkAgSubFolders(form, "chkAgSubFolders", "fraAgAgent"),
      txtAgNewCount(form, "txtAgNewCount", "fraAgStores"),
      cboAgNewUnits(form, "cboAgNewUnits", "fraAgStores"),
      txtAgFormat(form, "txtAgFormat", "fraAgStores"),
      txtAgFileAfterCount(form, "txtAgFileAfterCount", "fraAgSchedule"),
      cboAgFileAfterUnits(form, "cboAgFileAfterUnits", "fraAgSchedule"),
      chkAgFileDisabled(form, "chkAgFileDisabled", "fraAgSchedule"),
      cmdAgNew(form, "cmdAgNew", kContainer),
      cmdAgFileNow(form, "cmdAgFileNow", kContainer),
      cmdAgPurgeNow(form, "cmdAgPurgeNow", kContainer),
      cmdAgDelete(form, "cmdAgDelete", kContainer),
      lblAgAgentType(form, "lblAgAgentType", "fraAgAgent"),
      lblAgFolders(form, "lblAgFolders", "fraAgAgent"),
      lblAgRemove1(form, "lblAgRemove1", "fraAgAgent"),
      lblAgRemove2(form, "lblAgRemove2", "fraAgAgent"),
      lblAgNewStore(form, "lblAgNewStore", "fraAgStores"),
      lblAgFormat(form, "lblAgFormat", "fraAgStores"),
      lblAgFileAfter(form, "lblAgFileAfter", "fraAgSchedule"),
      periods_(periods) {
  cboAgName.Change = [this] { cboAgName_Change(); };
  cboAgName.Click = [this] { cboAgName_Click(); };
  cboAgName.LostFocus = [this] { cboAgName_LostFocus(); };
  cboAgNewUnits.Click = [this] { cboAgNewUnits_Click(); };
  cboAgFileAfterUnits.Click = [this] { cboAgFileAfterUnits_Click(); };
  chkAgPurgeDisabled.Click = [this] { chkAgPurgeDisabled_Click(); };
  chkAgSubFolders.Click = [this] { chkAgSubFolders_Click(); };
  chkAgFileDisabled.Click = [this] { chkAgFileDisabled_Click(); };
  cmdAgAdd.Click = [this] { cmdAgAdd_Click(); };
  cmdAgRemove.Click = [this] { cmdAgRemove_Click(); };
  cmdAgNew.Click = [this] { cmdAgNew_Click(); };
  cmdAgDelete.Click = [this] { cmdAgDelete_Click(); };
  cmdAgFileNow.Click = [this] { cmdAgFileNow_Click(); };
  cmdAgPurgeNow.Click = [this] { cmdAgPurgeNow_Click(); };
  txtAgNewCount.LostFocus = [this] { txtAgNewCount_LostFocus(); };
  txtAgFormat.LostFocus = [this] { txtAgFormat_LostFocus(); };
  txtAgFileAfterCount.LostFocus = [this] { txtAgFileAfterCount_LostFocus(); };
  txtAgRemove.LostFocus = [this] { txtAgRemove_LostFocus(); };
}

void AgentsPanel::Design() {
  fraAgAgent.Caption("Thread");
  lblAgAgentType.Caption("Agent Type");
  lblAgFolders.Caption("Folders");
  cmdAgAdd.Caption("Add");
  cmdAgRemove.Caption("Remove");
  chkAgSubFolders.Caption("Include Sub-Folders");
  lblAgRemove1.Caption("Remove items from folders after");
  lblAgRemove2.Caption("days");
  chkAgPurgeDisabled.Caption("Never");
  fraAgStores.Caption("Stores");
  lblAgNewStore.Caption("New Store Every");
  lblAgFormat.Caption("Store Name Format");
  fraAgSchedule.Caption("Schedule");
  lblAgFileAfter.Caption("Run After");
  chkAgFileDisabled.Caption("Disable");
  cmdAgNew.Caption("New");
  cmdAgDelete.Caption("Delete");
  cmdAgFileNow.Caption("File Now");
  cmdAgPurgeNow.Caption("Purge Now");
  // Several folders can be removed in one click.
  lstAgFolders.MultiSelect(ListBox::kMultiSelectExtended);
}

std::string AgentsPanel::Text(const std::string& key) const {
  return BranchText(ctx(), kTexts + key);
}

void AgentsPanel::LayoutAgents() {
  Frame frame(ctx(), kModule, "LayoutAgents");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    const Ref<ConfigNode> node = ctx().rootNode->GetNode(kTextNode, false, "", Variant());
    const Control& pic = Need(fraAgAgent.ContainerControl());
    const int16_t frameWidth = Twips(int64_t{pic.Width()} - 2 * int64_t{m.Border});
    // A frame's rows start below its caption; the frames stand one under
    // the other with a border between them, the buttons in a row below.
    const int16_t firstRow = m.RowHeight;
    const int16_t rowStep = Twips(int64_t{m.Border} + m.RowHeight);
    const auto frameHeight = [&](int rows) {
      return Twips(int64_t{firstRow} + int64_t{rows} * rowStep);
    };
    const auto below = [&](const Control& above) {
      return Twips(int64_t{above.Top()} + above.Height() + m.Border);
    };
    const auto after = [&](const Control& left) {
      return Twips(int64_t{left.Left()} + left.Width() + m.Border);
    };
    const auto place = [&](Control& control, int16_t left, int16_t top, int16_t width) {
      control.Move(left, top, width, m.RowHeight);
    };

    // The agent: its name and type; its folders, two rows high, with the
    // buttons beside them and the sub-folder box below the buttons; the
    // removal period.
    RowLayout agent(m, node);
    fraAgAgent.Caption(agent.Text("fraAgAgent"));
    fraAgAgent.Move(m.Border, 0, frameWidth, frameHeight(4));
    const int16_t inner = Twips(int64_t{frameWidth} - m.Border);
    agent.Row(firstRow);
    agent.PlaceData(cboAgName, m.DataColumnWidth);
    cboAgName.Text(agent.Text("cboAgName"));
    lblAgAgentType.Caption(agent.Text("lblAgAgentType"));
    lblAgAgentType.Move(after(cboAgName), Twips(int64_t{agent.Row()} + m.TextOffset),
                        Twips(int64_t{inner} - after(cboAgName)), m.RowHeight);
    agent.NextRow();

    agent.PlaceLabel(lblAgFolders);
    const int16_t buttonsWidth = Twips(2 * (int64_t{m.ButtonWidth} + m.Border));
    agent.PlaceData(lstAgFolders, Twips(int64_t{inner} - buttonsWidth - agent.DataLeft()));
    lstAgFolders.Height(Twips(2 * int64_t{m.RowHeight} + m.Border));
    agent.PlaceNext(cmdAgAdd, lstAgFolders, m.ButtonWidth);
    cmdAgAdd.Caption(agent.Text("cmdAgAdd"));
    agent.PlaceNext(cmdAgRemove, cmdAgAdd, m.ButtonWidth);
    cmdAgRemove.Caption(agent.Text("cmdAgRemove"));
    agent.NextRow();
    agent.PlaceNext(chkAgSubFolders, lstAgFolders, Twips(int64_t{inner} - after(lstAgFolders)));
    chkAgSubFolders.Caption(agent.Text("chkAgSubFolders"));
    agent.NextRow();

    agent.PlaceLabel(lblAgRemove1);
    agent.PlaceData(txtAgRemove, agent.Chars(kCountChars));
    txtAgRemove.Text(agent.Text("txtAgRemove"));
    lblAgRemove2.Caption(agent.Text("lblAgRemove2"));
    lblAgRemove2.Move(after(txtAgRemove), Twips(int64_t{agent.Row()} + m.TextOffset),
                      agent.Chars(kDaysChars), m.RowHeight);
    agent.PlaceNext(chkAgPurgeDisabled, lblAgRemove2, m.ButtonWidth);
    chkAgPurgeDisabled.Caption(agent.Text("chkAgPurgeDisabled"));

    // The stores: their length and their name format.
    RowLayout stores(m, node);
    fraAgStores.Caption(stores.Text("fraAgStores"));
    fraAgStores.Move(m.Border, below(fraAgAgent), frameWidth, frameHeight(2));
    stores.Row(firstRow);
    stores.PlaceLabel(lblAgNewStore);
    stores.PlaceData(txtAgNewCount, stores.Chars(kCountChars));
    txtAgNewCount.Text(stores.Text("txtAgNewCount"));
    stores.PlaceNext(cboAgNewUnits, txtAgNewCount, stores.Chars(kUnitChars));
    stores.FillList(cboAgNewUnits, "cboAgNewUnits.2");
    stores.NextRow();
    stores.PlaceLabel(lblAgFormat);
    stores.PlaceData(txtAgFormat, m.DataColumnWidth);
    txtAgFormat.Text(stores.Text("txtAgFormat"));

    // The schedule: the delay before filing.
    RowLayout schedule(m, node);
    fraAgSchedule.Caption(schedule.Text("fraAgSchedule"));
    fraAgSchedule.Move(m.Border, below(fraAgStores), frameWidth, frameHeight(1));
    schedule.Row(firstRow);
    schedule.PlaceLabel(lblAgFileAfter);
    schedule.PlaceData(txtAgFileAfterCount, schedule.Chars(kCountChars));
    txtAgFileAfterCount.Text(schedule.Text("txtAgFileAfterCount"));
    schedule.PlaceNext(cboAgFileAfterUnits, txtAgFileAfterCount, schedule.Chars(kUnitChars));
    schedule.FillList(cboAgFileAfterUnits, "cboAgFileAfterUnits.2");
    schedule.PlaceNext(chkAgFileDisabled, cboAgFileAfterUnits, m.ButtonWidth);
    chkAgFileDisabled.Caption(schedule.Text("chkAgFileDisabled"));

    // New and Delete at the left, the two run buttons at the right.
    RowLayout buttons(m, node);
    const int16_t buttonTop = below(fraAgSchedule);
    place(cmdAgNew, m.Border, buttonTop, m.ButtonWidth);
    place(cmdAgDelete, after(cmdAgNew), buttonTop, m.ButtonWidth);
    const int16_t right = Twips(int64_t{m.Border} + frameWidth);
    place(cmdAgPurgeNow, Twips(int64_t{right} - m.ButtonWidth), buttonTop, m.ButtonWidth);
    place(cmdAgFileNow, Twips(int64_t{cmdAgPurgeNow.Left()} - m.Border - m.ButtonWidth), buttonTop,
          m.ButtonWidth);
    for (CommandButton* button : {&cmdAgNew, &cmdAgDelete, &cmdAgFileNow, &cmdAgPurgeNow}) {
      button->Caption(buttons.Text(button->Name()));
      buttons.ApplyTip(*button);
    }
  });
}

Ref<Agent> AgentsPanel::ShownAgent() {
  Ref<Agent> agent = ctx().engine->Config()->Agent(cboAgName.Text());
  if (!agent) Raise(err::kObjectNotSet);
  return agent;
}

void AgentsPanel::LoadAgents() {
  Frame frame(ctx(), kModule, "LoadAgents");
  frame.Run([&] {
    const std::string kept = cboAgName.Text();
    cboAgName.Clear();
    if (!kept.empty()) cboAgName.Text(kept);
    for (const Ref<Agent>& agent : ctx().engine->Config()->Agents()) {
      const std::string name = agent->Name();
      if (cboAgName.Text().empty()) cboAgName.Text(name);
      cboAgName.AddItem(name);
      cboAgName.ItemData(cboAgName.ListCount() - 1, agent->Id());
      if (kept == name) cboAgName.Text(kept);
    }
    if (cboAgName.Text().empty()) cboAgName.Text(Text("NoAgentsText"));
    LoadAgentDetails(cboAgName.Text());
    AgentNameEdited = false;
  });
}

bool AgentsPanel::LoadAgentDetails(const std::string& agentName) {
  Frame frame(ctx(), kModule, "LoadAgentDetails");
  return frame.Run(false, [&](bool& result) {
    // Setting a box in code clicks it; the value comes from the engine, so
    // nothing is written back, and the enabling is RunDisable's at the end.
    ScopedValue showing(showingAgent_, true);
    if (agentName == Text("NoAgentsText")) {
      lblAgAgentType.Caption("");
      lstAgFolders.Clear();
      txtAgNewCount.Text("");
      cboAgNewUnits.Text("");
      txtAgFormat.Text("");
      txtAgFileAfterCount.Text("");
      cboAgFileAfterUnits.Text("");
      txtAgRemove.Text("");
      chkAgFileDisabled.Value(CheckBox::kUnchecked);
      // New and the two run buttons keep what RunDisable gave them.
      for (Control* control : std::vector<Control*>{
               &lblAgAgentType, &lstAgFolders, &txtAgNewCount, &cboAgNewUnits, &txtAgFormat,
               &txtAgFileAfterCount, &cboAgFileAfterUnits, &chkAgPurgeDisabled, &chkAgSubFolders,
               &chkAgFileDisabled, &cmdAgDelete, &txtAgRemove, &cmdAgAdd, &cmdAgRemove}) {
        control->Enabled(false);
      }
      result = true;
      return;
    }

    const Ref<Agent> agent = ctx().engine->Config()->Agent(agentName);
    if (!agent) return;
    for (Control* control : std::vector<Control*>{
             &lblAgAgentType, &lstAgFolders, &txtAgNewCount, &cboAgNewUnits, &txtAgFormat,
             &txtAgFileAfterCount, &cboAgFileAfterUnits, &chkAgFileDisabled, &cmdAgDelete,
             &txtAgRemove, &cmdAgAdd, &cmdAgRemove}) {
      control->Enabled(true);
    }
    cboAgFileAfterUnits.Text(agent->FileAfterUnits());
    txtAgFileAfterCount.Text(std::to_string(agent->FileAfterCount()));
    lblAgAgentType.Caption(agent->MonitorType());
    lstAgFolders.Clear();
    for (const std::string& path : agent->Folders())
      lstAgFolders.AddItem(path);
    txtAgRemove.Text(std::to_string(agent->RemovePeriod()));
    txtAgNewCount.Text(std::to_string(agent->StoreCount()));
    cboAgNewUnits.Text(agent->StoreUnits());
    txtAgFormat.Text(agent->StoreFormat());
    const auto box = [](bool on) { return on ? CheckBox::kChecked : CheckBox::kUnchecked; };
    chkAgFileDisabled.Value(box(agent->FileDisabled()));
    chkAgPurgeDisabled.Value(box(agent->PurgeDisabled()));
    chkAgSubFolders.Value(box(agent->SubFolders()));
    result = true;
    // This, not the enabling above, opens the two boxes again after the
    // no-agents state.
    shell().RunDisable(ctx().engine->Running());
  });
}

void AgentsPanel::EnableAgentControls(bool running) {
  Frame frame(ctx(), kModule, "EnableAgentControls");
  frame.Run([&] {
    const bool purging = chkAgPurgeDisabled.Value() == CheckBox::kUnchecked;
    txtAgRemove.Enabled(purging);
    cmdAgPurgeNow.Enabled(purging);
    const bool filing = chkAgFileDisabled.Value() == CheckBox::kUnchecked;
    txtAgFileAfterCount.Enabled(filing);
    cboAgFileAfterUnits.Enabled(filing);
    cmdAgFileNow.Enabled(filing);
    // Filing and purging on demand need the engine running.
    if (!running) {
      cmdAgPurgeNow.Enabled(false);
      cmdAgFileNow.Enabled(false);
    }
  });
}

double AgentsPanel::StoreDuration() {
  Frame frame(ctx(), kModule, "StoreDuration");
  return frame.Run(0.0, [&]() -> double {
    const std::string units = cboAgNewUnits.Text();
    const double count = Val(txtAgNewCount.Text());
    if (units == "Year") return count * 365.0;
    if (units == "Quarter") return count * 365.0 / 4.0;
    if (units == "Month") return count * 365.0 / 12.0;
    if (units == "Week") return count * 7.0;
    if (units == "Day") return count;
    return 0.0;
  });
}

void AgentsPanel::cboAgName_Change() {
  Frame frame(ctx(), kModule, TraceNames::cboAgName_Change);
  frame.Run([&] { AgentNameEdited = true; });
}

void AgentsPanel::cboAgName_Click() {
  Frame frame(ctx(), kModule, "cboAgName_Click");
  frame.Run([&] { LoadAgentDetails(cboAgName.Text()); });
}

void AgentsPanel::cboAgName_LostFocus() {
  Frame frame(ctx(), kModule, "cboAgName_LostFocus");
  frame.Run([&] {
    if (!AgentNameEdited) return;
    // The combo keeps the row being edited selected while its text differs.
    const int32_t index = cboAgName.ListIndex();
    if (cboAgName.List(index) == cboAgName.Text()) return;
    // The engine takes an agent's id as text as well as its name. With no
    // row selected there is no item data, and the rename ends in the trace.
    const Ref<Agent> agent =
        ctx().engine->Config()->Agent(std::to_string(cboAgName.ItemData(index)));
    agent->Name(cboAgName.Text());
    cboAgName.RemoveItem(index);
    cboAgName.AddItem(cboAgName.Text(), index);
    // The id goes to the last row, not to the renamed one, which is left
    // without: kept as the rename has always behaved.
    cboAgName.ItemData(cboAgName.ListCount() - 1, agent->Id());
    AgentNameEdited = false;
  });
}

void AgentsPanel::cboAgNewUnits_Click() {
  Frame frame(ctx(), kModule, "cboAgNewUnits_Click");
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    if (StoreDuration() <= periods_.PeriodDuration()) {
      agent->StoreUnits(cboAgNewUnits.Text());
    } else {
      ctx().Host().MsgBox(Text("MsgStoreTooLong"), MsgButtons::OK, "");
      cboAgNewUnits.Text(agent->StoreUnits());
    }
  });
}

void AgentsPanel::cboAgFileAfterUnits_Click() {
  Frame frame(ctx(), kModule, "cboAgFileAfterUnits_Click");
  // The words come from configuration and go to the engine as they stand.
  frame.Run([&] { ShownAgent()->FileAfterUnits(cboAgFileAfterUnits.Text()); });
}

void AgentsPanel::chkAgPurgeDisabled_Click() {
  if (showingAgent_) return;
  Frame frame(ctx(), kModule, "chkAgPurgeDisabled_Click");
  frame.Run([&] {
    ShownAgent()->PurgeDisabled(chkAgPurgeDisabled.Value() != CheckBox::kUnchecked);
    EnableAgentControls(false);
  });
}

void AgentsPanel::chkAgSubFolders_Click() {
  if (showingAgent_) return;
  Frame frame(ctx(), kModule, "chkAgSubFolders_Click");
  frame.Run([&] { ShownAgent()->SubFolders(chkAgSubFolders.Value() != CheckBox::kUnchecked); });
}

void AgentsPanel::chkAgFileDisabled_Click() {
  if (showingAgent_) return;
  Frame frame(ctx(), kModule, "chkAgFileDisabled_Click");
  frame.Run([&] {
    ShownAgent()->FileDisabled(chkAgFileDisabled.Value() != CheckBox::kUnchecked);
    EnableAgentControls(false);
  });
}

void AgentsPanel::cmdAgAdd_Click() {
  Frame frame(ctx(), kModule, "cmdAgAdd_Click");
  frame.Run([&] {
    // Without the mail program this ends in the trace, with no message.
    const Ref<MAPIFolder> folder =
        ctx().Mail().CreateApplication()->GetNamespace("MAPI")->PickFolder();
    if (folder) {
      const std::string path = folder->FolderPath();
      // "\\Store\Folder": the store's name is the third part. An agent must
      // never watch a store that agents fill.
      const std::vector<std::string> parts = Split(path, "\\");
      const Ref<EngineConfig> config = ctx().engine->Config();
      for (const Ref<Period>& period : config->Periods()) {
        if (parts.size() < 3) Raise(err::kSubscriptOutOfRange);
        if (period->Name() == parts[2]) {
          ctx().Host().MsgBox(Text("MsgRecrsiveAgent"), MsgButtons::OK, "");
          return;
        }
      }
      // The first folder fixes the agent's type; later ones must match it.
      const Ref<Agent> agent = ShownAgent();
      Utils utils(ctx());
      if (agent->MonitorType() == kUnknownType) {
        agent->AddFolder(path);
        agent->MonitorType(utils.FolderTypeName(folder->DefaultItemType()));
      } else if (utils.FolderTypeName(folder->DefaultItemType()) != agent->MonitorType()) {
        ctx().Host().MsgBox(Text("MsgIncorrectFolderType"), MsgButtons::OK, "");
        return;
      } else {
        agent->AddFolder(path);
      }
    }
    LoadAgents();
  });
}

void AgentsPanel::cmdAgRemove_Click() {
  Frame frame(ctx(), kModule, "cmdAgRemove_Click");
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    // The bound is fixed at the start and the index moves on after a
    // removal too: the row that moved down into the gap isn't looked at, and
    // the walk runs past the shortened list into the trace (381), the
    // removals made so far standing. Kept as it has always behaved.
    const int32_t last = lstAgFolders.ListCount() - 1;
    for (int32_t index = 0; index <= last; ++index) {
      if (lstAgFolders.Selected(index)) {
        agent->RemoveFolder(lstAgFolders.List(index));
        lstAgFolders.RemoveItem(index);
      }
    }
  });
}

void AgentsPanel::cmdAgNew_Click() {
  Frame frame(ctx(), kModule, "cmdAgNew_Click");
  frame.Run([&] {
    // An empty name lets the engine pick one.
    const Ref<Agent> agent = ctx().engine->Config()->CreateAgent("");
    cboAgName.Text(agent->Name());
    cboAgName.AddItem(cboAgName.Text());
    cboAgName.ItemData(cboAgName.ListCount() - 1, agent->Id());
    LoadAgentDetails(cboAgName.Text());
  });
}

void AgentsPanel::cmdAgDelete_Click() {
  Frame frame(ctx(), kModule, "cmdAgDelete_Click");
  frame.Run([&] {
    if (ctx().Host().MsgBox(Text("MsgConfirmDelete"), MsgButtons::YesNo, "") == MsgResult::Yes) {
      ctx().engine->Config()->DeleteAgent(cboAgName.Text());
      cboAgName.RemoveItem(shell().GetIndex(cboAgName.Text(), false));
      cboAgName.Text(cboAgName.ListCount() == 0 ? Text("NoAgentsText") : cboAgName.List(0));
    }
    LoadAgents();
  });
}

void AgentsPanel::cmdAgFileNow_Click() {
  Frame frame(ctx(), kModule, "cmdAgFileNow_Click");
  // The engine files in its own time; the processing log tells the outcome.
  frame.Run([&] { ShownAgent()->RunFile(); });
}

void AgentsPanel::cmdAgPurgeNow_Click() {
  Frame frame(ctx(), kModule, "cmdAgPurgeNow_Click");
  frame.Run([&] { ShownAgent()->RunPurge(); });
}

void AgentsPanel::txtAgNewCount_LostFocus() {
  Frame frame(ctx(), kModule, "txtAgNewCount_LostFocus");
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    if (Val(txtAgNewCount.Text()) == 0) {
      ctx().Host().MsgBox(Text("MsgInvalidStoreDuration"), MsgButtons::OK, "");
      txtAgNewCount.Text(std::to_string(agent->StoreCount()));
    } else if (StoreDuration() > periods_.PeriodDuration()) {
      ctx().Host().MsgBox(Text("MsgStoreTooLong"), MsgButtons::OK, "");
      txtAgNewCount.Text(std::to_string(agent->StoreCount()));
    } else {
      // The text goes as it stands: negatives and fractions pass the tests
      // above. The count is a 16-bit number, so a text the runtime can't
      // convert ("12 months") ends in the trace and the agent keeps its count.
      agent->StoreCount(CInt(txtAgNewCount.Text()));
    }
  });
}

void AgentsPanel::txtAgFormat_LostFocus() {
  Frame frame(ctx(), kModule, "txtAgFormat_LostFocus");
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    if (Utils(ctx()).ValidateFolderFormat(txtAgFormat.Text())) {
      agent->StoreFormat(txtAgFormat.Text());
    } else {
      ctx().Host().MsgBox(Text("MsgFormatIncorrect"), MsgButtons::OK, "");
      txtAgFormat.Text(agent->StoreFormat());
    }
  });
}

void AgentsPanel::txtAgFileAfterCount_LostFocus() {
  Frame frame(ctx(), kModule, "txtAgFileAfterCount_LostFocus");
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    const int16_t limit = CInt(Text("MaxFileAfterCount"));
    const double value = Val(txtAgFileAfterCount.Text());
    if (value == 0 || value > limit) {
      ctx().Host().MsgBox(Text("MsgInvalidFileAfterCount") + " " + std::to_string(limit),
                          MsgButtons::OK, "");
      txtAgFileAfterCount.Text(std::to_string(agent->FileAfterCount()));
      return;
    }
    // The whole text must be a number ("12 hours" ends in the trace, the
    // field as typed); its fraction goes, towards zero.
    agent->FileAfterCount(CInt(std::trunc(CDbl(txtAgFileAfterCount.Text()))));
    txtAgFileAfterCount.Text(std::to_string(agent->FileAfterCount()));
  });
}

void AgentsPanel::txtAgRemove_LostFocus() {
  Frame frame(ctx(), kModule, TraceNames::txtAgRemove_LostFocus);
  frame.Run([&] {
    const Ref<Agent> agent = ShownAgent();
    const double value = Val(txtAgRemove.Text());
    if (value >= 0 && value <= 999) {
      // The text goes as it stands. The period is a 16-bit number: a text
      // the runtime can't convert (empty, letters, "7 days") ends in the
      // trace, and the agent keeps its period.
      agent->RemovePeriod(CInt(txtAgRemove.Text()));
    } else {
      ctx().Host().MsgBox(Text("MsgInvalidRemovePeriod"), MsgButtons::OK, "");
      txtAgRemove.Text(std::to_string(agent->RemovePeriod()));
    }
  });
}

}  // namespace vellix
