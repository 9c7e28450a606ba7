#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/engine_config.h"
#include "support/popup/popup_world.h"

namespace vellix {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kMsgFormatIncorrect = ".Strings.ControlPanel.Periods.MsgFormatIncorrect";

// A configured engine with a period of 3 months from 1 April 2024, the main
// window up on the Periods tab.
struct PeriodsWorld {
  PeriodsWorld() {
    w.engine->Configured(true);
    w.Start();
    config()->PeriodCount(3);
    config()->PeriodUnits("Month");
    config()->ReferenceDate(DateSerial(2024, 4, 1));
    config()->SetPeriodFormat("File '@yyyy mmm'");
    EXPECT_TRUE(w.popup.tabControlOptions.UserSelectTab("Periods"));
    w.engine->ClearJournal();
  }
  Ref<EngineConfig> config() { return w.ctx.engine->Config(); }
  PeriodsPanel& pe() { return w.popup.periods; }
  [[nodiscard]] std::string Tab() const { return w.popup.tabControlOptions.SelectedItem()->Key(); }
  // The user edits the format and then clicks another tab.
  void TypeFormatAndLeave(const std::string& text) {
    ASSERT_TRUE(pe().txtPeFormat.UserFocus());
    ASSERT_TRUE(pe().txtPeFormat.UserSetText(text));
    ASSERT_TRUE(w.popup.tabControlOptions.UserSelectTab("Agents"));
  }

