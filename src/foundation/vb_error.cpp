#include "foundation/vb_error.h"

#include <utility>

namespace vellix {

VbError::VbError(int32_t number, std::string description)
    : number_(number), description_(std::move(description)) {}

VbError::VbError(int32_t number) : VbError(number, StandardDescription(number)) {}

std::string StandardDescription(int32_t number) {
  switch (number) {
    case err::kInvalidCall:
      return "Invalid procedure call or argument";
    case err::kOverflow:
      return "Overflow";
    case err::kSubscriptOutOfRange:
      return "Subscript out of range";
    case err::kDivisionByZero:
      return "Division by zero";
    case err::kTypeMismatch:
      return "Type mismatch";
    case err::kFileNotFound:
      return "File not found";
    case err::kPathNotFound:
      return "Path not found";
    case err::kObjectNotSet:
      return "Object variable or With block variable not set";
    case err::kDuplicateKey:
      return "This key is already associated with an element of this collection";
    case err::kKeyNotUnique:
      return "Key is not unique in collection";
    default:
      return "Application-defined or object-defined error";
  }
}

void Raise(int32_t number) {
  throw VbError(number);
}

}  // namespace vellix
