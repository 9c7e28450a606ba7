#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"
#include "foundation/format.h"
#include "foundation/ref.h"

namespace vellix {

class ErrorConnector;
class ErrorLog;
class ConfigConnector;
class ConfigNode;
class UiHost;

// The process-wide values of the design, in one object handed to every form
// and helper: the servers' objects, the formats read at start-up, and where
// time and windows come from.
struct Context {
  Context(const Clock& clockIn, UiHost& hostIn) : clock(&clockIn), host(&hostIn) {}

  Ref<ErrorConnector> errorConnector;
  Ref<ErrorLog> errorLog;
  Ref<ConfigConnector> configConnector;
  Ref<ConfigNode> rootNode;

  std::string externalDateFormat;
  std::string externalTimeFormat;
  std::string externalDateTimeFormat;
  int32_t backColor = 0;

  Locale locale = Locale::English();
  const Clock* clock;
  UiHost* host;
  // The folder of the executable, where the icons and the boot file lie.
  std::string exeFolder;

  [[nodiscard]] Date Now() const { return clock->Now(); }
};

}  // namespace vellix
