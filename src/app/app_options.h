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
// for the user when an option is unknown, lacks its value or has one it
// doesn't take.
bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error);

// Whether the mail profile file can be read; false with a message naming it.
bool CheckProfile(const std::string& file, std::string& error);

// The text of --help.
std::string UsageText();

}  // namespace vellix::app
