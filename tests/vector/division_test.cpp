// Quotients against references in wider types.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr double kNaN64 = std::numeric_limits<double>::quiet_NaN();

template <class Wide, class T>
Wide quotient(T divisor, T numerator) {
  if (divisor != 0) return static_cast<Wide>(numerator) / static_cast<Wide>(divisor);
  return numerator > 0 ? INFINITY : numerator < 0 ? -INFINITY : NAN;
}

// The AVX2 library divides exactly where the baseline corrects an estimate.
bool divides_exactly() {
  Dl_info library;
  return dladdr(dlsym(RTLD_DEFAULT, "kivsDiv_32f"), &library) != 0 &&
         std::string(library.dli_fname).find("x86-64-v3") != std::string::npos;
}

struct LibraryQuotient {
  bool operator()(float actual, double truth) const {
    return exact ? same_bits(actual, static_cast<float>(truth)) : Estimated()(actual, truth);
  }
  bool exact = divides_exactly();
};

TEST(Division, FirstSourceIsTheDivisorAndZeroWarns) {
  const auto warning = [](auto divisor, auto) { return divisor == 0 ? kivStatusDivByZero : kivStatusOk; };
  using Floats = Elementwise<float, float, float>;
  Floats::check(kivsDiv_32f, quotient<double, float>, warning, LibraryQuotient());
  Floats::check(in_place(kivsDiv_32f_I), quotient<double, float>, warning, LibraryQuotient());
  // Divisors and quotients near the limits of the type, none of them zero.
  const auto wide = [](Random& random) {
    return static_cast<float>(
        std::copysign(std::ldexp(random.uniform(0.5, 1), random.integer(-148, 128)), random.uniform(-1, 1)));
  };
  Floats::check(kivsDiv_32f, quotient<double, float>, warning, LibraryQuotient(), {wide, wide});
  Elementwise<double, double, double>::check(kivsDiv_64f, quotient<double, double>, warning, Exactly());
}

// Divisors that are zero, subnormal, above 2^126 or infinite; the three others of a group of four share the exact
// division of a zero.
TEST(Division, IsExactWhereTheEstimateIsOfNoUse) {
  Random random(24);
  for (float special : {0.0F, -0.0F, 3e-40F, -1e-45F, 2e38F, kInf, -kInf}) {
    for (int place = 0; place < 12; ++place) {
      auto divisors = random.values<float>(12, 0.1, 9);
      const auto numerators = random.values<float>(12, -9, 9);
      divisors[static_cast<std::size_t>(place)] = special;
      float q[12];
      ASSERT_EQ(kivsDiv_32f(divisors.data(), numerators.data(), q, 12),
                special == 0 ? kivStatusDivByZero : kivStatusOk);
      for (int i = special == 0 ? place / 4 * 4 : place; i < (special == 0 ? place / 4 * 4 + 4 : place + 1); ++i) {
        const auto k = static_cast<std::size_t>(i);
        ASSERT_TRUE(same_bits(q[i], static_cast<float>(quotient<double>(divisors[k], numerators[k])))) << special;
      }
    }
  }
}

TEST(Division, OverflowsOnlyWhereTheQuotientDoes) {
  constexpr float kMost = std::numeric_limits<float>::max();
  for (int i = 0; i < 100000; ++i) {
    const float divisor = 1 + static_cast<float>(i) / 100000;
    const std::vector<float> d(8, divisor), n(8, kMost / 2 * divisor), large(8, kMost);
    float q[8];
    ASSERT_EQ(kivsDiv_32f(d.data(), n.data(), q, 8), kivStatusOk);
    ASSERT_TRUE(within_relative(q[0], kMost / 2.0, kCorrectedTolerance));
    kivsDiv_32f(d.data(), large.data(), q, 8);
    ASSERT_TRUE(within_relative(q[0], kMost / static_cast<double>(divisor), kCorrectedTolerance)) << divisor;
  }
}

TEST(Division, ByAConstantIsAProductWithTheReciprocal) {
  check_constant<Kiv32f>(kivsDivC_32f, kivsDivC_32f_I, true);
  check_constant<Kiv64f>(kivsDivC_64f, kivsDivC_64f_I, true);
}

TEST(Division, ByAZeroOrNaNConstantIsRefused) {
  const double source[] = {1, 2};
  const float narrow[] = {1, 2};
  for (double val : {0.0, -0.0, kNaN64}) {
    float f[] = {7, 7};
    double d[] = {7, 7};
    EXPECT_EQ(kivsDivC_32f(narrow, static_cast<float>(val), f, 2), kivStatusDivByZeroErr);
    EXPECT_EQ(kivsDivC_32f_I(static_cast<float>(val), f, 2), kivStatusDivByZeroErr);
    EXPECT_EQ(kivsDivC_64f(source, val, d, 2), kivStatusDivByZeroErr);
    EXPECT_EQ(kivsDivC_64f_I(val, d, 2), kivStatusDivByZeroErr);
    EXPECT_EQ(kivsDivC_64f_I(val, d, 0), kivStatusBadSize);
    EXPECT_EQ(f[0], 7);
    EXPECT_EQ(d[1], 7);
  }
}

TEST(Division, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  expect_checks<const F, const F, F>(kivsDiv_32f);
  expect_checks<const D, const D, D>(kivsDiv_64f);
  expect_checks<const F, F>(kivsDiv_32f_I);
  expect_checks<const F, F>(constant_second<F>(kivsDivC_32f));
  expect_checks<const D, D>(constant_second<D>(kivsDivC_64f));
  expect_checks<F>(constant<F>(kivsDivC_32f_I));
  expect_checks<D>(constant<D>(kivsDivC_64f_I));
}

}  // namespace
}  // namespace kivsr::test
