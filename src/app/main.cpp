#include <QApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QWidget>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "app/app_options.h"
#include "app/app_servers.h"
#include "app/first_paint_watch.h"
#include "app/first_run_script.h"
#include "app/resource_folder.h"
#include "app/single_instance.h"
#include "backup/frm_backup_manager.h"
#include "dialogs/frm_about.h"
#include "dialogs/frm_attach_period.h"
#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "dialogs/frm_recover.h"
#include "foundation/context.h"
#include "foundation/control_startup.h"
#include "foundation/date.h"
#include "foundation/format.h"
#include "platform/desktop/environment.h"
#include "platform/desktop/path_mapping.h"
#include "platform/desktop/posix_file_system.h"
#include "platform/desktop/stop_signals.h"
#include "platform/desktop/xdg_shell.h"
#include "platform/outlook/mail_outbox.h"
#include "platform/outlook/profile_mail_program.h"
#include "platform/outlook/xdg_email.h"
#include "servers/common/private_files.h"
#include "servers/config/data_paths.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "shell/frm_icon_timer.h"
#include "shell/frm_popup.h"
#include "view/qt/mail_explorer_window.h"
#include "view/qt/panel_style.h"
#include "view/qt/qt_host.h"
#include "view/qt/qt_tray.h"
#include "view/qt/qt_web_browser.h"

namespace fs = std::filesystem;
using namespace vellix;

namespace {

// Where the drive letters of the logic's paths lie: the data folder given,
// or the XDG data folder.
fs::path DrivesRoot(const std::string& dataDir) {
  if (!dataDir.empty()) {
    std::error_code ec;
    auto absolute = fs::absolute(dataDir, ec);
    return ec ? fs::path(dataDir) : absolute;
  }
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && fs::path(xdg).is_absolute())
    return fs::path(xdg) / "vellix";
  const char* home = std::getenv("HOME");
  return fs::path(home && *home ? home : "/tmp") / ".local" / "share" / "vellix";
}

