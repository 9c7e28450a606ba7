#pragma once

#include <string>

namespace vellix {

struct Context;

// One row of the import wizard's list: a folder found under a chosen root,
// and the agent the survey gave it. Plain data, not checked; the survey sets
// it once and nothing changes it after. Making and ending one reports to the
// error log, as the program's classes do.
class ImportEntry {
 public:
  explicit ImportEntry(Context& ctx);
  ~ImportEntry();
  ImportEntry(const ImportEntry&) = delete;
  ImportEntry& operator=(const ImportEntry&) = delete;
  ImportEntry(ImportEntry&&) = delete;
  ImportEntry& operator=(ImportEntry&&) = delete;

  // The root folder path as the wizard's list shows it.
  std::string RootFolder;
  // The folder's full path, as the mail program gives it.
  std::string Folder;
  // "Mail and Post", "Calendar", "Contacts", "Tasks", "Journal" or "Notes".
  std::string FolderTypeName;
  // The agent chosen for the folder's kind when the survey ran.
  std::string Agent;
  // Whether Finish hands the folder to Agent.
  bool Active = false;

 private:
  Context& ctx_;
};

}  // namespace vellix
