// The processing log with its Qt view, offscreen: the time of 100k events
// against 100 times the time of 1k events, in one process, and the resident
// memory once 100k lines are kept. Each event is posted through the Qt host
// as the engine's worker posts it, in bursts of 50 with the event loop run
// between them, so the view learns of every line and paints as the panel
// does while a pass reports.
//
//   QT_QPA_PLATFORM=offscreen bench_log [--rounds N] [--events N]

#include <QApplication>
#include <QWidget>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "activity/processing_log.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/monitor.h"
#include "view/qt/qt_host.h"

namespace {

using namespace vellix;
using Steady = std::chrono::steady_clock;

class Counter : public ActivityCount {
 public:
  Counter(std::string label, int32_t count) : label_(std::move(label)), count_(count) {}
  std::string Label() override { return label_; }
  int32_t Count() override { return count_; }

 private:
  std::string label_;
  int32_t count_;
};

class Folder : public MAPIFolder {
 public:
  std::string Name() override { return "Inbox"; }
  std::string FolderPath() override { return "\\\\Mailbox - Alex Morgan\\Inbox"; }
  int32_t DefaultItemType() override { return 0; }
  int32_t ItemCount() override { return 0; }
  Ref<OutlookFolders> Folders() override { return nullptr; }
};

class Item : public OutlookItem {
 public:
  std::string Subject() override { return "Re: the quarterly figures for the board, second draft"; }
};

// A pass as the engine reports it: the counts a verbose run carries.
class PassMonitor : public Monitor {
 public:
  PassMonitor() {
    for (const char* label : {"To File", "Filed", "To Purge", "Purged", "Errors"}) {
      counts_.Add(MakeRef<Counter>(label, static_cast<int32_t>(std::strlen(label))));
    }
  }
  bool Processing() override { return true; }
  Ref<Agent> CurrentAgent() override { return nullptr; }
  Ref<MAPIFolder> CurrentFolder() override { return folder_; }
  Ref<OutlookItem> CurrentItem() override { return item_; }
  std::string CurrentStore() override { return "File 2026"; }
  Collection<Ref<ActivityCount>> Progress() override { return counts_; }
  Collection<Ref<ActivityCount>> Forecast() override { return counts_; }

 private:
  Ref<MAPIFolder> folder_ = MakeRef<Folder>();
  Ref<OutlookItem> item_ = MakeRef<Item>();
  Collection<Ref<ActivityCount>> counts_;
};

class LogForm : public Form {
 public:
  explicit LogForm(UiHost& host) : Form(host, "frmLog") {}
  LogBox txtLoEntries{*this, "txtLoEntries"};

 protected:
  void Design() override {
    Caption("Log");
    Width(9000);
    Height(6000);
    txtLoEntries.Move(0, 0, 8800, 5600);
  }
};

long ResidentKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  return -1;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 5;
  int large = 100000;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[i + 1]));
    if (std::strcmp(argv[i], "--events") == 0) large = std::max(100, std::atoi(argv[i + 1]));
  }
  const int small = large / 100;
  QApplication app(argc, argv);
  qtview::QtHost host;
  SystemClock clock;
  const Services services{.clock = clock, .host = &host};
  Context ctx(services);
  Ref<Monitor> monitor = MakeRef<PassMonitor>();
  LogForm form(host);
  form.Show();
  QApplication::processEvents();
  ProcessingLog log(ctx, monitor, form.txtLoEntries);

  // The steps of a verbose pass, over and over.
  static constexpr std::array<int32_t, 8> kCodes{0, 3, 4, 6, 7, 5, 12, 10};
  // Events come through the host's Post, as the engine's worker sends them,
  // some at a time; the window paints between the bursts.
  constexpr int kBurst = 50;
  const auto run = [&](int events) {
    form.txtLoEntries.Text("");
    QApplication::processEvents();
    const auto start = Steady::now();
    for (int i = 0; i < events; ++i) {
      host.Post([&log, i] {
        int32_t code = kCodes[static_cast<std::size_t>(i) % kCodes.size()];
        log.mobjMonitor_ProcessingStatus(code);
      });
      if ((i + 1) % kBurst == 0 || i + 1 == events) QApplication::processEvents();
    }
    return std::chrono::duration<double>(Steady::now() - start).count();
  };

  std::vector<double> smallTimes;
  std::vector<double> largeTimes;
  long resident = 0;
  for (int round = 0; round < rounds; ++round) {
    smallTimes.push_back(run(small));
    largeTimes.push_back(run(large));
    resident = std::max(resident, ResidentKiB());
  }
  const double s = Median(smallTimes);
  const double l = Median(largeTimes);
  std::printf("%d events: %.4f s (median of %d)\n", small, s, rounds);
  std::printf("%d events: %.4f s (median of %d)\n", large, l, rounds);
  std::printf("ratio to 100 x the small run: %.3f (aim: 1.5 or less)\n", l / (100.0 * s));
  std::printf("lines kept: %zu, text of the box: %zu bytes\n", form.txtLoEntries.LineCount(),
              form.txtLoEntries.Text().size());
  std::printf("resident memory after %d events: %ld KiB\n", large, resident);
  form.Unload();
  return 0;
}
