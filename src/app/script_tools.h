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

// Polls every `everyMs` until `ready` holds, or `limit` polls have passed
// (noted as given up), then calls `next`; the polls stop with `owner`.
void WaitFor(QObject* owner, const ScriptTools& tools, const std::string& what, int limit,
             int everyMs, std::function<bool()> ready, std::function<void()> next, int polls = 0);

}  // namespace vellix::app
