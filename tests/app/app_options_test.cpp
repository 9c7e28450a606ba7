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

  AppOptions plain;
  ASSERT_TRUE(ParseOptions({}, plain, error));
  EXPECT_TRUE(plain.dataDir.empty());
  EXPECT_FALSE(plain.quitAfterFirstPaint);
}

TEST(CommandLine, AMistypedOptionOrAMissingValueIsRefusedWithAMessage) {
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  const Case cases[] = {
      {{"--data-directory", "x"}, "Unknown option --data-directory"},
      {{"--data-dir"}, "--data-dir needs a value"},
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
  // An option that follows is never taken for the missing value.
  AppOptions options;
  std::string error;
  EXPECT_FALSE(ParseOptions({"--data-dir", "--help"}, options, error));
  EXPECT_NE(error.find("--data-dir needs a value"), std::string::npos) << error;
  EXPECT_NE(UsageText().find("--screenshot DIR"), std::string::npos);
}

}  // namespace
}  // namespace vellix::app
