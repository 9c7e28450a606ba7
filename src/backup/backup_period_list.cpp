// The period grid of the backup manager, with the backup location above it
// and the three backup policies.
#include <array>
#include <cmath>
#include <optional>

#include "backup/frm_backup_manager.h"
#include "foundation/config_node.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/format.h"
#include "foundation/frame.h"
#include "foundation/period.h"
#include "foundation/trace_names.h"
#include "foundation/utils.h"
#include "foundation/variant.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmBackupManager";

struct GridColumn {
  int32_t bit;
  const char* key;
  const char* heading;
  int32_t units;  // of a tenth of a column's share of the grid
  const char* tip;
};

// In column order.
constexpr std::array<GridColumn, 9> kColumns{{
    {1, "Heading0", "Period Store", 13, "Root Outlook Folder Name of Period Store"},
    {2, "Heading1", "Recorded", 13, "Last recorded backup"},
    {8, "Heading2", "Located", 13, "Date of last backup file found in backup location"},
    {16, "Heading3", "Watermark", 13, "Date of most recent Item in Period Store"},
    {32, "Heading4", "Free", 7, "Test that Period Store file has not been locked by Outlook"},
    {64, "Heading5", "Valid", 7, "Test that file can be read by Outlook"},
    {128, "Heading6", "Size", 7, "Size of Period Store to be backed up"},
    {256, "Heading7", "Backup", 7, "Requirement for backup based on selected Policy"},
    {512, "Heading8", "Progress", 10, "Period Store Backup Progress"},
}};

// The bits a refresh fills, in the order it fills them; the progress column
// belongs to the run.
constexpr std::array<int32_t, 8> kFilledBits{1, 2, 8, 16, 32, 64, 128, 256};

constexpr const char* kTick = "tick.ico";
constexpr const char* kCross = "cross.ico";

}  // namespace

int32_t FrmBackupManager::FlexColumn(int32_t bit) {
  for (size_t col = 0; col < kColumns.size(); ++col) {
    if (kColumns[col].bit == bit) return static_cast<int32_t>(col);
  }
  return 0;
}

void FrmBackupManager::LoadAll() {
  Frame frame(ctx_, kModule, "LoadAll");
  frame.Run([&] {
    LoadTexts();
    LoadGraphics();
  });
}

void FrmBackupManager::LayoutAll() {
  Frame frame(ctx_, kModule, "LayoutAll");
  frame.Run([&] { FlexGrid(); });
}

void FrmBackupManager::LoadGraphics() {
  Frame frame(ctx_, kModule, "LoadGraphics");
  frame.Run([&] {
    // The view finds a bare picture name in the program's folder; a missing
    // file is told here rather than shown as a blank.
    const auto load = [&](const char* file) {
      if (!ctx_.Files().FileExists(ctx_.services.exeFolder + "\\" + file)) {
        throw VbError(err::kFileNotFound, std::string("File not found: ") + file);
      }
      return std::string(file);
    };
    crossPicture_ = load(kCross);
    tickPicture_ = load(kTick);
    picStoreAvailable.Picture(crossPicture_);
  });
}

void FrmBackupManager::FlexGrid() {
  Frame frame(ctx_, kModule, "FlexGrid");
  frame.Run([&] {
    fgcPeriods.Cols(static_cast<int32_t>(kColumns.size()));
    fgcPeriods.Rows(ctx_.engine->Config()->Periods().Count() + 1);
    fgcPeriods.Row(0);
    const auto unit = static_cast<int32_t>(
        std::floor(static_cast<double>(fgcPeriods.Width()) / fgcPeriods.Cols() / 10));
    Ref<ConfigNode> headings = node_->GetNode("fgcPeriods", true, "Collection", Variant());
    for (size_t i = 0; i < kColumns.size(); ++i) {
      const GridColumn& column = kColumns[i];
      const auto col = static_cast<int32_t>(i);
      fgcPeriods.TextMatrix(0, col,
                            headings->GetNode(column.key, true, "String", Variant(column.heading))
                                ->GetContent()
                                .ToString());
      // The first column gives up a little so that the grid needs no scroll bar.
      fgcPeriods.ColWidth(col, unit * column.units - (col == 0 ? 60 : 0));
    }
  });
}

std::string FrmBackupManager::DateTimeText(Date value) const {
  if (value.Serial() <= 0) return "";
  return Format(value, "Short Date", ctx_.locale()) + " " +
         Format(value, "Short Time", ctx_.locale());
}

