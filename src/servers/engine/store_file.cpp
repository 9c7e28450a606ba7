#include "servers/engine/store_file.h"

#include <chrono>
#include <ctime>
#include <system_error>

#include "servers/engine/store_database.h"

namespace vellix::engine {

Date FileTimeToDate(std::filesystem::file_time_type time) {
  const auto system = std::chrono::file_clock::to_sys(time);
  const std::time_t seconds = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(system));
  std::tm local{};
  localtime_r(&seconds, &local);
  return FromUnixSeconds(static_cast<int64_t>(seconds) + local.tm_gmtoff);
}

StoreFileFacts InspectStoreFile(const std::filesystem::path& file) {
  StoreFileFacts facts;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) return facts;
  facts.exists = true;
  const auto size = std::filesystem::file_size(file, ec);
  facts.size = ec ? 0 : static_cast<int64_t>(size);
  const auto time = std::filesystem::last_write_time(file, ec);
  if (!ec) {
    facts.writeTime = time;
    facts.modified = FileTimeToDate(time);
  }

  if (auto store = StoreDatabase::TryOpen(file, StoreDatabase::Access::kReadOnly, nullptr)) {
    facts.isStore = true;
    facts.name = store->Header().name;
    facts.start = store->Header().start;
    facts.end = store->Header().end;
  }
  return facts;
}

// CreateStoreFile lives with the database it makes (store_database.cpp).

}  // namespace vellix::engine
