#pragma once

#include <sys/types.h>

#include <string>

#include "foundation/desktop.h"
#include "platform/desktop/environment.h"
#include "platform/desktop/path_mapping.h"

namespace vellix::desktop {

// The program that opens web pages on a free desktop: the first entry of
// $BROWSER when it names a program, else the first of xdg-open,
// sensible-browser and x-www-browser found on PATH. It is started directly
// with posix_spawn, the address as its one argument: no shell ever sees the
// address, so blanks, quotes, ";" or "$(...)" in it stay plain text.
class XdgWebBrowser : public WebBrowser {
 public:
  explicit XdgWebBrowser(PathMapping mapping, EnvLookup env = ProcessEnvironment());

  // The file is a path text of the logic; a file that isn't there gives 2,
  // no program 31.
  ExecutableLookup FindExecutable(const std::string& file) override;
  // Starts the program (a path, or a name looked for on PATH) with the
  // parameters as one argument, none when they are empty. Its input is
  // /dev/null and it gets its own process group, so a signal meant for the
  // panel doesn't reach it. It is reaped on a thread of its own, so the
  // caller never waits. 2 when there is no such program, 5 when it may not
  // be run, 0 when it couldn't be started otherwise.
  int32_t ShellExecute(const std::string& program, const std::string& parameters) override;

  // The process started last, 0 before any.
  [[nodiscard]] pid_t LastProcessId() const { return lastProcess_; }

 private:
  PathMapping mapping_;
  EnvLookup env_;
  pid_t lastProcess_ = 0;
};

}  // namespace vellix::desktop
