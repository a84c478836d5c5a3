// Gaussian log-likelihoods, floating point: every operation in three types, two layouts, with and without weights.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class Code>
struct Members;
struct Code32f {
  using E = float;
  using R = float;
};
struct Code64f {
  using E = double;
  using R = double;
};
struct Code32f64f {
  using E = float;
  using R = double;
};
#define LAYOUTS(variable, stem, code)                                      \
  static constexpr auto variable##_d2 = stem##_##code##_D2;                \
  static constexpr auto variable##_d2l = stem##_##code##_D2L;              \
  static constexpr auto variable##_identity_d2 = stem##_IdVar_##code##_D2; \
  static constexpr auto variable##_identity_d2l = stem##_IdVar_##code##_D2L;
#define MEMBERS(code)                                                          \
  template <>                                                                  \
  struct Members<Code##code> {                                                 \
    LAYOUTS(plain, kivsLogGauss, code)                                         \
    LAYOUTS(maximum, kivsLogGaussMax, code)                                    \
    LAYOUTS(log_add, kivsLogGaussAdd, code)                                    \
    LAYOUTS(multi_mix, kivsLogGaussMultiMix, code)                             \
    LAYOUTS(max_mix, kivsLogGaussMaxMultiMix, code)                            \
    LAYOUTS(add_mix, kivsLogGaussAddMultiMix, code)                            \
    LAYOUTS(mixture, kivsLogGaussMixture, code)                                \
    static constexpr auto single = kivsLogGaussSingle_##code;                  \
    static constexpr auto single_identity = kivsLogGaussSingle_IdVar_##code;   \
    static constexpr auto single_direct = kivsLogGaussSingle_DirectVar_##code; \
    static constexpr auto single_block = kivsLogGaussSingle_BlockDVar_##code;  \
  };
MEMBERS(32f)
MEMBERS(64f)
MEMBERS(32f64f)
#undef MEMBERS
#undef LAYOUTS

KivStatus init_blocks(float*** m, const float** rows, const int* sizes, int n) {
  return kivsBlockDMatrixInitAlloc_32f(m, rows, sizes, n);
}
KivStatus init_blocks(double*** m, const double** rows, const int* sizes, int n) {
  return kivsBlockDMatrixInitAlloc_64f(m, rows, sizes, n);
}
void free_blocks(float** m) { kivsBlockDMatrixFree_32f(m); }
void free_blocks(double** m) { kivsBlockDMatrixFree_64f(m); }

long double log_add(long double a, long double b) {
  const long double high = std::max(a, b);
  const long double d = std::min(a, b) - high;
  return d < -15.3195879547406L ? std::max(high, -4500000.0L) : high + std::log1p(std::exp(d));
}

// A weighted distance in extended precision.
template <class E>
long double distance(const E* x, const E* m, const E* w, int len) {
  long double sum = 0;
  for (int i = 0; i < len; ++i) {
    const long double d = static_cast<long double>(x[i]) - m[i];
    sum += d * d * (w == nullptr ? 1.0L : w[i]);
  }
  return sum;
}

// One problem: a matrix of vectors, one of means, one of weights, all of the same shape.
template <class Code>
struct Problem {
  using E = typename Code::E;
  using R = typename Code::R;
  Problem(int height_, int len_, int step_, unsigned seed)
      : height(height_),
        len(len_),
        step(step_),
        x(height, len, step),
        m(height, len, step),
        w(height, len, step),
        vals(static_cast<std::size_t>(height)),
        old(static_cast<std::size_t>(height)) {
    Random random(seed);
    x.fill([&] { return random.value<E>(-2, 2); });
    m.fill([&] { return random.value<E>(-2, 2); });
    w.fill([&] { return random.value<E>(0, 1.5); });
    for (R& v : vals) v = random.value<R>(-20, 5);
    for (R& v : old) v = random.value<R>(-30, 0);
  }
  int height, len, step;
  GuardedMatrix<E> x, m, w;
  Guarded<R> vals, old;
};

template <class Code>
class Gaussian : public ::testing::Test {};
using Codes = ::testing::Types<Code32f, Code64f, Code32f64f>;
TYPED_TEST_SUITE(Gaussian, Codes);

