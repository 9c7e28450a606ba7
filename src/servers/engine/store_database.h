#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/date.h"

// A period store: one SQLite database file holding the period's header and
// every item filed into it, whole. Stores only grow: nothing here removes an
// item. Every failure raises the engine's server error (server_error.h) with
// a message naming the file and what went wrong.
namespace vellix::engine {

// The layout this program writes; a store of a later layout is refused.
inline constexpr int32_t kStoreFormatVersion = 1;

struct StoreHeader {
  std::string name;
  Date start;
  Date end;
  int32_t formatVersion = kStoreFormatVersion;
};

// An item to be filed.
struct StoreItem {
  // Unique: an item whose key the store holds is never filed again.
  std::string key;
  // Where it was found in the mail profile ("\\Mailbox\Inbox").
  std::string folderPath;
  Date received;
  // The whole RFC 5322 message.
  std::string message;
};

// An item as the store holds it.
struct StoredItem {
  std::string key;
  std::string folderPath;
  Date received;
  Date filed;    // when it went into the store
  int64_t size;  // bytes of the message
  std::string message;
};

enum class FileOutcome { kFiled, kAlreadyThere };

class StoreDatabase {
 public:
  enum class Access { kReadOnly, kReadWrite };

  // Makes a new store with its header. The file appears whole or not at all,
  // and a file already there is never replaced (that raises).
  static StoreDatabase Create(const std::filesystem::path& file, const std::string& name,
                              Date start, Date end);
  // Opens a store; raises when the file is missing, is no store, or is of a
  // later layout.
  static StoreDatabase Open(const std::filesystem::path& file, Access access);
  // As Open, without raising: nothing, and why, when it fails.
  static std::optional<StoreDatabase> TryOpen(const std::filesystem::path& file, Access access,
                                              std::string* why);

  StoreDatabase(StoreDatabase&& other) noexcept;
  StoreDatabase& operator=(StoreDatabase&& other) noexcept;
  ~StoreDatabase();

  [[nodiscard]] const StoreHeader& Header() const;
  [[nodiscard]] const std::filesystem::path& File() const;

  // Files the items in one transaction: all of them or, when anything fails
  // (a bad item, a full disk), none. Says for each whether it was filed or
  // its key was there already (also from earlier in the same batch).
  std::vector<FileOutcome> FileItems(std::span<const StoreItem> items, Date filed);
  FileOutcome FileItem(const StoreItem& item, Date filed);

  [[nodiscard]] bool Holds(std::string_view key) const;
  // Every key the store holds, with the time it was filed.
  [[nodiscard]] std::unordered_map<std::string, Date> FiledKeys() const;
  [[nodiscard]] int64_t ItemCount() const;
  // The earliest and latest received date of the items; zero when empty.
  [[nodiscard]] Date FirstEntry() const;
  [[nodiscard]] Date LastEntry() const;
  // The folder paths items were filed from, in order (without regard to case).
  [[nodiscard]] std::vector<std::string> FolderPaths() const;
  // The items filed from a folder (its path without regard to case), oldest first.
  [[nodiscard]] std::vector<StoredItem> ItemsIn(std::string_view folderPath) const;
  // Every item, oldest first, one at a time (a store can be larger than memory).
  void ForEachItem(const std::function<void(const StoredItem&)>& visit) const;

 private:
  struct State;
  explicit StoreDatabase(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace vellix::engine
