// The runtime's number, date and format rules and the helpers built on them:
// fields are a number text, a pattern, a date text and a unit word. Each
// conversion answers or raises one of the runtime's errors, and what one
// writes the other reads back.
#include <cmath>

#include "foundation/format.h"
#include "foundation/runtime.h"
#include "foundation/utils.h"
#include "foundation/variant.h"
#include "foundation/vb_error.h"
#include "fuzz/fuzz_driver.h"

namespace {

using vellix::fuzz::AllowErrors;
using vellix::fuzz::Check;
namespace err = vellix::err;

void Numbers(const std::string& text, const std::string& pattern) {
  const double value = vellix::Val(text);
  Check(!std::isnan(value), "Val gave no number", text);
  if (std::isfinite(value)) {
    // The runtime's text of a number keeps 15 significant digits.
    const double back = vellix::Val(vellix::NumberText(value));
    Check(std::fabs(back - value) <= 1e-14 * std::fabs(value), "NumberText does not read back",
          text + " -> " + vellix::NumberText(value));
  }
  bool converts = true;
  AllowErrors({err::kTypeMismatch, err::kOverflow}, [&] {
    try {
      (void)vellix::CDbl(text);
    } catch (const vellix::VbError&) {
      converts = false;
      throw;
    }
  });
  Check(converts == vellix::IsNumeric(text), "IsNumeric disagrees with CDbl", text);
  AllowErrors({err::kTypeMismatch, err::kOverflow}, [&] { (void)vellix::CInt(text); });
  AllowErrors({err::kTypeMismatch, err::kOverflow}, [&] { (void)vellix::CLng(text); });
  AllowErrors({err::kTypeMismatch}, [&] { (void)vellix::CBool(text); });
  const vellix::Variant variant(text);
  AllowErrors({err::kTypeMismatch, err::kOverflow}, [&] { (void)variant.ToLong(); });
  AllowErrors({err::kTypeMismatch, err::kOverflow},
              [&] { (void)vellix::Format(variant, pattern, vellix::Locale::English()); });
  (void)vellix::Format(value, pattern, vellix::Locale::English());
}

void Dates(const std::string& text, const std::string& pattern) {
  const vellix::Locale english = vellix::Locale::English();
  vellix::Date date;
  AllowErrors({err::kTypeMismatch, err::kOverflow, err::kInvalidCall},
              [&] { date = vellix::Variant(text).ToDate(); });
  AllowErrors({err::kInvalidCall}, [&] {
    const std::string shown = vellix::Format(date, pattern, english);
    // Only quotes with nothing between them give no text at all.
    Check(!shown.empty() || pattern.find_first_not_of("'\"") == std::string::npos,
          "a date pattern gave no text", pattern);
  });
  const vellix::CivilTime civil = vellix::ToCivil(date);
  // "yyyy" writes the runtime's year, which has four digits from 1000 on.
  if (civil.year < 1000 || civil.year > 9999) return;
  const std::string iso = vellix::Format(date, "yyyy-mm-dd\\Thh:nn:ss", english);
  vellix::Date back;
  AllowErrors({}, [&] { back = vellix::Variant(iso).ToDate(); });
  Check(std::fabs(back.Serial() - date.Serial()) <= 0.5 / 86400 + 1e-9,
        "a date does not read back from its text", text + " -> " + iso);
}

void Helpers(vellix::Context& ctx, const std::vector<std::string>& f) {
  vellix::Utils utils(ctx);
  const std::string trimmed = utils.TrimAll(f[0]);
  for (const char c : trimmed)
    Check(!vellix::Utils::TrimsAway(c), "TrimAll left a blank", f[0]);
  const auto number = vellix::fuzz::Int32Of(f[0]);
  (void)utils.DisplayFileSizeText(number);
  (void)utils.CalculateSeconds(number, f[3]);
  (void)utils.CDateLocale(f[2], 0);
  (void)utils.CDateLocale(f[2], 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static vellix::fuzz::TrapContext trap;
  const auto f = vellix::fuzz::Fields(vellix::fuzz::Text(data, size), 4);
  Numbers(f[0], f[1]);
  Dates(f[2], f[1]);
  Helpers(trap.ctx(), f);
  return 0;
}
