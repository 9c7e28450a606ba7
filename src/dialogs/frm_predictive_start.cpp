#include "dialogs/frm_predictive_start.h"

#include <cmath>
#include <cstdint>

#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/text.h"
#include "foundation/variant.h"

namespace vellix {

namespace {
constexpr const char* kModule = "frmPredictiveStart";
}  // namespace

FrmPredictiveStart::FrmPredictiveStart(Context& ctx, UiHost& host)
    : Form(host, "frmPredictiveStart"),
      lblMessage(*this, "lblMessage"),
      cmdRunLater(*this, "cmdRunLater"),
      cmdRunNow(*this, "cmdRunNow"),
      ctx_(ctx) {
  cmdRunNow.Click = [this] { cmdRunNow_Click(); };
  cmdRunLater.Click = [this] { cmdRunLater_Click(); };
}

void FrmPredictiveStart::Design() {
  Caption("Vellix is now configured");
  cmdRunLater.Caption("Run Later");
  cmdRunNow.Caption("Run Now");
  // Enter asks to start; Escape means "not now": nothing starts unless the
  // user asks.
  cmdRunNow.Default(true);
  cmdRunLater.Cancel(true);
}

std::string FrmPredictiveStart::Text(const std::string& key) const {
  return ctx_.rootNode->GetValue(kTextNode + key).ToString();
}

bool FrmPredictiveStart::Later() const {
  Frame frame(ctx_, kModule, "Later");
  return frame.Run(false, [&] { return later_; });
}

void FrmPredictiveStart::Later(bool value) {
  Frame frame(ctx_, kModule, "Later");
  frame.Run([&] { later_ = value; });
}

void FrmPredictiveStart::Form_Load() {
  // The log's readers know the load by the layout's name.
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode);
    Later(true);
    LayoutForm();
    LoadForm();
  });
}

void FrmPredictiveStart::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    // The design captions stand where a key gives nothing.
    if (const std::string caption = Text("Caption"); !caption.empty()) Caption(caption);
    Width(ctx_.rootNode->GetValue(kTextNode + std::string("Width")).ToInteger());

    lblMessage.Caption(Text("BlankMessage"));
    lblMessage.Move(m.Border, m.Border,
                    Twips(int64_t{Width()} - 2 * int64_t{m.Border} - 2 * int64_t{m.FormBLRBorder}),
                    Twips(3 * int64_t{m.RowHeight}));

    if (const std::string caption = Text("cmdRunLater"); !caption.empty()) {
      cmdRunLater.Caption(caption);
    }
    if (const std::string caption = Text("cmdRunNow"); !caption.empty()) {
      cmdRunNow.Caption(caption);
    }
    const int16_t buttonTop =
        Twips(int64_t{lblMessage.Top()} + lblMessage.Height() + int64_t{m.Border});
    cmdRunLater.Move(Twips(int64_t{lblMessage.Left()} + lblMessage.Width() - m.ButtonWidth),
                     buttonTop, m.ButtonWidth, m.RowHeight);
    cmdRunNow.Move(Twips(int64_t{cmdRunLater.Left()} - m.Border - m.ButtonWidth), buttonTop,
                   m.ButtonWidth, m.RowHeight);

    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmPredictiveStart::LoadForm() {
  Frame frame(ctx_, kModule, "LoadForm");
  frame.Run([&] {
    const std::string count = std::to_string(ctx_.engine->ForecastItemCount());
    ctx_.engine->Flush();

    const double rate =
        ctx_.rootNode->GetValue(kTextNode + std::string("ProcessingRatePerMin")).ToDouble();
    // A rate of 0 (or none) leaves the placeholders in the message.
    if (rate == 0.0) throw VbError(err::kDivisionByZero);
    // (+ 0.0: a negative zero reads as "0" too.)
    std::string minutes = Variant(std::trunc(std::stod(count) / rate) + 0.0).ToString();
    // However small the run, the estimate never reads less than a minute.
    if (minutes == "0") minutes = "1";

    lblMessage.Caption(Replace(Replace(lblMessage.Caption(), "XXX", count), "YYY", minutes));
  });
}

void FrmPredictiveStart::cmdRunNow_Click() {
  Frame frame(ctx_, kModule, "cmdRunNow_Click");
  frame.Run([&] {
    Later(false);
    Unload();
  });
}

void FrmPredictiveStart::cmdRunLater_Click() {
  // Both buttons report under one name in the log.
  Frame frame(ctx_, kModule, "cmdRunNow_Click");
  frame.Run([&] {
    Later(true);
    Unload();
  });
}

}  // namespace vellix
