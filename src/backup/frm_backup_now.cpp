#include "backup/frm_backup_now.h"

#include <cstdint>

#include "foundation/config_node.h"
#include "foundation/frame.h"
#include "foundation/trace_names.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmBackupNow";
}  // namespace

FrmBackupNow::FrmBackupNow(Context& ctx, UiHost& host)
    : Form(host, "frmBackupNow"),
      lblProblems(*this, "lblProblems"),
      lstMessages(*this, "lstMessages"),
      cmdOK(*this, "cmdOK"),
      ctx_(ctx) {
  cmdOK.Click = [this] { cmdOK_Click(); };
}

void FrmBackupNow::Design() {
  Caption("Backup Problems");
  lblProblems.Caption("The backup found these problems:");
  cmdOK.Caption("OK");
  // Enter and Escape both only close a notice.
  cmdOK.Default(true);
  cmdOK.Cancel(true);
}

std::string FrmBackupNow::Text(const std::string& key) const {
  return ctx_.rootNode->GetValue(kTextNode + key).ToString();
}

void FrmBackupNow::Form_Load() {
  Frame frame(ctx_, kModule, TraceNames::frmBackupNow_Form_Load);
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode);
    LayoutForm();
  });
}

void FrmBackupNow::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    // The design texts stand where a key gives nothing.
    if (const std::string caption = Text("Caption"); !caption.empty()) Caption(caption);
    if (const std::string text = Text("lblProblems"); !text.empty()) lblProblems.Caption(text);
    if (const std::string text = Text("cmdOK"); !text.empty()) cmdOK.Caption(text);
    Width(ctx_.rootNode->GetValue(kTextNode + std::string("Width")).ToInteger());

    const int16_t inner =
        Twips(int64_t{Width()} - 2 * int64_t{m.Border} - 2 * int64_t{m.FormBLRBorder});
    lblProblems.Move(m.Border, Twips(int64_t{m.Border} + m.TextOffset), inner, m.RowHeight);
    lstMessages.Move(m.Border, Twips(int64_t{m.Border} + m.RowHeight + m.Border), inner,
                     Twips(kListRows * int64_t{m.RowHeight}));
    const int16_t buttonTop =
        Twips(int64_t{lstMessages.Top()} + lstMessages.Height() + int64_t{m.Border});
    cmdOK.Move(Twips(int64_t{m.Border} + inner - m.ButtonWidth), buttonTop, m.ButtonWidth,
               m.RowHeight);

    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmBackupNow::cmdOK_Click() {
  Frame frame(ctx_, kModule, "cmdOK_Click");
  frame.Run([&] { Unload(); });
}

}  // namespace vellix