void PrintFirstPaint() {
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(
                      std::chrono::system_clock::now().time_since_epoch())
                      .count();
  std::printf("first-paint-ns %lld\n", static_cast<long long>(ns));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  app::AppOptions options;
  std::string error;
  if (!app::ParseOptions(std::vector<std::string>(argv + 1, argv + argc), options, error)) {
    std::fprintf(stderr, "vellix-control: %s\n", error.c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(app::UsageText().c_str(), stdout);
    return 0;
  }
  if (options.version) {
    std::printf("vellix-control %s\n", VELLIX_VERSION);
    return 0;
  }
  if (!options.exportStore.empty())
    return app::RunStoreExport(options.exportStore, options.exportTo);
  if (!options.profile.empty() && !app::CheckProfile(options.profile, error)) {
    std::fprintf(stderr, "vellix-control: %s\n", error.c_str());
    return 2;
  }

  QApplication application(argc, argv);
  qtview::InstallPanelLook();
  QApplication::setApplicationName("Vellix Control");
  QApplication::setApplicationVersion(VELLIX_VERSION);
  // Lets the desktop match the windows to the menu entry and its icon.
  QApplication::setDesktopFileName("com.vellix.control");
  // The panel lives in the tray: a closed window doesn't end it, the last
  // form unloaded does.
  QApplication::setQuitOnLastWindowClosed(false);
  // The files the panel only reads: beside the executable in a build, in the
  // prefix's share folder once installed. What it writes goes to the data
  // folder.
  const auto resourceFolder =
      app::ResourceFolder(QCoreApplication::applicationDirPath().toStdString(), error);
  if (!resourceFolder) {
    std::fprintf(stderr, "vellix-control: %s\n", error.c_str());
    return 1;
  }
  const fs::path& resources = *resourceFolder;

  // The scripted first start needs a first start: a fresh folder of its own
  // unless one is given.
  std::optional<QTemporaryDir> scratch;
  std::string dataDir = options.dataDir;
  if (!options.screenshot.empty() && dataDir.empty()) {
    scratch.emplace();
    if (!scratch->isValid()) {
      std::fprintf(stderr, "vellix-control: unable to create a temporary data folder\n");
      return 1;
    }
    dataDir = scratch->path().toStdString();
  }
  const DataPaths paths = ResolveDataPaths(dataDir);
  // A folder that can't be made stops the server that needs it, with that
  // server's own start-up message.
  if (!CreateDataFolders(paths, &error))
    std::fprintf(stderr, "vellix-control: %s\n", error.c_str());
  const desktop::PathMapping mapping(DrivesRoot(dataDir));

  app::SingleInstance instance(app::SingleInstance::NameFor(paths.configDir));
  if (instance.AskRunningToShow()) {
    std::printf("Vellix Control is already running; its window has been brought up.\n");
    return 0;
  }

  qtview::QtHost host;
  host.SetTitle("Vellix Control");
  host.SetIconFolder(resources.string());

  SystemClock clock;
  const fs::path profile =
      options.profile.empty() ? resources / "profiles" / "demo.xml" : fs::path(options.profile);
  outlook::ProfileMailProgram mail(profile, [](const std::string& problem) {
    std::fprintf(stderr, "vellix-control: mail profile: %s\n", problem.c_str());
  });
  mail.ChooseFoldersWith([&host](NameSpace& nameSpace) { return host.PickMailFolder(nameSpace); });
  mail.ShowExplorersWith([](outlook::ExplorerView view) {
    qtview::MailExplorerWindow::Open(view.nameSpace, view.start, std::move(view.switchTo),
                                     std::move(view.closed));
  });
  // Files the panel writes go to the data folder; the mail it sends lies in
  // its outbox, and the desktop's mail program gets it where there is one.
  const fs::path dataFolder = mapping.DataRoot();
  std::error_code dataError;
  servers::CreatePrivateFolders(dataFolder, dataError);
  auto outbox = std::make_shared<outlook::MailOutbox>(dataFolder / "outbox");
  outbox->ConfirmSendWith([&host](const std::string& text) {
    return host.MsgBox(text, MsgButtons::YesNo, "") == MsgResult::Yes;
  });
  outbox->HandOverWith(outlook::XdgEmailHandOver(desktop::ProcessEnvironment()));
  outbox->MapFilesWith([mapping](const std::string& path) { return mapping.ToNative(path); });
  mail.SendMailWith(outbox);
  desktop::XdgShell shell(
      mapping, [&host](const std::string& title, const fs::path& start) -> std::optional<fs::path> {
        auto chosen = host.BrowseForFolder(title, start.string());
        if (!chosen) return std::nullopt;
        return fs::path(*chosen);
      });
  desktop::PosixFileSystem files(mapping);
  qtview::QtWebBrowser browser(
      [mapping](const std::string& path) { return mapping.ToNative(path).string(); });
  app::AppServers servers(paths, resources / "CommonFormat.xml", mapping, clock, host);
  // The engine's passes run on a worker of their own; their events and their
  // use of the mail profile come back to this thread through the host.
  const auto post = [&host](std::function<void()> fn) { host.Post(std::move(fn)); };
  const auto mailProfile = [&mail] {
    // The profile is read on first use. Only then: creating the application
    // starts a mail program that has quit, and asking whether a store is free
    // must not undo the backup manager's Close Outlook.
    if (!mail.Profile()) mail.CreateApplication();
    return mail.Profile();
  };
  servers.makeProcessingHooks = [post, &servers] {
    engine::ProcessorOptions work;
    work.post = post;
    // The passes see the profile with the stores listed, as the user does.
    work.profile = [&servers] {
      const auto& engine = servers.Engine();
      return engine ? engine->ShownProfile() : nullptr;
    };
    return std::make_unique<engine::Processor>(std::move(work));
  };
  // The period stores show in the mail profile, which lives on this thread.
  servers.engineMade = [post, mailProfile](engine::EngineServer& engine) {
    engine.ShowStoresIn(mailProfile, post);
  };
  const Services services{
      .clock = clock,
      .host = &host,
      .servers = &servers,
      .mailProgram = &mail,
      .shell = &shell,
      .fileSystem = &files,
      .browser = &browser,
      .exeFolder = resources.string(),  // the boot configuration and the pictures
      .dataFolder = dataFolder.string(),
      .locale = Locale::FromEnvironment(),
      .twipsPerPixelX = static_cast<int32_t>(std::lround(host.TwipsPerPixel()))};
  Context ctx(services);

  qtview::QtTray tray(
      host, [mapping](const std::string& path) { return mapping.ToNative(path).string(); });
  FrmIconTimer iconTimer(host);
  FrmPredictiveStart predictiveStart(ctx, host);
  FrmPurgeNotice purgeNotice(ctx, host);
  // Made when first opened, so that a start pays nothing for it; the
  // screenshot run drives it and has it made at once.
  std::unique_ptr<FrmBackupManager> backupManager;
  auto makeBackupManager = [&ctx, &host, &backupManager] {
    if (!backupManager) backupManager = std::make_unique<FrmBackupManager>(ctx, host);
    return backupManager.get();
  };
  if (!options.screenshot.empty()) makeBackupManager();
  // Quick setup's recover dialog, likewise made when first opened.
  std::unique_ptr<FrmRecover> recover;
  auto makeRecover = [&ctx, &host, &recover] {
    if (!recover) recover = std::make_unique<FrmRecover>(ctx, host);
    return recover.get();
  };
  std::unique_ptr<FrmAttachPeriod> attachPeriod;
  auto makeAttachPeriod = [&ctx, &host, &attachPeriod] {
    if (!attachPeriod) attachPeriod = std::make_unique<FrmAttachPeriod>(ctx, host);
    return attachPeriod.get();
  };
  if (!options.screenshot.empty()) makeAttachPeriod();
  // The About box too is made when the tray menu first opens it.
  std::unique_ptr<FrmAbout> about;
  auto makeAbout = [&ctx, &host, &about] {
    if (!about) about = std::make_unique<FrmAbout>(ctx, host);
    return about.get();
  };
  FrmPopup popup(ctx, tray,
                 PopupForms{iconTimer, &predictiveStart, nullptr, backupManager.get(), &purgeNotice,
                            makeBackupManager, nullptr, makeRecover, attachPeriod.get(),
                            makeAttachPeriod, makeAbout});

  std::unique_ptr<app::FirstRunScript> script;
  if (!options.screenshot.empty()) {
    script = std::make_unique<app::FirstRunScript>(host, popup, predictiveStart, *backupManager,
                                                   fs::absolute(options.screenshot),
                                                   mapping.DataRoot() / "Backups");
    script->toNative = [mapping](const std::string& path) { return mapping.ToNative(path); };
    if (!script->Prepare(error)) {
      std::fprintf(stderr, "vellix-control: %s\n", error.c_str());
      return 1;
    }
    tray.pictureShown = [&script, &tray](const std::string& picture) {
      script->TrayPicture(picture, tray.Icon().icon());
    };
    servers.backupServerMade = [&script](const auto& copier) { script->BackupCopierMade(copier); };
  }
  app::FirstPaintWatch firstPaint;
  firstPaint.OnFirstPaint = [] {
    PrintFirstPaint();
    QCoreApplication::exit(0);
  };
  host.OnFormShown = [&](Form& form, QWidget& window) {
    if (options.quitAfterFirstPaint) firstPaint.Watch(window);
    if (script) script->FormShown(form, window);
  };
  host.OnLastFormUnloaded = [] { QCoreApplication::quit(); };

  // A later start asks this one to show its window; it comes up as the
  // tray menu's View would bring it.
  if (!instance.Listen([&host, &popup] { host.Post([&popup] { popup.mPopView_Click(); }); },
                       error)) {
    std::fprintf(stderr, "vellix-control: %s; a second start won't find this one\n", error.c_str());
  }

  // SIGTERM, SIGINT and the desktop session's end close the panel as the
  // tray's Exit does, answering any modal window as its close box would.
  desktop::StopSignals stopSignals;
  std::optional<QSocketNotifier> stopNotifier;
  if (stopSignals.Descriptor() >= 0) {
    stopNotifier.emplace(stopSignals.Descriptor(), QSocketNotifier::Read);
    QObject::connect(&*stopNotifier, &QSocketNotifier::activated, [&stopSignals, &popup] {
      if (stopSignals.Take() != 0) popup.EndSession();
    });
  }
  QObject::connect(&application, &QGuiApplication::commitDataRequest,
                   [&popup](QSessionManager& /*manager*/) { popup.EndSession(); });

  ControlStartup::Main(ctx, popup);
  if (!host.AnyFormLoaded()) {
    if (const std::string why = servers.WhyUnreachable(); !why.empty()) {
      std::fprintf(stderr, "vellix-control: the control panel could not start: %s\n", why.c_str());
    } else {
      std::fprintf(stderr,
                   "vellix-control: the control panel could not start; see the error log %s\n",
                   paths.ErrorLogFile().string().c_str());
    }
    return 1;
  }
  tray.AttachForm(popup);
  if (script) script->Start();
  const int code = QApplication::exec();
  // The forms outlive the script and the watch; nothing may call them now.
  host.OnFormShown = nullptr;
  return script ? script->ExitCode() : code;
}
