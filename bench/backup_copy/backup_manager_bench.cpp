// Wall time of a backup run driven through the backup manager window, with
// its events drawn in an offscreen Qt view, against the backup copier alone
// on the same period stores, in alternating runs of one process. Both copy
// with the copier's defaults (verification on), as the manager's run does.
// During every run a 10 ms timer on the user-interface thread measures how
// late it fires: the longest stall of the event loop.
//
//   bench_backup_manager [folder] [--rounds N] [--files N] [--mib N]
//
// The stores are real period stores (SQLite, filled with items) attached to
// the engine; everything goes to a new folder under `folder` (default: the
// temporary folder) and is removed at the end.

#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/app_servers.h"
#include "backup/frm_backup_manager.h"
#include "bench_support.h"
#include "foundation/context.h"
#include "foundation/control_startup.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/period.h"
#include "platform/desktop/path_mapping.h"
#include "platform/desktop/posix_file_system.h"
#include "servers/backupcopy/backup_copier.h"
#include "servers/config/data_paths.h"
#include "servers/engine/store_database.h"
#include "view/qt/qt_host.h"

namespace {

namespace fs = std::filesystem;
using vellix::BackupServer;
using vellix::Ref;
using vellix::bench::Clock;
using vellix::bench::Median;
using vellix::bench::Seconds;

// A period store of up to `bytes`: items of 1 MiB of text each, filed in
// batches as the engine files them, until another would not fit.
void MakeStore(const fs::path& file, const std::string& name, int year, int64_t bytes,
               uint64_t seed) {
  using vellix::DateSerial;
  using vellix::engine::StoreDatabase;
  using vellix::engine::StoreItem;
  auto store =
      StoreDatabase::Create(file, name, DateSerial(year, 1, 1), DateSerial(year + 1, 1, 1));
  constexpr int64_t kItemBytes = int64_t{1} << 20;
  // What an item takes in the file, with its pages' overhead.
  constexpr int64_t kItemInFile = kItemBytes + kItemBytes / 16;
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  uint64_t x = seed * 0x9E3779B97F4A7C15ULL + 1;
  const auto item = [&](int64_t n) {
    std::string message =
        "From: Bench <bench@example.org>\r\nTo: User <user@example.org>\r\nSubject: Item " +
        std::to_string(n) + "\r\n\r\n";
    message.reserve(kItemBytes);
    while (static_cast<int64_t>(message.size()) + 78 <= kItemBytes) {
      for (int c = 0; c < 76; ++c) {  // xorshift64*: text no two items share
        x ^= x >> 12;
        x ^= x << 25;
        x ^= x >> 27;
        message.push_back(kDigits[(x * 0x2545F4914F6CDD1DULL) >> 58]);
      }
      message += "\r\n";
    }
    const double day = static_cast<double>(n % 365);
    return StoreItem{name + "-" + std::to_string(n), "\\\\Mailbox\\Inbox",
                     vellix::Date(DateSerial(year, 1, 1).Serial() + day), std::move(message)};
  };
  int64_t n = 0;
  for (int batch = 16; batch > 0;) {
    if (static_cast<int64_t>(fs::file_size(file)) + batch * kItemInFile > bytes) {
      batch /= 4;
      continue;
    }
    std::vector<StoreItem> items;
    for (int i = 0; i < batch; ++i)
      items.push_back(item(n++));
    store.FileItems(items, DateSerial(year + 1, 1, 2));
  }
}

// Measures how late a 10 ms timer on this thread fires: a late tick is time
// the event loop spent inside one callback (or several queued ones).
class StallWatch {
 public:
  StallWatch() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(kPeriodMs);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const auto now = Clock::now();
      longest_ = std::max(longest_, now - last_ - std::chrono::milliseconds(kPeriodMs));
      last_ = now;
      ++ticks_;
    });
  }
  void Start() {
    longest_ = {};
    ticks_ = 0;
    last_ = Clock::now();
    timer_.start();
  }
  void Stop() { timer_.stop(); }
  [[nodiscard]] double LongestMs() const { return Seconds(longest_) * 1000; }
  [[nodiscard]] int Ticks() const { return ticks_; }

 private:
  static constexpr int kPeriodMs = 10;
  QTimer timer_;
  Clock::time_point last_;
  Clock::duration longest_{};
  int ticks_ = 0;
};

