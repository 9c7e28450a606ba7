// Thirty days of the control panel on its stand-ins, headless, on a fake
// clock: a generated mail profile of 50k items with new mail every pass,
// Quick setup and Run Now, a processing pass every 5 minutes, logging on and
// an unattended daily backup through the backup manager.
//
//   bench_longrun [--days N] [--items N] [--mail-per-pass N]
//
// Fails (exit 1) when the resident memory of day N, less what the log box's
// lines take (it keeps every line by design), exceeds 1.1 x that of day 1,
// when the error log holds any record but the state machine's trace, or when
// a pass or a backup doesn't end. Prints the days, passes, items filed and
// purged, backups, memory and wall time.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "backup/frm_backup_manager.h"
#include "dialogs/frm_predictive_start.h"
#include "dialogs/frm_purge_notice.h"
#include "foundation/engine_config.h"
#include "foundation/log_box.h"
#include "foundation/period.h"
#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_mail_program.h"
#include "servers/common/write_behind.h"
#include "support/popup/popup_world.h"

namespace {

using namespace vellix;
namespace fs = std::filesystem;
using Steady = std::chrono::steady_clock;

constexpr int64_t kStepMs = int64_t{5} * 60 * 1000;  // the engine's PassMinutes
constexpr int kStepsPerDay = 24 * 12;

struct Options {
  int days = 30;
  int items = 50000;
  // New mail per pass, alternately received and sent: 2 give 576 a day.
  int mailPerPass = 2;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string name = argv[i];
    char* end = nullptr;
    const long value = std::strtol(argv[i + 1], &end, 10);
    if (*end != '\0' || value <= 0 || value > 10'000'000) return false;
    if (name == "--days") {
      options.days = static_cast<int>(value);
    } else if (name == "--items") {
      options.items = static_cast<int>(value);
    } else if (name == "--mail-per-pass") {
      options.mailPerPass = static_cast<int>(value);
    } else {
      return false;
    }
  }
  return argc % 2 == 1;
}

int64_t ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  int64_t pages = 0;
  int64_t resident = 0;
  statm >> pages >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

// What malloc has handed out and not had back: a leak grows it, a
// fragmented heap only grows the resident size.
int64_t HeapInUse() {
  const struct mallinfo2 info = ::mallinfo2();
  return static_cast<int64_t>(info.uordblks + info.hblkhd);
}

// What the box's lines hold on the heap and in its deque: each string's
// object, and its buffer as malloc rounds it (16-byte steps, 8 bytes of
// header) once it is too long for the string's own room.
int64_t LineBytes(const LogBox& box) {
  int64_t bytes = 0;
  for (size_t i = 0; i < box.LineCount(); ++i) {
    const size_t capacity = box.Line(i).capacity();
    bytes += static_cast<int64_t>(sizeof(std::string));
    if (capacity > 15) bytes += static_cast<int64_t>((capacity + 1 + 8 + 15) / 16 * 16);
  }
  return bytes;
}

int32_t ItemsInStores(test::PopupWorld& w) {
  int32_t items = 0;
  for (const Ref<Period>& period : w.engine->Config()->Periods())
    items += period->ItemCount();
  return items;
}

double Mib(int64_t bytes) {
  return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// The run's bookkeeping of what the harness records: the error log's records
// are counted, and they, the tray's calls and the host's history are dropped
// each day, so the recording itself doesn't grow the process.
struct LogAudit {
  std::map<std::string, int> unexpected;
  int64_t traceLines = 0;
  int64_t objectsAlive = 0;
  int64_t trayCalls = 0;

  void Take(test::PopupWorld& w) {
    for (const auto& r : w.log->records) {
      if (r.procedure == "StateMonitor") {
        ++traceLines;
      } else {
        ++unexpected[r.module + "." + r.procedure + ": " + r.message];
      }
    }
    w.log->records.clear();
    for (const std::string& line : w.log->lifecycle) {
      if (line.starts_with("ObjectCreated ")) ++objectsAlive;
      if (line.starts_with("ObjectDestroyed ")) --objectsAlive;
    }
    w.log->lifecycle.clear();
    trayCalls += static_cast<int64_t>(w.tray.calls.size());
    w.tray.calls.clear();
    w.tray.loadedPaths.clear();
    w.host.ClearHistory();
    w.host.ClearPrompts();
  }
};

int Run(const Options& options);

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    (void)std::fprintf(stderr, "usage: bench_longrun [--days N] [--items N] [--mail-per-pass N]\n");
    return 2;
  }
  const auto wallStart = Steady::now();
  // The world's folder has a fixed name below TMPDIR: a folder of this
  // process's own keeps two runs from clearing each other's.
  std::string scratch = (fs::temp_directory_path() / "vellix-longrun-XXXXXX").string();
  if (::mkdtemp(scratch.data()) == nullptr || ::setenv("TMPDIR", scratch.c_str(), 1) != 0) {
    (void)std::fprintf(stderr, "no scratch folder at %s\n", scratch.c_str());
    return 1;
  }
  const int code = Run(options);
  std::error_code ec;
  fs::remove_all(scratch, ec);
  (void)std::printf("wall time %.1f s\n",
                    std::chrono::duration<double>(Steady::now() - wallStart).count());
  return code;
}