// Runs an operation in both layouts, which must agree bit for bit, and compares with the truth. A call takes (row step
// 0 for row pointers) the destination; truth(j) gives the score and the magnitude of what was added for it.
template <class R>
struct Truth {
  long double value;
  long double magnitude;
};
template <class P, class D2, class D2L, class T>
void expect_rows(const P& p, const char* what, D2 d2, D2L d2l, T truth) {
  using R = typename std::decay_t<decltype(p.old.values())>::value_type;
  Guarded<R> a(p.old.values());
  Guarded<R> b(p.old.values());
  ASSERT_EQ(d2(a.data()), kivStatusOk) << what;
  ASSERT_EQ(d2l(b.data()), kivStatusOk) << what;
  expect_exact(a, b.values(), what);
  for (int j = 0; j < p.height; ++j) {
    const Truth<R> t = truth(j);
    ASSERT_TRUE(within_reduction<R>(a[static_cast<std::size_t>(j)], static_cast<double>(t.value),
                                    static_cast<double>(t.magnitude) + 1, static_cast<std::size_t>(p.len)))
        << what << " row " << j << " of " << p.height << ", length " << p.len;
  }
}

TYPED_TEST(Gaussian, EveryOperationAgreesWithTheDefinition) {
  using C = TypeParam;
  using E = typename C::E;
  using R = typename C::R;
  using M = Members<C>;
  unsigned seed = 1;
  for (const int len : {1, 2, 3, 4, 5, 7, 8, 9, 13, 16, 17, 31, 39, 64, 130}) {
    for (const int height : {1, 2, 3, 4, 5, 8, 11, 100, 101, 129, 257}) {
      if (len > 39 && height > 11) continue;
      Problem<C> p(height, len, len + (height % 3), seed++);
      const R val = p.vals[0];
      const E* const m0 = p.m.row(0);
      const E* const w0 = p.w.row(0);
      const E* const x0 = p.x.row(0);
      for (const bool weighted : {true, false}) {
        const auto at = [](auto& values, int j) {
          return static_cast<long double>(values[static_cast<std::size_t>(j)]);
        };
        const auto frame = [&](int j) {
          const long double d = distance(p.x.row(j), m0, weighted ? w0 : nullptr, len);
          return Truth<R>{val - d / 2, std::abs(val) + d / 2};
        };
        const auto gaussian = [&](auto& constants, int j) {
          const long double d = distance(x0, p.m.row(j), weighted ? p.w.row(j) : nullptr, len);
          return Truth<R>{at(constants, j) - d / 2, std::abs(at(constants, j)) + d / 2};
        };
        const auto maximum = [&](Truth<R> t, int j) { return Truth<R>{std::max(t.value, at(p.old, j)), t.magnitude}; };
        const auto added = [&](Truth<R> t, int j) {
          const long double more = std::abs(at(p.old, j));
          return Truth<R>{log_add(t.value, at(p.old, j)), t.magnitude + more + (std::is_same_v<R, float> ? 0 : 1e5)};
        };
        const auto frames = [&](const char* what, auto d2, auto d2l, auto d2_identity, auto d2l_identity, auto truth) {
          expect_rows(
              p, what,
              [&](R* dst) {
                return weighted ? d2(p.x.data(), p.step, m0, w0, len, dst, height, val)
                                : d2_identity(p.x.data(), p.step, m0, len, dst, height, val);
              },
              [&](R* dst) {
                return weighted ? d2l(p.x.const_rows(), m0, w0, len, dst, height, val)
                                : d2l_identity(p.x.const_rows(), m0, len, dst, height, val);
              },
              truth);
        };
        frames("plain", M::plain_d2, M::plain_d2l, M::plain_identity_d2, M::plain_identity_d2l, frame);
        frames("maximum", M::maximum_d2, M::maximum_d2l, M::maximum_identity_d2, M::maximum_identity_d2l,
               [&](int j) { return maximum(frame(j), j); });
        frames("log-add", M::log_add_d2, M::log_add_d2l, M::log_add_identity_d2, M::log_add_identity_d2l,
               [&](int j) { return added(frame(j), j); });

        expect_rows(
            p, "many Gaussians",
            [&](R* dst) {
              return weighted ? M::multi_mix_d2(p.m.data(), p.w.data(), p.step, x0, len, dst, height)
                              : M::multi_mix_identity_d2(p.m.data(), p.step, x0, len, dst, height);
            },
            [&](R* dst) {
              return weighted ? M::multi_mix_d2l(p.m.const_rows(), p.w.const_rows(), x0, len, dst, height)
                              : M::multi_mix_identity_d2l(p.m.const_rows(), x0, len, dst, height);
            },
            [&](int j) { return gaussian(p.old, j); });
        const auto merged = [&](const char* what, auto d2, auto d2l, auto d2_identity, auto d2l_identity, auto truth) {
          expect_rows(
              p, what,
              [&](R* dst) {
                return weighted ? d2(p.m.data(), p.w.data(), p.step, x0, len, p.vals.data(), dst, height)
                                : d2_identity(p.m.data(), p.step, x0, len, p.vals.data(), dst, height);
              },
              [&](R* dst) {
                return weighted ? d2l(p.m.const_rows(), p.w.const_rows(), x0, len, p.vals.data(), dst, height)
                                : d2l_identity(p.m.const_rows(), x0, len, p.vals.data(), dst, height);
              },
              truth);
        };
        merged("maxima", M::max_mix_d2, M::max_mix_d2l, M::max_mix_identity_d2, M::max_mix_identity_d2l,
               [&](int j) { return maximum(gaussian(p.vals, j), j); });
        merged("log-adds", M::add_mix_d2, M::add_mix_d2l, M::add_mix_identity_d2, M::add_mix_identity_d2l,
               [&](int j) { return added(gaussian(p.vals, j), j); });

        // The mixture, and single scores.
        Guarded<R> d2(1);
        Guarded<R> d2l(1);
        ASSERT_EQ(weighted ? M::mixture_d2(x0, p.m.data(), p.w.data(), height, p.step, len, p.vals.data(), d2.data())
                           : M::mixture_identity_d2(x0, p.m.data(), height, p.step, len, p.vals.data(), d2.data()),
                  kivStatusOk);
        ASSERT_EQ(weighted
                      ? M::mixture_d2l(x0, p.m.const_rows(), p.w.const_rows(), height, len, p.vals.data(), d2l.data())
                      : M::mixture_identity_d2l(x0, p.m.const_rows(), height, len, p.vals.data(), d2l.data()),
                  kivStatusOk);
        Truth<R> total = gaussian(p.vals, 0);
        for (int j = 1; j < height; ++j) {
          const Truth<R> next = gaussian(p.vals, j);
          total = {log_add(total.value, next.value), std::max(total.magnitude, next.magnitude)};
        }
        EXPECT_EQ(d2[0], d2l[0]);
        ASSERT_TRUE(within_reduction<R>(d2[0], static_cast<double>(total.value), static_cast<double>(total.magnitude),
                                        static_cast<std::size_t>(len + height)))
            << "mixture of " << height;
        Guarded<R> score(1);
        ASSERT_EQ(weighted ? M::single(x0, m0, w0, len, score.data(), val)
                           : M::single_identity(x0, m0, len, score.data(), val),
                  kivStatusOk);
        const Truth<R> t = frame(0);
        ASSERT_TRUE(within_reduction<R>(score[0], static_cast<double>(t.value), static_cast<double>(t.magnitude),
                                        static_cast<std::size_t>(len)));
      }
    }
  }
}

