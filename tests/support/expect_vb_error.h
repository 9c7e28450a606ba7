#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/vb_error.h"

// Expects the statement to raise the run-time error of that number.
#define EXPECT_VB_ERROR(statement, number)            \
  try {                                               \
    statement;                                        \
    ADD_FAILURE() << #statement " raised nothing";    \
  } catch (const ::vellix::VbError& e) {              \
    EXPECT_EQ(e.Number(), number) << e.Description(); \
  }

namespace vellix::test {

// The number of the run-time error the call raises; 0 when it raises none.
template <class Fn>
int ErrorNumber(Fn&& fn) {
  try {
    fn();
  } catch (const VbError& e) {
    return e.Number();
  }
  return 0;
}

// The description of the run-time error the call raises, or "nothing raised".
template <class Fn>
std::string ErrorDescription(Fn&& fn) {
  try {
    fn();
  } catch (const VbError& e) {
    return e.Description();
  }
  return "nothing raised";
}

}  // namespace vellix::test
