// Features of reflection coefficients.
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kThreshold = 0.99F;

double ratio(double k) { return (1 - k) / (1 + k); }

// Each feature of one or two vectors behind one signature, with its value in double precision. `before` is the value of
// the element before (1 for the first).
struct Feature {
  const char* name;
  std::function<KivStatus(const Kiv32f* a, const Kiv32f* b, Kiv32f* dst, int len)> real;
  std::function<KivStatus(const Kiv16s* a, const Kiv16s* b, Kiv16s* dst, int len, int scale)> fixed;  // Q15 sources
  std::function<double(double a, double b, double before)> value;
  double tolerance;  // of the real form, absolute below 1 and relative above
};

std::vector<Feature> features() {
  const auto clamped = [](double k) {
    return std::clamp(k, -static_cast<double>(kThreshold), static_cast<double>(kThreshold));
  };
  return {
      {"AR", [](auto a, auto, auto d, int n) { return kivsReflectionToAR_32f(a, d, n); },
       [](auto a, auto, auto d, int n, int s) { return kivsReflectionToAR_16s_Sfs(a, -15, d, n, s); },
       [](double a, double, double) { return ratio(a); }, 4e-7},
      {"LAR", [](auto a, auto, auto d, int n) { return kivsReflectionToLAR_32f(a, d, n, kThreshold); },
       [](auto a, auto, auto d, int n, int s) { return kivsReflectionToLAR_16s_Sfs(a, -15, d, n, kThreshold, s); },
       [=](double a, double, double) { return std::log(ratio(clamped(a))); }, 6e-6},
      {"TrueAR", [](auto a, auto, auto d, int n) { return kivsReflectionToTrueAR_32f(a, d, n); },
       [](auto a, auto, auto d, int n, int s) { return kivsReflectionToTrueAR_16s_Sfs(a, -15, d, n, s); },
       [](double a, double, double before) { return before * ratio(a); }, 1e-4},
      {"Tilt", [](auto a, auto b, auto d, int n) { return kivsReflectionToTilt_32f(a, b, d, n); },
       [](auto a, auto b, auto d, int n, int s) { return kivsReflectionToTilt_16s_Sfs(a, b, d, n, s); },
       [](double a, double b, double) { return (std::abs(a) - std::abs(b)) / (a + b); }, 4e-7},
      {"AbsTilt", [](auto a, auto b, auto d, int n) { return kivsReflectionToAbsTilt_32f(a, b, d, n); },
       [](auto a, auto b, auto d, int n, int s) { return kivsReflectionToAbsTilt_16s_Sfs(a, b, d, n, s); },
       [](double a, double b, double) { return (std::abs(a) - std::abs(b)) / (std::abs(a) + std::abs(b)); }, 4e-7},
  };
}

TEST(Reflection, FollowsTheFormulas) {
  Random random(11);
  for (const Feature& feature : features()) {
    for (int n : test_lengths()) {
      const auto count = static_cast<std::size_t>(n);
      // Multiples of 2^-15, which both forms can hold; sums that do not cancel.
      const auto ka = random.values<Kiv16s>(count, -9000, 15000);
      const auto kb = random.values<Kiv16s>(count, 16000, 30000);
      std::vector<Kiv32f> a(count);
      std::vector<Kiv32f> b(count);
      for (std::size_t i = 0; i < count; ++i) {
        a[i] = ka[i] / 32768.0F;
        b[i] = kb[i] / 32768.0F;
      }
      const Guarded<Kiv32f> first(a);
      const Guarded<Kiv32f> second(b);
      Guarded<Kiv32f> dst(count);
      ASSERT_EQ(feature.real(first.data(), second.data(), dst.data(), n), kivStatusOk);
      const Guarded<Kiv16s> first_words(ka);
      const Guarded<Kiv16s> second_words(kb);
      Guarded<Kiv16s> words(count);
      ASSERT_EQ(feature.fixed(first_words.data(), second_words.data(), words.data(), n, -10), kivStatusOk);
      double before = 1;
      for (std::size_t i = 0; i < count; ++i) {
        before = feature.value(a[i], b[i], before);
        ASSERT_NEAR(dst[i], before, feature.tolerance * std::max(1.0, std::abs(before))) << feature.name << " " << n;
        // The 16-bit form is the float form, scaled by 2^10, rounded and saturated.
        ASSERT_EQ(words[i], std::clamp(std::nearbyint(dst[i] * 1024.0F), -32768.0F, 32767.0F)) << feature.name;
      }
    }
  }
}

