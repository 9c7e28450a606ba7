#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/outlook/mail_profile.h"
#include "servers/engine/event_channel.h"
#include "servers/engine/pass_plan.h"

namespace vellix::engine {

// The mail profile is touched on the panel's thread only: a pass hands it
// tasks there through the event channel and waits for their results. A task
// the pass stopped waiting for, or one that found no profile, gives nothing
// and marks the pass stopped.
class ProfileTasks {
 public:
  using ProfileSource = std::function<std::shared_ptr<outlook::MailProfile>()>;

  ProfileTasks(std::shared_ptr<EventChannel> channel, ProfileSource profile, size_t scanSlice,
               bool& stopped)
      : channel_(std::move(channel)),
        profile_(std::move(profile)),
        scanSlice_(scanSlice),
        stopped_(stopped) {}

  // Runs fn with the profile on the panel's thread; nothing when the pass
  // was told to stop while waiting, or there is no profile.
  template <class T>
  std::optional<T> OnPanel(std::function<T(outlook::MailProfile&)> fn) {
    auto call = StartOnPanel<T>(std::move(fn));
    return Finish(call);
  }

  // A task handed to the panel's thread, its result taken later.
  template <class T>
  struct PanelCall {
    std::shared_ptr<std::optional<T>> result = std::make_shared<std::optional<T>>();
    std::shared_ptr<Reply> reply = std::make_shared<Reply>();  // nothing: not handed over
  };

  template <class T>
  PanelCall<T> StartOnPanel(std::function<T(outlook::MailProfile&)> fn) {
    PanelCall<T> call;
    ChannelEntry entry;
    entry.kind = ChannelEntry::Kind::kTask;
    entry.reply = call.reply;
    entry.task = [result = call.result, fn = std::move(fn), profile = profile_] {
      if (const auto p = profile ? profile() : nullptr) *result = fn(*p);
    };
    if (!channel_->Enqueue(std::move(entry), channel_)) call.reply = nullptr;
    return call;
  }

  // The task's result; nothing when the pass was told to stop while
  // waiting, or there is no profile.
  template <class T>
  std::optional<T> Finish(PanelCall<T>& call) {
    if (!call.reply || !channel_->Wait(call.reply)) {
      stopped_ = true;
      return std::nullopt;
    }
    return std::move(*call.result);
  }

  // Whole items of a batch, fetched in small tasks handed over at once: the
  // panel's thread gets its turn between two, and the worker waits for it
  // once. Nothing when the pass was told to stop meanwhile.
  std::optional<std::vector<outlook::ProfileItem>> FetchBatch(
      const std::string& path, const std::vector<const LightItem*>& light) {
    constexpr size_t kChunk = 100;
    using Items = std::vector<outlook::ProfileItem>;
    std::vector<PanelCall<Items>> calls;
    for (size_t from = 0; from < light.size(); from += kChunk) {
      std::vector<std::string> keys;
      std::vector<size_t> positions;
      for (size_t j = from; j < std::min(light.size(), from + kChunk); ++j) {
        keys.push_back(light[j]->key);
        positions.push_back(light[j]->position);
      }
      calls.push_back(
          StartOnPanel<Items>([path, keys = std::move(keys),
                               positions = std::move(positions)](outlook::MailProfile& profile) {
            return FetchItems(profile, path, keys, positions);
          }));
    }
    Items whole;
    whole.reserve(light.size());
    for (auto& call : calls) {
      auto part = Finish(call);
      if (!part) return std::nullopt;
      std::move(part->begin(), part->end(), std::back_inserter(whole));
    }
    return whole;
  }

  // Fills the listed folders with their items, read in slices so that the
  // panel's thread gets its turn between two however big a folder is. The
  // folder may change between two slices: an item that moved up into a slice
  // already read waits for the next pass, and one seen twice is kept once.
  // Each folder is read once, however many agents list it.
  template <class Lists>
  bool ReadItems(Lists& lists) {
    const size_t slice = std::max<size_t>(1, scanSlice_);
    struct Read {
      std::string path;
      std::vector<PanelCall<std::vector<LightItem>>> slices;
      std::vector<LightItem> items;
      int uses = 0;
    };
    std::vector<Read> reads;
    std::unordered_map<std::string, size_t> byPath;
    auto each = [&](auto&& fn) {
      for (auto* list : {&lists.folders, &lists.imports})
        for (auto& scans : *list)
          for (auto& scan : scans)
            fn(scan);
    };
    each([&](FolderScan& scan) {
      const auto [at, isNew] = byPath.emplace(LCase(scan.path), reads.size());
      if (!isNew) {
        ++reads[at->second].uses;
        return;
      }
      Read read{scan.path, {}, {}, 1};
      for (size_t from = 0; from == 0 || from < scan.listed; from += slice) {
        // The last slice reads to the end, taking what came in since the list.
        const size_t to = from + slice >= scan.listed ? SIZE_MAX : from + slice;
        read.slices.push_back(StartOnPanel<std::vector<LightItem>>(
            [path = scan.path, from, to](outlook::MailProfile& profile) {
              return ScanSlice(profile, path, from, to);
            }));
      }
      reads.push_back(std::move(read));
    });
    for (auto& read : reads) {
      std::unordered_set<std::string> seen;
      for (auto& call : read.slices) {
        auto part = Finish(call);
        if (!part) return false;
        for (auto& item : *part)
          if (seen.insert(item.key).second) read.items.push_back(std::move(item));
      }
    }
    each([&](FolderScan& scan) {
      auto& read = reads[byPath.at(LCase(scan.path))];
      scan.items = --read.uses == 0 ? std::move(read.items) : read.items;
    });
    return true;
  }

 private:
  std::shared_ptr<EventChannel> channel_;
  ProfileSource profile_;
  size_t scanSlice_;
  bool& stopped_;  // the pass's, on its worker
};

}  // namespace vellix::engine
