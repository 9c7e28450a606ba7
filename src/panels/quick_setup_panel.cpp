#include "panels/quick_setup_panel.h"

#include <algorithm>
#include <array>

#include "forms/row_layout.h"
#include "forms/texts.h"
#include "foundation/agent.h"
#include "foundation/config_node.h"
#include "foundation/context.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/mail_program.h"
#include "foundation/outlook.h"
#include "foundation/text.h"
#include "foundation/ui_host.h"
#include "foundation/utils.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmPopup";
constexpr const char* kPanelNode = "Componants.VellixControl.Strings.QuickSetup";

// The mail program's default folders the agents are made for.
constexpr int32_t kInbox = 6;
constexpr int32_t kSentMail = 5;
constexpr int32_t kCalendar = 9;
constexpr int32_t kTasks = 13;
constexpr int32_t kNotes = 12;
constexpr int32_t kContacts = 10;

// What a quarterly setup changes beyond the agent's folder and type.
enum class QuarterRule { None, ShortPurge, QuarterStores };

struct AgentRow {
  CheckBox QuickSetupPanel::*box;
  const char* name;
  int32_t folder;
  QuarterRule quarterly;
};

// The agents of a new configuration, in the order they are made. Only the
// mail agents and the calendar follow a quarterly period; the others keep
// what the engine gives a new agent.
constexpr std::array<AgentRow, 6> kAgents{{
    {&QuickSetupPanel::chkEmails, "Received Emails", kInbox, QuarterRule::ShortPurge},
    {&QuickSetupPanel::chkEmails, "Sent Emails", kSentMail, QuarterRule::ShortPurge},
    {&QuickSetupPanel::chkCalendar, "Calendar", kCalendar, QuarterRule::QuarterStores},
    {&QuickSetupPanel::chkTasks, "Tasks", kTasks, QuarterRule::None},
    {&QuickSetupPanel::chkNotes, "Notes", kNotes, QuarterRule::None},
    {&QuickSetupPanel::chkContacts, "Contacts", kContacts, QuarterRule::None},
}};

}  // namespace

QuickSetupPanel::QuickSetupPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      fraPeriod(form, "fraPeriod", "picQuickSetup"),
      optAnnual(form, "optAnnual", "fraPeriod"),
      optQuarter(form, "optQuarter", "fraPeriod"),
      fraReference(form, "fraReference", "picQuickSetup"),
      chkNotFirstDay(form, "chkNotFirstDay", "fraReference"),
      dtpReference(form, "dtpReference", "fraReference"),
      fraStorage(form, "fraStorage", "picQuickSetup"),
      lblStore(form, "lblStore", "fraStorage"),
      txtStorePath(form, "txtStorePath", "fraStorage"),
      cmdBrowseStore(form, "cmdBrowseStore", "fraStorage"),
      lblBackup(form, "lblBackup", "fraStorage"),
      txtBackupPath(form, "txtBackupPath", "fraStorage"),
      cmdBrowseBackup(form, "cmdBrowseBackup", "fraStorage"),
      lblRecover(form, "lblRecover", "fraStorage"),
      cmdRecover(form, "cmdRecover", "fraStorage"),
      fraDefaultFolders(form, "fraDefaultFolders", "picQuickSetup"),
      chkEmails(form, "chkEmails", "fraDefaultFolders"),
      chkCalendar(form, "chkCalendar", "fraDefaultFolders"),
      chkTasks(form, "chkTasks", "fraDefaultFolders"),
      chkContacts(form, "chkContacts", "fraDefaultFolders"),
      chkNotes(form, "chkNotes", "fraDefaultFolders"),
      cmdConfigMore(form, "cmdConfigMore", "picQuickSetup"),
      cmdHelp(form, "cmdHelp", "picQuickSetup"),
      cmdCancel(form, "cmdCancel", "picQuickSetup"),
      cmdOK(form, "cmdOK", "picQuickSetup") {
  chkNotFirstDay.Click = [this] { chkNotFirstDay_Click(); };
  cmdBrowseStore.Click = [this] { cmdBrowseStore_Click(); };
  cmdBrowseBackup.Click = [this] { cmdBrowseBackup_Click(); };
  cmdRecover.Click = [this] { cmdRecover_Click(); };
  cmdHelp.Click = [this] { cmdHelp_Click(); };
  cmdConfigMore.Click = [this] { cmdConfigMore_Click(); };
  cmdCancel.Click = [this] { cmdCancel_Click(); };
  cmdOK.Click = [this] { cmdOK_Click(); };
}

