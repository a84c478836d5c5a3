// Noise reduction kernels against their formulas, in double precision or on integers, and their edges.
#include <gtest/gtest.h>

#include <algorithm>
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

// x / 2^n rounded down, and to nearest with ties to even, on integers of any sign.
Kiv64s floored(Kiv64s x, int n) {
  const Kiv64s unit = Kiv64s{1} << n;
  return x / unit - (x % unit < 0 ? 1 : 0);
}
Kiv64s nearest(Kiv64s x, int n) {
  if (n <= 0) return x * (Kiv64s{1} << -n);
  const Kiv64s down = floored(x, n), rest = x - down * (Kiv64s{1} << n), half = Kiv64s{1} << (n - 1);
  return down + (rest > half || (rest == half && down % 2 != 0) ? 1 : 0);
}
template <class T>
T saturated(Kiv64s x) {
  return static_cast<T>(
      std::min<Kiv64s>(std::max<Kiv64s>(x, std::numeric_limits<T>::min()), std::numeric_limits<T>::max()));
}

// The elements of the packed spectrum that make up output k of m + 1.
std::vector<std::size_t> parts_of(std::size_t k, std::size_t m) {
  if (k == 0) return {2, 3, 0};
  if (k == m) return {1};
  return {4 * k, 4 * k + 1, 4 * k + 2, 4 * k + 3};
}

TEST(SmoothedPower, PairsBinsOfThePackedSpectrum) {
  Random random;
  for (const int len : {4, 8, 12, 16, 20, 36, 44, 100, 256}) {
    const std::size_t n = static_cast<std::size_t>(len), m = n / 4;
    for (const int loudness : {200, 30000}) {
      Guarded<float> s(random.values<float>(n, -loudness, loudness)), d(m + 1);
      Guarded<Kiv16s> s16(random.values<Kiv16s>(n, -loudness, loudness)), d16(m + 1);
      ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32f(s.data(), d.data(), len), kivStatusOk);
      ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_16s(s16.data(), d16.data(), len), kivStatusOk);
      for (std::size_t k = 0; k <= m; ++k) {
        float sum = 0;
        Kiv64s halves = 0;
        for (const std::size_t i : parts_of(k, m)) {
          sum += s[i] * s[i];
          halves += s16[i] * s16[i] / (k == m ? 1 : 2);
        }
        EXPECT_EQ(d[k], k == m ? sum : sum * 0.5F) << k;
        EXPECT_EQ(d16[k], saturated<Kiv16s>(halves)) << k;
      }
    }
  }
}

TEST(SmoothedPower, ScaledIntegersAreExact) {
  Random random;
  for (const int scale_factor : {-3, -1, 0, 1, 2, 17, 30, 31, 33, 34, 50, 62}) {
    for (const int regime : {0, 1, 2, 3}) {
      const int len = 4 * random.integer(1, 20);
      const std::size_t n = static_cast<std::size_t>(len), m = n / 4;
      Guarded<Kiv32s> s(n), d(m + 1);
      for (Kiv32s& x : s) x = regime == 3 ? random.integer(-40000, 40000) : random.extreme<Kiv32s>(regime) / 2;
      ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(s.data(), d.data(), len, scale_factor), kivStatusOk);
      for (std::size_t k = 0; k <= m; ++k) {
        Kiv64s halves = 0;
        double sum = 0;
        for (const std::size_t i : parts_of(k, m)) {
          sum += static_cast<double>(s[i]) * s[i];
          halves += floored(Kiv64s{s[i]} * s[i], 1);
        }
        // Both ends are exact and shifted without rounding; what would overflow on the way to the left saturates.
        const bool ends = k == 0 || k == m;
        const Kiv64s x = k == 0 ? halves : k == m ? Kiv64s{s[1]} * s[1] : static_cast<Kiv64s>(sum);
        const Kiv64s limit = Kiv64s{1} << 40;
        const Kiv64s expected = !ends ? nearest(scale_factor < 0 ? std::min(x, limit) : x, scale_factor + 1)
                                : scale_factor < 0 ? std::min(x, limit) << -scale_factor
                                                   : floored(x, scale_factor);
        EXPECT_EQ(d[k], saturated<Kiv32s>(expected)) << k << " of " << m << ", scale factor " << scale_factor;
      }
    }
  }
  const Kiv32s odd[] = {3, 3, 0, 0, 3, 0, 0, 0};
  Kiv32s d[3];
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 8, -40), kivStatusOk);
  for (const Kiv32s x : d) EXPECT_EQ(x, 2147483647);
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 8, 2000000000), kivStatusOk);
  for (const Kiv32s x : d) EXPECT_EQ(x, 0);
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 6, 0), kivStatusBadSize);
  const Kiv16s word[4] = {};
  Kiv16s result[2];
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_16s(word, result, 0), kivStatusBadSize);
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_32f(nullptr, nullptr, 0), kivStatusNullPointer);
}

