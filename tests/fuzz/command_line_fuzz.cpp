// The command line (one argument a field): it is taken or refused with a
// message, and every value taken is an argument as the user typed it, byte
// for byte, or the part of one after its '='.
#include <algorithm>

#include "app/app_options.h"
#include "fuzz/fuzz_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vellix::fuzz::Check;
  const auto args = size == 0 ? std::vector<std::string>()
                              : vellix::fuzz::Fields(vellix::fuzz::Text(data, size), 0);
  vellix::app::AppOptions options;
  std::string error;
  if (!vellix::app::ParseOptions(args, options, error)) {
    Check(error.ends_with(" Try --help."), "a command line refused without a message", error);
    return 0;
  }
  Check(error.empty(), "a command line taken with a message", error);
  const auto typed = [&](const std::string& value) {
    return std::ranges::any_of(args, [&](const std::string& arg) {
      const size_t equals = arg.find('=');
      return arg == value || (equals != std::string::npos && arg.substr(equals + 1) == value);
    });
  };
  for (const std::string* value : {&options.dataDir, &options.profile, &options.screenshot,
                                   &options.exportStore, &options.exportTo})
    Check(value->empty() || typed(*value), "a value that was not typed", *value);
  return 0;
}