// An undefined quotient carries the processor's own NaN, whose sign bit is set: wherever it is among the elements, all
// such NaNs become infinite, the caller's as well.
TEST(Reflection, NaNsWithTheSignBitSetBecomeInfiniteBesideAnUndefinedQuotient) {
  const Kiv32f negative = std::copysign(kNan, -1.0F);
  for (std::size_t n = 4; n < 40; ++n) {
    std::vector<Kiv32f> k(n, 0.5F);
    k[1] = kNan;
    k[2] = negative;
    std::vector<Kiv32f> ratios(n);
    EXPECT_EQ(kivsReflectionToAR_32f(k.data(), ratios.data(), static_cast<int>(n)), kivStatusOk);
    EXPECT_TRUE(std::isnan(ratios[1]) && std::isnan(ratios[2])) << n;
    for (const Kiv32f undefined : {-1.0F, kInfinity, -kInfinity}) {
      k[n - 1] = undefined;
      EXPECT_EQ(kivsReflectionToAR_32f(k.data(), ratios.data(), static_cast<int>(n)), kivStatusDivByZero);
      EXPECT_TRUE(std::isnan(ratios[1])) << n;
      EXPECT_EQ(ratios[2], kInfinity) << n;
      EXPECT_EQ(ratios[n - 1], kInfinity) << n;
    }
  }
}

TEST(Reflection, GivesItsValuesAtTheEdges) {
  const std::vector<Kiv32f> k = {0, 1, -1, 0.5F};
  std::vector<Kiv32f> dst(4);
  EXPECT_EQ(kivsReflectionToAR_32f(k.data(), dst.data(), 2), kivStatusOk);
  EXPECT_EQ(dst[0], 1.0F);
  EXPECT_EQ(dst[1], 0.0F);
  EXPECT_EQ(kivsReflectionToAR_32f(k.data(), dst.data(), 4), kivStatusDivByZero);
  EXPECT_EQ(dst[2], kInfinity);
  EXPECT_TRUE(within_units(dst[3], 1.0 / 3, 2));
  EXPECT_EQ(kivsReflectionToTrueAR_32f(k.data(), dst.data(), 4), kivStatusDivByZero);
  EXPECT_EQ(dst[0], 1.0F);
  EXPECT_FALSE(std::isfinite(dst[2]) || std::isfinite(dst[3]));
  EXPECT_EQ(kivsReflectionToLAR_32f(k.data(), dst.data(), 3, kThreshold), kivStatusOk);
  EXPECT_EQ(dst[0], 0.0F);
  EXPECT_NEAR(dst[1], std::log(0.01 / 1.99), 1e-5);
  EXPECT_NEAR(dst[2], std::log(1.99 / 0.01), 1e-5);
  const std::vector<Kiv32f> a = {0.5F, 0, 0.25F};
  const std::vector<Kiv32f> b = {-0.5F, 0, 0.25F};
  EXPECT_EQ(kivsReflectionToTilt_32f(a.data(), b.data(), dst.data(), 3), kivStatusDivByZero);
  EXPECT_TRUE(std::isnan(dst[0]) && std::isnan(dst[1]));
  EXPECT_EQ(dst[2], 0.0F);
  EXPECT_EQ(kivsReflectionToAbsTilt_32f(a.data(), b.data(), dst.data(), 3), kivStatusDivByZero);
  EXPECT_EQ(dst[0], 0.0F);
  EXPECT_TRUE(std::isnan(dst[1]));
  // 16-bit forms: k = -1 saturates, 0/0 gives the lowest value.
  const std::vector<Kiv16s> words = {-32768, 0};
  std::vector<Kiv16s> results(2);
  EXPECT_EQ(kivsReflectionToAR_16s_Sfs(words.data(), -15, results.data(), 2, 0), kivStatusDivByZero);
  EXPECT_EQ(results, (std::vector<Kiv16s>{32767, 1}));
  EXPECT_EQ(kivsReflectionToAbsTilt_16s_Sfs(words.data(), &words[1], results.data(), 1, -4), kivStatusOk);
  EXPECT_EQ(results[0], 16);
  EXPECT_EQ(kivsReflectionToTilt_16s_Sfs(&words[1], &words[1], results.data(), 1, 0), kivStatusDivByZero);
  EXPECT_EQ(results[0], -32768);
  // Source scales far outside any use: v * 2^-126 is no reflection at all.
  EXPECT_EQ(kivsReflectionToAR_16s_Sfs(words.data(), std::numeric_limits<int>::min(), results.data(), 2, 0),
            kivStatusOk);
  EXPECT_EQ(results, (std::vector<Kiv16s>{1, 1}));
}

TEST(Reflection, ReplacesUndefinedRatiosOnlyAndPassesNans) {
  for (int n : {1, 3, 4, 8, 9, 21}) {
    const auto count = static_cast<std::size_t>(n);
    std::vector<Kiv32f> k(count, 0.25F);
    std::vector<Kiv32f> dst(count);
    k[count / 2] = kNan;
    EXPECT_EQ(kivsReflectionToAR_32f(k.data(), dst.data(), n), kivStatusOk);
    EXPECT_TRUE(std::isnan(dst[count / 2]));
    k[count - 1] = kInfinity;
    EXPECT_EQ(kivsReflectionToAR_32f(k.data(), dst.data(), n), kivStatusDivByZero);
    EXPECT_EQ(dst[count - 1], kInfinity);
    EXPECT_TRUE(n == 1 || std::isnan(dst[count / 2]));
  }
}

