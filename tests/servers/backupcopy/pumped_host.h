#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "foundation/ui_host.h"

namespace vellix::test {

// A user-interface host whose posted work runs only when the test thread
// pumps it, as a window's event loop would; nothing else of a host is used.
class PumpedHost : public UiHost {
 public:
  MsgResult MsgBox(const std::string&, MsgButtons, const std::string&) override {
    return MsgResult::OK;
  }
  void Post(std::function<void()> fn) override;
  // The copier shows no forms.
  void LoadForm(Form&) override {}
  void ShowForm(Form&, bool) override {}
  void HideForm(Form&) override {}
  void UnloadForm(Form&) override {}
  void BringToFront(Form&) override {}
  void PopupMenu(Form&, Menu&, int32_t, int32_t) override {}
  void StartTimer(Timer&) override {}
  void StopTimer(Timer&) override {}
  std::optional<std::string> BrowseForFolder(const std::string&) override { return std::nullopt; }

  // Runs posted work until done() holds; false when the limit passed first.
  bool PumpUntil(const std::function<bool()>& done,
                 std::chrono::milliseconds limit = std::chrono::seconds(20));
  // Waits until something is posted, without running it.
  bool WaitForPosted(std::chrono::milliseconds limit = std::chrono::seconds(20));
  [[nodiscard]] size_t Pending();

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> queue_;
};

}  // namespace vellix::test
