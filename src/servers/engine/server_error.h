#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "foundation/vb_error.h"

namespace vellix::engine {

// Who the engine's records in the error log come from.
inline constexpr const char* kLogProject = "OVVellix";
inline constexpr const char* kLogModule = "VellixEngine";

// The number a failure inside the engine carries (the server's "unspecified
// failure"): negative, so the panel's frame ends the procedure silently.
inline constexpr int32_t kServerFailure = -2147467259;

[[noreturn]] inline void RaiseServerError(std::string why) {
  throw VbError(kServerFailure, std::move(why));
}

}  // namespace vellix::engine
