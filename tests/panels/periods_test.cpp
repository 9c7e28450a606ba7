#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "panels/panel_test.h"

namespace vellix::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kMsgFormatIncorrect = ".Strings.ControlPanel.Periods.MsgFormatIncorrect";
constexpr const char* kFormat = "File '@yyyy mmm'";

// A configured engine with a period of 3 months from 1 April 2024, the main
// window up on the Periods tab.
struct PeriodsWorld {
  PeriodsWorld() {
    w.engine->Configured(true);
    w.Start();
    config()->PeriodCount(3);
    config()->PeriodUnits("Month");
    config()->ReferenceDate(DateSerial(2024, 4, 1));
    config()->SetPeriodFormat(kFormat);
    EXPECT_TRUE(w.popup.tabControlOptions.UserSelectTab("Periods"));
    w.engine->ClearJournal();
  }
  Ref<EngineConfig> config() { return w.ctx.engine->Config(); }
  PeriodsPanel& pe() { return w.popup.periods; }
  PopupWorld w;
};

TEST(PeriodsPanel, ShowsTheEnginesPeriodWithOnlyTheFormatOpenInRows) {
  PeriodsWorld p;
  PeriodsPanel& pe = p.pe();
  const auto enabled = [&] {
    return std::vector<bool>{pe.txtPeNewCount.Enabled(), pe.cboPeNewUnits.Enabled(),
                             pe.dtpPeReference.Enabled(), pe.txtPeFormat.Enabled()};
  };
  EXPECT_THAT((std::vector<std::string>{pe.txtPeNewCount.Text(), pe.cboPeNewUnits.Text(),
                                        pe.txtPeFormat.Text()}),
              ElementsAre("3", "Month", kFormat));
  EXPECT_EQ(pe.dtpPeReference.Value(), DateSerial(2024, 4, 1));
  EXPECT_THAT(enabled(), ElementsAre(false, false, false, true));
  EXPECT_THAT(p.w.Problems(), IsEmpty());
  // The unit words come from the configuration as the engine knows them.
  EXPECT_THAT(Rows(pe.cboPeNewUnits), ElementsAre("Year", "Quarter", "Month", "Week", "Day"));
  // Rows: label column, then the data; the unit follows the count.
  const LayoutMetrics& m = p.w.popup.Metrics();
  EXPECT_THAT(
      (std::vector<int32_t>{pe.lblPeNewPeriod.Left(), pe.lblPeNewPeriod.Top(),
                            pe.txtPeNewCount.Left(), pe.cboPeNewUnits.Left(),
                            pe.dtpPeReference.Top(), pe.txtPeFormat.Top(), pe.txtPeFormat.Width()}),
      ElementsAre(m.Border, m.Border + m.TextOffset, 2 * m.Border + m.LabelColumnWidth,
                  pe.txtPeNewCount.Left() + pe.txtPeNewCount.Width() + m.Border,
                  m.Border + m.RowHeight + m.Border, m.Border + 2 * (m.RowHeight + m.Border),
                  m.DataColumnWidth));
  EXPECT_EQ(pe.dtpPeReference.ToolTipText(),
            p.w.Text(".Strings.ControlPanel.Periods.dtpPeReference"));
  // A running engine locks the format too; loading again keeps the three shut.
  p.w.popup.FormRun(true);
  EXPECT_FALSE(pe.txtPeFormat.Enabled());
  p.w.popup.FormRun(false);
  EXPECT_TRUE(pe.txtPeNewCount.Enabled());
  pe.LoadPeriods();
  EXPECT_THAT(enabled(), ElementsAre(false, false, false, true));
}

TEST(PeriodsPanel, TheEngineAloneJudgesAFormatWhenItLosesTheFocus) {
  PeriodsWorld p;
  PeriodsPanel& pe = p.pe();
  pe.txtPeFormat_LostFocus();
  EXPECT_THAT(p.w.Journal(), IsEmpty()) << "unchanged: the engine isn't asked";
  pe.txtPeFormat.Text("Archive '@yyyy'");
  pe.txtPeFormat_LostFocus();
  EXPECT_EQ(p.config()->PeriodFormat(), "Archive '@yyyy'");
  EXPECT_THAT(p.w.host.Prompts(), IsEmpty());
  // Refused: the old format is back before the message shows.
  p.w.engine->RefuseSetPeriodFormat(true);
  pe.txtPeFormat.Text("Other '@yyyy'");
  std::string shownWhileAsking;
  p.w.host.AnswerNext(MsgResult::OK, [&] { shownWhileAsking = pe.txtPeFormat.Text(); });
  pe.txtPeFormat_LostFocus();
  EXPECT_EQ(shownWhileAsking, "Archive '@yyyy'");
  EXPECT_EQ(pe.txtPeFormat.Text(), "Archive '@yyyy'");
  EXPECT_THAT(p.w.host.Prompts(), ElementsAre(p.w.Text(kMsgFormatIncorrect)));
  EXPECT_EQ(p.config()->PeriodFormat(), "Archive '@yyyy'");
}

