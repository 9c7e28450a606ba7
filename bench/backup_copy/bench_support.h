// What the backup benchmarks of this folder share: timing, medians, the
// command line and emptying the destination between runs.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace vellix::bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

inline double Median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  const size_t n = v.size();
  return n % 2 == 1 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Removes every file of the destination and syncs, so the next run starts
// with nothing left to write back.
inline void ClearDestination(const std::filesystem::path& dst) {
  for (const auto& e : std::filesystem::directory_iterator(dst))
    std::filesystem::remove_all(e.path());
  ::sync();
}

//   [folder] [--rounds N] [--files N] [--mib N]
struct Options {
  std::filesystem::path base = std::filesystem::temp_directory_path();
  int rounds = 5;
  int files = 4;
  int64_t mib = 512;
};

inline Options ParseOptions(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--rounds" && i + 1 < argc) {
      o.rounds = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--files" && i + 1 < argc) {
      o.files = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--mib" && i + 1 < argc) {
      o.mib = std::max(1, std::atoi(argv[++i]));
    } else {
      o.base = arg;
    }
  }
  return o;
}

}  // namespace vellix::bench