void QuickSetupPanel::Design() {
  fraPeriod.Caption("Group History Items of all types into a Period");
  optAnnual.Caption("Annually");
  optAnnual.Value(true);
  optQuarter.Caption("Quarterly");
  fraReference.Caption("Period start reference date");
  chkNotFirstDay.Caption("Don't start Period on 1st day");
  dtpReference.Format(DatePicker::kCustom);
  dtpReference.CustomFormat("dd MMMM");
  fraStorage.Caption("Storage");
  lblStore.Caption("Store History files in");
  cmdBrowseStore.Caption("Browse");
  lblBackup.Caption("Backup History files to");
  cmdBrowseBackup.Caption("Browse");
  lblRecover.Caption("Recover from backup location");
  cmdRecover.Caption("Recover");
  // This frame's caption comes from no key.
  fraDefaultFolders.Caption("Monitor and File");
  chkEmails.Caption("Emails");
  chkCalendar.Caption("Calendar");
  chkTasks.Caption("Tasks");
  chkContacts.Caption("Contacts");
  chkNotes.Caption("Notes");
  cmdConfigMore.Caption("Configure More...");
  cmdHelp.Caption("Help");
  cmdCancel.Caption("Cancel");
  cmdCancel.Cancel(true);
  cmdOK.Caption("OK");
  cmdOK.Default(true);
}

std::string QuickSetupPanel::Text(const std::string& suffix) const {
  return BranchText(ctx(), suffix);
}

// ---------------------------------------------------------------- layout

void QuickSetupPanel::Layout() {
  Frame frame(ctx(), kModule, "Layout");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    const Control& pic = Need(fraPeriod.ContainerControl());
    RowLayout rows(m, ctx().rootNode->GetNode(kPanelNode, false, "", Variant()));
    const int16_t width = Twips(int64_t{pic.Width()} - 2 * int64_t{m.Border});

    int16_t top = m.Border;
    fraPeriod.Caption(rows.Text("fraPeriod"));
    fraPeriod.Move(m.Border, top, width, LayoutPeriodFrame(rows, width));
    top = Twips(int64_t{top} + fraPeriod.Height() + m.Border);

    fraReference.Caption(rows.Text("fraReference"));
    fraReference.Move(m.Border, top, width, LayoutReferenceFrame(rows, width));
    top = Twips(int64_t{top} + fraReference.Height() + m.Border);

    fraStorage.Caption(rows.Text("fraStorage"));
    fraStorage.Move(m.Border, top, width, LayoutStorageFrame(rows, width));
    top = Twips(int64_t{top} + fraStorage.Height() + m.Border);

    fraDefaultFolders.Move(m.Border, top, width, LayoutFoldersFrame(rows, width));
    top = Twips(int64_t{top} + fraDefaultFolders.Height() + m.Border);

    LayoutButtons(rows, top);
  });
}

namespace {

// The caption, the tool tip and the rectangle of a control the row rule
// doesn't place by itself.
template <class C>
void Place(const RowLayout& rows, C& control, int32_t left, int32_t top, int32_t width) {
  control.Caption(rows.Text(control.Name()));
  rows.ApplyTip(control);
  control.Move(left, top, width, rows.Metrics().RowHeight);
}

// A frame's rows start one row down, below its caption, and the frame ends a
// Border below its last row.
int16_t FirstFrameRow(const LayoutMetrics& m) {
  return m.RowHeight;
}
int16_t FrameHeight(const RowLayout& rows) {
  const LayoutMetrics& m = rows.Metrics();
  return Twips(int64_t{rows.Row()} + m.RowHeight + m.Border);
}

}  // namespace

int16_t QuickSetupPanel::LayoutPeriodFrame(RowLayout& rows, int16_t /*width*/) {
  const LayoutMetrics& m = rows.Metrics();
  rows.Row(FirstFrameRow(m));
  Place(rows, optAnnual, m.Border, rows.Row(), m.LabelColumnWidth);
  Place(rows, optQuarter, rows.DataLeft(), rows.Row(), m.DataColumnWidth);
  return FrameHeight(rows);
}