TEST(PeriodsPanel, LeavingChecksTheFormatOnlyWhenItChangedAndAFailedCheckKeepsTheTab) {
  struct Case {
    const char* what;
    const char* text;  // "" leaves it; typed with the focus or, without, set in code
    bool focus;
    std::function<void(engine::EngineServer&)> fault;
    const char* tab;
    const char* shown;
    bool told;
    const char* format;  // the engine's afterwards
  };
  const auto none = [](engine::EngineServer&) {};
  // clang-format off
  const Case cases[] = {
      {"unchanged", "", false, none, "Agents", kFormat, false, kFormat},
      // The lost focus writes it, leaving finds it written.
      {"typed and left", "Year '@yyyy'", true, none, "Agents", "Year '@yyyy'", false, "Year '@yyyy'"},
      {"no date in it", "No date", false, none, "Periods", "No date", true, kFormat},
      {"passes the check, refused by the engine", "Refused '@yyyy'", false,
       [](engine::EngineServer& e) { e.RefuseSetPeriodFormat(true); }, "Agents", kFormat, true, kFormat},
      {"the engine fails while asked", "File '@yy'", false,
       [](engine::EngineServer& e) { e.FailCall("get Config"); }, "Periods", "File '@yy'", false, kFormat},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    PeriodsWorld p;
    TextBox& format = p.pe().txtPeFormat;
    if (c.focus) {
      ASSERT_TRUE(format.UserFocus());
      ASSERT_TRUE(format.UserSetText(c.text));
    } else if (*c.text != '\0') {
      format.Text(c.text);
    }
    c.fault(*p.w.engine);
    ASSERT_TRUE(p.w.popup.tabControlOptions.UserSelectTab("Agents"));
    p.w.engine->ClearFaults();
    EXPECT_EQ(p.w.popup.tabControlOptions.SelectedItem()->Key(), c.tab);
    EXPECT_EQ(p.w.popup.CurrentTab(), c.tab);
    EXPECT_EQ(p.w.popup.picPe.Visible(), std::string(c.tab) == "Periods");
    EXPECT_EQ(p.w.popup.picAg.Visible(), std::string(c.tab) == "Agents");
    EXPECT_EQ(format.Text(), c.shown);
    EXPECT_EQ(p.w.host.Prompts(), c.told ? std::vector<std::string>{p.w.Text(kMsgFormatIncorrect)}
                                         : std::vector<std::string>{});
    EXPECT_EQ(p.config()->PeriodFormat(), c.format);
    if (*c.text == '\0') {
      EXPECT_THAT(p.w.Journal(), Not(Contains(HasSubstr("SetPeriodFormat"))));
    }
  }
}

TEST(PeriodsPanel, PeriodDurationCountsDaysWithSixteenBitYearsAndWeeksAndExactUnits) {
  struct Case {
    const char* units;
    int16_t count;
    double days;
    bool overflows;
  };
  const Case cases[] = {
      {"Year", 1, 365, false},      {"Year", 89, 32485, false},
      {"Year", 90, 0, true},        {"Quarter", 1, 91.25, false},
      {"Quarter", 4, 365, false},   {"Month", 1, 365.0 / 12.0, false},
      {"Month", 12, 365, false},    {"Month", 200, 200 * 365.0 / 12.0, false},
      {"Week", 4681, 32767, false}, {"Week", 4682, 0, true},
      {"Day", 40, 40, false},       {"year", 1, 0, false},
      {"Fortnight", 2, 0, false},   {"", 1, 0, false},
  };
  PeriodsWorld p;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.units) + " x" + std::to_string(c.count));
    p.config()->PeriodUnits(c.units);
    p.config()->PeriodCount(c.count);
    p.w.log->records.clear();
    EXPECT_DOUBLE_EQ(p.pe().PeriodDuration(), c.days);
    EXPECT_EQ(Traces(p.w), c.overflows ? std::vector<std::string>{"frmPopup.PeriodDuration 6"}
                                       : std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace vellix::test
