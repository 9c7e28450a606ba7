#pragma once

#include <string>

#include "foundation/engine.h"
#include "platform/desktop/path_mapping.h"

namespace vellix::engine {

// The connection to the engine stand-in; it also makes the readers of saved
// configuration files.
class EngineServerConnector final : public EngineConnector {
 public:
  EngineServerConnector(Ref<VellixEngine> engine, desktop::PathMapping paths);

  Ref<VellixEngine> Engine() override { return engine_; }
  std::string Componant() override { return "OVVellix"; }
  std::string Version() override;
  Ref<ConfigFileInfo> NewConfigFileInfo() override;

 private:
  Ref<VellixEngine> engine_;
  desktop::PathMapping paths_;
};

}  // namespace vellix::engine
