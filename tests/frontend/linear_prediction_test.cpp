// Linear prediction: sums, recursions and conversions against solutions in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <utility>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

// A resonant signal: white noise through two poles.
std::vector<Kiv32f> voice(int n, unsigned seed = 3) {
  Random random(seed);
  std::vector<Kiv32f> x(static_cast<std::size_t>(n));
  double y1 = 0;
  double y2 = 0;
  for (Kiv32f& sample : x) {
    const double y = random.normal() + 1.2 * y1 - 0.7 * y2;
    y2 = y1;
    y1 = y;
    sample = static_cast<Kiv32f>(y);
  }
  return x;
}

// The sum of a lag and the sum of its magnitudes.
std::pair<double, double> lag_sum(const std::vector<Kiv32f>& x, std::size_t lag) {
  double sum = 0;
  double magnitudes = 0;
  for (std::size_t i = 0; i + lag < x.size(); ++i) {
    const double product = static_cast<double>(x[i]) * static_cast<double>(x[i + lag]);
    sum += product;
    magnitudes += std::abs(product);
  }
  return {sum, magnitudes};
}

std::vector<Kiv32f> autocorrelation(const std::vector<Kiv32f>& x, int order) {
  std::vector<Kiv32f> r(static_cast<std::size_t>(order) + 1);
  EXPECT_EQ(kivsAutoCorr_32f(x.data(), static_cast<int>(x.size()), r.data(), order + 1), kivStatusOk);
  return r;
}

// The normal equations sum_j r|i-j| a_j = -r_i by elimination in double precision.
std::vector<double> normal_equations(const std::vector<Kiv32f>& r) {
  const std::size_t p = r.size() - 1;
  std::vector<std::vector<double>> m(p, std::vector<double>(p + 1));
  for (std::size_t i = 0; i < p; ++i) {
    for (std::size_t j = 0; j < p; ++j) m[i][j] = static_cast<double>(r[i > j ? i - j : j - i]);
    m[i][p] = -static_cast<double>(r[i + 1]);
  }
  for (std::size_t k = 0; k < p; ++k) {
    for (std::size_t i = k + 1; i < p; ++i) {
      const double f = m[i][k] / m[k][k];
      for (std::size_t j = k; j <= p; ++j) m[i][j] -= f * m[k][j];
    }
  }
  std::vector<double> a(p);
  for (std::size_t i = p; i-- > 0;) {
    double rest = m[i][p];
    for (std::size_t j = i + 1; j < p; ++j) rest -= m[i][j] * a[j];
    a[i] = rest / m[i][i];
  }
  return a;
}

TEST(AutoCorrelation, SumsEveryLagAndFillsTheOthersWithZero) {
  for (int n : test_lengths()) {
    if (n >= 856) continue;  // through the FFT
    const auto x = voice(n);
    const Guarded<Kiv32f> src(x);
    for (int lags : {1, 2, 3, 4, 5, 17, n, n + 3, 400}) {
      Guarded<Kiv32f> dst(static_cast<std::size_t>(lags));
      ASSERT_EQ(kivsAutoCorr_32f(src.data(), n, dst.data(), lags), kivStatusOk);
      for (std::size_t k = 0; k < dst.size(); ++k) {
        const auto [sum, magnitudes] = lag_sum(x, k);
        ASSERT_TRUE(within_reduction<Kiv32f>(dst[k], sum, magnitudes, x.size())) << n << " " << lags << " lag " << k;
        if (k >= x.size()) {
          ASSERT_EQ(dst[k], 0.0F);
        }
      }
    }
  }
}

