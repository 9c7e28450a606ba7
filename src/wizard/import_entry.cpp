#include "wizard/import_entry.h"

#include "foundation/error_log.h"
#include "foundation/frame.h"

#include <string>

namespace vellix {

namespace {
constexpr const char* kModule = "ImportEntry";
// Made once: a survey makes and ends an entry for every folder it walks.
const std::string& ProjectText() {
  static const std::string text = kProject;
  return text;
}
const std::string& ClassText() {
  static const std::string text = kModule;
  return text;
}
}  // namespace

ImportEntry::ImportEntry(Context& ctx) : ctx_(ctx) {
  Frame frame(ctx_, kModule, "Class_Initialize");
  frame.Run([&] { ctx_.errorLog->ObjectCreated(ProjectText(), ClassText()); });
}

ImportEntry::~ImportEntry() {
  Frame frame(ctx_, kModule, "Class_Terminate");
  // Nothing may leave a destructor, a failing log included.
  frame.PassOverErrors = true;
  frame.Run([&] { ctx_.errorLog->ObjectDestroyed(ProjectText(), ClassText()); });
}

}  // namespace vellix
