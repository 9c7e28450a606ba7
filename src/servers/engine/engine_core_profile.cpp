// The part of the engine core that shows the period stores in the mail
// profile, as the mail program lists the archive's stores beside the user's.
#include <memory>
#include <utility>

#include "platform/outlook/mail_profile.h"
#include "servers/engine/engine_core.h"
#include "servers/engine/profile_store_reader.h"

namespace vellix::engine {

void EngineCore::ShowStoresIn(ProfileSource source, PanelPost post) {
  profileSource_ = std::move(source);
  profilePost_ = std::move(post);
  profileThread_ = std::this_thread::get_id();
  // The profile is read when first needed, not here: reading it costs the
  // start of the panel.
  profileSeen_.reset();
}

void EngineCore::OnProfileThread(std::function<void(EngineCore&)> fn) {
  if (!profilePost_ || std::this_thread::get_id() == profileThread_) {
    fn(*this);
    return;
  }
  profilePost_([weak = weak_from_this(), fn = std::move(fn)] {
    if (auto core = weak.lock()) {
      const auto lock = core->Lock();
      fn(*core);
    }
  });
}

std::shared_ptr<outlook::MailProfile> EngineCore::Profile() {
  // Off its own thread the profile is not there to ask: the callers that
  // change it go through OnProfileThread, and a question from elsewhere
  // (is a store held open?) gets "no".
  if (profilePost_ && std::this_thread::get_id() != profileThread_) return nullptr;
  auto profile = profileSource_ ? profileSource_() : nullptr;
  if (!profile || profile == profileSeen_.lock()) return profile;
  profileSeen_ = profile;
  profile->ReadStoreFilesWith(std::make_shared<PeriodStoreReader>());
  for (const auto& period : data_.periods)
    ShowStore(*profile, period.name, period.fileName);
  return profile;
}

void EngineCore::ShowStore(const PeriodData& period) {
  OnProfileThread([name = period.name, fileName = period.fileName](EngineCore& core) {
    if (auto profile = core.Profile()) core.ShowStore(*profile, name, fileName);
  });
}

void EngineCore::ShowStore(outlook::MailProfile& profile, const std::string& name,
                           const std::string& fileName) {
  std::string why;
  if (!profile.ListStoreFile(name, Native(fileName), &why)) {
    Log("ShowStore",
        "The period store " + fileName + " can't be shown in the mail profile: " + why);
  }
}

void EngineCore::HideStore(const PeriodData& period) {
  OnProfileThread([fileName = period.fileName](EngineCore& core) {
    if (auto profile = core.Profile()) profile->UnlistStoreFile(core.Native(fileName));
  });
}

bool EngineCore::StoreHeldOpen(const PeriodData& period) {
  auto profile = Profile();
  return profile && profile->HoldsStoreFile(Native(period.fileName));
}

}  // namespace vellix::engine
