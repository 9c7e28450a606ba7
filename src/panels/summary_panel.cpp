#include "panels/summary_panel.h"

#include <string>
#include <vector>

#include "forms/layout_metrics.h"
#include "forms/row_layout.h"
#include "foundation/config_node.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/format.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/text.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"
#include "foundation/variant.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmPopup";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Summary";
constexpr const char* kAgentsRoot = "Agents";
constexpr const char* kPeriodsRootKey = "PeriodsRoot";
constexpr const char* kPeriodsRoot = "Periods";
// Below this the shell's program calls failed.
constexpr int32_t kShellFirstSuccess = 33;
constexpr int32_t kCellAlignment = 2;

}  // namespace

SummaryPanel::SummaryPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      tvwSuSelector(form, "tvwSuSelector", "picSu"),
      fgcSuDetail(form, "fgcSuDetail", "picSu"),
      cmdSuHelp(form, "cmdSuHelp", "picSu"),
      cmdSuSetupWiz(form, "cmdSuSetupWiz", "picSu") {
  tvwSuSelector.Click = [this] { tvwSuSelector_Click(); };
  cmdSuSetupWiz.Click = [this] { cmdSuSetupWiz_Click(); };
  cmdSuHelp.Click = [this] { cmdSuHelp_Click(); };
}

void SummaryPanel::Design() {
  cmdSuHelp.Caption("Help");
  cmdSuSetupWiz.Caption("Setup Wizard");
  // A plain two-column list: no heading row or column.
  fgcSuDetail.FixedRows(0);
  fgcSuDetail.FixedCols(0);
  fgcSuDetail.Rows(0);
  fgcSuDetail.Cols(2);
}

void SummaryPanel::LayoutSummary() {
  Frame frame(ctx(), kModule, "LayoutSummary");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    RowLayout texts(m, ctx().rootNode->GetNode(kTextNode, false, "", Variant()));
    const Control& pic = Need(tvwSuSelector.ContainerControl());

    const int16_t height = Twips(int64_t{pic.Height()} - (2 * int64_t{m.Border} + m.RowHeight));
    tvwSuSelector.Move(m.Border, m.Border, m.LabelColumnWidth, height);
    texts.ApplyTip(tvwSuSelector);

    const int16_t gridLeft = Twips(int64_t{m.Border} + m.LabelColumnWidth + m.Border);
    const int16_t gridWidth = Twips(int64_t{pic.Width()} - gridLeft - m.Border);
    fgcSuDetail.Move(gridLeft, m.Border, gridWidth, height);
    texts.ApplyTip(fgcSuDetail);
    fgcSuDetail.Cols(2);
    const int16_t nameWidth = CInt(Val(texts.Text("DetailNameWidth")));
    fgcSuDetail.ColWidth(0, nameWidth);
    fgcSuDetail.ColWidth(1, Twips(int64_t{gridWidth} - nameWidth));

    const int16_t buttonTop = Twips(int64_t{m.Border} + height + m.Border);
    cmdSuHelp.Move(m.Border, buttonTop, m.ButtonWidth, m.RowHeight);
    cmdSuHelp.Caption(texts.Text("cmdSuHelp.ButtonText"));
    texts.ApplyTip(cmdSuHelp);
    cmdSuSetupWiz.Move(Twips(int64_t{cmdSuHelp.Left()} + cmdSuHelp.Width() + m.Border), buttonTop,
                       m.ButtonWidth, m.RowHeight);
    cmdSuSetupWiz.Caption(texts.Text("cmdSuSetupWiz"));
    texts.ApplyTip(cmdSuSetupWiz);
  });
}

void SummaryPanel::LoadSummary() {
  Frame frame(ctx(), kModule, "LoadSummary");
  frame.Run([&] { PopulateSelector(); });
}

bool SummaryPanel::LeaveSummary() {
  Frame frame(ctx(), kModule, "LeaveSummary");
  return frame.Run(false, [&] { return true; });
}

void SummaryPanel::PopulateSelector() {
  Frame frame(ctx(), kModule, "PopulateSelector");
  frame.Run([&] {
    tvwSuSelector.Clear();
    tvwSuSelector.AddRoot(kAgentsRoot, kAgentsRoot).Sorted(true);
    tvwSuSelector.AddRoot(kPeriodsRootKey, kPeriodsRoot).Sorted(true);

    auto config = ctx().engine->Config();
    for (const auto& agent : config->Agents()) {
      const std::string name = agent->Name();
      tvwSuSelector.Add(kAgentsRoot, TreeView::Relationship::Child, name, name);
    }
    for (const auto& period : config->Periods()) {
      const std::string name = period->Name();
      tvwSuSelector.Add(kPeriodsRootKey, TreeView::Relationship::Child, name, name);
    }

    // Selecting in code raises no click: the grid keeps what it showed.
    tvwSuSelector.Nodes(kPeriodsRootKey).Selected(true);
    tvwSuSelector.Nodes(kAgentsRoot).Expanded(true);
    tvwSuSelector.Nodes(kPeriodsRootKey).Expanded(true);
    if (tvwSuSelector.Reachable()) tvwSuSelector.SetFocus();
  });
}