double updated(double a, double b) {
  const double t = 0.1 * a + b;
  return b * (0.1 * (a / (a + b)) * (b / t + 1) + 0.9);
}

// `actual` is the truncation of a number within a relative 1e-6 of the truth.
template <class T>
bool truncates(T actual, double truth) {
  return std::trunc(truth * (1 - 1e-6)) <= actual && actual <= std::trunc(truth * (1 + 1e-6));
}

TEST(NoiseUpdate, FollowsTheRecursion) {
  Random random;
  for (const int len : test_lengths()) {
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<float> a(random.values<float>(n, 0, 1000)), b(random.values<float>(n, 0.5, 100)), d(n);
    ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_32f(a.data(), b.data(), d.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_TRUE(within_relative(d[i], updated(a[i], b[i]), kEstimateTolerance)) << i;
      float alone;  // the same estimate at every length and position
      kivsNoiseSpectrumUpdate_Aurora_32f(&a[i], &b[i], &alone, 1);
      ASSERT_EQ(alone, d[i]);
    }
    Guarded<Kiv32s> a32(random.values<Kiv32s>(n, 0, 1 << 30)), b32(random.values<Kiv32s>(n, 10, 1 << 30)), d32(n);
    Guarded<Kiv16s> a16(random.values<Kiv16s>(n, 0, 32767)), b16(random.values<Kiv16s>(n, 10, 32767)), d16(n);
    ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(a32.data(), b32.data(), d32.data(), len, 2), kivStatusOk);
    ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(a16.data(), b16.data(), d16.data(), len, 1), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_TRUE(truncates(d32[i], updated(a32[i], b32[i]) / 4)) << d32[i] << " " << updated(a32[i], b32[i]) / 4;
      ASSERT_TRUE(truncates(d16[i], updated(a16[i], b16[i]) / 2)) << d16[i] << " " << updated(a16[i], b16[i]) / 2;
    }
  }
  const float fa[] = {3, 0, -10, 5}, fb[] = {-3, 0, 1, 0};
  float fd[4];
  ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_32f(fa, fb, fd, 4), kivStatusOk);
  for (const float x : fd) EXPECT_EQ(x, 0.0F);
  const Kiv32s lowest = -2147483647 - 1;
  const Kiv32s wa[] = {5, 5, 2147483647, lowest, lowest, 7}, wb[] = {0, -5, 2147483647, lowest, 2147483647, 2};
  Kiv32s wd[6];
  ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(wa, wb, wd, 6, -4), kivStatusOk);
  EXPECT_EQ(wd[0], 0);       // |t| < 1
  EXPECT_EQ(wd[1], 0);       // a = -b
  EXPECT_EQ(wd[2], lowest);  // above the range
  EXPECT_EQ(wd[3], lowest);  // below it; the sum of both does not vanish
  EXPECT_EQ(wd[4], lowest);
  EXPECT_EQ(wd[5], static_cast<Kiv32s>(updated(7, 2) * 16));
  const Kiv16s sa[] = {32767, -32768}, sb[] = {32767, -32768};
  Kiv16s sd[2];
  ASSERT_EQ(kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(sa, sb, sd, 2, -4), kivStatusOk);
  EXPECT_EQ(sd[0], 32767);
  EXPECT_EQ(sd[1], -32768);
  EXPECT_EQ(kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(sa, sb, nullptr, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(sa, sb, sd, 0, 0), kivStatusBadSize);
}

