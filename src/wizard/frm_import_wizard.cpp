#include "wizard/frm_import_wizard.h"

#include <cmath>

#include "forms/row_layout.h"
#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/mail_program.h"
#include "foundation/runtime.h"
#include "foundation/ui_host.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmImportWizard";
constexpr const char* kTexts = ".Strings.ImportWizard.";
// The default folder kind of the Inbox, where a new Explorer opens.
constexpr int32_t kInboxFolder = 6;
// Rows of text the description labels take.
constexpr int kDescriptionRows = 2;

// Walks the collection's members in order with a running position from 1
// and removes that position where a member matches. The position goes on by
// one at every step, removal or not, so after a removal it lags behind the
// members: with several matches another member goes, or the position runs
// past the end and raises 9. Kept as the wizard has always done it.
template <class T, class Matches>
void RemoveLagging(Collection<T>& members, Matches matches) {
  int32_t position = 1;
  int32_t at = 1;  // where the member being visited stands now
  while (at <= members.Count()) {
    bool visitedGone = false;
    if (matches(members.Item(at))) {
      members.Remove(position);
      if (position == at)
        visitedGone = true;
      else if (position < at)
        --at;
    }
    ++position;
    // The walk goes on from the member after the visited one.
    if (!visitedGone) ++at;
  }
}
}  // namespace

FrmImportWizard::FrmImportWizard(Context& ctx, UiHost& host)
    : Form(host, "frmImportWizard"),
      cmdCancel(*this, "cmdCancel"),
      cmdPrev(*this, "cmdPrev"),
      cmdNext(*this, "cmdNext"),
      cmdFinish(*this, "cmdFinish"),
      picSource(*this, "picSource"),
      lblSoDescription(*this, "lblSoDescription", "picSource"),
      lstSoRootFolders(*this, "lstSoRootFolders", "picSource"),
      cmdSoAdd(*this, "cmdSoAdd", "picSource"),
      cmdSoRemove(*this, "cmdSoRemove", "picSource"),
      picAgents(*this, "picAgents"),
      lblAgDescription(*this, "lblAgDescription", "picAgents"),
      lblAgInbox(*this, "lblAgInbox", "picAgents"),
      cboAgInbox(*this, "cboAgInbox", "picAgents"),
      lblAgSentItems(*this, "lblAgSentItems", "picAgents"),
      cboAgSentItems(*this, "cboAgSentItems", "picAgents"),
      lblAgDeletedItems(*this, "lblAgDeletedItems", "picAgents"),
      cboAgDeletedItems(*this, "cboAgDeletedItems", "picAgents"),
      lblAgOtherMailAndPost(*this, "lblAgOtherMailAndPost", "picAgents"),
      cboAgOtherMailAndPost(*this, "cboAgOtherMailAndPost", "picAgents"),
      lblAgCalendar(*this, "lblAgCalendar", "picAgents"),
      cboAgCalendar(*this, "cboAgCalendar", "picAgents"),
      lblAgTasks(*this, "lblAgTasks", "picAgents"),
      cboAgTasks(*this, "cboAgTasks", "picAgents"),
      lblAgJournal(*this, "lblAgJournal", "picAgents"),
      cboAgJournal(*this, "cboAgJournal", "picAgents"),
      lblAgNotes(*this, "lblAgNotes", "picAgents"),
      cboAgNotes(*this, "cboAgNotes", "picAgents"),
      lblAgContacts(*this, "lblAgContacts", "picAgents"),
      cboAgContacts(*this, "cboAgContacts", "picAgents"),
      picRun(*this, "picRun"),
      lblRuDescription(*this, "lblRuDescription", "picRun"),
      fgcRuImportList(*this, "fgcRuImportList", "picRun"),
      cmdRuChange(*this, "cmdRuChange", "picRun"),
      optRuNow(*this, "optRuNow", "picRun"),
      optRuLater(*this, "optRuLater", "picRun"),
      dtpRuWhen(*this, "dtpRuWhen", "picRun"),
      mnuAgentList(*this, "mnuAgentList"),
      mnuNewItem(*this, "mnuNewItem", "mnuAgentList"),
      ctx_(ctx),
      agentRows_{{{&lblAgInbox, &cboAgInbox, "Mail and Post", "Inbox"},
                  {&lblAgSentItems, &cboAgSentItems, "Mail and Post", "Sent Items"},
                  {&lblAgDeletedItems, &cboAgDeletedItems, "Mail and Post", "Deleted Items"},
                  {&lblAgOtherMailAndPost, &cboAgOtherMailAndPost, "Mail and Post", "Inbox"},
                  {&lblAgCalendar, &cboAgCalendar, "Calendar", ""},
                  {&lblAgTasks, &cboAgTasks, "Tasks", ""},
                  {&lblAgJournal, &cboAgJournal, "Journal", ""},
                  {&lblAgNotes, &cboAgNotes, "Notes", ""},
                  {&lblAgContacts, &cboAgContacts, "Contacts", ""}}} {
  cmdCancel.Click = [this] { cmdCancel_Click(); };
  cmdPrev.Click = [this] { cmdPrev_Click(); };
  cmdNext.Click = [this] { cmdNext_Click(); };
  cmdFinish.Click = [this] { cmdFinish_Click(); };
  cmdSoAdd.Click = [this] { cmdSoAdd_Click(); };
  cmdSoRemove.Click = [this] { cmdSoRemove_Click(); };
  optRuNow.Click = [this] { optRuNow_Click(); };
  optRuLater.Click = [this] { optRuLater_Click(); };
  fgcRuImportList.EnterCell = [this] { fgcRuImportList_EnterCell(); };
  fgcRuImportList.LeaveCell = [this] { fgcRuImportList_LeaveCell(); };
  cmdRuChange.Click = [this] { cmdRuChange_Click(); };
  picRun.Click = [this] { picRun_Click(); };
  // Neither the menu nor its entry does anything when chosen.
}

