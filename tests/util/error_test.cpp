#include "mandor/util/error.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

namespace mandor {
namespace {

TEST(ErrorTest, RunIgnoringErrorsSwallowsEveryStandardException) {
  int ran = 0;
  EXPECT_TRUE(RunIgnoringErrors([&] { ++ran; }));
  EXPECT_EQ(ran, 1);
  // The model's errors and the standard library's alike: the statement stops
  // where it failed and the caller carries on.
  std::string state = "before";
  EXPECT_FALSE(RunIgnoringErrors([&] { ThrowError(kDuplicateKey); }));
  EXPECT_FALSE(RunIgnoringErrors([&] { state = std::string("x").substr(5); }));
  EXPECT_EQ(state, "before");
  EXPECT_FALSE(RunIgnoringErrors([] { throw std::bad_alloc(); }));
  // What is not a std::exception is not an error of the statement.
  EXPECT_THROW(RunIgnoringErrors([] { throw 42; }), int);
}

}  // namespace
}  // namespace mandor