TEST(WienerDesign, FloatFollowsTheFormula) {
  Random random;
  for (const int len : test_lengths()) {
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<float> p(random.values<float>(n, 0, 50)), noise(random.values<float>(n, 0.5, 20)),
        s(random.values<float>(n, 0, 50)), d(n);
    ASSERT_EQ(kivsWienerFilterDesign_Aurora_32f(p.data(), noise.data(), s.data(), d.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      const double eta1 = (0.98 * s[i] + 0.02 * std::fmax(p[i] - noise[i], 0)) / noise[i];
      const double eta2 = std::fmax(eta1 / (eta1 + 1) * p[i] / noise[i], 0.07943282);
      ASSERT_TRUE(within_relative(d[i], eta2 / (eta2 + 1), 3 * kEstimateTolerance)) << i;
    }
  }
  EXPECT_EQ(kivsWienerFilterDesign_Aurora_32f(nullptr, nullptr, nullptr, nullptr, 0), kivStatusNullPointer);
}

// The documented steps on integers: quotients toward zero, shifts downward.
Kiv16s designed(Kiv64s p, Kiv64s n, Kiv64s s) {
  if (n == 0) return 1206;
  const Kiv64s r = 16384 / n;
  const Kiv64s eta1 = floored((82 * std::max<Kiv64s>(p - n, 0) + 4014 * s) * r, 14);
  if (eta1 + 4096 == 0) return 1206;
  const Kiv64s h1 = eta1 * 16384 / (eta1 + 4096);
  const Kiv64s eta2 = std::max<Kiv64s>(floored(p * h1, 14) * r, 1301);
  return static_cast<Kiv16s>(eta2 * 128 / (floored(eta2, 7) + 128));
}

TEST(WienerDesign, FixedPointIsExactForAnyInput) {
  Random random;
  const auto any = [&](int kind) -> Kiv16s {
    switch (kind) {
      case 0: return random.extreme<Kiv16s>(random.integer(0, 1));
      case 1: return random.value<Kiv16s>(-4, 4);
      case 2: return random.value<Kiv16s>(0, 300);
      case 3: return random.value<Kiv16s>(0, 32767);
      default: return random.value<Kiv16s>(-32768, 32767);
    }
  };
  int zero_divisors = 0;
  for (int trial = 0; trial < 4000; ++trial) {
    const std::size_t n = static_cast<std::size_t>(random.integer(1, 40));
    Guarded<Kiv16s> p(n), noise(n), s(n), gain(n);
    const int kinds[] = {random.integer(0, 4), random.integer(0, 4), random.integer(0, 4)};
    for (std::size_t i = 0; i < n; ++i) {
      p[i] = any(kinds[0]), noise[i] = any(kinds[1]), s[i] = any(kinds[2]);
      // From a negative spectrum 4014 S R / 2^14 rounds down to -4096: a zero divisor.
      if (trial % 100 == 0) p[i] = 0, noise[i] = 16384, s[i] = static_cast<Kiv16s>(random.integer(-16718, -16715));
    }
    ASSERT_EQ(kivsWienerFilterDesign_Aurora_16s(p.data(), noise.data(), s.data(), gain.data(), static_cast<int>(n)), 0);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_EQ(gain[i], designed(p[i], noise[i], s[i])) << p[i] << " " << noise[i] << " " << s[i];
      if (noise[i] != 0) {
        const Kiv64s d = std::max(p[i] - noise[i], 0);
        zero_divisors += floored((82 * d + 4014 * Kiv64s{s[i]}) * (16384 / noise[i]), 14) == -4096 ? 1 : 0;
      }
    }
  }
  EXPECT_GT(zero_divisors, 20);
  const Kiv16s p = 1, noise = 1;
  Kiv16s gain = 7;
  EXPECT_EQ(kivsWienerFilterDesign_Aurora_16s(&p, &noise, &p, &gain, 0), kivStatusBadSize);
  EXPECT_EQ(kivsWienerFilterDesign_Aurora_16s(&p, nullptr, &p, &gain, 0), kivStatusNullPointer);
  EXPECT_EQ(gain, 7);
}

