#include "app/resource_folder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace vellix::app {
namespace {

namespace fs = std::filesystem;

// The boot configuration marks the folder; the layouts are a build's (beside
// the executable) and an install's (share/vellix-control of the prefix).
TEST(ResourceFolder, ABuildReadsBesideTheProgramAnInstallFromItsSharedFolderElseItSaysWhere) {
  struct Case {
    const char* layout;
    std::vector<std::string> bootFiles;  // relative to the prefix
    std::string chosen;                  // relative to the prefix; "" for none
  };
  const Case cases[] = {
      {"build", {"bin/VellixControlBootConfig.xml"}, "bin"},
      {"install", {"share/vellix-control/VellixControlBootConfig.xml"}, "share/vellix-control"},
      {"both",
       {"bin/VellixControlBootConfig.xml", "share/vellix-control/VellixControlBootConfig.xml"},
       "bin"},
      {"neither", {"share/VellixControlBootConfig.xml", "bin/profiles/demo.xml"}, ""},
  };
  for (const auto& c : cases) {
    const test::TempFolder prefix;
    fs::create_directories(prefix / "bin");
    for (const auto& file : c.bootFiles)
      test::WriteText(prefix / file, "<Componants/>");
    std::string error;
    const auto chosen = ResourceFolder(prefix / "bin", error);
    if (c.chosen.empty()) {
      EXPECT_FALSE(chosen) << c.layout << ": " << chosen->string();
      EXPECT_NE(error.find((prefix / "bin").string() + " nor in " +
                           (prefix / "share" / "vellix-control").string()),
                std::string::npos)
          << error;
    } else {
      EXPECT_EQ(chosen, prefix / c.chosen) << c.layout << ": " << error;
    }
  }
}

// The built program moved to a folder without its files ends at once with
// status 1 and the message, before any window.
TEST(ResourceFolder, AProgramWithoutItsFilesEndsWithStatus1) {
  const test::TempFolder scratch;
  fs::create_directories(scratch / "bin");
  const auto exe = scratch / "bin" / "vellix-control";
  std::error_code ec;
  fs::create_hard_link(VELLIX_APP_EXE, exe, ec);
  if (ec) fs::copy_file(VELLIX_APP_EXE, exe);
  const std::string command = "QT_QPA_PLATFORM=offscreen '" + exe.string() + "' --data-dir '" +
                              (scratch / "data").string() + "' 2>&1";
  FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string output;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe))
    output += buffer;
  const int status = ::pclose(pipe);
  ASSERT_TRUE(WIFEXITED(status)) << output;
  EXPECT_EQ(WEXITSTATUS(status), 1) << output;
  EXPECT_NE(output.find("neither in " + (scratch / "bin").string()), std::string::npos) << output;
}

}  // namespace
}  // namespace vellix::app
