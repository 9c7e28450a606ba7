#include "support/scripted_browser.h"

namespace vellix::test {

ExecutableLookup ScriptedBrowser::FindExecutable(const std::string& file) {
  page = file;
  pageText = readPage ? readPage(file) : std::string();
  if (findResult <= 32) return {findResult, ""};
  return {findResult, "  web-browser  "};
}

int32_t ScriptedBrowser::ShellExecute(const std::string& program, const std::string& parameters) {
  opened.push_back(program + " " + parameters);
  return executeResult;
}

}  // namespace vellix::test
