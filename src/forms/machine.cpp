#include "forms/machine.h"

#include <array>

namespace vellix {

namespace {

// The one table of names, in the order of the values.
constexpr std::array<std::string_view, 7> kStateNames = {
    "Unloaded",         "UnconfiguredVisible", "UnconfiguredHidden", "ConfiguredVisible",
    "ConfiguredHidden", "RunningVisible",      "RunningHidden"};
constexpr std::array<std::string_view, 12> kEventNames = {
    "Load",         "View",    "Hide", "QuickSetup", "MoreConfig", "Exit",
    "QuickSetupOK", "Recover", "Stop", "Run",        "Configured", "Unconfigured"};

template <size_t N>
std::string_view NameAt(const std::array<std::string_view, N>& names, int32_t value) {
  if (value < 0 || static_cast<size_t>(value) >= N) return {};
  return names[static_cast<size_t>(value)];
}

}  // namespace

std::string_view NameOf(MachineState state) {
  return NameAt(kStateNames, Number(state));
}

std::string_view NameOf(MachineEvent event) {
  return NameAt(kEventNames, Number(event));
}

}  // namespace vellix
