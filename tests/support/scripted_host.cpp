#include "support/scripted_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "foundation/form.h"
#include "foundation/menu.h"
#include "foundation/outlook.h"
#include "foundation/text.h"
#include "foundation/timer.h"

namespace vellix::test {

namespace {

// A wait for work on other threads guards against a hang, not a slow run:
// code built for ThreadSanitizer runs many times slower and waits as long.
#if defined(__SANITIZE_THREAD__)
constexpr int kSlowdown = 10;
#else
constexpr int kSlowdown = 1;
#endif

bool Offers(MsgButtons buttons, MsgResult answer) {
  switch (buttons) {
    case MsgButtons::OK:
      return answer == MsgResult::OK;
    case MsgButtons::OKCancel:
      return answer == MsgResult::OK || answer == MsgResult::Cancel;
    case MsgButtons::YesNo:
      return answer == MsgResult::Yes || answer == MsgResult::No;
  }
  return false;
}

}  // namespace

ScriptedHost::ScriptedHost(ManualClock* clock) : clock_(clock) {}

void ScriptedHost::AnswerNext(MsgResult answer, std::function<void()> whileShown) {
  answers_.push_back({answer, std::move(whileShown)});
}

std::vector<std::string> ScriptedHost::Prompts() const {
  std::vector<std::string> texts;
  texts.reserve(prompts_.size());
  for (const auto& p : prompts_)
    texts.push_back(p.text);
  return texts;
}

void ScriptedHost::OnModal(std::string formName, std::function<void(Form&)> step) {
  if (step) {
    modalSteps_[LCase(formName)] = std::move(step);
  } else {
    modalSteps_.erase(LCase(formName));
  }
}

void ScriptedHost::OnPopup(std::string menuName, std::function<void(Menu&)> choice) {
  if (choice) {
    popupChoices_[LCase(menuName)] = std::move(choice);
  } else {
    popupChoices_.erase(LCase(menuName));
  }
}

void ScriptedHost::ChooseFolderNext(std::optional<std::string> folder) {
  folders_.push_back(std::move(folder));
}

void ScriptedHost::Advance(int64_t milliseconds) {
  const int64_t target = now_ + std::max<int64_t>(milliseconds, 0);
  while (true) {
    auto next = timers_.end();
    for (auto it = timers_.begin(); it != timers_.end(); ++it) {
      if (it->due > target) continue;
      if (next == timers_.end() || it->due < next->due ||
          (it->due == next->due && it->order < next->order)) {
        next = it;
      }
    }
    if (next == timers_.end()) break;
    Timer* timer = next->timer;
    MoveClock(next->due);
    next->due += std::max<int32_t>(timer->Interval(), 1);
    next->order = ++timerOrder_;
    // The tick may start, stop or restart any timer, this one included.
    timer->HostTick();
  }
  MoveClock(target);
}

bool ScriptedHost::TimerRunning(const Timer& timer) const {
  return std::any_of(timers_.begin(), timers_.end(),
                     [&timer](const TimerEntry& e) { return e.timer == &timer; });
}

int ScriptedHost::Pump() {
  int count = 0;
  while (true) {
    std::function<void()> fn;
    {
      std::lock_guard<std::mutex> lock(postMutex_);
      if (posts_.empty()) break;
      fn = std::move(posts_.front());
      posts_.pop_front();
    }
    fn();
    ++count;
  }
  return count;
}

bool ScriptedHost::PumpUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout * kSlowdown;
  while (!done()) {
    std::function<void()> fn;
    {
      std::unique_lock<std::mutex> lock(postMutex_);
      if (!posted_.wait_until(lock, deadline, [this] { return !posts_.empty(); })) return done();
      fn = std::move(posts_.front());
      posts_.pop_front();
    }
    fn();
  }
  return true;
}

bool ScriptedHost::WaitForPost(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(postMutex_);
  return posted_.wait_for(lock, timeout, [this] { return !posts_.empty(); });
}

size_t ScriptedHost::PendingPosts() const {
  std::lock_guard<std::mutex> lock(postMutex_);
  return posts_.size();
}

bool ScriptedHost::IsLoaded(std::string_view formName) const {
  return std::any_of(loaded_.begin(), loaded_.end(),
                     [formName](const Form* f) { return EqualsText(f->Name(), formName); });
}

MsgResult ScriptedHost::MsgBox(const std::string& prompt, MsgButtons buttons,
                               const std::string& title) {
  prompts_.push_back({prompt, buttons, title});
  Answer answer{buttons == MsgButtons::YesNo ? MsgResult::Yes : MsgResult::OK, {}};
  if (!answers_.empty()) {
    answer = std::move(answers_.front());
    answers_.pop_front();
  }
  if (!Offers(buttons, answer.result)) {
    ADD_FAILURE() << "The scripted answer isn't a button of the message box \"" << prompt << "\"";
  }
  Modal box;
  modals_.push_back(&box);
  if (runPostedWhileModal_) Pump();
  if (answer.whileShown) answer.whileShown();
  std::erase(modals_, &box);
  if (!box.closed) return answer.result;
  // Dismissed by its frame: the answer of Escape.
  switch (buttons) {
    case MsgButtons::OKCancel:
      return MsgResult::Cancel;
    case MsgButtons::YesNo:
      return MsgResult::No;
    default:
      return MsgResult::OK;
  }
}