int16_t QuickSetupPanel::LayoutReferenceFrame(RowLayout& rows, int16_t /*width*/) {
  const LayoutMetrics& m = rows.Metrics();
  rows.Row(FirstFrameRow(m));
  Place(rows, chkNotFirstDay, m.Border, rows.Row(), m.DataColumnWidth);
  // "dd MMMM": the longest month and a drop-down button.
  rows.PlaceNext(dtpReference, chkNotFirstDay, rows.Chars(14));
  return FrameHeight(rows);
}

int16_t QuickSetupPanel::LayoutStorageFrame(RowLayout& rows, int16_t width) {
  const LayoutMetrics& m = rows.Metrics();
  // The folder fields take the width left beside their Browse buttons, and at
  // least the data column.
  const int16_t fieldWidth = std::max<int16_t>(
      m.DataColumnWidth,
      Twips(int64_t{width} - rows.DataLeft() - 2 * int64_t{m.Border} - m.ButtonWidth));

  rows.Row(FirstFrameRow(m));
  rows.PlaceLabel(lblStore);
  rows.PlaceData(txtStorePath, fieldWidth);
  txtStorePath.Text(rows.Text("txtStorePath"));
  rows.PlaceNext(cmdBrowseStore, txtStorePath, m.ButtonWidth);
  cmdBrowseStore.Caption(rows.Text("cmdBrowseStore"));

  rows.NextRow();
  rows.PlaceLabel(lblBackup);
  rows.PlaceData(txtBackupPath, fieldWidth);
  txtBackupPath.Text(rows.Text("txtBackupPath"));
  rows.PlaceNext(cmdBrowseBackup, txtBackupPath, m.ButtonWidth);
  cmdBrowseBackup.Caption(rows.Text("cmdBrowseBackup"));

  // The recover row's label is longer than the label column: it runs up to
  // its button, which stands under the Browse buttons.
  rows.NextRow();
  Place(rows, cmdRecover, cmdBrowseBackup.Left(), rows.Row(), m.ButtonWidth);
  rows.PlaceLabel(lblRecover);
  lblRecover.Width(Twips(int64_t{cmdRecover.Left()} - m.Border - lblRecover.Left()));
  return FrameHeight(rows);
}

int16_t QuickSetupPanel::LayoutFoldersFrame(RowLayout& rows, int16_t width) {
  const LayoutMetrics& m = rows.Metrics();
  const std::array<CheckBox*, 5> boxes = {&chkEmails, &chkCalendar, &chkTasks, &chkContacts,
                                          &chkNotes};
  constexpr int64_t kCount = 5;
  // Five equal columns across the frame, never narrower than a short field.
  const int16_t boxWidth =
      std::max<int16_t>(rows.Chars(10), Twips((int64_t{width} - (kCount + 1) * m.Border) / kCount));

  rows.Row(FirstFrameRow(m));
  Place(rows, *boxes[0], m.Border, rows.Row(), boxWidth);
  for (size_t i = 1; i < std::size(boxes); ++i) {
    rows.PlaceNext(*boxes[i], *boxes[i - 1], boxWidth);
    boxes[i]->Caption(rows.Text(boxes[i]->Name()));
  }
  return FrameHeight(rows);
}

void QuickSetupPanel::LayoutButtons(RowLayout& rows, int16_t below) {
  const LayoutMetrics& m = rows.Metrics();
  const Control& pic = Need(fraPeriod.ContainerControl());
  // At the bottom of the page, unless the frames reach further down.
  const int16_t top =
      std::max<int16_t>(below, Twips(int64_t{pic.Height()} - m.Border - m.RowHeight));
  // From the right edge leftwards: OK, Cancel, Configure More, Help. A button
  // grows past ButtonWidth when its caption needs it.
  int64_t right = int64_t{pic.Width()} - m.Border;
  for (CommandButton* button : {&cmdOK, &cmdCancel, &cmdConfigMore, &cmdHelp}) {
    const std::string caption = rows.Text(button->Name());
    const int16_t w =
        std::max<int16_t>(m.ButtonWidth, rows.Chars(static_cast<int>(caption.size())));
    const int16_t left = Twips(right - w);
    button->Caption(caption);
    rows.ApplyTip(*button);
    button->Move(left, top, w, m.RowHeight);
    right = int64_t{left} - m.Border;
  }
}

