// The band split against the convolution with its taps in wide arithmetic, and its response.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr int kTaps = 118;

// The first half of the low band's taps, in units of 2^-23; the second one mirrors it.
constexpr int kHalf[kTaps / 2] = {1584,   805,     -4192,   -8985,  -5987,  2583,    4657,    -3035,   -7004,  1542,
                                  8969,   567,     -10924,  -3757,  12320,  7951,    -12793,  -13048,  11923,  18793,
                                  -9331,  -24802,  4694,    30570,  2233,   -35439,  -11526,  38680,   23114,  -39474,
                                  -36701, 36999,   51797,   -30419, -67658, 18962,   83318,   -1927,   -97566, -21284,
                                  108971, 51215,   -115837, -88430, 116130, 133716,  -107253, -188497, 85497,  255795,
                                  -44643, -342699, -28185,  468096, 167799, -696809, -519818, 1446093, 3562497};

int low_tap(int k) { return kHalf[k < kTaps / 2 ? k : kTaps - 1 - k]; }
// The mirror image about 4 kHz, read backwards.
int high_tap(int k) { return low_tap(kTaps - 1 - k) * ((kTaps - 1 - k) % 2 == 0 ? 1 : -1); }

// Outputs in units of 2^-23 and, for 32f, the sums of magnitudes.
struct Outputs {
  std::vector<long double> low, high, magnitude;
};
template <class T>
Outputs convolved(const std::vector<T>& x, int len) {
  Outputs result;
  for (int n = 0; n < len; ++n) {
    long double low = 0, high = 0, magnitude = 0;
    for (int k = 0; k < kTaps; ++k) {
      const long double sample = x[static_cast<std::size_t>(2 * n + k)];
      low += low_tap(k) * sample;
      high += high_tap(k) * sample;
      magnitude += std::abs(low_tap(k)) * std::fabs(sample);
    }
    result.low.push_back(low);
    result.high.push_back(n % 2 == 0 ? high : -high);
    result.magnitude.push_back(magnitude);
  }
  return result;
}

const std::vector<int> kLengths = {2, 4, 6, 8, 14, 16, 30, 34, 62, 78, 80, 82, 160, 162, 334};

TEST(BandSplit, IsTheConvolution) {
  Random random;
  for (const int len : kLengths) {
    const auto n = static_cast<std::size_t>(len);
    for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
      const auto x = random.values<float>(2 * n + 116, -32768, 32767);
      const Outputs truth = convolved(x, len);
      const Guarded<float> source(x, guard);
      Guarded<float> low(n, guard), high(n, guard);
      ASSERT_EQ(kivsLowHighFilter_Aurora_32f(source.data(), low.data(), high.data(), len), kivStatusOk);
      for (std::size_t i = 0; i < n; ++i) {
        const auto unit = static_cast<double>(0x1p-23L * truth.magnitude[i]);
        EXPECT_TRUE(within_reduction<float>(low[i], static_cast<double>(0x1p-23L * truth.low[i]), unit, kTaps));
        EXPECT_TRUE(within_reduction<float>(high[i], static_cast<double>(0x1p-23L * truth.high[i]), unit, kTaps));
      }
    }
  }
}

Kiv16s scaled(long double sum, int scale_factor) {
  const long double y = std::nearbyint(std::ldexp(sum, -23 - std::min(std::max(scale_factor, -2000), 2000)));
  return static_cast<Kiv16s>(std::fmin(32767.0L, std::fmax(-32768.0L, y)));
}

TEST(BandSplit, WordsAreExact) {
  Random random;
  for (const int len : kLengths) {
    const auto n = static_cast<std::size_t>(len);
    for (const int scale_factor :
         {-3, 0, 1, 4, 15, -40, 40, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
      const int regime = random.integer(0, 2);
      std::vector<Kiv16s> x(2 * n + 116);
      for (Kiv16s& v : x) v = random.extreme<Kiv16s>(regime);
      const Outputs truth = convolved(x, len);
      const Guarded<Kiv16s> source(x);
      Guarded<Kiv16s> low(n), high(n);
      ASSERT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(source.data(), low.data(), high.data(), len, scale_factor), 0);
      for (std::size_t i = 0; i < n; ++i) {
        EXPECT_EQ(low[i], scaled(truth.low[i], scale_factor)) << i << " of " << len << ", " << scale_factor;
        EXPECT_EQ(high[i], scaled(truth.high[i], scale_factor)) << i << " of " << len << ", " << scale_factor;
      }
    }
  }
  // Every sign as its tap's: sums that leave 32 bits and the range of the result.
  std::vector<Kiv16s> worst(120);
  for (int k = 0; k < kTaps; ++k) worst[static_cast<std::size_t>(k)] = low_tap(k) > 0 ? 32767 : -32768;
  Kiv16s low[2], high[2];
  ASSERT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(worst.data(), low, high, 2, 0), kivStatusOk);
  EXPECT_EQ(low[0], 32767);
  ASSERT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(worst.data(), low, high, 2, 2), kivStatusOk);
  EXPECT_EQ(low[0], scaled(convolved(worst, 2).low[0], 2));
}

