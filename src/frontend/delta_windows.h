// Arithmetic of the deltas: columns of a row in lanes, the regression windows and the multipliers. Next: delta_matrix.h
// (a matrix that is complete), delta_stream.h (a stream of blocks). Exports: delta.cpp.
//
// Everything is computed in lanes of Number<T>, the arithmetic of element type T: floats in single precision, in the
// order in which the formulas are written; 16-bit integers in double precision, where every sum and product of the
// windows is exact, so that one rounding to nearest even and one saturation give the exact scaled result.
#pragma once

#include <cassert>
#include <cstddef>
#include <type_traits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/simd/short_rows.h"
#include "kivsr/types.h"

namespace kivsr::delta {

template <class T>
using Number = std::conditional_t<std::is_floating_point_v<T>, float, double>;
template <class T>
using Lanes = simd::ShortVec<Number<T>>;

inline void put(Kiv32f* dst, Lanes<Kiv32f> x) { simd::store(dst, x); }
inline void put(Kiv16s* dst, Lanes<Kiv16s> x) {
  // What is too low converts to INT32_MIN and saturates from there.
  simd::store_rounded(dst, at_most(x, 32767.0));
}

// body(at, put) for the columns i of one row, where at(p) reads p[i] and put(p, x) writes it. The last columns are
// computed as a full vector that overlaps the one before; nothing that is written may be among what is read.
template <class T, class Width, class Body>
inline void for_columns(Width width, Body body) {
  using N = Number<T>;
  constexpr std::ptrdiff_t W = Lanes<T>::width;
  assert(width >= 1);
  if (width < W) {
    const int n = static_cast<int>(width);
    body([=](const auto* p) { return simd::load_some_short<N>(p, n); },
         [=](T* p, Lanes<T> x) {
           T columns[W];
           put(columns, x);
           for (int i = 0; i < n; ++i) p[i] = columns[i];
         });
    return;
  }
  const auto from = [&](std::ptrdiff_t i) {
    body([=](const auto* p) { return simd::load_short<N>(p + i); }, [=](T* p, Lanes<T> x) { put(p + i, x); });
  };
  for (std::ptrdiff_t i = 0; i + W <= width; i += W) from(i);
  if (width % W != 0) from(width - W);
}

// dst[i] = value(at).
template <class T, class Width, class Value>
inline void for_columns(Width width, T* dst, Value value) {
  for_columns<T>(width, [=](auto at, auto put_columns) { put_columns(dst, value(at)); });
}

// dst[i] = value(at) for one column.
template <class T, class Value>
inline void for_column(std::ptrdiff_t i, T* dst, Value value) {
  T columns[Lanes<T>::width];
  put(columns, value([=](const auto* p) { return simd::load_some_short<Number<T>>(p + i, 1); }));
  dst[i] = columns[0];
}

// --- windows: x(k) is the row k frames later -----------------------------------------------------------------------

struct Window1 {
  static constexpr int kReach = 1;
  template <class X>
  static auto evaluate(X x) {
    return x(1) - x(-1);
  }
};

struct Window2 {
  static constexpr int kReach = 2;
  template <class X>
  static auto evaluate(X x) {
    const auto e = x(2) - x(-2);
    return x(1) - x(-1) + e + e;
  }
};

// Nine weights, summed from the earliest row on. ETSI ES 202 050, the derivatives of the advanced front end.
template <class Weights>
struct NineFrames {
  static constexpr int kReach = 4;
  template <class X>
  static auto evaluate(X x) {
    using V = decltype(x(0));
    V sum = V::zero();
#pragma GCC unroll 9
    for (int k = -kReach; k <= kReach; ++k) sum = sum + x(k) * V::broadcast(Weights::kValues[k + kReach]);
    return sum;
  }
};
struct SlopeWeights {
  static constexpr float kValues[] = {-1.0F, -0.75F, -0.5F, -0.25F, 0.0F, 0.25F, 0.5F, 0.75F, 1.0F};
};
// Decimals of six digits, not 2/7, 17/28 and 5/7: their sum is not exactly zero.
struct CurvatureWeights {
  static constexpr float kValues[] = {1.0F,       0.25F,      -0.285714F, -0.607143F, -0.714286F,
                                      -0.607143F, -0.285714F, 0.25F,      1.0F};
};
using AuroraSlope = NineFrames<SlopeWeights>;
using AuroraCurvature = NineFrames<CurvatureWeights>;

// --- multipliers ----------------------------------------------------------------------------------------------------

struct Unchanged {
  template <class V, class At>
  V operator()(V x, At) const {
    return x;
  }
};

template <class N>
struct Constant {
  N factor;
  template <class V, class At>
  V operator()(V x, At) const {
    return x * V::broadcast(factor);
  }
};

template <class T>
struct PerColumn {
  const T* factors;
  Number<T> scale;
  template <class V, class At>
  V operator()(V x, At at) const {
    if constexpr (std::is_floating_point_v<T>) {
      return x * at(factors);
    } else {
      return x * at(factors) * V::broadcast(scale);
    }
  }
};

// The multipliers of one call: 16-bit ones take the scale factor along.
template <class T>
class Multipliers;
template <>
class Multipliers<Kiv32f> {
 public:
  static Constant<float> constant(Kiv32f val) { return {val}; }
  static PerColumn<Kiv32f> columns(const Kiv32f* val) { return {val, 1.0F}; }
  static Unchanged one() { return {}; }
};
template <>
class Multipliers<Kiv16s> {
 public:
  explicit Multipliers(int scale_factor) : scale_(double_scale(scale_factor)) {}
  Constant<double> constant(Kiv16s val) const { return {val * scale_}; }
  PerColumn<Kiv16s> columns(const Kiv16s* val) const { return {val, scale_}; }
  Constant<double> one() const { return {scale_}; }

 private:
  double scale_;
};

template <class T>
struct RoundingOf {};
template <>
struct RoundingOf<Kiv16s> {
  NearestRounding nearest;
};

}  // namespace kivsr::delta
