#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/date.h"
#include "platform/outlook/profile_item.h"

// The items of the mail profile as real mail: RFC 5322 messages with MIME
// bodies, rendered from an item's fields when it holds no text of its own.
namespace vellix::outlook {

// The item's whole message: its own text, or the rendered one.
std::string MessageText(const ProfileItem& item);

// The message rendered from the fields: From, To, Date, Subject,
// Message-ID (<key>), MIME-Version and a text body that reads like mail,
// chosen by the key; multipart/mixed with a base64 attachment when the item
// names one or is over 64 KB. Exactly `size` bytes long when that is more
// than the message needs.
std::string RenderMessage(const ProfileItem& item);

// A date as RFC 5322 writes it: "Fri, 13 Nov 2026 14:47:02 -0000" (the
// profile's dates are local time of no known zone, which "-0000" says).
std::string MessageDate(Date date);

// A key for an item that has none, from the folder it is in, what it says,
// and how many items of the folder said the same before it (0 for the first).
std::string MakeItemKey(std::string_view folderPath, const ProfileItem& item, int32_t repeat);

// A header's value (unfolded, without regard to the name's case), or empty.
std::string HeaderValue(std::string_view message, std::string_view name);

// Bare LFs and lone CRs made CRLF, as messages are kept.
std::string WithCrlf(std::string_view text);

// A 64-bit FNV-1a hash, the same on every machine.
uint64_t StableHash(std::string_view text, uint64_t seed = 0);

// Bytes in base64 as a MIME body: lines of 76 characters, each with its CRLF.
std::string Base64Body(std::string_view bytes);

// An unstructured header line ("Subject: ...\r\n"): line breaks in the text
// become blanks, long lines fold, text that isn't ASCII goes in encoded words.
std::string UnstructuredField(std::string_view name, std::string_view text);

}  // namespace vellix::outlook
