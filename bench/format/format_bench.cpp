// A date format's cost per letter of its pattern, for a short and a 16 times
// longer pattern, in one process. A store-name or period format is the user's
// text, so its cost is to grow with its length, not with its square: the long
// pattern may cost at most 2 times as much per letter as the short one.
// Patterns of one repeated letter are the hard case: a literal ("x"), a token
// ("d") and a letter that begins a token only before others ("a").
//
//   bench_format [--rounds N]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/format.h"

namespace {

using Steady = std::chrono::steady_clock;

// Nanoseconds per letter of formatting `pattern`, the median of `rounds`.
double NanosPerLetter(const std::string& pattern, int rounds) {
  const vellix::Locale english = vellix::Locale::English();
  const vellix::Date when = vellix::DateSerial(2024, 2, 29);
  // Enough repeats that each round lasts a few milliseconds.
  const int repeats = std::max(1, static_cast<int>(400000 / pattern.size()));
  std::vector<double> samples;
  size_t sink = 0;
  for (int r = 0; r < rounds; ++r) {
    const auto start = Steady::now();
    for (int i = 0; i < repeats; ++i)
      sink += vellix::Format(when, pattern, english).size();
    const std::chrono::duration<double, std::nano> took = Steady::now() - start;
    samples.push_back(took.count() / repeats / static_cast<double>(pattern.size()));
  }
  if (sink == 0) std::puts("(every format was empty)");
  std::nth_element(samples.begin(), samples.begin() + rounds / 2, samples.end());
  return samples[rounds / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 7;
  if (argc == 3 && std::strcmp(argv[1], "--rounds") == 0) {
    char* end = nullptr;
    const long value = std::strtol(argv[2], &end, 10);
    rounds = *end == '\0' && value > 0 && value <= 1000 ? static_cast<int>(value) : 0;
  }
  if (rounds == 0 || (argc != 1 && argc != 3)) {
    (void)std::fputs("usage: bench_format [--rounds N], N from 1 to 1000\n", stderr);
    return 2;
  }
  constexpr size_t kShort = 256;
  constexpr size_t kLong = kShort * 16;
  constexpr double kAim = 2.0;
  bool within = true;
  std::printf("%-6s %14s %14s %7s\n", "letter", "ns/letter 256", "ns/letter 4096", "ratio");
  for (const char letter : {'x', 'd', 'a'}) {
    const double small = NanosPerLetter(std::string(kShort, letter), rounds);
    const double large = NanosPerLetter(std::string(kLong, letter), rounds);
    const double ratio = large / small;
    within = within && ratio <= kAim;
    std::printf("%-6c %14.1f %14.1f %7.2f\n", letter, small, large, ratio);
  }
  std::printf("aim: at most %.1fx per letter: %s\n", kAim, within ? "met" : "NOT MET");
  return within ? 0 : 1;
}
