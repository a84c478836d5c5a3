// Energy normalisation, offset compensation, sign changes and normalisation into a range.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(NormEnergy, MeasuresFromTheMaximumAndClampsAtTheFloor) {
  Random random(21);
  const float neper = std::bit_cast<float>(0x3E6BC904U);
  for (int step : {1, 2, 14}) {
    for (int height : {1, 2, 7, 8, 9, 17, 100}) {
      GuardedMatrix<Kiv32f> batch(height, 1, step);
      batch.fill([&] { return random.value<Kiv32f>(-20, 10); });
      GuardedMatrix<Kiv32f> live(height, 1, step);
      std::vector<Kiv32f> x;
      for (int k = 0; k < height; ++k) x.push_back(live.at(k, 0) = batch.at(k, 0));
      const float maximum = *std::max_element(x.begin(), x.end());
      const float silence = 50;
      const float scale = 0.1F;
      const auto expected = [&](float value, float from) {
        const float floor = from - silence * neper;
        return 1.0F - (from - (value > floor ? value : floor)) * scale;
      };
      ASSERT_EQ(kivsNormEnergy_32f(batch.data(), step, height, silence, scale), kivStatusOk);
      ASSERT_EQ(kivsNormEnergy_RT_32f(live.data(), step, height, silence, 3.0F, scale), kivStatusOk);
      for (int k = 0; k < height; ++k) {
        ASSERT_EQ(batch.at(k, 0), expected(x[static_cast<std::size_t>(k)], maximum));
        ASSERT_EQ(live.at(k, 0), expected(x[static_cast<std::size_t>(k)], 3.0F));
      }
    }
  }
  Kiv32f two[] = {10, 0};
  EXPECT_EQ(kivsNormEnergy_32f(two, 1, 2, 50, 0.1F), kivStatusOk);
  EXPECT_EQ(two[0], 1.0F);
  EXPECT_EQ(two[1], 0.0F);
  EXPECT_EQ(kivsNormEnergy_32f(nullptr, 0, 0, 50, 0.1F), kivStatusNullPointer);
  EXPECT_EQ(kivsNormEnergy_32f(two, 0, 1, 50, 0.1F), kivStatusBadSize);
  EXPECT_EQ(kivsNormEnergy_RT_32f(two, 1, 0, 50, 0, 0.1F), kivStatusBadSize);
  EXPECT_EQ(kivsNormEnergy_RT_32f(nullptr, 1, 0, 50, 0, 0.1F), kivStatusNullPointer);
}

template <class T>
struct Offset;
template <>
struct Offset<Kiv32f> {
  static constexpr auto apply = kivsCompensateOffset_32f;
  static constexpr auto apply_in_place = kivsCompensateOffset_32f_I;
  static constexpr Kiv32f val = 0.999F;
  static Kiv32f step(Kiv32f next, Kiv32f x, Kiv32f y, Kiv32f factor, bool first) {
    return first ? (factor * y + next) - x : factor * y + (next - x);
  }
};
template <>
struct Offset<Kiv16s> {
  static constexpr auto apply = kivsCompensateOffsetQ15_16s;
  static constexpr auto apply_in_place = kivsCompensateOffsetQ15_16s_I;
  static constexpr Kiv16s val = 32735;
  static Kiv16s step(Kiv16s next, Kiv16s x, Kiv16s y, Kiv16s factor, bool) {
    const double t = std::trunc((next - x) + static_cast<double>(y) * factor / 32768);
    return static_cast<Kiv16s>(std::clamp(t, -32768.0, 32767.0));
  }
};

template <class T>
class CompensateOffset : public ::testing::Test {};
using Samples = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(CompensateOffset, Samples);

TYPED_TEST(CompensateOffset, ContinuesAcrossFramesAndInPlace) {
  using T = TypeParam;
  Random random(31);
  T previous_sample = 0;
  T output = 0;
  T x = 0;
  T y = 0;
  for (int n : test_lengths()) {
    const auto count = static_cast<std::size_t>(n);
    const auto samples = random.values<T>(count, -32768, 32767);
    const Guarded<T> src(samples);
    Guarded<T> dst(count);
    Guarded<T> in_place(samples);
    T previous_in_place = previous_sample;
    const T previous_output = output;
    ASSERT_EQ(Offset<T>::apply(src.data(), dst.data(), n, &previous_sample, previous_output, Offset<T>::val),
              kivStatusOk);
    ASSERT_EQ(Offset<T>::apply_in_place(in_place.data(), n, &previous_in_place, previous_output, Offset<T>::val),
              kivStatusOk);
    std::vector<T> expected;
    for (const T next : samples) {
      y = Offset<T>::step(next, x, y, Offset<T>::val, expected.empty());
      expected.push_back(y);
      x = next;
    }
    ASSERT_NO_FATAL_FAILURE(expect_exact<T>(dst, expected));
    ASSERT_NO_FATAL_FAILURE(expect_exact<T>(in_place, expected));
    EXPECT_EQ(previous_sample, samples.back());
    EXPECT_EQ(previous_in_place, samples.back());
    output = dst[count - 1];
  }
}

