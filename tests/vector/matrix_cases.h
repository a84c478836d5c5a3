// One body for all tests of operations on a matrix and vectors: a call is described by its arguments,
//
//   with(kivsMeanColumn_32f_D2, matrix, height, step, first, width)
//
// and check() runs it over all shapes, at several row steps, with arrays that end at a guard page, compares it with a
// reference, and then makes every pair of its arguments wrong to see which status it returns.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {

// The exact value times 2^-scale_factor to nearest, ties to even, saturated.
template <class D>
D rounded(double exact, int scale_factor) {
  const double x = std::nearbyint(std::ldexp(exact, -scale_factor));
  using L = std::numeric_limits<D>;
  return static_cast<D>(std::clamp(x, static_cast<double>(L::min()), static_cast<double>(L::max())));
}

// Integers of one of the extreme regimes, floating-point values in [-10, 10].
template <class T>
T any_value(Random& random, int regime) {
  if constexpr (std::is_integral_v<T>) {
    return random.extreme<T>(regime);
  } else {
    return random.value<T>(-10, 10);
  }
}

enum class Results { kByColumn, kByRow };

enum Argument : unsigned { kMatrix, kColumns, kRows, kFirst, kSecond, kHeight, kWidth, kStep, kArguments };

// The data of one call. `columns` has an element for each column, `rows` one for each row; `first` and `second` are
// results. Those that a function does not have must stay as they are.
template <class S, class D, class E>
struct Case {
  Case(Results results, int h, int w, int step, unsigned seed)
      : height(h),
        width(w),
        matrix(h, w, step),
        columns(static_cast<std::size_t>(w)),
        rows(static_cast<std::size_t>(h)),
        first(static_cast<std::size_t>(results == Results::kByColumn ? w : h)),
        second(first.size()) {
    Random random(seed);
    const int regime = static_cast<int>(seed % 3);
    const auto any = [&] { return any_value<S>(random, regime); };
    matrix.fill(any);
    std::generate(columns.begin(), columns.end(), any);
    std::generate(rows.begin(), rows.end(), any);
    for (D& x : first) x = any_value<D>(random, regime);
    for (E& x : second) x = any_value<E>(random, regime);
  }

  // Remembers that the call has this argument, and whether to pass a wrong one.
  bool is_wrong(Argument a) {
    used |= 1U << a;
    return (wrong >> a & 1U) != 0;
  }
  template <class T>
  T* given(Argument a, T* pointer) {
    return is_wrong(a) ? nullptr : pointer;
  }

  int height;
  int width;
  unsigned used = 0;
  unsigned wrong = 0;
  int least_height = 1;
  GuardedMatrix<S> matrix;
  Guarded<S> columns;
  Guarded<S> rows;
  Guarded<D> first;
  Guarded<E> second;
};

// Argument descriptions; the _rows are the arrays of row pointers of the D2L layout.
inline constexpr auto matrix = [](auto& c) { return c.given(kMatrix, c.matrix.data()); };
inline constexpr auto matrix_rows = [](auto& c) { return c.given(kMatrix, c.matrix.const_rows()); };
inline constexpr auto changed_rows = [](auto& c) { return c.given(kMatrix, c.matrix.rows()); };
inline constexpr auto columns = [](auto& c) { return c.given(kColumns, c.columns.data()); };
inline constexpr auto rows = [](auto& c) { return c.given(kRows, c.rows.data()); };
inline constexpr auto first = [](auto& c) { return c.given(kFirst, c.first.data()); };
inline constexpr auto second = [](auto& c) { return c.given(kSecond, c.second.data()); };
inline constexpr auto height = [](auto& c) { return c.is_wrong(kHeight) ? c.least_height - 1 : c.height; };
inline constexpr auto width = [](auto& c) { return c.is_wrong(kWidth) ? 0 : c.width; };
inline constexpr auto step = [](auto& c) { return c.is_wrong(kStep) ? -1 : c.matrix.step(); };
inline constexpr auto value = [](auto x) { return [=](auto&) { return x; }; };

