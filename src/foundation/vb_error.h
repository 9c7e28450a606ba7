#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace vellix {

// The standard run-time error numbers the logic relies on.
namespace err {
inline constexpr int32_t kInvalidCall = 5;
inline constexpr int32_t kOverflow = 6;
inline constexpr int32_t kSubscriptOutOfRange = 9;
inline constexpr int32_t kDivisionByZero = 11;
inline constexpr int32_t kTypeMismatch = 13;
inline constexpr int32_t kFileNotFound = 53;
inline constexpr int32_t kPathNotFound = 76;
inline constexpr int32_t kObjectNotSet = 91;
inline constexpr int32_t kDuplicateKey = 457;
inline constexpr int32_t kKeyNotUnique = 35602;
}  // namespace err

// The one exception type of the control library: a run-time error with its
// number and description. A failure inside a server carries a negative number.
class VbError : public std::exception {
 public:
  VbError(int32_t number, std::string description);
  // An error with the runtime's standard description for that number.
  explicit VbError(int32_t number);

  [[nodiscard]] int32_t Number() const noexcept { return number_; }
  [[nodiscard]] const std::string& Description() const noexcept { return description_; }
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string description_;
};

// The runtime's description of a standard error number ("Overflow", ...).
std::string StandardDescription(int32_t number);

// Raises the standard error of that number.
[[noreturn]] void Raise(int32_t number);

// What a pointer points at; a call on nothing raises 91, as the runtime does.
template <class T>
T& Need(T* object) {
  if (object == nullptr) Raise(err::kObjectNotSet);
  return *object;
}

}  // namespace vellix
