#include "servers/engine/engine_server_connector.h"

#include <utility>

#include "servers/engine/saved_config_file.h"

namespace vellix::engine {

EngineServerConnector::EngineServerConnector(Ref<VellixEngine> engine, desktop::PathMapping paths)
    : engine_(std::move(engine)), paths_(std::move(paths)) {}

std::string EngineServerConnector::Version() {
  return VELLIX_VERSION;
}

Ref<ConfigFileInfo> EngineServerConnector::NewConfigFileInfo() {
  return MakeRef<SavedConfigFile>(paths_);
}

}  // namespace vellix::engine