std::string FrmBackupManager::CellText(int32_t bit, ::vellix::Period& period) {
  switch (bit) {
    case 1:
      return period.Name();
    case 2:
      return DateTimeText(period.LastBackup());
    case 8:
      return DateTimeText(period.LastLocated());
    case 16:
      return DateTimeText(period.Watermark());
    case 32:
      return period.Free() == -1 ? "Yes" : "";
    case 64:
      return period.Valid() == -1 ? "Yes" : "";
    case 128:
      return Utils(ctx_).DisplayFileSizeText(period.FileSize());
    case 256: {
      if (period.BackupStatus() == 1) return "Yes";
      // "Error" shows only when the status changed between the two reads.
      if (period.BackupStatus() == 2) return "";
      if (period.BackupStatus() == 2) return "Error";
      return "";
    }
    default:
      return "";
  }
}

void FrmBackupManager::PopulateFlexGrid(int32_t mask) {
  Frame frame(ctx_, kModule, "PopulateFlexGrid");
  frame.Run([&] {
    int32_t row = 1;
    for (const Ref<::vellix::Period>& period : ctx_.engine->Config()->Periods()) {
      fgcPeriods.Row(row);
      for (int32_t bit : kFilledBits) {
        if ((mask & bit) == 0) continue;
        fgcPeriods.Col(FlexColumn(bit));
        fgcPeriods.Text(CellText(bit, *period));
      }
      ++row;
    }
  });
}

void FrmBackupManager::PopulateAll() {
  Frame frame(ctx_, kModule, "PopulateAll");
  frame.Run([&] {
    PopulateFlexGrid(1023);
    PopulateLocation();
    PopulatePolicy();
    PopulateOthers();
  });
}

void FrmBackupManager::PopulateLocation() {
  Frame frame(ctx_, kModule, "PopulateLocation");
  frame.Run([&] {
    Ref<EngineConfig> config = ctx_.engine->Config();
    lblPath.Caption(config->BackupLocation());
    picStoreAvailable.Picture(config->BackupLocationAvailable() ? tickPicture_ : crossPicture_);
  });
}

void FrmBackupManager::PopulatePolicy() {
  Frame frame(ctx_, kModule, "PopulatePolicy");
  frame.Run([&] {
    // Turning an option on runs its click, which writes the policy back: an
    // unknown value becomes the location check.
    const int32_t policy = ctx_.engine->Config()->BackupPolicy();
    optPolicyAll.Value(policy == 0);
    optPolicyCheckStore.Value(policy != 0 && policy != 2);
    optPolicyCheckHistory.Value(policy == 2);
  });
}

void FrmBackupManager::ChangePolicy() {
  Frame frame(ctx_, kModule, "ChangePolicy");
  frame.Run([&] {
    Ref<EngineConfig> config = ctx_.engine->Config();
    if (optPolicyAll.Value()) {
      config->BackupPolicy(0);
    } else if (optPolicyCheckHistory.Value()) {
      config->BackupPolicy(2);
    } else if (optPolicyCheckStore.Value()) {
      config->BackupPolicy(1);
    }
    // What a policy means for a store is the engine's: read it again.
    PopulateFlexGrid(296);
  });
}

void FrmBackupManager::PopulateOthers() {
  Frame frame(ctx_, kModule, "PopulateOthers");
  frame.Run([&] {
    chkUnattendedOpperation.Value(FlagUnattended() ? CheckBox::kChecked : CheckBox::kUnchecked);
  });
}

void FrmBackupManager::chkUnattendedOpperation_Click() {
  Frame frame(ctx_, kModule, "chkUnattendedOpperation_Click");
  frame.Run([&] { FlagUnattended(chkUnattendedOpperation.Value() == CheckBox::kChecked); });
}

void FrmBackupManager::cmdChange_Click() {
  Frame frame(ctx_, kModule, TraceNames::cmdChange_Click);
  frame.Run([&] {
    const std::string title =
        ctx_.rootNode->GetValue(std::string(kBranch) + ".Strings.ControlPanel.CaptionFindFolder")
            .ToString();
    if (const std::optional<std::string> chosen = ctx_.Shell().BrowseForFolder(title, {})) {
      lblPath.Caption(*chosen);
      ctx_.engine->Config()->BackupLocation(*chosen);
    }
    // Also on cancel; any answer but 0 counts as available here.
    picStoreAvailable.Picture(FlagBackupLocation() ? tickPicture_ : crossPicture_);
  });
}

void FrmBackupManager::fgcPeriods_MouseMove(int16_t /*button*/, int16_t /*shift*/, double /*x*/,
                                            double /*y*/) {
  Frame frame(ctx_, kModule, TraceNames::fgcPeriods_MouseMove);
  frame.Run([&] {
    const int32_t col = fgcPeriods.MouseCol();
    const bool known = col >= 0 && col < static_cast<int32_t>(kColumns.size());
    fgcPeriods.ToolTipText(known ? kColumns[static_cast<size_t>(col)].tip : "");
  });
}

}  // namespace vellix
