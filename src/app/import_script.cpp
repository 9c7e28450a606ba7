#include "app/import_script.h"

#include <QTimer>
#include <array>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/agent.h"
#include "foundation/collection.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "shell/frm_popup.h"

namespace vellix::app {

namespace {
// Time for a window to lay out and paint before its picture is taken.
constexpr int kSettleMs = 300;
// A dialog not shown by then never will be.
constexpr int kShowMs = 5000;
// The folders the first agent is given, from the demo mail profile.
constexpr std::array<const char*, 2> kFolders = {R"(\\Mailbox - Alex Morgan\Inbox\Projects)",
                                                 R"(\\Mailbox - Alex Morgan\Sent Items)"};
// Names of the two stores that came back from elsewhere.
constexpr std::array<const char*, 2> kLooseStores = {"Vellix 2019.pst", "Vellix 2020.pst"};
}  // namespace

ImportScript::ImportScript(FrmPopup& popup, Tools tools)
    : popup_(popup), tools_(std::move(tools)) {}

void ImportScript::Run(std::function<void()> next) {
  next_ = std::move(next);
  tools_.step("import tab");
  const Ref<EngineConfig> config = popup_.ctx().engine->Config();
  const Collection<Ref<Agent>> agents = config->Agents();
  if (agents.Count() == 0) {
    tools_.note("no agent to give folders to import");
  } else {
    const Ref<Agent>& agent = agents.Item(1);
    for (const char* folder : kFolders)
      agent->AddImport(folder, false);
  }
  if (!popup_.tabControlOptions.UserSelectTab("Import")) tools_.note("no Import tab");
  ImportPanel& im = popup_.import;
  if (im.lstImImportList.ListCount() > 0) im.lstImImportList.UserCheck(0, true);
  QTimer::singleShot(kSettleMs, this, [this] { ImportShot(); });
}

void ImportScript::ImportShot() {
  tools_.step("import picture");
  tools_.shot(popup_, "import.png");
  AttachStep();
}

void ImportScript::PutLooseStores() {
  // Copies of a store the engine made, as if brought back from a backup.
  const Ref<EngineConfig> config = popup_.ctx().engine->Config();
  const Collection<Ref<Period>> periods = config->Periods();
  if (periods.Count() == 0) {
    tools_.note("no period store to copy for the attach dialog");
    return;
  }
  const std::filesystem::path store = tools_.toNative(periods.Item(1)->FileName());
  const std::filesystem::path folder = tools_.toNative(config->StoreLocation());
  for (const char* name : kLooseStores) {
    std::error_code ec;
    std::filesystem::copy_file(store, folder / name,
                               std::filesystem::copy_options::overwrite_existing, ec);
    if (ec) tools_.note("unable to copy " + store.string() + ": " + ec.message());
  }
}

void ImportScript::AttachStep() {
  tools_.step("attach period");
  PutLooseStores();
  waiting_ = true;
  // Not modal: the click returns at once, and the view reports the window.
  popup_.import.cmdImAttach.UserClick();
  QTimer::singleShot(kShowMs, this, [this] {
    if (!waiting_) return;
    tools_.note("the attach period dialog was not shown");
    Done();
  });
}

void ImportScript::FormShown(Form& form) {
  if (!waiting_ || form.Name() != "frmAttachPeriod") return;
  waiting_ = false;
  QTimer::singleShot(kSettleMs, this, [this, &form] { AttachShot(form); });
}

void ImportScript::AttachShot(Form& form) {
  tools_.step("attach period picture");
  tools_.shot(form, "attach-period.png");
  if (auto* cancel = dynamic_cast<CommandButton*>(form.Find("cmdCancel")))
    cancel->UserClick();
  else
    tools_.note("no control cmdCancel on " + form.Name());
  // The loose copies go again: the user's store folder keeps only its stores.
  for (const char* name : kLooseStores) {
    std::error_code ec;
    std::filesystem::remove(tools_.toNative(popup_.ctx().engine->Config()->StoreLocation()) / name,
                            ec);
  }
  Done();
}

void ImportScript::Done() {
  if (!next_) return;
  auto next = std::move(next_);
  next_ = nullptr;
  next();
}

}  // namespace vellix::app
