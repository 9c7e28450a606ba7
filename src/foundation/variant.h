#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "foundation/date.h"

namespace vellix {

// The value of a configuration node or an untyped argument, with the
// runtime's conversions. Conversions that can't be made raise error 13;
// numbers that don't fit raise error 6.
class Variant {
 public:
  enum class Type { Empty, Boolean, Integer, Long, Double, String, Date };

  Variant() = default;
  Variant(bool v) : v_(v) {}                      // NOLINT(google-explicit-constructor)
  Variant(int16_t v) : v_(v) {}                   // NOLINT(google-explicit-constructor)
  Variant(int32_t v) : v_(v) {}                   // NOLINT(google-explicit-constructor)
  Variant(double v) : v_(v) {}                    // NOLINT(google-explicit-constructor)
  Variant(std::string v) : v_(std::move(v)) {}    // NOLINT(google-explicit-constructor)
  Variant(const char* v) : v_(std::string(v)) {}  // NOLINT(google-explicit-constructor)
  Variant(Date v) : v_(v) {}                      // NOLINT(google-explicit-constructor)

  [[nodiscard]] Type GetType() const { return static_cast<Type>(v_.index()); }
  [[nodiscard]] bool IsEmpty() const { return GetType() == Type::Empty; }
  [[nodiscard]] bool IsNumeric() const;  // Boolean, Integer, Long, Double, or a numeric text

  // CStr: Empty gives "", Boolean "True"/"False", numbers as NumberText,
  // dates in the general date form of the invariant locale (dd/mm/yyyy hh:nn:ss,
  // the date or the time left out when it is zero).
  [[nodiscard]] std::string ToString() const;
  // CBool: numbers are true when non-zero; texts by CBool of runtime.h; Empty is false.
  [[nodiscard]] bool ToBool() const;
  // CInt, CLng, CDbl: Empty is 0, Boolean True is -1, texts by runtime.h, dates by serial.
  [[nodiscard]] int16_t ToInteger() const;
  [[nodiscard]] int32_t ToLong() const;
  [[nodiscard]] double ToDouble() const;
  // CDate: dates as they are, numbers as serials, texts read as dd/mm/yyyy [hh:nn[:ss]]
  // or yyyy-mm-dd[Thh:nn:ss]; other texts raise 13. Empty is the zero date.
  [[nodiscard]] Date ToDate() const;

  // The runtime's loose "=": numbers and Booleans compare as numbers (True is
  // -1), texts as texts (binary), a text against a number by its numeric value
  // when it has one (else unequal), Empty equals 0 and "". Dates as serials.
  [[nodiscard]] bool Equals(const Variant& other) const;

  // Exact comparison: same type and same value.
  friend bool operator==(const Variant& a, const Variant& b) { return a.v_ == b.v_; }

  // Name of the type as a configuration node names it: "Empty", "Boolean",
  // "Integer", "Long", "Double", "String", "Date".
  [[nodiscard]] std::string TypeName() const;

  // Direct access for code that switched on GetType().
  template <class T>
  [[nodiscard]] const T& As() const {
    return std::get<T>(v_);
  }

 private:
  std::variant<std::monostate, bool, int16_t, int32_t, double, std::string, Date> v_;
};

}  // namespace vellix
