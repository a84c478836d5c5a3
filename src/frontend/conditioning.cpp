// Conditioning of samples and log energies: normalisation of an energy column, offset compensation, sign changes,
// normalisation into a range and padding with zeros.
#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <variant>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/frontend/conditioning.h"
#include "vector/copy.h"

namespace kivsr {
namespace {

using simd::Vec;
using V = Vec<float>;

// --- energy normalisation -------------------------------------------------------------------------------------------

// Single-precision 0.230259: close to ln(10) / 10 and not equal to it.
constexpr float kNepersPerDecibel = std::bit_cast<float>(0x3E6BC904U);

float column_maximum(const float* column, std::ptrdiff_t step, std::ptrdiff_t height) {
  assert(step >= 1 && height >= 1);
  constexpr int kRows = 8;
  float largest[kRows];
  std::fill_n(largest, kRows, -std::numeric_limits<float>::max());
  const auto take = [](float* best, float x) { *best = x > *best ? x : *best; };
  std::ptrdiff_t k = 0;
  for (; k + kRows <= height; k += kRows) {
#pragma GCC unroll 8
    for (int i = 0; i < kRows; ++i) take(&largest[i], column[(k + i) * step]);
  }
  for (; k < height; ++k) take(&largest[0], column[k * step]);
  for (int i = 1; i < kRows; ++i) take(&largest[0], largest[i]);
  return largest[0];
}

void normalise_energies(float* column, std::ptrdiff_t step, std::ptrdiff_t height, float silence_floor, float maximum,
                        float scale) {
  const float floor = maximum - silence_floor * kNepersPerDecibel;
  for (std::ptrdiff_t k = 0; k < height; ++k) {
    float& x = column[k * step];
    x = 1.0F - (maximum - (x > floor ? x : floor)) * scale;
  }
}

// --- offset compensation --------------------------------------------------------------------------------------------

// y[n] = x[n] - x[n-1] + val y[n-1]. Each sample is read before its place is written, so dst may be src.
void compensate_offset(const float* src, float* dst, std::ptrdiff_t len, float* previous_sample, float y, float val) {
  float x = src[0];
  y = (val * y + x) - *previous_sample;
  *previous_sample = src[len - 1];
  dst[0] = y;
  for (std::ptrdiff_t n = 1; n < len; ++n) {
    const float next = src[n];
    y = val * y + (next - x);
    dst[n] = y;
    x = next;
  }
}

// The same with val in Q15: y[n] truncated toward zero, saturated, and fed back as saturated.
void compensate_offset(const Kiv16s* src, Kiv16s* dst, std::ptrdiff_t len, Kiv16s* previous_sample, Kiv16s y,
                       Kiv16s val) {
  constexpr std::int64_t kOne = 1 << 15;
  std::int32_t x = *previous_sample;
  const Kiv16s last = src[len - 1];
  for (std::ptrdiff_t n = 0; n < len; ++n) {
    const std::int32_t next = src[n];
    y = saturate<Kiv16s>(((next - x) * kOne + y * std::int64_t{val}) / kOne);
    dst[n] = y;
    x = next;
  }
  *previous_sample = last;
}

template <class T>
KivStatus check_offset(const T* src, const T* dst, int len, const T* previous_sample) {
  constexpr int kLongest = std::is_same_v<T, Kiv16s> ? 65535 : std::numeric_limits<int>::max();
  return first_failure(not_null(src, dst, previous_sample), require(len >= 1 && len <= kLongest, kivStatusBadSize));
}

template <class T>
KivStatus compensate(const T* src, T* dst, int len, T* previous_sample, T previous_output, T val) {
  const bool negative_q15 = std::is_same_v<T, Kiv16s> && val < 0;
  return run(first_failure(check_offset(src, dst, len, previous_sample), require(!negative_q15, kivStatusBadArgument)),
             [&] { compensate_offset(src, dst, len, previous_sample, previous_output, val); });
}

// --- sign changes ---------------------------------------------------------------------------------------------------

// Number of pairs (x[i], x[i+1]) that change(pair) marks with -1 in its lanes. Pairs of zeros must not be marked.
template <class L, class T, class Change>
int count_pairs(const T* x, std::ptrdiff_t len, Change change) {
  using I = Vec<std::int32_t>;
  constexpr int W = I::width;
  assert(len >= 1);
  const std::ptrdiff_t pairs = len - 1;
  I count = I::zero();
  std::ptrdiff_t i = 0;
  for (; i + W <= pairs; i += W) count = count - change(simd::load<L>(x + i), simd::load<L>(x + i + 1));
  if (i < pairs) {
    const int rest = static_cast<int>(pairs - i);
    count = count - change(simd::load_some<L>(x + i, rest), simd::load_some<L>(x + i + 1, rest));
  }
  std::int32_t lanes[W];
  store(lanes, count);
  int total = 0;
  for (const std::int32_t lane : lanes) total += lane;
  return total;
}

int sign_changes(const Kiv16s* x, std::ptrdiff_t len) {
  using I = Vec<std::int32_t>;
  return count_pairs<std::int32_t>(x, len, [](I a, I b) { return as_integer(multiply_words(a, b) < I::zero()); });
}

// Products that are not >= 0: a NaN counts, an underflow to -0 does not.
int sign_changes(const float* x, std::ptrdiff_t len) {
  const NearestRounding nearest;
  return count_pairs<float>(x, len,
                            [](V a, V b) { return as_integer(a * b >= V::zero()) ^ Vec<std::int32_t>::broadcast(-1); });
}

template <class T, class R>
KivStatus sign_change_rate(const T* src, int len, R* result) {
  return run(first_failure(not_null(result, src), positive(len)),
             [&] { *result = static_cast<R>(sign_changes(src, len)); });
}

// --- normalisation into a range -------------------------------------------------------------------------------------

struct Extent {
  float low;
  float high;
};

// How 1 / x is formed: once for bounds of the caller, by a corrected estimate for bounds found in the data.
float exact_quotient(float numerator, float denominator) { return numerator / denominator; }

float corrected_quotient(float numerator, float denominator) {
  const V d = V::broadcast(denominator);
  const V r = reciprocal_estimate(d);
  const float corrected = ((V::broadcast(2.0F) - d * r) * r).first();
  // Where the estimate is zero or infinite (huge, subnormal and zero denominators) the correction is of no use.
  if (!(std::abs(1.0F - denominator * corrected) < 0.5F)) return numerator / denominator;
  return numerator * corrected;
}

template <class T>
Extent extent_of(const T* src, std::ptrdiff_t len) {
  const float infinity = std::numeric_limits<float>::infinity();
  V low = V::broadcast(infinity);
  V high = V::broadcast(-infinity);
  // A NaN among the elements is passed over.
  const auto take = [&](V x) {
    low = min(x, low);
    high = max(x, high);
  };
  std::ptrdiff_t i = 0;
  for (; i + V::width <= len; i += V::width) take(simd::load<float>(src + i));
  for (; i < len; ++i) take(V::broadcast(static_cast<float>(src[i])));
  float lows[V::width];
  float highs[V::width];
  store(lows, low);
  store(highs, high);
  return {*std::min_element(lows, lows + V::width), *std::max_element(highs, highs + V::width)};
}

// max(min(x, hi) - lo, 0) * scale.
template <class S, class D, class Quotient>
KivStatus normalise(const S* src, D* dst, std::ptrdiff_t len, Extent extent, float low_coef, float high_coef, D range,
                    Quotient quotient) {
  if (extent.low == extent.high) {
    zero(dst, len);
    return kivStatusNoOperation;
  }
  [[maybe_unused]] const std::conditional_t<std::is_floating_point_v<D>, std::monostate, NearestRounding> nearest;
  assert(low_coef < high_coef);
  const float d = extent.high - extent.low;
  const V hi = V::broadcast(high_coef * d + extent.low);
  const V lo = V::broadcast(d * low_coef + extent.low);
  const V scale = V::broadcast(quotient(static_cast<float>(range), high_coef * d - d * low_coef));
  const auto value = [=](V x) { return max(min(x, hi) - lo, V::zero()) * scale; };
  if constexpr (std::is_floating_point_v<D>) {
    transform<float>(len, value, dst, src);
  } else {
    constexpr auto kLimit = static_cast<float>(std::numeric_limits<D>::max());
    transform<float>(
        len, [=](V x) { return round_to_integer(at_most(value(x), kLimit)); }, dst, src);
  }
  return kivStatusOk;
}

template <class S, class D>
KivStatus check_range(const S* src, const D* dst, int len, float low_coef, float high_coef, D range) {
  return first_failure(
      not_null(src, dst), positive(len),
      require(low_coef >= 0.0F && low_coef < high_coef && high_coef <= 1.0F && range >= 0, kivStatusBadArgument));
}

template <class S, class D>
KivStatus normalise_between(const S* src, D* dst, int len, S low, S high, float low_coef, float high_coef, D range) {
  return run(
      first_failure(check_range(src, dst, len, low_coef, high_coef, range), require(low <= high, kivStatusBadArgument)),
      [&] {
        const Extent extent{static_cast<float>(low), static_cast<float>(high)};
        return normalise(src, dst, len, extent, low_coef, high_coef, range, exact_quotient);
      });
}

template <class S, class D>
KivStatus normalise_found(const S* src, D* dst, int len, float low_coef, float high_coef, D range) {
  return run(check_range(src, dst, len, low_coef, high_coef, range), [&] {
    return normalise(src, dst, len, extent_of(src, len), low_coef, high_coef, range, corrected_quotient);
  });
}

// --- padding --------------------------------------------------------------------------------------------------------

template <class T>
KivStatus copy_with_padding(const T* src, int src_len, T* dst, int dst_len) {
  return run(
      first_failure(not_null(src, dst), positive(src_len, dst_len), require(dst_len >= src_len, kivStatusBadSize)),
      [&] {
        copy(dst, src, src_len);
        zero(dst + src_len, std::ptrdiff_t{dst_len} - src_len);
      });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsNormEnergy_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f enScale) {
  return run(first_failure(not_null(pSrcDst), positive(step, height)), [&] {
    normalise_energies(pSrcDst, step, height, silFloor, column_maximum(pSrcDst, step, height), enScale);
  });
}
KivStatus kivsNormEnergy_RT_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f maxE, Kiv32f enScale) {
  return run(first_failure(not_null(pSrcDst), positive(step, height)),
             [&] { normalise_energies(pSrcDst, step, height, silFloor, maxE, enScale); });
}

KivStatus kivsCompensateOffset_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f* pAddPrevFrameSample,
                                   Kiv32f prevFrameOut, Kiv32f val) {
  return compensate(pSrc, pDst, len, pAddPrevFrameSample, prevFrameOut, val);
}
KivStatus kivsCompensateOffset_32f_I(Kiv32f* pSrcDst, int len, Kiv32f* pAddPrevFrameSample, Kiv32f prevFrameOut,
                                     Kiv32f val) {
  return compensate<Kiv32f>(pSrcDst, pSrcDst, len, pAddPrevFrameSample, prevFrameOut, val);
}
KivStatus kivsCompensateOffsetQ15_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s* pAddPrevFrameSample,
                                      Kiv16s prevFrameOut, Kiv16s val) {
  return compensate(pSrc, pDst, len, pAddPrevFrameSample, prevFrameOut, val);
}
KivStatus kivsCompensateOffsetQ15_16s_I(Kiv16s* pSrcDst, int len, Kiv16s* pAddPrevFrameSample, Kiv16s prevFrameOut,
                                        Kiv16s val) {
  return compensate<Kiv16s>(pSrcDst, pSrcDst, len, pAddPrevFrameSample, prevFrameOut, val);
}

