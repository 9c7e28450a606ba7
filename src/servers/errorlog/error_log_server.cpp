#include "servers/errorlog/error_log_server.h"

#include <cstdio>
#include <utility>

namespace vellix {

ErrorLogServer::ErrorLogServer(std::filesystem::path logFile, const Clock& clock)
    : logFile_(std::move(logFile)), clock_(&clock) {}

Ref<ErrorLog> ErrorLogServer::ErrorLog() {
  if (!log_) {
    auto log = std::make_shared<ErrorLogFile>(logFile_, *clock_);
    if (!log->Open(&openError_)) {
      std::fprintf(stderr, "vellix error log server: %s\n", openError_.c_str());
      return nullptr;
    }
    openError_.clear();
    log_ = std::move(log);
  }
  return Ref<::vellix::ErrorLog>(log_);
}

std::string ErrorLogServer::LogFileName() {
  return logFile_.string();
}

std::string ErrorLogServer::Componant() {
  return "OVErrorLog";
}

std::string ErrorLogServer::Version() {
  return VELLIX_VERSION;
}

}  // namespace vellix
