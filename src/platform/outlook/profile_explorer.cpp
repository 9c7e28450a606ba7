#include "platform/outlook/profile_explorer.h"

#include <utility>

#include "foundation/vb_error.h"

namespace vellix::outlook {

ProfileExplorer::ProfileExplorer(Ref<NameSpace> nameSpace, Ref<MAPIFolder> folder,
                                 ExplorerWindow window)
    : nameSpace_(std::move(nameSpace)), current_(std::move(folder)), window_(std::move(window)) {}

void ProfileExplorer::Display() {
  if (displayed_ || closed_) return;
  displayed_ = true;
  if (!window_) return;
  const std::weak_ptr<ProfileExplorer> weak = weak_from_this();
  window_(ExplorerView{
      .nameSpace = nameSpace_,
      .start = current_,
      .switchTo =
          [weak](const Ref<MAPIFolder>& folder) {
            if (auto self = weak.lock()) self->SwitchTo(folder);
          },
      .closed =
          [weak] {
            if (auto self = weak.lock()) self->CloseWindow();
          },
  });
}

void ProfileExplorer::SwitchTo(const Ref<MAPIFolder>& folder) {
  if (closed_ || folder.IsNothing()) return;
  current_ = folder;
  FolderSwitch.Raise();
}

void ProfileExplorer::CloseWindow() {
  if (closed_) return;
  closed_ = true;
  // A handler may let go of the last reference to this Explorer.
  const auto keep = weak_from_this().lock();
  Close.Raise();
}

ProfileExplorers::ProfileExplorers(Ref<NameSpace> nameSpace, ExplorerWindow window)
    : nameSpace_(std::move(nameSpace)), window_(std::move(window)) {}

Ref<Explorer> ProfileExplorers::Add(const Ref<MAPIFolder>& folder, int32_t /*displayMode*/) {
  if (folder.IsNothing()) throw VbError(err::kObjectNotSet);
  return MakeRef<ProfileExplorer>(nameSpace_, folder, window_);
}

}  // namespace vellix::outlook
