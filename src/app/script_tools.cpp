#include "app/script_tools.h"

#include <QTimer>
#include <utility>

namespace vellix::app {

void WaitFor(QObject* owner, const ScriptTools& tools, const std::string& what, int limit,
             int everyMs, std::function<bool()> ready, std::function<void()> next, int polls) {
  tools.step(what);
  if (!ready() && polls < limit) {
    QTimer::singleShot(everyMs, owner,
                       [owner, &tools, what, limit, everyMs, ready = std::move(ready),
                        next = std::move(next), polls]() mutable {
                         WaitFor(owner, tools, what, limit, everyMs, std::move(ready),
                                 std::move(next), polls + 1);
                       });
    return;
  }
  if (polls >= limit) tools.note("gave up waiting for " + what);
  next();
}

}  // namespace vellix::app
