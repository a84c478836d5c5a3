// Cosine transform of log filter-bank energies, weighted by a lifter.
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

#include "frame/allocator.h"
#include "frame/elementary.h"
#include "frame/layout.h"
#include "frame/rounding_mode.h"
#include "frame/row_matrix.h"
#include "frame/scale.h"
#include "frame/simd/columns.h"
#include "frame/status.h"
#include "kivsr/frontend/dct_lifter.h"
#include "vector/conversion.h"

struct KivsDCTLifterState_32f {
  Kiv32s lifter_length;  // -1: the caller's values
  Kiv32s inputs;
  Kiv32s coefficients;  // without the zeroth
  Kiv32s with_c0;
  Kiv32f* lifter;   // w[0 .. coefficients]
  Kiv32f** matrix;  // row k: cos(pi k (n + 1/2) / inputs), k = 0 .. coefficients
};

struct KivsDCTLifterState_16s {
  Kiv32s lifter_length;
  Kiv32s inputs;
  Kiv32s coefficients;
  Kiv32s with_c0;
  Kiv32f* lifter;
  Kiv32f* work;  // the coefficients before their conversion to integers
  Kiv32f** matrix;
};

namespace kivsr {
namespace {

#if defined(__i386__)
static_assert(sizeof(KivsDCTLifterState_32f) == 24 && offsetof(KivsDCTLifterState_32f, lifter) == 16 &&
              offsetof(KivsDCTLifterState_32f, matrix) == 20);
static_assert(sizeof(KivsDCTLifterState_16s) == 28 && offsetof(KivsDCTLifterState_16s, work) == 20 &&
              offsetof(KivsDCTLifterState_16s, matrix) == 24);
#endif

template <class State>
constexpr bool kHasWork = requires(State s) {
  s.work;
};

constexpr std::size_t count(int n) { return static_cast<std::size_t>(n); }

// --- lifters ------------------------------------------------------------------

// w[k] = (1 + L/2 sin(pi k / L)) scale.
struct SineLifter {
  int length;
  float scale;
  float weight(int k, int) const {
    const double sine = keeping_errno([](double x) { return std::sin(x); }, k * std::numbers::pi / length);
    return static_cast<float>(sine * static_cast<double>(static_cast<float>(length) * 0.5F) + 1.0) * scale;
  }
};

// w[k] = values[k - 1]; the zeroth coefficient, where there is one, is weighted by the last value.
template <class T>
struct GivenLifter {
  static constexpr int length = -1;
  const T* values;
  bool with_c0;
  float weight(int k, int coefficients) const {
    if (k > 0) return static_cast<float>(values[k - 1]);
    return with_c0 ? static_cast<float>(values[coefficients - 1]) : 0.0F;
  }
};

// --- construction -------------------------------------------------------------

constexpr KivStatus shape_check(int inputs, int coefficients) {
  return first_failure(positive(inputs, coefficients), require(inputs >= coefficients, kivStatusBadSize));
}

// Everything behind the record: lifter, work area of 16s states, row table and rows.
template <class State>
struct Parts {
  Layout layout;
  Part<float> lifter;
  Part<float> work{};
  Part<char> matrix{};

  Parts(int inputs, int coefficients)
      : Parts(count(coefficients) + 1, RowMatrix<float>::bytes(count(coefficients) + 1, count(inputs))) {}

  // The matrix counted with unpadded rows and room to align each, which is a little more.
  static Parts roomy(int inputs, int coefficients) {
    const std::size_t rows = count(coefficients) + 1;
    return Parts(rows, rows * (sizeof(float*) + kPartAlignment + count(inputs) * sizeof(float)));
  }

  std::size_t bytes() const { return sizeof(State) + layout.bytes_apart(); }
  KivStatus check() const {
    return require(layout.fits_int() && bytes() <= static_cast<std::size_t>(std::numeric_limits<int>::max()),
                   kivStatusBadSize);
  }

