#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/outlook/profile_folder.h"
#include "platform/outlook/store_file_reader.h"

namespace vellix::outlook {

// The user's mail profile: its stores in order, each a tree of folders with
// items, and which folder is the default one of each kind (6 inbox, 5 sent
// mail, 3 deleted items, 16 drafts, 9 calendar, 10 contacts, 13 tasks,
// 12 notes, 11 journal). The period stores the engine makes are listed here
// as store files: while the mail program runs it holds each open and shows
// it as a further store; when it quits it lets them all go.
class MailProfile {
 public:
  // Adds a store at the end. A name already used (without regard to case)
  // or not fit for a folder raises kOutlookOperationFailed.
  std::shared_ptr<ProfileFolder> AddStore(const std::string& name, const std::string& file = {});
  [[nodiscard]] const FolderVector& Stores() const { return stores_; }
  // A store by name without regard to case, or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> Store(std::string_view name) const;

  // The default folder of a kind, or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> DefaultFolder(int32_t kind) const;
  void DefaultFolder(int32_t kind, const std::shared_ptr<ProfileFolder>& folder);
  // The kinds that have a default folder, in increasing order.
  [[nodiscard]] std::vector<int32_t> DefaultKinds() const;

  // The folder at a path "\\Store\Inbox\Sub" (names without regard to case),
  // or nothing.
  [[nodiscard]] std::shared_ptr<ProfileFolder> FindFolder(std::string_view folderPath) const;

  // Folders below the stores, and items, in all stores.
  [[nodiscard]] int32_t FolderCount() const;
  [[nodiscard]] int64_t ItemCount() const;

  // ---- store files that another program lists in the profile ----

  // What opens them; without a reader a store file is listed but never opened.
  void ReadStoreFilesWith(std::shared_ptr<StoreFileReader> reader);
  // Lists a store file under a top folder of that name and, while the mail
  // program runs, opens it at once. A file listed already stays as it is.
  // False, with why set, when it can't be opened now (it is then not
  // listed): no reader, not a store, or a store of that name open already.
  bool ListStoreFile(const std::string& name, const std::filesystem::path& file,
                     std::string* why = nullptr);
  // Closes the file if it is open and takes it off the list.
  void UnlistStoreFile(const std::filesystem::path& file);
  [[nodiscard]] bool HoldsStoreFile(const std::filesystem::path& file) const;
  // The mail program quits: every store file is released and its folder
  // leaves the profile; the files stay listed for the next start.
  void Quit();
  // The mail program starts (again): it opens every listed store file that
  // can be opened. A running program is left as it is.
  void Start();
  [[nodiscard]] bool Running() const { return running_; }

  // A profile read from mail that this program must never change (a
  // Maildir tree): a purge leaves every item where it is and logs what it
  // would have taken.
  [[nodiscard]] bool ReadOnly() const { return readOnly_; }
  void MakeReadOnly() { readOnly_ = true; }

  // What went wrong while the profile was read without stopping it (a
  // message that couldn't be read), each given once, for the log.
  void AddProblem(std::string problem) { problems_.push_back(std::move(problem)); }
  std::vector<std::string> TakeProblems() { return std::exchange(problems_, {}); }

 private:
  struct ListedStore {
    std::string name;
    std::filesystem::path file;
    std::shared_ptr<ProfileFolder> top;  // while open
    std::shared_ptr<void> hold;          // keeps the file open
  };
  bool OpenListed(ListedStore& listed, std::string* why);
  void CloseListed(ListedStore& listed);
  [[nodiscard]] const ListedStore* FindListed(const std::filesystem::path& file) const;

  FolderVector stores_;
  std::map<int32_t, std::weak_ptr<ProfileFolder>> defaults_;
  std::shared_ptr<StoreFileReader> reader_;
  std::vector<ListedStore> listed_;
  bool running_ = true;
  bool readOnly_ = false;
  std::vector<std::string> problems_;
};

// The English names of the default folders, with their kind and item type,
// in the order the mail program lists them.
struct DefaultFolderSpec {
  int32_t kind;
  const char* name;
  int32_t itemType;
};
const std::vector<DefaultFolderSpec>& EnglishDefaultFolders();

}  // namespace vellix::outlook
