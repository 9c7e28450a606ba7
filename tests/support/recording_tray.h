#pragma once

#include <set>
#include <string>
#include <vector>

#include "foundation/tray_platform.h"

namespace vellix::test {

// One call on the notification area: "Add", "Modify" or "Delete".
struct TrayCall {
  std::string action;
  std::string picture;
  std::string tip;

  friend bool operator==(const TrayCall&, const TrayCall&) = default;
};

// A notification area that keeps what it is told. A picture is the icon
// file's name ("Running.ico"), so tests read the sequence at a glance.
class RecordingTray : public TrayPlatform {
 public:
  std::string LoadPicture(const std::string& path) override;
  void Add(const std::string& picture, const std::string& tip) override;
  void Modify(const std::string& picture, const std::string& tip) override;
  void Delete() override;
  [[nodiscard]] bool Available() const override { return available; }

  // False plays a desktop without a notification area.
  bool available = true;

  // File names that load as no picture, and file names whose loading raises.
  std::set<std::string> missing;
  std::set<std::string> failing;
  // When set, Modify raises this error number instead of recording.
  int failModifyWith = 0;

  std::vector<std::string> loadedPaths;
  std::vector<TrayCall> calls;

  // The pictures of the Modify calls so far, in order.
  [[nodiscard]] std::vector<std::string> Shown() const;
  // The picture of the last Add or Modify; "" when there was none.
  [[nodiscard]] std::string Current() const;
};

}  // namespace vellix::test
