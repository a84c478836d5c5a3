// The small transforms that the passes of the FFT are made of.
#include "vector/fft_butterfly.h"

#include <gtest/gtest.h>

#include <complex>
#include <numbers>

#include "support/random.h"

namespace kivsr::test {
namespace {

using One = simd::Single<double>;

template <int R, bool kInverse>
void check_butterfly() {
  Random random(R);
  fft::Complex<One> c[R];
  std::complex<double> points[R];
  for (int k = 0; k < R; ++k) {
    points[k] = {random.uniform(-1, 1), random.uniform(-1, 1)};
    c[k] = {{points[k].real()}, {points[k].imag()}};
  }
  fft::butterfly<kInverse>(c);
  for (int p = 0; p < R; ++p) {
    std::complex<double> sum;
    for (int k = 0; k < R; ++k) {
      sum += points[k] * std::polar(1.0, (kInverse ? 2 : -2) * std::numbers::pi * (k * p) / R);
    }
    EXPECT_NEAR(c[p].re.raw, sum.real(), 1e-14) << "radix " << R << ", point " << p;
    EXPECT_NEAR(c[p].im.raw, sum.imag(), 1e-14) << "radix " << R << ", point " << p;
  }
}

TEST(FftButterfly, IsTheTransformOfItsPoints) {
  check_butterfly<2, false>();
  check_butterfly<2, true>();
  check_butterfly<4, false>();
  check_butterfly<4, true>();
  check_butterfly<8, false>();
  check_butterfly<8, true>();
}

TEST(FftButterfly, RotatesByAFactorOrItsConjugate) {
  const fft::Complex<One> z = {{3}, {-2}};
  const fft::Complex<One> t = {{5}, {7}};
  const auto by_factor = fft::rotated<false>(z, t);
  EXPECT_EQ(by_factor.re.raw, 29);
  EXPECT_EQ(by_factor.im.raw, 11);
  const auto by_conjugate = fft::rotated<true>(z, t);
  EXPECT_EQ(by_conjugate.re.raw, 1);
  EXPECT_EQ(by_conjugate.im.raw, -31);
}

}  // namespace
}  // namespace kivsr::test
