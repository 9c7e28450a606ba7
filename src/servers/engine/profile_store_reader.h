#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/outlook/store_file_reader.h"

namespace vellix::engine {

// Opens a period store for the mail profile: the store's folders, as the
// items were filed from them less the name of the store they came from
// ("\\Mailbox\Inbox" shows as "Inbox"), with the items below them. The
// profile lists what the store holds; the messages stay in the store. The
// open database is what keeps the file held.
class PeriodStoreReader final : public outlook::StoreFileReader {
 public:
  std::shared_ptr<void> Open(const std::filesystem::path& file, outlook::ProfileFolder& top,
                             std::string* why) override;
};

}  // namespace vellix::engine
