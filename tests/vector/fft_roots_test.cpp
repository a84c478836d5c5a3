// The roots of unity behind the tables of the FFT.
#include "vector/fft_roots.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "support/accuracy.h"

namespace kivsr::test {
namespace {

// exp(-2 pi i e / N) in extended precision, the angle reduced to an eighth of a turn before it is rounded.
long double cosine(std::uint64_t e, std::uint64_t n) {
  e %= n;
  if (2 * e > n) e = n - e;
  if (4 * e > n) return -cosine(n / 2 - e, n);
  const auto angle = [&](std::uint64_t part) {
    return 2 * std::numbers::pi_v<long double> * static_cast<long double>(part) / static_cast<long double>(n);
  };
  return 8 * e > n ? std::sin(angle(n / 4 - e)) : std::cos(angle(e));
}

template <class Wave>
void expect_roots(const fft::Roots<Wave>& roots, int order, std::uint64_t step, double units) {
  const std::uint64_t n = std::uint64_t{1} << order;
  ASSERT_EQ(roots.size(), n);
  for (std::uint64_t e = 0; e < 2 * n; e += step) {
    const fft::Root root = roots.get(e);
    const auto re = static_cast<double>(cosine(e, n));
    const auto im = static_cast<double>(cosine(e + n / 4, n));  // -sin x = cos(x + pi / 2)
    ASSERT_LE(std::abs(root.re - re), units * unit<Wave>(re)) << "order " << order << ", exponent " << e;
    ASSERT_LE(std::abs(root.im - im), units * unit<Wave>(im)) << "order " << order << ", exponent " << e;
  }
}

TEST(FftRoots, OfTheConstantWaveAreCorrectToTheLastBit) {
  for (int order = 2; order <= fft::kFixedOrder; ++order) {
    // Half a unit each for the rounding of the root and of the reference.
    expect_roots(fft::Roots(fft::kFixedWave.values, fft::kFixedOrder, order), order, 1, 1);
  }
}

TEST(FftRoots, OfBuiltWaves) {
  for (const int order : {13, 14, 17, 20}) {
    std::vector<double> wide(fft::quarter_wave_count(order));
    fft::build_quarter_wave(wide.data(), order);
    expect_roots(fft::Roots<double>(wide.data(), order, order), order, order > 14 ? 101 : 1, 2);
    std::vector<float> narrow(fft::quarter_wave_count(order));
    fft::build_quarter_wave(narrow.data(), order);
    expect_roots(fft::Roots<float>(narrow.data(), order, order), order, order > 14 ? 101 : 1, 0.5000001);
  }
}

}  // namespace
}  // namespace kivsr::test
