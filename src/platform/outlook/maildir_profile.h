#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/date.h"
#include "platform/outlook/profile_xml.h"

// A Maildir tree as the mail profile: read once, never written.
//
// The tree's own maildir (cur/, new/) is the Inbox. Maildir++ folders
// (".Sent", ".Work.Projects", the "." separating levels) and maildirs nested
// inside any of them ("Work/Projects/cur") are folders of the one store,
// named after the tree's directory. ".Sent", ".Sent Items", ".Sent Messages"
// and ".Sent Mail" are the sent mail, ".Drafts" the drafts, ".Trash",
// ".Deleted Items" and ".Deleted Messages" the deleted items; a kind the tree
// has no folder for gets an empty one of the English name (Calendar,
// Contacts, ...), so the profile answers every default folder.
//
// An item is a file of cur/ or new/: its key is the file name's unique part
// (before ":2,"), which stays when a mail reader moves it to cur/ or changes
// its flags; its date the Date header, else the file's time. A message that
// can't be read is left out and said in the profile's problems. The profile
// is read-only (MailProfile::ReadOnly): nothing the program does to it ever
// reaches the tree.
namespace vellix::outlook {

// Whether the path is a directory with cur/ and new/.
bool IsMaildir(const std::filesystem::path& path);

// Why the tree at the path can't be read as a profile, naming it, or empty.
// Reads no message.
std::string MaildirProblem(const std::filesystem::path& path);

// The tree as a read-only profile, or nothing with the problem.
ProfileLoad LoadMaildir(const std::filesystem::path& root);

// The profile at the path: a Maildir tree when it is a directory, else the
// profile file.
ProfileLoad LoadProfileAt(const std::filesystem::path& path);

// The part of a Maildir file name that names the message for good: all
// before the info ":2,..." (or "!2,...", as some systems write it).
std::string MaildirUniqueName(std::string_view fileName);

// An RFC 5322 date ("Fri, 13 Nov 2026 14:47:02 +0100", obsolete forms
// included) as this machine's local time; "-0000" or no zone is taken as
// local already. Nothing when it isn't a date.
std::optional<Date> ParseMessageDate(std::string_view text);

// A header value with its encoded words (RFC 2047, B and Q, in UTF-8,
// US-ASCII or ISO-8859-1) as UTF-8; other words stay as written.
std::string DecodeHeaderWords(std::string_view value);

// A mailbox name in IMAP's modified UTF-7 ("Entw&APw-rfe") as UTF-8; a name
// that isn't valid stays as written.
std::string DecodeMailboxName(std::string_view name);

}  // namespace vellix::outlook
