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

// What the application hands the control library once, before start-up:
// where time and windows come from, how the other programs are reached, and
// the desktop. It never changes while the process runs. A service left
// nothing (only tests do that) raises error 91 when it is used.
struct Services {
  const Clock& clock;
  UiHost* host = nullptr;
  ServerFactory* servers = nullptr;
  MailProgram* mailProgram = nullptr;
  DesktopShell* shell = nullptr;
  FileSystem* fileSystem = nullptr;
  WebBrowser* browser = nullptr;
  // The folder of the executable, where the icons and the boot file lie.
  std::string exeFolder{};
  // The folder the user's data lives in (settings, logs, files the panel
  // writes); the executable's folder can't be written by an installed program.
  std::string dataFolder{};
  Locale locale = Locale::English();
  // The screen's twips per pixel, from the screen's density.
  int32_t twipsPerPixelX = 15;
};

// The process-wide values of the design, in one object handed to every form
// and helper: the fixed services, and what start-up attaches and Form_Unload
// releases (the servers' objects and the formats read from the tree).
struct Context {
  explicit Context(const Services& servicesIn) : services(servicesIn) {}

  const Services& services;

  Ref<ErrorConnector> errorConnector;
  Ref<ErrorLog> errorLog;
  Ref<ConfigConnector> configConnector;
  Ref<ConfigNode> rootNode;
  Ref<EngineConnector> engineConnector;
  Ref<VellixEngine> engine;

  std::string externalDateFormat;
  std::string externalTimeFormat;
  std::string externalDateTimeFormat;
  int32_t backColor = 0;

  [[nodiscard]] Date Now() const { return services.clock.Now(); }
  [[nodiscard]] const Locale& locale() const { return services.locale; }
  [[nodiscard]] UiHost& Host() const { return Need(services.host); }
  [[nodiscard]] ServerFactory& Servers() const { return Need(services.servers); }
  [[nodiscard]] MailProgram& Mail() const { return Need(services.mailProgram); }
  [[nodiscard]] DesktopShell& Shell() const { return Need(services.shell); }
  [[nodiscard]] FileSystem& Files() const { return Need(services.fileSystem); }
  [[nodiscard]] WebBrowser& Browser() const { return Need(services.browser); }
};

}  // namespace vellix
