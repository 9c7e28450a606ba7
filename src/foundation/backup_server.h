#pragma once

#include <cstdint>
#include <string>

#include "foundation/event.h"
#include "foundation/variant.h"

namespace vellix {

// The copying server behind the backup manager.
class BackupServer {
 public:
  virtual ~BackupServer() = default;
  // Queues one file for the backup location.
  virtual Variant AddFile(const std::string& file, const std::string& location) = 0;
  // Starts copying every file added.
  virtual void Start() = 0;

  // Status codes of a run, with what Data holds.
  enum StatusCode : int32_t {
    kRunBegins = 0,     // not used
    kRunComplete = 1,   // not used
    kFileBegins = 2,    // the file as given to AddFile
    kFileComplete = 3,  // the file
    kFileError = 4,     // the text to show
    kProgress = 5,      // bytes so far, decimal text
    kCancelled = 6,     // the file
  };
  // Progress of a run: Code, Data and Cancel by reference; the receiver may
  // set Cancel to stop the run at this event.
  Event<int32_t&, std::string&, bool&> Status;
};

}  // namespace vellix