// ------------------------------------------------------------------ load

void QuickSetupPanel::Load() {
  Frame frame(ctx(), kModule, "Load");
  frame.Run([&] {
    optAnnual.Value(true);
    optQuarter.Value(false);

    dtpReference.Enabled(false);
    dtpReference.Format(DatePicker::kCustom);
    dtpReference.CustomFormat("dd MMMM");
    dtpReference.Value(DateSerial(ToCivil(ctx().Now()).year, 1, 1));

    txtStorePath.Text("");
    txtBackupPath.Text("");

    const std::array<std::pair<const char*, CheckBox*>, 5> defaults = {{
        {".DefaultEmails", &chkEmails},
        {".DefaultTasks", &chkTasks},
        {".DefaultContacts", &chkContacts},
        {".DefaultCalendar", &chkCalendar},
        {".DefaultNotes", &chkNotes},
    }};
    for (const auto& [key, box] : defaults) {
      const bool ticked =
          ctx().rootNode->GetValue(kBranch + std::string(key)).Equals(Variant(true));
      box->Value(ticked ? CheckBox::kChecked : CheckBox::kUnchecked);
    }

    SetupDefaultStore();
  });
}

void QuickSetupPanel::SetupDefaultStore() {
  Frame frame(ctx(), kModule, "SetupDefaultStore");
  frame.Run([&] {
    const auto personal = ctx().Shell().PersonalFolder();
    if (!personal) {
      txtStorePath.Text(kDefaultStore);
    } else {
      txtStorePath.Text(*personal + "\\" + kStoreFolderName);
    }
  });
}

// -------------------------------------------------------------- handlers

void QuickSetupPanel::chkNotFirstDay_Click() {
  Frame frame(ctx(), kModule, "chkNotFirstDay_Click");
  frame.Run([&] {
    // The date stays as it is either way: a date changed and then unlocked
    // again is still the one saved.
    dtpReference.Enabled(chkNotFirstDay.Value() == CheckBox::kChecked);
  });
}

void QuickSetupPanel::BrowseInto(TextBox& field) {
  const auto chosen =
      ctx().Shell().BrowseForFolder(Text(".Strings.ControlPanel.CaptionFindFolder"), {});
  if (chosen) field.Text(*chosen);
}

void QuickSetupPanel::cmdBrowseStore_Click() {
  Frame frame(ctx(), kModule, "cmdBrowseStore_Click");
  frame.Run([&] { BrowseInto(txtStorePath); });
}

void QuickSetupPanel::cmdBrowseBackup_Click() {
  Frame frame(ctx(), kModule, "cmdBrowseBackup_Click");
  frame.Run([&] { BrowseInto(txtBackupPath); });
}

void QuickSetupPanel::cmdRecover_Click() {
  Frame frame(ctx(), kModule, "cmdRecover_Click");
  frame.Run([&] {
    if (!ShowRecover) Raise(err::kObjectNotSet);
    if (ShowRecover(txtBackupPath.Text(), txtStorePath.Text()))
      shell().StateMonitor(MachineEvent::Recover);
  });
}

void QuickSetupPanel::cmdHelp_Click() {
  Frame frame(ctx(), kModule, "cmdHelp_Click");
  frame.Run([&] { shell().cmdSuHelp_Click(); });
}

void QuickSetupPanel::cmdConfigMore_Click() {
  Frame frame(ctx(), kModule, "cmdConfigMore_Click");
  // No check here: the user goes on to the tabs to finish the setup there.
  frame.Run([&] { shell().StateMonitor(MachineEvent::MoreConfig); });
}

void QuickSetupPanel::cmdCancel_Click() {
  Frame frame(ctx(), kModule, "cmdCancel_Click");
  frame.Run([&] {
    ctx().Host().MsgBox(Text(".Strings.QuickSetup.MsgLater"), MsgButtons::OK, "");
    shell().StateMonitor(MachineEvent::Hide);
  });
}

