#include "app/app_servers.h"

#include <utility>

#include "servers/backupcopy/backup_copier.h"
#include "servers/config/config_server.h"
#include "servers/config/config_tree_node.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/engine_server_connector.h"
#include "servers/errorlog/error_log_server.h"

namespace vellix::app {

AppServers::AppServers(DataPaths paths, std::filesystem::path seedFile,
                       desktop::PathMapping mapping, const Clock& clock, UiHost& host)
    : paths_(std::move(paths)),
      seedFile_(std::move(seedFile)),
      mapping_(std::move(mapping)),
      clock_(clock),
      host_(host) {}

AppServers::~AppServers() = default;

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

Ref<ErrorConnector> AppServers::CreateErrorConnector() {
  return LogServer();
}

Ref<ConfigConnector> AppServers::CreateConfigConnector() {
  if (!config_) config_ = std::make_shared<ConfigServer>(paths_.ConfigTreeFile(), seedFile_);
  return config_;
}

Ref<ConfigNode> AppServers::CreateConfigNode() {
  return NewFreeConfigNode();
}

Ref<EngineConnector> AppServers::CreateEngineConnector() {
  if (!engine_) {
    // The engine writes its own records into the same log as the panel.
    Ref<ErrorLog> log = LogServer()->ErrorLog();
    engine_ = std::make_shared<engine::EngineServer>(
        EngineFile(), mapping_, clock_, log, makeProcessingHooks ? makeProcessingHooks() : nullptr);
  }
  return MakeRef<engine::EngineServerConnector>(engine_, mapping_);
}

Ref<BackupServer> AppServers::CreateBackupServer() {
  // Each backup run gets its own copier, as each CreateObject would.
  return MakeRef<backupcopy::BackupCopier>(host_, mapping_);
}

}  // namespace vellix::app
