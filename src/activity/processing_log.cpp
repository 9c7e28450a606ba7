#include "activity/processing_log.h"

#include <array>
#include <string_view>

#include "foundation/agent.h"
#include "foundation/format.h"
#include "foundation/frame.h"
#include "foundation/log_box.h"
#include "foundation/monitor.h"
#include "foundation/outlook.h"
#include "foundation/text.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmPopup";
// Items show the start of their subject only, so a line stays one line.
constexpr std::size_t kSubjectLength = 30;

enum class LineForm { Plain, Agent, Folder, Item, Store };

struct LineRule {
  std::string_view label;  // indented as the line stands in the run
  LineForm form;
  bool forecast;  // which counts end the line: expected, or done so far
};

// By event code. Codes 19 and 20 have no line of their own.
constexpr std::array<LineRule, 22> kLines{{
    {"Processing Started", LineForm::Plain, true},
    {"  Agent Started", LineForm::Agent, true},
    {"  Agent Complete", LineForm::Agent, false},
    {"    Filing Started", LineForm::Plain, true},
    {"      Folder Started", LineForm::Folder, true},
    {"      Folder Complete", LineForm::Folder, false},
    {"        Item Started", LineForm::Item, true},
    {"        Item Complete", LineForm::Item, false},
    {"    Importing Started", LineForm::Plain, true},
    {"    Importing Complete", LineForm::Plain, false},
    {"Processing Complete", LineForm::Plain, false},
    {"Backup Started", LineForm::Plain, true},
    {"    Filing Complete", LineForm::Plain, false},
    {"Backup Complete", LineForm::Plain, false},
    {"    Purging Started", LineForm::Plain, true},
    {"    Purging Complete", LineForm::Plain, false},
    {"Processing Stopped", LineForm::Plain, false},
    {"    Store Started", LineForm::Store, true},
    {"    Store Complete", LineForm::Store, false},
    {"", LineForm::Plain, false},
    {"", LineForm::Plain, false},
    // An error names the item in hand, and what was expected of the run.
    {"        Processing Error", LineForm::Item, true},
}};

const Variant& At(const std::vector<Variant>& data, std::size_t index) {
  if (index >= data.size()) throw VbError(err::kSubscriptOutOfRange, "Subscript out of range");
  return data[index];
}

}  // namespace

ProcessingLog::ProcessingLog(Context& ctx, const Ref<Monitor>& monitor, LogBox& entries)
    : ctx_(ctx), monitor_(monitor), entries_(entries) {}

void ProcessingLog::mobjMonitor_ProcessingStatus(int32_t& code) {
  // The trace keeps the engine's old event name.
  Frame frame(ctx_, kModule, "mobjVellix_ProcessingStatus");
  frame.Run([&] {
    // Both are built for every event, also for one whose line uses neither.
    const std::string forecast = ForecastLogDetails();
    const std::string progress = ProgressLogDetails();
    // Two readings of the clock, as the stamp has always been taken.
    std::string line = Format(ctx_.Now(), "Short Date", ctx_.locale());
    line += ' ';
    line += Format(ctx_.Now(), "Short Time", ctx_.locale());

    if (code >= 0 && code < static_cast<int32_t>(kLines.size()) &&
        !kLines[static_cast<std::size_t>(code)].label.empty()) {
      const LineRule& rule = kLines[static_cast<std::size_t>(code)];
      Monitor& monitor = *monitor_;
      line += ' ';
      line += rule.label;
      line += ' ';
      switch (rule.form) {
        case LineForm::Plain:
          break;
        case LineForm::Agent:
          line += "(" + monitor.CurrentAgent()->Name() + ") ";
          break;
        case LineForm::Folder:
          line += "(" + monitor.CurrentFolder()->FolderPath() + ") ";
          break;
        case LineForm::Item:
          line += "(" + Left(monitor.CurrentItem()->Subject(), kSubjectLength) + ") ";
          break;
        case LineForm::Store:
          line += monitor.CurrentStore() + " ";
          break;
      }
      line += rule.forecast ? forecast : progress;
    }
    entries_.PrependLine(std::move(line));
  });
}

std::string ProcessingLog::ProgressLogDetails() {
  return LogDetails("ProgressLogDetails", false);
}

std::string ProcessingLog::ForecastLogDetails() {
  return LogDetails("ForecastLogDetails", true);
}

std::string ProcessingLog::LogDetails(const char* procedure, bool forecast) {
  Frame frame(ctx_, kModule, procedure);
  std::string details;
  // A failure part way returns what was built up to it.
  frame.Run([&] {
    Monitor& monitor = *monitor_;
    const Collection<Ref<ActivityCount>> counts =
        forecast ? monitor.Forecast() : monitor.Progress();
    for (int32_t i = 1; i <= counts.Count(); ++i) {
      ActivityCount& count = *counts.Item(i);
      const int32_t n = count.Count();
      if (n > 0) details += count.Label() + ":" + std::to_string(n) + " ";
    }
  });
  return details;
}

std::string ProcessingLog::EventDataString(const std::vector<Variant>& data) {
  Frame frame(ctx_, "frmPopup", "EventDataString");
  return frame.Run(std::string(), [&](std::string& text) {
    text = "Total Items: " + At(data, 0).ToString();
    text += " Items To Process: " + At(data, 1).ToString();
    const auto above0 = [&](std::size_t i) { return At(data, i).ToDouble() > 0; };
    // Progress and the newer file copies are shown by their neighbour's
    // test; the support tools read the text so.
    if (above0(3)) text += " Progress: " + At(data, 2).ToString();
    if (above0(3)) text += " Items Added To File: " + At(data, 3).ToString();
    if (above0(4)) text += " Updated Items: " + At(data, 4).ToString();
    if (above0(5)) text += " Duplicates: " + At(data, 5).ToString();
    if (above0(5)) text += " File Copies More Recent: " + At(data, 6).ToString();
    if (above0(7)) text += " Errors: " + At(data, 7).ToString();
    if (above0(8)) text += " Purged: " + At(data, 8).ToString();
  });
}

}  // namespace vellix
