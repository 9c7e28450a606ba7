#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/date.h"
#include "foundation/error_log.h"

namespace vellix {

// Failures of the error log server reach the caller as negative numbers.
namespace errorlog_error {
inline constexpr int32_t kWriteFailed = -2147221504 + 2001;
}  // namespace errorlog_error

// The error log as a text file, one line per call, fields separated by tabs:
//
//   2024-05-01T10:00:00  VellixControl  frmPopup  Form_Load  91  Object variable ...
//   2024-05-01T10:00:00  ComponentStarted  VellixControl
//   2024-05-01T10:00:00  ObjectCreated  VellixControl  TrayIcon
//
// A record is time (local, ISO 8601), project, module, procedure, number,
// message, and the detail only when there is one. Tab, carriage return, line
// feed and backslash inside a field are written \t \r \n \\. The file is
// opened for append once and flushed after every line, so a crash loses
// nothing already logged. Calls may come from any thread.
class ErrorLogFile final : public ErrorLog {
 public:
  ErrorLogFile(std::filesystem::path path, const Clock& clock);
  ~ErrorLogFile() override;
  ErrorLogFile(const ErrorLogFile&) = delete;
  ErrorLogFile& operator=(const ErrorLogFile&) = delete;

  // Opens (creating the file and its folder); false with error on failure.
  bool Open(std::string* error);
  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

  void LogEvent(const std::string& project, const std::string& module, const std::string& procedure,
                const std::string& message, int16_t number, const std::string& detail) override;
  void ComponentStarted(const std::string& component) override;
  void ComponentEnded(const std::string& component) override;
  void ObjectCreated(const std::string& project, const std::string& className) override;
  void ObjectDestroyed(const std::string& project, const std::string& className) override;

 private:
  // Raises when the file isn't open or the line can't be written.
  void WriteLine(std::initializer_list<std::string_view> fields);

  std::filesystem::path path_;
  const Clock* clock_;
  std::FILE* file_ = nullptr;
  std::mutex mutex_;
};

// A field with tab, line breaks and backslash escaped.
std::string EscapeLogField(std::string_view text);
// One line of the log split into its fields, the escapes undone.
std::vector<std::string> SplitLogLine(std::string_view line);

}  // namespace vellix