TYPED_TEST(Gaussian, ScoresDoNotDependOnPlaceOrAlignment) {
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const int len : {3, 8, 39}) {
    Problem<TypeParam> p(13, len, len + 1, 5);
    std::vector<R> all(13);
    M::plain_d2(p.x.data(), p.step, p.m.data(), p.w.data(), len, all.data(), 13, R{-3});
    std::vector<R> many(13, R{-3});
    M::multi_mix_d2(p.m.data(), p.w.data(), p.step, p.x.data(), len, many.data(), 13);
    for (int j = 0; j < 13; ++j) {
      R one = 0;
      M::plain_d2(p.x.row(j), p.step, p.m.data(), p.w.data(), len, &one, 1, R{-3});
      EXPECT_TRUE(same_bits(one, all[static_cast<std::size_t>(j)]));
      one = -3;
      M::multi_mix_d2(p.m.row(j), p.w.row(j), p.step, p.x.data(), len, &one, 1);
      EXPECT_TRUE(same_bits(one, many[static_cast<std::size_t>(j)]));
    }
  }
}

TYPED_TEST(Gaussian, LargeConstantsAndNan) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const int len : {1, 4, 39}) {
    const std::size_t n = static_cast<std::size_t>(len);
    std::vector<E> x(n, E{1.5});
    const std::vector<E> w(n, E{2});
    std::vector<R> scores(5, R{7});
    ASSERT_EQ(M::plain_d2(x.data(), len, x.data(), w.data(), len, scores.data(), 1, R(1e30)), kivStatusOk);
    EXPECT_EQ(scores[0], R(1e30));
    // Single precision starts from twice the constant, which may overflow; double precision does not.
    const R huge = std::numeric_limits<R>::max();
    ASSERT_EQ(M::single(x.data(), x.data(), w.data(), len, scores.data(), huge), kivStatusOk);
    EXPECT_EQ(scores[0], (std::is_same_v<R, float> ? static_cast<R>(kInfinity) : huge));

    const E* rows[5] = {x.data(), x.data(), x.data(), x.data(), x.data()};
    const std::vector<E> m(n, E(std::nan("")));
    std::fill(scores.begin(), scores.end(), R{-4});
    ASSERT_EQ(M::maximum_d2l(rows, m.data(), w.data(), len, scores.data(), 5, R{0}), kivStatusOk);
    EXPECT_EQ(scores, std::vector<R>(5, R{-4})) << "a NaN score keeps the old value";
    const std::vector<R> vals(5, R(std::nan("")));
    ASSERT_EQ(M::max_mix_d2l(rows, rows, x.data(), len, vals.data(), scores.data(), 5), kivStatusOk);
    EXPECT_EQ(scores, std::vector<R>(5, R{-4}));
    ASSERT_EQ(M::plain_d2l(rows, m.data(), w.data(), len, scores.data(), 5, R{0}), kivStatusOk);
    for (const R s : scores) EXPECT_TRUE(std::isnan(s));
  }
}

