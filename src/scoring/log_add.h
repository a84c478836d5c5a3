// Log-addition, ln(e^a + e^b) = max + ln(1 + e^(min - max)): the vector kernel, its extended-precision twin and the
// driver. Constants: log_tables.h. Sums of one vector: log_sum.h.
#pragma once

#include <bit>
#include <cstddef>

#include "frame/simd/vec.h"
#include "kivsr/types.h"
#include "log_tables.h"

namespace kivsr {

// The polynomial of coefficients kFirst .. kFirst + kCount - 1, halves at a time (Estrin's scheme: a chain of Horner's
// steps would take three times as long). powers[j] = u^(2^j).
template <int kFirst, int kCount, class C, class V>
[[gnu::always_inline]] inline V polynomial(C coefficient, const V* powers) {
  if constexpr (kCount == 1) {
    return coefficient(kFirst);
  } else {
    constexpr int kLog = std::bit_width(static_cast<unsigned>(kCount - 1)) - 1;
    constexpr int kHalf = 1 << kLog;
    return polynomial<kFirst + kHalf, kCount - kHalf>(coefficient, powers) * powers[kLog] +
           polynomial<kFirst, kHalf>(coefficient, powers);
  }
}

// ln(1 + e^d) by the interval of d, without regard to the cut-off. A NaN comes out as NaN.
template <class Set, class T>
[[gnu::always_inline]] inline simd::Vec<T> log_add_correction(simd::Vec<T> d) {
  using V = simd::Vec<T>;
  static constexpr auto& kTable = Set::template table<T>;
  const auto interval = simd::one_of_three<T>(d > V::broadcast(kTable.breaks[0]), d > V::broadcast(kTable.breaks[1]));
  V powers[5];
  powers[0] = d - simd::choose(interval, kTable.centres);
#pragma GCC unroll 4
  for (int j = 1; j < 5; ++j) powers[j] = powers[j - 1] * powers[j - 1];
  return polynomial<0, kTable.terms>(
      [&](int power) { return simd::choose(interval, kTable.rows[kTable.terms - 1 - power]); }, powers);
}

// The larger of equal values is a; comparisons with a NaN are false, and it reaches the result through d.
template <class Set, class T>
[[gnu::always_inline]] inline simd::Vec<T> log_add(simd::Vec<T> a, simd::Vec<T> b) {
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
[[gnu::always_inline]] inline simd::Vec<float> log_add_widened(simd::Vec<float> a, simd::Vec<float> b) {
  return simd::narrow(log_add<Set>(simd::widen_low(a), simd::widen_low(b)),
                      log_add<Set>(simd::widen_high(a), simd::widen_high(b)));
}

// Extended precision, the polynomial in two halves of even and odd powers.
inline long double log_add_extended(long double a, long double b) {
  const long double high = b > a ? b : a;
  const long double low = b > a ? a : b;
  const long double d = low - high;
  if (d < kLogCutOff) return high > kLogZero ? high : kLogZero;
  const int interval = d > kCentres10[1] ? 0 : d > kCentres10[2] ? 1 : 2;
  const double* const c = kDegree10[interval];
  const long double u = d - kCentres10[interval];
  const long double u2 = u * u;
  const long double even = ((((c[0] * u2 + c[2]) * u2 + c[4]) * u2 + c[6]) * u2 + c[8]) * u2 + c[10];
  const long double odd = (((c[1] * u2 + c[3]) * u2 + c[5]) * u2 + c[7]) * u2 + c[9];
  return high + (even + odd * u);
}

// src_dst[i] = op(src[i], src_dst[i]) for a long op, whose code should stand in one place; the last, incomplete vector
// is padded.
template <class T, class Op>
inline void combine(T* src_dst, const T* src, int len, Op op) {
  constexpr int W = simd::Vec<T>::width;
  const int full = len - len % W;
  T a[W] = {};
  T b[W] = {};
  for (int i = 0; i < len - full; ++i) {
    a[i] = src[full + i];
    b[i] = src_dst[full + i];
  }
  for (std::ptrdiff_t i = 0; i < len; i += W) {
    T* const y = i < full ? src_dst + i : b;
    simd::store(y, op(simd::load<T>(i < full ? src + i : a), simd::load<T>(y)));
  }
  for (int i = 0; i < len - full; ++i) src_dst[full + i] = b[i];
}

// src_dst = ln(e^src + e^src_dst). An unknown hint leaves src_dst alone.
inline void log_add(float* src_dst, const float* src, int len, KivLogAddHint hint) {
  switch (hint) {
    case kivLogAddHintAc:
      combine(src_dst, src, len, [](auto a, auto b) { return log_add_widened<Degree10>(a, b); });
      break;
    case kivLogAddHintSp: combine(src_dst, src, len, [](auto a, auto b) { return log_add<Degree10>(a, b); }); break;
    case kivLogAddHintFpu:
      for (int i = len - 1; i >= 0; --i) src_dst[i] = static_cast<float>(log_add_extended(src[i], src_dst[i]));
      break;
    default: break;
  }
}
inline void log_add(double* src_dst, const double* src, int len, KivLogAddHint hint) {
  if (hint < kivLogAddHintAc || hint > kivLogAddHintFpu) return;
  combine(src_dst, src, len, [](auto a, auto b) { return log_add<Degree21>(a, b); });
}

}  // namespace kivsr
