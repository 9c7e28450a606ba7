#include "servers/backupcopy/file_copier.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "servers/backupcopy/content_hash.h"

namespace vellix::backupcopy {

namespace {

// A temporary name must stay within the 255 bytes a name may have.
constexpr size_t kMaxNameInTemp = 200;
constexpr int kTempAttempts = 16;
constexpr size_t kTempLetters = 6;

std::string ErrorText(int64_t negativeErrno) {
  return std::system_category().message(static_cast<int>(-negativeErrno));
}

bool IsNoSpace(int64_t r) {
  return r == -ENOSPC || r == -EDQUOT;
}
bool IsGone(int64_t r) {
  return r == -ENOENT || r == -ESTALE || r == -ENOTDIR;
}

CopyResult Failed(std::string text) {
  return {CopyResult::Kind::Failed, std::move(text)};
}

}  // namespace

// The state of one file's copy; the destructor closes what is open and
// removes the temporary file unless it took the final name.
class FileCopier::Job {
 public:
  Job(FileCopier& owner, const CopyRequest& request)
      : owner_(owner), io_(owner.io_), req_(request) {}
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  ~Job();

  CopyResult Run(const Progress& progress, const Stopping& stopping);

 private:
  std::optional<CopyResult> Open();
  std::string PartialPrefix() const;
  void RemoveStalePartials();
  std::optional<CopyResult> CreateTemp();
  std::optional<CopyResult> CopyData(const Progress& progress, const Stopping& stopping);
  std::optional<CopyResult> CopyThroughMemory(int64_t& done, int64_t want);
  std::optional<CopyResult> HandToDisk(int64_t done, const Stopping& stopping);
  std::optional<CopyResult> HashUpTo(int64_t end, const Stopping& stopping);
  int64_t HashSide(int fd, ContentHash& hash, std::vector<unsigned char>& buffer, int64_t end,
                   const Stopping& stopping);
  std::optional<CopyResult> CheckSourceUnchanged();
  std::optional<CopyResult> SyncAndVerify(const Stopping& stopping);
  std::optional<CopyResult> SourceEnded();

  CopyResult ReadFailure(int64_t r) const;
  CopyResult WriteFailure(int64_t r) const;
  // The disk filled up while the copy was written.
  CopyResult NoSpace() const {
    return Failed("Could not copy " + req_.shownFile + ": the disk of the backup folder " +
                  req_.shownLocation + " is full");
  }
  // Known before a byte is written: the file can't fit.
  CopyResult TooLittleSpace() const {
    return Failed("Could not copy " + req_.shownFile + ": the disk of the backup folder " +
                  req_.shownLocation + " has too little free space for it");
  }
  CopyResult Disappeared() const { return Failed(req_.shownFile + " disappeared during the copy"); }
  CopyResult Changed() const { return Failed(req_.shownFile + " changed during the copy"); }
  CopyResult Mismatch() const {
    return Failed("The copy of " + req_.shownFile + " does not match the original");
  }

  FileCopier& owner_;
  FileIo& io_;
  const CopyRequest& req_;
  FileInfo src_;
  std::filesystem::path final_;
  std::filesystem::path temp_;
  int in_ = -1;
  int out_ = -1;
  bool placed_ = false;

