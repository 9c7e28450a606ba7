#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/ui_host.h"
#include "support/manual_clock.h"

namespace vellix::test {

// One message box as it was shown.
struct Prompt {
  std::string text;
  MsgButtons buttons = MsgButtons::OK;
  std::string title;
};

// The window system of the tests: a script of the user's answers and a record
// of what the program showed.
//
// - Message boxes answer from a queue (AnswerNext); with the queue empty a box
//   answers OK (OK and OK-Cancel boxes) or Yes (Yes-No boxes). An answer that
//   the box doesn't offer fails the test. Every box is recorded.
// - A modal form runs the step registered for its name (OnModal) and returns
//   once the step is done. A form still open after its step fails the test;
//   with no step registered the form is closed by its close box, as a user
//   who dismisses it would.
// - While a modal form or a message box is up, the functions posted so far
//   run first, as a nested event loop runs them (RunPostedWhileModal(false)
//   turns that off), then the step or the box's own action.
// - Time stands still until Advance: it fires the due timers in order of due
//   time (equal times in the order they were started), and moves the
//   ManualClock given, if any, along.
// - Post may come from any thread; the posted functions run when the test
//   pumps them. A modeless show and a bring-to-front activate the form by a
//   posted function, as a window system's activation message comes after the
//   showing code has run on; a modal show activates at once.
// - History() records what the program asked of the windows, one line each:
//   "show frmX", "show modal frmX", "hide frmX", "unload frmX", "front frmX",
//   "close frmX" (closed by the host after a modal step), "popup mPopupSys".
class ScriptedHost : public UiHost {
 public:
  explicit ScriptedHost(ManualClock* clock = nullptr);

  // The user's answer to the next message box; whileShown runs while that
  // box is up, before it answers.
  void AnswerNext(MsgResult answer, std::function<void()> whileShown = {});
  // The texts of every message box shown so far, in order.
  [[nodiscard]] std::vector<std::string> Prompts() const;
  [[nodiscard]] const std::vector<Prompt>& PromptRecords() const { return prompts_; }
  void ClearPrompts() { prompts_.clear(); }

  // What the user does in the modal form of that name, each time it shows.
  void OnModal(std::string formName, std::function<void(Form&)> step);
  // What the user chooses in the popup menu of that name.
  void OnPopup(std::string menuName, std::function<void(Menu&)> choice);
  void RunPostedWhileModal(bool value) { runPostedWhileModal_ = value; }

  // The next folder dialog's answer; with none queued the user cancels.
  void ChooseFolderNext(std::optional<std::string> folder);
  [[nodiscard]] const std::vector<std::string>& FolderTitles() const { return folderTitles_; }
  // The native folders the dialogs were asked to open at, empty for none.
  [[nodiscard]] const std::vector<std::string>& FolderStarts() const { return folderStarts_; }
  // The next mail folder dialog's answer, a folder path ("\\\\Store\\Inbox");
  // with none queued the user cancels.
  void PickMailFolderNext(std::optional<std::string> folderPath);
  [[nodiscard]] int MailFolderPicks() const { return mailFolderPicks_; }

  // Lets time pass, firing due timers.
  void Advance(int64_t milliseconds);
  [[nodiscard]] int64_t NowMs() const { return now_; }
  [[nodiscard]] bool TimerRunning(const Timer& timer) const;

  // Runs the posted functions, also those they post, until none is left;
  // the number run.
  int Pump();
  // Runs posted functions one at a time until done() holds or the timeout
  // passes, waiting for posts from other threads in between; whether done()
  // held. What is posted after done() holds stays queued.
  bool PumpUntil(const std::function<bool()>& done,
                 std::chrono::milliseconds timeout = std::chrono::seconds(5));
  // Waits until something is posted, without running it.
  bool WaitForPost(std::chrono::milliseconds timeout = std::chrono::seconds(5));
  [[nodiscard]] size_t PendingPosts() const;

  [[nodiscard]] const std::vector<std::string>& History() const { return history_; }
  void ClearHistory() { history_.clear(); }
  [[nodiscard]] bool IsLoaded(std::string_view formName) const;

  MsgResult MsgBox(const std::string& prompt, MsgButtons buttons,
                   const std::string& title) override;
  void Post(std::function<void()> fn) override;
  void LoadForm(Form& form) override;
  void ShowForm(Form& form, bool modal) override;
  void HideForm(Form& form) override;
  void UnloadForm(Form& form) override;
  void BringToFront(Form& form) override;
  void PopupMenu(Form& form, Menu& menu, int32_t x, int32_t y) override;
  void StartTimer(Timer& timer) override;
  void StopTimer(Timer& timer) override;
  std::optional<std::string> BrowseForFolder(const std::string& title,
                                             const std::string& start) override;
  Ref<MAPIFolder> PickMailFolder(NameSpace& nameSpace) override;
  // Closes the innermost modal form whose step is running, or message box
  // whose whileShown is running; history "session close frmX" or "session
  // close message box". A closed box answers as Escape would.
  bool CloseTopModal() override;

 private:
  struct Modal {
    Form* form = nullptr;  // nullptr: a message box
    bool closed = false;
  };
  struct Answer {
    MsgResult result;
    std::function<void()> whileShown;
  };
  struct TimerEntry {
    Timer* timer;
    int64_t due;
    uint64_t order;
  };

  void Activate(Form& form);
  void ActivateLater(Form& form);
  void MoveClock(int64_t to);

  ManualClock* clock_;
  std::deque<Answer> answers_;
  std::vector<Prompt> prompts_;
  std::map<std::string, std::function<void(Form&)>> modalSteps_;
  std::map<std::string, std::function<void(Menu&)>> popupChoices_;
  bool runPostedWhileModal_ = true;
  std::deque<std::optional<std::string>> folders_;
  std::vector<std::string> folderTitles_;
  std::vector<std::string> folderStarts_;
  std::deque<std::optional<std::string>> mailFolders_;
  int mailFolderPicks_ = 0;
  int64_t now_ = 0;
  uint64_t timerOrder_ = 0;
  std::vector<TimerEntry> timers_;
  std::vector<std::string> history_;
  std::set<Form*> loaded_;
  Form* active_ = nullptr;
  std::vector<Modal*> modals_;

  mutable std::mutex postMutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> posts_;
};

}  // namespace vellix::test
