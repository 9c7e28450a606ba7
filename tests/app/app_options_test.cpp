#include "app/app_options.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <cstdio>
#include <string>

namespace vellix::app {
namespace {

TEST(CommandLine, OptionsAreReadWithTheirValuesInEitherSpelling) {
  AppOptions options;
  std::string error;
  ASSERT_TRUE(ParseOptions({"--data-dir", "/tmp/v", "--profile=/p/demo.xml", "--screenshot",
                            "shots", "--quit-after-first-paint"},
                           options, error))
      << error;
  EXPECT_EQ(options.dataDir, "/tmp/v");
  EXPECT_EQ(options.profile, "/p/demo.xml");
  EXPECT_EQ(options.screenshot, "shots");
  EXPECT_TRUE(options.quitAfterFirstPaint);
  EXPECT_FALSE(options.help);
  EXPECT_TRUE(ParseOptions({}, options, error));

  AppOptions shortly;
  ASSERT_TRUE(ParseOptions({"-h", "-v"}, shortly, error)) << error;
  EXPECT_TRUE(shortly.help && shortly.version);
}

TEST(CommandLine, AMistypedOptionOrAMissingValueIsRefusedWithAMessage) {
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  const Case cases[] = {
      {{"--data-directory", "x"}, "Unknown option 'data-directory'"},
      {{"-x"}, "Unknown option 'x'"},
      {{"--data-dir"}, "Missing value after '--data-dir'"},
      // An option that follows is never taken for the missing value.
      {{"--data-dir", "--help"}, "Missing value after '--data-dir'"},
      {{"--profile="}, "Missing value after '--profile'"},
      {{"--version=2"}, "Unexpected value after '--version'"},
      {{"somefile"}, "Unexpected argument 'somefile'"},
  };
  for (const auto& c : cases) {
    AppOptions options;
    std::string error;
    EXPECT_FALSE(ParseOptions(c.args, options, error)) << c.args[0];
    EXPECT_NE(error.find(c.says), std::string::npos) << error;
  }
}

// The built program, as a user starts it from a terminal: its exit status
// and what it said on standard error.
std::pair<int, std::string> RunProgram(const std::string& arguments) {
  const std::string command = std::string(VELLIX_APP_EXE) + " " + arguments + " 2>&1";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return {-1, ""};
  std::string output;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe))
    output += buffer;
  const int status = ::pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

TEST(CommandLine, TheProgramEndsWithStatus2AndAMessageOnABadCommandLine) {
  struct Case {
    std::string arguments;
    std::string says;
  };
  const Case cases[] = {
      {"--profile /no/such/file", "/no/such/file"},
      {"--profile " VELLIX_SOURCE_DIR "/README.md", VELLIX_SOURCE_DIR "/README.md"},
      {"--colour", "Unknown option 'colour'"},
  };
  for (const auto& c : cases) {
    const auto [status, output] = RunProgram(c.arguments);
    EXPECT_EQ(status, 2) << c.arguments << ": " << output;
    EXPECT_NE(output.find(c.says), std::string::npos) << output;
  }
  const auto [status, output] = RunProgram("-v");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output, std::string("vellix-control ") + VELLIX_VERSION + "\n");
}

}  // namespace
}  // namespace vellix::app
