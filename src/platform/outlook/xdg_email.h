#pragma once

#include <string>
#include <vector>

#include "platform/desktop/environment.h"
#include "platform/outlook/mail_outbox.h"

namespace vellix::outlook {

// The arguments after the program's name that open the desktop's mail
// program on a sent mail: subject, body, each attached file, the recipients.
std::vector<std::string> XdgEmailArguments(const OutgoingMail& mail);

// The hand-over to the desktop's mail program through xdg-email, found on the
// PATH of `env` when a mail is handed over. Without xdg-email it does nothing.
// The program is started detached, its output to /dev/null, and never waited
// for here: a mail program that stays open keeps nothing waiting.
MailHandOver XdgEmailHandOver(desktop::EnvLookup env);

}  // namespace vellix::outlook
