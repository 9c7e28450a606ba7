#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/backup_server.h"
#include "foundation/ui_host.h"
#include "platform/desktop/path_mapping.h"
#include "servers/backupcopy/file_copier.h"
#include "servers/backupcopy/file_io.h"

namespace vellix::backupcopy {

// Raised by Start while a run is still going.
inline constexpr int32_t kErrAlreadyCopying = -2147221504 + 513;

// The backup server: copies the queued files on a worker thread and reports
// each step as a Status event on the user-interface thread. The worker waits
// for every handler to return and reads its Cancel before it goes on.
//
// Own it through a shared_ptr (MakeRef) when a Status handler may release
// it: the event being delivered then keeps it alive until the handler is
// done. Release it on the user-interface thread. Releasing it stops the run
// at once and never waits on the user-interface thread, so it cannot hang
// when that thread no longer runs posted work.
class BackupCopier : public BackupServer, public std::enable_shared_from_this<BackupCopier> {
 public:
  // io defaults to the operating system's files.
  BackupCopier(UiHost& host, desktop::PathMapping paths, std::shared_ptr<FileIo> io = nullptr);
  ~BackupCopier() override;
  BackupCopier(const BackupCopier&) = delete;
  BackupCopier& operator=(const BackupCopier&) = delete;

  // File and Location are path texts as the logic writes them; the copy
  // goes to Location under the file's own name. Answers True.
  Variant AddFile(const std::string& file, const std::string& location) override;
  // Copies every file added since the last Start; the run begins with code 0
  // and ends with code 1, or with 6 when cancelled.
  void Start() override;

  // Checking each copy against its source, on by default. Settings apply
  // from the next Start.
  [[nodiscard]] bool Verify() const;
  void Verify(bool value);
  // Bytes per in-kernel copy call.
  [[nodiscard]] int64_t ChunkBytes() const;
  void ChunkBytes(int64_t value);
  // Shortest time between two progress events of a file; the last progress,
  // with the whole size, is always told.
  [[nodiscard]] std::chrono::milliseconds ProgressInterval() const;
  void ProgressInterval(std::chrono::milliseconds value);
  // A run is going (it ends as its last event is posted).
  [[nodiscard]] bool Running() const;

 private:
  struct Entry {
    std::string file;
    std::string location;
  };
  struct Channel;
  struct RunPlan;
  enum class Answer { Go, Cancel, Closing };

  void Run(const RunPlan& plan);
  // Posts one event; when wait is set, blocks until its handler returned and
  // tells what it answered.
  Answer Report(const RunPlan& plan, int32_t code, const std::string& data, bool wait);
  void EndRun(const RunPlan& plan, int32_t code, const std::string& data);

  UiHost& host_;
  desktop::PathMapping paths_;
  std::shared_ptr<FileIo> io_;
  std::shared_ptr<Channel> channel_;

  mutable std::mutex mutex_;  // what follows, shared with the worker
  std::vector<Entry> queue_;
  CopySettings settings_;
  std::chrono::milliseconds progressInterval_{250};
  bool running_ = false;

  std::thread worker_;  // only the user-interface thread touches it
};

}  // namespace vellix::backupcopy
