#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The desktop services the logic asks for: the shell's folders and folder
// dialog, the file system object, and the program that opens web pages.
// Every path here is a path text as the logic writes it ("C:\a\b" or a POSIX
// path); the implementation maps it onto real folders.
namespace vellix {

// The shell object.
class DesktopShell {
 public:
  virtual ~DesktopShell() = default;
  // The user's personal documents folder (the shell's name space 5, its
  // Self.Path), or nothing when the desktop has none.
  virtual std::optional<std::string> PersonalFolder() = 0;
  // A modal folder dialog with the title given, opened at the folder `start`
  // when it names one (a path text; empty for none); the chosen folder's
  // path, or nothing when the user cancelled.
  virtual std::optional<std::string> BrowseForFolder(const std::string& title,
                                                     const std::string& start) = 0;
};

// A file of a folder: its name, and its path as the file system object gives
// it (the folder's path, a separator, the name).
struct FolderFile {
  std::string name;
  std::string path;
};

// The file system object.
class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // False for an empty path, a file or anything that isn't there.
  virtual bool FolderExists(const std::string& path) = 0;
  // Creates one folder. Raises 76 when its parent folder is missing and 58
  // when something of that name is there already.
  virtual void CreateFolder(const std::string& path) = 0;
  // A special folder: 0 the system's own folder, 1 its system folder, 2 the
  // temporary folder. Any other number raises 5.
  virtual std::string GetSpecialFolder(int32_t which) = 0;
  // A fresh name for a temporary file, "rad" + five hex digits + ".tmp". The
  // name only; nothing is created.
  virtual std::string GetTempName() = 0;
  // Creates or replaces a text file with the text given. Raises 76 when the
  // folder isn't there.
  virtual void WriteTextFile(const std::string& path, const std::string& text) = 0;
  // Deletes a file; raises 53 when there is none.
  virtual void DeleteFile(const std::string& path) = 0;
  virtual bool FileExists(const std::string& path) = 0;
  // The files of a folder, its sub-folders left out, in the order the file
  // system gives them. Raises 76 when the folder isn't there.
  virtual std::vector<FolderFile> FilesOf(const std::string& folder) = 0;
};

// What finding the program for a file gave: a result above 32 and the
// program, or a result of 32 or less and no program.
struct ExecutableLookup {
  int32_t result = 0;
  std::string program;
};

// Results of the shell's program calls.
inline constexpr int32_t kShellErrorOutOfResources = 0;  // it couldn't be started otherwise
inline constexpr int32_t kShellErrorFileNotFound = 2;    // the file given isn't there
inline constexpr int32_t kShellErrorAccessDenied = 5;    // the program may not be run
inline constexpr int32_t kShellErrorNoAssociation = 31;  // nothing opens such a file
inline constexpr int32_t kShellSuccess = 42;             // any result above 32 is success

// The program that opens web pages.
class WebBrowser {
 public:
  virtual ~WebBrowser() = default;
  // The program that opens the file given (a page on disk). A result of 32 or
  // less is a failure.
  virtual ExecutableLookup FindExecutable(const std::string& file) = 0;
  // Starts the program with the parameters as its one argument, without
  // waiting for it. A result of 32 or less means it didn't start.
  virtual int32_t ShellExecute(const std::string& program, const std::string& parameters) = 0;
};

}  // namespace vellix
