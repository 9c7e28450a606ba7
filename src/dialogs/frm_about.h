#pragma once

#include <array>
#include <functional>
#include <string>
#include <utility>

#include "forms/layout_metrics.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace vellix {

// What the box asks of the control panel itself: its component name, its
// version and the product's name. The main form hands these over, so the
// box needs nothing of the shell.
struct PanelIdentity {
  std::function<std::string()> Componant;
  std::function<std::string()> Version;
  std::function<std::string()> ProductName;
};

// The modal About box: the product's name, then the name and version of
// each of the four programs as each says for itself (the panel, the engine,
// the configuration server and the error log server), and the vendor's line
// from the configuration. A server that can't be reached ends the layout at
// its row; the rows below keep their design texts and the box still opens.
class FrmAbout : public Form {
 public:
  FrmAbout(Context& ctx, UiHost& host);

  // Set before the box is first shown.
  void Identity(PanelIdentity identity) { identity_ = std::move(identity); }

  Label lblProduct;
  Label lblProductData;
  Label lblComponant1;
  Label lblComponant1Data;
  Label lblComponant2;
  Label lblComponant2Data;
  Label lblComponant3;
  Label lblComponant3Data;
  Label lblComponant4;
  Label lblComponant4Data;
  Label lblCopyright;
  CommandButton cmdOK;

  // Title, width, the rows in order, the vendor's line and OK, then the
  // height from the last control.
  void LayoutForm();

  void cmdOK_Click();

  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmAbout";
  // Rows of text the vendor's line may wrap to.
  static constexpr int kCopyrightRows = 2;

 protected:
  void Design() override;
  void Form_Load() override;

 private:
  // One row: its label and its value, and where their texts come from.
  struct Row {
    Label& label;
    Label& data;
    std::function<std::string()> name;
    std::function<std::string()> version;
  };
  [[nodiscard]] std::array<Row, 4> ComponentRows();

  Context& ctx_;
  LayoutMetrics metrics_;
  PanelIdentity identity_;
};

}  // namespace vellix
