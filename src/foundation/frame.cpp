#include "foundation/frame.h"

#include "foundation/error_log.h"
#include "foundation/runtime.h"

namespace vellix {

void Frame::End(const std::optional<VbError>& pending) {
  // With no log every statement below would fail on nothing: all are skipped.
  if (ctx_.errorLog.IsNothing()) return;
  const bool passOver = PassOverErrors;
  auto step = [passOver](auto&& statement) {
    if (!passOver) {
      statement();
      return;
    }
    try {
      statement();
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): passed over on purpose
    }
  };

  if (!ErrorText.empty()) {
    step([&] {
      ctx_.errorLog->LogEvent(kProject, std::string(module_), std::string(procedure_), ErrorText, 0,
                              "");
    });
  }
  // Negative numbers come from servers: neither logged nor cleared here.
  if (pending && pending->Number() > 0) {
    step([&] {
      const int16_t number = CInt(static_cast<int64_t>(pending->Number()));
      ctx_.errorLog->LogEvent(kProject, std::string(module_), std::string(procedure_),
                              pending->Description(), number, "");
    });
  }
}

}  // namespace vellix
