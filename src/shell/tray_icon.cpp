#include "shell/tray_icon.h"

#include <exception>

#include "foundation/config_node.h"
#include "foundation/context.h"
#include "foundation/error_log.h"
#include "foundation/form.h"
#include "foundation/frame.h"
#include "foundation/timer.h"
#include "foundation/tray_platform.h"
#include "foundation/vb_error.h"
#include "shell/frm_icon_timer.h"

namespace vellix {

namespace {

constexpr const char* kModule = "TrayIcon";

bool IsContinuationByte(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

TrayIcon::TrayIcon(Context& ctx, TrayPlatform& platform, FrmIconTimer& iconTimer, const Form& popup,
                   const std::string& productName)
    : ctx_(ctx), platform_(platform) {
  Frame frame(ctx_, kModule, "Class_Initialize");
  frame.PassOverErrors = true;
  frame.Run([&] {
    state_ = "Stopped";

    stoppedPicture_ = LoadPassingOver(kStoppedFile);
    runningPicture_ = LoadPassingOver(kRunningFile);
    processingAPicture_ = LoadPassingOver(kProcessingAFile);
    processingBPicture_ = LoadPassingOver(kProcessingBFile);
    backingupAPicture_ = LoadPassingOver(kBackingupAFile);
    backingupBPicture_ = LoadPassingOver(kBackingupBFile);
    // One missing file makes every picture the form's icon: a broken
    // installation shows one steady icon rather than a blank one now and then.
    if (stoppedPicture_.empty() || runningPicture_.empty() || processingAPicture_.empty() ||
        processingBPicture_.empty() || backingupAPicture_.empty() || backingupBPicture_.empty()) {
      const std::string& fallback = popup.Icon();
      stoppedPicture_ = fallback;
      runningPicture_ = fallback;
      processingAPicture_ = fallback;
      processingBPicture_ = fallback;
      backingupAPicture_ = fallback;
      backingupBPicture_ = fallback;
    }

    ctx_.errorLog->ObjectCreated(kProject, kModule);

    // Touching a control of an unloaded form loads it.
    iconTimer.Load();
    mtmrIconTimer_ = &iconTimer.tmrTrayIcon;
    mtmrIconTimer_->Tick = [this] { mtmrIconTimer_Timer(); };
    mtmrIconTimer_->Enabled(false);

    const std::string tipText =
        ctx_.rootNode->GetValue(std::string(kBranch) + ".Strings.SystemTrayTip").ToString();
    tip_ = CutToBytes(productName + " " + tipText, kTipBytes);
    platform_.Add(stoppedPicture_, tip_);
  });
}

TrayIcon::~TrayIcon() {
  Frame frame(ctx_, kModule, "Class_Terminate");
  frame.PassOverErrors = true;
  frame.Run([&] {
    ctx_.errorLog->ObjectDestroyed(kProject, kModule);
    IconTimer().Enabled(false);
    ReleaseTimer();
    platform_.Delete();
  });
  // The handler goes with this object even when the steps above stopped early.
  ReleaseTimer();
}

void TrayIcon::State(const std::string& value) {
  Frame frame(ctx_, kModule, "State");
  frame.PassOverErrors = true;
  frame.Run([&] {
    state_ = value;
    if (value == "Stopped") {
      IconTimer().Enabled(false);
      DisplayStoppedIcon();
    } else if (value == "Running") {
      IconTimer().Enabled(false);
      DisplayRunningIcon();
    } else if (value == "Processing") {
      // Setting the values the timer already has leaves a running count alone.
      IconTimer().Interval(kAnimationInterval);
      IconTimer().Enabled(true);
      DisplayProcessingIcon();
    } else if (value == "Backingup") {
      IconTimer().Interval(kAnimationInterval);
      IconTimer().Enabled(true);
      DisplayBackingupIcon();
    }
  });
}

std::string TrayIcon::CutToBytes(const std::string& text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text;
  std::size_t cut = maxBytes;
  // Step back over at most three continuation bytes to the start of the
  // character that would be split; stray bytes beyond that are cut as bytes.
  for (int back = 0; back < 3 && cut > 0 && IsContinuationByte(text[cut]); ++back)
    --cut;
  if (IsContinuationByte(text[cut])) cut = maxBytes;
  return text.substr(0, cut);
}

void TrayIcon::DisplayStoppedIcon() {
  Frame frame(ctx_, kModule, "DisplayStoppedIcon");
  frame.PassOverErrors = true;
  frame.Run([&] { ShowPicture(stoppedPicture_); });
}

void TrayIcon::DisplayRunningIcon() {
  Frame frame(ctx_, kModule, "DisplayStoppedIcon");
  frame.PassOverErrors = true;
  frame.Run([&] { ShowPicture(runningPicture_); });
}

void TrayIcon::DisplayProcessingIcon() {
  Frame frame(ctx_, kModule, "DisplayStoppedIcon");
  frame.PassOverErrors = true;
  frame.Run([&] { ShowNextOfPair(processingAPicture_, processingBPicture_); });
}

void TrayIcon::DisplayBackingupIcon() {
  // The backing-up pictures are held but the processing pair is what shows.
  Frame frame(ctx_, kModule, "DisplayStoppedIcon");
  frame.PassOverErrors = true;
  frame.Run([&] { ShowNextOfPair(processingAPicture_, processingBPicture_); });
}

void TrayIcon::mtmrIconTimer_Timer() {
  Frame frame(ctx_, kModule, "Class_Terminate");
  frame.PassOverErrors = true;
  frame.Run([&] {
    const std::string& state = State();
    if (state == "Processing") {
      DisplayProcessingIcon();
    } else if (state == "Backingup") {
      DisplayBackingupIcon();
    }
  });
}

void TrayIcon::ShowPicture(const std::string& picture) {
  platform_.Modify(picture, tip_);
}

void TrayIcon::ShowNextOfPair(const std::string& first, const std::string& second) {
  if (!nextIsB_) {
    ShowPicture(first);
    nextIsB_ = true;
  } else {
    ShowPicture(second);
    nextIsB_ = false;
  }
}

std::string TrayIcon::LoadPassingOver(const char* file) {
  try {
    return platform_.LoadPicture(ctx_.services.exeFolder + "\\" + file);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): passed over on purpose
    // Errors are passed over while the pictures load: the picture stays at
    // nothing and the fallback to the form's icon takes over.
    return {};
  }
}

Timer& TrayIcon::IconTimer() const {
  if (mtmrIconTimer_ == nullptr) throw VbError(err::kObjectNotSet);
  return *mtmrIconTimer_;
}

void TrayIcon::ReleaseTimer() {
  if (mtmrIconTimer_ == nullptr) return;
  mtmrIconTimer_->Tick = nullptr;
  mtmrIconTimer_ = nullptr;
}

}  // namespace vellix
