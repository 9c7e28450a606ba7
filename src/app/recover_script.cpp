#include "app/recover_script.h"

#include <QTimer>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

#include "dialogs/frm_recover.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/format.h"
#include "foundation/vb_error.h"
#include "servers/common/write_behind.h"
#include "servers/engine/engine_file.h"
#include "shell/frm_popup.h"

namespace vellix::app {

namespace {

// Time for the dialog to lay out and paint before its picture is taken.
constexpr int kSettleMs = 300;
constexpr double kWeekSeconds = 7 * 86400.0;

}  // namespace

RecoverScript::RecoverScript(FrmPopup& popup, std::filesystem::path backupFolder, Tools tools)
    : popup_(popup), backupFolder_(std::move(backupFolder)), tools_(std::move(tools)) {}

bool RecoverScript::MakeHistory() {
  // The backup run's copy is written behind.
  servers::WriteBehind::Shared().WaitAll();
  std::optional<engine::EngineData> newest;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(backupFolder_, ec), end; !ec && it != end;
       it.increment(ec)) {
    if (it->path().extension() != ".xml") continue;
    engine::EngineFileRead read = engine::ReadEngineFile(it->path());
    if (read.outcome != engine::EngineFileRead::Outcome::Loaded || read.data.savedTime.IsZero())
      continue;
    if (!newest || newest->savedTime < read.data.savedTime) newest = std::move(read.data);
  }
  if (!newest) {
    tools_.note("the backup saved no configuration in " + backupFolder_.string());
    return false;
  }
  // Weekly saves from before the last agents were added.
  for (int weeks = 1; weeks < kSaved; ++weeks) {
    engine::EngineData older = *newest;
    older.savedTime = AddSeconds(newest->savedTime, -weeks * kWeekSeconds);
    if (older.agents.size() > static_cast<size_t>(weeks))
      older.agents.resize(older.agents.size() - weeks);
    const auto file =
        backupFolder_ / ("Vellix Engine Configuration " +
                         Format(older.savedTime, "yyyy-mm-dd hhnnss", Locale::English()) + ".xml");
    std::string error;
    if (!engine::WriteEngineFile(file, older, &error)) {
      tools_.note("unable to write " + file.string() + ": " + error);
      return false;
    }
  }
  return true;
}

void RecoverScript::Open() {
  tools_.step("recover");
  if (!MakeHistory()) return;
  try {
    const std::string store = popup_.ctx().engine->Config()->StoreLocation();
    // The dialog is modal: this returns once the picture's step has cancelled it.
    if (popup_.ShowRecover(backupFolder_.string(), store))
      tools_.note("the recover dialog recovered");
  } catch (const VbError& e) {
    tools_.note("the recover dialog could not be opened: " + e.Description());
  }
  if (!seen_) tools_.note("the recover dialog was not shown");
}

void RecoverScript::Shown(Form& form) {
  if (seen_) return;
  seen_ = true;
  QTimer::singleShot(kSettleMs, this, [this, &form] { Shot(form); });
}

void RecoverScript::Shot(Form& form) {
  tools_.step("recover picture");
  auto& dialog = dynamic_cast<FrmRecover&>(form);
  const int32_t listed = dialog.lstConfigFiles.ListCount();
  std::printf("screenshot: the recover dialog lists %d saved configurations\n", listed);
  if (listed == kSaved) {
    tools_.shot(dialog, "recover.png");
  } else {
    tools_.note("the recover dialog lists " + std::to_string(listed) + " configurations, not " +
                std::to_string(kSaved) + ": recover.png not written");
  }
  dialog.cmdCancel.UserClick();
}

}  // namespace vellix::app
