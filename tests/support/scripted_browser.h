#pragma once

#include <functional>
#include <string>
#include <vector>

#include "foundation/desktop.h"

namespace vellix::test {

// A web browser whose two outcomes a test sets: found or not, started or
// not. It notes the page it was asked about, that page's text at that moment,
// and every address it was asked to open.
class ScriptedBrowser : public WebBrowser {
 public:
  ExecutableLookup FindExecutable(const std::string& file) override;
  int32_t ShellExecute(const std::string& program, const std::string& parameters) override;

  int32_t findResult = kShellSuccess;
  int32_t executeResult = kShellSuccess;
  // Reads a page the way the program wrote it: the logic's path text in.
  std::function<std::string(const std::string&)> readPage;

  std::string page;
  std::string pageText;
  std::vector<std::string> opened;
};

}  // namespace vellix::test
