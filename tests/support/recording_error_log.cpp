#include "support/recording_error_log.h"

#include "foundation/vb_error.h"

namespace vellix::test {

void RecordingErrorLog::LogEvent(const std::string& project, const std::string& module,
                                 const std::string& procedure, const std::string& message,
                                 int16_t number, const std::string& detail) {
  if (failWith != 0) throw VbError(failWith, "log server failed");
  if (project != kProject || !detail.empty()) ++malformed;
  records.push_back({module, procedure, message, number});
}

void RecordingErrorLog::ComponentStarted(const std::string& component) {
  lifecycle.push_back("ComponentStarted " + component);
}

void RecordingErrorLog::ComponentEnded(const std::string& component) {
  lifecycle.push_back("ComponentEnded " + component);
}

void RecordingErrorLog::ObjectCreated(const std::string& project, const std::string& className) {
  lifecycle.push_back("ObjectCreated " + project + " " + className);
}

void RecordingErrorLog::ObjectDestroyed(const std::string& project, const std::string& className) {
  lifecycle.push_back("ObjectDestroyed " + project + " " + className);
}

std::vector<std::string> RecordingErrorLog::Messages() const {
  std::vector<std::string> out;
  out.reserve(records.size());
  for (const auto& r : records)
    out.push_back(r.message);
  return out;
}

}  // namespace vellix::test
