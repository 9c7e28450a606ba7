#include "app/app_servers.h"

#include <cstdio>
#include <exception>
#include <utility>

#include "foundation/ui_host.h"

#include "servers/backupcopy/backup_copier.h"
#include "servers/common/write_behind.h"
#include "servers/config/config_server.h"
#include "servers/config/config_tree_node.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/engine_server_connector.h"
#include "servers/engine/server_error.h"
#include "servers/errorlog/error_log_server.h"

namespace vellix::app {

AppServers::AppServers(DataPaths paths, std::filesystem::path seedFile,
                       desktop::PathMapping mapping, const Clock& clock, UiHost& host)
    : paths_(std::move(paths)),
      seedFile_(std::move(seedFile)),
      mapping_(std::move(mapping)),
      clock_(clock),
      host_(host) {}

// The program does not end with a save still on its way to the disk, whoever
// holds the engine last.
AppServers::~AppServers() {
  servers::WriteBehind::Shared().WaitAll();
}

std::filesystem::path AppServers::EngineFile() const {
  return paths_.configDir / "Engine.xml";
}

std::shared_ptr<ErrorLogServer> AppServers::LogServer() {
  if (!errorLog_) errorLog_ = std::make_shared<ErrorLogServer>(paths_.ErrorLogFile(), clock_);
  return errorLog_;
}

std::shared_ptr<void> AppServers::CreateStartupHolder() {
  // Start-up only holds it; the log server is what keeps the log's library
  // alive until the configuration is reached.
  return LogServer();
}

void AppServers::Announce(const std::string& notice, const std::string& project,
                          const std::string& module, const std::string& procedure) {
  if (notice.empty()) return;
  if (Ref<ErrorLog> log = LogServer()->ErrorLog(); !log.IsNothing()) {
    try {
      log->LogEvent(project, module, procedure, notice, 0, "");
    } catch (const std::exception& e) {
      std::fprintf(stderr, "vellix-control: %s\n", e.what());
    }
  }
  host_.MsgBox(notice, MsgButtons::OK, "");
}

Ref<ErrorConnector> AppServers::CreateErrorConnector() {
  auto server = LogServer();
  if (server->ErrorLog().IsNothing()) {
    whyUnreachable_ = server->OpenError();
    return nullptr;
  }
  whyUnreachable_.clear();
  return server;
}

Ref<ConfigConnector> AppServers::CreateConfigConnector() {
  if (!config_) {
    auto server = std::make_shared<ConfigServer>(paths_.ConfigTreeFile(), seedFile_, &clock_);
    if (!server->Open()) {
      whyUnreachable_ = server->OpenError();
      return nullptr;
    }
    config_ = std::move(server);
    Announce(config_->Notice(), config_->Componant(), "ConfigServer", "Open");
  }
  whyUnreachable_.clear();
  return config_;
}

Ref<ConfigNode> AppServers::CreateConfigNode() {
  return NewFreeConfigNode();
}

Ref<EngineConnector> AppServers::CreateEngineConnector() {
  if (!engine_) {
    // The engine writes its own records into the same log as the panel.
    Ref<ErrorLog> log = LogServer()->ErrorLog();
    auto engine = std::make_shared<engine::EngineServer>(
        EngineFile(), mapping_, clock_, log, makeProcessingHooks ? makeProcessingHooks() : nullptr);
    if (!engine->OpenError().empty()) {
      whyUnreachable_ = engine->OpenError();
      std::fprintf(stderr, "vellix engine: %s\n", whyUnreachable_.c_str());
      return nullptr;
    }
    engine_ = std::move(engine);
    if (engineMade) engineMade(*engine_);
    Announce(engine_->Notice(), engine::kLogProject, engine::kLogModule, "Load");
  }
  whyUnreachable_.clear();
  return MakeRef<engine::EngineServerConnector>(engine_, mapping_);
}

Ref<BackupServer> AppServers::CreateBackupServer() {
  // Each backup run gets its own copier, as each CreateObject would.
  auto copier = std::make_shared<backupcopy::BackupCopier>(host_, mapping_);
  if (backupServerMade) backupServerMade(copier);
  return copier;
}

}  // namespace vellix::app
