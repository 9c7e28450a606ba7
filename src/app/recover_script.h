#pragma once

#include <QObject>
#include <filesystem>
#include <functional>
#include <string>

#include "app/script_tools.h"

namespace vellix {
class Form;
class FrmPopup;
}  // namespace vellix

namespace vellix::app {

// The screenshot run's visit to the recover dialog, after the pictured
// backup has saved the configuration beside the stores' copies. Two earlier
// weekly saves are put next to that copy, so that the list shows a short
// history; the dialog is opened for the backup and store folders, pictured
// with the newest chosen, and cancelled: nothing is recovered.
class RecoverScript : public QObject {
 public:
  using Tools = ScriptTools;

  static constexpr int kPictures = 1;
  // Saved configurations the picture shows.
  static constexpr int kSaved = 3;

  RecoverScript(FrmPopup& popup, std::filesystem::path backupFolder, Tools tools);

  // Opens the dialog modally; returns once it has been closed.
  void Open();
  // The dialog came up; the picture is taken from the event loop.
  void Shown(Form& form);
  [[nodiscard]] bool Seen() const { return seen_; }

 private:
  // The configuration the backup saved, and two older ones beside it.
  bool MakeHistory();
  void Shot(Form& form);

  FrmPopup& popup_;
  std::filesystem::path backupFolder_;
  Tools tools_;
  bool seen_ = false;
};

}  // namespace vellix::app