KivStatus kivsSignChangeRate_16s(const Kiv16s* pSrc, int len, Kiv32s* pRes) {
  return sign_change_rate(pSrc, len, pRes);
}
KivStatus kivsSignChangeRate_32f(const Kiv32f* pSrc, int len, Kiv32f* pRes) {
  return sign_change_rate(pSrc, len, pRes);
}

KivStatus kivsNormalizeInRangeMinMax_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f valMin, Kiv32f valMax,
                                         Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range) {
  return normalise_between(pSrc, pDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_32f_I(Kiv32f* pSrcDst, int len, Kiv32f valMin, Kiv32f valMax, Kiv32f lowCoef,
                                           Kiv32f highCoef, Kiv32f range) {
  return normalise_between(pSrcDst, pSrcDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f valMin, Kiv32f valMax,
                                            Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range) {
  return normalise_between(pSrc, pDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f valMin, Kiv32f valMax,
                                           Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range) {
  return normalise_between(pSrc, pDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s valMin, Kiv16s valMax,
                                         Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range) {
  return normalise_between(pSrc, pDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_16s_I(Kiv16s* pSrcDst, int len, Kiv16s valMin, Kiv16s valMax, Kiv32f lowCoef,
                                           Kiv32f highCoef, Kiv16s range) {
  return normalise_between(pSrcDst, pSrcDst, len, valMin, valMax, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRangeMinMax_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv16s valMin, Kiv16s valMax,
                                           Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range) {
  return normalise_between(pSrc, pDst, len, valMin, valMax, lowCoef, highCoef, range);
}

KivStatus kivsNormalizeInRange_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                   Kiv32f range) {
  return normalise_found(pSrc, pDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_32f_I(Kiv32f* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range) {
  return normalise_found(pSrcDst, pSrcDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                      Kiv16s range) {
  return normalise_found(pSrc, pDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                     Kiv8u range) {
  return normalise_found(pSrc, pDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                   Kiv16s range) {
  return normalise_found(pSrc, pDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_16s_I(Kiv16s* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range) {
  return normalise_found(pSrcDst, pSrcDst, len, lowCoef, highCoef, range);
}
KivStatus kivsNormalizeInRange_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef,
                                     Kiv8u range) {
  return normalise_found(pSrc, pDst, len, lowCoef, highCoef, range);
}

KivStatus kivsCopyWithPadding_32f(const Kiv32f* pSrc, int lenSrc, Kiv32f* pDst, int lenDst) {
  return copy_with_padding(pSrc, lenSrc, pDst, lenDst);
}
KivStatus kivsCopyWithPadding_16s(const Kiv16s* pSrc, int lenSrc, Kiv16s* pDst, int lenDst) {
  return copy_with_padding(pSrc, lenSrc, pDst, lenDst);
}
}