// The application's servers, with an eye on every backup server handed out:
// the bench learns of the manager's run from the same events it gets.
class WatchedServers : public vellix::ServerFactory {
 public:
  explicit WatchedServers(vellix::app::AppServers& servers) : servers_(servers) {}

  std::shared_ptr<void> CreateStartupHolder() override { return servers_.CreateStartupHolder(); }
  Ref<vellix::ErrorConnector> CreateErrorConnector() override {
    return servers_.CreateErrorConnector();
  }
  Ref<vellix::ConfigConnector> CreateConfigConnector() override {
    return servers_.CreateConfigConnector();
  }
  Ref<vellix::ConfigNode> CreateConfigNode() override { return servers_.CreateConfigNode(); }
  Ref<vellix::EngineConnector> CreateEngineConnector() override {
    return servers_.CreateEngineConnector();
  }
  Ref<BackupServer> CreateBackupServer() override {
    Ref<BackupServer> server = servers_.CreateBackupServer();
    // Connected before the manager connects: it sees each event first.
    watch_ = server->Status.Connect(
        [this](int32_t& code, std::string& data, bool& cancel) { status(code, data, cancel); });
    last_ = server.Shared();
    return server;
  }
  // The server handed out last, while someone holds it.
  [[nodiscard]] std::shared_ptr<BackupServer> Last() const { return last_.lock(); }
  [[nodiscard]] std::string WhyUnreachable() const override { return servers_.WhyUnreachable(); }

  std::function<void(int32_t, const std::string&, bool)> status = [](int32_t, const std::string&,
                                                                     bool) {};

 private:
  vellix::app::AppServers& servers_;
  vellix::Connection watch_;
  std::weak_ptr<BackupServer> last_;
};

// How long the manager's handler took over each kind of event: the time
// from the first handler (the bench's, connected before the manager's) to
// the last (connected after it).
class HandlerTimes {
 public:
  void Begin(int32_t code) {
    code_ = code;
    began_ = Clock::now();
  }
  void End(int32_t code) {
    if (code != code_ || code < 0 || code >= kCodes) return;
    const double ms = Seconds(Clock::now() - began_) * 1000;
    count_[code] += 1;
    total_[code] += ms;
    longest_[code] = std::max(longest_[code], ms);
    code_ = -1;
  }
  void Print() const {
    for (int code = 0; code < kCodes; ++code) {
      if (count_[code] == 0) continue;
      std::printf("  event %d: %3d handled, %8.1f ms in all, longest %6.1f ms\n", code,
                  count_[code], total_[code], longest_[code]);
    }
  }

 private:
  static constexpr int kCodes = 8;
  int32_t code_ = -1;
  Clock::time_point began_;
  int count_[kCodes] = {};
  double total_[kCodes] = {};
  double longest_[kCodes] = {};
};

// Start-up needs a first window to show; the bench's is empty.
class StartWindow : public vellix::Form {
 public:
  explicit StartWindow(vellix::UiHost& host) : Form(host, "frmBenchStart") {}
};

struct RunResult {
  double seconds = 0;
  double stallMs = 0;
  int ticks = 0;
  HandlerTimes handlers;  // of the manager's run
};

