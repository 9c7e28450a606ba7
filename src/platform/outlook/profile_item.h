#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"

namespace vellix::outlook {

// One item of a folder: a mail, an appointment, a contact, ... as much of it
// as the archive's simulation needs.
struct ProfileItem {
  std::string subject;
  Date received;       // when it arrived or was made
  std::string sender;  // empty for items that have none
  int32_t size = 0;    // bytes
};

}  // namespace vellix::outlook
