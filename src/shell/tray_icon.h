#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vellix {

struct Context;
class Form;
class FrmIconTimer;
class Timer;
class TrayPlatform;

// The one icon in the notification area, showing what the engine does:
// "Stopped", "Running", "Processing" (two pictures taking turns every 500 ms)
// and "Backingup", which takes turns with the Processing pictures too.
//
// The pictures come from six icon files in the executable's folder; when any
// of them can't be loaded, all six become the main form's icon, so that a
// broken installation shows one steady icon. The icon's tip is the product's
// name, a blank and the text of .Strings.SystemTrayTip, cut to the 63 bytes
// the notification record holds.
//
// The icon is in the notification area from construction to destruction. The
// timer is borrowed from frmIconTimer, which must outlive this object.
class TrayIcon {
 public:
  static constexpr const char* kStoppedFile = "Stopped.ico";
  static constexpr const char* kRunningFile = "Running.ico";
  static constexpr const char* kProcessingAFile = "ProcessingA.ico";
  static constexpr const char* kProcessingBFile = "ProcessingB.ico";
  static constexpr const char* kBackingupAFile = "BackingupA.ico";
  static constexpr const char* kBackingupBFile = "BackingupB.ico";
  // Milliseconds between two pictures of an animation.
  static constexpr int32_t kAnimationInterval = 500;
  // Bytes of tip text: the record's 64-byte field less its terminating zero.
  static constexpr std::size_t kTipBytes = 63;

  // popup gives the fallback picture (its Icon()); productName is the main
  // form's ProductName.
  TrayIcon(Context& ctx, TrayPlatform& platform, FrmIconTimer& iconTimer, const Form& popup,
           const std::string& productName);
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;
  ~TrayIcon();

  // "Stopped", "Running", "Processing" or "Backingup". Any other text is kept
  // as the state and changes neither the timer nor the picture.
  [[nodiscard]] const std::string& State() const { return state_; }
  void State(const std::string& value);

  // The tip that goes out with every call, as the record holds it.
  [[nodiscard]] const std::string& Tip() const { return tip_; }

  // The text cut to at most maxBytes bytes, never inside a UTF-8 character.
  static std::string CutToBytes(const std::string& text, std::size_t maxBytes);

 private:
  void DisplayStoppedIcon();
  void DisplayRunningIcon();
  void DisplayProcessingIcon();
  void DisplayBackingupIcon();
  void mtmrIconTimer_Timer();

  // One display step: the record gets the picture, and the icon changes.
  void ShowPicture(const std::string& picture);
  // The next picture of an animated pair.
  void ShowNextOfPair(const std::string& first, const std::string& second);
  std::string LoadPassingOver(const char* file);
  // The borrowed timer; raises 91 while there is none.
  [[nodiscard]] Timer& IconTimer() const;
  void ReleaseTimer();

  Context& ctx_;
  TrayPlatform& platform_;

  std::string state_ = "Stopped";
  std::string stoppedPicture_;
  std::string runningPicture_;
  std::string processingAPicture_;
  std::string processingBPicture_;
  std::string backingupAPicture_;
  std::string backingupBPicture_;
  // Which picture of a pair comes next. Never reset, so a new animation goes
  // on from where the last one stopped.
  bool nextIsB_ = false;
  Timer* mtmrIconTimer_ = nullptr;
  std::string tip_;
};

}  // namespace vellix