TYPED_TEST(Gaussian, DirectVariances) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const int len : {1, 3, 4, 39, 200}) {
    Problem<TypeParam> p(1, len, len, 9);
    std::vector<E> inverse;
    for (int i = 0; i < len; ++i) {
      p.w.at(0, i) += E{0.25};
      inverse.push_back(1 / p.w.at(0, i));
    }
    const long double d = distance(p.x.data(), p.m.data(), inverse.data(), len);
    Guarded<R> score(1);
    expect_survives_failed_allocations(
        [&] { return M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}); });
    EXPECT_NEAR(score[0], static_cast<double>(-3 - d / 2), 1e-6 * static_cast<double>(d + 10));
    // A zero variance: minus infinity, or a NaN where the vector equals the mean, with the division's warning.
    p.w.at(0, len - 1) = 0;
    EXPECT_EQ(M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}), kivStatusDivByZero);
    EXPECT_EQ(score[0], -kInfinity);
    p.m.at(0, len - 1) = p.x.at(0, len - 1);
    EXPECT_EQ(M::single_direct(p.x.data(), p.m.data(), p.w.data(), len, score.data(), R{-3}), kivStatusDivByZero);
    EXPECT_TRUE(std::isnan(score[0]));
  }
}

TYPED_TEST(Gaussian, BlockDiagonalWeights) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for (const std::vector<int>& sizes : {std::vector<int>{1}, {3, 2}, {13, 13, 13}, {100, 11}, {100, 12}, {9, 150}}) {
    int len = 0;
    for (const int b : sizes) len += b;
    Problem<TypeParam> p(1, len, len, 11);
    GuardedMatrix<E> cells(len, len, len);
    Random random(3);
    cells.fill([&] { return random.value<E>(-1, 1); });
    E** matrix = nullptr;
    ASSERT_EQ(init_blocks(&matrix, cells.const_rows(), sizes.data(), static_cast<int>(sizes.size())), kivStatusOk);
    const E* const* const handle = matrix;
    long double form = 0;
    long double magnitude = 0;
    int first = 0;
    for (const int b : sizes) {
      for (int r = first; r < first + b; ++r) {
        for (int c = first; c < first + b; ++c) {
          const long double left = static_cast<long double>(p.x.at(0, r)) - p.m.at(0, r);
          const long double right = static_cast<long double>(p.x.at(0, c)) - p.m.at(0, c);
          const long double term = left * cells.at(r, c - first) * right;
          form += term;
          magnitude += std::abs(term);
        }
      }
      first += b;
    }
    Guarded<R> score(1);
    const auto call = [&] { return M::single_block(p.x.data(), p.m.data(), handle, len, score.data(), R{-3}); };
    expect_survives_failed_allocations(call, len < 112 ? 0 : 1);
    {
      const AllocationWatch watch;
      EXPECT_EQ(call(), kivStatusOk);
      EXPECT_EQ(AllocationWatch::calls(), len < 112 ? 0 : 1) << len;
    }
    const double truth = static_cast<double>(-3 - form / 2);
    EXPECT_NEAR(score[0], truth, unit<R>(truth) + 1e-14 * static_cast<double>(magnitude)) << "computed in double";
    score[0] = 8;
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), handle, len + 1, score.data(), R{-3}), kivStatusBadSize);
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), handle, 0, score.data(), R{-3}), kivStatusBadSize);
    EXPECT_EQ(M::single_block(p.x.data(), p.m.data(), nullptr, 0, score.data(), R{-3}), kivStatusNullPointer);
    EXPECT_EQ(score[0], 8);
    free_blocks(matrix);
  }
}

