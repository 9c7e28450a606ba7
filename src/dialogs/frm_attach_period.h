#pragma once

#include <string>

#include "forms/layout_metrics.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace vellix {

// Offers the store files lying in the store folder that no period claims,
// and has the engine attach the chosen one as a period: the way back for a
// store file that comes home from elsewhere. Shown not modal, from the
// Import panel; nothing is refreshed when it closes.
class FrmAttachPeriod : public Form {
 public:
  FrmAttachPeriod(Context& ctx, UiHost& host);

  ListBox lstPeriods;  // bare file names, extension and all
  CommandButton cmdOK;
  CommandButton cmdCancel;

  // Title and width from the dialog's texts; the list on top, OK and Cancel
  // beneath it at the right, the height from them.
  void LayoutForm();
  // Fills the list with the unclaimed store files of the store folder.
  void LoadForm();

  void cmdOK_Click();
  void cmdCancel_Click();

  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmAttachPeriod.";
  // Rows of text the list shows at once.
  static constexpr int kListRows = 8;

 protected:
  void Design() override;
  void Form_Load() override;

 private:
  // The dialog's text of that key; "" where the tree has none.
  [[nodiscard]] std::string Text(const std::string& key) const;

  Context& ctx_;
  LayoutMetrics metrics_;
};

}  // namespace vellix
