// Noise reduction kernels against their formulas in double precision, and their edges.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

TEST(SmoothedPower, PairsBinsOfThePackedSpectrum) {
  Random random;
  for (const int len : {4, 8, 16, 20, 36, 44, 100, 256}) {
    const std::size_t n = static_cast<std::size_t>(len), m = n / 4;
    Guarded<float> s(random.values<float>(n, -100, 100)), d(m + 1);
    Guarded<Kiv16s> s16(random.values<Kiv16s>(n, -200, 200)), d16(m + 1);
    Guarded<Kiv32s> s32(random.values<Kiv32s>(n, -2147483648.0, 2147483647)), d32(m + 1);
    ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32f(s.data(), d.data(), len), kivStatusOk);
    ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_16s(s16.data(), d16.data(), len), kivStatusOk);
    ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(s32.data(), d32.data(), len, 34), kivStatusOk);
    for (std::size_t k = 0; k <= m; ++k) {
      std::vector<std::size_t> parts = {4 * k, 4 * k + 1, 4 * k + 2, 4 * k + 3};
      if (k == 0) parts = {0, 2, 3};
      if (k == m) parts = {1};
      double sum = 0, half_sum16 = 0, sum32 = 0;
      for (const std::size_t i : parts) {
        sum += static_cast<double>(s[i]) * s[i];
        half_sum16 += std::floor(s16[i] * s16[i] / (k == m ? 1.0 : 2.0));
        sum32 += static_cast<double>(s32[i]) * s32[i];
      }
      const double scale = k == m ? 1 : 0.5;
      EXPECT_TRUE(within_units<float>(d[k], sum * scale, 3)) << k;
      EXPECT_EQ(d16[k], std::min(32767.0, half_sum16)) << k;
      EXPECT_NEAR(d32[k], sum32 * scale / std::ldexp(1, 34), 1.0) << k;
    }
  }
  const Kiv16s loud[] = {-32768, -32768, 1, 0};
  Kiv16s word[2];
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_16s(loud, word, 4), kivStatusOk);
  EXPECT_EQ(word[0], 32767);
  EXPECT_EQ(word[1], 32767);
  const Kiv32s odd[] = {3, 3, 0, 0, 3, 0, 0, 0};
  Kiv32s d[3];
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 8, 1), kivStatusOk);
  EXPECT_EQ(d[0], 2);  // (9 >> 1) >> 1
  EXPECT_EQ(d[1], 2);  // 2.25
  EXPECT_EQ(d[2], 4);  // 9 >> 1
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 8, -40), kivStatusOk);
  for (const Kiv32s x : d) EXPECT_EQ(x, 2147483647);
  ASSERT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 8, 2000000000), kivStatusOk);
  for (const Kiv32s x : d) EXPECT_EQ(x, 0);
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_32s_Sfs(odd, d, 6, 0), kivStatusBadSize);
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_16s(loud, word, 0), kivStatusBadSize);
  EXPECT_EQ(kivsSmoothedPowerSpectrumAurora_32f(nullptr, nullptr, 0), kivStatusNullPointer);
}

