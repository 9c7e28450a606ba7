#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/event.h"
#include "foundation/ref.h"

// The part of the mail program's object model that the logic uses.
namespace vellix {

class MAPIFolder;
class OutlookItems;

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
  // The folder's items, where new items are made (Items.Add).
  Ref<OutlookItems> Items() { return NewItems(); }

 protected:
  // What Items gives. A folder that can't make items keeps this default: its
  // items refuse Add with kOutlookOperationRefused.
  virtual Ref<OutlookItems> NewItems();
};

// The error number the mail program gives for an operation it refuses.
inline constexpr int32_t kOutlookOperationRefused = -2147467259;
// The runtime's "Application-defined or object-defined error": what a call
// gives that the mail program's guard or the user stopped. Positive, so the
// procedure that asked has it in its log record.
inline constexpr int32_t kOutlookSendFailed = 287;

// An item of a folder; the logic reads its subject only.
class OutlookItem {
 public:
  virtual ~OutlookItem() = default;
  virtual std::string Subject() = 0;
};

// A mail item's attached files.
class OutlookAttachments {
 public:
  virtual ~OutlookAttachments() = default;
  // Attaches a copy of the file at `path`; a file that isn't there raises.
  virtual void Add(const std::string& path) = 0;
  virtual int32_t Count() = 0;
};

// A mail item's recipients.
class OutlookRecipients {
 public:
  virtual ~OutlookRecipients() = default;
  // Adds an address; an empty one raises.
  virtual void Add(const std::string& address) = 0;
  virtual int32_t Count() = 0;
};

// A new mail, made by Items.Add(0).
class MailItem : public OutlookItem {
 public:
  std::string Subject() override = 0;
  virtual void Subject(const std::string& value) = 0;
  virtual std::string Body() = 0;
  virtual void Body(const std::string& value) = 0;
  virtual Ref<OutlookAttachments> Attachments() = 0;
  virtual Ref<OutlookRecipients> Recipients() = 0;
  // Sends the mail. A mail without a recipient, or one the user declines to
  // send, raises kOutlookSendFailed and stays unsent.
  virtual void Send() = 0;
};

// The items of a folder, as far as the logic makes new ones.
class OutlookItems {
 public:
  virtual ~OutlookItems() = default;
  // A new item of the type given (0 a mail); the mail program makes only
  // mail here, and any other type raises.
  virtual Ref<MailItem> Add(int32_t itemType) = 0;
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

// An open item window of the mail program.
class Inspector {
 public:
  virtual ~Inspector() = default;
  // Closes the window; save mode 0 saves its changes without asking.
  virtual void Close(int32_t saveMode) = 0;
};

// A window of the mail program that shows one folder at a time; the user
// moves between folders in it and closes it when done.
class Explorer {
 public:
  virtual ~Explorer() = default;
  // The folder on show.
  virtual Ref<MAPIFolder> CurrentFolder() = 0;
  // Puts the window on the screen; it is not modal.
  virtual void Display() = 0;

  // The user closed the window.
  Event<> Close;
  // The window shows another folder now.
  Event<> FolderSwitch;
};

// The mail program's open Explorer windows, where new ones are made.
class OutlookExplorers {
 public:
  virtual ~OutlookExplorers() = default;
  // A new Explorer on the folder; display mode 0 is the normal window. It
  // shows once Display is called.
  virtual Ref<Explorer> Add(const Ref<MAPIFolder>& folder, int32_t displayMode) = 0;
};

class OutlookApplication {
 public:
  virtual ~OutlookApplication() = default;
  // "MAPI" gives the name space; anything else gives nothing.
  virtual Ref<NameSpace> GetNamespace(const std::string& type) = 0;
  // Ends the mail program, which lets go of every store file it holds open.
  // A mail program that holds nothing open has nothing to let go.
  virtual void Quit() {}
  // The item windows open at this moment; a mail program with none gives none.
  virtual std::vector<Ref<Inspector>> Inspectors() { return {}; }
  // Where Explorer windows are made; a mail program that shows no windows
  // gives nothing, and asking it for one is a call on nothing.
  virtual Ref<OutlookExplorers> Explorers() { return nullptr; }
};

}  // namespace vellix
