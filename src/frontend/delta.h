// Regression windows over the rows of a feature matrix, and the two ways to run them: over a matrix that is complete,
// and over a stream of blocks. Exports: delta.cpp.
//
// Everything is computed in lanes of Number<T>, the arithmetic of element type T: floats in single precision, in the
// order in which the formulas are written; 16-bit integers in double precision, where every sum and product of the
// windows is exact, so that one rounding to nearest even and one saturation give the exact scaled result.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "frame/rounding_mode.h"
#include "frame/rows.h"
#include "frame/scale.h"
#include "frame/simd/vec.h"
#include "frame/status.h"
#include "kivsr/types.h"

namespace kivsr::delta {

template <class T>
using Number = std::conditional_t<std::is_floating_point_v<T>, float, double>;
template <class T>
using Lanes = simd::Vec<Number<T>>;

inline void put(Kiv32f* dst, Lanes<Kiv32f> x) { simd::store(dst, x); }
inline void put(Kiv16s* dst, Lanes<Kiv16s> x) {
  // What is too low converts to INT32_MIN and saturates from there.
  simd::store_rounded(dst, min(Lanes<Kiv16s>::broadcast(32767.0), x));
}

// body(at, put) for the columns i of one row, where at(p) reads p[i] and put(p, x) writes it. The last columns are
// computed as a full vector that overlaps the one before; nothing that is written may be among what is read.
template <class T, class Width, class Body>
inline void for_columns(Width width, Body body) {
  using N = Number<T>;
  constexpr std::ptrdiff_t W = simd::Vec<N>::width;
  if (width < W) {
    const int n = static_cast<int>(width);
    body([=](const auto* p) { return simd::load_some<N>(p, n); },
         [=](T* p, Lanes<T> x) {
           T columns[W];
           put(columns, x);
           for (int i = 0; i < n; ++i) p[i] = columns[i];
         });
    return;
  }
  const auto from = [&](std::ptrdiff_t i) {
    body([=](const auto* p) { return simd::load<N>(p + i); }, [=](T* p, Lanes<T> x) { put(p + i, x); });
  };
  for (std::ptrdiff_t i = 0; i + W <= width; i += W) from(i);
  if (width % W != 0) from(width - W);
}

// dst[i] = value(at).
template <class T, class Width, class Value>
inline void for_columns(Width width, T* dst, Value value) {
  for_columns<T>(width, [=](auto at, auto put_columns) { put_columns(dst, value(at)); });
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
  explicit Multipliers(int scale_factor) : scale_(power_of_two_64(-std::clamp(scale_factor, -900, 900))) {}
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

// --- a complete matrix ----------------------------------------------------------------------------------------------

// Slope over `reach` frames on both sides, from the columns at `offset` into the `width` columns behind them. In the
// first `reach` rows row 0 stands for every earlier frame, in the last ones the last row for every later frame, also
// where those frames exist.
// kReach: `reach`, or 0 for any.
template <int kReach, class T, class Multiplier>
void evaluate_rows(T* matrix, std::ptrdiff_t height, int step, int width, int offset, int reach, Multiplier multiply) {
  if constexpr (kReach != 0) reach = kReach;
  const StepRows<T> rows(matrix + offset, step);
  for (std::ptrdiff_t t = 0; t < height; ++t) {
    const bool first_rows = t < reach;
    const bool last_rows = t >= height - reach;
    const StepRows<const T> past{rows.row(first_rows ? 0 : t), first_rows ? 0 : -std::ptrdiff_t{step}};
    const StepRows<const T> future{rows.row(last_rows ? height - 1 : t), last_rows ? 0 : std::ptrdiff_t{step}};
    for_columns(width, rows.row(t) + width, [&](auto at) {
      using V = Lanes<T>;
      V sum = V::zero();
#pragma GCC unroll 3
      for (int k = 1; k <= reach; ++k) {
        const V weight = V::broadcast(static_cast<Number<T>>(k));
        sum = sum + weight * (at(future.row(k)) - at(past.row(k)));
      }
      return multiply(sum, at);
    });
  }
}

template <class T, class Multiplier>
void evaluate_matrix(T* matrix, std::ptrdiff_t height, int step, int width, int offset, int reach,
                     Multiplier multiply) {
  [[maybe_unused]] const RoundingOf<T> rounding;
  const auto run = [&]<int kReach>() { evaluate_rows<kReach>(matrix, height, step, width, offset, reach, multiply); };
  switch (reach) {
    case 1: return run.template operator()<1>();
    case 2: return run.template operator()<2>();
    case 3: return run.template operator()<3>();
    default: return run.template operator()<0>();
  }
}

// --- a stream of blocks ---------------------------------------------------------------------------------------------

// What a frame of the source contributes to the static columns.
struct PlainFrames {
  static constexpr int kExtra = 0;
  static std::ptrdiff_t width(int width) { return width; }
  template <class T>
  struct Statics {
    const T* frame;
    explicit Statics(const T* source) : frame(source) {}
  };
};
// c1 .. c12, c0, log energy: the last two are combined into column 12. ETSI ES 202 050.
struct AuroraFrames {
  static constexpr int kWidth = 13;
  static constexpr int kExtra = 1;
  static std::integral_constant<std::ptrdiff_t, kWidth> width(int) { return {}; }
  template <class T>
  struct Statics {
    Number<T> frame[kWidth];
    explicit Statics(const T* source) {
      using N = Number<T>;
      std::copy_n(source, kWidth - 1, frame);
      const N c0 = source[12];
      const N log_energy = source[13];
      if constexpr (std::is_floating_point_v<T>) {
        frame[12] = (c0 * 0.6F) / 23.0F + log_energy * 0.4F;
      } else {
        frame[12] = (3 * c0 + 46 * log_energy) / 115;  // the same with one rounding
      }
    }
  };
};

struct NoWindow {
  static constexpr int kReach = 0;
};

// A streaming form: the window of the deltas, the window of the accelerations and the block of columns (0: statics,
// 1: deltas) that it runs over.
template <class F, class D, class A = NoWindow, int kBlock = 0>
struct Form {
  using Frames = F;
  using Delta = D;
  using Acceleration = A;
  static constexpr bool kAccelerates = !std::is_same_v<A, NoWindow>;
  static constexpr int kBlocks = kAccelerates ? 3 : 2;
  static constexpr int kSourceBlock = kBlock;
  // A row is complete when kLag later frames have arrived, and is looked back to until kHistory have.
  static constexpr int kLag = D::kReach + (kBlock == 1 ? A::kReach : 0);
  static constexpr int kHistory = kLag + D::kReach;
};

// The arguments that every streaming function takes.
template <class T>
struct Block {
  const T* frames;
  int width;
  T* rows;
  int step;
  int height;
  int mode;

  bool begins() const { return (mode & KIV_DELTA_BEGIN) != 0; }
  bool ends() const { return (mode & KIV_DELTA_END) != 0; }

  template <class Form>
  KivStatus check() const {
    return first_failure(require(width >= 1 && height >= 0 && (height > 0 || ends()), kivStatusBadSize),
                         step_covers(step, std::int64_t{Form::kBlocks} * width),
                         require(!begins() || height >= Form::kHistory, kivStatusBadSize));
  }
};

// Writes the statics of the new frames and completes the derivatives that they allow. The frames before the first and
// behind the last are that frame: rows are clamped, which changes nothing in the middle of an utterance.
template <class Form, class T, class S, class D, class A>
void stream(const Block<T>& block, S scale_static, D scale_delta, A scale_acceleration) {
  [[maybe_unused]] const RoundingOf<T> rounding;
  const StepRows<T> rows(block.rows, block.step);
  const auto width = Form::Frames::width(block.width);
  const std::ptrdiff_t first = block.begins() ? 0 : Form::kHistory;
  const std::ptrdiff_t count = first + block.height;

  const auto put_statics = [&](std::ptrdiff_t r) {
    using Frames = typename Form::Frames;
    const typename Frames::template Statics<T> statics(block.frames + (r - first) * (width + Frames::kExtra));
    for_columns(width, rows.row(r), [&](auto at) { return scale_static(at(statics.frame), at); });
  };
  // derive(t, row) for the rows t = begin .. end - 1 of those that exist, where row(k) is a block of columns k rows
  // later.
  const auto for_rows = [&](int reach, std::ptrdiff_t begin, std::ptrdiff_t end, int from, auto derive) {
    end = std::min(end, count);
    for (std::ptrdiff_t t = std::max<std::ptrdiff_t>(begin, 0); t < end; ++t) {
      if (t >= reach && t + reach < count) {
        const StepRows<const T> around{rows.row(t) + from * width, rows.step};
        derive(t, [=](int k) { return around.row(k); });
      } else {
        derive(t, [&](int k) -> const T* {
          return rows.row(std::clamp<std::ptrdiff_t>(t + k, 0, count - 1)) + from * width;
        });
      }
    }
  };
  // The window over one block of columns, the result into another.
  const auto derive = [&](auto window, std::ptrdiff_t begin, std::ptrdiff_t end, int from, int to, auto multiply) {
    for_rows(window.kReach, begin, end, from, [&](std::ptrdiff_t t, auto row) {
      for_columns(width, rows.row(t) + to * width,
                  [&](auto at) { return multiply(window.evaluate([&](int k) { return at(row(k)); }), at); });
    });
  };
  // Both windows over the statics, which are then read once.
  [[maybe_unused]] const auto derive_both = [&](auto slope, auto curvature, std::ptrdiff_t begin, std::ptrdiff_t end) {
    for_rows(slope.kReach, begin, end, 0, [&](std::ptrdiff_t t, auto row) {
      for_columns<T>(width, [&](auto at, auto put_columns) {
        const auto x = [&](int k) { return at(row(k)); };
        const auto delta = scale_delta(slope.evaluate(x), at);
        const auto acceleration = scale_acceleration(curvature.evaluate(x), at);
        put_columns(rows.row(t) + width, delta);
        put_columns(rows.row(t) + 2 * width, acceleration);
      });
    });
  };

  // A few rows at a time: they stay in the cache, and are not read back while they are still being stored.
  constexpr std::ptrdiff_t kRowsAtATime = 32;
  const std::ptrdiff_t last = block.ends() ? count + Form::kLag : count;
  for (std::ptrdiff_t r = first; r < last; r += kRowsAtATime) {
    const std::ptrdiff_t end = std::min(r + kRowsAtATime, last);
    for (std::ptrdiff_t s = r; s < std::min(end, count); ++s) put_statics(s);
    if constexpr (Form::kAccelerates && Form::kSourceBlock == 0) {
      static_assert(Form::Delta::kReach == Form::Acceleration::kReach);
      derive_both(typename Form::Delta{}, typename Form::Acceleration{}, r - Form::kLag, end - Form::kLag);
      continue;
    }
    derive(typename Form::Delta{}, r - Form::Delta::kReach, end - Form::Delta::kReach, 0, 1, scale_delta);
    if constexpr (Form::kAccelerates) {
      derive(typename Form::Acceleration{}, r - Form::kLag, end - Form::kLag, Form::kSourceBlock, 2,
             scale_acceleration);
    }
  }
}

}  // namespace kivsr::delta