void FrmImportWizard::Design() {
  // Design texts; the keys replace them at layout.
  Caption("Import Wizard");
  cmdCancel.Caption("Cancel");
  cmdPrev.Caption("< Previous");
  cmdNext.Caption("Next >");
  cmdFinish.Caption("Finish");
  cmdCancel.Cancel(true);
  cmdSoAdd.Caption("Add...");
  cmdSoRemove.Caption("Remove");
  for (const AgentRow& row : agentRows_)
    row.combo->Style(ComboBox::kDropdownCombo);
  lblAgInbox.Caption("Inbox");
  lblAgSentItems.Caption("Sent Items");
  lblAgDeletedItems.Caption("Deleted Items");
  lblAgOtherMailAndPost.Caption("Other Mail or Post");
  lblAgCalendar.Caption("Calendar");
  lblAgTasks.Caption("Tasks");
  lblAgJournal.Caption("Journal");
  lblAgNotes.Caption("Notes");
  lblAgContacts.Caption("Contacts");
  cmdRuChange.Caption("...");
  cmdRuChange.Visible(false);
  optRuNow.Caption("Run now");
  optRuLater.Caption("Run later");
  dtpRuWhen.Format(DatePicker::kCustom);
  // Only ever popped up: no menu bar.
  mnuAgentList.Caption("&AgentList");
  mnuAgentList.Visible(false);
  mnuNewItem.Caption("New item");
  picAgents.Visible(false);
  picRun.Visible(false);
}

std::string FrmImportWizard::Text(const std::string& suffix) const {
  return ctx_.rootNode->GetValue(std::string(kBranch) + suffix).ToString();
}

void FrmImportWizard::SetButtons(bool next, bool prev, bool finish) {
  cmdNext.Enabled(next);
  cmdPrev.Enabled(prev);
  cmdFinish.Enabled(finish);
}

