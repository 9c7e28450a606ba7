#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "foundation/config_node.h"
#include "foundation/engine.h"
#include "foundation/error_log.h"
#include "foundation/menu.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Pair;
using ::testing::StartsWith;

// "The remote server machine does not exist or is unavailable".
constexpr int32_t kServerUnavailable = 462;
// What a server's own failure carries: the frame ends silently on it.
constexpr int32_t kServerOwnFailure = -2147467259;

[[noreturn]] void Fail(int32_t number) {
  throw VbError(number, "The remote server machine does not exist or is unavailable");
}

// Servers that answer for themselves with a failure.
class FailingConfigConnector : public ConfigConnector {
 public:
  explicit FailingConfigConnector(int32_t number) : number_(number) {}
  Ref<ConfigNode> RootNode() override { Fail(number_); }
  std::string ConfigFileName() override { Fail(number_); }
  std::string Componant() override { return "OVConfig"; }
  std::string Version() override { Fail(number_); }

 private:
  int32_t number_;
};

class FailingErrorConnector : public ErrorConnector {
 public:
  explicit FailingErrorConnector(int32_t number) : number_(number) {}
  Ref<::vellix::ErrorLog> ErrorLog() override { Fail(number_); }
  std::string LogFileName() override { Fail(number_); }
  std::string Componant() override { Fail(number_); }
  std::string Version() override { Fail(number_); }

 private:
  int32_t number_;
};

struct Rect {
  int32_t left, top, width, height;
  friend bool operator==(const Rect&, const Rect&) = default;
};

// What the box showed while it was up.
struct Seen {
  bool shown = false;
  std::string title;
  // Label and value of the product row and the four component rows.
  std::vector<std::pair<std::string, std::string>> rows;
  std::string copyright;
  std::string ok;
  std::map<std::string, Rect> rects;
  Rect form{};
};

class About : public ::testing::Test {
 protected:
  void SetUp() override {
    w.Start();
    w.log->records.clear();  // the start's own unexpected "not configured" report
  }

  void SetText(const std::string& key, const Variant& value) {
    w.config->RootNode()
        ->GetNode(std::string(FrmAbout::kTextNode) + "." + key, true, "String", value)
        ->SetContent(value);
  }

  // Opens the box as the tray's menu does, notes what it shows and presses OK.
  Seen OpenFromTray() {
    Seen seen;
    w.host.OnPopup("mPopupSys",
                   [](Menu& menu) { menu.Parent().Get<Menu>("mPopAbout").UserClick(); });
    w.host.OnModal("frmAbout", [&seen](Form& form) {
      auto& box = dynamic_cast<FrmAbout&>(form);
      seen.shown = true;
      seen.title = box.Caption();
      for (auto [label, data] : std::array<std::pair<Label*, Label*>, 5>{{
               {&box.lblProduct, &box.lblProductData},
               {&box.lblComponant1, &box.lblComponant1Data},
               {&box.lblComponant2, &box.lblComponant2Data},
               {&box.lblComponant3, &box.lblComponant3Data},
               {&box.lblComponant4, &box.lblComponant4Data},
           }}) {
        seen.rows.emplace_back(label->Caption(), data->Caption());
      }
      seen.copyright = box.lblCopyright.Caption();
      seen.ok = box.cmdOK.Caption();
      for (const Control* control : box.Controls()) {
        seen.rects[control->Name()] = {control->Left(), control->Top(), control->Width(),
                                       control->Height()};
      }
      seen.form = {box.Left(), box.Top(), box.Width(), box.Height()};
      EXPECT_TRUE(box.cmdOK.UserClick());
      EXPECT_FALSE(box.Loaded()) << "OK closes the box";
    });
    w.host.ClearHistory();
    w.popup.UserMouseMove(0, 0, 517.0 * w.services.twipsPerPixelX, 0);  // right button up
    w.host.Pump();
    return seen;
  }

  test::PopupWorld w;
};

