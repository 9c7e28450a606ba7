#include "app/script_tools.h"

#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace vellix::app {

namespace {
constexpr int kWatchdogMs = 120000;
}  // namespace

int WatchdogMs() {
  // Nothing in the program sets the environment.
  const char* text = std::getenv("VELLIX_SCREENSHOT_WATCHDOG_MS");  // NOLINT(concurrency-mt-unsafe)
  const long ms = text == nullptr ? 0 : std::strtol(text, nullptr, 10);
  return ms > 0 && ms <= std::numeric_limits<int>::max() ? static_cast<int>(ms) : kWatchdogMs;
}

int WaitScale() {
  return std::max(1, WatchdogMs() / kWatchdogMs);
}

void WaitFor(QObject* owner, const ScriptTools& tools, const std::string& what, int limit,
             int everyMs, std::function<bool()> ready, std::function<void()> next, int polls) {
  tools.step(what);
  if (!ready() && polls < limit * WaitScale()) {
    QTimer::singleShot(everyMs, owner,
                       [owner, &tools, what, limit, everyMs, ready = std::move(ready),
                        next = std::move(next), polls]() mutable {
                         WaitFor(owner, tools, what, limit, everyMs, std::move(ready),
                                 std::move(next), polls + 1);
                       });
    return;
  }
  if (polls >= limit * WaitScale()) tools.note("gave up waiting for " + what);
  next();
}

}  // namespace vellix::app
