#pragma once

#include <functional>
#include <memory>

#include "foundation/outlook.h"

namespace vellix::outlook {

// What a desktop needs to show an Explorer: the folders to offer, the one
// on show at first, and the two ways the window answers: the user shows
// another folder, and the user closes the window (once).
struct ExplorerView {
  Ref<NameSpace> nameSpace;
  Ref<MAPIFolder> start;
  std::function<void(const Ref<MAPIFolder>& folder)> switchTo;
  std::function<void()> closed;
};

// How a desktop shows an Explorer's window. Without one, Display shows
// nothing and whoever holds the Explorer drives it (tests).
using ExplorerWindow = std::function<void(ExplorerView view)>;

// An Explorer over the mail profile: it holds the folder on show and raises
// the window's events. The window's answers hold the Explorer only while
// they run, so an Explorer nobody holds goes, and its window then answers
// nobody.
class ProfileExplorer : public Explorer, public std::enable_shared_from_this<ProfileExplorer> {
 public:
  ProfileExplorer(Ref<NameSpace> nameSpace, Ref<MAPIFolder> folder, ExplorerWindow window);

  Ref<MAPIFolder> CurrentFolder() override { return current_; }
  // Shows the window, the first time only.
  void Display() override;

  // The user shows another folder: FolderSwitch. Nothing after a close.
  void SwitchTo(const Ref<MAPIFolder>& folder);
  // The user closes the window: Close, once.
  void CloseWindow();
  [[nodiscard]] bool Closed() const { return closed_; }

 private:
  Ref<NameSpace> nameSpace_;
  Ref<MAPIFolder> current_;
  ExplorerWindow window_;
  bool displayed_ = false;
  bool closed_ = false;
};

// Application.Explorers over the profile.
class ProfileExplorers : public OutlookExplorers {
 public:
  ProfileExplorers(Ref<NameSpace> nameSpace, ExplorerWindow window);
  // A folder of nothing raises 91, as the mail program refuses it.
  Ref<Explorer> Add(const Ref<MAPIFolder>& folder, int32_t displayMode) override;

 private:
  Ref<NameSpace> nameSpace_;
  ExplorerWindow window_;
};

}  // namespace vellix::outlook
