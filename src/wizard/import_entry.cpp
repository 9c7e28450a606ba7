#include "wizard/import_entry.h"

#include "foundation/error_log.h"
#include "foundation/frame.h"

namespace vellix {

namespace {
constexpr const char* kModule = "ImportEntry";
}  // namespace

ImportEntry::ImportEntry(Context& ctx) : ctx_(ctx) {
  Frame frame(ctx_, kModule, "Class_Initialize");
  frame.Run([&] { ctx_.errorLog->ObjectCreated(kProject, kModule); });
}

ImportEntry::~ImportEntry() {
  Frame frame(ctx_, kModule, "Class_Terminate");
  // Nothing may leave a destructor, a failing log included.
  frame.PassOverErrors = true;
  frame.Run([&] { ctx_.errorLog->ObjectDestroyed(kProject, kModule); });
}

}  // namespace vellix
