// Extrema and their places.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/elementwise.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The rule: element i replaces the running best only when it is strictly better.
template <class T, class Better>
int first_best(const std::vector<T>& data, Better better) {
  int index = 0;
  for (int i = 1; i < static_cast<int>(data.size()); ++i) {
    if (better(data[i], data[index])) index = i;
  }
  return index;
}

template <class T, class Better>
void expect_index(const std::vector<T>& data, Better better, KivStatus (*plain)(const T*, int, T*),
                  KivStatus (*with_index)(const T*, int, T*, int*)) {
  const int expected = first_best(data, better);
  at_both_guards(data, [&](const T* src, int len) {
    T value = 5;
    ASSERT_EQ(plain(src, len, &value), kivStatusOk);
    ASSERT_TRUE(same_bits(value, data[expected])) << value << " in place of " << data[expected];
    if (with_index == nullptr) return;
    int index = -1;
    value = 5;
    ASSERT_EQ(with_index(src, len, &value, &index), kivStatusOk);
    ASSERT_EQ(index, expected) << "of " << len;
    ASSERT_TRUE(same_bits(value, data[expected]));
    value = 5;
    ASSERT_EQ(with_index(src, len, &value, nullptr), kivStatusOk);
    ASSERT_TRUE(same_bits(value, data[expected]));
  });
}

void expect_extrema(const std::vector<float>& data) {
  const std::vector<double> wide(data.begin(), data.end());
  expect_index<float>(data, std::greater<>(), kivsMax_32f, kivsMaxIndx_32f);
  expect_index<float>(data, std::less<>(), kivsMin_32f, kivsMinIndx_32f);
  expect_index<double>(wide, std::greater<>(), kivsMax_64f, kivsMaxIndx_64f);
  expect_index<double>(wide, std::less<>(), kivsMin_64f, nullptr);
  const Guarded<float> src(data);
  float low = 5, high = 5;
  ASSERT_EQ(kivsMinMax_32f(src.data(), static_cast<int>(data.size()), &low, &high), kivStatusOk);
  ASSERT_TRUE(same_bits(low, data[first_best(data, std::less<>())]));
  ASSERT_TRUE(same_bits(high, data[first_best(data, std::greater<>())]));
}

TEST(Extremum, IsTheFirstOfEqualElementsAtEveryLength) {
  Random random(6);
  for (int n : test_lengths()) {
    for (int distinct : {1, 2, 5, 1000000}) {
      std::vector<float> data(n);
      for (float& x : data) x = static_cast<float>(random.integer(-distinct, distinct));
      expect_extrema(data);
      std::sort(data.begin(), data.end());
      expect_extrema(data);
    }
    for (int place : {0, n / 3, n - 1}) {  // one best element among equals, infinite values, both zeros
      std::vector<float> data(n, 1.0F);
      data[place] = 2.0F;
      expect_extrema(data);
      data.assign(n, -kInf);
      data[place] = kInf;
      expect_extrema(data);
      data.assign(n, 0.0F);
      data[place] = -0.0F;
      expect_extrema(data);
    }
  }
}

TEST(Extremum, PassesOverNaNExceptInFront) {
  Random random(7);
  for (int n : test_lengths()) {
    for (int trial = 0; trial < 4; ++trial) {
      auto data = random.values<float>(n, -1, 1);
      for (int i = 1; i < n; ++i) {
        if (random.integer(0, 3) <= trial) data[i] = kNaN;
      }
      expect_extrema(data);
      data[0] = kNaN;
      expect_extrema(data);
    }
  }
}

TEST(Extremum, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  for (auto f : {kivsMax_32f, kivsMin_32f}) expect_checks<const F, F>(reduction(f));
  for (auto f : {kivsMax_64f, kivsMin_64f}) expect_checks<const D, D>(reduction(f));
  for (auto f : {kivsMaxIndx_32f, kivsMinIndx_32f}) expect_checks<const F, F>(reduction(f, nullptr));
  expect_checks<const D, D>(reduction(kivsMaxIndx_64f, nullptr));
  expect_checks<const F, F, F>(
      [](auto* src, auto* low, auto* high, int n) { return kivsMinMax_32f(src, n, low, high); });
}

}  // namespace
}  // namespace kivsr::test