TYPED_TEST(CompensateOffset, ChecksInOrder) {
  using T = TypeParam;
  T x[2] = {1, 2};
  T y[2] = {7, 7};
  T previous = 3;
  const T bad = std::is_same_v<T, Kiv16s> ? T{-1} : T{1};
  EXPECT_EQ(Offset<T>::apply(nullptr, y, 0, &previous, 0, bad), kivStatusNullPointer);
  EXPECT_EQ(Offset<T>::apply(x, nullptr, 0, &previous, 0, bad), kivStatusNullPointer);
  EXPECT_EQ(Offset<T>::apply(x, y, 0, nullptr, 0, bad), kivStatusNullPointer);
  EXPECT_EQ(Offset<T>::apply(x, y, 0, &previous, 0, bad), kivStatusBadSize);
  EXPECT_EQ(Offset<T>::apply_in_place(nullptr, 0, &previous, 0, bad), kivStatusNullPointer);
  EXPECT_EQ(Offset<T>::apply_in_place(x, 2, nullptr, 0, bad), kivStatusNullPointer);
  EXPECT_EQ(Offset<T>::apply_in_place(x, -1, &previous, 0, bad), kivStatusBadSize);
  if constexpr (std::is_same_v<T, Kiv16s>) {
    EXPECT_EQ(Offset<T>::apply(x, y, 65536, &previous, 0, bad), kivStatusBadSize);
    EXPECT_EQ(Offset<T>::apply(x, y, 2, &previous, 0, bad), kivStatusBadArgument);
    EXPECT_EQ(Offset<T>::apply_in_place(x, 2, &previous, 0, bad), kivStatusBadArgument);
  }
  EXPECT_EQ(y[0], T{7});
  EXPECT_EQ(previous, T{3});
}

TEST(CompensateOffsetQ15, TruncatesTowardZeroAndFeedsBackTheSaturatedValue) {
  const auto run = [](std::vector<Kiv16s> x, Kiv16s previous, Kiv16s output, Kiv16s val) {
    EXPECT_EQ(kivsCompensateOffsetQ15_16s_I(x.data(), static_cast<int>(x.size()), &previous, output, val), kivStatusOk);
    return x;
  };
  EXPECT_EQ(run({-1}, 0, 0, 32767), (std::vector<Kiv16s>{-1}));
  EXPECT_EQ(run({-1}, 0, 1, 1), (std::vector<Kiv16s>{0}));
  // A jump of 65535 saturates; the step after it starts from 32767.
  EXPECT_EQ(run({32767, 32767, -32768}, -32768, 0, 16384), (std::vector<Kiv16s>{32767, 16383, -32768}));
}

