#include "view/qt/qt_web_browser.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <utility>

#include "view/qt/control_binding.h"

namespace vellix::qtview {

namespace {

// Long enough for xdg-mime's shell scripts on a slow disk, short enough that
// a hung helper doesn't freeze the panel for long.
constexpr int kQueryTimeoutMs = 5000;

}  // namespace

QtWebBrowser::QtWebBrowser(std::function<std::string(const std::string&)> toNativePath, Runner run,
                           Opener open)
    : toNativePath_(std::move(toNativePath)), run_(std::move(run)), open_(std::move(open)) {}

ExecutableLookup QtWebBrowser::FindExecutable(const std::string& file) {
  const std::string native = toNativePath_ ? toNativePath_(file) : file;
  if (native.empty() || !QFileInfo(Qs(native)).isFile()) return {kShellErrorFileNotFound, {}};
  // Pages first; a desktop that only registered a handler for addresses
  // opens pages with it all the same.
  for (const char* type : {"text/html", "x-scheme-handler/https", "x-scheme-handler/http"}) {
    const std::optional<QString> answer =
        run_(QStringLiteral("xdg-mime"),
             {QStringLiteral("query"), QStringLiteral("default"), QLatin1String(type)});
    const QString handler = answer ? answer->trimmed() : QString();
    if (!handler.isEmpty()) return {kShellSuccess, Std(handler)};
  }
  return {kShellErrorNoAssociation, {}};
}

int32_t QtWebBrowser::ShellExecute(const std::string& /*program*/, const std::string& parameters) {
  const QUrl url = QUrl::fromUserInput(Qs(parameters));
  if (!url.isValid() || url.isEmpty()) return kShellErrorFileNotFound;
  return open_(url) ? kShellSuccess : kShellErrorOutOfResources;
}

std::optional<QString> QtWebBrowser::RunProgram(const QString& program,
                                                const QStringList& arguments) {
  QProcess process;
  process.setStandardInputFile(QProcess::nullDevice());
  process.setStandardErrorFile(QProcess::nullDevice());
  process.start(program, arguments, QIODevice::ReadOnly);
  if (!process.waitForStarted(kQueryTimeoutMs)) return std::nullopt;
  if (!process.waitForFinished(kQueryTimeoutMs)) {
    process.kill();
    process.waitForFinished(kQueryTimeoutMs);
    return std::nullopt;
  }
  if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) return std::nullopt;
  return QString::fromLocal8Bit(process.readAllStandardOutput());
}

bool QtWebBrowser::OpenWithDesktop(const QUrl& url) {
  return QDesktopServices::openUrl(url);
}

}  // namespace vellix::qtview
