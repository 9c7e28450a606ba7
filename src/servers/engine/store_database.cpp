#include "servers/engine/store_database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include "servers/common/private_files.h"
#include "servers/engine/server_error.h"
#include "servers/engine/store_file.h"

namespace vellix::engine {

namespace {

// Marks the file as ours for tools that look ("VELX").
constexpr int32_t kApplicationId = 0x56454C58;

// A store is one file that a backup copies as it stands, so the rollback
// journal (deleted at each commit) is used rather than WAL: with WAL,
// committed items could sit in a "-wal" file beside the store until a
// checkpoint, and a copy of the store alone would miss them. synchronous=FULL
// flushes the journal before the store is written and the store before the
// journal goes, so a writer killed or a power cut at any moment leaves the
// store as of its last commit; the next opening rolls a left-over journal back.
// A batch's pages stay in memory until its commit (up to 32 MiB): spilling
// them into the store early would cost a flush of the journal mid-batch.
constexpr const char* kConnectionSetup =
    "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA foreign_keys=OFF; "
    "PRAGMA cache_size=-32768;";

// Items are about ten kilobytes of mail each: on large pages one takes a page
// or two rather than three or four, so a batch writes fewer pages and makes
// fewer calls. Stores made before keep the page size they were made with.
constexpr int kNewStorePageSize = 65536;

// Each item whole, once: the key is unique, and empty keys or messages are refused
// by the file itself, not only by this program.
constexpr const char* kSchema = R"(
CREATE TABLE header (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  name TEXT NOT NULL,
  period_start REAL NOT NULL,
  period_end REAL NOT NULL,
  format_version INTEGER NOT NULL
);
CREATE TABLE items (
  id INTEGER PRIMARY KEY,
  item_key TEXT NOT NULL UNIQUE CHECK (length(item_key) > 0),
  folder_path TEXT NOT NULL COLLATE NOCASE,
  received REAL NOT NULL,
  filed REAL NOT NULL,
  size INTEGER NOT NULL CHECK (size = length(message)),
  message BLOB NOT NULL CHECK (length(message) > 0)
);
CREATE INDEX items_by_folder ON items (folder_path, received);
CREATE INDEX items_by_received ON items (received);
CREATE INDEX items_filed ON items (item_key, filed);
)";

// Every pass reads which items are filed, and when. The index holds just
// that, so the pass reads it instead of every row with its message.
constexpr const char* kFiledIndex =
    "CREATE INDEX IF NOT EXISTS items_filed ON items (item_key, filed);";

// A prepared statement; finalized when it goes.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql) {
    if (sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr) != SQLITE_OK) stmt_ = nullptr;
  }
  ~Statement() { sqlite3_finalize(stmt_); }
  Statement(Statement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  Statement& operator=(Statement&&) = delete;

  [[nodiscard]] bool Ok() const { return stmt_ != nullptr; }
  void Bind(int at, std::string_view text) {
    sqlite3_bind_text64(stmt_, at, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  void BindBlob(int at, std::string_view bytes) {
    // A zero-length blob, not NULL, for an empty message, so the file's own check speaks.
    if (bytes.empty()) {
      sqlite3_bind_zeroblob(stmt_, at, 0);
    } else {
      sqlite3_bind_blob64(stmt_, at, bytes.data(), bytes.size(), SQLITE_STATIC);
    }
  }
  void Bind(int at, double value) { sqlite3_bind_double(stmt_, at, value); }
  void Bind(int at, int64_t value) { sqlite3_bind_int64(stmt_, at, value); }
  // SQLITE_ROW, SQLITE_DONE or an error code.
  int Step() { return sqlite3_step(stmt_); }
  void Reset() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }
  [[nodiscard]] bool IsNull(int column) const {
    return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
  }
  [[nodiscard]] std::string Text(int column) const {
    const auto* data = sqlite3_column_blob(stmt_, column);
    const int size = sqlite3_column_bytes(stmt_, column);
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), size);
  }
  [[nodiscard]] double Real(int column) const { return sqlite3_column_double(stmt_, column); }
  [[nodiscard]] int64_t Int(int column) const { return sqlite3_column_int64(stmt_, column); }

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

std::string Quoted(const std::filesystem::path& file) {
  return "\"" + file.string() + "\"";
}

// Opens a connection; nothing, with why set, when SQLite can't.
sqlite3* Connect(const std::filesystem::path& file, int flags, std::string* why) {
  sqlite3* db = nullptr;
  const int rc = sqlite3_open_v2(file.c_str(), &db, flags, nullptr);
  if (rc != SQLITE_OK) {
    *why = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    sqlite3_close_v2(db);
    return nullptr;
  }
  sqlite3_extended_result_codes(db, 1);
  // Another program reading the store while a batch commits waits for it.
  sqlite3_busy_timeout(db, 5000);
  return db;
}

