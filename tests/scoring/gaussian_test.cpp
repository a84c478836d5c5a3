// Gaussian log-likelihoods, floating point: every operation in three types, two layouts, with and without weights.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "gaussian_members.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class Code>
class Gaussian : public ::testing::Test {};
TYPED_TEST_SUITE(Gaussian, Codes);

template <class Code, class Body>
void for_each_problem(Body body) {
  unsigned seed = 1;
  for (const int len : {1, 2, 3, 4, 5, 7, 8, 9, 13, 16, 17, 31, 39, 64, 130}) {
    for (const int height : {1, 2, 3, 4, 5, 8, 11, 100, 101, 129, 257}) {
      if (len > 39 && height > 11) continue;
      Problem<Code> problem(height, len, len + (height % 3), seed++);
      for (const bool weighted : {true, false}) body(problem, weighted);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

// A score with its constant, and the magnitude of what was added for it.
template <class R>
struct Truth {
  long double value;
  long double magnitude;
};
template <class Code, class R>
Truth<R> truth_of(Problem<Code>& p, R val, int vector, int gaussian, bool weighted) {
  const long double d = distance(p.x.row(vector), p.m.row(gaussian), weighted ? p.w.row(gaussian) : nullptr, p.len);
  return {val - d / 2, std::abs(static_cast<long double>(val)) + d / 2};
}

// What becomes of a score and the old value.
struct Kept {
  template <class R>
  Truth<R> operator()(Truth<R> score, R) const {
    return score;
  }
};
struct Maximum {
  template <class R>
  Truth<R> operator()(Truth<R> score, R old) const {
    return {std::max<long double>(score.value, old), score.magnitude};
  }
};
struct Added {
  template <class R>
  Truth<R> operator()(Truth<R> score, R old) const {
    const long double more = std::abs(static_cast<long double>(old));
    return {log_add(score.value, old), score.magnitude + more + (std::is_same_v<R, float> ? 0 : 1e5)};
  }
};

// Runs an operation in both layouts, which must agree bit for bit, and compares with truth(j).
template <class P, class D2, class D2L, class T>
void expect_rows(const P& p, const char* what, D2 d2, D2L d2l, T truth) {
  using R = typename P::R;
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

TYPED_TEST(Gaussian, FramesAgreeWithTheDefinition) {
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for_each_problem<TypeParam>([](Problem<TypeParam>& p, bool weighted) {
    const R val = p.vals[0];
    const auto* const m = p.m.row(0);
    const auto* const w = p.w.row(0);
    const auto check = [&](const char* what, auto d2, auto d2l, auto d2_identity, auto d2l_identity, auto kept) {
      expect_rows(
          p, what,
          [&](R* dst) {
            return weighted ? d2(p.x.data(), p.step, m, w, p.len, dst, p.height, val)
                            : d2_identity(p.x.data(), p.step, m, p.len, dst, p.height, val);
          },
          [&](R* dst) {
            return weighted ? d2l(p.x.const_rows(), m, w, p.len, dst, p.height, val)
                            : d2l_identity(p.x.const_rows(), m, p.len, dst, p.height, val);
          },
          [&](int j) { return kept(truth_of(p, val, j, 0, weighted), p.old[static_cast<std::size_t>(j)]); });
    };
    check("plain", M::plain_d2, M::plain_d2l, M::plain_identity_d2, M::plain_identity_d2l, Kept());
    check("maximum", M::maximum_d2, M::maximum_d2l, M::maximum_identity_d2, M::maximum_identity_d2l, Maximum());
    check("log-add", M::log_add_d2, M::log_add_d2l, M::log_add_identity_d2, M::log_add_identity_d2l, Added());
  });
}

TYPED_TEST(Gaussian, GaussiansAgreeWithTheDefinition) {
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for_each_problem<TypeParam>([](Problem<TypeParam>& p, bool weighted) {
    const auto* const x = p.x.row(0);
    // The constants stand in the destination (none), or in an argument.
    const auto check = [&](const char* what, auto d2, auto d2l, auto d2_identity, auto d2l_identity, auto kept,
                           auto*... vals) {
      const auto& constants = sizeof...(vals) == 0 ? p.old : p.vals;
      expect_rows(
          p, what,
          [&](R* dst) {
            return weighted ? d2(p.m.data(), p.w.data(), p.step, x, p.len, vals..., dst, p.height)
                            : d2_identity(p.m.data(), p.step, x, p.len, vals..., dst, p.height);
          },
          [&](R* dst) {
            return weighted ? d2l(p.m.const_rows(), p.w.const_rows(), x, p.len, vals..., dst, p.height)
                            : d2l_identity(p.m.const_rows(), x, p.len, vals..., dst, p.height);
          },
          [&](int j) {
            const auto row = static_cast<std::size_t>(j);
            return kept(truth_of(p, constants[row], 0, j, weighted), p.old[row]);
          });
    };
    check("scores", M::multi_mix_d2, M::multi_mix_d2l, M::multi_mix_identity_d2, M::multi_mix_identity_d2l, Kept());
    check("maxima", M::max_mix_d2, M::max_mix_d2l, M::max_mix_identity_d2, M::max_mix_identity_d2l, Maximum(),
          p.vals.data());
    check("log-adds", M::add_mix_d2, M::add_mix_d2l, M::add_mix_identity_d2, M::add_mix_identity_d2l, Added(),
          p.vals.data());
  });
}

TYPED_TEST(Gaussian, MixturesAgreeWithTheDefinition) {
  using R = typename TypeParam::R;
  using M = Members<TypeParam>;
  for_each_problem<TypeParam>([](Problem<TypeParam>& p, bool weighted) {
    const auto* const x = p.x.row(0);
    const R* const vals = p.vals.data();
    Guarded<R> d2(1), d2l(1);
    ASSERT_EQ(weighted ? M::mixture_d2(x, p.m.data(), p.w.data(), p.height, p.step, p.len, vals, d2.data())
                       : M::mixture_identity_d2(x, p.m.data(), p.height, p.step, p.len, vals, d2.data()),
              kivStatusOk);
    ASSERT_EQ(weighted ? M::mixture_d2l(x, p.m.const_rows(), p.w.const_rows(), p.height, p.len, vals, d2l.data())
                       : M::mixture_identity_d2l(x, p.m.const_rows(), p.height, p.len, vals, d2l.data()),
              kivStatusOk);
    Truth<R> total = truth_of(p, vals[0], 0, 0, weighted);
    for (int j = 1; j < p.height; ++j) {
      const Truth<R> next = truth_of(p, vals[j], 0, j, weighted);
      total = {log_add(total.value, next.value), std::max(total.magnitude, next.magnitude)};
    }
    EXPECT_EQ(d2[0], d2l[0]);
    ASSERT_TRUE(within_reduction<R>(d2[0], static_cast<double>(total.value), static_cast<double>(total.magnitude),
                                    static_cast<std::size_t>(p.len + p.height)))
        << "mixture of " << p.height;
  });
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
    EXPECT_EQ(scores[0], (std::is_same_v<R, float> ? static_cast<R>(std::numeric_limits<double>::infinity()) : huge));

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

}  // namespace
}  // namespace kivsr::test
