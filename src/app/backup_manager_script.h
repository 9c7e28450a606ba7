#pragma once

#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "app/script_tools.h"
#include "foundation/event.h"

namespace vellix {
class Form;
class FrmBackupManager;
namespace backupcopy {
class BackupCopier;
}
}  // namespace vellix

namespace vellix::app {

// The screenshot run's visit to the backup manager, once it is shown: each
// look of its button is brought about as a user would (Close Outlook, Backup
// Now, a try-later unit, the run itself) and pictured when the look is the
// one expected. A look that doesn't come within a few ticks is noted and its
// picture left out, so the run reports it. The window is closed by its frame
// at the end.
class BackupManagerScript : public QObject {
 public:
  using Tools = ScriptTools;

  // Bytes per copy call while the pictures are taken: a demo store then
  // passes through a dozen progress steps or more.
  static constexpr int64_t kChunkBytes = 64 * 1024;
  static constexpr int kPictures = 7;

  BackupManagerScript(FrmBackupManager& form, Tools tools);
  ~BackupManagerScript() override;

  // Each copier the window makes: progress is told at every chunk.
  void CopierMade(const std::shared_ptr<backupcopy::BackupCopier>& copier);
  // The window came up; the script goes on from its event loop.
  void Shown();
  [[nodiscard]] bool Seen() const { return seen_; }

 private:
  // The picture when the button shows the mode and caption expected.
  void LookShot(int32_t mode, const std::string& caption, const std::string& file);
  bool PickLater(const std::string& unit);
  void CloseOutlookStep();
  void BackupNowStep();
  void LaterStep();
  void RunStep();
  void CopierStatus(int32_t code);
  void AfterRunStep();
  void CloseLookStep();
  void Close();

  FrmBackupManager& form_;
  Tools tools_;
  std::weak_ptr<backupcopy::BackupCopier> copier_;
  Connection status_;
  bool seen_ = false;
  int filesBegun_ = 0;
  int filesWanted_ = 0;
  bool runEnded_ = false;
  bool runningShot_ = false;
};

}  // namespace vellix::app