template <class Function, class... Description>
auto with(Function function, Description... arguments) {
  return [=](auto& c) { return function(arguments(c)...); };
}

using Order = std::vector<KivStatus>;
inline const Order kStepFirst = {kivStatusBadStep, kivStatusNullPointer, kivStatusBadSize};
inline const Order kStepSecond = {kivStatusNullPointer, kivStatusBadStep, kivStatusBadSize};
inline const Order kStepLast = {kivStatusNullPointer, kivStatusBadSize, kivStatusBadStep};

// Every pair of wrong arguments gives the status that comes first in the order; nothing is written.
template <class C, class Call>
void expect_order(C& c, const Order& order, Call call) {
  constexpr KivStatus kStatus[kArguments] = {kivStatusNullPointer, kivStatusNullPointer, kivStatusNullPointer,
                                             kivStatusNullPointer, kivStatusNullPointer, kivStatusBadSize,
                                             kivStatusBadSize,     kivStatusBadStep};
  const auto rank = [&](unsigned a) { return std::find(order.begin(), order.end(), kStatus[a]) - order.begin(); };
  const auto before = c.first.values();
  const unsigned used = c.used;
  for (unsigned a = 0; a < kArguments; ++a) {
    for (unsigned b = a; b < kArguments; ++b) {
      if ((used >> a & used >> b & 1U) == 0) continue;
      c.wrong = 1U << a | 1U << b;
      EXPECT_EQ(call(c), kStatus[rank(a) < rank(b) ? a : b]) << "arguments " << a << " and " << b;
    }
  }
  c.wrong = 0;
  expect_exact(c.first, before, "after errors");
}

// Calls body(height, width, seed): narrower than a vector, with and without a tail, beyond a strip, a panel, a block.
template <class Body>
void for_shapes(int least_height, Body body) {
  unsigned seed = 1;
  for (int w : {1, 2, 3, 5, 8, 9, 13, 16, 39, 47, 517, 1030}) {
    for (int h : {1, 2, 3, 4, 5, 9, 300}) {
      if (w * h < 20000 && h >= least_height) body(h, w, seed++);
    }
  }
  body(5000, 3, seed);
}

// Expected results: exact, or n terms added in any order.
template <class T>
struct Sum {
  double sum = 0;
  double magnitudes = 0;
  std::size_t n = 0;
  void add(double term) {
    sum += term;
    magnitudes += std::abs(term);
    ++n;
  }
};
template <class T>
bool agrees(T actual, T expected) {
  return same_bits(actual, expected);
}
template <class T>
bool agrees(T actual, Sum<T> expected) {
  return static_cast<bool>(within_reduction<T>(actual, expected.sum, expected.magnitudes, expected.n));
}

// Each call on each shape at several steps against expected(case, k), the pair of results number k. All calls and
// steps must give the same bits.
template <class S, class D, class E = D, class Expected, class... Call>
void check(Results results, const Order& order, int least_height, Expected expected, Call... calls) {
  for_shapes(least_height, [&](int h, int w, unsigned seed) {
    Case<S, D, E> reference(results, h, w, w, seed);
    std::vector<D> bits;
    const auto run = [&](auto call) {
      for (int padding : {0, 1, 3}) {
        Case<S, D, E> actual(results, h, w, w + padding, seed);
        actual.least_height = least_height;
        ASSERT_EQ(call(actual), kivStatusOk);
        if (bits.empty()) bits = actual.first.values();
        expect_exact(actual.first, bits, "layouts and steps");
        for (std::size_t k = 0; k < bits.size(); ++k) {
          const auto result = expected(reference, static_cast<int>(k));
          ASSERT_TRUE(agrees(actual.first[k], result.first)) << h << " x " << w << ", first result " << k;
          ASSERT_TRUE(agrees(actual.second[k], result.second)) << h << " x " << w << ", second result " << k;
        }
        if (h == 4 && w == 3) expect_order(actual, order, call);
      }
    };
    (run(calls), ...);
  });
}

}  // namespace kivsr::test
