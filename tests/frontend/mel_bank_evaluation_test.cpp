// Float and 16-bit mel filter banks: band energies of a frame.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "frontend/mel_bank_api.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/columns.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

// An empty bank over random centres (equal ones among them) and weights.
template <class A>
struct RandomBank {
  typename A::Bank* bank = nullptr;
  int fft_length;
  std::vector<Kiv32s> c;
  std::vector<std::vector<float>> weights;

  RandomBank(Random& random, int length, int filters, Kiv32s mode = 2) : fft_length(length) {
    int order = 0;
    EXPECT_EQ(A::empty(&bank, &order, length, filters, mode), kivStatusOk);
    for (int i = 0; i < filters + 2; ++i) c.push_back(random.integer(0, length / 2));
    std::sort(c.begin(), c.end());
    EXPECT_EQ(A::set_centres(bank, c.data()), kivStatusOk);
    for (int i = 1; i <= filters; ++i) {
      const auto n =
          static_cast<std::size_t>(c[static_cast<std::size_t>(i) + 1] - c[static_cast<std::size_t>(i) - 1] + 1);
      auto values = random.values<float>(n, -2, 2);
      if (A::kFixed) {
        for (float& x : values) x = std::nearbyint(x * 16384) / 16384;
      }
      const Guarded<float> guarded(values);
      EXPECT_EQ(A::set_coeffs(bank, i, guarded.data()), kivStatusOk);
      weights.push_back(values);
    }
  }
  ~RandomBank() { A::free_bank(bank); }
};

TEST(MelBankEvaluation, FloatSumsCoverExactlyTheirBins) {
  Random random(11);
  for (int trial = 0; trial < 300; ++trial) {
    const int length = 2 << random.integer(0, 8);
    const int filters = random.integer(1, 30);
    const RandomBank<FloatBank> b(random, length, filters);
    const auto values = random.values<float>(static_cast<std::size_t>(length / 2 + 1), -10, 10);
    const Guarded<float> src(values);
    Guarded<float> dst(static_cast<std::size_t>(filters));
    ASSERT_EQ(kivsEvalFBank_32f(src.data(), dst.data(), b.bank), kivStatusOk);
    for (std::size_t i = 0; i < dst.size(); ++i) {
      double sum = 0;
      double magnitudes = 0;
      for (std::size_t k = 0; k < b.weights[i].size(); ++k) {
        const double product = static_cast<double>(b.weights[i][k]) * values[static_cast<std::size_t>(b.c[i]) + k];
        sum += product;
        magnitudes += std::abs(product);
      }
      ASSERT_TRUE(within_reduction<float>(dst[i], sum, magnitudes, b.weights[i].size()))
          << trial << " filter " << i + 1;
    }
    // The same from any alignment, and no bin outside of a filter reaches it.
    std::vector<float> poisoned(values.size() + 3);
    std::copy(values.begin(), values.end(), poisoned.begin() + 3);
    const int bad = random.integer(0, length / 2);
    poisoned[static_cast<std::size_t>(bad) + 3] = std::numeric_limits<float>::quiet_NaN();
    Guarded<float> again(dst.size());
    ASSERT_EQ(kivsEvalFBank_32f(poisoned.data() + 3, again.data(), b.bank), kivStatusOk);
    for (std::size_t i = 0; i < dst.size(); ++i) {
      const bool covers = bad >= b.c[i] && bad <= b.c[i + 2];
      ASSERT_TRUE(covers ? std::isnan(again[i]) : same_bits(again[i], dst[i])) << trial << " filter " << i + 1;
    }
  }
}

