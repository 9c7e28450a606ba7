#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/error_log.h"

namespace vellix::test {

// One record written through LogEvent.
struct LogRecord {
  std::string module;
  std::string procedure;
  std::string message;
  int16_t number = 0;

  friend bool operator==(const LogRecord&, const LogRecord&) = default;
};

// An error log that keeps what it is told; it can be made to fail.
class RecordingErrorLog : public ErrorLog {
 public:
  void LogEvent(const std::string& project, const std::string& module, const std::string& procedure,
                const std::string& message, int16_t number, const std::string& detail) override;
  void ComponentStarted(const std::string& component) override;
  void ComponentEnded(const std::string& component) override;
  void ObjectCreated(const std::string& project, const std::string& className) override;
  void ObjectDestroyed(const std::string& project, const std::string& className) override;

  std::vector<LogRecord> records;
  // Life-cycle calls in order: "ComponentStarted VellixControl", ...
  std::vector<std::string> lifecycle;
  // Projects other than "VellixControl" or a non-empty detail are counted here.
  int malformed = 0;
  // When set, LogEvent raises this error number instead of recording.
  int32_t failWith = 0;

  // The messages only, for short assertions.
  [[nodiscard]] std::vector<std::string> Messages() const;
};

}  // namespace vellix::test
