#pragma once

#include <string>

#include "forms/layout_metrics.h"
#include "foundation/collection.h"
#include "foundation/config_file_info.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"
#include "foundation/ref.h"

namespace vellix {

// Rebuilds a lost configuration from a copy the engine saved in the backup
// folder: lists the saved configurations found there, oldest first, with the
// newest chosen, and has the engine recover the chosen one into the store
// folder. The dialog never reads a configuration file itself: the engine's
// ConfigFileInfo reads each, and RecoverConfig does the work.
class FrmRecover : public Form {
 public:
  FrmRecover(Context& ctx, UiHost& host);

  // Set before the dialog shows.
  void SourceFolder(const std::string& folder);
  void DestinationFolder(const std::string& folder);
  // "True" once a recovery has succeeded. The one instance keeps it across
  // loads, so a later cancelled dialog reads "True" as well.
  [[nodiscard]] std::string Recovered();
  void Recovered(const std::string& value);

  Label lblFrom;
  Label lblSourcePath;
  Label lblTo;
  Label lblDestinationPath;
  Label lblUsing;
  Label lblChosenConfig;
  ListBox lstConfigFiles;
  CommandButton cmdCancel;
  CommandButton cmdRecover;

  // Three caption-and-value rows, the list under them, the buttons at the
  // bottom right; the size follows from them.
  void LayoutForm();
  // Checks both folders and lists the saved configurations of the source
  // folder, sorted by the time they were saved.
  void LoadForm();
  void SetRecoverButtonStatus();

  void lstConfigFiles_Click();
  void cmdRecover_Click();
  void cmdCancel_Click();

  // What LoadForm found, in the order listed; dropped when the dialog unloads.
  [[nodiscard]] const Collection<Ref<ConfigFileInfo>>& ConfigFiles() const { return files_; }
  // The file handed to RecoverConfig; "" while none is chosen.
  [[nodiscard]] const std::string& ChosenFile() const { return chosenFile_; }
  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmRecover";
  // Rows of the list in sight at once.
  static constexpr int kListRows = 6;

 protected:
  void Design() override;
  void Form_Load() override;
  void Form_Unload(bool& cancel) override;

 private:
  // The dialog's text of that key; "" where the tree has none.
  [[nodiscard]] std::string Text(const std::string& key) const;
  // Adds a read file before the first member saved no earlier than it, so
  // equal times list the later-read file first.
  void AddSorted(const Ref<ConfigFileInfo>& info);

  Context& ctx_;
  LayoutMetrics metrics_;
  std::string sourceFolder_;
  std::string destinationFolder_;
  bool recovered_ = false;
  Collection<Ref<ConfigFileInfo>> files_;
  std::string chosenFile_;
  bool sourceInvalid_ = false;
  bool destinationInvalid_ = false;
  bool noFile_ = false;
};

}  // namespace vellix
