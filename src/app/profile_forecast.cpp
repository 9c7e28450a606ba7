#include "app/profile_forecast.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/outlook/profile_folder.h"
#include "servers/engine/engine_core.h"

namespace vellix::app {

ProfileForecast::ProfileForecast(std::function<std::shared_ptr<outlook::MailProfile>()> profile)
    : profile_(std::move(profile)) {}

int32_t ProfileForecast::ForecastItemCount(engine::EngineCore& core) {
  const auto profile = profile_ ? profile_() : nullptr;
  if (!profile) return 0;
  int64_t items = 0;
  for (const auto& agent : core.Data().agents) {
    for (const auto& path : agent.folders) {
      const auto folder = profile->FindFolder(path);
      if (!folder) continue;
      items += agent.subFolders ? folder->TotalItemCount()
                                : static_cast<int64_t>(folder->Items().size());
    }
  }
  return static_cast<int32_t>(std::min<int64_t>(items, std::numeric_limits<int32_t>::max()));
}

}  // namespace vellix::app
