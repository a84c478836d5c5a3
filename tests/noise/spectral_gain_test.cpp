// Spectral gains against their curves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

TEST(WienerGain, ComputesFromClampedRatios) {
  for (const int len : test_lengths()) {
    Random random(static_cast<unsigned>(len));
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<float> snr(random.values<float>(n, 0, 50)), gain(n);
    Guarded<Kiv32s> snr32(random.values<Kiv32s>(n, 0, 2147483647)), gain32(n);
    ASSERT_EQ(kivsFilterUpdateWiener_32f(snr.data(), gain.data(), len), kivStatusOk);
    ASSERT_EQ(kivsFilterUpdateWiener_32s(snr32.data(), gain32.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(gain[i], snr[i] / (snr[i] + 1));
      // To nearest: the gain times its divisor is within half a divisor of the dividend; 1 is the largest integer.
      const Kiv64s divisor = Kiv64s{snr32[i]} + 32768;
      const Kiv64s rest = (Kiv64s{snr32[i]} << 31) - gain32[i] * divisor;
      EXPECT_LE(std::abs(2 * rest), divisor + (gain32[i] == 2147483647 ? divisor : 0)) << snr32[i];
    }
    const std::size_t last = n - 1;
    snr[last] = -1e-30F;
    snr32[last] = -2;
    ASSERT_EQ(kivsFilterUpdateWiener_32f(snr.data(), gain.data(), len), kivStatusBadArgument);
    ASSERT_EQ(kivsFilterUpdateWiener_32s(snr32.data(), gain32.data(), len), kivStatusBadArgument);
    EXPECT_EQ(gain[last], 0);
    EXPECT_EQ(gain32[last], 0);
  }
  float x = 1;
  EXPECT_EQ(kivsFilterUpdateWiener_32f(nullptr, &x, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsFilterUpdateWiener_32f(&x, &x, 0), kivStatusBadLength);
  EXPECT_EQ(kivsFilterUpdateWiener_32f(&x, &x, 65536), kivStatusBadLength);
}

// The factor of the minimum mean-square error amplitude estimator, by the Bessel functions of the library.
double amplitude_factor(double v) {
  const double z = v / 2;
  const double i0 = std::cyl_bessel_i(0, z), i1 = std::cyl_bessel_i(1, z);
  return std::sqrt(M_PI / v) / 2 * std::exp(-z) * ((1 + v) * i0 + v * i1);
}

TEST(AmplitudeGain, FollowsItsCurve) {
  const auto gain_at = [](float v) {
    const float one = 1;
    float result;
    EXPECT_EQ(kivsFilterUpdateEMNS_32f(&one, &v, &result, 1), kivStatusOk);
    return result;
  };
  double worst_direct = 0, worst = 0;
  float before = 3e38F;
  for (double v = 131.5 / 4194304; v < 100; v *= 1.003) {
    const float gain = gain_at(static_cast<float>(v));
    const double deviation = std::abs(gain / amplitude_factor(std::trunc(v * 4194304) / 4194304) - 1);
    (v * 4194304 < 129 ? worst_direct : worst) = std::max(v * 4194304 < 129 ? worst_direct : worst, deviation);
    EXPECT_LT(gain, before * 1.015) << v;  // falls, but for the seams of the octaves
    before = gain;
  }
  EXPECT_LT(worst, 0.0062);
  // Entries of the direct table, reached with a small prior.
  const float small = 1.0F / 256;
  for (const auto& [q, entry] : {std::pair{1, 1815.0F}, {2, 1283.0F}, {3, 1048.0F}, {128, 160.0F}}) {
    const float snr = (static_cast<float>(q) + 0.25F) * 256 / 4194304;
    float gain;
    ASSERT_EQ(kivsFilterUpdateEMNS_32f(&small, &snr, &gain, 1), kivStatusOk);
    EXPECT_EQ(gain, entry / 256) << q;
  }
  EXPECT_NEAR(gain_at(128.5F / 4194304) / gain_at(129.5F / 4194304), 1, 0.01);  // the switch
  EXPECT_EQ(gain_at(1000), gain_at(100));
  EXPECT_EQ(gain_at(0), gain_at(0.000031F));
  EXPECT_EQ(gain_at(std::nanf("")), gain_at(0));
}

// Ratios and priors of few digits give both forms the same q, and so the same factor: what differs is the rounding of
// the product.
TEST(AmplitudeGain, BothFormsAgreeAtEveryLength) {
  Random random;
  for (const int len : test_lengths()) {
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<Kiv32s> prior32(n), snr32(n), gain32(n);
    Guarded<float> prior(n), snr(n), gain(n);
    for (std::size_t i = 0; i < n; ++i) {
      prior32[i] = random.integer(1, 2047) << (20 - (random.integer(0, 3) == 0 ? random.integer(0, 14) : 0));
      snr32[i] = random.integer(0, 4095) << random.integer(0, 10);
      prior[i] = static_cast<float>(prior32[i] / 2147483648.0);
      snr[i] = static_cast<float>(std::max(snr32[i], 2) / 32768.0);
      snr32[i] = std::max(snr32[i], 2);
    }
    ASSERT_EQ(kivsFilterUpdateEMNS_32f(prior.data(), snr.data(), gain.data(), len), kivStatusOk);
    ASSERT_EQ(kivsFilterUpdateEMNS_32s(prior32.data(), snr32.data(), gain32.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      float alone;
      ASSERT_EQ(kivsFilterUpdateEMNS_32f(&prior[i], &snr[i], &alone, 1), kivStatusOk);
      ASSERT_EQ(gain[i], alone) << i << " of " << n;
      const double expected = std::min(gain[i] * 2147483648.0, 2147483647.0);
      ASSERT_NEAR(gain32[i], expected, 1 + expected / (1 << 22)) << prior[i] << " " << snr[i];
    }
  }
}

TEST(AmplitudeGain, ChecksAndEdges) {
  const float priors[] = {0, 1, 2}, snr[] = {0, 1, 1};
  float gain[] = {7, 7, 7};
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 2), kivStatusOk);
  EXPECT_EQ(gain[0], 0);
  const float tiny = 1e-5F;
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(&tiny, snr, gain, 1), kivStatusOk);
  EXPECT_EQ(gain[0], tiny * 2147483648.0F);  // q = 0: the table's first entry
  gain[0] = 7;
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 3), kivStatusOutOfRange);
  const float nan = std::nanf("");
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(&nan, snr, gain, 1), kivStatusOutOfRange);
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 65536), kivStatusBadLength);
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, nullptr, gain, 0), kivStatusNullPointer);
  EXPECT_EQ(gain[0], 7);
  const Kiv32s negative = -1, ratio = 1;
  Kiv32s gain32 = 7;
  EXPECT_EQ(kivsFilterUpdateEMNS_32s(&negative, &ratio, &gain32, 1), kivStatusOutOfRange);
  EXPECT_EQ(gain32, 7);
}

}  // namespace
}  // namespace kivsr::test
