#include "servers/backupcopy/backup_copier.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <utility>

#include "foundation/vb_error.h"
#include "servers/backupcopy/system_file_io.h"

namespace vellix::backupcopy {

// The hand-over between the worker and the handlers on the user-interface
// thread. It outlives the copier: a posted event may still be queued when
// the copier goes, and then finds closing set and does nothing.
struct BackupCopier::Channel {
  std::mutex mutex;
  std::condition_variable changed;
  bool closing = false;
  bool answered = false;
  bool cancel = false;
  std::atomic<bool> closingFlag{false};  // read between blocks without the lock

  void Reply(bool cancelled) {
    {
      std::lock_guard lock(mutex);
      answered = true;
      cancel = cancelled;
    }
    changed.notify_all();
  }
};

// What one run works on, fixed when it starts.
struct BackupCopier::RunPlan {
  std::vector<Entry> files;
  CopySettings settings;
  std::chrono::milliseconds progressInterval{};
  // How the posted events reach the copier: through a weak reference when a
  // shared_ptr owns it, else the plain pointer guarded by closing.
  std::weak_ptr<BackupCopier> weak;
  bool shared = false;
};

BackupCopier::BackupCopier(UiHost& host, desktop::PathMapping paths, std::shared_ptr<FileIo> io)
    : host_(host),
      paths_(std::move(paths)),
      io_(io ? std::move(io) : std::make_shared<SystemFileIo>()),
      channel_(std::make_shared<Channel>()) {}

BackupCopier::~BackupCopier() {
  {
    std::lock_guard lock(channel_->mutex);
    channel_->closing = true;
    channel_->closingFlag = true;
  }
  channel_->changed.notify_all();
  if (worker_.joinable()) worker_.join();
}

Variant BackupCopier::AddFile(const std::string& file, const std::string& location) {
  std::lock_guard lock(mutex_);
  queue_.push_back({file, location});
  return true;
}

void BackupCopier::Start() {
  auto plan = std::make_unique<RunPlan>();
  {
    std::lock_guard lock(mutex_);
    if (running_) throw VbError(kErrAlreadyCopying, "The backup server is already copying");
    running_ = true;
    plan->files = std::exchange(queue_, {});
    plan->settings = settings_;
    plan->progressInterval = progressInterval_;
  }
  plan->weak = weak_from_this();
  plan->shared = !plan->weak.expired();
  // The last run has posted its last event and is leaving, or has left.
  if (worker_.joinable()) worker_.join();
  worker_ = std::thread([this, plan = std::move(plan)] {
    try {
      Run(*plan);
    } catch (const std::exception&) {
      // Only posting can throw here; with no way to tell the window, the run
      // ends quietly rather than taking the program down.
      std::lock_guard lock(mutex_);
      running_ = false;
    }
  });
}

bool BackupCopier::Verify() const {
  std::lock_guard lock(mutex_);
  return settings_.verify;
}

void BackupCopier::Verify(bool value) {
  std::lock_guard lock(mutex_);
  settings_.verify = value;
}

int64_t BackupCopier::ChunkBytes() const {
  std::lock_guard lock(mutex_);
  return settings_.chunkBytes;
}

void BackupCopier::ChunkBytes(int64_t value) {
  std::lock_guard lock(mutex_);
  settings_.chunkBytes = std::max<int64_t>(value, 1);
}

std::chrono::milliseconds BackupCopier::ProgressInterval() const {
  std::lock_guard lock(mutex_);
  return progressInterval_;
}

void BackupCopier::ProgressInterval(std::chrono::milliseconds value) {
  std::lock_guard lock(mutex_);
  progressInterval_ = std::max(value, std::chrono::milliseconds(0));
}

bool BackupCopier::Running() const {
  std::lock_guard lock(mutex_);
  return running_;
}

BackupCopier::Answer BackupCopier::Report(const RunPlan& plan, int32_t code,
                                          const std::string& data, bool wait) {
  const auto channel = channel_;
  {
    std::lock_guard lock(channel->mutex);
    if (channel->closing) return Answer::Closing;
    channel->answered = false;
    channel->cancel = false;
  }
  host_.Post([channel, weak = plan.weak, shared = plan.shared, self = this, code, data] {
    std::shared_ptr<BackupCopier> keep;
    if (shared) {
      keep = weak.lock();
      if (!keep) return;
    }
    {
      std::lock_guard lock(channel->mutex);
      if (channel->closing) return;
    }
    int32_t handlerCode = code;
    std::string handlerData = data;
    bool cancel = false;
    // The worker hears back even when a handler throws.
    struct Reply {
      Channel& to;
      const bool& cancel;
      ~Reply() { to.Reply(cancel); }
    } reply{*channel, cancel};
    self->Status.Raise(handlerCode, handlerData, cancel);
  });
  if (!wait) return Answer::Go;
  std::unique_lock lock(channel->mutex);
  channel->changed.wait(lock, [&] { return channel->answered || channel->closing; });
  if (channel->closing) return Answer::Closing;
  return channel->cancel ? Answer::Cancel : Answer::Go;
}

// The last event of a run is not waited for: nothing is read from it, and a
// handler may start the next run or release the copier.
void BackupCopier::EndRun(const RunPlan& plan, int32_t code, const std::string& data) {
  {
    std::lock_guard lock(mutex_);
    running_ = false;
  }
  Report(plan, code, data, false);
}

void BackupCopier::Run(const RunPlan& plan) {
  const auto& files = plan.files;
  // A cancel answered between files stops the run before the next file,
  // which is then the one the cancelled event names.
  auto nextName = [&](size_t i) { return i < files.size() ? files[i].file : std::string(); };

  Answer answer = Report(plan, kRunBegins, {}, true);
  if (answer == Answer::Closing) return;
  if (answer == Answer::Cancel) return EndRun(plan, kCancelled, nextName(0));

  FileCopier copier(*io_, plan.settings);
  auto stopping = [this] { return channel_->closingFlag.load(); };
  for (size_t i = 0; i < files.size(); ++i) {
    const Entry& entry = files[i];
    answer = Report(plan, kFileBegins, entry.file, true);
    if (answer == Answer::Closing) return;
    if (answer == Answer::Cancel) return EndRun(plan, kCancelled, entry.file);

    auto lastTold = std::chrono::steady_clock::now();
    auto progress = [&](int64_t bytes, bool last) {
      if (stopping()) {
        answer = Answer::Closing;
        return true;
      }
      const auto now = std::chrono::steady_clock::now();
      // An empty file has no progress to show, and a progress of 0 of 0
      // would only make the window divide by zero.
      if (last ? bytes == 0 : now - lastTold < plan.progressInterval) return false;
      lastTold = now;
      answer = Report(plan, kProgress, std::to_string(bytes), true);
      return answer != Answer::Go;
    };

    CopyResult result;
    try {
      CopyRequest request{entry.file, entry.location, paths_.ToNative(entry.file),
                          paths_.ToNative(entry.location)};
      result = copier.Copy(request, progress, stopping);
    } catch (const std::exception& e) {
      result = {CopyResult::Kind::Failed, "Could not copy " + entry.file + ": " + e.what()};
    }
    if (result.kind == CopyResult::Kind::Stopped) {
      if (answer == Answer::Cancel) EndRun(plan, kCancelled, entry.file);
      return;
    }
    const bool complete = result.kind == CopyResult::Kind::Complete;
    answer = Report(plan, complete ? kFileComplete : kFileError,
                    complete ? entry.file : result.text, true);
    if (answer == Answer::Closing) return;
    if (answer == Answer::Cancel) return EndRun(plan, kCancelled, nextName(i + 1));
  }
  EndRun(plan, kRunComplete, {});
}

}  // namespace vellix::backupcopy