bool Exec(sqlite3* db, const char* sql, std::string* why) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &message) == SQLITE_OK) return true;
  *why = message != nullptr ? message : sqlite3_errmsg(db);
  sqlite3_free(message);
  return false;
}

// The header of an open connection; false, with why, when it is no store of ours.
bool ReadHeader(sqlite3* db, StoreHeader& header, std::string* why) {
  {
    Statement id(db, "PRAGMA application_id");
    if (!id.Ok() || id.Step() != SQLITE_ROW) {
      *why = std::string("it can't be read as a database: ") + sqlite3_errmsg(db);
      return false;
    }
    if (id.Int(0) != kApplicationId) {
      *why = "it is a database, but no period store";
      return false;
    }
  }
  Statement read(db,
                 "SELECT name, period_start, period_end, format_version FROM header WHERE id = 1");
  if (!read.Ok()) {
    *why = std::string("it has no store header: ") + sqlite3_errmsg(db);
    return false;
  }
  if (const int rc = read.Step(); rc != SQLITE_ROW) {
    *why = rc == SQLITE_DONE ? std::string("its store header is empty")
                             : std::string("its header can't be read: ") + sqlite3_errmsg(db);
    return false;
  }
  header.name = read.Text(0);
  header.start = Date(read.Real(1));
  header.end = Date(read.Real(2));
  header.formatVersion = static_cast<int32_t>(read.Int(3));
  if (header.formatVersion < 1 || header.formatVersion > kStoreFormatVersion) {
    *why = "it is a store of layout " + std::to_string(header.formatVersion) +
           ", which this program doesn't know";
    return false;
  }
  return true;
}

// A name beside the target for the store while it is being made.
std::filesystem::path MakingName(const std::filesystem::path& file) {
  static std::atomic<unsigned> counter{0};
  return file.parent_path() / ("." + file.filename().string() + ".making-" +
                               std::to_string(::getpid()) + "-" + std::to_string(++counter));
}

void RemoveQuietly(const std::filesystem::path& file) {
  std::error_code ec;
  std::filesystem::remove(file, ec);
  std::filesystem::remove(file.string() + "-journal", ec);
}

void FlushFolder(const std::filesystem::path& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

bool HasSqliteMagic(const std::filesystem::path& file) {
  // With its terminating zero.
  static constexpr std::array<char, 16> kMagic{"SQLite format 3"};
  std::array<char, kMagic.size()> start{};
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const ssize_t got = ::read(fd, start.data(), start.size());
  ::close(fd);
  return got == static_cast<ssize_t>(start.size()) && start == kMagic;
}

StoredItem ItemOf(const Statement& row) {
  return StoredItem{.key = row.Text(0),
                    .folderPath = row.Text(1),
                    .received = Date(row.Real(2)),
                    .filed = Date(row.Real(3)),
                    .size = row.Int(4),
                    .message = row.Text(5)};
}

constexpr const char* kItemColumns = "item_key, folder_path, received, filed, size, message";

}  // namespace

struct StoreDatabase::State {
  sqlite3* db = nullptr;
  std::filesystem::path file;
  StoreHeader header;
  // Filing's statement, prepared at the first batch and kept for the next.
  std::optional<Statement> insert;

  ~State() {
    insert.reset();
    sqlite3_close_v2(db);
  }

  [[noreturn]] void Fail(const std::string& doing) const {
    RaiseServerError("The store " + Quoted(file) + " " + doing + ": " + sqlite3_errmsg(db));
  }
  [[nodiscard]] Statement Prepare(const std::string& sql) const {
    Statement statement(db, sql.c_str());
    if (!statement.Ok()) Fail("can't be read");
    return statement;
  }
  void Query(const std::string& sql, const std::function<void(const Statement&)>& row) const {
    Statement statement = Prepare(sql);
    int rc = SQLITE_ROW;
    while ((rc = statement.Step()) == SQLITE_ROW)
      row(statement);
    if (rc != SQLITE_DONE) Fail("can't be read");
  }
};

StoreDatabase::StoreDatabase(std::unique_ptr<State> state) : state_(std::move(state)) {}
StoreDatabase::StoreDatabase(StoreDatabase&&) noexcept = default;
StoreDatabase& StoreDatabase::operator=(StoreDatabase&&) noexcept = default;
StoreDatabase::~StoreDatabase() = default;

