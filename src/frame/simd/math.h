// Vector forms of elementary functions, in terms of the wrapper's operations.
#pragma once

#include <cstdint>
#include <initializer_list>
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

// e^x for x <= 0, error below 2 units in the last place; x below -80 counts as -80, so that no result is subnormal. A
// NaN counts as -80 too. x = n ln 2 + r, |r| <= ln(2) / 2, ln 2 split as above, e^r by a minimax polynomial (error
// 4e-9). For sums only: products and sums may be fused.
inline Vec<float> exp_nonpositive(Vec<float> x) {
  using F = Vec<float>;
  const F magic = F::broadcast(12582912.0F);  // 1.5 2^23: the sum's low bits hold the nearest integer
  x = max(x, F::broadcast(-80.0F));
  const F biased = mul_add(x, F::broadcast(1.44269504088896341F), magic);
  const F n = biased - magic;
  F r = neg_mul_add(n, F::broadcast(0.693359375F), x);
  r = mul_add(n, F::broadcast(2.12194440e-4F), r);
  const F r2 = r * r;
  const F p01 = mul_add(F::broadcast(0.16666519524F), r, F::broadcast(0.49999993373F));
  const F p23 = mul_add(F::broadcast(8.36885106769e-3F), r, F::broadcast(0.04166840108F));
  const F p234 = mul_add(F::broadcast(1.38143206999e-3F), r2, p23);
  const F p = mul_add(mul_add(p234, r2, p01), r2, r) + F::broadcast(1.0F);
  return from_bits(bits(p) + shift_left(bits(biased), 23));
}

// The same in double precision, x below -700 as -700; the Taylor series to the power 13 (remainder below 5e-18).
inline Vec<double> exp_nonpositive(Vec<double> x) {
  using D = Vec<double>;
  const D magic = D::broadcast(6755399441055744.0);  // 1.5 2^52: the sum's low bits hold the nearest integer
  x = max(x, D::broadcast(-700.0));
  const D biased = mul_add(x, D::broadcast(1.44269504088896340736), magic);
  const D n = biased - magic;
  D r = neg_mul_add(n, D::broadcast(6.93145751953125e-1), x);
  r = neg_mul_add(n, D::broadcast(1.42860682030941723212e-6), r);
  D p = D::broadcast(1.0 / 6227020800.0);
#pragma GCC unroll 16
  for (const double c : {1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0, 1.0 / 362880.0, 1.0 / 40320.0,
                         1.0 / 5040.0, 1.0 / 720.0, 1.0 / 120.0, 1.0 / 24.0, 1.0 / 6.0, 0.5}) {
    p = mul_add(p, r, D::broadcast(c));
  }
  p = mul_add(p, r * r, r) + D::broadcast(1.0);
  return scale_by_power_of_two(p, biased);
}

}  // namespace kivsr::simd