TEST(MelBankEvaluation, FloatSumsOfColumnsAreThoseOfEach) {
  Random random(13);
  for (int trial = 0; trial < 100; ++trial) {
    const int length = 2 << random.integer(0, 8);
    const int filters = random.integer(1, 30);
    const RandomBank<FloatBank> b(random, length, filters);
    std::vector<std::vector<float>> spectra;
    for (int c = random.integer(1, 19); c > 0; --c) {
      spectra.push_back(random.values<float>(static_cast<std::size_t>(length / 2 + 1), -10, 10));
    }
    const auto bands = results_side_by_side(
        spectra, static_cast<std::size_t>(filters),
        [&](const float* src, float* dst, int columns) { return kivsEvalFBankColumns_32f(src, dst, columns, b.bank); });
    for (std::size_t c = 0; c < spectra.size(); ++c) {
      std::vector<float> row(bands[c].size());
      ASSERT_EQ(kivsEvalFBank_32f(spectra[c].data(), row.data(), b.bank), kivStatusOk);
      for (std::size_t i = 0; i < row.size(); ++i) {
        double magnitudes = 0;
        for (std::size_t k = 0; k < b.weights[i].size(); ++k) magnitudes += std::abs(20 * b.weights[i][k]);
        ASSERT_TRUE(within_reduction<float>(bands[c][i], row[i], magnitudes, b.weights[i].size())) << trial << " " << i;
      }
    }
    // A NaN reaches the filters that cover its bin, in its own column.
    const int bad = random.integer(0, length / 2);
    spectra[0][static_cast<std::size_t>(bad)] = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> again(spectra.size() * bands[0].size());
    const std::vector<float> src = side_by_side(spectra);
    ASSERT_EQ(kivsEvalFBankColumns_32f(src.data(), again.data(), static_cast<int>(spectra.size()), b.bank),
              kivStatusOk);
    for (std::size_t i = 0; i < bands[0].size(); ++i) {
      const bool covers = bad >= b.c[i] && bad <= b.c[i + 2];
      const float actual = again[i * spectra.size()];
      ASSERT_TRUE(covers ? std::isnan(actual) : same_bits(actual, bands[0][i])) << trial << " filter " << i + 1;
    }
  }
}

