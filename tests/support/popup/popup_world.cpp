#include "support/popup/popup_world.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "foundation/control_startup.h"
#include "foundation/period.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/common/write_behind.h"
#include "servers/config/config_tree_node.h"
#include "servers/engine/engine_server_connector.h"
#include "support/temp_folder.h"

namespace vellix::test {

namespace fs = std::filesystem;

namespace {

fs::path Resources() {
  return fs::path(VELLIX_SOURCE_DIR) / "resources";
}

fs::path FreshFolder() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = "vellix-world";
  if (info != nullptr) name += std::string("-") + info->test_suite_name() + "-" + info->name();
  for (char& c : name) {
    if (c == '/') c = '_';
  }
  // A folder of its own for each world: a test may hold two at once, and the
  // same test may run in two processes at once (two builds' suites).
  std::string dir = (fs::temp_directory_path() / (name + "-XXXXXX")).string();
  if (::mkdtemp(dir.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + dir);
  return dir;
}

class LogConnector : public ErrorConnector {
 public:
  explicit LogConnector(Ref<::vellix::ErrorLog> log) : log_(std::move(log)) {}
  Ref<::vellix::ErrorLog> ErrorLog() override { return log_; }
  std::string LogFileName() override { return "ErrorLog.txt"; }
  std::string Componant() override { return "ErrorLog"; }
  std::string Version() override { return "1.0.0"; }