TEST(AutoCorrelation, OfALagDoesNotDependOnTheOthersOrOnAlignment) {
  const auto x = voice(333);
  const auto all = autocorrelation(x, 40);
  std::vector<Kiv32f> moved(x.size() + 1);
  std::copy(x.begin(), x.end(), moved.begin() + 1);
  for (std::size_t lags = 1; lags < all.size(); ++lags) {
    std::vector<Kiv32f> r(lags);
    ASSERT_EQ(kivsAutoCorr_32f(moved.data() + 1, 333, r.data(), static_cast<int>(lags)), kivStatusOk);
    expect_exact<Kiv32f>(r, std::vector<Kiv32f>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(lags)));
  }
}

TEST(AutoCorrelation, ThroughTheFftAgreesWithTheSums) {
  for (const auto& [n, lags] : {std::pair(856, 856), std::pair(1000, 1500), std::pair(2048, 1024)}) {
    const auto x = voice(n);
    const Guarded<Kiv32f> src(x);
    Guarded<Kiv32f> dst(static_cast<std::size_t>(lags));
    ASSERT_EQ(kivsAutoCorr_32f(src.data(), n, dst.data(), lags), kivStatusOk);
    const double energy = lag_sum(x, 0).first;
    for (std::size_t k = 0; k < dst.size(); ++k) {
      ASSERT_NEAR(dst[k], lag_sum(x, k).first, 1e-6 * energy) << n << " lag " << k;
      if (k >= x.size()) {
        ASSERT_EQ(dst[k], 0.0F);
      }
    }
  }
}

