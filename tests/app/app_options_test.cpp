#include "app/app_options.h"

#include <gtest/gtest.h>

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
}

TEST(CommandLine, AMistypedOptionOrAMissingValueIsRefusedWithAMessage) {
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  const Case cases[] = {
      {{"--data-directory", "x"}, "Unknown option --data-directory"},
      {{"--data-dir"}, "--data-dir needs a value"},
      // An option that follows is never taken for the missing value.
      {{"--data-dir", "--help"}, "--data-dir needs a value"},
      {{"--profile="}, "--profile needs a value"},
      {{"--version=2"}, "--version takes no value"},
      {{"somefile"}, "Unknown option somefile"},
  };
  for (const auto& c : cases) {
    AppOptions options;
    std::string error;
    EXPECT_FALSE(ParseOptions(c.args, options, error)) << c.args[0];
    EXPECT_NE(error.find(c.says), std::string::npos) << error;
  }
}

}  // namespace
}  // namespace vellix::app
