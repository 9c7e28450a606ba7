#pragma once

#include <string>
#include <string_view>

#include "foundation/date.h"

// ISO 8601 texts of local times, as the servers write them in their files.
namespace vellix::servers {

// "yyyy-mm-ddThh:nn:ss".
std::string IsoDateTime(Date when);
// "yyyy-mm-dd" at midnight, else as IsoDateTime.
std::string IsoDateOrDateTime(Date when);
// "yyyymmdd-hhnnss", for file names.
std::string CompactStamp(Date when);

// Reads "yyyy-mm-dd", "yyyy-mm-ddThh:nn:ss" or the same with a blank for the
// T. False for any other text, a year before 100, or a day that doesn't
// exist (31 February is not rolled over into March).
bool ParseIsoDateTime(std::string_view text, Date* out);

}  // namespace vellix::servers