bool ScriptedHost::CloseTopModal() {
  const auto open =
      std::find_if(modals_.rbegin(), modals_.rend(), [](Modal* m) { return !m->closed; });
  if (open == modals_.rend()) return false;
  Modal& top = **open;
  top.closed = true;
  if (top.form == nullptr) {
    history_.push_back("session close message box");
  } else {
    history_.push_back("session close " + top.form->Name());
    top.form->Unload(Form::kUnloadBySessionEnd);
  }
  return true;
}

void ScriptedHost::Post(std::function<void()> fn) {
  {
    std::lock_guard<std::mutex> lock(postMutex_);
    posts_.push_back(std::move(fn));
  }
  posted_.notify_all();
}

void ScriptedHost::LoadForm(Form& form) {
  loaded_.insert(&form);
}

void ScriptedHost::ShowForm(Form& form, bool modal) {
  history_.push_back((modal ? "show modal " : "show ") + form.Name());
  if (!modal) {
    // A window system activates a shown window by a message that comes after
    // the showing code has run on.
    ActivateLater(form);
    return;
  }
  Activate(form);
  if (runPostedWhileModal_ && form.Visible()) Pump();
  if (!form.Loaded() || !form.Visible()) return;

  auto step = modalSteps_.find(LCase(form.Name()));
  const bool scripted = step != modalSteps_.end();
  if (scripted) {
    Modal shown{&form};
    modals_.push_back(&shown);
    // A copy: the step may register another step for this form.
    auto run = step->second;
    run(form);
    std::erase(modals_, &shown);
  }
  if (!form.Loaded() || !form.Visible()) return;
  if (scripted)
    ADD_FAILURE() << "The modal form " << form.Name() << " is still open after its step";
  history_.push_back("close " + form.Name());
  if (!form.UserClose()) {
    ADD_FAILURE() << "The modal form " << form.Name() << " refused to close; it is hidden instead";
    form.Hide();
  }
}

void ScriptedHost::HideForm(Form& form) {
  history_.push_back("hide " + form.Name());
  if (active_ == &form) active_ = nullptr;
}

void ScriptedHost::UnloadForm(Form& form) {
  history_.push_back("unload " + form.Name());
  loaded_.erase(&form);
  if (active_ == &form) active_ = nullptr;
}

void ScriptedHost::BringToFront(Form& form) {
  history_.push_back("front " + form.Name());
  ActivateLater(form);
}

void ScriptedHost::PopupMenu(Form& /*form*/, Menu& menu, int32_t /*x*/, int32_t /*y*/) {
  history_.push_back("popup " + menu.Name());
  auto choice = popupChoices_.find(LCase(menu.Name()));
  if (choice == popupChoices_.end()) return;
  auto run = choice->second;
  run(menu);
}

void ScriptedHost::StartTimer(Timer& timer) {
  StopTimer(timer);
  timers_.push_back({&timer, now_ + timer.Interval(), ++timerOrder_});
}

void ScriptedHost::StopTimer(Timer& timer) {
  std::erase_if(timers_, [&timer](const TimerEntry& e) { return e.timer == &timer; });
}

std::optional<std::string> ScriptedHost::BrowseForFolder(const std::string& title,
                                                         const std::string& start) {
  folderTitles_.push_back(title);
  folderStarts_.push_back(start);
  if (folders_.empty()) return std::nullopt;
  auto folder = std::move(folders_.front());
  folders_.pop_front();
  return folder;
}

void ScriptedHost::PickMailFolderNext(std::optional<std::string> folderPath) {
  mailFolders_.push_back(std::move(folderPath));
}

Ref<MAPIFolder> ScriptedHost::PickMailFolder(NameSpace& nameSpace) {
  ++mailFolderPicks_;
  if (mailFolders_.empty()) return nullptr;
  const std::optional<std::string> path = std::move(mailFolders_.front());
  mailFolders_.pop_front();
  if (!path) return nullptr;
  // By name from the store down, as a user opens the tree.
  Ref<MAPIFolder> folder;
  std::stringstream parts(*path);
  for (std::string name; std::getline(parts, name, '\\');) {
    if (name.empty()) continue;
    folder = folder ? folder->Folders()->Item(name) : nameSpace.Folders()->Item(name);
  }
  if (!folder) ADD_FAILURE() << "no mail folder at " << *path;
  return folder;
}

void ScriptedHost::ActivateLater(Form& form) {
  Post([this, &form] {
    if (loaded_.count(&form) != 0 && form.Visible()) Activate(form);
  });
}

void ScriptedHost::Activate(Form& form) {
  if (active_ == &form) return;
  active_ = &form;
  form.HostActivated();
}

void ScriptedHost::MoveClock(int64_t to) {
  if (to <= now_) return;
  if (clock_ != nullptr) clock_->AdvanceSeconds(static_cast<double>(to - now_) / 1000.0);
  now_ = to;
}

}  // namespace vellix::test
