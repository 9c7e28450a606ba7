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
#include "panels/panel_test.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Pair;
using ::testing::StartsWith;

// "The remote server machine does not exist or is unavailable", and what a
// server's own failure carries: the frame ends silently on it.
constexpr int32_t kServerUnavailable = 462;
constexpr int32_t kServerOwnFailure = -2147467259;

[[noreturn]] void Fail(int32_t number) {
  throw VbError(number, "The remote server machine does not exist or is unavailable");
}

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

using Rect = std::array<int32_t, 4>;  // left, top, width, height

// What the box showed while it was up.
struct Seen {
  bool shown = false;
  std::string title, copyright, ok;
  // Label and value of the product row and the four component rows.
  std::vector<std::pair<std::string, std::string>> rows;
  std::map<std::string, Rect> rects;
  Rect form{};
};

class About : public ::testing::Test {
 protected:
  void SetUp() override {
    w.Start();
    w.log->records.clear();  // the start's own unexpected "not configured" report
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
      seen.copyright = box.lblCopyright.Caption();
      seen.ok = box.cmdOK.Caption();
      for (const char* row : {"Product", "Componant1", "Componant2", "Componant3", "Componant4"}) {
        seen.rows.emplace_back(box.Get<Label>(std::string("lbl") + row).Caption(),
                               box.Get<Label>(std::string("lbl") + row + "Data").Caption());
      }
      for (const Control* c : box.Controls())
        seen.rects[c->Name()] = {c->Left(), c->Top(), c->Width(), c->Height()};
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
                          Pair("ErrorLog", "1.0.0")));  // the test world's error log
  EXPECT_EQ(seen.title, "About Vellix Control");
  EXPECT_EQ(seen.copyright, "Copyright © 2026 Orvane. All rights reserved.");
  EXPECT_EQ(seen.ok, "OK");
  // Two columns of rows; the vendor's line takes the width inside the borders,
  // OK closes its right end, and the form ends below OK.
  const LayoutMetrics& m = w.about->Metrics();
  const int32_t step = m.Border + m.RowHeight;
  int i = 0;
  for (const char* label :
       {"lblProduct", "lblComponant1", "lblComponant2", "lblComponant3", "lblComponant4"}) {
    SCOPED_TRACE(label);
    const int32_t top = m.Border + m.TextOffset + i++ * step;
    EXPECT_EQ(seen.rects.at(label), (Rect{m.Border, top, m.LabelColumnWidth, m.RowHeight}));
    EXPECT_EQ(seen.rects.at(std::string(label) + "Data"),
              (Rect{2 * m.Border + m.LabelColumnWidth, top, m.DataColumnWidth, m.RowHeight}));
  }
  EXPECT_EQ(seen.form[2], 6600);
  const int32_t inner = seen.form[2] - 2 * m.Border - 2 * m.FormBLRBorder;
  const Rect copyright = seen.rects.at("lblCopyright");
  EXPECT_EQ(copyright, (Rect{m.Border, m.Border + m.TextOffset + 5 * step, inner,
                             FrmAbout::kCopyrightRows * m.RowHeight}));
  const Rect ok = seen.rects.at("cmdOK");
  EXPECT_EQ(ok, (Rect{m.Border + inner - m.ButtonWidth, copyright[1] + copyright[3] + m.Border,
                      m.ButtonWidth, m.RowHeight}));
  EXPECT_EQ(seen.form[3], ok[1] + ok[3] + m.Border + m.FormTopBorder + m.FormBLRBorder);
  EXPECT_LE(seen.rects.at("lblProductData")[0] + m.DataColumnWidth + m.Border,
            seen.form[2] - 2 * m.FormBLRBorder);
  // Later openings use the same box, laid out afresh from the keys: the title
  // joins its two parts with one blank, an empty caption keeps the design's,
  // and an empty vendor line stays empty (the box has none of its own).
  const struct {
    const char *caption, *product, *copyright, *title;
  } cases[] = {
      {"Info on", "Mail Vault", "(c) 2031 Another Vendor", "Info on Mail Vault"},
      {"", "Vellix Control", "", "About Vellix Control"},
      {"About", "", "(c) Orvane", "About "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title);
    test::SetKey(w, std::string(FrmAbout::kTextNode) + ".Caption", Variant(c.caption));
    test::SetKey(w, std::string(FrmAbout::kTextNode) + ".Copyright", Variant(c.copyright));
    test::SetKey(w, "Componants.VellixControl.Strings.ProductName", Variant(c.product));
    const Seen again = OpenFromTray();
    ASSERT_TRUE(again.shown);
    EXPECT_EQ(again.title, c.title);
    EXPECT_EQ(again.rows.at(0).second, c.product);
    EXPECT_EQ(again.copyright, c.copyright);
  }
  EXPECT_EQ(w.aboutMade, 1);
  EXPECT_THAT(w.Problems(), IsEmpty());
}

TEST_F(About, AServerThatCannotBeReachedEndsTheLayoutAtItsRowAndTheBoxStillOpens) {
  const Seen full = OpenFromTray();
  ASSERT_TRUE(full.shown);
  const Ref<EngineConnector> engine = w.ctx.engineConnector;
  const Ref<ConfigConnector> config = w.ctx.configConnector;
  const Ref<ErrorConnector> errors = w.ctx.errorConnector;
  const auto restore = [&] {
    w.ctx.engineConnector = engine;
    w.ctx.configConnector = config;
    w.ctx.errorConnector = errors;
  };
  const struct {
    const char* what;
    std::function<void(Context&)> breakIt;
    int failingRow;  // 1 to 4
    std::vector<std::string> logged;
  } cases[] = {
      {"no engine connector",
       [](Context& ctx) { ctx.engineConnector.Reset(); },
       2,
       {"frmAbout.LayoutForm 91"}},
      {"config unavailable",
       [](Context& ctx) {
         ctx.configConnector = MakeRef<FailingConfigConnector>(kServerUnavailable);
       },
       3,
       {"frmAbout.LayoutForm 462"}},
      {"error log unavailable",
       [](Context& ctx) {
         ctx.errorConnector = MakeRef<FailingErrorConnector>(kServerUnavailable);
       },
       4,
       {"frmAbout.LayoutForm 462"}},
      {"config fails inside",
       [](Context& ctx) {
         ctx.configConnector = MakeRef<FailingConfigConnector>(kServerOwnFailure);
       },
       3,
       {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    restore();
    c.breakIt(w.ctx);
    w.log->records.clear();
    const Seen seen = OpenFromTray();
    ASSERT_TRUE(seen.shown) << "the box still opens";
    ASSERT_EQ(seen.rows.size(), 5U);
    for (int row = 0; row <= 4; ++row) {
      // Rows above are laid out; from the failing one on the design captions stay.
      EXPECT_EQ(seen.rows[row],
                row < c.failingRow
                    ? full.rows[row]
                    : std::make_pair("Component " + std::to_string(row), std::string()))
          << row;
    }
    EXPECT_EQ(seen.copyright, "") << "the layout stopped before the vendor's line";
    // The design places the controls as the shipped metrics do.
    EXPECT_EQ(seen.rects, full.rects);
    EXPECT_EQ(seen.form, full.form);
    EXPECT_EQ(test::Traces(w), c.logged);
  }
  restore();
  EXPECT_EQ(w.aboutMade, 1) << "made on first use only";
}

}  // namespace
}  // namespace vellix
