// Band split of the advanced front end (ETSI ES 202 050, clause 5.5). The filters share the sums over even and over odd
// taps: low is their sum, high their difference.
#include "kivsr/aurora/band_split.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <type_traits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

constexpr int kPairs = 59;  // of taps

// The even taps in units of 2^-23; read backwards they are the odd ones.
constexpr int kEvenTaps[kPairs] = {1584,    -4192,   -5987,  4657,    -7004,  8969,    -10924, 12320,  -12793,  11923,
                                   -9331,   4694,    2233,   -11526,  23114,  -36701,  51797,  -67658, 83318,   -97566,
                                   108971,  -115837, 116130, -107253, 85497,  -44643,  -28185, 167799, -519818, 3562497,
                                   1446093, -696809, 468096, -342699, 255795, -188497, 133716, -88430, 51215,   -21284,
                                   -1927,   18962,   -30419, 36999,   -39474, 38680,   -35439, 30570,  -24802,  18793,
                                   -13048,  7951,    -3757,  567,     1542,   -3035,   2583,   -8985,  805};
constexpr int kBlock = 80;  // outputs whose samples are sorted together

template <class T>
struct Taps {
  T even[kPairs];
};
template <class T>
constexpr Taps<T> make_taps(double unit) {
  Taps<T> taps{};
  for (int k = 0; k < kPairs; ++k) taps.even[k] = static_cast<T>(kEvenTaps[k] * unit);
  return taps;
}

// The samples of a block: every other one each, so that a tap sees neighbours.
template <class Sum>
struct Sorted {
  Sum even[kBlock + kPairs + simd::Vec<Sum>::width];
  Sum odd[kBlock + kPairs + simd::Vec<Sum>::width];
};

// The sums over the even and the odd taps for kVectors vectors of outputs.
template <int kVectors, class Sum>
[[gnu::always_inline]] inline void half_sums(const Taps<Sum>& taps, const Sum* even, const Sum* odd,
                                             simd::Vec<Sum> (&e)[kVectors], simd::Vec<Sum> (&o)[kVectors]) {
  using V = simd::Vec<Sum>;
  for (int v = 0; v < kVectors; ++v) e[v] = o[v] = V::zero();
  for (int k = 0; k < kPairs; ++k) {
    const V even_tap = V::broadcast(taps.even[k]);
    const V odd_tap = V::broadcast(taps.even[kPairs - 1 - k]);
#pragma GCC unroll 8
    for (int v = 0; v < kVectors; ++v) {
      e[v] = mul_add(even_tap, simd::load<Sum>(even + k + v * V::width), e[v]);
      o[v] = mul_add(odd_tap, simd::load<Sum>(odd + k + v * V::width), o[v]);
    }
  }
}

// finish(low or high band of a vector of outputs, where to, how many).
template <class Sum, class T, class Finish>
void split_block(const Taps<Sum>& taps, const T* src, T* low, T* high, int len, Finish finish) {
  using V = simd::Vec<Sum>;
  constexpr int kVectors = simd::kHeldAccumulators == 8 ? 5 : 2;  // sums of both kinds and the taps in registers
  assert(len >= 1 && len <= kBlock);
  Sorted<Sum> samples;
  const int pairs = len + kPairs - 1;
  for (int i = 0; i < pairs; ++i) {
    samples.even[i] = static_cast<Sum>(src[2 * i]);
    samples.odd[i] = static_cast<Sum>(src[2 * i + 1]);
  }
  Sum signs[V::width];
  for (int lane = 0; lane < V::width; ++lane) signs[lane] = lane % 2 == 0 ? Sum{1} : Sum{-1};
  const V alternating = simd::load<Sum>(signs);
  const auto put = [&](V e, V o, int n) {
    const int count = std::min(V::width, len - n);
    finish(e + o, low + n, count);
    finish((o - e) * alternating, high + n, count);
  };
  int n = 0;
  V e[kVectors];
  V o[kVectors];
  for (; n + kVectors * V::width <= len; n += kVectors * V::width) {
    half_sums(taps, samples.even + n, samples.odd + n, e, o);
    for (int v = 0; v < kVectors; ++v) put(e[v], o[v], n + v * V::width);
  }
  // The last vectors may reach behind the block.
  store(samples.even + pairs, V::zero());
  store(samples.odd + pairs, V::zero());
  for (; n < len; n += V::width) {
    V last_e[1];
    V last_o[1];
    half_sums(taps, samples.even + n, samples.odd + n, last_e, last_o);
    put(last_e[0], last_o[0], n);
  }
}

template <class Sum, class T, class Finish>
void split(const Taps<Sum>& taps, const T* src, T* low, T* high, int len, Finish finish) {
  for (int n = 0; n < len; n += kBlock) {
    split_block(taps, src + 2 * static_cast<std::ptrdiff_t>(n), low + n, high + n, std::min(kBlock, len - n), finish);
  }
}

void split(const float* src, float* low, float* high, int len) {
  constexpr Taps<float> kTaps = make_taps<float>(0x1p-23);  // exact: fewer than 24 bits
  split(kTaps, src, low, high, len, [](simd::Vec<float> band, float* dst, int count) {
    if (count == simd::Vec<float>::width) return store(dst, band);
    store_some(dst, band, count);
  });
}

// Sums of products below 2^53: doubles hold them exactly.
void split(const Kiv16s* src, Kiv16s* low, Kiv16s* high, int len, int scale_factor) {
  const NearestRounding nearest;
  constexpr Taps<double> kTaps = make_taps<double>(1.0);
  const double factor = double_scale(std::clamp(scale_factor, -1000, 1000) + 23);
  split(kTaps, src, low, high, len, [=](simd::Vec<double> band, Kiv16s* dst, int count) {
    double sums[simd::Vec<double>::width];
    store(sums, band);
    for (int i = 0; i < count; ++i) dst[i] = round_saturated<Kiv16s>(sums[i] * factor);
  });
}

KivStatus check(const void* src, const void* low, const void* high, int len) {
  return first_failure(not_null(src, low, high), require(len >= 1 && len % 2 == 0, kivStatusBadSize));
}

}  // namespace
}  // namespace kivsr

extern "C" {
KivStatus kivsLowHighFilter_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDstLow, Kiv32f* pDstHigh, int len) {
  return kivsr::run(kivsr::check(pSrc, pDstLow, pDstHigh, len), [&] { kivsr::split(pSrc, pDstLow, pDstHigh, len); });
}
KivStatus kivsLowHighFilter_Aurora_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDstLow, Kiv16s* pDstHigh, int len,
                                           int scaleFactor) {
  return kivsr::run(kivsr::check(pSrc, pDstLow, pDstHigh, len),
                    [&] { kivsr::split(pSrc, pDstLow, pDstHigh, len, scaleFactor); });
}
}
