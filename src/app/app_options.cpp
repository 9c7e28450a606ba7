#include "app/app_options.h"

#include <algorithm>
#include <array>
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
  std::string AppOptions::*target;
};

const std::array<ValueOption, 4> kValueOptions = {{
    {"data-dir", &AppOptions::dataDir},
    {"profile", &AppOptions::profile},
    {"screenshot", &AppOptions::screenshot},
    {"export-store", &AppOptions::exportStore},
}};

struct FlagOption {
  const char* name;
  bool AppOptions::*target;
};

const std::array<FlagOption, 5> kFlagOptions = {{
    {"h", &AppOptions::help},
    {"help", &AppOptions::help},
    {"v", &AppOptions::version},
    {"version", &AppOptions::version},
    {"quit-after-first-paint", &AppOptions::quitAfterFirstPaint},
}};

bool Refuse(std::string& error, const std::string& what) {
  error = what + " Try --help.";
  return false;
}

}  // namespace

// Values are kept byte for byte: a folder's name need not be UTF-8.
bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error) {
  AppOptions parsed;
  std::vector<std::string> positional;
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
      positional.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    // A single dash names a long option too ("-data-dir").
    const size_t equals = arg.find('=');
    const std::string spelt = arg.substr(0, equals);
    const std::string name = spelt.substr(spelt.starts_with("--") ? 2 : 1);
    const auto* const flag =
        std::ranges::find_if(kFlagOptions, [&](const FlagOption& o) { return name == o.name; });
    if (flag != kFlagOptions.end()) {
      if (equals != std::string::npos)
        return Refuse(error, "Unexpected value after '" + spelt + "'.");
      parsed.*flag->target = true;
      continue;
    }
    const auto* const value =
        std::ranges::find_if(kValueOptions, [&](const ValueOption& o) { return name == o.name; });
    if (value == kValueOptions.end()) return Refuse(error, "Unknown option '" + name + "'.");
    std::string text;
    if (equals != std::string::npos) {
      text = arg.substr(equals + 1);
    } else if (i + 1 < args.size() && !args[i + 1].starts_with('-')) {
      // An option that follows is never taken for the missing value.
      text = args[++i];
    }
    if (text.empty()) return Refuse(error, "Missing value after '" + spelt + "'.");
    parsed.*value->target = text;
  }
  // The mbox file is the one argument that stands on its own, after the store.
  auto extra = positional.begin();
  if (!parsed.exportStore.empty()) {
    if (extra == positional.end())
      return Refuse(error, "Missing the mbox file after '--export-store STORE'.");
    parsed.exportTo = *extra++;
  }
  if (extra != positional.end()) return Refuse(error, "Unexpected argument '" + *extra + "'.");
  options = parsed;
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
         "                            among the program's files), or a Maildir folder,\n"
         "                            read and never changed.\n"
         "  --screenshot DIR          Run a scripted first start on a fresh data folder,\n"
         "                            write PNGs of the windows shown to DIR and exit.\n"
         "  --quit-after-first-paint  Exit as soon as the first window has been painted.\n"
         "  --export-store STORE OUT  Write the messages of the period store STORE to the\n"
         "                            mbox file OUT and exit, without opening a window.\n"
         "\n"
         "A value may follow its option as the next argument or after '=' (--data-dir=DIR).\n";
}

}  // namespace vellix::app
