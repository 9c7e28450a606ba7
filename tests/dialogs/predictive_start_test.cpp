#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "foundation/config_node.h"
#include "panels/panel_test.h"
#include "platform/desktop/path_mapping.h"
#include "servers/engine/engine_server.h"
#include "servers/engine/processing_hooks.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// An engine whose first run would take a known number of items.
class Forecast : public engine::ProcessingHooks {
 public:
  explicit Forecast(const int32_t* items) : items_(items) {}
  int32_t ForecastItemCount(engine::EngineCore& /*core*/) override { return *items_; }

 private:
  const int32_t* items_;
};

class PredictiveStart : public ::testing::Test {
 protected:
  // A started control panel whose engine forecasts `items`.
  void StartWith(int32_t items) {
    forecast_ = items;
    if (w.popup.Loaded()) return;
    w.engine = std::make_shared<engine::EngineServer>(
        w.dir / "Engine.xml", desktop::PathMapping(w.dir / "data"), w.clock, nullptr,
        std::make_unique<Forecast>(&forecast_));
    w.Start();
    w.log->records.clear();  // the start's own unexpected "not configured" report
  }
  void SetText(const std::string& key, const Variant& value) {
    test::SetKey(w, FrmPredictiveStart::kTextNode + key, value);
  }
  // The message the dialog shows for this rate and wording; whatever the
  // figures, it opens offering Later.
  std::string MessageFor(const Variant& rate, const std::string& blank) {
    SetText("ProcessingRatePerMin", rate);
    SetText("BlankMessage", blank);
    dialog().Load();
    EXPECT_TRUE(dialog().Loaded());
    EXPECT_TRUE(dialog().Later());
    std::string message = dialog().lblMessage.Caption();
    dialog().Unload();
    return message;
  }
  FrmPredictiveStart& dialog() { return w.predictiveStart; }
  test::PopupWorld w;
  int32_t forecast_ = 0;
};

TEST_F(PredictiveStart,
       ButtonsLieUnderTheMessageOfItemsAndWholeMinutesOnlyRunNowClearsLaterANoRateIsLogged) {
  StartWith(0);
  // The buttons lie under the message, at its right end.
  SetText("Width", Variant(6000));
  dialog().Load();
  const LayoutMetrics& m = dialog().Metrics();
  ASSERT_GT(m.Border, 0);
  const Label& msg = dialog().lblMessage;
  const CommandButton& later = dialog().cmdRunLater;
  const CommandButton& now = dialog().cmdRunNow;
  EXPECT_EQ(msg.Width(), 6000 - 2 * m.Border - 2 * m.FormBLRBorder);
  EXPECT_EQ(msg.Height(), 3 * m.RowHeight);
  EXPECT_EQ(later.Left() + later.Width(), msg.Left() + msg.Width());
  EXPECT_EQ(later.Top(), msg.Top() + msg.Height() + m.Border);
  EXPECT_EQ(now.Top(), later.Top());
  EXPECT_EQ(now.Left() + now.Width() + m.Border, later.Left());
  EXPECT_EQ(dialog().Height(),
            later.Top() + m.RowHeight + m.Border + m.FormTopBorder + m.FormBLRBorder);
  EXPECT_EQ(dialog().Caption(), w.Text(".Strings.frmPredictiveStart.Caption"));
  EXPECT_EQ(now.Caption(), w.Text(".Strings.frmPredictiveStart.cmdRunNow"));
  dialog().Unload();
  // Where a key gives nothing the design captions stand.
  SetText("Caption", Variant(""));
  SetText("cmdRunNow", Variant(""));
  dialog().Load();
  EXPECT_EQ(dialog().Caption(), "Vellix is now configured");
  EXPECT_EQ(dialog().cmdRunNow.Caption(), "Run Now");
  dialog().Unload();
  // Loading asks the engine for its forecast and flushes it.
  EXPECT_EQ(MessageFor(Variant(600), "XXX items, about YYY minutes"), "0 items, about 1 minutes");
  EXPECT_THAT(w.Journal(), Contains("Flush"));
  // Only Run Now clears Later, and the next load starts at Later again.
  dialog().Load();
  dialog().cmdRunLater.UserClick();
  EXPECT_TRUE(dialog().Later());
  EXPECT_FALSE(dialog().Loaded());
  dialog().Load();
  dialog().cmdRunNow.UserClick();
  EXPECT_FALSE(dialog().Later());
  EXPECT_FALSE(dialog().Loaded());
  StartWith(59);
  EXPECT_EQ(MessageFor(Variant(60), "XXX/YYY"), "59/1");
  EXPECT_EQ(MessageFor(Variant("20"), "XXX/YYY"), "59/2");  // a rate written as text
  // Every placeholder, in any case; without "YYY" only the count is filled in.
  StartWith(125);
  EXPECT_EQ(MessageFor(Variant(60), "XXX (xxx), yyy or YYY min"), "125 (125), 2 or 2 min");
  EXPECT_EQ(MessageFor(Variant(60), "About XXX items."), "About 125 items.");
  EXPECT_THAT(w.Problems(), IsEmpty());
  // A rate of nothing is logged and the dialog still opens.
  for (const Variant& rate : {Variant(0), Variant()}) {
    w.log->records.clear();
    EXPECT_EQ(MessageFor(rate, "XXX items in YYY minutes"), "XXX items in YYY minutes");
    EXPECT_THAT(w.Problems(), ElementsAre(test::LogRecord{"frmPredictiveStart", "LoadForm",
                                                          "Division by zero", 11}));
  }
}
}  // namespace
}  // namespace vellix
