// Wall time of the backup copier against `cp --reflink=never` followed by
// `sync` of the copies, on the same generated store files, in alternating
// runs of one process. Both sides end with the copies durable on the disk.
//
//   bench_backup_copy [folder] [--rounds N] [--files N] [--mib N]
//
// The files go to a new folder under `folder` (default: the temporary
// folder) and are removed at the end.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "bench_support.h"
#include "platform/desktop/path_mapping.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/backupcopy/content_hash.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using vellix::BackupServer;
using vellix::backupcopy::BackupCopier;
using vellix::bench::ClearDestination;
using vellix::bench::Clock;
using vellix::bench::Median;
using vellix::bench::Seconds;

// Runs posted work on the main thread, as the window's event loop would.
class BenchHost : public vellix::UiHost {
 public:
  vellix::MsgResult MsgBox(const std::string&, vellix::MsgButtons, const std::string&) override {
    return vellix::MsgResult::OK;
  }
  void Post(std::function<void()> fn) override {
    {
      std::lock_guard lock(mutex_);
      queue_.push_back(std::move(fn));
    }
    posted_.notify_one();
  }
  void LoadForm(vellix::Form&) override {}
  void ShowForm(vellix::Form&, bool) override {}
  void HideForm(vellix::Form&) override {}
  void UnloadForm(vellix::Form&) override {}
  void BringToFront(vellix::Form&) override {}
  void PopupMenu(vellix::Form&, vellix::Menu&, int32_t, int32_t) override {}
  void StartTimer(vellix::Timer&) override {}
  void StopTimer(vellix::Timer&) override {}
  std::optional<std::string> BrowseForFolder(const std::string&, const std::string&) override {
    return std::nullopt;
  }
  vellix::Ref<vellix::MAPIFolder> PickMailFolder(vellix::NameSpace&) override { return nullptr; }

  void PumpUntil(const bool& done) {
    while (!done) {
      std::function<void()> fn;
      {
        std::unique_lock lock(mutex_);
        posted_.wait(lock, [&] { return !queue_.empty(); });
        fn = std::move(queue_.front());
        queue_.pop_front();
      }
      fn();
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> queue_;
};

// Store files of incompressible bytes, written and synced before timing.
void Generate(const fs::path& path, int64_t bytes, uint64_t seed) {
  std::vector<uint64_t> block((size_t{8} << 20) / sizeof(uint64_t));
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) throw std::runtime_error("cannot create " + path.string());
  uint64_t x = seed * 0x9E3779B97F4A7C15ULL + 1;
  for (int64_t done = 0; done < bytes;) {
    for (auto& w : block) {  // xorshift64*
      x ^= x >> 12;
      x ^= x << 25;
      x ^= x >> 27;
      w = x * 0x2545F4914F6CDD1DULL;
    }
    const auto n = static_cast<size_t>(std::min<int64_t>(bytes - done, block.size() * 8));
    if (::write(fd, block.data(), n) != static_cast<ssize_t>(n)) {
      throw std::runtime_error("cannot write " + path.string());
    }
    done += static_cast<int64_t>(n);
  }
  ::fsync(fd);
  ::close(fd);
}

int Spawn(std::vector<std::string> args) {
  std::vector<char*> argv;
  for (auto& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return -1;
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

double RunCopier(BenchHost& host, const std::vector<fs::path>& files, const fs::path& dst,
                 bool verify) {
  BackupCopier copier(host, vellix::desktop::PathMapping(dst.parent_path()));
  copier.Verify(verify);
  bool done = false;
  int failures = 0;
  auto connection = copier.Status.Connect([&](int32_t& code, std::string& data, bool&) {
    if (code == BackupServer::kFileError) {
      ++failures;
      std::fprintf(stderr, "copy failed: %s\n", data.c_str());
    }
    done = done || code == BackupServer::kRunComplete || code == BackupServer::kCancelled;
  });
  for (const auto& f : files)
    copier.AddFile(f.string(), dst.string());
  const auto start = Clock::now();
  copier.Start();
  host.PumpUntil(done);
  const double took = Seconds(Clock::now() - start);
  if (failures > 0) throw std::runtime_error("the copier reported failures");
  return took;
}

double RunCp(const std::vector<fs::path>& files, const fs::path& dst) {
  std::vector<std::string> cp = {"cp", "--reflink=never"};
  std::vector<std::string> sync = {"sync"};
  for (const auto& f : files) {
    cp.push_back(f.string());
    sync.push_back((dst / f.filename()).string());
  }
  cp.push_back(dst.string());
  const auto start = Clock::now();
  if (Spawn(cp) != 0 || Spawn(sync) != 0) throw std::runtime_error("cp or sync failed");
  return Seconds(Clock::now() - start);
}

double HashSpeed() {
  std::vector<unsigned char> data(size_t{64} << 20, 0x5a);
  const auto start = Clock::now();
  volatile uint64_t sink = 0;
  for (int i = 0; i < 8; ++i)
    sink = sink + vellix::backupcopy::ContentHash::Of(data.data(), data.size());
  return 8.0 * static_cast<double>(data.size()) / Seconds(Clock::now() - start) / 1e9;
}

}  // namespace

int main(int argc, char** argv) {
  const vellix::bench::Options options = vellix::bench::ParseOptions(argc, argv);
  const fs::path base = options.base;
  const int rounds = options.rounds;
  const int fileCount = options.files;
  const int64_t mib = options.mib;

  const fs::path work = base / ("vellix-backup-bench-" + std::to_string(::getpid()));
  const fs::path src = work / "store";
  const fs::path dst = work / "backup";
  int rc = 0;
  try {
    fs::create_directories(src);
    fs::create_directories(dst);
    std::vector<fs::path> files;
    for (int i = 0; i < fileCount; ++i) {
      files.push_back(src / ("Period " + std::to_string(2020 + i) + ".pst"));
      Generate(files.back(), mib << 20, static_cast<uint64_t>(i) + 1);
    }
    std::printf("%d files of %lld MiB in %s; %d rounds\n", fileCount, static_cast<long long>(mib),
                work.c_str(), rounds);
    std::printf("content hash: %.1f GB/s from memory\n", HashSpeed());

    BenchHost host;
    std::vector<double> plain, verified, cp;
    for (int r = 0; r < rounds; ++r) {
      // Each kind of run takes each place in the order in turn.
      for (int k = 0; k < 3; ++k) {
        ClearDestination(dst);
        switch ((r + k) % 3) {
          case 0:
            plain.push_back(RunCopier(host, files, dst, false));
            std::printf("round %d copier          %.3f s\n", r + 1, plain.back());
            break;
          case 1:
            verified.push_back(RunCopier(host, files, dst, true));
            std::printf("round %d copier+verify   %.3f s\n", r + 1, verified.back());
            break;
          default:
            cp.push_back(RunCp(files, dst));
            std::printf("round %d cp+sync         %.3f s\n", r + 1, cp.back());
        }
        std::fflush(stdout);
      }
    }
    const double base_s = Median(cp);
    std::printf("median cp+sync         %.3f s\n", base_s);
    std::printf("median copier          %.3f s  ratio %.3f (aim <= 1.02)\n", Median(plain),
                Median(plain) / base_s);
    std::printf("median copier+verify   %.3f s  ratio %.3f (aim <= 1.5)\n", Median(verified),
                Median(verified) / base_s);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "bench_backup_copy: %s\n", e.what());
    rc = 1;
  }
  std::error_code ignored;
  fs::remove_all(work, ignored);
  return rc;
}