TEST(MelBankEvaluation, StatusesOfColumns) {
  Random random(14);
  const RandomBank<FloatBank> b(random, 16, 3);
  const RandomBank<FloatBank> transforming(random, 16, 3, 2 | KIV_FBANK_FFTINPUT);
  KivsFBankState_32f* empty = nullptr;
  int order = 0;
  ASSERT_EQ(kivsEmptyFBankInitAlloc_32f(&empty, &order, 16, 3, 2), kivStatusOk);
  const std::vector<float> src(18, 1.0F);
  std::vector<float> dst(6, 7.0F);
  EXPECT_EQ(kivsEvalFBankColumns_32f(nullptr, dst.data(), 0, b.bank), kivStatusNullPointer);
  EXPECT_EQ(kivsEvalFBankColumns_32f(src.data(), nullptr, 0, b.bank), kivStatusNullPointer);
  EXPECT_EQ(kivsEvalFBankColumns_32f(src.data(), dst.data(), 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsEvalFBankColumns_32f(src.data(), dst.data(), 0, transforming.bank), kivStatusBadSize);
  EXPECT_EQ(kivsEvalFBankColumns_32f(src.data(), dst.data(), 2, transforming.bank), kivStatusBadMelMode);
  EXPECT_EQ(kivsEvalFBankColumns_32f(src.data(), dst.data(), 2, empty), kivStatusFBankNotReady);
  expect_exact(dst, std::vector<float>(6, 7.0F));
  EXPECT_EQ(kivsFBankFree_32f(empty), kivStatusOk);
}

// Rounded down and saturated; a long double holds every 64-bit sum.
template <class T>
T shifted(Kiv64s sum, double shift) {
  if (shift > 63) return 0;
  const long double value =
      std::floor(std::ldexp(static_cast<long double>(sum), static_cast<int>(std::min(-shift, 99.0))));
  return static_cast<T>(std::clamp<long double>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

TEST(MelBankEvaluation, FixedPointSumsAreExact) {
  Random random(12);
  for (int trial = 0; trial < 200; ++trial) {
    const int length = 2 << random.integer(0, 8);
    const int filters = random.integer(1, 12);
    const RandomBank<FixedBank> b(random, length, filters);
    const Guarded<Kiv16s> src(random.values<Kiv16s>(static_cast<std::size_t>(length / 2 + 1), -32768, 32767));
    Guarded<Kiv16s> words(static_cast<std::size_t>(filters));
    Guarded<Kiv32s> longs(static_cast<std::size_t>(filters));
    for (int scale_factor : {-2000000000, -70, -46, -45, -20, -14, -13, -3, 0, 1, 6, 30, 49, 50, 2147483647}) {
      ASSERT_EQ(kivsEvalFBank_16s_Sfs(src.data(), words.data(), b.bank, scale_factor), kivStatusOk);
      ASSERT_EQ(kivsEvalFBank_16s32s_Sfs(src.data(), longs.data(), b.bank, scale_factor), kivStatusOk);
      for (std::size_t i = 0; i < words.size(); ++i) {
        Kiv64s sum = 0;
        for (std::size_t k = 0; k < b.weights[i].size(); ++k) {
          sum += static_cast<Kiv64s>(b.weights[i][k] * 16384) * src[static_cast<std::size_t>(b.c[i]) + k];
        }
        ASSERT_EQ(words[i], shifted<Kiv16s>(sum, 14.0 + scale_factor)) << scale_factor;
        ASSERT_EQ(longs[i], shifted<Kiv32s>(sum, 14.0 + scale_factor)) << scale_factor;
      }
    }
  }
}

TEST(MelBankEvaluation, SamplesAreTransformedToMagnitudes) {
  Random random(13);
  for (int length : {2, 4, 8, 16, 32, 64, 256}) {
    const auto n = static_cast<std::size_t>(length);
    const auto samples = random.values<Kiv16s>(n, -900, 900);
    std::vector<double> magnitudes;
    for (std::size_t k = 0; k <= n / 2; ++k) {
      std::complex<double> z;
      for (std::size_t t = 0; t < n; ++t) {
        z += static_cast<double>(samples[t]) *
             std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(k * t % n) / static_cast<double>(n));
      }
      magnitudes.push_back(std::abs(z));
    }
    const auto truth = [&](const auto& b, std::size_t i) {
      double sum = 0;
      for (std::size_t k = 0; k < b.weights[i].size(); ++k) {
        sum += b.weights[i][k] * magnitudes[static_cast<std::size_t>(b.c[i]) + k];
      }
      return sum;
    };
    const RandomBank<FloatBank> floats(random, length, 3, 6);
    const Guarded<float> float_src(std::vector<float>(samples.begin(), samples.end()));
    Guarded<float> bands(3);
    ASSERT_EQ(kivsEvalFBank_32f(float_src.data(), bands.data(), floats.bank), kivStatusOk);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(bands[i], truth(floats, i), 0.002 * length);

    // Weights of few bits, so that no product wraps.
    const RandomBank<FixedBank> fixed(random, length, 3, 5);
    const Guarded<Kiv16s> word_src(samples);
    Guarded<Kiv32s> longs(3);
    for (std::size_t i = 0; i < 3; ++i) {
      auto weights = fixed.weights[i];
      for (float& x : weights) x = std::floor(x * 16) / 16384;
      const_cast<RandomBank<FixedBank>&>(fixed).weights[i] = weights;
      kivsFBankSetCoeffs_16s(fixed.bank, static_cast<int>(i) + 1, weights.data());
    }
    ASSERT_EQ(kivsEvalFBank_16s32s_Sfs(word_src.data(), longs.data(), fixed.bank, -10), kivStatusOk);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(longs[i], truth(fixed, i) * 1024, 2.0 + 0.5 * length);
  }
}

// A constant of 128 over 64 samples has the magnitude 64 * 128 * 2^6 in bin 0 and nothing else: times 1.0 (2^14) it
// wraps to nothing, times 1 + 2^-5 the part above 2^32 is lost.
TEST(MelBankEvaluation, ProductsOfMagnitudesWrap) {
  KivsFBankState_16s* bank = nullptr;
  int order = 0;
  ASSERT_EQ(kivsEmptyFBankInitAlloc_16s(&bank, &order, 64, 2, 4), kivStatusOk);
  const Kiv32s centres[] = {0, 0, 1, 2};
  const float one[] = {1.0F, 0.0F};
  const float more[] = {1.0F + 0x1p-13F, 0.0F, 0.0F};
  kivsFBankSetCenters_16s(bank, centres);
  kivsFBankSetCoeffs_16s(bank, 1, one);
  kivsFBankSetCoeffs_16s(bank, 2, more);
  const std::vector<Kiv16s> constant(64, 128);
  Kiv32s bands[2];
  ASSERT_EQ(kivsEvalFBank_16s32s_Sfs(constant.data(), bands, bank, -20), kivStatusOk);
  EXPECT_EQ(bands[0], 0);
  EXPECT_EQ(bands[1], 64 * 128 * 64 * 2);
  kivsFBankFree_16s(bank);
}

}  // namespace
}  // namespace kivsr::test