// Every null pointer in turn, sizes and the step, alone and together: the first check in order decides.
TYPED_TEST(Gaussian, StatusesInOrder) {
  using E = typename TypeParam::E;
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  const std::vector<E> cells(12, E{1});
  const E* rows[3] = {cells.data(), cells.data() + 4, cells.data() + 8};
  const std::vector<R> vals(3, R{9});
  std::vector<R> out(3, R{5});
  constexpr R val = 2;

  struct Sizes {
    int step, len, height;
  };
  // call(k, sizes): the k-th pointer is null, none for k = -1.
  const auto check = [&](int pointers, bool step_first, bool has_step, const std::function<KivStatus(int, Sizes)>& call,
                         const char* what) {
    for (int k = 0; k < pointers; ++k) {
      EXPECT_EQ(call(k, {4, 0, 0}), kivStatusNullPointer) << what << " pointer " << k;
      if (has_step) {
        EXPECT_EQ(call(k, {3, 4, 0}), step_first ? kivStatusBadStep : kivStatusNullPointer) << what;
      }
    }
    EXPECT_EQ(call(-1, {4, 0, 3}), kivStatusBadSize) << what;
    EXPECT_EQ(call(-1, {4, 4, 0}), kivStatusBadSize) << what;
    if (has_step) {
      EXPECT_EQ(call(-1, {3, 4, 0}), kivStatusBadStep) << what;
      EXPECT_EQ(call(-1, {-5, -1, 3}), kivStatusBadStep) << what;
    }
    EXPECT_EQ(out, std::vector<R>(3, R{5})) << what << " wrote";
    EXPECT_EQ(call(-1, {4, 4, 3}), kivStatusOk) << what;
    EXPECT_NE(out, std::vector<R>(3, R{5})) << what << " wrote nothing";
    std::fill(out.begin(), out.end(), R{5});
  };
  const auto e = [&](int k, int null) { return k == null ? nullptr : cells.data(); };
  const auto l = [&](int k, int null) { return k == null ? nullptr : rows; };
  const auto v = [&](int k, int null) { return k == null ? nullptr : vals.data(); };
  const auto o = [&](int k, int null) { return k == null ? nullptr : out.data(); };

  const auto frames = [&](auto d2, auto d2l, auto d2_identity, auto d2l_identity, R constant) {
    check(
        4, true, true,
        [&](int k, Sizes s) { return d2(e(k, 0), s.step, e(k, 1), e(k, 2), s.len, o(k, 3), s.height, constant); },
        "D2");
    check(
        3, true, true,
        [&](int k, Sizes s) { return d2_identity(e(k, 0), s.step, e(k, 1), s.len, o(k, 2), s.height, constant); },
        "IdVar D2");
    check(
        4, true, false,
        [&](int k, Sizes s) { return d2l(l(k, 0), e(k, 1), e(k, 2), s.len, o(k, 3), s.height, constant); }, "D2L");
    check(
        3, true, false,
        [&](int k, Sizes s) { return d2l_identity(l(k, 0), e(k, 1), s.len, o(k, 2), s.height, constant); },
        "IdVar D2L");
  };
  frames(M::plain_d2, M::plain_d2l, M::plain_identity_d2, M::plain_identity_d2l, val);
  frames(M::maximum_d2, M::maximum_d2l, M::maximum_identity_d2, M::maximum_identity_d2l, R{9});
  frames(M::log_add_d2, M::log_add_d2l, M::log_add_identity_d2, M::log_add_identity_d2l, val);

  const std::vector<E> far(4, E{3});
  const auto f = [&](int k, int null) { return k == null ? nullptr : far.data(); };
  check(
      4, true, true,
      [&](int k, Sizes s) { return M::multi_mix_d2(e(k, 0), e(k, 1), s.step, f(k, 2), s.len, o(k, 3), s.height); },
      "MultiMix");
  check(
      3, true, true,
      [&](int k, Sizes s) { return M::multi_mix_identity_d2(e(k, 0), s.step, f(k, 1), s.len, o(k, 2), s.height); },
      "MultiMix IdVar");
  check(
      4, true, false,
      [&](int k, Sizes s) { return M::multi_mix_d2l(l(k, 0), l(k, 1), f(k, 2), s.len, o(k, 3), s.height); },
      "MultiMix D2L");
  check(
      3, true, false,
      [&](int k, Sizes s) { return M::multi_mix_identity_d2l(l(k, 0), f(k, 1), s.len, o(k, 2), s.height); },
      "MultiMix IdVar D2L");

  const auto merged = [&](auto d2, auto d2l, auto d2_identity, auto d2l_identity) {
    check(
        5, true, true,
        [&](int k, Sizes s) { return d2(e(k, 0), e(k, 1), s.step, e(k, 2), s.len, v(k, 3), o(k, 4), s.height); },
        "mix D2");
    check(
        4, true, true,
        [&](int k, Sizes s) { return d2_identity(e(k, 0), s.step, e(k, 1), s.len, v(k, 2), o(k, 3), s.height); },
        "mix IdVar D2");
    check(
        5, true, false,
        [&](int k, Sizes s) { return d2l(l(k, 0), l(k, 1), e(k, 2), s.len, v(k, 3), o(k, 4), s.height); }, "mix D2L");
    check(
        4, true, false,
        [&](int k, Sizes s) { return d2l_identity(l(k, 0), e(k, 1), s.len, v(k, 2), o(k, 3), s.height); },
        "mix IdVar D2L");
  };
  merged(M::add_mix_d2, M::add_mix_d2l, M::add_mix_identity_d2, M::add_mix_identity_d2l);
  merged(M::max_mix_d2, M::max_mix_d2l, M::max_mix_identity_d2, M::max_mix_identity_d2l);

  check(
      5, false, true,
      [&](int k, Sizes s) {
        return M::mixture_d2(e(k, 0), e(k, 1), e(k, 2), s.height, s.step, s.len, v(k, 3), o(k, 4));
      },
      "mixture D2");
  check(
      4, false, true,
      [&](int k, Sizes s) {
        return M::mixture_identity_d2(e(k, 0), e(k, 1), s.height, s.step, s.len, v(k, 2), o(k, 3));
      },
      "mixture IdVar D2");
  check(
      5, false, false,
      [&](int k, Sizes s) { return M::mixture_d2l(e(k, 0), l(k, 1), l(k, 2), s.height, s.len, v(k, 3), o(k, 4)); },
      "mixture D2L");
  check(
      4, false, false,
      [&](int k, Sizes s) { return M::mixture_identity_d2l(e(k, 0), l(k, 1), s.height, s.len, v(k, 2), o(k, 3)); },
      "mixture IdVar D2L");

  for (const auto single : {M::single, M::single_direct}) {
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(single(e(k, 0), e(k, 1), e(k, 2), 0, o(k, 3), val), kivStatusNullPointer);
    }
    EXPECT_EQ(single(cells.data(), cells.data(), cells.data(), 0, out.data(), val), kivStatusBadSize);
  }
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(M::single_identity(e(k, 0), e(k, 1), 0, o(k, 2), val), kivStatusNullPointer);
  }
  EXPECT_EQ(M::single_identity(cells.data(), cells.data(), 0, out.data(), val), kivStatusBadSize);
  EXPECT_EQ(out, std::vector<R>(3, R{5}));
}

}  // namespace
}  // namespace kivsr::test
