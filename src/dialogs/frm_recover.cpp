#include "dialogs/frm_recover.h"

#include <cstdint>

#include "forms/row_layout.h"
#include "foundation/config_node.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/trace_names.h"
#include "foundation/ui_host.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmRecover";
}  // namespace

FrmRecover::FrmRecover(Context& ctx, UiHost& host)
    : Form(host, "frmRecover"),
      lblFrom(*this, "lblFrom"),
      lblSourcePath(*this, "lblSourcePath"),
      lblTo(*this, "lblTo"),
      lblDestinationPath(*this, "lblDestinationPath"),
      lblUsing(*this, "lblUsing"),
      lblChosenConfig(*this, "lblChosenConfig"),
      lstConfigFiles(*this, "lstConfigFiles"),
      cmdCancel(*this, "cmdCancel"),
      cmdRecover(*this, "cmdRecover"),
      ctx_(ctx) {
  lstConfigFiles.Click = [this] { lstConfigFiles_Click(); };
  cmdRecover.Click = [this] { cmdRecover_Click(); };
  cmdCancel.Click = [this] { cmdCancel_Click(); };
}

void FrmRecover::Design() {
  Caption("Recover Configuration");
  lblFrom.Caption("From");
  lblTo.Caption("To");
  lblUsing.Caption("Using");
  cmdCancel.Caption("Cancel");
  cmdRecover.Caption("Recover");
  // Escape leaves everything as it was; only a deliberate click recovers.
  cmdCancel.Cancel(true);
}

std::string FrmRecover::Text(const std::string& key) const {
  return ctx_.rootNode->GetValue(std::string(kTextNode) + "." + key).ToString();
}

void FrmRecover::SourceFolder(const std::string& folder) {
  Frame frame(ctx_, kModule, "SourceFolder");
  frame.Run([&] { sourceFolder_ = folder; });
}

void FrmRecover::DestinationFolder(const std::string& folder) {
  Frame frame(ctx_, kModule, "DestinationFolder");
  frame.Run([&] { destinationFolder_ = folder; });
}

std::string FrmRecover::Recovered() {
  Frame frame(ctx_, kModule, "Recovered");
  return frame.Run(std::string(), [&] { return BoolText(recovered_); });
}

void FrmRecover::Recovered(const std::string& value) {
  Frame frame(ctx_, kModule, "Recovered");
  frame.Run([&] { recovered_ = CBool(value); });
}

void FrmRecover::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode);
    LayoutForm();
    LoadForm();
  });
}

void FrmRecover::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    RowLayout rows(m, ctx_.rootNode->GetNode(kTextNode, false, "", Variant()));
    // The design texts stand where a key gives nothing.
    if (const std::string caption = rows.Text("Caption"); !caption.empty()) Caption(caption);
    if (const std::string caption = rows.Text("cmdCancel"); !caption.empty()) {
      cmdCancel.Caption(caption);
    }
    if (const std::string caption = rows.Text("cmdRecover"); !caption.empty()) {
      cmdRecover.Caption(caption);
    }

    // The dialog's width from its texts, where they give one: the values and
    // the list then take what the label column leaves. Without it the data
    // column sets the width.
    const int32_t width = ctx_.rootNode->GetValue(std::string(kTextNode) + ".Width").ToInteger();
    const int16_t inner =
        width > 0 ? Twips(int64_t{width} - 2 * int64_t{m.Border} - 2 * int64_t{m.FormBLRBorder})
                  : Twips(int64_t{m.LabelColumnWidth} + m.Border + m.DataColumnWidth);
    const int16_t valueWidth = Twips(int64_t{inner} - m.LabelColumnWidth - m.Border);

    // Each value is a label too: it stands on its caption's line.
    const auto row = [&](Label& caption, Label& value) {
      rows.PlaceLabel(caption);
      value.Move(rows.DataLeft(), caption.Top(), valueWidth, m.RowHeight);
      rows.ApplyTip(value);
      rows.NextRow();
    };
    row(lblFrom, lblSourcePath);
    row(lblTo, lblDestinationPath);
    row(lblUsing, lblChosenConfig);

    lstConfigFiles.Move(m.Border, rows.Row(), inner, Twips(kListRows * int64_t{m.RowHeight}));
    rows.ApplyTip(lstConfigFiles);

    const int16_t buttonTop =
        Twips(int64_t{lstConfigFiles.Top()} + lstConfigFiles.Height() + int64_t{m.Border});
    cmdCancel.Move(Twips(int64_t{m.Border} + inner - m.ButtonWidth), buttonTop, m.ButtonWidth,
                   m.RowHeight);
    cmdRecover.Move(Twips(int64_t{cmdCancel.Left()} - m.Border - m.ButtonWidth), buttonTop,
                    m.ButtonWidth, m.RowHeight);
    rows.ApplyTip(cmdCancel);
    rows.ApplyTip(cmdRecover);

    Width(Twips(2 * int64_t{m.Border} + inner + 2 * int64_t{m.FormBLRBorder}));
    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmRecover::AddSorted(const Ref<ConfigFileInfo>& info) {
  const Date saved = info->SavedTime();
  for (int32_t i = 1; i <= files_.Count(); ++i) {
    if (!(files_.Item(i)->SavedTime() < saved)) {
      files_.Add(info, info->FileName(), i);
      return;
    }
  }
  files_.Add(info, info->FileName());
}

