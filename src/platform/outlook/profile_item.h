#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"

namespace vellix::outlook {

// One item of a folder: a mail, an appointment, a contact, ... as much of it
// as the archive's simulation needs. Every item is a whole RFC 5322 message
// (MessageText in profile_message.h): the one it holds, or one rendered
// from its fields, the same on every run.
struct ProfileItem {
  std::string subject;
  Date received;          // when it arrived or was made
  std::string sender;     // empty for items that have none
  std::string recipient;  // empty: the rendered message goes to undisclosed recipients
  int32_t size = 0;       // bytes; a rendered message has this many when it can
  // The file name of an attachment a rendered message carries; empty for
  // none, unless a size over 64 KB asks for one.
  std::string attachment;
  // The whole message, lines ended by CRLF; empty when it is rendered.
  std::string message;
  // Unique in the profile and the same on every load (the folder fills it
  // in when empty): the message's Message-ID without its angle brackets.
  std::string key;
};

}  // namespace vellix::outlook