TEST_F(About, EachProgramSaysItsOwnNameAndVersionAndTheVendorWritesTheLastLine) {
  EXPECT_EQ(w.about, nullptr) << "a start pays nothing for the box";
  const Seen seen = OpenFromTray();
  ASSERT_TRUE(seen.shown);
  EXPECT_THAT(w.host.History(), ::testing::Contains("show modal frmAbout"));

  const std::string panelVersion = w.popup.Version();
  EXPECT_THAT(panelVersion, MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
  EXPECT_THAT(std::string(VELLIX_VERSION), StartsWith(panelVersion));
  EXPECT_THAT(seen.rows,
              ElementsAre(Pair("Product", "Vellix Control"), Pair("VellixControl", panelVersion),
                          Pair("OVVellix", VELLIX_VERSION), Pair("OVConfig", VELLIX_VERSION),
                          // The test world's error log says this of itself.
                          Pair("ErrorLog", "1.0.0")));
  EXPECT_EQ(seen.title, "About Vellix Control");
  EXPECT_EQ(seen.copyright, "Copyright © 2026 Orvane. All rights reserved.");
  EXPECT_EQ(seen.ok, "OK");
  EXPECT_THAT(w.Problems(), IsEmpty());

  // The rows stand one under the other in two columns; the vendor's line
  // takes the width inside the borders, OK closes its right end, and the
  // form ends below OK.
  const LayoutMetrics& m = w.about->Metrics();
  const int32_t step = m.Border + m.RowHeight;
  const std::array<std::string, 5> labels{"lblProduct", "lblComponant1", "lblComponant2",
                                          "lblComponant3", "lblComponant4"};
  for (int i = 0; i < 5; ++i) {
    const std::string& label = labels.at(i);
    SCOPED_TRACE(label);
    const int32_t top = m.Border + m.TextOffset + i * step;
    EXPECT_EQ(seen.rects.at(label), (Rect{m.Border, top, m.LabelColumnWidth, m.RowHeight}));
    EXPECT_EQ(seen.rects.at(label + "Data"),
              (Rect{2 * m.Border + m.LabelColumnWidth, top, m.DataColumnWidth, m.RowHeight}));
  }
  const int32_t inner = seen.form.width - 2 * m.Border - 2 * m.FormBLRBorder;
  EXPECT_EQ(seen.form.width, 6600);
  const Rect copyright = seen.rects.at("lblCopyright");
  EXPECT_EQ(copyright, (Rect{m.Border, m.Border + m.TextOffset + 5 * step, inner,
                             FrmAbout::kCopyrightRows * m.RowHeight}));
  const Rect ok = seen.rects.at("cmdOK");
  EXPECT_EQ(ok, (Rect{m.Border + inner - m.ButtonWidth, copyright.top + copyright.height + m.Border,
                      m.ButtonWidth, m.RowHeight}));
  EXPECT_EQ(seen.form.height, ok.top + ok.height + m.Border + m.FormTopBorder + m.FormBLRBorder);
  // Laid out rows fit the form.
  EXPECT_LE(seen.rects.at("lblProductData").left + m.DataColumnWidth + m.Border,
            seen.form.width - 2 * m.FormBLRBorder);

  // A second opening uses the same box, laid out afresh.
  SetText("Copyright", Variant("(c) 2031 Another Vendor"));
  EXPECT_EQ(OpenFromTray().copyright, "(c) 2031 Another Vendor");
  EXPECT_EQ(w.aboutMade, 1);
}

TEST_F(About, TheTitleJoinsItsTwoPartsWithOneBlankAndTheVendorsLineIsTheKeys) {
  const struct {
    const char* caption;
    const char* product;
    const char* copyright;
    const char* title;
  } cases[] = {
      {"Info on", "Mail Vault", "Vendor line", "Info on Mail Vault"},
      // An empty key keeps the design's title; the box has no vendor line of
      // its own to put in for an empty one.
      {"", "Vellix Control", "", "About Vellix Control"},
      {"About", "", "(c) Orvane", "About "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title);
    SetText("Caption", Variant(c.caption));
    SetText("Copyright", Variant(c.copyright));
    w.config->RootNode()
        ->GetNode("Componants.VellixControl.Strings.ProductName", true, "String", Variant())
        ->SetContent(Variant(c.product));
    const Seen seen = OpenFromTray();
    ASSERT_TRUE(seen.shown);
    EXPECT_EQ(seen.title, c.title);
    ASSERT_FALSE(seen.rows.empty());
    EXPECT_EQ(seen.rows[0].second, c.product);
    EXPECT_EQ(seen.copyright, c.copyright);
  }
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(About, AServerThatCannotBeReachedEndsTheLayoutAtItsRowAndTheBoxStillOpens) {
  // The full layout with the shipped metrics, to compare the design with.
  const Seen full = OpenFromTray();
  ASSERT_TRUE(full.shown);
  const Ref<EngineConnector> engine = w.ctx.engineConnector;
  const Ref<ConfigConnector> config = w.ctx.configConnector;
  const Ref<ErrorConnector> errors = w.ctx.errorConnector;

  const struct {
    const char* what;
    std::function<void(Context&)> breakIt;
    int failingRow;        // 1 to 4
    int16_t loggedNumber;  // 0: no record
  } cases[] = {
      {"no engine connector", [](Context& ctx) { ctx.engineConnector.Reset(); }, 2, 91},
      {"the configuration server is unavailable",
       [](Context& ctx) {
         ctx.configConnector = MakeRef<FailingConfigConnector>(kServerUnavailable);
       },
       3, kServerUnavailable},
      {"the error log server is unavailable",
       [](Context& ctx) {
         ctx.errorConnector = MakeRef<FailingErrorConnector>(kServerUnavailable);
       },
       4, kServerUnavailable},
      // A server's own failure ends the procedure without a record.
      {"the configuration server fails inside",
       [](Context& ctx) {
         ctx.configConnector = MakeRef<FailingConfigConnector>(kServerOwnFailure);
       },
       3, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    w.ctx.engineConnector = engine;
    w.ctx.configConnector = config;
    w.ctx.errorConnector = errors;
    c.breakIt(w.ctx);
    w.log->records.clear();

    const Seen seen = OpenFromTray();
    ASSERT_TRUE(seen.shown) << "the box still opens";
    ASSERT_EQ(seen.rows.size(), 5U);
    for (int row = 0; row <= 4; ++row) {
      SCOPED_TRACE(row);
      if (row < c.failingRow) {
        EXPECT_EQ(seen.rows[row], full.rows[row]) << "rows above are laid out";
      } else {
        EXPECT_EQ(seen.rows[row], std::make_pair("Component " + std::to_string(row), std::string()))
            << "from here on the design captions stay";
      }
    }
    EXPECT_EQ(seen.copyright, "") << "the layout stopped before the vendor's line";
    // The design places the controls as the shipped metrics do, so the box
    // reads as the full one but for the texts.
    EXPECT_EQ(seen.rects, full.rects);
    EXPECT_EQ(seen.form, full.form);
    if (c.loggedNumber == 0) {
      EXPECT_THAT(w.Problems(), IsEmpty());
    } else {
      const auto problems = w.Problems();
      ASSERT_EQ(problems.size(), 1U);
      const auto& record = problems[0];
      EXPECT_EQ(record.module, "frmAbout");
      EXPECT_EQ(record.procedure, "LayoutForm");
      EXPECT_EQ(record.number, c.loggedNumber);
    }
  }
  w.ctx.engineConnector = engine;
  w.ctx.configConnector = config;
  w.ctx.errorConnector = errors;
  EXPECT_EQ(w.aboutMade, 1) << "made on first use only";
}

}  // namespace
}  // namespace vellix
