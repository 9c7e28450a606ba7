// The part of the engine core that shows the period stores in the mail
// profile, as the mail program lists the archive's stores beside the user's.
#include <memory>
#include <utility>

#include "platform/outlook/mail_profile.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/profile_store_reader.h"

namespace vellix::engine {

void EngineCore::ShowStoresIn(ProfileSource source) {
  profileSource_ = std::move(source);
  profileSeen_.reset();
  Profile();
}

std::shared_ptr<outlook::MailProfile> EngineCore::Profile() {
  auto profile = profileSource_ ? profileSource_() : nullptr;
  if (!profile || profile == profileSeen_.lock()) return profile;
  profileSeen_ = profile;
  profile->ReadStoreFilesWith(std::make_shared<PeriodStoreReader>());
  for (const auto& period : data_.periods)
    ShowStore(*profile, period);
  return profile;
}

void EngineCore::ShowStore(const PeriodData& period) {
  if (auto profile = Profile()) ShowStore(*profile, period);
}

void EngineCore::ShowStore(outlook::MailProfile& profile, const PeriodData& period) {
  std::string why;
  if (!profile.ListStoreFile(period.name, Native(period.fileName), &why)) {
    Log("ShowStore",
        "The period store " + period.fileName + " can't be shown in the mail profile: " + why);
  }
}

void EngineCore::HideStore(const PeriodData& period) {
  if (auto profile = Profile()) profile->UnlistStoreFile(Native(period.fileName));
}

bool EngineCore::StoreHeldOpen(const PeriodData& period) {
  auto profile = Profile();
  return profile && profile->HoldsStoreFile(Native(period.fileName));
}

}  // namespace vellix::engine
