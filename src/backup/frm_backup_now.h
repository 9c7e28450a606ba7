#pragma once

#include <string>

#include "forms/layout_metrics.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace vellix {

// A small modal notice listing problems of a backup: a heading, the list
// and OK. It stands ready with its layout and texts; whoever shows it fills
// lstMessages.
class FrmBackupNow : public Form {
 public:
  FrmBackupNow(Context& ctx, UiHost& host);

  Label lblProblems;
  ListBox lstMessages;
  CommandButton cmdOK;

  // Title and width from the notice's texts; the heading on top, the list
  // beneath it, OK at the bottom, and the height from them.
  void LayoutForm();

  void cmdOK_Click();

  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmBackupNow.";
  // Rows of text the list shows at once.
  static constexpr int kListRows = 6;

 protected:
  void Design() override;
  void Form_Load() override;

 private:
  // The notice's text of that key; "" where the tree has none.
  [[nodiscard]] std::string Text(const std::string& key) const;

  Context& ctx_;
  LayoutMetrics metrics_;
};

}  // namespace vellix
