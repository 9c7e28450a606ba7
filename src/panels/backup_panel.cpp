#include "panels/backup_panel.h"

#include <string>

#include "forms/row_layout.h"
#include "forms/texts.h"
#include "foundation/config_node.h"
#include "foundation/context.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/trace_names.h"
#include "foundation/ui_host.h"
#include "foundation/vb_error.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
constexpr const char* kContainer = "picBa";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Backup";
constexpr const char* kMsgNoStorePath = ".Strings.ControlPanel.MsgNoStorePath";
constexpr const char* kMsgNoBackupPath = ".Strings.ControlPanel.MsgNoBackupPath";
constexpr const char* kMsgBackupPathInvalid = ".Strings.ControlPanel.MsgBackupPathInvalid";
constexpr const char* kCaptionFindFolder = ".Strings.ControlPanel.CaptionFindFolder";
// A backup falls due every 1 to 365 units.
constexpr int32_t kFewestUnits = 1;
constexpr int32_t kMostUnits = 365;
// Short fields: a count of three digits, the longest unit word with the
// combo's button; the up-down is as wide as two characters.
constexpr int kCountChars = 4;
constexpr int kUpDownChars = 2;
constexpr int kUnitChars = 10;

// Whether the folder is there, made if need be. Only the one level is made,
// and why it couldn't be is of no interest: the question that follows a
// false covers every reason.
bool FolderMade(FileSystem& files, const std::string& path) {
  if (files.FolderExists(path)) return true;
  try {
    files.CreateFolder(path);
  } catch (const VbError&) {  // NOLINT(bugprone-empty-catch)
  }
  return files.FolderExists(path);
}
}  // namespace

BackupPanel::BackupPanel(PopupShell& shell, Form& form)
    : Panel(shell),
      lblBaFolder(form, "lblBaFolder", kContainer),
      txtBaFolder(form, "txtBaFolder", kContainer),
      cmdBaBrowseFolder(form, "cmdBaBrowseFolder", kContainer),
      lblBaBackupFolder(form, "lblBaBackupFolder", kContainer),
      txtBaBackupFolder(form, "txtBaBackupFolder", kContainer),
      cmdBaBrowseBackup(form, "cmdBaBrowseBackup", kContainer),
      lblBaEvery(form, "lblBaEvery", kContainer),
      txtBaEveryCount(form, "txtBaEveryCount", kContainer),
      updBaEveryCount(form, "updBaEveryCount", kContainer),
      cboBaEveryUnits(form, "cboBaEveryUnits", kContainer),
      lblBaNextBackup(form, "lblBaNextBackup", kContainer),
      dtpBaNextBackup(form, "dtpBaNextBackup", kContainer),
      cmdBaBackupNow(form, "cmdBaBackupNow", kContainer) {
  txtBaFolder.LostFocus = [this] { txtBaFolder_LostFocus(); };
  txtBaBackupFolder.LostFocus = [this] { txtBaBackupFolder_LostFocus(); };
  txtBaEveryCount.LostFocus = [this] { txtBaEveryCount_LostFocus(); };
  cboBaEveryUnits.LostFocus = [this] { cboBaEveryUnits_LostFocus(); };
  dtpBaNextBackup.Change = [this] { dtpBaNextBackup_Change(); };
  cmdBaBrowseFolder.Click = [this] { cmdBaBrowseFolder_Click(); };
  cmdBaBrowseBackup.Click = [this] { cmdBaBrowseBackup_Click(); };
  cmdBaBackupNow.Click = [this] { cmdBaBackupNow_Click(); };
}

void BackupPanel::Design() {
  lblBaFolder.Caption("History Disk Folder");
  cmdBaBrowseFolder.Caption("Browse");
  lblBaBackupFolder.Caption("History Disk Backup Folder");
  cmdBaBrowseBackup.Caption("Browse");
  lblBaEvery.Caption("Backup Every");
  updBaEveryCount.Min(kFewestUnits);
  updBaEveryCount.Max(kMostUnits);
  updBaEveryCount.Increment(1);
  updBaEveryCount.BuddyControl(txtBaEveryCount.Name());
  lblBaNextBackup.Caption("Next Backup");
  dtpBaNextBackup.Format(DatePicker::kCustom);
  dtpBaNextBackup.CustomFormat("ddd MMM dd   yyyy   HH:mm");
  cmdBaBackupNow.Caption("Backup Now");
}

