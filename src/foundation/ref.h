#pragma once

#include <memory>
#include <utility>

#include "foundation/vb_error.h"

namespace vellix {

// A nullable shared reference to a server object. Using it while it is
// nothing raises error 91, so a call on nothing fails where the logic expects;
// setting it to nothing releases the object.
template <class T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): "Set x = Nothing"
  Ref(std::shared_ptr<T> p) : p_(std::move(p)) {}  // NOLINT(google-explicit-constructor)
  template <class U>
  Ref(const Ref<U>& other) : p_(other.Shared()) {}  // NOLINT(google-explicit-constructor)
  template <class U>
  Ref(std::shared_ptr<U> p) : p_(std::move(p)) {}  // NOLINT(google-explicit-constructor)

  T* operator->() const { return &Get(); }
  T& operator*() const { return Get(); }
  [[nodiscard]] T& Get() const {
    if (!p_) throw VbError(err::kObjectNotSet);
    return *p_;
  }

  [[nodiscard]] bool IsNothing() const noexcept { return !p_; }
  explicit operator bool() const noexcept { return static_cast<bool>(p_); }
  void Reset() noexcept { p_.reset(); }
  [[nodiscard]] const std::shared_ptr<T>& Shared() const noexcept { return p_; }

  template <class U>
  friend bool operator==(const Ref& a, const Ref<U>& b) noexcept {
    return a.Shared() == b.Shared();
  }
  friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return !a.p_; }

 private:
  std::shared_ptr<T> p_;
};

template <class T, class... Args>
Ref<T> MakeRef(Args&&... args) {
  return Ref<T>(std::make_shared<T>(std::forward<Args>(args)...));
}

}  // namespace vellix
