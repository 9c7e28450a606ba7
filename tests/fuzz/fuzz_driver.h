#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/context.h"
#include "foundation/error_log.h"

// What every fuzz target shares: the input as text or as fields, a private
// folder for targets that must go through files, and the check that turns a
// broken promise into a crash libFuzzer keeps.
namespace vellix::fuzz {

// The unit separator splits an input into fields; seeds are written with it.
inline constexpr char kFieldSeparator = '\x1f';

inline std::string_view Text(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};  // NOLINT: bytes read as text
}

// The input's fields; at least `count`, the missing ones empty.
std::vector<std::string> Fields(std::string_view input, size_t count);

// A whole number made of the text's first four bytes, for arguments that
// take any value.
int32_t Int32Of(std::string_view text);

// A folder of this process's own, removed when the process ends.
const std::filesystem::path& ScratchFolder();

// Writes the bytes to a file of the scratch folder and gives its path.
std::filesystem::path ScratchFile(const std::string& name, std::string_view bytes);

// Stops the run with the message and the offending values when a property
// does not hold.
void Check(bool holds, std::string_view what, std::string_view detail = {});

// Runs fn; a runtime error of one of the numbers allowed is an answer, any
// other error breaks the property.
template <class Fn>
void AllowErrors(std::initializer_list<int32_t> allowed, Fn&& fn) {
  try {
    fn();
  } catch (const VbError& e) {
    bool known = false;
    for (const int32_t n : allowed)
      known = known || n == e.Number();
    Check(known, "an unexpected runtime error", std::to_string(e.Number()) + " " + e.Description());
  }
}

// A context whose error log stops the run on a record of an internal error:
// a procedure's frame must never be what catches a fault of the library.
class TrapContext {
 public:
  TrapContext();
  Context& ctx() { return ctx_; }

 private:
  struct Clock final : vellix::Clock {
    [[nodiscard]] Date Now() const override { return DateSerial(2025, 3, 14); }
  };
  struct TrapLog final : ErrorLog {
    void LogEvent(const std::string& project, const std::string& module,
                  const std::string& procedure, const std::string& message, int16_t number,
                  const std::string& detail) override;
    void ComponentStarted(const std::string& /*component*/) override {}
    void ComponentEnded(const std::string& /*component*/) override {}
    void ObjectCreated(const std::string& /*project*/, const std::string& /*className*/) override {}
    void ObjectDestroyed(const std::string& /*project*/,
                         const std::string& /*className*/) override {}
  };
  Clock clock_;
  Services services_{.clock = clock_};
  Context ctx_{services_};
};

}  // namespace vellix::fuzz
