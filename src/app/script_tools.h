#pragma once

#include <filesystem>
#include <functional>
#include <string>

class QObject;
class QWidget;

namespace vellix {
class Form;
}  // namespace vellix

namespace vellix::app {

// What the screenshot run hands the script of each window it pictures.
struct ScriptTools {
  // Writes the window's picture; false (with a note) when it could not.
  std::function<bool(const Form&, const std::string&)> shot;
  // The same for a window of the view's own (the mail folder dialog).
  std::function<bool(QWidget&, const std::string&)> shotWindow;
  std::function<void(std::string)> note;
  // What the run is at, for the watchdog's message.
  std::function<void(std::string)> step;
  // The file system path of a path text of the logic.
  std::function<std::filesystem::path(const std::string&)> toNative;
};

// How long the whole run may take before it counts as stuck, in ms: two
// minutes, or VELLIX_SCREENSHOT_WATCHDOG_MS for a run under a memory checker,
// many times slower.
int WatchdogMs();
// How many times slower than a plain run this one is taken to be: every wait
// of the scripts is stretched by it, so a slow run still sees each pass and
// each backup end.
int WaitScale();

// Polls every `everyMs` until `ready` holds, or `limit` polls (times the
// wait scale) have passed (noted as given up), then calls `next`; the polls
// stop with `owner`.
void WaitFor(QObject* owner, const ScriptTools& tools, const std::string& what, int limit,
             int everyMs, std::function<bool()> ready, std::function<void()> next, int polls = 0);

}  // namespace vellix::app
