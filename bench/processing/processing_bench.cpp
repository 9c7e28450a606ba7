// Wall time of a processing pass that files generated mail into the period
// stores, against writing the same bytes to one file with an fsync every
// 1000 items, in alternating runs of one process. While the pass runs, the
// "panel's" thread (this program's main thread) delivers the engine's events
// the way the window's event loop does and reads the monitor at every status
// event and on a 10 ms timer; the longest time it was kept from its own loop
// is reported.
//
//   bench_processing [folder] [--items N] [--rounds N] [--kib N] [--batch N] [--verbose]
//
// The files go to a new folder under `folder` (default: the temporary
// folder) and are removed at the end.

#include <fcntl.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/event.h"
#include "platform/desktop/path_mapping.h"
#include "platform/outlook/mail_profile.h"
#include "platform/outlook/profile_folder.h"
#include "platform/outlook/profile_message.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processor.h"
#include "servers/engine/store_database.h"

namespace {

namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;
using vellix::Date;

double Seconds(SteadyClock::duration d) {
  return std::chrono::duration<double>(d).count();
}

double Millis(SteadyClock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

// Processor time of this process so far, every thread, user and system.
double CpuSeconds() {
  rusage use{};
  ::getrusage(RUSAGE_SELF, &use);
  const auto s = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return s(use.ru_utime) + s(use.ru_stime);
}

double ThreadCpuMillis() {
  timespec t{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t n = v.size();
  return n % 2 == 1 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

class FixedClock final : public vellix::Clock {
 public:
  explicit FixedClock(Date now) : now_(now) {}
  [[nodiscard]] Date Now() const override { return now_; }

 private:
  Date now_;
};

// How long the panel's thread was kept from its own loop.
struct Stalls {
  double longestCall = 0;     // one posted function (a delivery slice, a profile task)
  double longestHandler = 0;  // one status handler, monitor reads included
  double longestTimer = 0;    // one timer read of the monitor
  int over50 = 0;             // posted functions and timer reads above 50 ms
  struct LongCall {
    int64_t number;
    double ms;
    double cpuMs;  // of this thread: the rest it waited (a lock) or was not given a processor
  };
  std::vector<LongCall> longCalls;  // those above 50 ms
  int64_t calls = 0;
  int64_t events = 0;
  double cpu = 0;  // processor seconds of the pass

  void Merge(const Stalls& o) {
    longestCall = std::max(longestCall, o.longestCall);
    longestHandler = std::max(longestHandler, o.longestHandler);
    longestTimer = std::max(longestTimer, o.longestTimer);
    over50 += o.over50;
    calls += o.calls;
    events += o.events;
  }
};

// Runs posted work on the main thread, as the window's event loop would,
// timing each call; between posts it fires `timer` every 10 ms.
class BenchHost {
 public:
  void Post(std::function<void()> fn) {
    {
      std::lock_guard lock(mutex_);
      queue_.push_back(std::move(fn));
    }
    posted_.notify_one();
  }

  void PumpUntil(const std::function<bool()>& done, const std::function<void()>& timer,
                 Stalls& stalls) {
    auto nextTick = SteadyClock::now() + std::chrono::milliseconds(10);
    while (!done()) {
      std::function<void()> fn;
      {
        std::unique_lock lock(mutex_);
        posted_.wait_until(lock, nextTick, [&] { return !queue_.empty(); });
        if (!queue_.empty()) {
          fn = std::move(queue_.front());
          queue_.pop_front();
        }
      }
      if (fn) {
        const auto start = SteadyClock::now();
        const double cpuStart = ThreadCpuMillis();
        fn();
        const double ms = Millis(SteadyClock::now() - start);
        const double cpuMs = ThreadCpuMillis() - cpuStart;
        stalls.longestCall = std::max(stalls.longestCall, ms);
        stalls.over50 += ms > 50 ? 1 : 0;
        if (ms > 50) stalls.longCalls.push_back({stalls.calls, ms, cpuMs});
        ++stalls.calls;
      }
      if (SteadyClock::now() >= nextTick) {
        const auto start = SteadyClock::now();
        timer();
        const double ms = Millis(SteadyClock::now() - start);
        stalls.longestTimer = std::max(stalls.longestTimer, ms);
        stalls.over50 += ms > 50 ? 1 : 0;
        nextTick = SteadyClock::now() + std::chrono::milliseconds(10);
      }
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> queue_;
};

const Date kNow = vellix::DateTimeSerial(2024, 7, 15, 10, 30, 0);

// A profile with one Inbox of `count` mails of about `kib` KiB each,
// received over the six months before kNow, each rendered whole.
std::shared_ptr<vellix::outlook::MailProfile> MakeProfile(int count, int kib, int64_t& bytes) {
  auto profile = std::make_shared<vellix::outlook::MailProfile>();
  auto inbox = profile->AddStore("Mailbox")->AddFolder("Inbox", 0);
  std::mt19937 random(20240715);
  std::uniform_int_distribution<int> size(kib * 1024 * 4 / 5, kib * 1024 * 6 / 5);
  std::uniform_real_distribution<double> age(2.0, 180.0);
  bytes = 0;
  for (int i = 0; i < count; ++i) {
    vellix::outlook::ProfileItem item;
    item.subject = "Report " + std::to_string(i);
    item.sender = "ann@example.com";
    item.recipient = "bob@example.com";
    item.received = Date(kNow.Serial() - age(random));
    item.size = size(random);
    item.key = "bench-" + std::to_string(i) + "@example.com";
    item.message = vellix::outlook::RenderMessage(item);
    bytes += static_cast<int64_t>(item.message.size());
    inbox->AddItem(std::move(item));
  }
  return profile;
}

void Reset(const fs::path& folder) {
  std::error_code ec;
  fs::remove_all(folder, ec);
  fs::create_directories(folder);
  ::sync();  // the next run starts with nothing left to write back
}

int64_t StoredItems(const fs::path& folder) {
  int64_t count = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".pst") continue;
    count += vellix::engine::StoreDatabase::Open(entry.path(),
                                                 vellix::engine::StoreDatabase::Access::kReadOnly)
                 .ItemCount();
  }
  return count;
}

// One pass over the profile into fresh stores: its seconds, with the stalls.
double RunPass(const std::shared_ptr<vellix::outlook::MailProfile>& profile, const fs::path& data,
               bool verbose, int batch, int64_t expected, Stalls& stalls) {
  Reset(data);
  FixedClock clock(kNow);
  BenchHost host;
  vellix::engine::ProcessorOptions options;
  options.post = [&host](std::function<void()> fn) { host.Post(std::move(fn)); };
  options.profile = [profile] { return profile; };
  options.poll = std::chrono::hours(1);
  if (batch > 0) options.batchItems = batch;
  auto processor = std::make_unique<vellix::engine::Processor>(std::move(options));
  vellix::engine::Processor* p = processor.get();
  vellix::desktop::PathMapping paths(data);
  auto engine = std::make_shared<vellix::engine::EngineServer>(data / "engine.xml", paths, clock,
                                                               nullptr, std::move(processor));
  auto config = engine->Config();
  config->StoreLocation("c:\\Store");
  config->PeriodUnits("Month");
  config->ReferenceDate(vellix::DateSerial(2024, 1, 1));
  if (!config->SetPeriodFormat("File '@yyyy-mm'")) throw std::runtime_error("period format");
  auto agent = config->CreateAgent("Mail");
  agent->AddFolder("\\\\Mailbox\\Inbox");
  agent->PurgeNotify(2);  // filing only
  engine->LoggingLevel(verbose ? "Verbose" : "On");
  engine->Configured(true);

  // What a panel reads at a status event, and on its timer.
  auto monitor = engine->Monitor();
  size_t seen = 0;
  const auto readMonitor = [&] {
    if (auto a = monitor->CurrentAgent()) seen += a->Name().size();
    if (auto f = monitor->CurrentFolder()) seen += f->Name().size() + f->ItemCount();
    if (auto i = monitor->CurrentItem()) seen += i->Subject().size();
    seen += monitor->CurrentStore().size();
    const auto progress = monitor->Progress();
    for (int32_t k = 1; k <= progress.Count(); ++k)
      seen += static_cast<size_t>(progress.Item(k)->Count());
  };
  vellix::Connection status = monitor->OnProcessingStatus.Connect([&](int32_t) {
    const auto start = SteadyClock::now();
    readMonitor();
    stalls.longestHandler = std::max(stalls.longestHandler, Millis(SteadyClock::now() - start));
    ++stalls.events;
  });

  const auto start = SteadyClock::now();
  const double cpuStart = CpuSeconds();
  engine->Running(true);  // a running engine starts a pass
  host.PumpUntil([p] { return p->PassesDone() >= 1; }, readMonitor, stalls);
  const double took = Seconds(SteadyClock::now() - start);
  stalls.cpu = CpuSeconds() - cpuStart;
  // Deliver what is left, then stop the worker before checking.
  host.PumpUntil([&] { return true; }, [] {}, stalls);
  engine->Shutdown();
  engine.reset();
  const int64_t stored = StoredItems(paths.ToNative("c:\\Store"));
  if (stored != expected) {
    throw std::runtime_error("the pass filed " + std::to_string(stored) + " of " +
                             std::to_string(expected) + " items");
  }
  if (seen == 0) throw std::runtime_error("the panel's reads of the monitor saw nothing");
  return took;
}

// The same bytes, in the same order, to one file, fsync every 1000 items.
double RunPlain(const vellix::outlook::MailProfile& profile, const fs::path& folder) {
  Reset(folder);
  const auto& items = profile.FindFolder("\\\\Mailbox\\Inbox")->Items();
  const auto start = SteadyClock::now();
  const fs::path file = folder / "plain.bin";
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) throw std::runtime_error("cannot create " + file.string());
  size_t n = 0;
  for (const auto& item : items) {
    const std::string& m = item.message;
    if (::write(fd, m.data(), m.size()) != static_cast<ssize_t>(m.size())) {
      throw std::runtime_error("cannot write " + file.string());
    }
    if (++n % 1000 == 0) ::fsync(fd);
  }
  ::fsync(fd);
  ::close(fd);
  return Seconds(SteadyClock::now() - start);
}

}  // namespace

int main(int argc, char** argv) {
  fs::path base = fs::temp_directory_path();
  int items = 100000;
  int rounds = 3;
  int kib = 10;
  bool verbose = false;
  int batch = 0;  // the processor's own
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--items" && i + 1 < argc) {
      items = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--rounds" && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--kib" && i + 1 < argc) {
      kib = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--batch" && i + 1 < argc) {
      batch = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--verbose") {
      verbose = true;
    } else {
      base = arg;
    }
  }

