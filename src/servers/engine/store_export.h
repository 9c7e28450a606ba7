#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "foundation/date.h"

// A period store written out as an mbox file, the one format every mail
// client imports.
namespace vellix::engine {

// Writes every item of the store, oldest first, to `mbox` in the mboxrd form:
// each message after a "From <sender> <date>" line, its lines ended by LF, a
// line starting with any number of '>' and "From " given one '>' more, and a
// blank line after it. The file appears whole or not at all; one already there
// is replaced. Gives the number of messages; raises the server error, naming
// the file, when the store can't be read or the mbox file can't be written.
int64_t ExportStoreToMbox(const std::filesystem::path& store, const std::filesystem::path& mbox);

// The parts of the mbox form, for those who write one message at a time.
// The separator line for a message from `sender` (its From header's text;
// any address in it is taken) received at `received`, with its LF.
std::string MboxSeparator(std::string_view fromHeader, Date received);
// The message's lines in mboxrd form, LF-ended, with the blank line after it.
std::string MboxBody(std::string_view message);

}  // namespace vellix::engine
