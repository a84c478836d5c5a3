// Logarithms against references in wider types.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

template <class T>
KivStatus logarithm_warning(T x) {
  return x == 0 ? kivStatusInfResult : x > 0 ? kivStatusOk : kivStatusNanResult;
}

TEST(Logarithm, IsAccurateAndAZeroOutranksANegative) {
  const auto truth = [](float x) { return x < 0 ? NAN : std::log(std::fabs(static_cast<double>(x))); };
  const auto close = [](float actual, double expected) {
    return std::isnan(expected) ? std::isnan(actual) : static_cast<bool>(within_units<float>(actual, expected, 1.0));
  };
  using Floats = Elementwise<float, float>;
  Floats::check(in_place_alone<float>(kivsLn_32f_I), truth, logarithm_warning<float>, close);
  const auto positive = [](Random& random) {
    return static_cast<float>(std::ldexp(random.uniform(0.5, 1), random.integer(-3, 3) * random.integer(0, 42)));
  };
  Floats::check(in_place_alone<float>(kivsLn_32f_I), truth, logarithm_warning<float>, close, {positive});
  const auto near_one = [](Random& random) { return static_cast<float>(1 + random.uniform(-1, 1) * 1e-3); };
  Floats::check(in_place_alone<float>(kivsLn_32f_I), truth, logarithm_warning<float>, close, {near_one});
}

TEST(Logarithm, OfIntegersScalesAndRounds) {
  for (int scale : {-60, -27, -16, -5, 0, 3, 100}) {
    const auto truth = [=](Kiv32s x) {
      return x > 0 ? scaled_reference<Kiv32s>(std::log(static_cast<long double>(x)), scale)
                   : std::numeric_limits<Kiv32s>::min();
    };
    using Integers = Elementwise<Kiv32s, Kiv32s>;
    Integers::check([=](const Kiv32s* s, Kiv32s* d, int n) { return kivsLn_32s_Sfs(s, d, n, scale); }, truth,
                    logarithm_warning<Kiv32s>, Exactly());
    Integers::check(in_place_alone<Kiv32s>([=](Kiv32s* d, int n) { return kivsLn_32s_ISfs(d, n, scale); }), truth,
                    logarithm_warning<Kiv32s>, Exactly());
  }
}

TEST(Logarithm, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using L = Kiv32s;
  expect_checks<F>(kivsLn_32f_I);
  expect_checks<const L, L>(followed_by(kivsLn_32s_Sfs, 0));
  expect_checks<L>(followed_by(kivsLn_32s_ISfs, 0));
}

}  // namespace
}  // namespace kivsr::test