  const fs::path work = base / ("vellix-processing-bench-" + std::to_string(::getpid()));
  int rc = 0;
  try {
    int64_t bytes = 0;
    const auto profile = MakeProfile(items, kib, bytes);
    std::printf("%d items, %.1f MiB in all, in %s; %d rounds; logging %s\n", items,
                static_cast<double>(bytes) / (1 << 20), work.c_str(), rounds,
                verbose ? "Verbose" : "On");
    std::vector<double> pass;
    std::vector<double> plain;
    Stalls all;
    for (int r = 0; r < rounds; ++r) {
      // Each kind of run takes each place in the order in turn.
      for (int k = 0; k < 2; ++k) {
        if ((r + k) % 2 == 0) {
          Stalls stalls;
          pass.push_back(RunPass(profile, work / "pass", verbose, batch, items, stalls));
          all.Merge(stalls);
          for (const auto& c : stalls.longCalls) {
            std::printf("  call %lld took %.1f ms, %.1f ms of it on a processor\n",
                        static_cast<long long>(c.number), c.ms, c.cpuMs);
          }
          std::printf(
              "round %d pass   %.3f s (cpu %.3f s)  panel: longest call %.1f ms, handler %.1f ms, "
              "timer read "
              "%.1f ms, %d over 50 ms (%lld calls, %lld status events)\n",
              r + 1, pass.back(), stalls.cpu, stalls.longestCall, stalls.longestHandler,
              stalls.longestTimer, stalls.over50, static_cast<long long>(stalls.calls),
              static_cast<long long>(stalls.events));
        } else {
          plain.push_back(RunPlain(*profile, work / "plain"));
          std::printf("round %d plain  %.3f s\n", r + 1, plain.back());
        }
        std::fflush(stdout);
      }
    }
    const double basis = Median(plain);
    std::printf("median plain write + fsync/1000  %.3f s\n", basis);
    std::printf("median pass                      %.3f s  ratio %.3f (aim <= 2)\n", Median(pass),
                Median(pass) / basis);
    std::printf(
        "panel's longest stall: %.1f ms (call %.1f, handler %.1f, timer read %.1f; aim <= 50), "
        "%d over 50 ms\n",
        std::max(all.longestCall, all.longestTimer), all.longestCall, all.longestHandler,
        all.longestTimer, all.over50);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "bench_processing: %s\n", e.what());
    rc = 1;
  }
  std::error_code ignored;
  fs::remove_all(work, ignored);
  return rc;
}