std::optional<StoreDatabase> StoreDatabase::TryOpen(const std::filesystem::path& file,
                                                    Access access, std::string* why) {
  std::string ignored;
  std::string& reason = why != nullptr ? *why : ignored;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(file, ec)) {
    reason = std::filesystem::exists(file, ec) ? "it is not a file" : "there is no such file";
    return std::nullopt;
  }
  // Only a SQLite file is handed to SQLite, which could otherwise take a
  // stray journal beside someone's own file for its own.
  if (!HasSqliteMagic(file)) {
    reason = "it is no SQLite database";
    return std::nullopt;
  }
  auto state = std::make_unique<State>();
  state->file = file;
  // Opened for writing even to read, so that a journal left by a writer that
  // died is rolled back; query_only keeps a reader from changing anything else.
  state->db = Connect(file, SQLITE_OPEN_READWRITE, &reason);
  if (state->db == nullptr) return std::nullopt;
  const char* setup = access == Access::kReadOnly ? "PRAGMA query_only=ON;" : kConnectionSetup;
  if (!Exec(state->db, setup, &reason) || !ReadHeader(state->db, state->header, &reason)) {
    return std::nullopt;
  }
  // A store made before the index gets it when next written. Without it a
  // pass is only slower, so a disk too full to hold it changes nothing.
  if (access == Access::kReadWrite) {
    std::string unused;
    Exec(state->db, kFiledIndex, &unused);
  }
  return StoreDatabase(std::move(state));
}

StoreDatabase StoreDatabase::Open(const std::filesystem::path& file, Access access) {
  std::string why;
  auto store = TryOpen(file, access, &why);
  if (!store) RaiseServerError("The store " + Quoted(file) + " can't be opened: " + why);
  return std::move(*store);
}

StoreDatabase StoreDatabase::Create(const std::filesystem::path& file, const std::string& name,
                                    Date start, Date end) {
  std::string why;
  if (!CreateStoreFile(file, name, start, end, &why)) {
    RaiseServerError("The store " + Quoted(file) + " can't be made: " + why);
  }
  return Open(file, Access::kReadWrite);
}

bool CreateStoreFile(const std::filesystem::path& file, const std::string& name, Date start,
                     Date end, std::string* error) {
  std::string ignored;
  std::string& why = error != nullptr ? *error : ignored;
  std::error_code ec;
  if (std::filesystem::exists(file, ec) || std::filesystem::is_symlink(file, ec)) {
    why = "a file of that name is there already";
    return false;
  }
  if (!file.parent_path().empty()) std::filesystem::create_directories(file.parent_path(), ec);
  if (ec) {
    why = "the folder can't be made: " + ec.message();
    return false;
  }

  // Made whole under another name, then linked in place: the store's name
  // never shows a half-made file, and link() never replaces one.
  const std::filesystem::path making = MakingName(file);
  sqlite3* db =
      Connect(making, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE, &why);
  if (db == nullptr) {
    RemoveQuietly(making);
    return false;
  }
  // SQLite made the file with the usual mode; a store holds the user's mail,
  // so it is made private before any is written, and its journal follows it.
  if (::chmod(making.c_str(), servers::kPrivateFileMode) != 0) {
    why = std::string("the store can't be made private: ") + std::strerror(errno);
    sqlite3_close_v2(db);
    RemoveQuietly(making);
    return false;
  }
  const std::string setup =
      std::string(kConnectionSetup) + "PRAGMA page_size=" + std::to_string(kNewStorePageSize) +
      "; PRAGMA application_id=" + std::to_string(kApplicationId) +
      "; PRAGMA user_version=" + std::to_string(kStoreFormatVersion) + "; BEGIN; " + kSchema;
  bool made = Exec(db, setup.c_str(), &why);
  if (made) {
    Statement insert(db,
                     "INSERT INTO header (id, name, period_start, period_end, format_version) "
                     "VALUES (1, ?, ?, ?, ?)");
    made = insert.Ok();
    if (made) {
      insert.Bind(1, name);
      insert.Bind(2, start.Serial());
      insert.Bind(3, end.Serial());
      insert.Bind(4, static_cast<int64_t>(kStoreFormatVersion));
      made = insert.Step() == SQLITE_DONE;
    }
    if (!made) why = sqlite3_errmsg(db);
  }
  made = made && Exec(db, "COMMIT", &why);
  sqlite3_close_v2(db);
  if (!made) {
    RemoveQuietly(making);
    return false;
  }
  if (::link(making.c_str(), file.c_str()) != 0) {
    if (errno == EEXIST) {
      RemoveQuietly(making);
      why = "a file of that name is there already";
      return false;
    }
    // Some file systems have no hard links; a rename is the next best.
    const bool there = std::filesystem::exists(file, ec);
    if (there || ::rename(making.c_str(), file.c_str()) != 0) {
      why = there ? std::string("a file of that name is there already")
                  : "it can't be put in place: " +
                        std::error_code(errno, std::generic_category()).message();
      RemoveQuietly(making);
      return false;
    }
  } else {
    RemoveQuietly(making);
  }
  FlushFolder(file.parent_path().empty() ? std::filesystem::path(".") : file.parent_path());
  return true;
}