TEST(SignChangeRate, CountsNegativeProducts) {
  Random random(41);
  for (int n : test_lengths()) {
    const auto count = static_cast<std::size_t>(n);
    auto words = random.values<Kiv16s>(count, -2, 2);
    for (Kiv16s& w : words) w = static_cast<Kiv16s>(w * 16384);  // products up to 2^30, and zeros
    for (std::size_t i = 0; i < count; i += 5) words[i] = -32768;
    std::vector<Kiv32f> values(words.begin(), words.end());
    if (n > 6) values[5] = kNan;
    int changes = 0;
    int float_changes = 0;
    for (std::size_t i = 0; i + 1 < count; ++i) {
      changes += words[i] * words[i + 1] < 0 ? 1 : 0;
      float_changes += values[i] * values[i + 1] >= 0 ? 0 : 1;
    }
    const Guarded<Kiv16s> src(words);
    const Guarded<Kiv32f> src_values(values);
    Kiv32s result = -1;
    Kiv32f float_result = -1;
    ASSERT_EQ(kivsSignChangeRate_16s(src.data(), n, &result), kivStatusOk);
    ASSERT_EQ(kivsSignChangeRate_32f(src_values.data(), n, &float_result), kivStatusOk);
    ASSERT_EQ(result, changes);
    ASSERT_EQ(float_result, static_cast<float>(float_changes));
  }
  // The product of tiny numbers underflows to -0: no change.
  const Kiv32f tiny[] = {1e-30F, -1e-30F};
  Kiv32f none = -1;
  EXPECT_EQ(kivsSignChangeRate_32f(tiny, 2, &none), kivStatusOk);
  EXPECT_EQ(none, 0.0F);
  EXPECT_EQ(kivsSignChangeRate_32f(nullptr, 0, &none), kivStatusNullPointer);
  EXPECT_EQ(kivsSignChangeRate_32f(tiny, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsSignChangeRate_32f(tiny, 0, &none), kivStatusBadSize);
  EXPECT_EQ(kivsSignChangeRate_16s(nullptr, 0, nullptr), kivStatusNullPointer);
}

// The forms of one pair of types: with bounds and without, and in place where source and destination agree.
template <class S, class D>
struct Range {
  using Source = S;
  using Destination = D;
};
using R1 = Range<Kiv32f, Kiv32f>;
using R2 = Range<Kiv32f, Kiv16s>;
using R3 = Range<Kiv32f, Kiv8u>;
using R4 = Range<Kiv16s, Kiv16s>;
using R5 = Range<Kiv16s, Kiv8u>;
constexpr auto between(R1) { return kivsNormalizeInRangeMinMax_32f; }
constexpr auto between(R2) { return kivsNormalizeInRangeMinMax_32f16s; }
constexpr auto between(R3) { return kivsNormalizeInRangeMinMax_32f8u; }
constexpr auto between(R4) { return kivsNormalizeInRangeMinMax_16s; }
constexpr auto between(R5) { return kivsNormalizeInRangeMinMax_16s8u; }
constexpr auto found(R1) { return kivsNormalizeInRange_32f; }
constexpr auto found(R2) { return kivsNormalizeInRange_32f16s; }
constexpr auto found(R3) { return kivsNormalizeInRange_32f8u; }
constexpr auto found(R4) { return kivsNormalizeInRange_16s; }
constexpr auto found(R5) { return kivsNormalizeInRange_16s8u; }
constexpr auto between_in_place(Kiv32f) { return kivsNormalizeInRangeMinMax_32f_I; }
constexpr auto between_in_place(Kiv16s) { return kivsNormalizeInRangeMinMax_16s_I; }
constexpr auto found_in_place(Kiv32f) { return kivsNormalizeInRange_32f_I; }
constexpr auto found_in_place(Kiv16s) { return kivsNormalizeInRange_16s_I; }

template <class R>
class NormalizeInRange : public ::testing::Test {};
using Ranges = ::testing::Types<R1, R2, R3, R4, R5>;
TYPED_TEST_SUITE(NormalizeInRange, Ranges);

TYPED_TEST(NormalizeInRange, CutsAndStretchesTheWindow) {
  using S = typename TypeParam::Source;
  using D = typename TypeParam::Destination;
  Random random(51);
  const D range = 200;
  const float low_coef = 0.125F;
  const float high_coef = 0.75F;
  for (int n : test_lengths()) {
    if (n == 1) continue;
    const auto count = static_cast<std::size_t>(n);
    auto x = random.values<S>(count, -1000, 1000);
    x[count / 2] = S{-1000};
    x[0] = S{1048};
    const Guarded<S> src(x);
    Guarded<D> bounded(count);
    Guarded<D> free(count);
    ASSERT_EQ(between(TypeParam{})(src.data(), bounded.data(), n, S{-1000}, S{1048}, low_coef, high_coef, range),
              kivStatusOk);
    ASSERT_EQ(found(TypeParam{})(src.data(), free.data(), n, low_coef, high_coef, range), kivStatusOk);
    for (std::size_t i = 0; i < count; ++i) {
      // Cuts at -744 and 536.
      const double truth = std::clamp((static_cast<double>(x[i]) + 744) * 200 / 1280, 0.0, 200.0);
      if constexpr (std::is_floating_point_v<D>) {
        ASSERT_NEAR(bounded[i], truth, 1e-4);
        ASSERT_TRUE(within_relative(free[i], bounded[i], 2 * kCorrectedTolerance));
      } else {
        ASSERT_EQ(bounded[i], std::nearbyint(static_cast<float>(truth)));
        ASSERT_NEAR(free[i], bounded[i], 1);
      }
    }
    if constexpr (std::is_same_v<S, D>) {
      Guarded<S> first(x);
      Guarded<S> second(x);
      ASSERT_EQ(between_in_place(S{})(first.data(), n, S{-1000}, S{1048}, low_coef, high_coef, range), kivStatusOk);
      ASSERT_EQ(found_in_place(S{})(second.data(), n, low_coef, high_coef, range), kivStatusOk);
      expect_exact<D>(first, bounded.values());
      expect_exact<D>(second, free.values());
    }
  }
}

TYPED_TEST(NormalizeInRange, OfNothingWritesZeros) {
  using S = typename TypeParam::Source;
  using D = typename TypeParam::Destination;
  const std::vector<S> x(5, S{3});
  std::vector<D> y(5, D{7});
  EXPECT_EQ(found(TypeParam{})(x.data(), y.data(), 5, 0, 1, 100), kivStatusNoOperation);
  EXPECT_EQ(y, std::vector<D>(5));
  y.assign(5, D{7});
  EXPECT_EQ(between(TypeParam{})(x.data(), y.data(), 5, 1, 1, 0, 1, 100), kivStatusNoOperation);
  EXPECT_EQ(y, std::vector<D>(5));
}

TYPED_TEST(NormalizeInRange, ChecksInOrder) {
  using S = typename TypeParam::Source;
  using D = typename TypeParam::Destination;
  const std::vector<S> x(2, S{3});
  std::vector<D> y(2, D{7});
  const auto bounded = [&](const S* s, D* d, int n, S low, S high, float low_coef, float high_coef) {
    return between(TypeParam{})(s, d, n, low, high, low_coef, high_coef, 1);
  };
  const auto unbounded = [&](const S* s, D* d, int n, S, S, float low_coef, float high_coef) {
    return found(TypeParam{})(s, d, n, low_coef, high_coef, 1);
  };
  const auto check = [&](auto call) {
    EXPECT_EQ(call(nullptr, y.data(), 0, 0, 1, -1, 1), kivStatusNullPointer);
    EXPECT_EQ(call(x.data(), nullptr, 0, 0, 1, -1, 1), kivStatusNullPointer);
    EXPECT_EQ(call(x.data(), y.data(), 0, 0, 1, -1, 1), kivStatusBadSize);
    for (const auto& [low, high] : {std::pair(-0.1F, 1.0F), std::pair(0.5F, 0.5F), std::pair(0.0F, 1.1F),
                                    std::pair(kNan, 1.0F), std::pair(0.0F, kNan)}) {
      EXPECT_EQ(call(x.data(), y.data(), 2, 0, 1, low, high), kivStatusBadArgument);
    }
  };
  check(bounded);
  check(unbounded);
  EXPECT_EQ(bounded(x.data(), y.data(), 2, 2, 1, 0, 1), kivStatusBadArgument);
  if constexpr (std::is_signed_v<D>) {
    EXPECT_EQ(found(TypeParam{})(x.data(), y.data(), 2, 0, 1, D{-1}), kivStatusBadArgument);
  }
  EXPECT_EQ(y, std::vector<D>(2, D{7}));
}

TEST(Conditioning, IntegersAndCountsIgnoreTheRoundingMode) {
  // Products that underflow, and quotients about the middle between integers.
  const Kiv32f tiny[] = {1e-30F, -1e-30F, 1e-30F};
  const auto results = under_rounding_modes([&] {
    Kiv32f changes;
    kivsSignChangeRate_32f(tiny, 3, &changes);
    std::vector<int> integers{static_cast<int>(changes)};
    for (Kiv16s top = 3; top < 60; ++top) {
      const Kiv16s src[] = {0, 1, 2, top};
      Kiv16s found[4];
      Kiv8u given[4];
      kivsNormalizeInRange_16s(src, found, 4, 0.1F, 0.9F, 100);
      kivsNormalizeInRangeMinMax_16s8u(src, given, 4, 0, top, 0.0F, 1.0F, 201);
      integers.insert(integers.end(), found, found + 4);
      integers.insert(integers.end(), given, given + 4);
    }
    return integers;
  });
  EXPECT_EQ(results[0][0], 0);
  for (const auto& integers : results) EXPECT_EQ(integers, results[0]);
}

TEST(NormalizeInRange32f, HandlesWindowsWhoseReciprocalHasNoEstimate) {
  for (const float unit : {1e38F, 3e-39F}) {
    const Kiv32f x[] = {0, unit, 2 * unit, 3 * unit};
    Kiv32f y[4];
    ASSERT_EQ(kivsNormalizeInRange_32f(x, y, 4, 0, 1, 3), kivStatusOk);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(y[i], static_cast<float>(i), 1e-4) << unit;
  }
}

template <class T>
void check_padding(KivStatus (*pad)(const T*, int, T*, int)) {
  const Guarded<T> src(std::vector<T>{1, 2, 3});
  Guarded<T> dst(7);
  EXPECT_EQ(pad(src.data(), 3, dst.data(), 2), kivStatusBadSize);
  EXPECT_EQ(pad(src.data(), 0, dst.data(), 7), kivStatusBadSize);
  EXPECT_EQ(pad(nullptr, 0, dst.data(), 7), kivStatusNullPointer);
  EXPECT_EQ(pad(src.data(), 3, dst.data(), 7), kivStatusOk);
  expect_exact(dst, std::vector<T>{1, 2, 3, 0, 0, 0, 0});
}
TEST(Padding, AppendsZeros) {
  check_padding(kivsCopyWithPadding_32f);
  check_padding(kivsCopyWithPadding_16s);
}

}  // namespace
}  // namespace kivsr::test