class Bench {
 public:
  Bench(const fs::path& work, const vellix::bench::Options& options)
      : work_(work),
        options_(options),
        paths_(vellix::ResolveDataPaths((work / "data").string())),
        mapping_(work / "data"),
        files_(mapping_),
        servers_(paths_, fs::path(VELLIX_RESOURCES) / "CommonFormat.xml", mapping_, clock_, host_),
        watched_(servers_),
        services_{.clock = clock_,
                  .host = &host_,
                  .servers = &watched_,
                  .fileSystem = &files_,
                  .exeFolder = VELLIX_RESOURCES,
                  .dataFolder = mapping_.DataRoot().string(),
                  .twipsPerPixelX = static_cast<int32_t>(host_.TwipsPerPixel() + 0.5)},
        ctx_(services_),
        start_(host_),
        manager_(ctx_, host_) {
    host_.SetTitle("Vellix Control");
    host_.SetIconFolder(VELLIX_RESOURCES);
  }

  // Makes the stores, the engine's file naming their folder and the backup
  // folder, starts the panel's context and attaches the stores as periods.
  void Prepare() {
    const fs::path store = work_ / "store";
    fs::create_directories(store);
    fs::create_directories(backup());
    std::string error;
    if (!vellix::CreateDataFolders(paths_, &error)) throw std::runtime_error(error);
    for (int i = 0; i < options_.files; ++i) {
      const std::string name = "Period " + std::to_string(2020 + i);
      MakeStore(store / (name + ".pst"), name, 2020 + i, options_.mib << 20,
                static_cast<uint64_t>(i) + 1);
    }
    ::sync();
    WriteFile(servers_.EngineFile(),
              "<VellixEngine FormatVersion=\"1\"><Settings Configured=\"True\" PeriodCount=\"1\" "
              "PeriodUnits=\"Year\" StoreLocation=\"" +
                  store.string() + "\" /><Agents /><Periods /></VellixEngine>");

    vellix::ControlStartup::Main(ctx_, start_);
    if (ctx_.rootNode.IsNothing()) throw std::runtime_error("start-up failed: " + Why());
    ctx_.engineConnector = watched_.CreateEngineConnector();
    if (!ctx_.engineConnector.IsNothing()) ctx_.engine = ctx_.engineConnector->Engine();
    if (ctx_.engine.IsNothing()) throw std::runtime_error("no engine: " + Why());
    Ref<vellix::EngineConfig> config = ctx_.engine->Config();
    for (int i = 0; i < options_.files; ++i) {
      const std::string file = "Period " + std::to_string(2020 + i) + ".pst";
      if (!config->AttachPeriod(file)) throw std::runtime_error("can't attach " + file);
    }
    config->BackupLocation(backup().string());
    config->BackupPolicy(0);
    config->BackupUnattended(false);
    for (const Ref<vellix::Period>& period : config->Periods()) {
      if (period->Valid() != -1) throw std::runtime_error(period->Name() + " is not valid");
      sources_.push_back(period->BackupFile());
      std::printf("%s: %s, %d bytes\n", period->Name().c_str(), period->BackupFile().c_str(),
                  period->FileSize());
    }
  }

