#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace vellix::outlook {

class ProfileFolder;

// How the mail profile opens a store file that another program made (the
// engine's period stores): the profile knows no store format of its own, so
// whoever lists a store file in it hands it a reader.
class StoreFileReader {
 public:
  virtual ~StoreFileReader() = default;
  // Opens the file and fills the store's top folder with its folders and
  // items. Gives what keeps the file open for as long as the profile shows
  // the store, or nothing, with why set, when the file can't be opened as a
  // store.
  virtual std::shared_ptr<void> Open(const std::filesystem::path& file, ProfileFolder& top,
                                     std::string* why) = 0;
};

}  // namespace vellix::outlook
