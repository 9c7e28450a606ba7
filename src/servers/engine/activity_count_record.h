#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "foundation/monitor.h"

namespace vellix::engine {

// One counter of a processing run, as the monitor hands it out.
class ActivityCountRecord final : public ActivityCount {
 public:
  ActivityCountRecord(std::string label, int32_t count) : label_(std::move(label)), count_(count) {}
  std::string Label() override { return label_; }
  int32_t Count() override { return count_; }

 private:
  std::string label_;
  int32_t count_;
};

}  // namespace vellix::engine
