#pragma once

#include <memory>
#include <string>

#include "foundation/backup_server.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/ref.h"

namespace vellix {

// Where the control panel reaches the other programs of the product. The
// application supplies one; a test can make any server unreachable by
// answering nothing.
class ServerFactory {
 public:
  virtual ~ServerFactory() = default;
  // An object of the error log server's library that start-up holds until
  // the configuration is reached; nothing is ever called on it.
  virtual std::shared_ptr<void> CreateStartupHolder() = 0;
  virtual Ref<ErrorConnector> CreateErrorConnector() = 0;
  virtual Ref<ConfigConnector> CreateConfigConnector() = 0;
  // A free configuration node, to be filled from a file and grafted in.
  virtual Ref<ConfigNode> CreateConfigNode() = 0;
  virtual Ref<EngineConnector> CreateEngineConnector() = 0;
  virtual Ref<BackupServer> CreateBackupServer() = 0;
  // Why the last connector asked for, or the object it hands out, came back
  // as nothing (the folder or file and the reason); empty when not known.
  [[nodiscard]] virtual std::string WhyUnreachable() const { return {}; }
};

}  // namespace vellix