void SummaryPanel::ShowAgentSummary() {
  Frame frame(ctx(), kModule, "ShowAgentSummary");
  frame.Run([&] {
    fgcSuDetail.Rows(0);
    Collection<DetailRow> rows;
    for (const auto& agent : ctx().engine->Config()->Agents()) {
      AddAlphaRow(rows, {agent->Name(), agent->MonitorType()});
    }
    PopulateDetails(rows);
  });
}

void SummaryPanel::ShowPeriodSumary() {
  Frame frame(ctx(), kModule, "ShowPeriodSumary");
  frame.Run([&] {
    fgcSuDetail.Rows(0);
    Collection<DetailRow> rows;
    const Locale& locale = ctx().locale();
    for (const auto& period : ctx().engine->Config()->Periods()) {
      // A date of 0 prints as the form gives it: this list shows spans.
      AddAlphaRow(rows,
                  {period->Name(), Format(period->FirstEntry(), "Short Date", locale) + " - " +
                                       Format(period->LastEntry(), "Short Date", locale)});
    }
    PopulateDetails(rows);
  });
}

void SummaryPanel::ShowAgentDetails(const Ref<Agent>& agent) {
  Frame frame(ctx(), kModule, "ShowAgentDetails");
  frame.Run([&] {
    fgcSuDetail.Clear();
    auto node = ctx().rootNode->GetNode(std::string(kTextNode) + ".Agent", false, "", Variant());
    auto name = [&](const std::string& key) { return node->GetValue(key).ToString(); };
    Collection<DetailRow> rows;
    AddAlphaRow(rows, {name("MonitorType"), agent->MonitorType()});
    AddAlphaRow(rows, {name("LastFile"), DateTimeText(agent->LastFile())});
    AddAlphaRow(rows, {name("LastPurge"), DateTimeText(agent->LastPurge())});
    AddAlphaRow(rows, {name("ItemCount"), CountText(agent->ItemCount())});
    AddAlphaRow(rows, {name("Watermark"), DateTimeText(agent->Config()->Watermark(agent->Name()))});
    AddAlphaRow(rows, {name("UnfiledItems"), CountText(agent->UnfiledItems())});
    AddAlphaRow(rows, {name("ItemsToPurge"), CountText(agent->ItemsToPurge())});
    AddAlphaRow(rows, {name("Periods"), CountText(agent->Periods().Count())});
    AddAlphaRow(rows, {name("EarliestStore"), DateTimeText(agent->EarliestStore())});
    AddAlphaRow(rows, {name("MostRecentStore"), DateTimeText(agent->MostRecentStore())});
    PopulateDetails(rows);
  });
}

void SummaryPanel::ShowPeriodDetails(const Ref<Period>& period) {
  Frame frame(ctx(), kModule, "ShowPeriodDetails");
  frame.Run([&] {
    fgcSuDetail.Clear();
    auto node = ctx().rootNode->GetNode(std::string(kTextNode) + ".Period", false, "", Variant());
    auto name = [&](const std::string& key) { return node->GetValue(key).ToString(); };
    Collection<DetailRow> rows;
    AddAlphaRow(rows, {name("FileSize"), Utils(ctx()).DisplayFileSizeText(period->FileSize())});
    AddAlphaRow(rows, {name("FirstEntry"), DateTimeText(period->FirstEntry())});
    AddAlphaRow(rows, {name("FileName"), period->FileName()});
    AddAlphaRow(rows, {name("LastEntry"), DateTimeText(period->LastEntry())});
    AddAlphaRow(rows, {name("LastBackup"), DateTimeText(period->LastBackup())});
    AddAlphaRow(rows, {name("BackupLocation"), period->Config()->BackupLocation()});
    // Unlike an agent's, a period's count shows 0 and has no grouping.
    AddAlphaRow(rows, {name("ItemCount"), std::to_string(period->ItemCount())});
    AddAlphaRow(rows, {name("StoreLocation"), period->Config()->StoreLocation()});
    std::string status;
    switch (period->BackupStatus()) {
      case 0:
        status = name("BackupStatusOptions.Unavailable");
        break;
      case 1:
        status = name("BackupStatusOptions.Yes");
        break;
      case 2:
        status = name("BackupStatusOptions.No");
        break;
      default:
        break;
    }
    AddAlphaRow(rows, {name("BackupStatus"), status});
    AddAlphaRow(rows, {name("Connected"), BoolText(period->Connected())});
    PopulateDetails(rows);
  });
}