double updated(double a, double b) {
  const double t = 0.1 * a + b;
  return b * (0.1 * (a / (a + b)) * (b / t + 1) + 0.9);
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
      ASSERT_NEAR(d32[i], updated(a32[i], b32[i]) / 4, updated(a32[i], b32[i]) * 1e-6 + 1);
      ASSERT_NEAR(d16[i], updated(a16[i], b16[i]) / 2, 1);
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

TEST(WienerDesign, FloatAndFixedPointAgree) {
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
  for (int trial = 0; trial < 2000; ++trial) {
    // 16384 / N and (P H1) >> 14 truncate: compare where N divides well and the spectra are large
    const Kiv16s noise = static_cast<Kiv16s>(1 << random.integer(7, 11));
    const Kiv16s p = static_cast<Kiv16s>(random.integer(0, 16 * noise)),
                 s = static_cast<Kiv16s>(random.integer(0, 16 * noise));
    Kiv16s gain;
    ASSERT_EQ(kivsWienerFilterDesign_Aurora_16s(&p, &noise, &s, &gain, 1), kivStatusOk);
    const double eta1 = (0.98 * s + 0.02 * std::max(p - noise, 0)) / noise;
    const double eta2 = std::fmax(eta1 / (eta1 + 1) * p / noise, 0.0794);
    EXPECT_NEAR(gain / 16384.0, eta2 / (eta2 + 1), 0.012) << p << " " << noise << " " << s;
  }
  const Kiv16s p[] = {100, 5, 0, 1, -32768}, noise[] = {0, 9, 1, -16384, -1}, s[] = {100, 0, 0, 1, -32768};
  Kiv16s gain[5];
  ASSERT_EQ(kivsWienerFilterDesign_Aurora_16s(p, noise, s, gain, 5), kivStatusOk);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(gain[i], 1206);
  EXPECT_EQ(kivsWienerFilterDesign_Aurora_16s(p, noise, s, gain, 0), kivStatusBadSize);
  EXPECT_EQ(kivsWienerFilterDesign_Aurora_16s(p, nullptr, s, gain, 0), kivStatusNullPointer);
}

TEST(ResidualFilter, AppliesTheOffsetTaps) {
  Random random;
  Guarded<float> values(random.values<float>(10, -1, 1)), taps(17), src(random.values<float>(96, -100, 100)), dst(80);
  ASSERT_EQ(kivsTabsCalculation_Aurora_32f(values.data(), taps.data()), kivStatusOk);
  for (int k = 0; k < 17; ++k) EXPECT_EQ(taps[k], values[k <= 8 ? 8 - k : k - 7]);
  ASSERT_EQ(kivsResidualFilter_Aurora_32f(src.data(), dst.data(), taps.data()), kivStatusOk);
  for (int n = 0; n < 80; ++n) {
    double sum = 0, magnitudes = 0;
    for (int k = 0; k < 17; ++k) {
      sum += static_cast<double>(taps[k]) * src[n + k];
      magnitudes += std::abs(taps[k] * src[n + k]);
    }
    EXPECT_TRUE(within_reduction<float>(dst[n], sum, magnitudes, 17));
  }
  for (const int largest : {2000, 9000, 32767}) {  // taps whose sums fit into 32 bits, and others
    Guarded<Kiv16s> values16(random.values<Kiv16s>(10, -largest, largest)), taps16(17), dst16(80);
    Guarded<Kiv16s> src16(random.values<Kiv16s>(96, -32768, 32767));
    ASSERT_EQ(kivsTabsCalculation_Aurora_16s(values16.data(), taps16.data()), kivStatusOk);
    for (int k = 0; k < 17; ++k) EXPECT_EQ(taps16[k], values16[k <= 8 ? 8 - k : k - 7]);
    ASSERT_EQ(kivsResidualFilter_Aurora_16s_Sfs(src16.data(), dst16.data(), taps16.data(), 16), kivStatusOk);
    for (int n = 0; n < 80; ++n) {
      double exact = 0;
      for (int k = 0; k < 17; ++k) exact += taps16[k] * src16[n + k];
      EXPECT_EQ(dst16[n], std::fmin(32767, std::fmax(-32768, std::nearbyint(exact / 65536)))) << n;
    }
  }
  Guarded<Kiv16s> dst16(80);
  const std::vector<Kiv16s> lowest(96, -32768);
  ASSERT_EQ(kivsResidualFilter_Aurora_16s_Sfs(lowest.data(), dst16.data(), lowest.data(), 22), kivStatusOk);
  EXPECT_EQ(dst16[0], -3840);  // eight pairs wrap to -2^31, the single tap stays 2^30
  EXPECT_EQ(kivsResidualFilter_Aurora_32f(src.data(), dst.data(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsTabsCalculation_Aurora_16s(nullptr, dst16.data()), kivStatusNullPointer);
}

TEST(AuroraIntegers, IgnoreTheCallersRoundingMode) {
  Random random;
  const auto samples = random.values<Kiv16s>(96, -3000, 3000);
  const auto taps = random.values<Kiv16s>(17, -3000, 3000);
  const auto spectrum = random.values<Kiv32s>(64, -3000, 3000);
  const auto frames = random.values<Kiv32s>(5 * 33, 0, 1000000);
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv16s> filtered(80);
    std::vector<Kiv32s> integers(17 + 33);
    std::vector<Kiv64s> state(200);
    auto* const mcra = reinterpret_cast<KivsMCRAState_32s*>(state.data());
    kivsResidualFilter_Aurora_16s_Sfs(samples.data(), filtered.data(), taps.data(), 13);
    kivsSmoothedPowerSpectrumAurora_32s_Sfs(spectrum.data(), integers.data(), 64, 9);
    kivsAltInitMCRA_32s(8000, 64, 32, mcra);
    for (int f = 0; f < 5; ++f) kivsUpdateNoisePSDMCRA_32s_I(frames.data() + 33 * f, mcra, integers.data() + 17);
    integers.insert(integers.end(), filtered.begin(), filtered.end());
    std::vector<Kiv32s> noise(64);
    kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(frames.data(), frames.data() + 64, noise.data(), 64, 0);
    integers.insert(integers.end(), noise.begin(), noise.end());
    return integers;
  });
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

}  // namespace
}  // namespace kivsr::test
