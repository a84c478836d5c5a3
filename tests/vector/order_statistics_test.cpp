// The N-th largest element.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class T>
void check_nth(KivStatus (*nth)(const T*, int, int, T*)) {
  Random random(8);
  std::vector<std::vector<T>> arrays = {{5, 1, 5, 3}, std::vector<T>(100, 4)};
  for (int n : {1, 2, 17, 64, 300}) {
    arrays.push_back(random.values<T>(n, -1e6, 1e6));
    arrays.push_back(random.values<T>(n, -2, 2));
    arrays.push_back(arrays.back());
    std::sort(arrays.back().begin(), arrays.back().end());
    arrays.push_back(arrays.back());
    std::reverse(arrays.back().begin(), arrays.back().end());
  }
  for (const auto& data : arrays) {
    auto sorted = data;
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    const Guarded<T> src(data);
    const int len = static_cast<int>(data.size());
    for (int n = 0; n < len; ++n) {
      T result = 99;
      ASSERT_EQ(nth(src.data(), len, n, &result), kivStatusOk);
      ASSERT_EQ(result, sorted[n]) << n << " of " << len;
    }
    expect_exact<T>(src.values(), data);  // never reordered
  }
  // Sorted and equal data in reasonable time.
  std::vector<T> large(2000000, 7);
  T result = 0;
  EXPECT_EQ(nth(large.data(), 2000000, 1000000, &result), kivStatusOk);
  EXPECT_EQ(result, 7);
  std::iota(large.begin(), large.end(), T{0});
  EXPECT_EQ(nth(large.data(), 2000000, 0, &result), kivStatusOk);
  EXPECT_EQ(result, 1999999);

  const std::vector<T> four = {5, 1, 5, 3};
  result = 99;
  EXPECT_EQ(nth(nullptr, 0, 9, &result), kivStatusNullPointer);
  EXPECT_EQ(nth(four.data(), 4, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(nth(four.data(), 0, 9, &result), kivStatusBadSize);
  EXPECT_EQ(nth(four.data(), 4, 4, &result), kivStatusBadArgument);
  EXPECT_EQ(nth(four.data(), 4, -1, &result), kivStatusBadArgument);
  expect_survives_failed_allocations([&] {
    const KivStatus status = nth(four.data(), 1, 0, &result);
    EXPECT_EQ(result, status == kivStatusOk ? 5 : 99);
    return status;
  });
}

TEST(NthMaximum, IsThePlaceInDecreasingOrder) {
  check_nth<Kiv32s>(kivsNthMaxElement_32s);
  check_nth<Kiv32f>(kivsNthMaxElement_32f);
  check_nth<Kiv64f>(kivsNthMaxElement_64f);
}

TEST(NthMaximum, SortsNaNLast) {
  const std::vector<float> data = {kNaN, 2, -kInf, kNaN, 3, kNaN};
  const std::vector<float> sorted = {3, 2, -kInf, kNaN, kNaN, kNaN};
  for (int n = 0; n < 6; ++n) {
    float result = 99;
    EXPECT_EQ(kivsNthMaxElement_32f(data.data(), 6, n, &result), kivStatusOk);
    EXPECT_TRUE(same_bits(result, sorted[n]));
  }
}

}  // namespace
}  // namespace kivsr::test
