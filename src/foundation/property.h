#pragma once

#include <utility>

namespace vellix {

// Stores value in field unless the field holds it already, and says whether
// it changed: a setter tells its observers, and raises its events, only then.
//   if (SetProperty(caption_, std::move(value))) Changed("Caption");
template <class T, class V>
[[nodiscard]] bool SetProperty(T& field, V&& value) {
  if (field == value) return false;
  field = std::forward<V>(value);
  return true;
}

}  // namespace vellix
