// Dot products against references in wider types.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kivsr.h"
#include "support/elementwise.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class S, class D>
void check_dot_product(KivStatus (*product)(const S*, const S*, int, D*)) {
  Random random(3);
  for (int n : test_lengths()) {
    const auto a = random.values<S>(n, -2, 2);
    const auto b = random.values<S>(n, -2, 2);
    long double truth = 0, magnitudes = 0;
    for (int i = 0; i < n; ++i) truth += 1.0L * a[i] * b[i], magnitudes += std::abs(1.0L * a[i] * b[i]);
    at_both_guards(a, [&](const S* first, int len) {
      const Guarded<S> second(b);
      D result = -1;
      ASSERT_EQ(product(first, second.data(), len, &result), kivStatusOk);
      EXPECT_TRUE(within_reduction<D>(result, truth, magnitudes, a.size()));
    });
  }
}

TEST(DotProduct, FloatsAccumulateInTheTypeOfTheResult) {
  check_dot_product<Kiv32f, Kiv32f>(kivsDotProd_32f);
  check_dot_product<Kiv64f, Kiv64f>(kivsDotProd_64f);
  check_dot_product<Kiv32f, Kiv64f>(kivsDotProd_32f64f);
}

TEST(DotProduct, WordsAreExact) {
  Random random(4);
  auto lengths = test_lengths();
  lengths.push_back(70000);
  for (int n : lengths) {
    for (int regime = 0; regime < 4; ++regime) {
      std::vector<Kiv16s> a(n, -32768), b(n, -32768);  // regime 3: every pair of products is 2^31
      for (int i = 0; regime < 3 && i < n; ++i) a[i] = random.extreme<Kiv16s>(regime), b[i] = random.extreme<Kiv16s>(2);
      Kiv64s exact = 0;
      for (int i = 0; i < n; ++i) exact += Kiv64s{a[i]} * b[i];
      at_both_guards(a, [&](const Kiv16s* first, int len) {
        const Guarded<Kiv16s> second(b);
        Kiv64s wide = 1;
        Kiv32f narrow = 1;
        ASSERT_EQ(kivsDotProd_16s64s(first, second.data(), len, &wide), kivStatusOk);
        ASSERT_EQ(kivsDotProd_16s32f(first, second.data(), len, &narrow), kivStatusOk);
        ASSERT_EQ(wide, exact);
        ASSERT_EQ(narrow, static_cast<Kiv32f>(exact));
      });
    }
  }
}

TEST(DotProduct, OfColumnsAgreesWithTheMatrix) {
  Random random(5);
  for (int height : {1, 2, 7, 40}) {
    GuardedMatrix<Kiv64f> m(height, 9, 11);
    m.fill([&] { return random.uniform(-1, 1); });
    double product = 0, square = 0;
    for (int r = 0; r < height; ++r) product += m.at(r, 0) * m.at(r, 8), square += m.at(r, 8) * m.at(r, 8);
    Kiv64f result = 0;
    EXPECT_EQ(kivsDotProdColumn_64f_D2L(m.const_rows(), 0, 8, height, &result), kivStatusOk);
    EXPECT_TRUE(within_reduction<Kiv64f>(result, product, height, static_cast<std::size_t>(height)));
    EXPECT_EQ(kivsDotProdColumn_64f_D2L(m.const_rows(), 8, 8, height, &result), kivStatusOk);
    EXPECT_TRUE(within_reduction<Kiv64f>(result, square, height, static_cast<std::size_t>(height)));
  }
}

template <class Function>
auto product(Function f) {
  return [=](auto* a, auto* b, auto* result, int len) { return f(a, b, len, result); };
}

TEST(DotProduct, ChecksNullPointersThenSizes) {
  using F = Kiv32f;
  using D = Kiv64f;
  using S = Kiv16s;
  expect_checks<const F, const F, F>(product(kivsDotProd_32f));
  expect_checks<const D, const D, D>(product(kivsDotProd_64f));
  expect_checks<const F, const F, D>(product(kivsDotProd_32f64f));
  expect_checks<const S, const S, Kiv64s>(product(kivsDotProd_16s64s));
  expect_checks<const S, const S, F>(product(kivsDotProd_16s32f));

  const Kiv64f cell = 1;
  const Kiv64f* rows[] = {&cell};
  Kiv64f result = 5;
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(nullptr, -1, 0, 0, &result), kivStatusNullPointer);
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(rows, -1, 0, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(rows, -1, 0, 0, &result), kivStatusBadSize);
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(rows, -1, 0, 1, &result), kivStatusBadArgument);
  EXPECT_EQ(kivsDotProdColumn_64f_D2L(rows, 0, -1, 1, &result), kivStatusBadArgument);
  EXPECT_EQ(result, 5);
}

}  // namespace
}  // namespace kivsr::test
