#include "foundation/timer.h"

#include <utility>

#include "foundation/form.h"
#include "foundation/ui_host.h"

namespace vellix {

Timer::Timer(Form& form, std::string name)
    : Control(form, ControlKind::Timer, std::move(name), {}) {}

Timer::~Timer() {
  if (running_) Parent().Host().StopTimer(*this);
}

void Timer::Interval(int32_t value) {
  if (value < 0 || value > 65535) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (!SetProperty(interval_, value)) return;
  Changed("Interval");
  Update(true);
}

void Timer::HostTick() {
  if (running_) Fire(Tick);
}

void Timer::ResetProperties() {
  interval_ = 0;
  Update(false);
}

void Timer::Update(bool restart) {
  const bool wanted = Enabled() && interval_ > 0 && Parent().Loaded();
  if (wanted && (restart || !running_)) {
    running_ = true;
    Parent().Host().StartTimer(*this);
  } else if (!wanted && running_) {
    running_ = false;
    Parent().Host().StopTimer(*this);
  }
}

}  // namespace vellix