TEST(ResidualFilter, AppliesTheOffsetTaps) {
  Random random;
  Guarded<float> values(random.values<float>(10, -1, 1)), taps(17), src(random.values<float>(96, -100, 100)), dst(80);
  ASSERT_EQ(kivsTabsCalculation_Aurora_32f(values.data(), taps.data()), kivStatusOk);
  for (std::size_t k = 0; k < 17; ++k) EXPECT_EQ(taps[k], values[k <= 8 ? 8 - k : k - 7]);
  ASSERT_EQ(kivsResidualFilter_Aurora_32f(src.data(), dst.data(), taps.data()), kivStatusOk);
  for (std::size_t n = 0; n < 80; ++n) {
    double sum = 0, magnitudes = 0;
    for (std::size_t k = 0; k < 17; ++k) {
      sum += static_cast<double>(taps[k]) * src[n + k];
      magnitudes += std::abs(taps[k] * src[n + k]);
    }
    EXPECT_TRUE(within_reduction<float>(dst[n], sum, magnitudes, 17));
  }
  EXPECT_EQ(kivsResidualFilter_Aurora_32f(src.data(), dst.data(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsTabsCalculation_Aurora_32f(nullptr, taps.data()), kivStatusNullPointer);
}

TEST(ResidualFilter, IntegersAreExactAtEveryScale) {
  Random random;
  for (const int largest : {3, 2000, 9000, 32767}) {  // taps whose sums fit into 32 bits, and others
    for (const int scale_factor : {-80, -16, -15, -3, -1, 0, 1, 2, 9, 15, 16, 22, 30, 31, 32, 33, 80}) {
      Guarded<Kiv16s> values(random.values<Kiv16s>(10, -largest, largest)), taps(17), dst(80);
      const int loudest = scale_factor < 2 ? 40 : 32767;
      Guarded<Kiv16s> src(random.values<Kiv16s>(96, -loudest - 1, loudest));
      ASSERT_EQ(kivsTabsCalculation_Aurora_16s(values.data(), taps.data()), kivStatusOk);
      for (std::size_t k = 0; k < 17; ++k) EXPECT_EQ(taps[k], values[k <= 8 ? 8 - k : k - 7]);
      ASSERT_EQ(kivsResidualFilter_Aurora_16s_Sfs(src.data(), dst.data(), taps.data(), scale_factor), kivStatusOk);
      for (std::size_t n = 0; n < 80; ++n) {
        Kiv64s sum = 0;
        for (std::size_t k = 0; k < 17; ++k) sum += taps[k] * src[n + k];
        const Kiv64s expected = nearest(sum, std::min(std::max(scale_factor, -20), 60));
        ASSERT_EQ(dst[n], saturated<Kiv16s>(expected)) << n << ", scale factor " << scale_factor << ", " << sum;
      }
    }
  }
  Guarded<Kiv16s> dst(80);
  const std::vector<Kiv16s> lowest(96, -32768);
  ASSERT_EQ(kivsResidualFilter_Aurora_16s_Sfs(lowest.data(), dst.data(), lowest.data(), 22), kivStatusOk);
  EXPECT_EQ(dst[0], -3840);  // eight pairs wrap to -2^31, the single tap stays 2^30
  EXPECT_EQ(kivsTabsCalculation_Aurora_16s(nullptr, dst.data()), kivStatusNullPointer);
}

TEST(AuroraIntegers, IgnoreTheCallersRoundingMode) {
  Random random;
  const auto samples = random.values<Kiv16s>(96, -3000, 3000);
  const auto taps = random.values<Kiv16s>(17, -3000, 3000);
  const auto spectrum = random.values<Kiv32s>(64, -3000, 3000);
  const auto frames = random.values<Kiv32s>(128, 0, 1000000);
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv16s> filtered(80);
    std::vector<Kiv32s> integers(17);
    kivsResidualFilter_Aurora_16s_Sfs(samples.data(), filtered.data(), taps.data(), 13);
    kivsSmoothedPowerSpectrumAurora_32s_Sfs(spectrum.data(), integers.data(), 64, 9);
    integers.insert(integers.end(), filtered.begin(), filtered.end());
    std::vector<Kiv32s> noise(64);
    kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(frames.data(), frames.data() + 64, noise.data(), 64, 0);
    kivsWienerFilterDesign_Aurora_16s(samples.data(), taps.data(), samples.data() + 17, filtered.data(), 17);
    integers.insert(integers.end(), filtered.begin(), filtered.end());
    integers.insert(integers.end(), noise.begin(), noise.end());
    return integers;
  });
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

}  // namespace
}  // namespace kivsr::test