void FrmImportWizard::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode, false);
    node_ = ctx_.rootNode->GetNode(kTextNode, false, "", Variant());
    // Without the mail program the form stands here, without layout or lists.
    mobjOutlook_ = ctx_.Mail().CreateApplication();
    mobjNamespace_ = mobjOutlook_->GetNamespace("MAPI");
    mcolRootFolders_.Clear();
    mcolImportList_.Clear();
    LayoutSource();
    LayoutAgents();
    LayoutRun();
    LayoutForm();
    mstrPage_ = "Source";
    cmdNext.Enabled(true);
    cmdPrev.Enabled(false);
    cmdFinish.Enabled(false);
    LoadSource();
    ShowSource();
  });
}

void FrmImportWizard::Form_Unload(bool& /*cancel*/) {
  Frame frame(ctx_, kModule, "Form_Unload");
  frame.Run([&] {
    // An Explorer still open stays open in the mail program.
    node_ = nullptr;
    mcolRootFolders_.Clear();
    mcolImportList_.Clear();
    mobjNamespace_ = nullptr;
    mobjOutlook_ = nullptr;
  });
}

// ---- layout ----

int16_t FrmImportWizard::PlacePage(PictureBox& page, Label& description,
                                   const RowLayout& rows) const {
  // Wide enough for a label, two data fields and a button side by side, so
  // that the Run grid shows a folder's whole path; tall enough for the
  // Agents page's description and nine rows.
  const LayoutMetrics& m = metrics_;
  const int16_t width = Twips(int64_t{m.LabelColumnWidth} + 2 * int64_t{m.DataColumnWidth} +
                              m.ButtonWidth + 4 * int64_t{m.Border});
  const int16_t height = Twips(2 * int64_t{m.Border} + kDescriptionRows * int64_t{m.RowHeight} +
                               kAgentRows * (int64_t{m.RowHeight} + m.Border));
  page.Move(0, 0, width, height);
  // The page in front hides the ones behind it: page Source stays visible
  // behind page Agents.
  if (ctx_.backColor > 0) page.BackColor(ctx_.backColor);
  description.Caption(rows.Text(description.Name()));
  description.Move(m.Border, m.Border, Twips(int64_t{width} - 2 * int64_t{m.Border}),
                   Twips(int64_t{kDescriptionRows} * m.RowHeight));
  return Twips(int64_t{description.Top()} + description.Height() + m.Border);
}

void FrmImportWizard::LayoutSource() {
  Frame frame(ctx_, kModule, "LayoutSource");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    RowLayout rows(m, node_);
    const int16_t top = PlacePage(picSource, lblSoDescription, rows);
    const int16_t inner = Twips(int64_t{picSource.Width()} - 2 * int64_t{m.Border});
    // The list, with Add and Remove one above the other at its right.
    lstSoRootFolders.Move(m.Border, top, Twips(int64_t{inner} - m.Border - m.ButtonWidth),
                          Twips(int64_t{picSource.Height()} - top - m.Border));
    const int16_t buttonLeft = Twips(int64_t{m.Border} + inner - m.ButtonWidth);
    cmdSoAdd.Move(buttonLeft, top, m.ButtonWidth, m.RowHeight);
    cmdSoRemove.Move(buttonLeft, Twips(int64_t{top} + m.RowHeight + m.Border), m.ButtonWidth,
                     m.RowHeight);
    for (CommandButton* button : {&cmdSoAdd, &cmdSoRemove})
      button->Caption(rows.Text(button->Name()));
  });
}