  test::PopupWorld w;
};

TEST(PeriodsPanel, ShowsTheEnginesPeriodWithOnlyTheFormatOpenInRows) {
  PeriodsWorld p;
  PeriodsPanel& pe = p.pe();
  EXPECT_EQ(pe.txtPeNewCount.Text(), "3");
  EXPECT_EQ(pe.cboPeNewUnits.Text(), "Month");
  EXPECT_EQ(pe.dtpPeReference.Value(), DateSerial(2024, 4, 1));
  EXPECT_EQ(pe.txtPeFormat.Text(), "File '@yyyy mmm'");
  EXPECT_FALSE(pe.txtPeNewCount.Enabled());
  EXPECT_FALSE(pe.cboPeNewUnits.Enabled());
  EXPECT_FALSE(pe.dtpPeReference.Enabled());
  EXPECT_TRUE(pe.txtPeFormat.Enabled());
  EXPECT_THAT(p.w.Problems(), IsEmpty());

  // The unit words come from the configuration as the engine knows them.
  std::vector<std::string> units;
  for (int32_t i = 0; i < pe.cboPeNewUnits.ListCount(); ++i)
    units.push_back(pe.cboPeNewUnits.List(i));
  EXPECT_THAT(units, ElementsAre("Year", "Quarter", "Month", "Week", "Day"));

  // Rows: label column, then the data; the unit follows the count.
  const LayoutMetrics& m = p.w.popup.Metrics();
  EXPECT_EQ(pe.lblPeNewPeriod.Left(), m.Border);
  EXPECT_EQ(pe.lblPeNewPeriod.Top(), m.Border + m.TextOffset);
  EXPECT_EQ(pe.txtPeNewCount.Left(), 2 * m.Border + m.LabelColumnWidth);
  EXPECT_EQ(pe.cboPeNewUnits.Left(), pe.txtPeNewCount.Left() + pe.txtPeNewCount.Width() + m.Border);
  EXPECT_EQ(pe.dtpPeReference.Top(), m.Border + m.RowHeight + m.Border);
  EXPECT_EQ(pe.txtPeFormat.Top(), m.Border + 2 * (m.RowHeight + m.Border));
  EXPECT_EQ(pe.txtPeFormat.Width(), m.DataColumnWidth);
  EXPECT_EQ(pe.dtpPeReference.ToolTipText(),
            p.w.Text(".Strings.ControlPanel.Periods.dtpPeReference"));

  // A running engine locks the format too; loading again keeps the three shut.
  p.w.popup.FormRun(true);
  EXPECT_FALSE(pe.txtPeFormat.Enabled());
  p.w.popup.FormRun(false);
  EXPECT_TRUE(pe.txtPeNewCount.Enabled());
  pe.LoadPeriods();
  EXPECT_FALSE(pe.txtPeNewCount.Enabled());
}

TEST(PeriodsPanel, TheEngineAloneJudgesAFormatWhenItLosesTheFocus) {
  PeriodsWorld p;
  PeriodsPanel& pe = p.pe();

  // Unchanged: the engine isn't asked.
  pe.txtPeFormat_LostFocus();
  EXPECT_THAT(p.w.Journal(), IsEmpty());

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
  {
    SCOPED_TRACE("unchanged: the tab changes without a word to the engine");
    PeriodsWorld p;
    ASSERT_TRUE(p.w.popup.tabControlOptions.UserSelectTab("Agents"));
    EXPECT_EQ(p.Tab(), "Agents");
    EXPECT_THAT(p.w.Journal(), Not(Contains(HasSubstr("SetPeriodFormat"))));
  }
  {
    SCOPED_TRACE("typed and left: the lost focus writes it, leaving finds it written");
    PeriodsWorld p;
    p.TypeFormatAndLeave("Year '@yyyy'");
    EXPECT_EQ(p.Tab(), "Agents");
    EXPECT_EQ(p.config()->PeriodFormat(), "Year '@yyyy'");
  }
  {
    SCOPED_TRACE("no date in it: the message, and the tab, panel and text stay");
    PeriodsWorld p;
    // Set in code, so no lost focus comes before the tab's question.
    p.pe().txtPeFormat.Text("No date");
    ASSERT_TRUE(p.w.popup.tabControlOptions.UserSelectTab("Agents"));
    EXPECT_EQ(p.Tab(), "Periods");
    EXPECT_EQ(p.w.popup.CurrentTab(), "Periods");
    EXPECT_TRUE(p.w.popup.picPe.Visible());
    EXPECT_FALSE(p.w.popup.picAg.Visible());
    EXPECT_EQ(p.pe().txtPeFormat.Text(), "No date");
    EXPECT_THAT(p.w.host.Prompts(), ElementsAre(p.w.Text(kMsgFormatIncorrect)));
    EXPECT_EQ(p.config()->PeriodFormat(), "File '@yyyy mmm'");
  }
  {
    SCOPED_TRACE("passes the check, refused by the engine: restored, told, and the tab changes");
    PeriodsWorld p;
    p.w.engine->RefuseSetPeriodFormat(true);
    p.pe().txtPeFormat.Text("Refused '@yyyy'");
    ASSERT_TRUE(p.w.popup.tabControlOptions.UserSelectTab("Agents"));
    EXPECT_EQ(p.Tab(), "Agents");
    EXPECT_EQ(p.pe().txtPeFormat.Text(), "File '@yyyy mmm'");
    EXPECT_THAT(p.w.host.Prompts(), ElementsAre(p.w.Text(kMsgFormatIncorrect)));
  }
  {
    SCOPED_TRACE("the engine fails while asked: the tab stays with the text as typed");
    PeriodsWorld p;
    p.pe().txtPeFormat.Text("File '@yy'");
    p.w.engine->FailCall("get Config");
    ASSERT_TRUE(p.w.popup.tabControlOptions.UserSelectTab("Agents"));
    EXPECT_EQ(p.Tab(), "Periods");
    EXPECT_EQ(p.pe().txtPeFormat.Text(), "File '@yy'");
    p.w.engine->ClearFaults();
    EXPECT_EQ(p.config()->PeriodFormat(), "File '@yyyy mmm'");
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
    if (c.overflows) {
      ASSERT_EQ(p.w.Problems().size(), 1U);
      EXPECT_EQ(p.w.Problems()[0].procedure, "PeriodDuration");
      EXPECT_EQ(p.w.Problems()[0].number, 6);
    } else {
      EXPECT_THAT(p.w.Problems(), IsEmpty());
    }
  }
}

}  // namespace
}  // namespace vellix
