#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "foundation/control.h"

namespace vellix {

// A timer. It runs while it is Enabled, its Interval is above 0 and its form
// is loaded; the form's host then calls HostTick each time the interval has
// passed, and Tick is raised. Enabling a timer, or changing the Interval of a
// running one, starts the count over; setting either to the value it has
// changes nothing, so a running count goes on. A timer disabled inside its
// own Tick doesn't tick again.
class Timer : public Control {
 public:
  Timer(Form& form, std::string name);
  ~Timer() override;

  // Milliseconds, 0 to 65535; anything else raises 380.
  [[nodiscard]] int32_t Interval() const { return interval_; }
  void Interval(int32_t value);
  [[nodiscard]] bool Running() const { return running_; }

  std::function<void()> Tick;

  // The host's call: the interval has passed.
  void HostTick();

 protected:
  void ResetProperties() override;
  void EnabledChanged() override { Update(true); }
  void FormLoadChanged() override { Update(true); }

 private:
  // Starts or stops the host's count as the three conditions say; restart
  // starts a running count over.
  void Update(bool restart);

  int32_t interval_ = 0;
  bool running_ = false;
};

}  // namespace vellix
