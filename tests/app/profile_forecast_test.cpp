#include "app/profile_forecast.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/agent.h"
#include "foundation/engine_config.h"
#include "platform/desktop/path_mapping.h"
#include "platform/outlook/profile_folder.h"
#include "platform/outlook/profile_xml.h"
#include "servers/engine/engine_server.h"
#include "support/manual_clock.h"
#include "support/temp_folder.h"

namespace vellix::app {
namespace {

namespace fs = std::filesystem;

TEST(ProfileForecast, CountsTheItemsOfTheWatchedFoldersWithSubFoldersWhereTheAgentTakesThem) {
  const auto load =
      outlook::LoadProfileFile(fs::path(VELLIX_SOURCE_DIR) / "resources" / "profiles" / "demo.xml");
  ASSERT_TRUE(load.profile) << load.problem;
  const auto profile = load.profile;
  const auto inbox = profile->DefaultFolder(6);
  const auto calendar = profile->DefaultFolder(9);
  ASSERT_TRUE(inbox && calendar);
  ASSERT_GT(inbox->TotalItemCount(), static_cast<int64_t>(inbox->Items().size()))
      << "the demo's Inbox has sub-folders with items";

  const test::TempFolder scratch;
  const fs::path& dir = scratch.Path();
  ManualClock clock(DateSerial(2026, 11, 22));
  engine::EngineServer engine(dir / "Engine.xml", desktop::PathMapping(dir), clock, nullptr,
                              std::make_unique<ProfileForecast>([profile] { return profile; }));
  EXPECT_EQ(engine.ForecastItemCount(), 0) << "no agent, nothing to take";

  auto mail = engine.Config()->CreateAgent("Received Emails");
  mail->AddFolder(inbox->FolderPath());
  auto diary = engine.Config()->CreateAgent("Calendar");
  diary->AddFolder(calendar->FolderPath());
  diary->AddFolder("\\\\No Such Store\\Folder");  // not in the profile: counts nothing
  diary->SubFolders(false);
  EXPECT_EQ(engine.ForecastItemCount(),
            inbox->TotalItemCount() + static_cast<int64_t>(calendar->Items().size()));

  engine::EngineServer withoutProfile(dir / "Other.xml", desktop::PathMapping(dir), clock, nullptr,
                                      std::make_unique<ProfileForecast>([] { return nullptr; }));
  withoutProfile.Config()->CreateAgent("A")->AddFolder(inbox->FolderPath());
  EXPECT_EQ(withoutProfile.ForecastItemCount(), 0);
}

}  // namespace
}  // namespace vellix::app
