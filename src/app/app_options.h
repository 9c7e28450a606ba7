#pragma once

#include <string>
#include <vector>

namespace vellix::app {

// What the command line asked for.
struct AppOptions {
  bool help = false;
  bool version = false;
  std::string dataDir;     // empty: the XDG folders
  std::string profile;     // empty: the demo profile beside the executable
  std::string screenshot;  // empty: a normal run
  bool quitAfterFirstPaint = false;
};

// Reads the arguments after the program's name. Returns false with a message
// for the user when an option is unknown or lacks its value.
bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error);

// The text of --help.
std::string UsageText();

}  // namespace vellix::app