const StoreHeader& StoreDatabase::Header() const {
  return state_->header;
}

const std::filesystem::path& StoreDatabase::File() const {
  return state_->file;
}

std::vector<FileOutcome> StoreDatabase::FileItems(std::span<const StoreItem> items, Date filed) {
  State& s = *state_;
  // The write lock is taken at the start, so a batch never fails half-way for
  // want of it.
  if (sqlite3_exec(s.db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) {
    s.Fail("can't take items");
  }
  const auto rollBack = [&](const std::string& doing) {
    const std::string why = sqlite3_errmsg(s.db);
    if (s.insert) s.insert->Reset();
    sqlite3_exec(s.db, "ROLLBACK", nullptr, nullptr, nullptr);
    RaiseServerError("The store " + Quoted(s.file) + " " + doing + ": " + why);
  };
  std::vector<FileOutcome> outcomes;
  outcomes.reserve(items.size());
  {
    if (!s.insert) {
      s.insert.emplace(s.db, (std::string("INSERT INTO items (") + kItemColumns +
                              ") VALUES (?, ?, ?, ?, ?, ?) ON CONFLICT (item_key) DO NOTHING")
                                 .c_str());
      if (!s.insert->Ok()) {
        s.insert.reset();
        rollBack("can't take items");
      }
    }
    Statement& insert = *s.insert;
    for (const StoreItem& item : items) {
      insert.Bind(1, item.key);
      insert.Bind(2, item.folderPath);
      insert.Bind(3, item.received.Serial());
      insert.Bind(4, filed.Serial());
      insert.Bind(5, static_cast<int64_t>(item.message.size()));
      insert.BindBlob(6, item.message);
      if (insert.Step() != SQLITE_DONE) {
        rollBack("can't take the item \"" + item.key + "\" (none of its batch was filed)");
      }
      outcomes.push_back(sqlite3_changes(s.db) == 1 ? FileOutcome::kFiled
                                                    : FileOutcome::kAlreadyThere);
      insert.Reset();
    }
  }
  if (sqlite3_exec(s.db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
    rollBack("can't keep the items filed (none of the batch was filed)");
  }
  return outcomes;
}

FileOutcome StoreDatabase::FileItem(const StoreItem& item, Date filed) {
  return FileItems(std::span(&item, 1), filed).front();
}

bool StoreDatabase::Holds(std::string_view key) const {
  Statement find = state_->Prepare("SELECT 1 FROM items WHERE item_key = ?");
  find.Bind(1, key);
  const int rc = find.Step();
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) state_->Fail("can't be read");
  return rc == SQLITE_ROW;
}

std::unordered_map<std::string, Date> StoreDatabase::FiledKeys() const {
  std::unordered_map<std::string, Date> keys;
  state_->Query("SELECT item_key, filed FROM items",
                [&](const Statement& row) { keys.emplace(row.Text(0), Date(row.Real(1))); });
  return keys;
}

int64_t StoreDatabase::ItemCount() const {
  int64_t count = 0;
  state_->Query("SELECT count(*) FROM items", [&](const Statement& row) { count = row.Int(0); });
  return count;
}

Date StoreDatabase::FirstEntry() const {
  Date first;
  state_->Query("SELECT min(received) FROM items", [&](const Statement& row) {
    if (!row.IsNull(0)) first = Date(row.Real(0));
  });
  return first;
}

Date StoreDatabase::LastEntry() const {
  Date last;
  state_->Query("SELECT max(received) FROM items", [&](const Statement& row) {
    if (!row.IsNull(0)) last = Date(row.Real(0));
  });
  return last;
}

std::vector<std::string> StoreDatabase::FolderPaths() const {
  std::vector<std::string> paths;
  state_->Query("SELECT DISTINCT folder_path FROM items ORDER BY folder_path",
                [&](const Statement& row) { paths.push_back(row.Text(0)); });
  return paths;
}

std::vector<StoredItem> StoreDatabase::ItemsIn(std::string_view folderPath) const {
  Statement select = state_->Prepare(std::string("SELECT ") + kItemColumns +
                                     " FROM items WHERE folder_path = ? ORDER BY received, id");
  select.Bind(1, folderPath);
  std::vector<StoredItem> items;
  int rc = SQLITE_ROW;
  while ((rc = select.Step()) == SQLITE_ROW)
    items.push_back(ItemOf(select));
  if (rc != SQLITE_DONE) state_->Fail("can't be read");
  return items;
}

void StoreDatabase::ForEachItem(const std::function<void(const StoredItem&)>& visit) const {
  state_->Query(std::string("SELECT ") + kItemColumns + " FROM items ORDER BY received, id",
                [&](const Statement& row) { visit(ItemOf(row)); });
}

}  // namespace vellix::engine
