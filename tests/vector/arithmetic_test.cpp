// Elementwise sums, differences, products and extrema against references in wider types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "kivsr.h"
#include "support/elementwise.h"

namespace kivsr::test {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

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

TEST(Arithmetic, ProductsWithAConstant) {
  check_constant<Kiv32f>(kivsMulC_32f, kivsMulC_32f_I, false);
  check_constant<Kiv64f>(kivsMulC_64f, kivsMulC_64f_I, false);
  // A factor of 1 does not even quiet a signalling NaN.
  const std::uint32_t signalling = 0x7F800001;
  float x;
  std::memcpy(&x, &signalling, sizeof x);
  kivsMulC_32f_I(1.0F, &x, 1);
  EXPECT_EQ(std::memcmp(&x, &signalling, sizeof x), 0);
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

TEST(Arithmetic, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  using L = Kiv32s;
  expect_checks<const D, D>(kivsAbs_64f);
  for (auto f : {kivsAdd_32f_I, kivsSub_32f_I, kivsMaxEvery_32f_I, kivsMinEvery_32f_I}) expect_checks<const F, F>(f);
  for (auto f : {kivsAdd_64f_I, kivsSub_64f_I}) expect_checks<const D, D>(f);
  expect_checks<const L, L>(kivsMinEvery_32s_I);
  for (auto f : {kivsAddC_32f, kivsMulC_32f}) expect_checks<const F, F>(constant_second<F>(f));
  expect_checks<const D, D>(constant_second<D>(kivsMulC_64f));
  expect_checks<F>(constant<F>(kivsMulC_32f_I));
  expect_checks<D>(constant<D>(kivsMulC_64f_I));
  expect_checks<const F, const F, F>(kivsMul_32f);
  expect_checks<const S, const S, S>(followed_by(kivsMul_16s_Sfs, 0));
}

}  // namespace
}  // namespace kivsr::test
