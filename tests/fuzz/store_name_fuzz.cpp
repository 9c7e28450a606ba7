// Store name formats: fields are the format, a reference date, a count, a unit
// word and a moment. A format said to keep its names inside the store folder
// gives no name that leaves it, for any period; a format said acceptable
// gives a name a file can have.
#include <algorithm>

#include "foundation/text.h"
#include "foundation/utils.h"
#include "foundation/vb_error.h"
#include "fuzz/fuzz_driver.h"
#include "servers/engine/period_calendar.h"

namespace {

vellix::Date DateOf(const std::string& field) {
  // Days around the runtime's range (years 100 to 9999), some outside it.
  const int32_t days = vellix::fuzz::Int32Of(field) % 3000000;
  return vellix::Date(days + static_cast<double>(field.size() % 24) / 24);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vellix::fuzz::Check;
  namespace engine = vellix::engine;
  static vellix::fuzz::TrapContext trap;
  const auto f = vellix::fuzz::Fields(vellix::fuzz::Text(data, size), 5);
  const std::string& format = f[0];
  const vellix::Locale english = vellix::Locale::English();

  (void)vellix::Utils(trap.ctx()).ValidateFolderFormat(format);
  std::string acceptableWhy;
  const bool acceptable = engine::StoreNameFormatAcceptable(format, english, &acceptableWhy);
  Check(acceptable || !acceptableWhy.empty(), "a format refused without a reason", format);
  std::string leavesWhy;
  const bool leaves = engine::StoreNameLeavesFolder(format, english, &leavesWhy);
  Check(!leaves || !leavesWhy.empty(), "a format that leaves the folder without a reason", format);

  engine::PeriodSpan span;
  vellix::fuzz::AllowErrors({vellix::err::kInvalidCall}, [&] {
    span = engine::PeriodCovering(DateOf(f[1]), vellix::fuzz::Int32Of(f[2]), f[3], DateOf(f[4]));
  });
  std::string name;
  vellix::fuzz::AllowErrors({vellix::err::kInvalidCall},
                            [&] { name = engine::ExpandStoreName(format, span, english); });
  if (!leaves) {
    // The engine trims a name before it makes the store's file.
    const std::string file = vellix::Trim(name);
    Check(file.find_first_of(std::string("/\\\0", 3)) == std::string::npos && file != "." &&
              file != "..",
          "a name outside the store folder", format + " -> " + name);
  }
  if (acceptable) {
    Check(!name.empty(), "an acceptable format gave no name", format);
    if (std::any_of(name.begin(), name.end(), engine::IsForbiddenInFileName))
      Check(false, "an acceptable format gave no file name", format + " -> " + name);
  }
  return 0;
}
