// Log-addition, ln(e^a + e^b) = max + ln(1 + e^(min - max)): the vector kernel, its extended-precision twin and the
// driver. Constants: log_tables.h. Sums of one vector: log_sum.h.
#pragma once

#include <cstddef>

#include "frame/simd/vec.h"
#include "frame/transform.h"
#include "kivsr/types.h"
#include "log_tables.h"

namespace kivsr {

// ln(1 + e^d) by the interval of d, without regard to the cut-off. A NaN comes out as NaN.
template <class Set, class T>
inline simd::Vec<T> log_add_correction(simd::Vec<T> d) {
  using V = simd::Vec<T>;
  static constexpr auto& kTable = Set::template table<T>;
  const auto interval = simd::one_of_three<T>(d > V::broadcast(kTable.breaks[0]), d > V::broadcast(kTable.breaks[1]));
  const V u = d - simd::choose(interval, kTable.centres);
  V p = simd::choose(interval, kTable.rows[0]);
#pragma GCC unroll 32
  for (int k = 1; k < kTable.terms; ++k) p = p * u + simd::choose(interval, kTable.rows[k]);
  return p;
}

// The larger of equal values is a; comparisons with a NaN are false, and it reaches the result through d.
template <class Set, class T>
inline simd::Vec<T> log_add(simd::Vec<T> a, simd::Vec<T> b) {
  using V = simd::Vec<T>;
  const V high = max(b, a);
  const V low = min(a, b);
  const V d = low - high;
  const V sum = high + log_add_correction<Set>(d);
  const V alone = max(high, V::broadcast(static_cast<T>(kLogZero)));
  return select(d < V::broadcast(static_cast<T>(kLogCutOff)), alone, sum);
}

// Single precision in, double precision between.
template <class Set>
inline simd::Vec<float> log_add_widened(simd::Vec<float> a, simd::Vec<float> b) {
  return simd::narrow(log_add<Set>(simd::widen_low(a), simd::widen_low(b)),
                      log_add<Set>(simd::widen_high(a), simd::widen_high(b)));
}

// Extended precision, the polynomial in two halves of even and odd powers.
inline long double log_add_extended(long double a, long double b) {
  const long double high = b > a ? b : a;
  const long double low = b > a ? a : b;
  const long double d = low - high;
  if (d < kLogCutOff) return high > kLogZero ? high : kLogZero;
  const int interval = d > -2.55 ? 0 : d > -6.8 ? 1 : 2;
  constexpr double kCentres[3] = {0.0, -2.55, -6.8};
  const double* const c = kDegree10[interval];
  const long double u = d - kCentres[interval];
  const long double u2 = u * u;
  const long double even = ((((c[0] * u2 + c[2]) * u2 + c[4]) * u2 + c[6]) * u2 + c[8]) * u2 + c[10];
  const long double odd = (((c[1] * u2 + c[3]) * u2 + c[5]) * u2 + c[7]) * u2 + c[9];
  return high + (even + odd * u);
}

// src_dst[i] = op(src[i], src_dst[i]) for an op with a long dependency chain: a vector that is not full costs as much
// as a full one, so a short array is padded instead of being taken element by element.
template <class T, class Op>
inline void combine_padded(T* src_dst, const T* src, std::ptrdiff_t len, Op op) {
  constexpr int W = simd::Vec<T>::width;
  if (len >= W) {
    transform<T>(len, op, src_dst, src, static_cast<const T*>(src_dst));
    return;
  }
  T a[W] = {};
  T b[W] = {};
  for (int i = 0; i < len; ++i) {
    a[i] = src[i];
    b[i] = src_dst[i];
  }
  simd::store(b, op(simd::load<T>(a), simd::load<T>(b)));
  for (int i = 0; i < len; ++i) src_dst[i] = b[i];
}

// src_dst = ln(e^src + e^src_dst). An unknown hint leaves src_dst alone.
inline void log_add(float* src_dst, const float* src, int len, KivLogAddHint hint) {
  switch (hint) {
    case kivLogAddHintAc:
      combine_padded(src_dst, src, len, [](auto a, auto b) { return log_add_widened<Degree10>(a, b); });
      break;
    case kivLogAddHintSp:
      combine_padded(src_dst, src, len, [](auto a, auto b) { return log_add<Degree10>(a, b); });
      break;
    case kivLogAddHintFpu:
      for (int i = len - 1; i >= 0; --i) src_dst[i] = static_cast<float>(log_add_extended(src[i], src_dst[i]));
      break;
    default: break;
  }
}
inline void log_add(double* src_dst, const double* src, int len, KivLogAddHint hint) {
  if (hint < kivLogAddHintAc || hint > kivLogAddHintFpu) return;
  combine_padded(src_dst, src, len, [](auto a, auto b) { return log_add<Degree21>(a, b); });
}

}  // namespace kivsr