  // Shows the manager, waits for "Backup Now", presses it, waits until the
  // window has handled the end of the run, closes it.
  RunResult ThroughManager() {
    RunResult result;
    bool pressed = false;
    bool complete = false;
    int failures = 0;
    Clock::time_point start;
    vellix::Connection after;
    // What a posted call finds gone once this run has returned.
    auto alive = std::make_shared<bool>(true);
    watched_.status = [&](int32_t code, const std::string& data, bool) {
      result.handlers.Begin(code);
      if (code == BackupServer::kFileError) {
        ++failures;
        std::fprintf(stderr, "copy failed: %s\n", data.c_str());
      }
      if (code != BackupServer::kRunComplete && code != BackupServer::kCancelled) return;
      // Posted: it runs once the manager's own handler of this event is done.
      host_.Post([&, run = std::weak_ptr<bool>(alive)] {
        if (run.expired()) return;
        result.seconds = Seconds(Clock::now() - start);
        stall_.Stop();
        result.stallMs = stall_.LongestMs();
        result.ticks = stall_.Ticks();
        complete = true;
      });
    };
    QTimer user;
    user.setInterval(20);
    QObject::connect(&user, &QTimer::timeout, [&] {
      QWidget* window = host_.WindowOf(manager_);
      if (window == nullptr || !manager_.Loaded()) return;
      if (complete) {
        user.stop();
        window->close();  // the window's close box
        return;
      }
      if (pressed || manager_.cmdBackup.Caption() != "Backup Now" || !Settled()) return;
      auto* button = window->findChild<QAbstractButton*>("cmdBackup");
      if (button == nullptr || !button->isEnabled()) return;
      pressed = true;
      if (auto server = watched_.Last()) {
        after = server->Status.Connect(
            [&](int32_t& code, std::string&, bool&) { result.handlers.End(code); });
      }
      stall_.Start();
      start = Clock::now();
      button->click();
    });
    user.start();
    manager_.Show(true);
    user.stop();
    watched_.status = [](int32_t, const std::string&, bool) {};
    if (!complete) throw std::runtime_error("the manager closed before its run was complete");
    if (failures > 0) throw std::runtime_error("the manager's run reported failures");
    for (int32_t row = 1; row <= options_.files; ++row) {
      const std::string cell = manager_.fgcPeriods.TextMatrix(row, 8);
      if (cell != "Complete") {
        throw std::runtime_error("row " + std::to_string(row) + " shows \"" + cell + "\"");
      }
    }
    CheckCopies();
    return result;
  }

  // The same files through a copier of the same defaults, its events on the
  // same host, with nothing listening but the bench.
  RunResult CopierAlone() {
    RunResult result;
    auto copier = vellix::MakeRef<vellix::backupcopy::BackupCopier>(host_, mapping_);
    QEventLoop loop;
    int failures = 0;
    bool done = false;
    auto connection = copier->Status.Connect([&](int32_t& code, std::string& data, bool&) {
      if (code == BackupServer::kFileError) {
        ++failures;
        std::fprintf(stderr, "copy failed: %s\n", data.c_str());
      }
      if (code == BackupServer::kRunComplete || code == BackupServer::kCancelled) {
        done = true;
        loop.quit();
      }
    });
    for (const std::string& file : sources_)
      copier->AddFile(file, backup().string());
    if (!Settled()) {
      QTimer::singleShot(
          std::chrono::duration_cast<std::chrono::milliseconds>(ready_ - Clock::now()), &loop,
          &QEventLoop::quit);
      loop.exec();
    }
    stall_.Start();
    const auto start = Clock::now();
    copier->Start();
    if (!done) loop.exec();
    result.seconds = Seconds(Clock::now() - start);
    stall_.Stop();
    result.stallMs = stall_.LongestMs();
    result.ticks = stall_.Ticks();
    if (failures > 0) throw std::runtime_error("the copier reported failures");
    CheckCopies();
    return result;
  }

  fs::path backup() const { return work_ / "backup"; }

  // Empties the backup folder. On this machine a copy that starts right
  // after the sync goes faster than one that starts seconds later, and the
  // window lets a press through only after its first tick: every run of
  // either kind starts the same fixed time after the clearing.
  void ClearBackup() {
    vellix::bench::ClearDestination(backup());
    ready_ = Clock::now() + kSettle;
  }

 private:
  [[nodiscard]] bool Settled() const { return Clock::now() >= ready_; }
  static void WriteFile(const fs::path& file, const std::string& text) {
    std::FILE* f = std::fopen(file.c_str(), "wb");
    if (f == nullptr) throw std::runtime_error("cannot write " + file.string());
    const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    if (std::fclose(f) != 0 || !ok) throw std::runtime_error("cannot write " + file.string());
  }
  std::string Why() const {
    const std::string why = servers_.WhyUnreachable();
    return why.empty() ? "see " + paths_.ErrorLogFile().string() : why;
  }
  // Each store has a copy of its size in the backup folder.
  void CheckCopies() const {
    for (const std::string& file : sources_) {
      const fs::path source = mapping_.ToNative(file);
      const fs::path copy = backup() / source.filename();
      std::error_code ec;
      if (fs::file_size(copy, ec) != fs::file_size(source) || ec) {
        throw std::runtime_error("no whole copy of " + source.string());
      }
    }
  }