void FrmImportWizard::LayoutRun() {
  Frame frame(ctx_, kModule, "LayoutRun");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    RowLayout rows(m, node_);
    const int16_t top = PlacePage(picRun, lblRuDescription, rows);
    const int16_t inner = Twips(int64_t{picRun.Width()} - 2 * int64_t{m.Border});
    // Two rows below the grid: Run now, then Run later with its picker.
    const int16_t optionsTop =
        Twips(int64_t{picRun.Height()} - 2 * (int64_t{m.RowHeight} + m.Border));
    fgcRuImportList.Move(m.Border, top, inner, Twips(int64_t{optionsTop} - top - m.Border));
    rows.Row(optionsTop);
    optRuNow.Move(m.Border, rows.Row(), m.LabelColumnWidth, m.RowHeight);
    rows.NextRow();
    optRuLater.Move(m.Border, rows.Row(), m.LabelColumnWidth, m.RowHeight);
    rows.PlaceNext(dtpRuWhen, optRuLater, m.DataColumnWidth);
    for (OptionButton* option : {&optRuNow, &optRuLater})
      option->Caption(rows.Text(option->Name()));
    cmdRuChange.Caption(rows.Text("cmdRuChange"));
    dtpRuWhen.CustomFormat(Text(".Strings.DTPCustomDateTime"));
  });
}

