#include "dialogs/frm_attach_period.h"

#include <cstdint>
#include <vector>

#include "foundation/config_node.h"
#include "foundation/desktop.h"
#include "foundation/engine.h"
#include "foundation/engine_config.h"
#include "foundation/frame.h"
#include "foundation/period.h"
#include "foundation/runtime.h"
#include "foundation/text.h"
#include "foundation/ui_host.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmAttachPeriod";
}  // namespace

FrmAttachPeriod::FrmAttachPeriod(Context& ctx, UiHost& host)
    : Form(host, "frmAttachPeriod"),
      lstPeriods(*this, "lstPeriods"),
      cmdOK(*this, "cmdOK"),
      cmdCancel(*this, "cmdCancel"),
      ctx_(ctx) {
  cmdOK.Click = [this] { cmdOK_Click(); };
  cmdCancel.Click = [this] { cmdCancel_Click(); };
}

void FrmAttachPeriod::Design() {
  Caption("Attach Period");
  // The list has no label: its tip names it for a screen reader.
  lstPeriods.ToolTipText("Archive files in the store folder that belong to no period");
  cmdOK.Caption("OK");
  cmdCancel.Caption("Cancel");
  cmdOK.Default(true);
  cmdCancel.Cancel(true);
}

std::string FrmAttachPeriod::Text(const std::string& key) const {
  return ctx_.rootNode->GetValue(kTextNode + key).ToString();
}

void FrmAttachPeriod::Form_Load() {
  Frame frame(ctx_, kModule, "Form_Load");
  frame.Run([&] {
    // The dialog lays out nothing by characters: eight metrics.
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode, false);
    LayoutForm();
    LoadForm();
  });
}

void FrmAttachPeriod::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    // The design texts stand where a key gives nothing.
    if (const std::string caption = Text("Caption"); !caption.empty()) Caption(caption);
    if (const std::string text = Text("cmdOK"); !text.empty()) cmdOK.Caption(text);
    if (const std::string text = Text("cmdCancel"); !text.empty()) cmdCancel.Caption(text);
    // The width is kept as a single-precision number; the window takes whole twips.
    const auto width =
        static_cast<float>(ctx_.rootNode->GetValue(kTextNode + std::string("Width")).ToDouble());
    Width(CLng(static_cast<double>(width)));

    const int16_t inner =
        Twips(int64_t{Width()} - 2 * int64_t{m.Border} - 2 * int64_t{m.FormBLRBorder});
    lstPeriods.Move(m.Border, m.Border, inner, Twips(kListRows * int64_t{m.RowHeight}));
    const int16_t buttonTop =
        Twips(int64_t{lstPeriods.Top()} + lstPeriods.Height() + int64_t{m.Border});
    cmdCancel.Move(Twips(int64_t{m.Border} + inner - m.ButtonWidth), buttonTop, m.ButtonWidth,
                   m.RowHeight);
    cmdOK.Move(Twips(int64_t{cmdCancel.Left()} - m.Border - m.ButtonWidth), buttonTop,
               m.ButtonWidth, m.RowHeight);

    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmAttachPeriod::LoadForm() {
  Frame frame(ctx_, kModule, "LoadForm");
  frame.Run([&] {
    lstPeriods.Clear();
    const Ref<EngineConfig> config = ctx_.engine->Config();
    // A store folder that isn't there ends here, the list empty.
    const std::vector<FolderFile> files = ctx_.Files().FilesOf(config->StoreLocation() + "\\");
    for (const FolderFile& file : files) {
      // The last "."-part is the extension; a name with no point is its own
      // last part, so a file named "pst" passes, and "x.pst.bak" does not.
      const std::vector<std::string> parts = Split(file.name, ".");
      if (parts.empty() || !EqualsText(parts.back(), "PST")) continue;
      bool attached = false;
      for (const Ref<Period>& period : config->Periods()) {
        // Paths are compared without regard to case, as the desktop does.
        if (EqualsText(period->BackupFile(), file.path)) {
          attached = true;
          break;
        }
      }
      if (!attached) lstPeriods.AddItem(file.name);
    }
  });
}

void FrmAttachPeriod::cmdOK_Click() {
  Frame frame(ctx_, kModule, "cmdOK_Click");
  frame.Run([&] {
    // Only the bare name goes: the engine looks for it in its store folder.
    const std::string chosen = lstPeriods.Text();
    if (!chosen.empty() && !ctx_.engine->Config()->AttachPeriod(chosen))
      ctx_.Host().MsgBox(Text("MsgFail"), MsgButtons::OK, "");
    Unload();
  });
}

void FrmAttachPeriod::cmdCancel_Click() {
  Frame frame(ctx_, kModule, "cmdCancel_Click");
  frame.Run([&] { Unload(); });
}

}  // namespace vellix
