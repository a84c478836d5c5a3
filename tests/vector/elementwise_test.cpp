// Elementwise arithmetic, division, roots, logarithms and copies against references in wider types.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kNaN64 = std::numeric_limits<double>::quiet_NaN();

// --- arithmetic -----------------------------------------------------------------

template <class T>
void check_sums(KivStatus (*add)(const T*, T*, int), KivStatus (*subtract)(const T*, T*, int)) {
  Elementwise<T, T, T>::check(in_place(add), [](T x, T old) { return static_cast<T>(old + x); });
  Elementwise<T, T, T>::check(in_place(subtract), [](T x, T old) { return static_cast<T>(old - x); });
}

TEST(Arithmetic, SumsProductsAndAbsoluteValues) {
  check_sums<Kiv32f>(kivsAdd_32f_I, kivsSub_32f_I);
  check_sums<Kiv64f>(kivsAdd_64f_I, kivsSub_64f_I);
  Elementwise<float, float, float>::check(kivsMul_32f, [](float a, float b) { return a * b; });
  Elementwise<double, double>::check(kivsAbs_64f, [](double x) { return std::fabs(x); });
  for (float val : {2.5F, kInf, -0.0F}) {
    Elementwise<float, float>::check([=](const float* s, float* d, int n) { return kivsAddC_32f(s, val, d, n); },
                                     [=](float x) { return val == 0 ? x : x + val; });
  }
}

// Product of the element and a factor, except where the form in place leaves the data alone or clears it.
template <class T, class Plain, class InPlace>
void check_constant(Plain plain, InPlace in_place, bool divides) {
  for (T val :
       {T{3}, T{-0.1}, T{1}, T{0}, -T{0}, std::numeric_limits<T>::infinity(), std::numeric_limits<T>::min() / 8}) {
    if (divides && val == 0) continue;
    const T factor = divides ? T{1} / val : val;
    const auto product = [=](T x) { return static_cast<T>(x * factor); };
    Elementwise<T, T>::check([=](const T* s, T* d, int n) { return plain(s, val, d, n); }, product);
    Elementwise<T, T>::check(in_place_alone<T>([=](T* d, int n) { return in_place(val, d, n); }),
                             [=](T x) { return factor == 0 ? T{0} : product(x); });
  }
}

TEST(Arithmetic, ProductsAndQuotientsWithAConstant) {
  check_constant<Kiv32f>(kivsMulC_32f, kivsMulC_32f_I, false);
  check_constant<Kiv64f>(kivsMulC_64f, kivsMulC_64f_I, false);
  check_constant<Kiv32f>(kivsDivC_32f, kivsDivC_32f_I, true);
  check_constant<Kiv64f>(kivsDivC_64f, kivsDivC_64f_I, true);
  // A factor of 1 does not even quiet a signalling NaN.
  const std::uint32_t signalling = 0x7F800001;
  float x;
  std::memcpy(&x, &signalling, sizeof x);
  kivsMulC_32f_I(1.0F, &x, 1);
  EXPECT_EQ(std::memcmp(&x, &signalling, sizeof x), 0);
}

