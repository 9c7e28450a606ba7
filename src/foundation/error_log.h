#pragma once

#include <cstdint>
#include <string>

#include "foundation/ref.h"

namespace vellix {

// The error log server's log object: where every procedure's frame writes.
class ErrorLog {
 public:
  virtual ~ErrorLog() = default;
  virtual void LogEvent(const std::string& project, const std::string& module,
                        const std::string& procedure, const std::string& message, int16_t number,
                        const std::string& detail) = 0;
  virtual void ComponentStarted(const std::string& component) = 0;
  virtual void ComponentEnded(const std::string& component) = 0;
  virtual void ObjectCreated(const std::string& project, const std::string& className) = 0;
  virtual void ObjectDestroyed(const std::string& project, const std::string& className) = 0;
};

// The connection to the error log server.
class ErrorConnector {
 public:
  virtual ~ErrorConnector() = default;
  // The log, or nothing when the server can't be reached.
  virtual Ref<::vellix::ErrorLog> ErrorLog() = 0;
  // Full path of the log file; attached to the support mail.
  virtual std::string LogFileName() = 0;
  virtual std::string Componant() = 0;
  virtual std::string Version() = 0;
};

// The project name every record carries.
inline constexpr const char* kProject = "VellixControl";

}  // namespace vellix
