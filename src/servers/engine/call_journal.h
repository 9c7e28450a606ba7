#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/date.h"

namespace vellix::engine {

// Arguments as the journal writes them: "True"/"False", plain decimal
// numbers, dates in the runtime's general form (dd/mm/yyyy hh:nn:ss).
std::string JournalText(bool value);
std::string JournalText(int32_t value);
std::string JournalText(int64_t value);
std::string JournalText(Date value);
inline const std::string& JournalText(const std::string& value) {
  return value;
}

// One write or call the engine received. text is the operation with its
// arguments: "put RemovePeriod 7", "CreateAgent Received Emails",
// "SetPeriodFormat File '@yyyy'", "Announce". object names what it was made
// on: "VellixEngine", "EngineConfig", "Agent <name>", "Period <name>".
struct JournalEntry {
  std::string object;
  std::string text;
};

// The engine's record of every write and call, in order, for tests to read.
// Reads (getters and lookups) are not recorded. A panel left running for
// weeks makes calls without end, so only the latest are kept: once kLimit
// are recorded, the older half goes.
class CallJournal {
 public:
  static constexpr size_t kLimit = 20000;

  void Add(std::string object, std::string text);
  void Clear();

  [[nodiscard]] const std::vector<JournalEntry>& Entries() const { return entries_; }
  // The texts only, in order.
  [[nodiscard]] std::vector<std::string> Texts() const;
  // How many entries are of that operation: the text is the operation itself
  // or the operation followed by a blank and arguments ("put RemovePeriod").
  [[nodiscard]] int Count(std::string_view operation) const;
  // Whether some entry has exactly this text.
  [[nodiscard]] bool Contains(std::string_view text) const;
  // The texts of the entries made on this object, in order.
  [[nodiscard]] std::vector<std::string> TextsFor(std::string_view object) const;

 private:
  std::vector<JournalEntry> entries_;
};

}  // namespace vellix::engine