TEST(BandSplit, WordsDoNotDependOnTheRoundingMode) {
  Random random;
  const auto x = random.values<Kiv16s>(276, -32768, 32767);
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv16s> y(160);
    EXPECT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(x.data(), y.data(), y.data() + 80, 80, 0), kivStatusOk);
    return y;
  });
  for (const auto& result : results) expect_exact(result, results[0]);
}

// A tone's level behind the split: dB of the low band, and of the high one at its moved frequency.
TEST(BandSplit, ResponseOfBothBands) {
  constexpr int kOutputs = 800;
  const auto level = [&](double hertz, bool high_band) {
    std::vector<float> x(2 * kOutputs + 116), low(kOutputs), high(kOutputs);
    for (std::size_t i = 0; i < x.size(); ++i) {
      x[i] = static_cast<float>(1000 * std::cos(2 * M_PI * hertz / 16000 * static_cast<double>(i)));
    }
    EXPECT_EQ(kivsLowHighFilter_Aurora_32f(x.data(), low.data(), high.data(), kOutputs), kivStatusOk);
    const auto& band = high_band ? high : low;
    const double moved = high_band ? hertz - 4000 : hertz;
    std::complex<double> sum = 0;
    for (int n = 0; n < kOutputs; ++n)
      sum += double{band[static_cast<std::size_t>(n)]} * std::polar(1.0, -2 * M_PI * moved / 8000 * n);
    return 20 * std::log10(2 * std::abs(sum) / kOutputs / 1000 + 1e-9);
  };
  for (const double hertz : {200.0, 1000.0, 2500.0, 3400.0}) {
    EXPECT_NEAR(level(hertz, false), 0, 0.04) << hertz;
    EXPECT_NEAR(level(8000 - hertz, true), 0, 0.04) << 8000 - hertz;
    EXPECT_LT(level(hertz, true), -75) << hertz;
    EXPECT_LT(level(8000 - hertz, false), -75) << 8000 - hertz;
  }
  EXPECT_NEAR(level(3700, false), -4.9, 0.1);
  EXPECT_NEAR(level(4300, true), -4.9, 0.1);
}

TEST(BandSplit, SpecialValuesStayWithinTheirTaps) {
  std::vector<float> x(2 * 160 + 116, 1.0F), low(160), high(160);
  x[200] = std::numeric_limits<float>::quiet_NaN();
  ASSERT_EQ(kivsLowHighFilter_Aurora_32f(x.data(), low.data(), high.data(), 160), kivStatusOk);
  for (int n = 0; n < 160; ++n) {
    const bool touched = 2 * n <= 200 && 200 < 2 * n + kTaps;
    EXPECT_EQ(std::isnan(low[static_cast<std::size_t>(n)]), touched) << n;
    EXPECT_EQ(std::isnan(high[static_cast<std::size_t>(n)]), touched) << n;
  }
}

TEST(BandSplit, ChecksInOrder) {
  float x[120] = {}, low[2], high[2];
  Kiv16s y[120] = {}, low16[2], high16[2];
  EXPECT_EQ(kivsLowHighFilter_Aurora_32f(nullptr, low, high, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLowHighFilter_Aurora_32f(x, nullptr, high, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLowHighFilter_Aurora_32f(x, low, nullptr, 0), kivStatusNullPointer);
  for (const int len : {0, -2, 1, 3}) {
    EXPECT_EQ(kivsLowHighFilter_Aurora_32f(x, low, high, len), kivStatusBadSize);
    EXPECT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(y, low16, high16, len, 99), kivStatusBadSize);
  }
  EXPECT_EQ(kivsLowHighFilter_Aurora_16s_Sfs(y, low16, nullptr, 1, 0), kivStatusNullPointer);
}

}  // namespace
}  // namespace kivsr::test
