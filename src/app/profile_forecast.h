#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/outlook/mail_profile.h"
#include "servers/engine/processing_hooks.h"

namespace vellix::app {

// The engine's forecast of a first run on the user's mail profile: the items
// in the folders its agents watch, with their sub-folders where the agent
// takes them. Filing itself is not simulated yet.
class ProfileForecast : public engine::ProcessingHooks {
 public:
  // profile gives the loaded mail profile, or nothing when there is none.
  explicit ProfileForecast(std::function<std::shared_ptr<outlook::MailProfile>()> profile);

  int32_t ForecastItemCount(engine::EngineCore& core) override;

 private:
  std::function<std::shared_ptr<outlook::MailProfile>()> profile_;
};

}  // namespace vellix::app
