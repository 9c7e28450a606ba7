// The backup manager's run: the files handed to the backup server, its
// Status events in the grid's progress column, and the window's texts.
#include <array>

#include "backup/frm_backup_manager.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/format.h"
#include "foundation/frame.h"
#include "foundation/period.h"
#include "foundation/runtime.h"
#include "foundation/variant.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmBackupManager";
constexpr int32_t kProgressCol = 8;

// Entries of the try-later list, written only when the list is missing.
constexpr std::array<const char*, 4> kLaterUnits{"Backup Now", "Minute", "Hour", "Day"};

}  // namespace

void FrmBackupManager::DoBackup() {
  Frame frame(ctx_, kModule, "DoBackup");
  frame.Run([&] {
    flagBackupRunning_ = true;
    cancelRequested_ = false;
    Ref<EngineConfig> config = ctx_.engine->Config();
    int32_t row = 1;
    // What the last refresh said, not whether the store is free now: the
    // server reports on a store it can't copy.
    for (const Ref<::vellix::Period>& period : config->Periods()) {
      fgcPeriods.Row(row);
      fgcPeriods.Col(FlexColumn(256));
      const bool wanted = fgcPeriods.Text() == "Yes";
      fgcPeriods.Col(FlexColumn(64));
      if (wanted && fgcPeriods.Text() == "Yes") {
        mobjBackupServer_->AddFile(period->BackupFile(), config->BackupLocation());
      }
      ++row;
    }
    mobjBackupServer_->Start();
  });
}

template <class Found>
void FrmBackupManager::ForRowsOfFile(const std::string& file, Found&& found) {
  for (const Ref<::vellix::Period>& period : ctx_.engine->Config()->Periods()) {
    if (file != period->BackupFile()) continue;
    fgcPeriods.Col(0);
    for (int32_t row = 1; row < fgcPeriods.Rows(); ++row) {
      fgcPeriods.Row(row);
      if (fgcPeriods.Text() == period->Name()) found(row, *period);
    }
  }
}

void FrmBackupManager::mobjBackupServer_Status(int32_t& code, std::string& data, bool& cancel) {
  Frame frame(ctx_, kModule, "mobjBackupServer_Status");
  frame.Run([&] {
    // Cancelling is cooperative: the server learns of it at its next event.
    if (cancelRequested_) cancel = true;
    switch (code) {
      case BackupServer::kRunBegins:
        flagBackupRunning_ = true;
        SetFormStatus();
        break;
      case BackupServer::kRunComplete:
        flagBackupRunning_ = false;
        ctx_.engine->Config()->LastBackup(ctx_.Now());
        ctx_.engine->BackupFinished();
        if (!FlagUnattended()) {
          PopulateFlexGrid(258);
          SetFormStatus();
        } else {
          Unload();
        }
        break;
      case BackupServer::kFileBegins:
        ForRowsOfFile(data, [&](int32_t row, ::vellix::Period& period) {
          fgcPeriods.Col(kProgressCol);
          fgcPeriods.Text("Started");
          currentRow_ = CInt(int64_t{row});
          currentFileLabel_ = period.BackupFileLabel();
          currentFileSize_ = std::to_string(period.FileSize());
        });
        break;
      case BackupServer::kFileComplete:
        currentRow_ = 0;
        ForRowsOfFile(data, [&](int32_t /*row*/, ::vellix::Period& period) {
          fgcPeriods.Col(kProgressCol);
          fgcPeriods.Text("Complete");
          fgcPeriods.Col(0);
          currentFileLabel_.clear();
          period.LastBackup(ctx_.Now());
        });
        break;
      case BackupServer::kFileError:
        // The progress column is the present one since the file began.
        fgcPeriods.Row(currentRow_);
        fgcPeriods.Text(data);
        currentRow_ = 0;
        currentFileLabel_ = "0";
        currentFileSize_ = "0";
        break;
      case BackupServer::kProgress: {
        fgcPeriods.Col(kProgressCol);
        fgcPeriods.Row(currentRow_);
        const double done = Val(data);
        const double size = Val(currentFileSize_);
        // As the runtime divides: 0 / 0 overflows, anything else over 0 has no share.
        if (size == 0) throw VbError(done == 0 ? err::kOverflow : err::kDivisionByZero);
        fgcPeriods.Text(Format(done / size, "##0%", ctx_.locale()));
        break;
      }
      case BackupServer::kCancelled:
        currentRow_ = 0;
        ForRowsOfFile(data, [&](int32_t /*row*/, ::vellix::Period& /*period*/) {
          fgcPeriods.Col(kProgressCol);
          fgcPeriods.Text("Cancelled");
          fgcPeriods.Col(0);
          currentFileLabel_.clear();
        });
        flagBackupRunning_ = false;
        PopulateFlexGrid(2);
        SetFormStatus();
        break;
      default:
        break;
    }
  });
}

void FrmBackupManager::LoadTexts() {
  Frame frame(ctx_, kModule, "LoadTexts");
  frame.Run([&] {
    const auto text = [&](Control& control, auto setCaption, const std::string& caption) {
      setCaption(KeyText(control.Name(), caption));
      control.ToolTipText(KeyText(control.Name() + "-Tip", control.ToolTipText()));
    };
    const auto label = [&](Label& l) {
      text(
          l, [&](std::string value) { l.Caption(std::move(value)); }, l.Caption());
    };
    const auto frameText = [&](FrameControl& f) {
      text(
          f, [&](std::string value) { f.Caption(std::move(value)); }, f.Caption());
    };
    const auto option = [&](OptionButton& o) {
      text(
          o, [&](std::string value) { o.Caption(std::move(value)); }, o.Caption());
    };
    label(lblDescriptiveTitle);
    label(lblTryLaterIn);
    frameText(fraLocation);
    text(
        cmdChange, [&](std::string value) { cmdChange.Caption(std::move(value)); },
        cmdChange.Caption());
    frameText(fraPolicy);
    option(optPolicyAll);
    option(optPolicyCheckStore);
    option(optPolicyCheckHistory);
    label(lblStoreAvailable);
    text(
        chkUnattendedOpperation,
        [&](std::string value) { chkUnattendedOpperation.Caption(std::move(value)); },
        chkUnattendedOpperation.Caption());
    label(lblCountdown);
    cmdBackup.ToolTipText(KeyText("cmdBackup-Tip", cmdBackup.ToolTipText()));
    cboLater.ToolTipText(KeyText("cboLater-Tip", cboLater.ToolTipText()));

    if (node_->GetNode("cboLater", false, "", Variant()).IsNothing()) {
      Ref<ConfigNode> list = node_->GetNode("cboLater", true, "Collection", Variant());
      for (size_t i = 0; i < kLaterUnits.size(); ++i) {
        list->GetNode(std::to_string(i + 1), true, "String", Variant(kLaterUnits[i]));
      }
    }
    laterValue_ =
        node_->GetNode("txtLater", true, "Integer", Variant(int16_t{10}))->GetContent().ToString();
    laterUnit_ = KeyText("cboLater.1", kLaterUnits[0]);
    cboLater.Clear();
    for (const Ref<ConfigNode>& entry :
         node_->GetNode("cboLater", false, "", Variant())->ConfigEntries()) {
      cboLater.AddItem(entry->GetValue("").ToString());
    }
  });
}

}  // namespace vellix