void FrmRecover::LoadForm() {
  Frame frame(ctx_, kModule, "LoadForm");
  frame.Run([&] {
    files_.Clear();
    // A choice of an earlier showing never carries over to other folders.
    chosenFile_.clear();
    FileSystem& files = ctx_.Files();

    sourceInvalid_ = !files.FolderExists(sourceFolder_);
    lblSourcePath.Caption(sourceInvalid_ ? Text("InvalidFolder") : sourceFolder_);
    destinationInvalid_ = !files.FolderExists(destinationFolder_);
    lblDestinationPath.Caption(destinationInvalid_ ? Text("InvalidFolder") : destinationFolder_);

    // A missing source folder fails here into the trace: the button then
    // stays as the form starts, enabled, with nothing chosen.
    for (const FolderFile& file : files.FilesOf(sourceFolder_)) {
      Ref<ConfigFileInfo> info = ctx_.engineConnector->NewConfigFileInfo();
      // Anything else in the backup folder (the stores' copies) is no
      // concern of this dialog.
      if (!info->Load(file.path)) continue;
      AddSorted(info);
    }

    if (files_.Count() == 0) {
      lblChosenConfig.Caption(Text("NoConfigFile"));
      noFile_ = true;
    } else {
      lstConfigFiles.Clear();
      // The last listed, the newest, stands chosen; no row shows selected.
      for (const Ref<ConfigFileInfo>& info : files_) {
        lstConfigFiles.AddItem(info->Description());
        lblChosenConfig.Caption(info->Description());
        chosenFile_ = info->FileName();
      }
      noFile_ = false;
    }
    SetRecoverButtonStatus();
  });
}

void FrmRecover::SetRecoverButtonStatus() {
  Frame frame(ctx_, kModule, "SetRecoverButtonStatus");
  frame.Run([&] { cmdRecover.Enabled(!sourceInvalid_ && !destinationInvalid_ && !noFile_); });
}

void FrmRecover::lstConfigFiles_Click() {
  Frame frame(ctx_, kModule, "lstConfigFiles_Click");
  frame.Run([&] {
    lblChosenConfig.Caption(lstConfigFiles.Text());
    // Row 0 is the first member of the list.
    chosenFile_ = files_.Item(lstConfigFiles.ListIndex() + 1)->FileName();
  });
}

void FrmRecover::cmdRecover_Click() {
  Frame frame(ctx_, kModule, "cmdRecover_Click");
  frame.Run([&] {
    if (ctx_.engine->RecoverConfig(sourceFolder_, destinationFolder_, chosenFile_)) {
      Recovered(BoolText(true));
    } else {
      ctx_.Host().MsgBox(Text("RecoveryFailed"), MsgButtons::OK, "");
    }
    Unload();
  });
}

void FrmRecover::cmdCancel_Click() {
  Frame frame(ctx_, kModule, TraceNames::frmRecover_cmdCancel_Click);
  frame.Run([&] { Unload(); });
}

void FrmRecover::Form_Unload(bool& /*cancel*/) {
  Frame frame(ctx_, kModule, TraceNames::frmRecover_Form_Unload);
  frame.Run([&] { files_.Clear(); });
}

}  // namespace vellix