void FrmImportWizard::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    Caption(Text(std::string(kTexts) + "frmImportWizard"));
    // The four buttons in a row under the pages, at their right.
    const int16_t top = Twips(int64_t{picSource.Top()} + picSource.Height() + m.Border);
    int32_t left = picSource.Left() + picSource.Width() - m.Border - m.ButtonWidth;
    for (CommandButton* button : {&cmdFinish, &cmdNext, &cmdPrev, &cmdCancel}) {
      button->Caption(Text(kTexts + button->Name()));
      button->Move(left, top, m.ButtonWidth, m.RowHeight);
      left = Twips(int64_t{left} - m.Border - m.ButtonWidth);
    }
    Width(Twips(int64_t{picSource.Width()} + 2 * int64_t{m.FormBLRBorder}));
    Height(Twips(int64_t{top} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

// ---- pages ----

void FrmImportWizard::cmdNext_Click() {
  Frame frame(ctx_, kModule, "cmdNext_Click");
  frame.Run([&] {
    SetButtons(true, true, true);
    if (mstrPage_ == "Source") {
      ExitSource();
      LoadAgents();
      ShowAgents();
      mstrPage_ = "Agents";
      cmdFinish.Enabled(false);
    } else if (mstrPage_ == "Agents") {
      ExitAgents();
      LoadRun();
      ShowRun();
      mstrPage_ = "Run";
      cmdNext.Enabled(false);
    }
  });
}

void FrmImportWizard::cmdPrev_Click() {
  Frame frame(ctx_, kModule, "cmdPrev_Click");
  frame.Run([&] {
    SetButtons(true, true, false);
    if (mstrPage_ == "Agents") {
      // The survey runs on this way out too, though page Source needs no list.
      ExitAgents();
      LoadSource();
      ShowSource();
      mstrPage_ = "Source";
      cmdPrev.Enabled(false);
    } else if (mstrPage_ == "Run") {
      ExitRun();
      LoadAgents();
      ShowAgents();
      mstrPage_ = "Agents";
    }
  });
}

void FrmImportWizard::cmdFinish_Click() {
  Frame frame(ctx_, kModule, "cmdFinish_Click");
  frame.Run([&] {
    if (mstrPage_ == "Run") Finish();
  });
}

void FrmImportWizard::cmdCancel_Click() {
  Frame frame(ctx_, kModule, "cmdCancel_Click");
  frame.Run([&] { Unload(); });
}

void FrmImportWizard::LoadSource() {
  Frame frame(ctx_, kModule, "LoadSource");
  frame.Run([&] {
    lstSoRootFolders.Clear();
    for (const std::string& root : mcolRootFolders_)
      lstSoRootFolders.AddItem(root);
    cmdNext.Enabled(lstSoRootFolders.ListCount() > 0);
  });
}

void FrmImportWizard::LoadAgents() {
  // The choices are filled once, at layout, so they keep what the user set.
}

void FrmImportWizard::ShowSource() {
  Frame frame(ctx_, kModule, "ShowSource");
  frame.Run([&] {
    picSource.Visible(true);
    picSource.ZOrder(0);
  });
}

void FrmImportWizard::ShowAgents() {
  Frame frame(ctx_, kModule, "ShowAgents");
  frame.Run([&] {
    picAgents.Visible(true);
    picAgents.ZOrder(0);
  });
}

void FrmImportWizard::ShowRun() {
  Frame frame(ctx_, kModule, "ShowRun");
  frame.Run([&] {
    picRun.Visible(true);
    picRun.ZOrder(0);
  });
}

bool FrmImportWizard::ExitSource() {
  Frame frame(ctx_, kModule, "ExitSource");
  // Page Source stays visible behind page Agents; ExitAgents hides both.
  return frame.Run(false, [&] { return lstSoRootFolders.ListCount() > 0; });
}

void FrmImportWizard::ExitRun() {
  Frame frame(ctx_, kModule, "ExitRun");
  frame.Run([&] { picRun.Visible(false); });
}

// ---- page Source: the root folders ----

void FrmImportWizard::ConnectExplorer() {
  // Assigning drops the earlier Explorer's handlers: its events reach nobody.
  explorerSwitch_ = mobjExplorer_->FolderSwitch.Connect([this] { mobjExplorer_FolderSwitch(); });
  explorerClose_ = mobjExplorer_->Close.Connect([this] { mobjExplorer_Close(); });
}

void FrmImportWizard::cmdSoAdd_Click() {
  Frame frame(ctx_, kModule, "cmdSoAdd_Click");
  frame.Run([&] {
    ctx_.Host().MsgBox(Text(".Strings.ControlPanel.Agents.MsgFolderInstruct"), MsgButtons::OK, "");
    // No test for an Explorer open already: the earlier one is let go.
    mobjExplorer_ =
        mobjOutlook_->Explorers()->Add(mobjNamespace_->GetDefaultFolder(kInboxFolder), 0);
    ConnectExplorer();
    mstrExplorerFolder_ = mobjExplorer_->CurrentFolder()->FullFolderPath();
    mobjExplorer_->Display();
  });
}

void FrmImportWizard::mobjExplorer_FolderSwitch() {
  Frame frame(ctx_, kModule, "mobjExplorer_FolderSwitch");
  frame.Run([&] { mstrExplorerFolder_ = mobjExplorer_->CurrentFolder()->FullFolderPath(); });
}

void FrmImportWizard::mobjExplorer_Close() {
  Frame frame(ctx_, kModule, "mobjExplorer_Close");
  frame.Run([&] {
    // The folder on show when the user closed it: the Inbox if they never moved.
    lstSoRootFolders.AddItem(mstrExplorerFolder_);
    mcolRootFolders_.Add(mstrExplorerFolder_);
    mstrExplorerFolder_.clear();
    explorerSwitch_.Disconnect();
    explorerClose_.Disconnect();
    mobjExplorer_ = nullptr;
    if (lstSoRootFolders.ListCount() >= 1) cmdNext.Enabled(true);
  });
}

void FrmImportWizard::cmdSoRemove_Click() {
  Frame frame(ctx_, kModule, "cmdSoRemove_Click");
  frame.Run([&] {
    if (lstSoRootFolders.ListIndex() >= 0) {
      const std::string selected = lstSoRootFolders.Text();
      RemoveLagging(mcolRootFolders_, [&](const std::string& root) { return root == selected; });
      RemoveLagging(mcolImportList_,
                    [&](const Ref<ImportEntry>& entry) { return entry->RootFolder == selected; });
      lstSoRootFolders.RemoveItem(lstSoRootFolders.ListIndex());
    }
    if (lstSoRootFolders.ListCount() == 0) cmdNext.Enabled(false);
  });
}

// ---- page Run ----

void FrmImportWizard::LoadRun() {
  Frame frame(ctx_, kModule, "LoadRun");
  frame.Run([&] {
    const Date now = ctx_.Now();
    dtpRuWhen.MinDate(now);
    dtpRuWhen.Value(now);
    optRuNow.Value(true);
    optRuLater.Value(false);
    dtpRuWhen.Enabled(false);
    cmdRuChange.Visible(false);

    fgcRuImportList.Clear();
    fgcRuImportList.Rows(mcolImportList_.Count() + 1);
    fgcRuImportList.Cols(3);
    const double width = fgcRuImportList.Width();
    fgcRuImportList.ColWidth(0, CLng(width / 20 * 2));
    fgcRuImportList.ColWidth(1, CLng(width / 20 * 12));
    fgcRuImportList.ColWidth(2, CLng(width / 20 * 6));
    fgcRuImportList.ColAlignment(0, FlexGrid::kAlignLeftCenter);
    for (int32_t col = 0; col < 3; ++col) {
      fgcRuImportList.TextMatrix(
          0, col, Text(std::string(kTexts) + "fgcRuImportListCol" + std::to_string(col)));
    }
    // Inactive rows show too: no column tells them apart.
    int32_t n = 1;
    for (const Ref<ImportEntry>& entry : mcolImportList_) {
      fgcRuImportList.TextMatrix(n, 0, std::to_string(n));
      fgcRuImportList.TextMatrix(n, 1, entry->Folder);
      fgcRuImportList.TextMatrix(n, 2, entry->Agent);
      ++n;
    }
    // With no data row this fails, and the page shows an empty grid.
    fgcRuImportList.Row(1);
    fgcRuImportList.Col(2);
  });
}

void FrmImportWizard::optRuNow_Click() {
  Frame frame(ctx_, kModule, "optRuNow_Click");
  frame.Run([&] { dtpRuWhen.Enabled(false); });
}

void FrmImportWizard::optRuLater_Click() {
  Frame frame(ctx_, kModule, "optRuLater_Click");
  frame.Run([&] {
    dtpRuWhen.Enabled(true);
    const Date now = ctx_.Now();
    dtpRuWhen.MinDate(now);
    dtpRuWhen.Value(now);
  });
}

void FrmImportWizard::fgcRuImportList_EnterCell() {
  Frame frame(ctx_, kModule, "fgcRuImportList_EnterCell");
  frame.Run([&] {
    if (fgcRuImportList.Col() != 2) {
      cmdRuChange.Visible(false);
      return;
    }
    // A square button at the right of the agent's cell.
    const int32_t side = fgcRuImportList.CellHeight();
    cmdRuChange.Move(fgcRuImportList.Left() + fgcRuImportList.CellLeft() +
                         fgcRuImportList.CellWidth() - 2 * side,
                     fgcRuImportList.Top() + fgcRuImportList.CellTop(), side, side);
    cmdRuChange.Visible(true);
    cmdRuChange.ZOrder(0);
  });
}

void FrmImportWizard::fgcRuImportList_LeaveCell() {
  Frame frame(ctx_, kModule, "fgcRuImportList_LeaveCell");
  frame.Run([&] { cmdRuChange.Visible(false); });
}

void FrmImportWizard::picRun_Click() {
  Frame frame(ctx_, kModule, "picRun_Click");
  frame.Run([&] { PopupMenu(mnuAgentList, kMenuAt, kMenuAt); });
}

void FrmImportWizard::Finish() {
  Frame frame(ctx_, kModule, "Finish");
  frame.Run([&] {
    // Each active row in order; a row naming no agent stops here, with the
    // rows before it handed over.
    for (const Ref<ImportEntry>& entry : mcolImportList_) {
      if (!entry->Active) continue;
      const Ref<Agent> agent = ctx_.engine->Config()->Agent(entry->Agent);
      agent->AddImport(entry->Folder, true);
      agent->ImportTime(dtpRuWhen.Value());
    }
    Unload();
  });
}

}  // namespace vellix
