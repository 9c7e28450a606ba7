#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/date.h"
#include "foundation/error_log.h"
#include "servers/errorlog/error_log_file.h"

namespace vellix {

// The error log server: the connector the control panel attaches through.
// The log file is opened on the first ErrorLog() call; when it can't be,
// ErrorLog() gives nothing and OpenError() says why.
class ErrorLogServer final : public ErrorConnector {
 public:
  ErrorLogServer(std::filesystem::path logFile, const Clock& clock);

  Ref<::vellix::ErrorLog> ErrorLog() override;
  std::string LogFileName() override;
  std::string Componant() override;
  std::string Version() override;

  [[nodiscard]] const std::string& OpenError() const { return openError_; }

 private:
  std::filesystem::path logFile_;
  const Clock* clock_;
  std::shared_ptr<ErrorLogFile> log_;
  std::string openError_;
};

}  // namespace vellix