void QuickSetupPanel::cmdOK_Click() {
  // The log's readers know this handler by that name.
  Frame frame(ctx(), kModule, "Form_Load");
  frame.Run([&] {
    if (LeaveQuickSetup()) shell().StateMonitor(MachineEvent::QuickSetupOK);
  });
}

// ---------------------------------------------------------- leave & save

bool QuickSetupPanel::LeaveQuickSetup() {
  Frame frame(ctx(), kModule, "LeaveQuickSetup");
  return frame.Run(false, [&] {
    if (Trim(txtBackupPath.Text()).empty()) {
      const MsgResult answer = ctx().Host().MsgBox(Text(".Strings.ControlPanel.MsgNoBackupPath"),
                                                   MsgButtons::OKCancel, "");
      if (answer == MsgResult::Cancel) return false;
    }

    FileSystem& files = ctx().Files();
    const std::string store = txtStorePath.Text();
    if (!files.FolderExists(store)) {
      // Only one level is made; a failure here just means the folder isn't
      // there, which the question below covers.
      try {
        files.CreateFolder(store);
      } catch (const VbError&) {  // NOLINT(bugprone-empty-catch)
      }
      if (!files.FolderExists(store)) {
        const MsgResult answer = ctx().Host().MsgBox(Text(".Strings.ControlPanel.MsgNoStorePath"),
                                                     MsgButtons::YesNo, "");
        if (answer == MsgResult::No) return false;
      }
    }
    return true;
  });
}

bool QuickSetupPanel::SaveQuickSetup() {
  Frame frame(ctx(), kModule, "SaveQuickSetup");
  return frame.Run(false, [&] {
    // Whatever goes wrong reaching the mail program means the same to the
    // user: there is no Outlook to set up from.
    Ref<NameSpace> nameSpace;
    try {
      nameSpace = ctx().Mail().CreateApplication()->GetNamespace("MAPI");
    } catch (const VbError&) {  // NOLINT(bugprone-empty-catch)
    }
    if (!nameSpace) {
      const std::string message = Text(".Strings.QuickSetup.MsgNoOutlook");
      ctx().Host().MsgBox(message, MsgButtons::OK, "");
      frame.ErrorText = message;
      return false;
    }

    Ref<EngineConfig> config = ctx().engine->Config();
    config->ResetConfig();
    const bool quarterly = optQuarter.Value();
    if (quarterly) {
      config->PeriodUnits("Quarter");
      config->SetPeriodFormat("File '@yyyy mmm'-'$mmm'");
    } else {
      config->PeriodUnits("Year");
      config->SetPeriodFormat("File '@yyyy'");
    }

    Utils utils(ctx());
    for (const AgentRow& row : kAgents) {
      if ((this->*row.box).Value() != CheckBox::kChecked) continue;
      Ref<Agent> agent = config->CreateAgent(row.name);
      Ref<MAPIFolder> folder = nameSpace->GetDefaultFolder(row.folder);
      agent->AddFolder(folder->FolderPath());
      agent->MonitorType(utils.FolderTypeName(folder->DefaultItemType()));
      if (!quarterly) continue;
      switch (row.quarterly) {
        case QuarterRule::ShortPurge:
          agent->RemovePeriod(7);
          break;
        case QuarterRule::QuarterStores:
          agent->StoreCount(1);
          agent->StoreFormat("'@MMM'-'$MMM'");
          agent->StoreUnits("Quarter");
          break;
        case QuarterRule::None:
          break;
      }
    }

    ctx().engine->Config()->HistoryName("History");
    ctx().engine->Config()->PeriodCount(1);
    ctx().engine->Config()->ReferenceDate(dtpReference.Value());
    // Both folders go as typed: a backup folder of blanks stays blanks.
    ctx().engine->Config()->StoreLocation(txtStorePath.Text());
    ctx().engine->Config()->BackupLocation(txtBackupPath.Text());

    // Their panels fill these lists afresh from the new agents.
    shell().cboAgName().Clear();
    shell().cboImName().Clear();

    ctx().rootNode->Commit("");
    return true;
  });
}

}  // namespace vellix