void BackupPanel::LayoutBackup() {
  Frame frame(ctx(), kModule, "LayoutBackup");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    const Ref<ConfigNode> node = ctx().rootNode->GetNode(kTextNode, false, "", Variant());
    RowLayout rows(m, node);

    // The two folders, each with its Browse button after it. The store
    // folder's label has no tip of its own in the tree.
    const auto folderRow = [&](Label& label, bool tip, TextBox& field, CommandButton& browse) {
      rows.PlaceLabel(label);
      if (tip) rows.ApplyTip(label);
      rows.PlaceData(field, m.DataColumnWidth);
      field.Text(rows.Text(field.Name()));
      rows.PlaceNext(browse, field, m.ButtonWidth);
      browse.Caption(rows.Text(browse.Name()));
      rows.NextRow();
    };
    folderRow(lblBaFolder, false, txtBaFolder, cmdBaBrowseFolder);
    folderRow(lblBaBackupFolder, true, txtBaBackupFolder, cmdBaBrowseBackup);

    // The interval: a count with its up-down, then the unit.
    rows.PlaceLabel(lblBaEvery);
    rows.ApplyTip(lblBaEvery);
    rows.PlaceData(txtBaEveryCount, rows.Chars(kCountChars));
    txtBaEveryCount.Text(rows.Text("txtBaEveryCount"));
    updBaEveryCount.Move(Twips(int64_t{txtBaEveryCount.Left()} + txtBaEveryCount.Width()),
                         rows.Row(), rows.Chars(kUpDownChars), m.RowHeight);
    rows.PlaceNext(cboBaEveryUnits, updBaEveryCount, rows.Chars(kUnitChars));
    rows.FillList(cboBaEveryUnits, "cboBaEveryUnits.2");
    rows.NextRow();

    // These three texts came later than the others: a tree without them
    // gets them written with their defaults.
    const auto text = [&](const char* key, const char* fallback) {
      return node->GetNode(key, true, "String", Variant(fallback))->GetContent().ToString();
    };
    lblBaNextBackup.Caption(text("lblBaNextBackup", "Next Backup"));
    lblBaNextBackup.Move(m.Border, Twips(int64_t{rows.Row()} + m.TextOffset), m.LabelColumnWidth,
                         m.RowHeight);
    lblBaNextBackup.ToolTipText(text("lblBaNextBackup-Tip", "Time of next backup"));
    dtpBaNextBackup.Move(rows.DataLeft(), rows.Row(), m.DataColumnWidth, m.RowHeight);
    dtpBaNextBackup.ToolTipText(text("dtpBaNextBackup", "Time of next backup"));
    rows.NextRow();

    cmdBaBackupNow.Move(rows.DataLeft(), rows.Row(), m.ButtonWidth, m.RowHeight);
    cmdBaBackupNow.Caption(rows.Text("cmdBaBackupNow"));
    rows.ApplyTip(cmdBaBackupNow);
  });
}

void BackupPanel::LoadBackup() {
  Frame frame(ctx(), kModule, "LoadBackup");
  frame.Run([&] {
    const Ref<EngineConfig> config = ctx().engine->Config();
    txtBaFolder.Text(config->StoreLocation());
    txtBaBackupFolder.Text(config->BackupLocation());
    txtBaEveryCount.Text(std::to_string(config->BackupEveryCount()));
    cboBaEveryUnits.Text(config->BackupEveryUnits());
    // The picker raises its change when the time differs; that writes back
    // the value just read.
    dtpBaNextBackup.Value(config->NextBackup());
  });
}

bool BackupPanel::LeaveBackup() {
  Frame frame(ctx(), kModule, "LeaveBackup");
  return frame.Run(true, [&](bool& result) {
    ctx().engine->Config()->NextBackup(dtpBaNextBackup.Value());
    result = true;
  });
}