TEST(Arithmetic, DivisionByAZeroOrNaNConstantIsRefused) {
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

TEST(Arithmetic, WordsMultiplyExactlyAndScale) {
  for (int scale : {-2147483647 - 1, -40, -16, -15, -14, -3, -1, 0, 1, 2, 8, 15, 29, 30, 31, 32, 2147483647}) {
    Elementwise<Kiv16s, Kiv16s, Kiv16s>::check(
        [=](const Kiv16s* a, const Kiv16s* b, Kiv16s* d, int n) { return kivsMul_16s_Sfs(a, b, d, n, scale); },
        [=](Kiv16s a, Kiv16s b) { return scale > 30 ? Kiv16s{0} : scaled_reference<Kiv16s>(a * b, scale); });
  }
}

TEST(Arithmetic, ExtremaFollowTheOrderOfTheOperands) {
  Elementwise<float, float, float>::check(in_place(kivsMaxEvery_32f_I),
                                          [](float x, float old) { return x > old ? x : old; });
  Elementwise<float, float, float>::check(in_place(kivsMinEvery_32f_I),
                                          [](float x, float old) { return old < x ? old : x; });
  Elementwise<Kiv32s, Kiv32s, Kiv32s>::check(in_place(kivsMinEvery_32s_I),
                                             [](Kiv32s x, Kiv32s old) { return std::min(x, old); });
}

// --- division and roots -----------------------------------------------------------

// Relative 2^-21, and one unit of the smallest subnormal.
struct Estimated {
  bool operator()(float actual, double truth) const {
    if (same_bits(actual, static_cast<float>(truth))) return true;
    return std::abs(actual - truth) <= kCorrectedTolerance * std::abs(truth) + 1.5e-45;
  }
};

template <class Wide, class T>
Wide quotient(T divisor, T numerator) {
  if (divisor != 0) return static_cast<Wide>(numerator) / static_cast<Wide>(divisor);
  return numerator > 0 ? INFINITY : numerator < 0 ? -INFINITY : NAN;
}

TEST(Division, FirstSourceIsTheDivisorAndZeroWarns) {
  const auto warning = [](auto divisor, auto) { return divisor == 0 ? kivStatusDivByZero : kivStatusOk; };
  using Floats = Elementwise<float, float, float>;
  Floats::check(kivsDiv_32f, quotient<double, float>, warning, Estimated());
  Floats::check(in_place(kivsDiv_32f_I), quotient<double, float>, warning, Estimated());
  // Divisors and quotients near the limits of the type, none of them zero.
  const auto wide = [](Random& random) {
    return static_cast<float>(
        std::copysign(std::ldexp(random.uniform(0.5, 1), random.integer(-148, 128)), random.uniform(-1, 1)));
  };
  Floats::check(kivsDiv_32f, quotient<double, float>, warning, Estimated(), {wide, wide});
  Elementwise<double, double, double>::check(kivsDiv_64f, quotient<double, double>, warning, Exactly());
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

TEST(Roots, SquareRootIsExactAndWarnsOfNegatives) {
  Elementwise<double, double>::check(
      in_place_alone<double>(kivsSqrt_64f_I), [](double x) { return x < 0 ? kNaN64 : std::sqrt(x); },
      [](double x) { return x < 0 ? kivStatusSqrtNegArg : kivStatusOk; }, Exactly());
}

// The warning comes only if every element was replaced, so the status is checked apart.
TEST(Roots, ReciprocalRootReplacesWhatIsNotAboveTheThreshold) {
  Random random(22);
  for (float val : {1.0F, 1e-42F, 3e20F, kInf}) {
    for (int n : test_lengths()) {
      std::vector<float> data(static_cast<std::size_t>(n));
      for (float& x : data) x = any_value<float>(random);
      if (n > 20) data[17] = std::numeric_limits<float>::min() / 5;
      const bool any_above = std::any_of(data.begin(), data.end(), [=](float x) { return x > val; });
      Guarded<float> dst(data);
      ASSERT_EQ(kivsRecSqrt_32f(dst.data(), n, val), any_above ? kivStatusOk : kivStatusNoOperation);
      for (std::size_t i = 0; i < data.size(); ++i) {
        const double truth = data[i] > val ? 1 / std::sqrt(static_cast<double>(data[i])) : val;
        ASSERT_TRUE(Estimated()(dst[i], truth)) << dst[i] << " of " << data[i];
      }
    }
  }
  float untouched = 4;
  for (float val : {0.0F, -1.0F, kNaN}) EXPECT_EQ(kivsRecSqrt_32f(&untouched, 1, val), kivStatusBadArgument);
  EXPECT_EQ(kivsRecSqrt_32f(&untouched, 0, 0), kivStatusBadSize);
  EXPECT_EQ(untouched, 4);
}

TEST(Roots, IntegerReciprocalRootsScaleAndSaturate) {
  Random random(23);
  for (int n : {1, 3, 16, 100}) {
    auto data = random.values<Kiv32s>(static_cast<std::size_t>(n), -10, 3000);
    if (n > 3) data[1] = 2147483647, data[2] = -2147483647 - 1;
    for (int scale : {-40, -31, -16, -4, 0, 2}) {
      for (Kiv32s val : {1, 1000, 40000}) {
        const Guarded<Kiv32s> src(data);
        Guarded<Kiv32s> wide(data);
        Guarded<Kiv16s> words(data.size());
        const KivStatus status = kivsRecSqrt_32s_Sfs(wide.data(), n, val, scale);
        ASSERT_EQ(kivsRecSqrt_32s16s_Sfs(src.data(), words.data(), n, val, scale), status);
        const bool any_above = std::any_of(data.begin(), data.end(), [=](Kiv32s x) { return x > val; });
        ASSERT_EQ(status, any_above ? kivStatusOk : kivStatusNoOperation);
        for (std::size_t i = 0; i < data.size(); ++i) {
          const long double root = data[i] > val ? 1 / std::sqrt(static_cast<long double>(data[i])) : val;
          const int shift = data[i] > val ? scale : 0;
          ASSERT_EQ(wide[i], scaled_reference<Kiv32s>(root, shift)) << data[i] << ' ' << scale;
          ASSERT_EQ(words[i], scaled_reference<Kiv16s>(root, shift));
        }
      }
    }
  }
  Kiv32s one = 1;
  Kiv16s word = 5;
  EXPECT_EQ(kivsRecSqrt_32s_Sfs(&one, 1, 0, 0), kivStatusBadArgument);
  EXPECT_EQ(kivsRecSqrt_32s16s_Sfs(&one, &word, 1, -3, 0), kivStatusBadArgument);
  EXPECT_EQ(word, 5);
}

// --- logarithms -------------------------------------------------------------------

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

// --- copies and fills ---------------------------------------------------------------

template <class T, class Copy, class Set>
void check_copies(Copy copy, Set set) {
  Elementwise<T, T>::check(copy, [](T x) { return x; });
  const T value = static_cast<T>(-77.25);
  Elementwise<T, T>::check([=](const T*, T* d, int n) { return set(value, d, n); }, [=](T) { return value; });
}

TEST(Copies, ReproduceAndFill) {
  check_copies<Kiv8u>(kivsCopy_8u, kivsSet_8u);
  check_copies<Kiv16s>(kivsCopy_16s, kivsSet_16s);
  check_copies<Kiv32s>(kivsCopy_32s, kivsSet_32s);
  check_copies<Kiv32f>(kivsCopy_32f, kivsSet_32f);
  check_copies<Kiv64f>(kivsCopy_64f, kivsSet_64f);
  const auto zeroed = [](auto zero, auto element) {
    using T = decltype(element);
    Elementwise<T, T>::check(in_place_alone<T>(zero), [](T) { return T{0}; });
  };
  zeroed(kivsZero_8u, Kiv8u{});
  zeroed(kivsZero_16s, Kiv16s{});
  zeroed(kivsZero_32f, Kiv32f{});
  zeroed(kivsZero_64f, Kiv64f{});
}

TEST(Copies, MoveIsCorrectForOverlappingArrays) {
  for (int n : test_lengths()) {
    for (int shift : {-9, -4, -1, 0, 1, 3, 8, 40}) {
      std::vector<float> data(static_cast<std::size_t>(n) + 100);
      for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<float>(i);
      auto expected = data;
      std::copy_n(data.begin() + 50, n, expected.begin() + 50 + shift);
      ASSERT_EQ(kivsMove_32f(data.data() + 50, data.data() + 50 + shift, n), kivStatusOk);
      ASSERT_EQ(data, expected);
    }
  }
}

TEST(Elementwise, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  using B = Kiv8u;
  expect_checks<const D, D>(kivsAbs_64f);
  for (auto f : {kivsAdd_32f_I, kivsSub_32f_I, kivsDiv_32f_I, kivsMaxEvery_32f_I, kivsMinEvery_32f_I, kivsCopy_32f,
                 kivsMove_32f}) {
    expect_checks<const F, F>(f);
  }
  for (auto f : {kivsAdd_64f_I, kivsSub_64f_I, kivsCopy_64f}) expect_checks<const D, D>(f);
  for (auto f : {kivsMinEvery_32s_I, kivsCopy_32s}) expect_checks<const L, L>(f);
  for (auto f : {kivsAddC_32f, kivsMulC_32f, kivsDivC_32f}) expect_checks<const F, F>(constant_second<F>(f));
  for (auto f : {kivsMulC_64f, kivsDivC_64f}) expect_checks<const D, D>(constant_second<D>(f));
  for (auto f : {kivsMulC_32f_I, kivsDivC_32f_I, kivsSet_32f}) expect_checks<F>(constant<F>(f));
  for (auto f : {kivsMulC_64f_I, kivsDivC_64f_I, kivsSet_64f}) expect_checks<D>(constant<D>(f));
  for (auto f : {kivsMul_32f, kivsDiv_32f}) expect_checks<const F, const F, F>(f);
  expect_checks<const D, const D, D>(kivsDiv_64f);
  expect_checks<const S, const S, S>(followed_by(kivsMul_16s_Sfs, 0));
  expect_checks<D>(kivsSqrt_64f_I);
  expect_checks<F>(followed_by(kivsRecSqrt_32f, 1.0F));
  expect_checks<L>(followed_by(kivsRecSqrt_32s_Sfs, 1, 0));
  expect_checks<const L, S>(followed_by(kivsRecSqrt_32s16s_Sfs, 1, 0));
  expect_checks<F>(kivsLn_32f_I);
  expect_checks<const L, L>(followed_by(kivsLn_32s_Sfs, 0));
  expect_checks<L>(followed_by(kivsLn_32s_ISfs, 0));
  expect_checks<const B, B>(kivsCopy_8u);
  expect_checks<const S, S>(kivsCopy_16s);
  expect_checks<B>(constant<B>(kivsSet_8u));
  expect_checks<S>(constant<S>(kivsSet_16s));
  expect_checks<L>(constant<L>(kivsSet_32s));
  expect_checks<B>(kivsZero_8u);
  expect_checks<S>(kivsZero_16s);
  expect_checks<F>(kivsZero_32f);
  expect_checks<D>(kivsZero_64f);
}

}  // namespace
}  // namespace kivsr::test
