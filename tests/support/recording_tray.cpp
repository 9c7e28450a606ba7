#include "support/recording_tray.h"

#include "foundation/vb_error.h"

namespace vellix::test {

std::string RecordingTray::LoadPicture(const std::string& path) {
  loadedPaths.push_back(path);
  const std::size_t slash = path.find_last_of("\\/");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (failing.contains(name)) throw VbError(err::kFileNotFound);
  if (missing.contains(name)) return {};
  return name;
}

void RecordingTray::Add(const std::string& picture, const std::string& tip) {
  calls.push_back({"Add", picture, tip});
}

void RecordingTray::Modify(const std::string& picture, const std::string& tip) {
  if (failModifyWith != 0) throw VbError(failModifyWith);
  calls.push_back({"Modify", picture, tip});
}

void RecordingTray::Delete() {
  calls.push_back({"Delete", "", ""});
}

std::vector<std::string> RecordingTray::Shown() const {
  std::vector<std::string> out;
  for (const auto& call : calls)
    if (call.action == "Modify") out.push_back(call.picture);
  return out;
}

std::string RecordingTray::Current() const {
  for (auto it = calls.rbegin(); it != calls.rend(); ++it)
    if (it->action != "Delete") return it->picture;
  return {};
}

}  // namespace vellix::test
