// Magnitudes against references in wider types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Kiv32s kLow = std::numeric_limits<Kiv32s>::min();
constexpr Kiv32s kHigh = std::numeric_limits<Kiv32s>::max();

TEST(Magnitude, FloatNeitherOverflowsNorDependsOnNeighbours) {
  Random random(12);
  for (int n : test_lengths()) {
    for (double exponent : {0.0, 30.0, 120.0, 126.9, -60.0, -140.0}) {
      std::vector<Kiv32fc> data(n);
      for (Kiv32fc& z : data) {
        const auto part = [&] {
          return static_cast<float>(
              std::ldexp(random.uniform(-1, 1), random.integer(0, 1) + static_cast<int>(exponent)));
        };
        z = {part(), part()};
      }
      if (n > 5)
        data[0] = {3, -4}, data[1] = {0, -0.0F}, data[2] = {kInf, 1}, data[3] = {1, kNaN}, data[n - 1] = {3e38F, 3e38F};
      at_both_guards(data, [&](const Kiv32fc* src, int len) {
        Guarded<Kiv32f> dst(len);
        ASSERT_EQ(kivsMagnitude_32fc(src, dst.data(), len), kivStatusOk);
        for (int i = 0; i < len; ++i) {
          const double re = data[i].re, im = data[i].im;
          EXPECT_TRUE(within_units<float>(dst[i], std::sqrt(re * re + im * im), 1.5)) << re << ' ' << im;
          float alone;
          kivsMagnitude_32fc(src + i, &alone, 1);
          EXPECT_TRUE(same_bits(alone, dst[i]));
        }
      });
    }
  }
}

// Whether `result` is the nearest integer (ties to even) to sqrt(n) 2^-scale: every square here fits 64 bits.
bool is_nearest_root(Kiv32s result, long double n, int scale) {
  const long double unit = std::ldexp(1.0L, std::max(scale, 0));
  const long double square = std::ldexp(n, -2 * std::min(scale, 0));
  const auto middle = [&](long double offset) { return (result + offset) * unit * (result + offset) * unit; };
  const bool even = result % 2 == 0;
  const bool low_enough = result == kHigh || square < middle(0.5L) || (even && square == middle(0.5L));
  const bool high_enough = result == 0 || square > middle(-0.5L) || (even && square == middle(-0.5L));
  return low_enough && high_enough;
}

TEST(Magnitude, IntegersRoundTheTrueRootOnce) {
  Random random(13);
  for (int n : test_lengths()) {
    for (int regime = 0; regime < 4; ++regime) {
      std::vector<Kiv32sc> data(n);
      for (Kiv32sc& z : data) {
        z = {random.extreme<Kiv32s>(regime), random.extreme<Kiv32s>(2 - regime / 2)};
        if (regime == 3) z = {random.integer(-40, 40), random.integer(0, 2) * random.integer(-40, 40)};
      }
      if (n > 2) data[0] = {kLow, kLow}, data[1] = {0, 0};
      for (int scale : {-1000, -40, -31, -5, -1, 0, 1, 2, 7, 20, 31, 32, 33, 1000}) {
        at_both_guards(data, [&](const Kiv32sc* src, int len) {
          Guarded<Kiv32s> dst(len);
          ASSERT_EQ(kivsMagnitude_32sc_Sfs(src, dst.data(), len, scale), kivStatusOk);
          for (int i = 0; i < len; ++i) {
            const long double re = data[i].re, im = data[i].im;
            const long double square = re * re + im * im;
            const int s = std::clamp(scale, -31, 40);
            ASSERT_GE(dst[i], 0);
            ASSERT_TRUE(is_nearest_root(dst[i], square, s)) << re << ' ' << im << ' ' << scale << ": " << dst[i];
          }
        });
      }
    }
  }
}

// (t^2)^2 + t^2 lies a quarter below the square of t^2 + 1/2, as close as sums of squares come.
TEST(Magnitude, OfIntegersNextToHalfWayIsTheNearest) {
  std::vector<Kiv32sc> data;
  for (Kiv32s t = 40000; t < 40008; ++t) data.push_back({t * t, t});
  std::vector<Kiv32s> dst(data.size());
  ASSERT_EQ(kivsMagnitude_32sc_Sfs(data.data(), dst.data(), 8, 0), kivStatusOk);
  for (std::size_t i = 0; i < data.size(); ++i) EXPECT_EQ(dst[i], data[i].re);
  // Twice the root of (2 t^2)^2 + t^2 is as close below 4 t^2 + 1/2, that of (2 t^2 - 1)^2 + t^2 above 4 t^2 - 3/2.
  for (Kiv32s t = 23100; t < 23108; ++t) {
    const Kiv32sc both[] = {{2 * t * t, t}, {2 * t * t - 1, -t}};
    Kiv32s twice[2];
    ASSERT_EQ(kivsMagnitude_32sc_Sfs(both, twice, 2, -1), kivStatusOk);
    EXPECT_EQ(twice[0], 4 * t * t);
    EXPECT_EQ(twice[1], 4 * t * t - 1);
  }
}

TEST(Magnitude, ChecksNullPointersThenSizes) {
  const Kiv32fc number = {3, 4};
  const Kiv32sc integer = {3, 4};
  float other = 5;
  Kiv32s whole = 5;
  EXPECT_EQ(kivsMagnitude_32fc(nullptr, &other, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32fc(&number, nullptr, 1), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32fc(&number, &other, 0), kivStatusBadSize);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(nullptr, &whole, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(&integer, nullptr, 1, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMagnitude_32sc_Sfs(&integer, &whole, -1, 0), kivStatusBadSize);
  EXPECT_EQ(whole, 5);

  EXPECT_EQ(other, 5);
}

}  // namespace
}  // namespace kivsr::test
