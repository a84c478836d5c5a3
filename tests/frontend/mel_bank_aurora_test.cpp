// The fixed banks of the advanced front end.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "frontend/mel_bank_api.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

double mel(double f) { return 2595 * std::log(1 + f / 700); }
double hertz(double m) { return 700 * (std::exp(m / 2595) - 1); }

std::vector<Kiv32s> centres_of(double low, int steps, int filters) {
  std::vector<Kiv32s> c;
  for (int i = 0; i <= steps; ++i) {
    c.push_back(static_cast<Kiv32s>(std::lround(hertz(mel(low) + i * (mel(4000) - mel(low)) / steps) * 128 / 8000)));
  }
  if (steps < filters) {  // from bin 0, and to the last bin twice
    c.insert(c.begin(), 0);
    c.push_back(64);
  }
  return c;
}

// The normalised triangle over c[0] .. c[2].
std::vector<double> triangle(const Kiv32s* c) {
  std::vector<double> weights;
  double sum = 0;
  for (Kiv32s j = c[0]; j <= c[2]; ++j) {
    const double rise = c[1] == c[0] ? 1.0 : static_cast<double>(j - c[0]) / (c[1] - c[0]);
    const double fall = c[2] == c[1] ? 1.0 : static_cast<double>(c[2] - j) / (c[2] - c[1]);
    weights.push_back(std::min(rise, fall));
    sum += weights.back();
  }
  for (double& w : weights) w /= sum;
  return weights;
}

template <class A>
void check_aurora(typename A::Bank* bank, const std::vector<Kiv32s>& centres, int filters) {
  std::vector<Kiv32s> c(static_cast<std::size_t>(filters) + 2);
  ASSERT_EQ(A::get_centres(bank, c.data()), kivStatusOk);
  expect_exact(c, centres);
  for (int i = 1; i <= filters; ++i) {
    const auto expected = triangle(c.data() + i - 1);
    Guarded<float> weights(expected.size());
    ASSERT_EQ(A::get_coeffs(bank, i, weights.data()), kivStatusOk);
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_NEAR(weights[k], expected[k], A::kFixed ? 2.0 / 16384 : 1e-7) << i << " " << k;
    }
    double sum = 0;
    for (float w : weights) sum += w;
    EXPECT_NEAR(sum, 1.0, A::kFixed ? static_cast<double>(weights.size()) / 16384 : 1e-6);
    EXPECT_LE(sum, 1.0 + 1e-6);
  }
  const Guarded<typename A::Source> src(std::vector<typename A::Source>(65, 1000));
  Guarded<typename A::Result> bands(static_cast<std::size_t>(filters));
  ASSERT_EQ(A::evaluate(src.data(), bands.data(), bank), kivStatusOk);
  EXPECT_EQ(A::evaluate(src.data(), bands.data(), static_cast<typename A::Bank*>(nullptr)), kivStatusNullPointer);
}

template <class A>
void check_both_makes(KivStatus (*get_size)(int*), KivStatus (*init)(typename A::Bank*),
                      KivStatus (*init_alloc)(typename A::Bank**), const std::vector<Kiv32s>& centres, int filters) {
  typename A::Bank* bank = nullptr;
  ASSERT_EQ(init_alloc(&bank), kivStatusOk);
  check_aurora<A>(bank, centres, filters);
  EXPECT_EQ(A::free_bank(bank), kivStatusOk);
  int size = 0;
  ASSERT_EQ(get_size(&size), kivStatusOk);
  Guarded<Kiv8u> memory((static_cast<std::size_t>(size) + 7) / 8 * 8);
  auto* const placed = reinterpret_cast<typename A::Bank*>(memory.data());
  ASSERT_EQ(init(placed), kivStatusOk);
  check_aurora<A>(placed, centres, filters);
  EXPECT_EQ(get_size(nullptr), kivStatusNullPointer);
  EXPECT_EQ(init(nullptr), kivStatusNullPointer);
  EXPECT_EQ(init_alloc(nullptr), kivStatusNullPointer);
}

template <class A>
class AuroraBank : public ::testing::Test {};
using Banks = ::testing::Types<FloatBank, FixedBank>;
TYPED_TEST_SUITE(AuroraBank, Banks);

TYPED_TEST(AuroraBank, LowBandHasTwentyFiveNormalisedTriangles) {
  using A = TypeParam;
  const auto centres = centres_of(1, 24, 25);
  const Kiv32s first[] = {0, 0, 1, 2, 3, 4, 5, 7, 8, 10};
  EXPECT_TRUE(std::equal(first, first + 10, centres.begin())) << "reference";
  check_both_makes<A>(A::low_aurora_size, A::low_aurora_init, A::low_aurora, centres, 25);
}
TYPED_TEST(AuroraBank, HighBandHasThree) {
  using A = TypeParam;
  check_both_makes<A>(A::high_aurora_size, A::high_aurora_init, A::high_aurora, centres_of(80, 4, 3), 3);
}

}  // namespace
}  // namespace kivsr::test