void BackupPanel::txtBaFolder_LostFocus() {
  Frame frame(ctx(), kModule, "txtBaFolder_LostFocus");
  frame.Run([&] {
    const std::string folder = txtBaFolder.Text();
    if (!FolderMade(ctx().Files(), folder)) {
      // Yes keeps a folder that may appear later, such as a drive not yet
      // connected.
      const MsgResult answer =
          ctx().Host().MsgBox(BranchText(ctx(), kMsgNoStorePath), MsgButtons::YesNo, "");
      if (answer == MsgResult::No) {
        txtBaFolder.Text(ctx().engine->Config()->StoreLocation());
        return;
      }
    }
    ctx().engine->Config()->StoreLocation(folder);
  });
}

void BackupPanel::txtBaBackupFolder_LostFocus() {
  Frame frame(ctx(), kModule, TraceNames::txtBaBackupFolder_LostFocus);
  frame.Run([&] {
    const std::string folder = txtBaBackupFolder.Text();
    const auto restoreOnNo = [&](const char* key) {
      const MsgResult answer = ctx().Host().MsgBox(BranchText(ctx(), key), MsgButtons::YesNo, "");
      if (answer == MsgResult::No) {
        txtBaBackupFolder.Text(ctx().engine->Config()->BackupLocation());
        return true;
      }
      return false;
    };
    // No backup folder at all is the user's choice, once confirmed; as no
    // folder of no name can be made, the second question follows too.
    if (folder.empty() && restoreOnNo(kMsgNoBackupPath)) return;
    if (!FolderMade(ctx().Files(), folder) && restoreOnNo(kMsgBackupPathInvalid)) return;
    ctx().engine->Config()->BackupLocation(folder);
  });
}

void BackupPanel::txtBaEveryCount_LostFocus() {
  Frame frame(ctx(), kModule, "txtBaEveryCount_LostFocus");
  frame.Run([&] {
    // Out of range is corrected without a word; the text keeps a fraction
    // while the engine gets the count rounded.
    const double value = Val(txtBaEveryCount.Text());
    if (value > kMostUnits) txtBaEveryCount.Text(std::to_string(kMostUnits));
    if (value < kFewestUnits) txtBaEveryCount.Text(std::to_string(kFewestUnits));
    // The whole text must be a number: "12 days" ends in the trace, and the
    // engine keeps its count.
    const int32_t count = CLng(txtBaEveryCount.Text());
    ctx().engine->Config()->BackupEveryCount(count);
  });
}

void BackupPanel::cboBaEveryUnits_LostFocus() {
  Frame frame(ctx(), kModule, "cboBaEveryUnits_LostFocus");
  // The words come from configuration and go to the engine as they stand.
  frame.Run([&] { ctx().engine->Config()->BackupEveryUnits(cboBaEveryUnits.Text()); });
}

void BackupPanel::dtpBaNextBackup_Change() {
  Frame frame(ctx(), kModule, TraceNames::dtpBaNextBackup_Change);
  // Each change goes at once, so that the user can force the next backup.
  frame.Run([&] { ctx().engine->Config()->NextBackup(dtpBaNextBackup.Value()); });
}

void BackupPanel::BrowseInto(TextBox& field) {
  // The dialog opens where the field points, so a folder near it is a click away.
  const auto chosen =
      ctx().Shell().BrowseForFolder(BranchText(ctx(), kCaptionFindFolder), field.Text());
  if (chosen) field.Text(*chosen);
}

void BackupPanel::cmdBaBrowseFolder_Click() {
  Frame frame(ctx(), kModule, TraceNames::cmdBaBrowseFolder_Click);
  frame.Run([&] {
    BrowseInto(txtBaFolder);
    // Also after a cancel: a field left invalid is questioned now.
    txtBaFolder_LostFocus();
  });
}

void BackupPanel::cmdBaBrowseBackup_Click() {
  Frame frame(ctx(), kModule, TraceNames::cmdBaBrowseBackup_Click);
  frame.Run([&] {
    BrowseInto(txtBaBackupFolder);
    txtBaBackupFolder_LostFocus();
  });
}

void BackupPanel::cmdBaBackupNow_Click() {
  Frame frame(ctx(), kModule, "cmdBaBackupNow_Click");
  frame.Run([&] {
    if (!ShowBackupManager) Raise(err::kObjectNotSet);
    ShowBackupManager();
    // The manager moves the next backup on; show where it put it.
    LoadBackup();
  });
}

}  // namespace vellix
