#pragma once

#include <cstdint>
#include <string_view>

namespace vellix {

// The states of the control state machine. The field may hold a value outside
// the named ones (it is a plain number of the form); such a value has no name
// and the machine reports it as unknown.
enum class MachineState : int32_t {
  Unloaded = 0,
  UnconfiguredVisible = 1,
  UnconfiguredHidden = 2,
  ConfiguredVisible = 3,
  ConfiguredHidden = 4,
  RunningVisible = 5,
  RunningHidden = 6,
};

// The events every command and engine report raises on the machine. As with
// the states, a number outside the named ones can arrive and is unexpected.
enum class MachineEvent : int32_t {
  Load = 0,
  View = 1,
  Hide = 2,
  QuickSetup = 3,
  MoreConfig = 4,
  Exit = 5,
  QuickSetupOK = 6,
  Recover = 7,
  Stop = 8,
  Run = 9,
  Configured = 10,
  Unconfigured = 11,
};

// The names the trace line shows; "" for a value outside the named ones.
std::string_view NameOf(MachineState state);
std::string_view NameOf(MachineEvent event);

[[nodiscard]] constexpr int32_t Number(MachineState state) {
  return static_cast<int32_t>(state);
}
[[nodiscard]] constexpr int32_t Number(MachineEvent event) {
  return static_cast<int32_t>(event);
}

}  // namespace vellix
