#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/outlook/mail_profile.h"

// The mail profile's file:
//
//   <profile>
//     <store name="Mailbox - Alex Morgan" file="optional path">
//       <folder name="Inbox" type="mail" default="6">
//         <folder name="Projects"> ... </folder>
//         <item subject="..." date="2025-03-14T09:30:00" from="..." size="5120"/>
//         <item subject="..." date="..." from="..." to="..." size="..." attachment="a.pdf"
//               key="20250314093000.1f2e@example.com"><message>From: ...</message></item>
//       </folder>
//     </store>
//   </profile>
//
// `type` is a name (mail, appointment, contact, task, journal, note, post,
// distribution-list) or the mail program's number; without it a folder
// holds what its parent holds, and a store's top folders hold mail. `default`
// makes the folder the default one of that kind; a kind may have one folder.
// Dates are local time, "YYYY-MM-DDTHH:MM:SS" or "YYYY-MM-DD". An item's
// <message> is its whole RFC 5322 text; without one the item's message is
// rendered from its attributes (profile_message.h). `key` is the item's
// unique key; without it the Message-ID, else one made from the item. Unknown
// elements are refused, unknown attributes passed over; a document type
// declaration is refused like everywhere else in this program.
namespace vellix::outlook {

struct ProfileLoad {
  std::shared_ptr<MailProfile> profile;  // nothing when the file was refused
  std::string problem;                   // why, for the log: what and where
};

ProfileLoad LoadProfileFile(const std::filesystem::path& file);
// `source` names the text in problems (a file name, "generated", ...).
ProfileLoad LoadProfileText(std::string_view text, const std::string& source);

// The profile as the file above, every item with its message; loading it
// back gives the same profile.
std::string ProfileToXml(const MailProfile& profile);

// The name used in the file for an item type, and back (names or numbers).
std::string ItemTypeName(int32_t itemType);
std::optional<int32_t> ParseItemType(std::string_view text);

}  // namespace vellix::outlook