bool SummaryPanel::AddAlphaRow(Collection<DetailRow>& rows, const DetailRow& row) {
  Frame frame(ctx(), kModule, "AddAlphaRow");
  return frame.Run(false, [&] {
    if (rows.Count() == 0) {
      rows.Add(row);
      return true;
    }
    // Ahead of the first row that is equal or greater: among equal names the
    // later one comes first.
    for (int32_t position = 1; position <= rows.Count(); ++position) {
      if (CompareText(row.name, rows.Item(position).name) <= 0) {
        rows.Add(row, {}, position);
        return true;
      }
    }
    rows.Add(row);
    return true;
  });
}

bool SummaryPanel::PopulateDetails(const Collection<DetailRow>& rows) {
  Frame frame(ctx(), kModule, "PopulateDetails");
  return frame.Run(false, [&] {
    fgcSuDetail.Clear();
    fgcSuDetail.Rows(rows.Count());
    fgcSuDetail.Row(0);
    int32_t gridRow = 0;
    for (const DetailRow& row : rows) {
      fgcSuDetail.Row(gridRow);
      fgcSuDetail.Col(0);
      fgcSuDetail.Text(row.name);
      fgcSuDetail.Col(1);
      fgcSuDetail.Text(row.value);
      fgcSuDetail.CellAlignment(kCellAlignment);
      ++gridRow;
    }
    return true;
  });
}

void SummaryPanel::tvwSuSelector_Click() {
  Frame frame(ctx(), kModule, "tvwSuSelector_Click");
  frame.Run([&] {
    const TreeNode& selected = Need(tvwSuSelector.SelectedItem());
    const std::vector<std::string> parts = Split(selected.FullPath(), "\\");
    if (parts.size() == 1) {
      if (parts[0] == kAgentsRoot) ShowAgentSummary();
      if (parts[0] == kPeriodsRoot) ShowPeriodSumary();
    } else if (parts.size() == 2) {
      // A name with a backslash in it splits into more parts and shows nothing.
      if (parts[0] == kAgentsRoot) {
        auto agent = ctx().engine->Config()->Agent(parts[1]);
        if (agent) ShowAgentDetails(agent);
      }
      if (parts[0] == kPeriodsRoot) {
        auto period = ctx().engine->Config()->Period(parts[1]);
        if (period) ShowPeriodDetails(period);
      }
    }
  });
}

void SummaryPanel::cmdSuHelp_Click() {
  Frame frame(ctx(), kModule, "cmdSuHelp_Click");
  frame.Run([&] {
    FileSystem& files = ctx().Files();
    WebBrowser& browser = ctx().Browser();
    // The folder and the name are joined as they come, with no separator:
    // the page lies beside the temporary folder, not in it. Any place will
    // do, since the page only tells which program opens web pages.
    const std::string page =
        Replace(files.GetSpecialFolder(2) + files.GetTempName(), ".tmp", ".htm");
    files.WriteTextFile(page, "<HTML> <\\HTML>");

    const ExecutableLookup found = browser.FindExecutable(page);
    const std::string program = Trim(found.program);
    if (found.result < kShellFirstSuccess) {
      ctx().Host().MsgBox(
          ctx().rootNode->GetValue(std::string(kTextNode) + ".cmdSuHelp.NoBrowser").ToString(),
          MsgButtons::OK, "");
    } else {
      const std::string address =
          ctx().rootNode->GetValue(std::string(kTextNode) + ".cmdSuHelp.LinkURL").ToString();
      if (browser.ShellExecute(program, address) < kShellFirstSuccess) {
        // The address on a line of its own, so the user can open it by hand.
        ctx().Host().MsgBox(
            ctx().rootNode->GetValue(std::string(kTextNode) + ".cmdSuHelp.NoURL").ToString() +
                "\n" + address,
            MsgButtons::OK, "");
      }
    }
    files.DeleteFile(page);
  });
}

void SummaryPanel::cmdSuSetupWiz_Click() {
  Frame frame(ctx(), kModule, "cmdSuSetupWiz_Click");
  frame.Run([&] { shell().StateMonitor(MachineEvent::QuickSetup); });
}

std::string SummaryPanel::DateTimeText(Date value) const {
  if (value.IsZero()) return {};
  return Format(value, "Long Date", ctx().locale()) + " " +
         Format(value, "Long Time", ctx().locale());
}

std::string SummaryPanel::CountText(int32_t value) const {
  return Format(static_cast<double>(value), "###,###", ctx().locale());
}

}  // namespace vellix
