#pragma once

#include <string>
#include <vector>

namespace vellix::app {

// What the command line asked for.
struct AppOptions {
  bool help = false;
  bool version = false;
  std::string dataDir;     // empty: the XDG folders
  std::string profile;     // empty: the demo profile among the program's files
  std::string screenshot;  // empty: a normal run
  bool quitAfterFirstPaint = false;
  // --export-store STORE OUT: write a period store to an mbox file and exit.
  std::string exportStore;
  std::string exportTo;
};

// Reads the arguments after the program's name. Returns false with a message
// for the user when an option is unknown, lacks its value or has one it
// doesn't take.
bool ParseOptions(const std::vector<std::string>& args, AppOptions& options, std::string& error);

// Whether the mail profile file can be read; false with a message naming it.
bool CheckProfile(const std::string& file, std::string& error);

// Writes the store to the mbox file, says how many messages went to standard
// output, and gives the exit status: 0, or 2 with a message on standard error
// when the store can't be read or the file can't be written.
int RunStoreExport(const std::string& store, const std::string& mbox);

// The text of --help.
std::string UsageText();

}  // namespace vellix::app