TEST(AutoCorrelation, ChecksInOrder) {
  Kiv32f x[2] = {1, 2};
  Kiv32f r[2] = {7, 7};
  EXPECT_EQ(kivsAutoCorr_32f(nullptr, 0, r, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsAutoCorr_32f(x, 0, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsAutoCorr_32f(x, 0, r, 2), kivStatusBadSize);
  EXPECT_EQ(kivsAutoCorr_32f(x, 2, r, -1), kivStatusBadSize);
  EXPECT_EQ(r[0], 7.0F);
}

TEST(Recursions, SolveTheNormalEquations) {
  for (int order : {1, 2, 3, 4, 8, 9, 10, 12, 13, 16, 40, 63, 64, 100}) {
    const auto x = voice(4000);
    const auto r = autocorrelation(x, order);
    const auto p = static_cast<std::size_t>(order);
    const Guarded<Kiv32f> lags(r);
    Guarded<Kiv32f> a(p);
    Guarded<Kiv32f> k(p);
    Kiv32f error = 0;
    Kiv32f schur_error = 0;
    ASSERT_EQ(kivsDurbin_32f(lags.data(), a.data(), order, &error), kivStatusOk);
    ASSERT_EQ(kivsSchur_32f(lags.data(), k.data(), order, &schur_error), kivStatusOk);
    const auto solution = normal_equations(r);
    double true_error = static_cast<double>(r[0]);
    for (std::size_t i = 0; i < p; ++i) {
      EXPECT_NEAR(a[i], solution[i], 2e-5) << order << " " << i;
      true_error += solution[i] * static_cast<double>(r[i + 1]);
    }
    EXPECT_TRUE(within_relative(error, true_error, 1e-5)) << order;
    EXPECT_TRUE(within_relative(schur_error, true_error, 1e-4)) << order;
    // The step-down recursion gives the reflection coefficients of Schur with the opposite sign.
    Guarded<Kiv32f> reflection(p);
    ASSERT_EQ(kivsLPToReflection_32f(a.data(), reflection.data(), order), kivStatusOk);
    for (std::size_t i = 0; i < p; ++i) EXPECT_NEAR(reflection[i], -k[i], 5e-5) << order << " " << i;
  }
}

TEST(Recursions, OfTheFirstOrderGiveTheirSigns) {
  const Kiv32f r[] = {1, 0.5F};
  Kiv32f a, k, reflection, error;
  ASSERT_EQ(kivsDurbin_32f(r, &a, 1, &error), kivStatusOk);
  EXPECT_EQ(a, -0.5F);
  EXPECT_EQ(error, 0.75F);
  ASSERT_EQ(kivsSchur_32f(r, &k, 1, &error), kivStatusOk);
  EXPECT_EQ(k, -0.5F);
  EXPECT_EQ(error, 0.75F);
  ASSERT_EQ(kivsLPToReflection_32f(&a, &reflection, 1), kivStatusOk);
  EXPECT_EQ(reflection, 0.5F);
}

TEST(Recursions, StopAtAnErrorThatIsNotPositive) {
  const Kiv32f nan = std::numeric_limits<Kiv32f>::quiet_NaN();
  Kiv32f a[3] = {7, 7, 7};
  Kiv32f error = 9;
  for (const Kiv32f r0 : {0.0F, -1.0F, nan}) {
    const Kiv32f r[4] = {r0, 0.1F, 0.1F, 0.1F};
    EXPECT_EQ(kivsDurbin_32f(r, a, 3, &error), kivStatusNonPositiveError);
  }
  EXPECT_EQ(a[0], 7.0F);
  // A perfectly predictable sequence: the first stage leaves no error.
  const Kiv32f constant[4] = {1, 1, 1, 1};
  EXPECT_EQ(kivsDurbin_32f(constant, a, 3, &error), kivStatusNonPositiveError);
  EXPECT_EQ(error, 9.0F);
  Kiv32f k[3];
  EXPECT_EQ(kivsSchur_32f(constant, k, 3, &error), kivStatusOk);
  EXPECT_EQ(k[0], -1.0F);
  const Kiv32f silence[4] = {};
  EXPECT_EQ(kivsSchur_32f(silence, k, 3, &error), kivStatusOk);
}

TEST(Recursions, CheckInOrder) {
  for (const auto recursion : {kivsDurbin_32f, kivsSchur_32f}) {
    const Kiv32f r[2] = {1, 0.5F};
    Kiv32f out[2] = {7, 7};
    EXPECT_EQ(recursion(nullptr, out, 0, nullptr), kivStatusNullPointer);
    EXPECT_EQ(recursion(r, nullptr, 0, nullptr), kivStatusNullPointer);
    EXPECT_EQ(recursion(r, out, 0, nullptr), kivStatusBadSize);
    EXPECT_EQ(recursion(r, out, 1, nullptr), kivStatusNullPointer);
    EXPECT_EQ(out[0], 7.0F);
  }
}

TEST(Analysis, ChainsAutocorrelationAndRecursion) {
  for (int order : {1, 10, 62, 63, 64, 200}) {
    for (int n : {order, order + 1, 400}) {
      if (n < order) continue;
      const auto x = voice(n);
      const Guarded<Kiv32f> src(x);
      const auto p = static_cast<std::size_t>(order);
      std::vector<Kiv32f> expected(p, 0.0F);
      Kiv32f error;
      const auto r = autocorrelation(x, order);
      const KivStatus status = kivsDurbin_32f(r.data(), expected.data(), order, &error);
      Guarded<Kiv32f> a(p);
      Guarded<Kiv32f> negated(p);
      std::fill(a.begin(), a.end(), 0.0F);
      std::fill(negated.begin(), negated.end(), 0.0F);
      EXPECT_EQ(kivsLinearPrediction_Auto_32f(src.data(), n, a.data(), order), status);
      EXPECT_EQ(kivsLinearPredictionNeg_Auto_32f(src.data(), n, negated.data(), order), status);
      expect_exact<Kiv32f>(a, expected);
      for (Kiv32f& c : expected) c = 0.0F - c;
      expect_exact<Kiv32f>(negated, expected);
    }
  }
}

TEST(Analysis, OfSilenceNegatesWhatItFinds) {
  const std::vector<Kiv32f> silence(20);
  Kiv32f a[3] = {1, -2, 0};
  EXPECT_EQ(kivsLinearPrediction_Auto_32f(silence.data(), 20, a, 3), kivStatusNonPositiveError);
  EXPECT_EQ(a[0], 1.0F);
  EXPECT_EQ(kivsLinearPredictionNeg_Auto_32f(silence.data(), 20, a, 3), kivStatusNonPositiveError);
  EXPECT_EQ(a[0], -1.0F);
  EXPECT_EQ(a[1], 2.0F);
  EXPECT_FALSE(std::signbit(a[2]));
}

TEST(Analysis, ChecksInOrder) {
  for (const auto analyse : {kivsLinearPrediction_Auto_32f, kivsLinearPredictionNeg_Auto_32f}) {
    const Kiv32f x[3] = {1, 2, 3};
    Kiv32f a[4] = {7, 7, 7, 7};
    EXPECT_EQ(analyse(nullptr, 0, a, 0), kivStatusNullPointer);
    EXPECT_EQ(analyse(x, 0, nullptr, 0), kivStatusNullPointer);
    EXPECT_EQ(analyse(x, 0, a, 1), kivStatusBadSize);
    EXPECT_EQ(analyse(x, 3, a, 0), kivStatusBadSize);
    EXPECT_EQ(analyse(x, 3, a, 4), kivStatusBadSize);
    EXPECT_EQ(a[0], 7.0F);
    EXPECT_EQ(analyse(x, 1, a, 1), kivStatusOk);
  }
}

TEST(StepDown, StopsAtAUnitReflection) {
  const Kiv32f nan = std::numeric_limits<Kiv32f>::quiet_NaN();
  Kiv32f k[3];
  for (const Kiv32f last : {1.0F, -1.0F, nan}) {
    const Kiv32f a[3] = {0.5F, 0.25F, last};
    EXPECT_EQ(kivsLPToReflection_32f(a, k, 3), kivStatusUnitReflection);
  }
  // a = (1.5, 0.5) steps down to a1 = 1: the coefficient of the second stage is stored already.
  const Kiv32f a[2] = {1.5F, 0.5F};
  EXPECT_EQ(kivsLPToReflection_32f(a, k, 2), kivStatusUnitReflection);
  EXPECT_EQ(k[1], -0.5F);
  const Kiv32f large[1] = {-3};
  EXPECT_EQ(kivsLPToReflection_32f(large, k, 1), kivStatusOk);
  EXPECT_EQ(k[0], 3.0F);
  EXPECT_EQ(kivsLPToReflection_32f(nullptr, k, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLPToReflection_32f(a, nullptr, 1), kivStatusNullPointer);
  EXPECT_EQ(kivsLPToReflection_32f(a, k, 0), kivStatusBadSize);
}

TEST(Cepstrum, IsThatOfTheLogarithmOfTheSpectrum) {
  constexpr int kPoints = 8192;
  for (int len : {1, 2, 3, 4, 5, 16, 21, 22, 30}) {
    const auto r = autocorrelation(voice(4000), len);
    const auto p = static_cast<std::size_t>(len);
    std::vector<Kiv32f> a(p);
    Kiv32f error;
    ASSERT_EQ(kivsDurbin_32f(r.data(), a.data(), len, &error), kivStatusOk);
    const Guarded<Kiv32f> lpc(a);
    Guarded<Kiv32f> cepstrum(p);
    ASSERT_EQ(kivsLPToCepstrum_32f(lpc.data(), cepstrum.data(), len), kivStatusOk);
    std::vector<double> expected(p);
    for (int w = 0; w < kPoints; ++w) {
      const double omega = 2 * M_PI * w / kPoints;
      std::complex<double> filter = 1;
      for (int j = 0; j < len; ++j)
        filter += static_cast<double>(a[static_cast<std::size_t>(j)]) * std::polar(1.0, -omega * (j + 1));
      for (int n = 0; n < len; ++n) {
        expected[static_cast<std::size_t>(n)] -= 2.0 / kPoints * std::log(std::abs(filter)) * std::cos(omega * (n + 1));
      }
    }
    for (std::size_t n = 0; n < p; ++n) EXPECT_NEAR(cepstrum[n], expected[n], 2e-6) << len << " " << n;
  }
  Kiv32f c[1];
  const Kiv32f zero = 0;
  EXPECT_EQ(kivsLPToCepstrum_32f(nullptr, c, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLPToCepstrum_32f(&zero, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLPToCepstrum_32f(&zero, c, 0), kivStatusBadSize);
  EXPECT_EQ(kivsLPToCepstrum_32f(&zero, c, 1), kivStatusOk);
  EXPECT_FALSE(std::signbit(c[0]));
}

TEST(Cepstrum, MultipliesByTheReciprocalInCommonLengthsOnly) {
  int differences = 0;
  Random random(5);
  for (int trial = 0; trial < 200; ++trial) {
    std::vector<Kiv32f> a = random.values<Kiv32f>(22, -0.5, 0.5);
    std::vector<Kiv32f> c3(3);
    std::vector<Kiv32f> c21(21);
    std::vector<Kiv32f> c22(22);
    ASSERT_EQ(kivsLPToCepstrum_32f(a.data(), c3.data(), 3), kivStatusOk);
    ASSERT_EQ(kivsLPToCepstrum_32f(a.data(), c21.data(), 21), kivStatusOk);
    ASSERT_EQ(kivsLPToCepstrum_32f(a.data(), c22.data(), 22), kivStatusOk);
    EXPECT_EQ(c3[2], c22[2]);
    EXPECT_TRUE(within_relative(c21[2], c22[2], 1e-5));
    differences += c21[2] != c22[2] ? 1 : 0;
  }
  EXPECT_GT(differences, 0);
}

TEST(LinearPrediction, SurvivesFailedAllocations) {
  const auto x = voice(3000);
  const auto r = autocorrelation(x, 1100);
  std::vector<Kiv32f> out(2000, 7.0F);
  Kiv32f error;
  const auto untouched_unless_done = [&](KivStatus status) {
    EXPECT_TRUE(status != kivStatusNoMemory || out == std::vector<Kiv32f>(2000, 7.0F));
    out.assign(2000, 7.0F);
    return status;
  };
  const std::vector<Kiv32f> small(1100, 0.001F);
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsDurbin_32f(r.data(), out.data(), 64, &error)); });
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsSchur_32f(r.data(), out.data(), 1024, &error)); }, 2);
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsLPToReflection_32f(small.data(), out.data(), 16)); });
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsLinearPrediction_Auto_32f(x.data(), 3000, out.data(), 63)); });
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsLinearPredictionNeg_Auto_32f(x.data(), 3000, out.data(), 900)); }, 3);
  expect_survives_failed_allocations(
      [&] { return untouched_unless_done(kivsAutoCorr_32f(x.data(), 3000, out.data(), 1000)); });
  {
    const AllocationWatch watch;
    EXPECT_EQ(kivsAutoCorr_32f(x.data(), 3000, out.data(), 1000), kivStatusOk);
    EXPECT_EQ(AllocationWatch::calls(), 1) << "one block for the transform, its work area and the frame";
  }
  // Below those orders nothing is allocated.
  const AllocationWatch watch(1);
  EXPECT_EQ(kivsDurbin_32f(r.data(), out.data(), 63, &error), kivStatusOk);
  EXPECT_EQ(kivsSchur_32f(r.data(), out.data(), 1023, &error), kivStatusOk);
  EXPECT_EQ(kivsLPToReflection_32f(small.data(), out.data(), 15), kivStatusOk);
  EXPECT_EQ(kivsLinearPredictionNeg_Auto_32f(x.data(), 3000, out.data(), 62), kivStatusOk);
  EXPECT_EQ(kivsAutoCorr_32f(x.data(), 3000, out.data(), 855), kivStatusOk);
  EXPECT_EQ(AllocationWatch::calls(), 0);
}

}  // namespace
}  // namespace kivsr::test
