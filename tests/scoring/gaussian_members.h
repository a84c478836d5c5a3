// The members of floating-point Gaussian scoring by element and result type, their definitions and random problems.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {

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

inline long double log_add(long double a, long double b) {
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

using Codes = ::testing::Types<Code32f, Code64f, Code32f64f>;

}  // namespace kivsr::test
