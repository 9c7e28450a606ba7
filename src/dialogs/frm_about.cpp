#include "dialogs/frm_about.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "forms/row_layout.h"
#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/frame.h"
#include "foundation/trace_names.h"
#include "foundation/variant.h"

namespace vellix {

namespace {

constexpr const char* kModule = "frmAbout";
// The title's first part where the configuration gives none.
constexpr const char* kDesignTitle = "About";

// A text the main form was to hand over; none is a call on nothing.
std::string Ask(const std::function<std::string()>& source) {
  if (!source) Raise(err::kObjectNotSet);
  return source();
}

}  // namespace

FrmAbout::FrmAbout(Context& ctx, UiHost& host)
    : Form(host, "frmAbout"),
      lblProduct(*this, "lblProduct"),
      lblProductData(*this, "lblProductData"),
      lblComponant1(*this, "lblComponant1"),
      lblComponant1Data(*this, "lblComponant1Data"),
      lblComponant2(*this, "lblComponant2"),
      lblComponant2Data(*this, "lblComponant2Data"),
      lblComponant3(*this, "lblComponant3"),
      lblComponant3Data(*this, "lblComponant3Data"),
      lblComponant4(*this, "lblComponant4"),
      lblComponant4Data(*this, "lblComponant4Data"),
      lblCopyright(*this, "lblCopyright"),
      cmdOK(*this, "cmdOK"),
      ctx_(ctx) {
  cmdOK.Click = [this] { cmdOK_Click(); };
}

void FrmAbout::Design() {
  // The design places everything as the shipped metrics would, so a layout
  // that stops early still leaves a box that reads and closes.
  Caption(kDesignTitle);
  Width(6600);
  Height(4640);
  lblProduct.Caption("Product");
  lblProduct.Move(120, 180, 2400, 375);
  lblProductData.Move(2640, 180, 3600, 375);
  const std::array<std::pair<Label*, Label*>, 4> rows{{{&lblComponant1, &lblComponant1Data},
                                                       {&lblComponant2, &lblComponant2Data},
                                                       {&lblComponant3, &lblComponant3Data},
                                                       {&lblComponant4, &lblComponant4Data}}};
  int16_t top = 675;
  int component = 1;
  for (const auto& [label, data] : rows) {
    label->Caption("Component " + std::to_string(component++));
    label->Move(120, top, 2400, 375);
    data->Move(2640, top, 3600, 375);
    top = static_cast<int16_t>(top + 495);
  }
  // The vendor writes this line into the configuration; the box has none.
  lblCopyright.Caption("");
  lblCopyright.Move(120, top, 6120, 750);
  cmdOK.Caption("OK");
  cmdOK.Move(4740, 3525, 1500, 375);
  // Enter and Escape both only close the box.
  cmdOK.Default(true);
  cmdOK.Cancel(true);
}

void FrmAbout::Form_Load() {
  Frame frame(ctx_, kModule, TraceNames::frmAbout_Form_Load);
  frame.Run([&] {
    metrics_ = LayoutMetrics::Read(*ctx_.rootNode);
    LayoutForm();
  });
}

std::array<FrmAbout::Row, 4> FrmAbout::ComponentRows() {
  // The connectors are asked as the rows come: each says what it is.
  return {{
      {lblComponant1, lblComponant1Data, [this] { return Ask(identity_.Componant); },
       [this] { return Ask(identity_.Version); }},
      {lblComponant2, lblComponant2Data, [this] { return ctx_.engineConnector->Componant(); },
       [this] { return ctx_.engineConnector->Version(); }},
      {lblComponant3, lblComponant3Data, [this] { return ctx_.configConnector->Componant(); },
       [this] { return ctx_.configConnector->Version(); }},
      {lblComponant4, lblComponant4Data, [this] { return ctx_.errorConnector->Componant(); },
       [this] { return ctx_.errorConnector->Version(); }},
  }};
}

void FrmAbout::LayoutForm() {
  Frame frame(ctx_, kModule, "LayoutForm");
  frame.Run([&] {
    const LayoutMetrics& m = metrics_;
    const auto text = [this](const char* key) {
      return ctx_.rootNode->GetValue(std::string(kTextNode) + "." + key).ToString();
    };
    const std::string product = Ask(identity_.ProductName);
    // The design title stands where the key gives nothing.
    std::string title = text("Caption");
    if (title.empty()) title = kDesignTitle;
    Caption(title + " " + product);
    Width(ctx_.rootNode->GetValue(std::string(kTextNode) + ".Width").ToInteger());

    RowLayout rows(m, nullptr);
    const auto place = [&](Label& label, Label& data) {
      label.Move(m.Border, Twips(int64_t{rows.Row()} + m.TextOffset), m.LabelColumnWidth,
                 m.RowHeight);
      data.Move(rows.DataLeft(), Twips(int64_t{rows.Row()} + m.TextOffset), m.DataColumnWidth,
                m.RowHeight);
      rows.NextRow();
    };
    if (const std::string caption = text("lblProduct"); !caption.empty())
      lblProduct.Caption(caption);
    lblProductData.Caption(product);
    place(lblProduct, lblProductData);
    for (const Row& row : ComponentRows()) {
      // Both texts first: a server that fails leaves its row as designed.
      const std::string name = row.name();
      const std::string version = row.version();
      row.label.Caption(name);
      row.data.Caption(version);
      place(row.label, row.data);
    }

    const int16_t inner =
        Twips(int64_t{Width()} - 2 * int64_t{m.Border} - 2 * int64_t{m.FormBLRBorder});
    lblCopyright.Caption(text("Copyright"));
    lblCopyright.Move(m.Border, Twips(int64_t{rows.Row()} + m.TextOffset), inner,
                      Twips(kCopyrightRows * int64_t{m.RowHeight}));
    if (const std::string caption = text("cmdOK"); !caption.empty()) cmdOK.Caption(caption);
    const int16_t buttonTop =
        Twips(int64_t{lblCopyright.Top()} + lblCopyright.Height() + int64_t{m.Border});
    cmdOK.Move(Twips(int64_t{m.Border} + inner - m.ButtonWidth), buttonTop, m.ButtonWidth,
               m.RowHeight);

    Height(Twips(int64_t{buttonTop} + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder));
  });
}

void FrmAbout::cmdOK_Click() {
  Frame frame(ctx_, kModule, "cmdOK_Click");
  frame.Run([&] { Unload(); });
}

}  // namespace vellix
