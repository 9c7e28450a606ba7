#pragma once

#include <cstdint>
#include <string>

#include "foundation/ref.h"

// The part of the mail program's object model that the logic uses.
namespace vellix {

class MAPIFolder;

// A folder's sub-folders, or a name space's top folders.
class OutlookFolders {
 public:
  virtual ~OutlookFolders() = default;
  virtual int32_t Count() = 0;
  // By position from 1; out of range raises an error.
  virtual Ref<MAPIFolder> Item(int32_t index) = 0;
  // By name; a name that isn't there raises kNotFound, as the mail program does.
  virtual Ref<MAPIFolder> Item(const std::string& name) = 0;
};

// The error number the mail program gives for a folder that isn't there.
inline constexpr int32_t kOutlookNotFound = -2147221233;

class MAPIFolder {
 public:
  virtual ~MAPIFolder() = default;
  virtual std::string Name() = 0;
  // The folder's full path as text, "\\Store\Inbox\Sub".
  virtual std::string FolderPath() = 0;
  // The same path as the folder survey reads it: "\"-separated, the store's
  // name third after a split on "\", and a path that GetFolder accepts.
  virtual std::string FullFolderPath() { return FolderPath(); }
  // The kind of item the folder holds (0 mail, 1 appointment, ...).
  virtual int32_t DefaultItemType() = 0;
  // How many items the folder itself holds (its Items.Count).
  virtual int32_t ItemCount() = 0;
  virtual Ref<OutlookFolders> Folders() = 0;
};

// An item of a folder; the logic reads its subject only.
class OutlookItem {
 public:
  virtual ~OutlookItem() = default;
  virtual std::string Subject() = 0;
};

class NameSpace {
 public:
  virtual ~NameSpace() = default;
  // The top folders: one for each store of the profile.
  virtual Ref<OutlookFolders> Folders() = 0;
  // The default folder of a kind: 6 inbox, 5 sent mail, 9 calendar, 13 tasks,
  // 12 notes, 10 contacts, 3 deleted items, 16 drafts, 11 journal.
  virtual Ref<MAPIFolder> GetDefaultFolder(int32_t folderType) = 0;
  // The mail program's own modal folder dialog: the folder the user chose,
  // or nothing when they cancelled.
  virtual Ref<MAPIFolder> PickFolder() = 0;
};

class OutlookApplication {
 public:
  virtual ~OutlookApplication() = default;
  // "MAPI" gives the name space; anything else gives nothing.
  virtual Ref<NameSpace> GetNamespace(const std::string& type) = 0;
  // Ends the mail program, which lets go of every store file it holds open.
  // A mail program that holds nothing open has nothing to let go.
  virtual void Quit() {}
};

}  // namespace vellix
