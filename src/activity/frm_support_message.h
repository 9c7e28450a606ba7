#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "forms/layout_metrics.h"
#include "foundation/context.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace vellix {

// The user's problem description, sent to the support mailbox through the
// user's mail program with the diagnostics attached: the configuration
// file, the error log and the processing log as the Log panel shows it.
class FrmSupportMessage : public Form {
 public:
  // The processing log's whole text, read when the user sends.
  using LogText = std::function<std::string()>;

  FrmSupportMessage(Context& ctx, UiHost& host);

  // Shows the form modally over the log whose text goes with the mail.
  void ShowModal(LogText logText);

  Label lblTitle;
  TextBox txtMessage;
  Label lblInstructions;
  CommandButton cmdSendNow;
  CommandButton cmdCancel;

  // Size and place of the controls, from the metrics; texts from the tree.
  void LayoutForm();
  // Nothing to fill in: the description starts empty.
  void LoadForm();

  void cmdSendNow_Click();  // logs as "cmdOK_Click"
  void cmdCancel_Click();

  [[nodiscard]] const LayoutMetrics& Metrics() const { return metrics_; }

  static constexpr const char* kTextNode = "Componants.VellixControl.Strings.frmSupportMessage.";
  static constexpr const char* kSubject = "Orvane Vellix Support Request";
  // Written in the data folder and attached; the next send overwrites it.
  static constexpr const char* kProcessLogFile = "Process Log.txt";
  // The product's support mailbox; a deployment puts its own here.
  static constexpr const char* kSupportAddress = "support@vellix.example";

 protected:
  void Design() override;
  void Form_Load() override;

 private:
  // The form's text of that key; "" where the tree has none.
  [[nodiscard]] std::string Text(const std::string& key) const;

  Context& ctx_;
  LayoutMetrics metrics_;
  LogText logText_;
};

}  // namespace vellix