 private:
  Ref<::vellix::ErrorLog> log_;
};

}  // namespace

PopupWorld::PopupWorld()
    : dir(FreshFolder()),
      paths(dir / "data"),
      popup(ctx, tray,
            PopupForms{iconTimer, &predictiveStart, nullptr, nullptr, &purgeNotice,
                       // Handed over when first opened, as the application makes it.
                       [this] { return &backupManager; }, nullptr, [this] { return &recover; },
                       nullptr, [this] { return &attachPeriod; },
                       [this] {
                         ++aboutMade;
                         if (!about) about = std::make_unique<FrmAbout>(ctx, host);
                         return about.get();
                       }}) {
  clock.Set(DateTimeSerial(2026, 11, 22, 9, 30, 0));
  services.exeFolder = Resources().string();
  env["HOME"] = (dir / "home").string();
  fs::create_directories(dir / "home" / "Documents");
  auto lookup = [this](const std::string& name) -> std::optional<std::string> {
    auto it = env.find(name);
    if (it == env.end()) return std::nullopt;
    return it->second;
  };
  mail = std::make_unique<outlook::ProfileMailProgram>(Resources() / "profiles" / "demo.xml");
  mail->ChooseFoldersWith([this](NameSpace& nameSpace) { return host.PickMailFolder(nameSpace); });
  shell = std::make_unique<desktop::XdgShell>(
      paths,
      [this](const std::string& title, const fs::path& start) -> std::optional<fs::path> {
        auto chosen = host.BrowseForFolder(title, start.string());
        if (!chosen) return std::nullopt;
        return fs::path(*chosen);
      },
      lookup);
  files = std::make_unique<desktop::PosixFileSystem>(paths);
  browser.readPage = [this](const std::string& page) { return ReadText(paths.ToNative(page)); };
  services.mailProgram = mail.get();
  services.shell = shell.get();
  services.fileSystem = files.get();
  services.browser = &browser;
  ReopenServers();
}

PopupWorld::~PopupWorld() {
  // The engine may be written still: its saves are written behind.
  servers::WriteBehind::Shared().WaitAll();
  std::error_code ec;
  fs::remove_all(dir, ec);
}

void PopupWorld::PresetHidden(bool hidden) {
  auto root = config->RootNode();
  auto boot = CreateConfigNode();
  if (root->GetNode("Componants.VellixControl", false, "", Variant()).IsNothing()) {
    ASSERT_TRUE(boot->LoadFile((Resources() / ControlStartup::kBootConfigFile).string()));
    ASSERT_TRUE(root->AttachBranch(boot, "Componants"));
  }
  root->GetNode("Componants.VellixControl.Hidden", true, "Boolean", Variant(true))
      ->SetContent(Variant(hidden));
  root->Commit("");
}

void PopupWorld::OpenEngine(std::unique_ptr<engine::ProcessingHooks> hooks) {
  engine = std::make_shared<engine::EngineServer>(
      dir / "Engine.xml", desktop::PathMapping(dir / "data"), clock, nullptr, std::move(hooks));
}

engine::Processor& PopupWorld::UseProcessor() {
  const auto post = [this](std::function<void()> fn) { host.Post(std::move(fn)); };
  engine::ProcessorOptions work;
  work.post = post;
  // As in the application: the passes see the profile with the stores listed.
  work.profile = [this] { return engine->ShownProfile(); };
  auto processor = std::make_unique<engine::Processor>(std::move(work));
  engine::Processor& made = *processor;
  OpenEngine(std::move(processor));
  ShowStoresInProfile(post);
  return made;
}

void PopupWorld::ShowStoresInProfile(std::function<void(std::function<void()>)> post) {
  engine->ShowStoresIn(
      [this] {
        // Read on first use only: a later creation would start a mail
        // program that has quit.
        if (!mail->Profile()) mail->CreateApplication();
        return mail->Profile();
      },
      std::move(post));
}

void PopupWorld::ReopenServers() {
  config = std::make_shared<ConfigServer>(dir / "ConfigTree.xml", Resources() / "CommonFormat.xml");
  OpenEngine();
}

void PopupWorld::LoadEngine(const std::string& agents, const std::string& periods) {
  fs::create_directories(dir / "store");
  WriteText(dir / "Engine.xml",
            "<VellixEngine FormatVersion=\"1\"><Settings Configured=\"True\" PeriodCount=\"1\" "
            "PeriodUnits=\"Year\" StoreLocation=\"" +
                (dir / "store").string() + "\" BackupLocation=\"" + (dir / "backups").string() +
                "\" /><Agents>" + agents + "</Agents><Periods>" + periods +
                "</Periods></VellixEngine>");
  OpenEngine();
}

void PopupWorld::Start() {
  ControlStartup::Main(ctx, popup);
  host.Pump();  // the event loop starts: the window's activation arrives
}

int32_t PopupWorld::ItemsInStores() const {
  int32_t items = 0;
  for (const Ref<Period>& period : engine->Config()->Periods())
    items += period->ItemCount();
  return items;
}

std::vector<std::string> PopupWorld::Journal() const {
  return engine->Journal().Texts();
}

std::vector<std::string> PopupWorld::StateTrace() const {
  std::vector<std::string> out;
  for (const auto& r : log->records) {
    if (r.procedure == "StateMonitor") out.push_back(r.message);
  }
  return out;
}

std::vector<LogRecord> PopupWorld::Problems() const {
  std::vector<LogRecord> out;
  for (const auto& r : log->records) {
    if (r.procedure != "StateMonitor") out.push_back(r);
  }
  return out;
}

std::string PopupWorld::Text(const std::string& key) const {
  return config->RootNode()->GetValue("Componants.VellixControl" + key).ToString();
}

std::shared_ptr<void> PopupWorld::CreateStartupHolder() {
  return std::make_shared<int>(0);
}

Ref<ErrorConnector> PopupWorld::CreateErrorConnector() {
  return MakeRef<LogConnector>(log);
}

Ref<ConfigConnector> PopupWorld::CreateConfigConnector() {
  configSeen = std::make_shared<RecordingConfigConnector>(config);
  return configSeen;
}

Ref<ConfigNode> PopupWorld::CreateConfigNode() {
  return MakeRef<ConfigTreeNode>("", ContentKind::Collection, Variant());
}

Ref<EngineConnector> PopupWorld::CreateEngineConnector() {
  if (!engineReachable)
    return MakeRef<engine::EngineServerConnector>(nullptr, desktop::PathMapping(dir));
  return MakeRef<engine::EngineServerConnector>(engine, paths);
}

Ref<BackupServer> PopupWorld::CreateBackupServer() {
  if (backupServer) return backupServer;
  return MakeRef<backupcopy::BackupCopier>(host, paths);
}

}  // namespace vellix::test
