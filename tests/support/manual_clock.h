#pragma once

#include "foundation/date.h"

namespace vellix {

// A clock a test sets and advances.
class ManualClock final : public Clock {
 public:
  explicit ManualClock(Date now = Date()) : now_(now) {}
  [[nodiscard]] Date Now() const override { return now_; }
  void Set(Date now) { now_ = now; }
  void AdvanceSeconds(double seconds) { now_ = AddSeconds(now_, seconds); }

 private:
  Date now_;
};

}  // namespace vellix
