#include "activity/log_panel.h"

#include <string>

#include "forms/row_layout.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/frame.h"
#include "foundation/trace_names.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPopup";
constexpr const char* kTextNode = "Componants.VellixControl.Strings.ControlPanel.Log";
}  // namespace

LogPanel::LogPanel(PopupShell& shell, Form& form, Context& ctx)
    : Panel(shell),
      txtLoEntries(form, "txtLoEntries", "picLo"),
      optLoOff(form, "optLoOff", "picLo"),
      optLoOn(form, "optLoOn", "picLo"),
      optLoVerbose(form, "optLoVerbose", "picLo"),
      cmdLoSendDiagnostics(form, "cmdLoSendDiagnostics", "picLo"),
      processing(ctx, shell.mobjMonitor(), txtLoEntries) {
  optLoOff.Click = [this] { optLoOff_Click(); };
  optLoOn.Click = [this] { optLoOn_Click(); };
  optLoVerbose.Click = [this] { optLoVerbose_Click(); };
  cmdLoSendDiagnostics.Click = [this] { cmdLoSendDiagnostics_Click(); };
}

void LogPanel::Design() {
  optLoOff.Caption("Off");
  optLoOn.Caption("On");
  optLoVerbose.Caption("Verbose");
  cmdLoSendDiagnostics.Caption("Send Diagnostics");
}

void LogPanel::LayoutLog() {
  Frame frame(ctx(), kModule, "LayoutLog");
  frame.Run([&] {
    const LayoutMetrics& m = shell().Metrics();
    RowLayout texts(m, ctx().rootNode->GetNode(kTextNode, false, "", Variant()));
    const Control& pic = *txtLoEntries.ContainerControl();

    txtLoEntries.Move(0, m.Border, pic.Width(),
                      Twips(int64_t{pic.Height()} - m.RowHeight - 2 * int64_t{m.Border}));
    txtLoEntries.Text("");
    texts.ApplyTip(txtLoEntries);

    const int16_t row = Twips(int64_t{txtLoEntries.Top()} + txtLoEntries.Height() + m.Border);
    optLoOff.Move(0, row, m.ButtonWidth, m.RowHeight);
    optLoOn.Move(Twips(int64_t{optLoOff.Left()} + optLoOff.Width() + m.Border), row, m.ButtonWidth,
                 m.RowHeight);
    optLoVerbose.Move(Twips(int64_t{optLoOn.Left()} + optLoOn.Width() + m.Border), row,
                      m.ButtonWidth, m.RowHeight);
    const int16_t wide = Twips(2 * int64_t{m.ButtonWidth});
    cmdLoSendDiagnostics.Move(Twips(int64_t{txtLoEntries.Left()} + txtLoEntries.Width() - wide),
                              row, wide, m.RowHeight);

    optLoOff.Caption(texts.Text("optLoOff"));
    texts.ApplyTip(optLoOff);
    optLoOn.Caption(texts.Text("optLoOn"));
    texts.ApplyTip(optLoOn);
    // The verbose option's keys are spelt with a capital O.
    optLoVerbose.Caption(texts.Text("OptLoVerbose"));
    optLoVerbose.ToolTipText(texts.Text("OptLoVerbose-Tip"));
    cmdLoSendDiagnostics.Caption(texts.Text("cmdLoSendDiagnostics"));
    texts.ApplyTip(cmdLoSendDiagnostics);
  });
}

void LogPanel::LoadLog() {
  Frame frame(ctx(), kModule, "LoadLog");
  frame.Run([&] {
    // Turning an option on runs its click when it was off: that is how the
    // first LoadLog attaches the monitor.
    const std::string level = ctx().engine->LoggingLevel();
    const bool on = level == "On";
    const bool verbose = level == "Verbose";
    optLoOff.Value(!on && !verbose);
    optLoOn.Value(on);
    optLoVerbose.Value(verbose);
  });
}

bool LogPanel::LeaveLog() {
  Frame frame(ctx(), kModule, "LeaveLog");
  return frame.Run(false, [&] { return true; });
}

void LogPanel::SetLoggingState() {
  Frame frame(ctx(), kModule, "SetLoggingState");
  frame.Run([&] {
    // Switching on, the monitor is there before the level changes; switching
    // off, the level falls before the monitor goes: no event finds the form
    // without its monitor.
    if (optLoOn.Value()) {
      shell().mobjMonitor(ctx().engine->Monitor());
      ctx().engine->LoggingLevel("On");
    } else if (optLoOff.Value()) {
      ctx().engine->LoggingLevel("Off");
      shell().mobjMonitor(nullptr);
    } else if (optLoVerbose.Value()) {
      shell().mobjMonitor(ctx().engine->Monitor());
      ctx().engine->LoggingLevel("Verbose");
    }
  });
}

void LogPanel::optLoOff_Click() {
  Frame frame(ctx(), kModule, "optLoOff_Click");
  frame.Run([&] { SetLoggingState(); });
}

void LogPanel::optLoOn_Click() {
  Frame frame(ctx(), kModule, "optLoOn_Click");
  frame.Run([&] { SetLoggingState(); });
}

void LogPanel::optLoVerbose_Click() {
  Frame frame(ctx(), kModule, TraceNames::optLoVerbose_Click);
  frame.Run([&] { SetLoggingState(); });
}

void LogPanel::cmdLoSendDiagnostics_Click() {
  Frame frame(ctx(), kModule, TraceNames::cmdLoSendDiagnostics_Click);
  frame.Run([&] {
    if (!supportMessage_)
      supportMessage_ = std::make_unique<FrmSupportMessage>(ctx(), ctx().Host());
    supportMessage_->ShowModal([this] { return txtLoEntries.Text(); });
  });
}

}  // namespace vellix