namespace {

int Run(const Options& options) {
  test::PopupWorld w;
  // The user's mail of the last two months, spread over the default folders
  // and some below them; mail and sent mail are purged a week after filing.
  outlook::ProfileRecipe recipe;
  recipe.folders = 40;
  recipe.items = options.items;
  recipe.newest = Date(w.clock.Now().Serial() - 1);
  recipe.spanDays = 60;
  const auto profile = outlook::GenerateProfile(recipe);
  w.mail = std::make_unique<outlook::ProfileMailProgram>(profile);
  w.services.mailProgram = w.mail.get();
  const int64_t itemsAtStart = profile->ItemCount();

  engine::Processor& work = w.UseProcessor();
  w.PresetHidden(false);
  w.Start();
  // A first start reports the unconfigured engine: that is the setup's cue.
  w.log->records.clear();
  const fs::path backups = w.dir / "backup";
  fs::create_directories(backups);
  if (!w.popup.quickSetup.txtBackupPath.UserSetText(backups.string()) ||
      !w.popup.quickSetup.optQuarter.UserClick()) {
    (void)std::fprintf(stderr, "Quick setup refused its input\n");
    return 1;
  }
  w.host.OnModal("frmPredictiveStart", [](Form& form) {
    (void)dynamic_cast<FrmPredictiveStart&>(form).cmdRunNow.UserClick();
  });
  int purgeQuestions = 0;
  w.host.OnModal("frmPurgeNotice", [&](Form& form) {
    ++purgeQuestions;
    auto& notice = dynamic_cast<FrmPurgeNotice&>(form);
    (void)notice.optPurge.UserClick();
    (void)notice.cmdOK.UserClick();
  });
  // Unattended, the manager counts down, presses its own button for each
  // step and closes itself when the copy completes; the user does nothing.
  int backupsRun = 0;
  int backupsStuck = 0;
  w.host.OnModal("frmBackupManager", [&](Form& form) {
    auto& manager = dynamic_cast<FrmBackupManager&>(form);
    for (int second = 0; second < 3600 && w.host.IsLoaded("frmBackupManager"); ++second) {
      w.host.Advance(1000);
      (void)w.host.PumpUntil([&] { return !manager.FlagBackupRunning(); }, std::chrono::minutes(5));
    }
    if (w.host.IsLoaded("frmBackupManager")) {
      ++backupsStuck;
      (void)std::printf("backup manager still open: mode %d, button \"%s\", %s\n", manager.Mode(),
                        manager.cmdBackup.Caption().c_str(),
                        manager.lblCountdown.Caption().c_str());
    } else {
      ++backupsRun;
    }
  });
  if (!w.popup.quickSetup.cmdOK.UserClick()) {
    (void)std::fprintf(stderr, "Quick setup's OK refused\n");
    return 1;
  }
  const Ref<EngineConfig> config = w.engine->Config();
  config->BackupEveryCount(1);
  config->BackupEveryUnits("Day");
  config->BackupUnattended(true);

  const auto inbox = profile->DefaultFolder(6);
  const auto sent = profile->DefaultFolder(5);
  LogAudit audit;
  int64_t mailAdded = 0;
  int passesStuck = 0;
  int64_t rssDay1 = 0;
  int64_t objectsDay1 = 0;
  for (int day = 1; day <= options.days; ++day) {
    // The backup closed the mail program to copy its stores; the user opens
    // it again in the morning.
    if (!profile->Running()) (void)w.mail->CreateApplication();
    for (int step = 0; step < kStepsPerDay; ++step) {
      for (int m = 0; m < options.mailPerPass; ++m, ++mailAdded) {
        outlook::ProfileItem item;
        item.subject = "Daily mail " + std::to_string(mailAdded);
        item.sender = "someone@example.com";
        item.received = w.clock.Now();
        item.size = 4000;
        (m % 2 == 0 ? inbox : sent)->AddItem(std::move(item));
      }
      // The worker asks for this each second of real time; here time moves
      // only by the steps, so the bench asks after each.
      w.host.Advance(kStepMs);
      work.Tick();
      if (!w.host.PumpUntil([&] { return !work.Busy(); }, std::chrono::minutes(30))) ++passesStuck;
      w.host.Pump();
    }
    audit.Take(w);
    servers::WriteBehind::Shared().WaitAll();
    const int64_t rss = ResidentBytes();
    if (day == 1) {
      rssDay1 = rss;
      objectsDay1 = audit.objectsAlive;
    }
    (void)std::printf(
        "day %2d: passes %5d, in stores %7d, in profile %7lld, backups %2d, RSS %.1f MiB, "
        "heap in use %.1f MiB, engine journal %zu entries\n",
        day, work.PassesDone(), ItemsInStores(w), static_cast<long long>(profile->ItemCount()),
        backupsRun, Mib(rss), Mib(HeapInUse()), w.engine->Journal().Entries().size());
    (void)std::fflush(stdout);
  }
  const int64_t rssLast = ResidentBytes();
  const int64_t heapLast = HeapInUse();
  // What of the growth is free memory malloc holds on to, not live data.
  (void)::malloc_trim(0);
  const int64_t rssTrimmed = ResidentBytes();
  const LogBox& box = w.popup.log.txtLoEntries;
  const int64_t lineBytes = LineBytes(box);
  const int64_t purged = itemsAtStart + mailAdded - profile->ItemCount();

  (void)std::printf(
      "days %d, passes run %d (stuck %d), items filed %d, purged %lld (questions %d)\n",
      options.days, work.PassesDone(), passesStuck, ItemsInStores(w),
      static_cast<long long>(purged), purgeQuestions);
  (void)std::printf("profile %lld items at start, %lld mail added\n",
                    static_cast<long long>(itemsAtStart), static_cast<long long>(mailAdded));
  (void)std::printf("backups run %d (not closed %d), last %s\n", backupsRun, backupsStuck,
                    config->LastBackup().IsZero() ? "never" : "recorded");
  (void)std::printf("RSS day 1 %.1f MiB, day %d %.1f MiB; log lines %zu taking %.1f MiB\n",
                    Mib(rssDay1), options.days, Mib(rssLast), box.LineCount(), Mib(lineBytes));
  (void)std::printf("heap in use day %d %.1f MiB; RSS after malloc_trim %.1f MiB\n", options.days,
                    Mib(heapLast), Mib(rssTrimmed));
  (void)std::printf(
      "objects alive day 1 %lld, day %d %lld; state trace lines %lld, tray calls %lld\n",
      static_cast<long long>(objectsDay1), options.days, static_cast<long long>(audit.objectsAlive),
      static_cast<long long>(audit.traceLines), static_cast<long long>(audit.trayCalls));

  bool ok = true;
  const double bound = 1.1 * static_cast<double>(rssDay1);
  if (static_cast<double>(rssLast - lineBytes) > bound) {
    (void)std::printf("FAIL: RSS day %d less the log lines, %.1f MiB, is over 1.1 x day 1\n",
                      options.days, Mib(rssLast - lineBytes));
    ok = false;
  }
  for (const auto& [record, count] : audit.unexpected) {
    (void)std::printf("FAIL: error log, %d x %s\n", count, record.c_str());
    ok = false;
  }
  if (passesStuck > 0 || backupsStuck > 0 || backupsRun < options.days ||
      ::testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed()) {
    (void)std::printf("FAIL: a pass or a backup did not finish, or the host saw a fault\n");
    ok = false;
  }
  return ok ? 0 : 1;
}

}  // namespace
