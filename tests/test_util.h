// Helpers shared by the test files.
#ifndef MANDOR_TESTS_TEST_UTIL_H_
#define MANDOR_TESTS_TEST_UTIL_H_

#include <functional>

#include "mandor/util/error.h"

namespace mandor::test_util {

// The number of the mandor::Error that f throws, or 0 when it throws none.
inline int ErrorNumberOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

}  // namespace mandor::test_util

#endif  // MANDOR_TESTS_TEST_UTIL_H_
