#include "app/app_options.h"

namespace vellix::app {

namespace {

// The option's value: the next argument, or the part after '=' in
// "--name=value".
bool TakeValue(const std::vector<std::string>& args, size_t& i, const std::string& name,
               const std::string& inlineValue, bool hasInline, std::string& out,
               std::string& error) {
  if (hasInline) {
    out = inlineValue;
  } else if (i + 1 < args.size() && args[i + 1].rfind("--", 0) != 0) {
    // An option that follows is never taken for the value.
    out = args[++i];
  } else {
    error = "Option " + name + " needs a value.";
    return false;
  }
  if (out.empty()) {
    error = "Option " + name + " needs a value.";
    return false;
  }
  return true;
}

}  // namespace

bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error) {
  for (size_t i = 0; i < args.size(); ++i) {
    std::string name = args[i];
    std::string inlineValue;
    bool hasInline = false;
    if (name.rfind("--", 0) == 0) {
      if (auto eq = name.find('='); eq != std::string::npos) {
        inlineValue = name.substr(eq + 1);
        name = name.substr(0, eq);
        hasInline = true;
      }
    }
    auto flag = [&](bool& target) {
      if (hasInline) {
        error = "Option " + name + " takes no value.";
        return false;
      }
      target = true;
      return true;
    };
    bool ok = true;
    if (name == "--help" || name == "-h") {
      ok = flag(options.help);
    } else if (name == "--version") {
      ok = flag(options.version);
    } else if (name == "--quit-after-first-paint") {
      ok = flag(options.quitAfterFirstPaint);
    } else if (name == "--data-dir") {
      ok = TakeValue(args, i, name, inlineValue, hasInline, options.dataDir, error);
    } else if (name == "--profile") {
      ok = TakeValue(args, i, name, inlineValue, hasInline, options.profile, error);
    } else if (name == "--screenshot") {
      ok = TakeValue(args, i, name, inlineValue, hasInline, options.screenshot, error);
    } else {
      error = "Unknown option " + args[i] + ". Try --help.";
      ok = false;
    }
    if (!ok) return false;
  }
  return true;
}

std::string UsageText() {
  return "Usage: vellix-control [options]\n"
         "\n"
         "The control panel of the Vellix mail archiving engine.\n"
         "\n"
         "Options:\n"
         "  --help                    Show this text and exit.\n"
         "  --version                 Show the version and exit.\n"
         "  --data-dir DIR            Keep settings and logs below DIR instead of the XDG\n"
         "                            folders (config/, state/, and drives/ for drive paths).\n"
         "  --profile FILE            The mail profile to use (default: profiles/demo.xml\n"
         "                            beside the executable).\n"
         "  --screenshot DIR          Run a scripted first start on a fresh data folder,\n"
         "                            write PNGs of the windows shown to DIR and exit.\n"
         "  --quit-after-first-paint  Exit as soon as the first window has been painted.\n";
}

}  // namespace vellix::app
