#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "foundation/date.h"
#include "foundation/server_factory.h"
#include "platform/desktop/path_mapping.h"
#include "servers/config/data_paths.h"
#include "servers/engine/processing_hooks.h"

namespace vellix {
class ConfigServer;
class ErrorLogServer;
class UiHost;
namespace engine {
class EngineServer;
}
namespace backupcopy {
class BackupCopier;
}
}  // namespace vellix

namespace vellix::app {

// The application's servers: the stand-ins of the product's other programs,
// each made once on first request and kept for the whole process, so that
// every part of the panel that attaches reaches the same tree, log and
// engine. A server that can't be used gives nothing and WhyUnreachable()
// says why. When a server had to move an unreadable file of the user's
// aside, its notice is written to the error log under that server's name and
// shown in a message box before the connector is handed out.
class AppServers final : public ServerFactory {
 public:
  // seedFile: the shared CommonFormat branch a first start begins with;
  // mapping: how path texts of the logic reach the file system.
  AppServers(DataPaths paths, std::filesystem::path seedFile, desktop::PathMapping mapping,
             const Clock& clock, UiHost& host);
  ~AppServers() override;
  AppServers(const AppServers&) = delete;
  AppServers& operator=(const AppServers&) = delete;

  // Where the engine keeps its configuration: beside the tree.
  [[nodiscard]] std::filesystem::path EngineFile() const;

  std::shared_ptr<void> CreateStartupHolder() override;
  Ref<ErrorConnector> CreateErrorConnector() override;
  Ref<ConfigConnector> CreateConfigConnector() override;
  Ref<ConfigNode> CreateConfigNode() override;
  Ref<EngineConnector> CreateEngineConnector() override;
  Ref<BackupServer> CreateBackupServer() override;
  [[nodiscard]] std::string WhyUnreachable() const override { return whyUnreachable_; }

  // What the engine runs its processing through; none files nothing.
  std::function<std::unique_ptr<engine::ProcessingHooks>()> makeProcessingHooks;
  // Called once the engine is made, before the panel uses it.
  std::function<void(engine::EngineServer&)> engineMade;
  // Called with each backup copier as it is made, before the caller sees it.
  std::function<void(const std::shared_ptr<backupcopy::BackupCopier>&)> backupServerMade;

  // The engine, once made; nothing before. The application stops it at exit.
  [[nodiscard]] const std::shared_ptr<engine::EngineServer>& Engine() const { return engine_; }

 private:
  std::shared_ptr<ErrorLogServer> LogServer();
  void Announce(const std::string& notice, const std::string& project, const std::string& module,
                const std::string& procedure);

  DataPaths paths_;
  std::filesystem::path seedFile_;
  desktop::PathMapping mapping_;
  const Clock& clock_;
  UiHost& host_;
  std::shared_ptr<ErrorLogServer> errorLog_;
  std::shared_ptr<ConfigServer> config_;
  std::shared_ptr<engine::EngineServer> engine_;
  std::string whyUnreachable_;
};

}  // namespace vellix::app
