// Elementary functions that leave errno alone, also where the mathematical library would set it.
#include "frame/elementary.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/accuracy.h"

namespace kivsr::test {
namespace {

TEST(Elementary, KeepErrno) {
  for (const double x : {1.0, 2.5, 0.0, -0.0, -1.0, 1e9, -1e9, 1e300, 5e-324, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    for (const int caller : {0, ERANGE, 4711}) {
      errno = caller;
      const double results[] = {natural_log(x), binary_log(x), exponential(x)};
      EXPECT_EQ(errno, caller) << x;
      EXPECT_TRUE(same_bits(results[0], std::log(x)));
      EXPECT_TRUE(same_bits(results[1], std::log2(x)));
      EXPECT_TRUE(same_bits(results[2], std::exp(x)));
    }
  }
}

}  // namespace
}  // namespace kivsr::test