 private:
  Parts(std::size_t rows, std::size_t matrix_bytes) : lifter(layout.add<float>(rows)) {
    if constexpr (kHasWork<State>) work = layout.add<float>(rows);
    matrix = layout.add<char>(matrix_bytes);
  }
};

template <class State>
KivStatus report_size(const Parts<State>& parts, int* size) {
  return run(parts.check(), [&] { *size = static_cast<int>(parts.bytes()); });
}

template <class State>
KivStatus get_size(int inputs, int coefficients, int* size) {
  const KivStatus checks = first_failure(not_null(size), shape_check(inputs, coefficients));
  return checks != kivStatusOk ? checks : report_size(Parts<State>(inputs, coefficients), size);
}

template <class State, class Lifter>
void fill(State& state, int inputs, int coefficients, bool with_c0, const Lifter& lifter) {
  const NearestRounding nearest;
  state.lifter_length = lifter.length;
  state.inputs = inputs;
  state.coefficients = coefficients;
  state.with_c0 = with_c0 ? 1 : 0;
  for (int k = 0; k <= coefficients; ++k) state.lifter[k] = lifter.weight(k, coefficients);
  for (int k = 0; k <= coefficients; ++k) {
    const double frequency = k * std::numbers::pi;
    float* const row = state.matrix[k];
    for (int n = 0; n < inputs; ++n) {
      const float place = static_cast<float>(n + 1) - 0.5F;
      row[n] = static_cast<float>(
          keeping_errno([](double x) { return std::cos(x); }, static_cast<double>(place) * frequency / inputs));
    }
  }
}

// A state in the caller's block, the record at its start.
template <class State, class Lifter>
KivStatus initialise(State* state, int inputs, int coefficients, bool with_c0, const Lifter& lifter) {
  const Parts<State> parts(inputs, coefficients);
  if (const KivStatus status = parts.check(); status != kivStatusOk) return status;
  void* const base = align_up(state + 1);
  state->lifter = parts.lifter.in(base);
  if constexpr (kHasWork<State>) state->work = parts.work.in(base);
  state->matrix = RowMatrix<float>::place(parts.matrix.in(base), count(coefficients) + 1, count(inputs));
  fill(*state, inputs, coefficients, with_c0, lifter);
  return kivStatusOk;
}

template <class State>
void destroy(State* state) {
  release(state->matrix);
  release(state->lifter);
  if constexpr (kHasWork<State>) release(state->work);
  release(state);
}

template <class State>
bool allocate_parts(State& state, std::size_t rows, std::size_t inputs) {
  if ((state.lifter = allocate<float>(rows)) == nullptr) return false;
  if constexpr (kHasWork<State>) {
    if ((state.work = allocate<float>(rows)) == nullptr) return false;
  }
  return (state.matrix = RowMatrix<float>::create(rows, inputs)) != nullptr;
}

template <class State, class Lifter>
KivStatus create(State** handle, int inputs, int coefficients, bool with_c0, const Lifter& lifter) {
  State* const state = allocate<State>(1);
  if (state == nullptr) return kivStatusNoMemory;
  *state = {};
  if (!allocate_parts(*state, count(coefficients) + 1, count(inputs))) {
    destroy(state);
    return kivStatusNoMemory;
  }
  fill(*state, inputs, coefficients, with_c0, lifter);
  *handle = state;
  return kivStatusOk;
}

// One template for Init and InitAlloc: a State* is the caller's block, a State** receives an allocated state.
template <class State, class Lifter>
KivStatus build(State* state, int inputs, int coefficients, bool with_c0, const Lifter& lifter) {
  return initialise(state, inputs, coefficients, with_c0, lifter);
}
template <class State, class Lifter>
KivStatus build(State** handle, int inputs, int coefficients, bool with_c0, const Lifter& lifter) {
  return create(handle, inputs, coefficients, with_c0, lifter);
}

template <bool kWithC0, class Target>
KivStatus build_sine(Target* target, int inputs, int coefficients, int length, float scale) {
  return run(first_failure(not_null(target), positive(inputs, coefficients, length), shape_check(inputs, coefficients)),
             [&] {
               return build(target, inputs, coefficients, kWithC0, SineLifter{length, scale});
             });
}

template <bool kWithC0, class Target, class T>
KivStatus build_given(Target* target, int inputs, const T* values, int coefficients) {
  return run(first_failure(not_null(target), not_null(values), shape_check(inputs, coefficients)), [&] {
    return build(target, inputs, coefficients, kWithC0, GivenLifter<T>{values, kWithC0});
  });
}

template <class State>
KivStatus free_state(State* state) {
  return run(not_null(state), [&] { destroy(state); });
}

// --- processing ---------------------------------------------------------------

// dst[k - 1] = w[k] (src . M[k]), four rows at a time over one reading of the source. Rows are padded with zeros, so
// only the source needs a partial load.
template <class State, class S>
void transform_frame(float* dst, const S* src, const State& state) {
  using V = simd::Vec<float>;
  constexpr int W = V::width;
  const int inputs = state.inputs;
  const int coefficients = state.coefficients;
  assert(coefficients >= 1 && coefficients <= inputs);
  const int whole = inputs - inputs % W;
  const float* const* const rows = state.matrix;
  for (int k = 1; k <= coefficients; k += 4) {
    const int last = coefficients - k < 3 ? coefficients - k : 3;
    const float* const m0 = rows[k];
    const float* const m1 = rows[k + (last < 1 ? last : 1)];
    const float* const m2 = rows[k + (last < 2 ? last : 2)];
    const float* const m3 = rows[k + last];
    V s0 = V::zero();
    V s1 = V::zero();
    V s2 = V::zero();
    V s3 = V::zero();
    const auto add = [&](V x, int n) {
      s0 = simd::mul_add(x, simd::load<float>(m0 + n), s0);
      s1 = simd::mul_add(x, simd::load<float>(m1 + n), s1);
      s2 = simd::mul_add(x, simd::load<float>(m2 + n), s2);
      s3 = simd::mul_add(x, simd::load<float>(m3 + n), s3);
    };
    for (int n = 0; n < whole; n += W) add(simd::load<float>(src + n), n);
    if (whole < inputs) add(simd::load_some<float>(src + whole, inputs - whole), whole);
    float sums[4];
    simd::store_lane_sums(sums, s0, s1, s2, s3);
    for (int i = 0; i <= last; ++i) dst[k - 1 + i] = state.lifter[k + i] * sums[i];
  }
  if (state.with_c0 != 0) {
    float sum = 0.0F;
    for (int n = 0; n < inputs; ++n) sum += static_cast<float>(src[n]) * rows[0][n];
    dst[coefficients] = state.lifter[0] * sum;
  }
}

// Several vectors side by side: rows of sources, four results at a time over one reading of them.
template <class Group>
[[gnu::flatten, gnu::noinline]] void transform_columns(float* dst, const float* src, std::ptrdiff_t step,
                                                       const KivsDCTLifterState_32f& state, Group group) {
  using V = simd::ColumnVec;
  const int results = state.coefficients + state.with_c0;
  const auto row_of = [&](int i) { return i < state.coefficients ? i + 1 : 0; };  // c0 stands behind the others
  for (int first = 0; first < results; first += 4) {
    const int rest = results - first < 4 ? results - first : 4;
    const float* rows[4];
    V sums[4];
    for (int i = 0; i < 4; ++i) rows[i] = state.matrix[row_of(first + (i < rest ? i : 0))];
    for (V& sum : sums) sum = V::zero();
    for (int n = 0; n < state.inputs; ++n) {
      const V x = group.load(src + n * step);
#pragma GCC unroll 4
      for (int i = 0; i < 4; ++i) sums[i] = simd::mul_add(x, V::broadcast(rows[i][n]), sums[i]);
    }
    for (int i = 0; i < rest; ++i) {
      group.store(dst + (first + i) * step, V::broadcast(state.lifter[row_of(first + i)]) * sums[i]);
    }
  }
}

template <class S>
KivStatus transform_to_integers(const S* src, Kiv16s* dst, const KivsDCTLifterState_16s* state, int scale_factor) {
  return run(not_null(state, src, dst), [&] {
    const NearestRounding nearest;
    float* const work = state->work;
    const int results = state->coefficients + state->with_c0;
    transform_frame(work, src, *state);
    const float factor = single_scale(scale_factor);
    if (factor <= std::numeric_limits<float>::max()) {
      convert_to_integer(dst, work, results, kivRndNear, scale_factor);
    } else {
      // Beyond every exponent: what is not zero saturates.
      for (int k = 0; k < results; ++k) work[k] = work[k] == 0.0F ? 0.0F : work[k] * factor;
      convert_to_integer(dst, work, results, kivRndNear, 0);
    }
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsDCTLifterGetSize_32f(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_32f>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_C0_32f(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_32f>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_32f>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_32f>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_16s(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_16s>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_C0_16s(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_16s>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCep, int* pSize) {
  return get_size<KivsDCTLifterState_16s>(lenDCT, lenCep, pSize);
}
KivStatus kivsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCep, int* pSize) {
  constexpr int kLongest = 8192;
  const KivStatus checks =
      first_failure(not_null(pSize), shape_check(lenDCT, lenCep), require(lenDCT <= kLongest, kivStatusBadSize));
  return checks != kivStatusOk ? checks : report_size(Parts<KivsDCTLifterState_16s>::roomy(lenDCT, lenCep), pSize);
}

KivStatus kivsDCTLifterInit_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale) {
  return build_sine<false>(pState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInit_C0_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale) {
  return build_sine<true>(pState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInit_Mul_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter, int lenCep) {
  return build_given<false>(pState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInit_MulC0_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter, int lenCep) {
  return build_given<true>(pState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInit_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale) {
  return build_sine<false>(pState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInit_C0_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale) {
  return build_sine<true>(pState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInit_Mul_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32f* pLifter, int lenCep) {
  return build_given<false>(pState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInit_MulC0_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32s* pLifter, int lenCep) {
  return build_given<true>(pState, lenDCT, pLifter, lenCep);
}

KivStatus kivsDCTLifterInitAlloc_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                     Kiv32f scale) {
  return build_sine<false>(ppState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInitAlloc_C0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter,
                                        Kiv32f scale) {
  return build_sine<true>(ppState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInitAlloc_Mul_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter,
                                         int lenCep) {
  return build_given<false>(ppState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInitAlloc_MulC0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter,
                                           int lenCep) {
  return build_given<true>(ppState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInitAlloc_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                     Kiv32f scale) {
  return build_sine<false>(ppState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInitAlloc_C0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter,
                                        Kiv32f scale) {
  return build_sine<true>(ppState, lenDCT, lenCep, nLifter, scale);
}
KivStatus kivsDCTLifterInitAlloc_Mul_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter,
                                         int lenCep) {
  return build_given<false>(ppState, lenDCT, pLifter, lenCep);
}
KivStatus kivsDCTLifterInitAlloc_MulC0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter,
                                           int lenCep) {
  return build_given<true>(ppState, lenDCT, pLifter, lenCep);
}

KivStatus kivsDCTLifterFree_32f(KivsDCTLifterState_32f* pState) { return free_state(pState); }
KivStatus kivsDCTLifterFree_16s(KivsDCTLifterState_16s* pState) { return free_state(pState); }

KivStatus kivsDCTLifter_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDCTLifterState_32f* pState) {
  return run(not_null(pState, pSrc, pDst), [&] { transform_frame(pDst, pSrc, *pState); });
}
KivStatus kivsDCTLifterColumns_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                   const KivsDCTLifterState_32f* pState) {
  return run(first_failure(not_null(pState, pSrc, pDst), positive(columns)), [&] {
    simd::for_column_groups(columns,
                            [&](int c, auto group) { transform_columns(pDst + c, pSrc + c, columns, *pState, group); });
  });
}
KivStatus kivsDCTLifter_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                int scaleFactor) {
  return transform_to_integers(pSrc, pDst, pState, scaleFactor);
}
KivStatus kivsDCTLifter_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState,
                                   int scaleFactor) {
  return transform_to_integers(pSrc, pDst, pState, scaleFactor);
}
}