  fs::path work_;
  vellix::bench::Options options_;
  vellix::DataPaths paths_;
  vellix::desktop::PathMapping mapping_;
  vellix::desktop::PosixFileSystem files_;
  vellix::SystemClock clock_;
  vellix::qtview::QtHost host_;
  vellix::app::AppServers servers_;
  WatchedServers watched_;
  vellix::Services services_;
  vellix::Context ctx_;
  StartWindow start_;
  vellix::FrmBackupManager manager_;
  StallWatch stall_;
  std::vector<std::string> sources_;
  static constexpr auto kSettle = std::chrono::seconds(3);
  Clock::time_point ready_;
};

void Report(const char* what, const std::vector<RunResult>& runs) {
  std::vector<double> seconds, stalls;
  for (const RunResult& r : runs) {
    seconds.push_back(r.seconds);
    stalls.push_back(r.stallMs);
  }
  std::printf("median %-14s %.3f s  longest stall: median %.1f ms, worst %.1f ms\n", what,
              Median(seconds), Median(stalls), *std::max_element(stalls.begin(), stalls.end()));
}

}  // namespace

int main(int argc, char** argv) {
  const vellix::bench::Options options = vellix::bench::ParseOptions(argc, argv);
  if (std::getenv("QT_QPA_PLATFORM") == nullptr) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);

  const fs::path work = options.base / ("vellix-manager-bench-" + std::to_string(::getpid()));
  int rc = 0;
  try {
    auto bench = std::make_unique<Bench>(work, options);
    const auto made = Clock::now();
    bench->Prepare();
    std::printf("%d stores of %lld MiB in %s, made in %.1f s; %d rounds\n", options.files,
                static_cast<long long>(options.mib), work.c_str(), Seconds(Clock::now() - made),
                options.rounds);
    std::vector<RunResult> manager, alone;
    const auto print = [](int round, const char* what, const RunResult& r) {
      const std::string name = round == 0 ? "warm-up" : "round " + std::to_string(round);
      std::printf("%-8s %-14s %.3f s  longest stall %.1f ms (%d ticks)\n", name.c_str(), what,
                  r.seconds, r.stallMs, r.ticks);
      std::fflush(stdout);
    };
    // A first round of each kind warms up what a first run pays for (the
    // window's first paint, the first allocation of the backup folder's
    // blocks); it is shown but not counted.
    for (int r = 0; r <= options.rounds; ++r) {
      // Each kind of run takes each place in the order in turn.
      for (int k = 0; k < 2; ++k) {
        bench->ClearBackup();
        const bool throughManager = (r + k) % 2 == 1;
        RunResult run = throughManager ? bench->ThroughManager() : bench->CopierAlone();
        print(r, throughManager ? "manager" : "copier alone", run);
        if (throughManager) run.handlers.Print();
        if (r > 0) (throughManager ? manager : alone).push_back(std::move(run));
      }
    }
    Report("manager", manager);
    Report("copier alone", alone);
    std::vector<double> m, a;
    for (const RunResult& x : manager)
      m.push_back(x.seconds);
    for (const RunResult& x : alone)
      a.push_back(x.seconds);
    std::printf("ratio manager / copier alone %.3f (aim <= 1.05)\n", Median(m) / Median(a));
  } catch (const std::exception& e) {
    std::fprintf(stderr, "bench_backup_manager: %s\n", e.what());
    rc = 1;
  }
  std::error_code ignored;
  fs::remove_all(work, ignored);
  return rc;
}
