#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"
#include "foundation/format.h"
#include "foundation/ref.h"
#include "foundation/vb_error.h"

namespace vellix {

class ErrorConnector;
class ErrorLog;
class ConfigConnector;
class ConfigNode;
class EngineConnector;
class VellixEngine;
class ServerFactory;
class UiHost;
class MailProgram;
class DesktopShell;
class FileSystem;
class WebBrowser;

// The process-wide values of the design, in one object handed to every form
// and helper: the servers' objects, the formats read at start-up, and where
// time and windows come from.
struct Context {
  explicit Context(const Clock& clockIn, UiHost* hostIn = nullptr)
      : clock(&clockIn), host(hostIn) {}

  Ref<ErrorConnector> errorConnector;
  Ref<ErrorLog> errorLog;
  Ref<ConfigConnector> configConnector;
  Ref<ConfigNode> rootNode;
  Ref<EngineConnector> engineConnector;
  Ref<VellixEngine> engine;
  // How the other programs are reached; set by the application.
  ServerFactory* servers = nullptr;

  std::string externalDateFormat;
  std::string externalTimeFormat;
  std::string externalDateTimeFormat;
  int32_t backColor = 0;

  Locale locale = Locale::English();
  const Clock* clock;
  UiHost* host;  // nothing only in tests that show no window
  // The desktop: the mail program, the shell, the file system and the web
  // browser. Set by the application; nothing only in tests that don't use them.
  MailProgram* mailProgram = nullptr;
  DesktopShell* shell = nullptr;
  FileSystem* fileSystem = nullptr;
  WebBrowser* browser = nullptr;

  // The screen's twips per pixel, set by the view from the screen's density.
  int32_t twipsPerPixelX = 15;
  // The folder of the executable, where the icons and the boot file lie.
  std::string exeFolder;

  [[nodiscard]] Date Now() const { return clock->Now(); }
  // The window system; raises error 91 where there is none.
  [[nodiscard]] UiHost& Host() const {
    if (host == nullptr) throw VbError(err::kObjectNotSet);
    return *host;
  }
};

}  // namespace vellix