TEST(Reflection, HeedsOnlyTheFlagsThatItRaisedItself) {
  constexpr int kBoth = FE_INVALID | FE_DIVBYZERO;
  for (const Feature& feature : features()) {
    const Kiv32f fine[2] = {0.25F, 0.5F};
    const Kiv32f undefined[2] = {-1, 1};
    const Kiv32f other[2] = {1, -1};
    Kiv32f dst[2];
    // By operations of floats: on 32-bit x86 feraiseexcept would set the flags of another unit too.
    std::feclearexcept(FE_ALL_EXCEPT);
    volatile Kiv32f zero = 0;
    volatile Kiv32f raised = zero / zero;
    raised = 1 / zero;
    ASSERT_EQ(std::fetestexcept(kBoth), kBoth) << raised;
    EXPECT_EQ(feature.real(fine, fine, dst, 2), kivStatusOk) << feature.name;
    EXPECT_EQ(std::fetestexcept(FE_INVALID), 0) << feature.name;
    std::feclearexcept(FE_ALL_EXCEPT);
    feature.real(undefined, other, dst, 2);
    EXPECT_EQ(std::fetestexcept(kBoth), 0) << feature.name;
    // Exceptions that the caller has unmasked do not trap. Some processors cannot trap at all.
    if (feenableexcept(kBoth) == -1 || fegetexcept() != kBoth) continue;
    feature.real(undefined, other, dst, 2);
    EXPECT_EQ(fegetexcept(), kBoth) << feature.name;
    fedisableexcept(FE_ALL_EXCEPT);
  }
}

TEST(Reflection, IgnoresTheRoundingMode) {
  // Rounded down, 1 + k is -0 where k = -1.
  const Kiv32f k[] = {-1, 0.25F};
  const Kiv16s words[] = {-32768, 8191, -16385, 3};
  const auto results = under_rounding_modes([&] {
    std::vector<int> bits;
    Kiv32f ratios[2];
    bits.push_back(kivsReflectionToAR_32f(k, ratios, 2));
    for (const Kiv32f x : ratios) bits.push_back(std::bit_cast<int>(x));
    for (const Feature& feature : features()) {
      for (int scale = -14; scale <= 0; ++scale) {
        Kiv16s dst[4];
        bits.push_back(feature.fixed(words, words, dst, 4, scale));
        bits.insert(bits.end(), dst, dst + 4);
      }
    }
    return bits;
  });
  EXPECT_EQ(results[0][1], std::bit_cast<int>(kInfinity));
  for (const auto& bits : results) EXPECT_EQ(bits, results[0]);
}

TEST(Reflection, ChecksInOrder) {
  const Kiv32f a[1] = {0.5F};
  const Kiv16s w[1] = {5};
  Kiv32f dst[1] = {7};
  Kiv16s words[1] = {7};
  for (const Feature& feature : features()) {
    EXPECT_EQ(feature.real(nullptr, a, dst, 0), kivStatusNullPointer);
    EXPECT_EQ(feature.real(a, a, nullptr, 0), kivStatusNullPointer);
    EXPECT_EQ(feature.real(a, a, dst, 0), kivStatusBadSize);
    EXPECT_EQ(feature.fixed(nullptr, w, words, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(feature.fixed(w, w, nullptr, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(feature.fixed(w, w, words, -1, 0), kivStatusBadSize);
  }
  EXPECT_EQ(kivsReflectionToTilt_32f(a, nullptr, dst, 1), kivStatusNullPointer);
  EXPECT_EQ(kivsReflectionToAbsTilt_16s_Sfs(w, nullptr, words, 1, 0), kivStatusNullPointer);
  for (const float threshold : {0.0F, 1.0F, -0.5F, kNan}) {
    EXPECT_EQ(kivsReflectionToLAR_32f(a, dst, 0, threshold), kivStatusBadSize);
    EXPECT_EQ(kivsReflectionToLAR_32f(a, dst, 1, threshold), kivStatusOutOfRange);
    EXPECT_EQ(kivsReflectionToLAR_16s_Sfs(w, -15, words, 1, threshold, 0), kivStatusOutOfRange);
  }
  EXPECT_EQ(dst[0], 7.0F);
  EXPECT_EQ(words[0], 7);
}

TEST(Reflection, SurvivesFailedAllocations) {
  const std::vector<Kiv16s> k(101, 100);
  for (const Feature& feature : features()) {
    std::vector<Kiv16s> words(101, 7);
    const int buffers = std::string(feature.name).find("Tilt") == std::string::npos ? 1 : 2;
    expect_survives_failed_allocations(
        [&] {
          const KivStatus status = feature.fixed(k.data(), k.data(), words.data(), 101, 0);
          EXPECT_TRUE(status != kivStatusNoMemory || words == std::vector<Kiv16s>(101, 7));
          return status;
        },
        buffers);
    const AllocationWatch watch(1);
    EXPECT_EQ(feature.fixed(k.data(), k.data(), words.data(), 100, 0), kivStatusOk);
    EXPECT_EQ(AllocationWatch::calls(), 0);
  }
}

}  // namespace
}  // namespace kivsr::test
