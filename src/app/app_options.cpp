#include "app/app_options.h"

#include <QCommandLineParser>
#include <QStringList>
#include <cstdio>
#include <filesystem>

#include "foundation/vb_error.h"
#include "platform/outlook/maildir_profile.h"
#include "platform/outlook/profile_xml.h"
#include "servers/engine/store_export.h"

namespace vellix::app {

namespace {

struct ValueOption {
  const char* name;
  const char* valueName;
  std::string AppOptions::*target;
};

const ValueOption kValueOptions[] = {
    {"data-dir", "DIR", &AppOptions::dataDir},
    {"profile", "FILE", &AppOptions::profile},
    {"screenshot", "DIR", &AppOptions::screenshot},
    {"export-store", "STORE", &AppOptions::exportStore},
};

std::string Missing(const std::string& option) {
  return "Missing value after '" + option + "'.";
}

}  // namespace

bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error) {
  QCommandLineParser parser;
  parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
  const QCommandLineOption help({"h", "help"}, "");
  const QCommandLineOption version({"v", "version"}, "");
  const QCommandLineOption quit("quit-after-first-paint", "");
  parser.addOptions({help, version, quit});
  for (const auto& o : kValueOptions)
    parser.addOption(QCommandLineOption(o.name, "", o.valueName));

  QStringList arguments{"vellix-control"};
  for (size_t i = 0; i < args.size(); ++i) {
    // Qt would take an option that follows for the missing value.
    for (const auto& o : kValueOptions) {
      const std::string spelt = std::string("--") + o.name;
      if (args[i] == spelt && (i + 1 == args.size() || args[i + 1].rfind('-', 0) == 0)) {
        error = Missing(spelt) + " Try --help.";
        return false;
      }
    }
    arguments << QString::fromStdString(args[i]);
  }
  if (!parser.parse(arguments)) {
    error = parser.errorText().toStdString() + " Try --help.";
    return false;
  }
  // The mbox file is the one argument that stands on its own, after the store.
  QStringList extra = parser.positionalArguments();
  if (parser.isSet("export-store")) {
    if (extra.isEmpty()) {
      error = "Missing the mbox file after '--export-store STORE'. Try --help.";
      return false;
    }
    options.exportTo = extra.takeFirst().toStdString();
  }
  if (!extra.isEmpty()) {
    error = "Unexpected argument '" + extra.front().toStdString() + "'. Try --help.";
    return false;
  }
  options.help = parser.isSet(help);
  options.version = parser.isSet(version);
  options.quitAfterFirstPaint = parser.isSet(quit);
  for (const auto& o : kValueOptions) {
    if (!parser.isSet(o.name)) continue;
    options.*o.target = parser.value(o.name).toStdString();
    if ((options.*o.target).empty()) {
      error = Missing(std::string("--") + o.name) + " Try --help.";
      return false;
    }
  }
  return true;
}

bool CheckProfile(const std::string& file, std::string& error) {
  // A Maildir tree is only looked over here: its messages are read once, when
  // the profile is first used.
  std::error_code ec;
  if (std::filesystem::is_directory(file, ec)) {
    error = outlook::MaildirProblem(file);
    return error.empty();
  }
  const outlook::ProfileLoad load = outlook::LoadProfileFile(file);
  if (load.profile) return true;
  error = load.problem;  // it names the file
  return false;
}

int RunStoreExport(const std::string& store, const std::string& mbox) {
  try {
    const int64_t count = engine::ExportStoreToMbox(store, mbox);
    std::printf("Exported %lld message%s from %s to %s\n", static_cast<long long>(count),
                count == 1 ? "" : "s", store.c_str(), mbox.c_str());
    return 0;
  } catch (const VbError& e) {
    std::fprintf(stderr, "vellix-control: %s\n", e.Description().c_str());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vellix-control: the export failed: %s\n", e.what());
  }
  return 2;
}

std::string UsageText() {
  return "Usage: vellix-control [options]\n"
         "\n"
         "The control panel of the Vellix mail archiving engine.\n"
         "\n"
         "Options:\n"
         "  -h, --help                Show this text and exit.\n"
         "  -v, --version             Show the version and exit.\n"
         "  --data-dir DIR            Keep settings and logs below DIR instead of the XDG\n"
         "                            folders (config/, state/, and drives/ for drive paths).\n"
         "  --profile FILE            The mail profile to use (default: profiles/demo.xml\n"
         "                            beside the executable), or a Maildir folder, read\n"
         "                            and never changed.\n"
         "  --screenshot DIR          Run a scripted first start on a fresh data folder,\n"
         "                            write PNGs of the windows shown to DIR and exit.\n"
         "  --quit-after-first-paint  Exit as soon as the first window has been painted.\n"
         "  --export-store STORE OUT  Write the messages of the period store STORE to the\n"
         "                            mbox file OUT and exit, without opening a window.\n"
         "\n"
         "A value may follow its option as the next argument or after '=' (--data-dir=DIR).\n";
}

}  // namespace vellix::app
