#pragma once

#include <utility>

namespace vellix {

// Gives a variable a value for a scope and puts the one it had back when the
// scope ends, also by an error: a flag raised while something runs
// (ScopedValue designing(designing_, true)), or a count of nested runs
// (ScopedValue depth(depth_, depth_ + 1)).
template <class T>
class ScopedValue {
 public:
  ScopedValue(T& variable, T value)
      : variable_(variable), saved_(std::exchange(variable, std::move(value))) {}
  ScopedValue(const ScopedValue&) = delete;
  ScopedValue& operator=(const ScopedValue&) = delete;
  ~ScopedValue() { variable_ = std::move(saved_); }

 private:
  T& variable_;
  T saved_;
};

}  // namespace vellix