  // Writing to the disk: handed over up to started, waited for up to waited.
  int64_t started_ = 0;
  int64_t waited_ = 0;
  bool writeback_ = true;
  // Checking: both sides hashed up to hashed.
  ContentHash sourceHash_;
  ContentHash copyHash_;
  int64_t hashed_ = 0;
};

FileCopier::FileCopier(FileIo& io, CopySettings settings)
    : io_(io), settings_(settings), random_(std::random_device{}()) {
  settings_.chunkBytes = std::max<int64_t>(settings_.chunkBytes, 1);
  settings_.bufferBytes = std::max<int64_t>(settings_.bufferBytes, 4096);
}

CopyResult FileCopier::Copy(const CopyRequest& request, const Progress& progress,
                            const Stopping& stopping) {
  const auto bufferSize = static_cast<size_t>(settings_.bufferBytes);
  if (buffer_.size() != bufferSize) buffer_.assign(bufferSize, 0);
  if (settings_.verify && sourceBuffer_.size() != bufferSize) sourceBuffer_.assign(bufferSize, 0);
  Job job(*this, request);
  return job.Run(progress, stopping);
}

FileCopier::Job::~Job() {
  if (out_ >= 0) io_.Close(out_);
  if (!temp_.empty() && !placed_) io_.Remove(temp_);
  if (in_ >= 0) io_.Close(in_);
}

CopyResult FileCopier::Job::Run(const Progress& progress, const Stopping& stopping) {
  if (auto r = Open()) return *r;
  if (auto r = CreateTemp()) return *r;
  if (auto r = CopyData(progress, stopping)) return *r;
  if (auto r = CheckSourceUnchanged()) return *r;
  if (const int64_t r = io_.CopyAttributes(out_, src_); r < 0) return WriteFailure(r);
  if (auto r = SyncAndVerify(stopping)) return *r;

  const int64_t closed = io_.Close(std::exchange(out_, -1));
  if (closed < 0) return WriteFailure(closed);
  if (const int64_t r = io_.Rename(temp_, final_); r < 0) {
    return Failed("Could not put the copy of " + req_.shownFile + " in place: " + ErrorText(r));
  }
  placed_ = true;
  // The copy itself is durable already; a folder that can't be synced only
  // risks the rename, never a partial file under the final name.
  (void)io_.SyncFolder(req_.folder);
  return {};
}

std::optional<CopyResult> FileCopier::Job::Open() {
  const auto name = req_.source.filename();
  if (name.empty()) return Failed(req_.shownFile + " is not a file");

  FileInfo folder;
  if (io_.Stat(req_.folder, folder) < 0 || !folder.directory) {
    return Failed("The backup location " + req_.shownLocation + " could not be found");
  }

  const int fd = io_.OpenRead(req_.source);
  if (IsGone(fd)) return Failed(req_.shownFile + " could not be found");
  if (fd < 0) return Failed("Could not open " + req_.shownFile + ": " + ErrorText(fd));
  in_ = fd;
  if (const int r = io_.StatOpen(in_, src_); r < 0) return ReadFailure(r);
  if (!src_.regular) return Failed(req_.shownFile + " is not a file");

  final_ = req_.folder / name;
  FileInfo existing;
  if (io_.Stat(final_, existing) == 0 && existing.device == src_.device &&
      existing.inode == src_.inode) {
    return Failed(req_.shownFile + " is already in the backup location");
  }
  RemoveStalePartials();
  // The temporary copy sits beside any older copy until the rename, so the
  // whole size must be free; better to say so now than after gigabytes.
  const int64_t free = io_.FreeSpace(req_.folder);
  if (free >= 0 && free < src_.size) return TooLittleSpace();
  return std::nullopt;
}

std::string FileCopier::Job::PartialPrefix() const {
  std::string stem = final_.filename().string();
  if (stem.size() > kMaxNameInTemp) stem.resize(kMaxNameInTemp);
  return "." + stem + ".vellix-partial-";
}

// A run killed half-way (the panel ended, the machine went down) left its
// temporary copy, as big as the store; a copy of the same file that starts
// afterwards takes the space back. Only one panel runs per user, so no other
// copy of this file can be under way.
void FileCopier::Job::RemoveStalePartials() {
  const std::string prefix = PartialPrefix();
  std::error_code ec;
  for (std::filesystem::directory_iterator it(req_.folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name.size() == prefix.size() + kTempLetters && name.starts_with(prefix)) {
      (void)io_.Remove(it->path());
    }
  }
}

std::optional<CopyResult> FileCopier::Job::CreateTemp() {
  const std::string prefix = PartialPrefix();
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  int r = -EEXIST;
  for (int attempt = 0; attempt < kTempAttempts && r == -EEXIST; ++attempt) {
    std::string name = prefix;
    for (size_t i = 0; i < kTempLetters; ++i)
      name += kLetters[owner_.random_() % (sizeof kLetters - 1)];
    const auto candidate = req_.folder / name;
    r = io_.CreateNew(candidate);
    if (r >= 0) {
      out_ = r;
      temp_ = candidate;
      return std::nullopt;
    }
  }
  if (IsNoSpace(r)) return NoSpace();
  return Failed("Could not write to the backup location " + req_.shownLocation + ": " +
                ErrorText(r));
}

std::optional<CopyResult> FileCopier::Job::CopyData(const Progress& progress,
                                                    const Stopping& stopping) {
  const int64_t size = src_.size;
  int64_t done = 0;
  // The kernel copies without the data passing through this process; when it
  // refuses (another file system, an old kernel) or fails, copying goes on
  // through memory, where a failure tells which side it came from.
  bool inKernel = true;
  while (done < size) {
    const int64_t want = std::min(owner_.settings_.chunkBytes, size - done);
    if (inKernel) {
      const int64_t n = io_.CopyRange(in_, done, out_, done, want);
      if (n <= 0) {
        inKernel = false;
        continue;
      }
      done += n;
    } else if (auto failure = CopyThroughMemory(done, want)) {
      return failure;
    }
    if (auto failure = HandToDisk(done, stopping)) return failure;
    if (done < size && progress(done, false)) return CopyResult{CopyResult::Kind::Stopped, {}};
  }
  if (progress(size, true)) return CopyResult{CopyResult::Kind::Stopped, {}};
  return std::nullopt;
}

// Each window of data goes to the disk as soon as it is copied, and the
// window before it is waited for: the disk never idles while the copy goes
// on, unwritten memory stays at two windows, and progress follows what the
// disk has taken instead of racing ahead of a long final sync. The window
// just copied is hashed while the disk writes, so checking costs little time.
std::optional<CopyResult> FileCopier::Job::HandToDisk(int64_t done, const Stopping& stopping) {
  if (done - started_ < owner_.settings_.chunkBytes) return std::nullopt;
  if (writeback_) {
    if (const int r = io_.Writeback(out_, started_, done - started_, false); r < 0) {
      if (r != -EINVAL && r != -ENOSYS && r != -EOPNOTSUPP && r != -ESPIPE) return WriteFailure(r);
      writeback_ = false;  // not on this file system: the final sync does it all
    }
  }
  if (owner_.settings_.verify) {
    if (auto failure = HashUpTo(done, stopping)) return failure;
  }
  if (writeback_ && started_ > waited_) {
    if (const int r = io_.Writeback(out_, waited_, started_ - waited_, true); r < 0) {
      return WriteFailure(r);
    }
  }
  waited_ = started_;
  started_ = done;
  return std::nullopt;
}

std::optional<CopyResult> FileCopier::Job::CopyThroughMemory(int64_t& done, int64_t want) {
  auto& buffer = owner_.buffer_;
  const int64_t n =
      io_.ReadAt(in_, buffer.data(), std::min<int64_t>(want, std::ssize(buffer)), done);
  if (n < 0) return ReadFailure(n);
  if (n == 0) return SourceEnded();
  for (int64_t written = 0; written < n;) {
    const int64_t w = io_.WriteAt(out_, buffer.data() + written, n - written, done + written);
    if (w < 0) return WriteFailure(w);
    if (w == 0) return WriteFailure(-EIO);
    written += w;
  }
  done += n;
  return std::nullopt;
}

// The source ended before its size: it was cut short or removed.
std::optional<CopyResult> FileCopier::Job::SourceEnded() {
  FileInfo now;
  const int r = io_.Stat(req_.source, now);
  if (IsGone(r) || (r == 0 && now.inode != src_.inode)) return Disappeared();
  return Changed();
}

std::optional<CopyResult> FileCopier::Job::CheckSourceUnchanged() {
  FileInfo now;
  if (const int r = io_.StatOpen(in_, now); r < 0) return ReadFailure(r);
  if (now.size != src_.size || now.modifiedNs != src_.modifiedNs) return Changed();
  const int r = io_.Stat(req_.source, now);
  if (IsGone(r) || (r == 0 && (now.inode != src_.inode || now.device != src_.device))) {
    return Disappeared();
  }
  return std::nullopt;
}

std::optional<CopyResult> FileCopier::Job::SyncAndVerify(const Stopping& stopping) {
  if (!owner_.settings_.verify) {
    if (const int r = io_.Sync(out_); r < 0) return IsNoSpace(r) ? NoSpace() : WriteFailure(r);
    return std::nullopt;
  }
  // The sync waits on the disk while the last window is hashed from memory.
  int synced = 0;
  std::optional<CopyResult> failure;
  {
    std::jthread syncer([&] { synced = io_.Sync(out_); });
    FileInfo copy;
    if (const int r = io_.StatOpen(out_, copy); r < 0) {
      failure = WriteFailure(r);
    } else if (copy.size != src_.size) {
      failure = Mismatch();
    } else {
      failure = HashUpTo(src_.size, stopping);
      if (!failure && sourceHash_.Digest() != copyHash_.Digest()) failure = Mismatch();
    }
  }
  if (failure) return failure;
  if (synced < 0) return IsNoSpace(synced) ? NoSpace() : WriteFailure(synced);
  return std::nullopt;
}

// Extends the hashes of both sides up to end, reading each back from the
// file system; the two sides are read at once, one on a helper thread.
std::optional<CopyResult> FileCopier::Job::HashUpTo(int64_t end, const Stopping& stopping) {
  if (hashed_ >= end) return std::nullopt;
  int64_t source = 0;
  int64_t copy = 0;
  {
    std::jthread sourceSide(
        [&] { source = HashSide(in_, sourceHash_, owner_.sourceBuffer_, end, stopping); });
    copy = HashSide(out_, copyHash_, owner_.buffer_, end, stopping);
  }
  hashed_ = end;
  if (source == -ECANCELED || copy == -ECANCELED) return CopyResult{CopyResult::Kind::Stopped, {}};
  if (source < 0) return ReadFailure(source);
  if (source == 0) return Changed();
  if (copy <= 0) {
    return Failed("Could not check the copy of " + req_.shownFile + ": " +
                  ErrorText(copy == 0 ? -EIO : copy));
  }
  return std::nullopt;
}

// Hashes fd from where both sides stand up to end: 1 when done, 0 when the
// file ended first, -errno for a failed read, -ECANCELED when asked to stop.
int64_t FileCopier::Job::HashSide(int fd, ContentHash& hash, std::vector<unsigned char>& buffer,
                                  int64_t end, const Stopping& stopping) {
  for (int64_t at = hashed_; at < end;) {
    if (stopping()) return -ECANCELED;
    const int64_t n =
        io_.ReadAt(fd, buffer.data(), std::min<int64_t>(std::ssize(buffer), end - at), at);
    if (n <= 0) return n;
    hash.Update(buffer.data(), static_cast<size_t>(n));
    at += n;
  }
  return 1;
}

CopyResult FileCopier::Job::ReadFailure(int64_t r) const {
  if (IsGone(r)) return Disappeared();
  return Failed("Could not read " + req_.shownFile + ": " + ErrorText(r));
}

CopyResult FileCopier::Job::WriteFailure(int64_t r) const {
  if (IsNoSpace(r)) return NoSpace();
  return Failed("Could not write the copy of " + req_.shownFile + ": " + ErrorText(r));
}

}  // namespace vellix::backupcopy
