#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>
#include <string>

#include "foundation/desktop.h"

namespace vellix::qtview {

// The program that opens web pages, as the desktop's own settings name it.
// Finding it asks xdg-mime for the handler of web pages; opening an address
// goes through QDesktopServices. The two ways of failing stay apart: no
// handler at all, or a handler that does not start.
class QtWebBrowser : public WebBrowser {
 public:
  // Runs a program with its arguments and gives what it wrote on standard
  // output, or nothing when it could not be run or failed.
  using Runner =
      std::function<std::optional<QString>(const QString& program, const QStringList& arguments)>;
  // Opens an address; false when nothing could be started for it.
  using Opener = std::function<bool(const QUrl&)>;

  // toNativePath maps the logic's path texts onto real files.
  explicit QtWebBrowser(std::function<std::string(const std::string&)> toNativePath,
                        Runner run = RunProgram, Opener open = OpenWithDesktop);

  // The file is a page on disk; a file that isn't there gives 2, no handler
  // for web pages 31. The program found is the handler's desktop entry.
  ExecutableLookup FindExecutable(const std::string& file) override;
  // Opens the address in the parameters with the desktop's handler; the
  // program found before is the desktop's choice already. 0 when nothing
  // started.
  int32_t ShellExecute(const std::string& program, const std::string& parameters) override;

  static std::optional<QString> RunProgram(const QString& program, const QStringList& arguments);
  static bool OpenWithDesktop(const QUrl& url);

 private:
  std::function<std::string(const std::string&)> toNativePath_;
  Runner run_;
  Opener open_;
};

}  // namespace vellix::qtview
