#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/date.h"
#include "platform/outlook/mail_profile.h"

namespace vellix::outlook {

// What a generated profile holds. The same recipe gives the same profile on
// every machine and every run.
struct ProfileRecipe {
  // Folders below the one store: the English default folders first (as many
  // of them as fit), then nested folders under them.
  int32_t folders = 9;
  // Items spread over all folders.
  int32_t items = 100;
  uint32_t seed = 1;
  // The latest date an item may have; the zero date means 1 November 2026.
  Date newest;
  // How many days before `newest` the items reach back.
  int32_t spanDays = 3 * 365;
  std::string storeName = "Mailbox - Alex Morgan";
};

// A profile of one store for tests and benchmarks, with the default folders
// set as the mail program sets them. Its items are mail to the store's owner
// (the name after "Mailbox - "), rendered as messages when asked for
// (profile_message.h), each with a key made from the seed and its number.
std::shared_ptr<MailProfile> GenerateProfile(const ProfileRecipe& recipe);

}  // namespace vellix::outlook
