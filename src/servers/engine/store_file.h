#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "foundation/date.h"

// The period store files of the engine: SQLite databases (store_database.h)
// whose header table names the period and its span.
namespace vellix::engine {

// What the file system says about one file.
struct StoreFileFacts {
  bool exists = false;
  // Opens as a store: a database of ours whose header holds the period.
  bool isStore = false;
  int64_t size = 0;
  Date modified;
  // The file system's own time, finer than a Date's seconds: what tells a
  // copy from a store changed within the same second.
  std::filesystem::file_time_type writeTime{};
  // From the header, when it is a store.
  std::string name;
  Date start;
  Date end;
};

StoreFileFacts InspectStoreFile(const std::filesystem::path& file);

// Makes a new, empty store file with its header. Never replaces a file that
// is there; false, with error set, when the file exists or can't be written.
bool CreateStoreFile(const std::filesystem::path& file, const std::string& name, Date start,
                     Date end, std::string* error);

// The local time of a file time.
Date FileTimeToDate(std::filesystem::file_time_type time);

}  // namespace vellix::engine
