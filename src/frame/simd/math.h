// Vector forms of elementary functions, in terms of the wrapper's operations.
#pragma once

#include <limits>

#include "vec.h"

namespace kivsr::simd {

// Natural logarithm of positive normal numbers, error below 1 unit in the last place. x = 2^e m with m in
// [sqrt(1/2), sqrt(2)), ln x = e ln 2 + f - f^2/2 + f^3 P(f), f = m - 1. ln 2 is split so that e times its upper part
// is exact. The polynomial is that of the Cephes library (S. L. Moshier, logf).
inline Vec<float> log_normal(Vec<float> x) {
  using F = Vec<float>;
  using I = Vec<std::int32_t>;
  constexpr std::int32_t kRootHalf = 0x3F3504F3;
  const I offset = bits(x) - I::broadcast(kRootHalf);
  const F e = to_float(shift_right(offset, 23));
  const F m = from_bits((offset & I::broadcast(0x007FFFFF)) + I::broadcast(kRootHalf));
  const F f = m - F::broadcast(1.0F);
  const F f2 = f * f;
  const F f4 = f2 * f2;
  const auto pair = [&](float high, float low) { return F::broadcast(high) * f + F::broadcast(low); };
  const F p01 = pair(-2.4999993993e-1F, 3.3333331174e-1F);
  const F p23 = pair(-1.6668057665e-1F, 2.0000714765e-1F);
  const F p45 = pair(-1.2420140846e-1F, 1.4249322787e-1F);
  const F p67 = pair(-1.1514610310e-1F, 1.1676998740e-1F);
  const F p8 = F::broadcast(7.0376836292e-2F);
  const F polynomial = (p01 + p23 * f2) + f4 * ((p45 + p67 * f2) + p8 * f4);
  const F tail = f2 * f * polynomial + e * F::broadcast(-2.12194440e-4F);
  return (f + (tail - f2 * F::broadcast(0.5F))) + e * F::broadcast(0.693359375F);
}

// Whether log_normal covers every lane: positive, finite, not subnormal.
inline bool all_positive_normal(Vec<float> x) {
  const auto smallest = Vec<float>::broadcast(std::numeric_limits<float>::min());
  const auto largest = Vec<float>::broadcast(std::numeric_limits<float>::max());
  return all((x >= smallest) & (x <= largest));
}

}  // namespace kivsr::simd
