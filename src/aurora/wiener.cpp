// Noise reduction of the advanced front end (ETSI ES 202 050, clause 5.1): spectrum smoothing, noise update, Wiener
// design, filter taps, residual filter.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/aurora/wiener.h"

namespace kivsr {
namespace {

constexpr int kFrame = 80;
constexpr int kTaps = 17;

// --- smoothed power spectrum: two bins into one; bin 0 is real, the real last bin stands at element 1 ----------------

// many() does what it can of the elements 1 .. last - 1 in vectors and returns the first one that it leaves.
struct FloatPower {
  static int many(const float* src, float* dst, int last) {
    using V = simd::Vec<float>;
    const V half = V::broadcast(0.5F);
    if (last - 1 < V::width) return 1;
    for (int next = 1; next < last; next += V::width) {
      const int k = std::min(next, last - V::width);  // the last group overlaps the one before
      V terms[4];
      for (int j = 0; j < 4; ++j) {
        const V x = simd::load<float>(src + 4 * static_cast<std::ptrdiff_t>(k) + j * V::width);
        terms[j] = x * x;
      }
      transpose_rows(terms);
      store(dst + k, interleave_rows((terms[0] + terms[1] + terms[2] + terms[3]) * half));
    }
    return last;
  }
  float operator()(float a, float b, float c, float d) const { return (a * a + b * b + c * c + d * d) * 0.5F; }
  float first(float a, float b, float c) const { return (a * a + b * b + c * c) * 0.5F; }
  float last(float a) const { return a * a; }
};

struct WordPower {
  static int many(const Kiv16s*, Kiv16s*, int) { return 1; }
  static int half_square(int x) { return (x * x) >> 1; }
  Kiv16s operator()(int a, int b, int c, int d) const {
    return saturate<Kiv16s>(std::int64_t{half_square(a)} + half_square(b) + half_square(c) + half_square(d));
  }
  Kiv16s first(int a, int b, int c) const { return (*this)(a, b, c, 0); }
  Kiv16s last(int a) const { return saturate<Kiv16s>(std::int64_t{a} * a); }
};

struct ScaledPower {
  int scale_factor;
  double factor = 0.5 * double_scale(scale_factor);

  static int many(const Kiv32s*, Kiv32s*, int) { return 1; }
  static std::int64_t half_square(std::int64_t x) { return (x * x) >> 1; }
  Kiv32s operator()(Kiv32s a, Kiv32s b, Kiv32s c, Kiv32s d) const {
    const auto square = [](double x) { return x * x; };
    return round_saturated<Kiv32s>((square(a) + square(b) + square(c) + square(d)) * factor);
  }
  Kiv32s first(Kiv32s a, Kiv32s b, Kiv32s c) const {
    return scaled_down<Kiv32s>(half_square(a) + half_square(b) + half_square(c), scale_factor);
  }
  Kiv32s last(Kiv32s a) const { return scaled_down<Kiv32s>(std::int64_t{a} * a, scale_factor); }
};

template <class T, class Power>
KivStatus smooth(const T* src, T* dst, int len, Power power) {
  return run(first_failure(not_null(src, dst), require(len >= 1 && len % 4 == 0, kivStatusBadSize)), [&] {
    const NearestRounding nearest;
    const int last = len / 4;
    dst[0] = power.first(src[2], src[3], src[0]);
    for (int k = power.many(src, dst, last); k < last; ++k) {
      const T* const bins = src + 4 * static_cast<std::ptrdiff_t>(k);
      dst[k] = power(bins[0], bins[1], bins[2], bins[3]);
    }
    dst[last] = power.last(src[1]);
  });
}

// --- noise spectrum update -------------------------------------------------------------------------------------------

// b (0.1 r (b/t + 1) + 0.9), r = a / (a + b), t = 0.1 a + b, with the processor's estimates for both quotients; lanes
// where a sum vanishes are zero.
void update_noise(const float* power, const float* noise, float* dst, int len) {
  using V = simd::Vec<float>;
  const V tenth = V::broadcast(0.1F);
  const V one = V::broadcast(1.0F);
  const V keep = V::broadcast(0.9F);
  transform<float>(
      len,
      [=](V a, V b) {
        const V sum = a + b;
        const V t = tenth * a + b;
        const V r = a * reciprocal_estimate(sum);
        const V result = b * (tenth * r * (b * reciprocal_estimate(t) + one) + keep);
        return simd::select((sum == V::zero()) | (t == V::zero()), V::zero(), result);
      },
      dst, power, noise);
}

// The integer forms: exact divisions in single precision, truncated. Sums of words are exact in single precision.
void update_noise(const Kiv16s* power, const Kiv16s* noise, Kiv16s* dst, int len, int scale_factor) {
  const NearestRounding nearest;
  using V = simd::Vec<float>;
  const V tenth = V::broadcast(0.1F);
  const V one = V::broadcast(1.0F);
  const V keep = V::broadcast(0.9F);
  const V factor = V::broadcast(single_scale(scale_factor));
  const V least = V::broadcast(-32768.0F);
  const V most = V::broadcast(32767.0F);
  transform<float>(
      len,
      [=](V a, V b) {
        const V sum = a + b;
        const V t = tenth * a + b;
        const V result = b * (tenth * (a / sum) * (b / t + one) + keep);
        const auto zero = (sum == V::zero()) | (abs(t) < one) | (result == V::zero());
        return truncate_to_integer(select(zero, V::zero(), max(min(result * factor, most), least)));
      },
      dst, power, noise);
}

// Out of range either way, and NaN: the processor's out-of-range result.
Kiv32s truncate_or_lowest(float x) {
  return x >= -2147483648.0F && x < 2147483648.0F ? static_cast<Kiv32s>(x) : std::numeric_limits<Kiv32s>::min();
}

void update_noise(const Kiv32s* power, const Kiv32s* noise, Kiv32s* dst, int len, int scale_factor) {
  const NearestRounding nearest;
  const float factor = single_scale(scale_factor);
  for (int i = 0; i < len; ++i) {
    const std::int64_t sum = std::int64_t{power[i]} + noise[i];
    const auto a = static_cast<float>(power[i]);
    const auto b = static_cast<float>(noise[i]);
    const float t = 0.1F * a + b;
    if (sum == 0 || (t > -1.0F && t < 1.0F)) {
      dst[i] = 0;
      continue;
    }
    const float r = a / static_cast<float>(sum);
    const float result = b * (0.1F * r * (b / t + 1.0F) + 0.9F);
    dst[i] = result == 0.0F ? 0 : truncate_or_lowest(result * factor);
  }
}

template <class T, class Update>
KivStatus update_checked(const T* power, const T* noise, T* dst, int len, Update update) {
  return run(first_failure(not_null(power, noise, dst), positive(len)), update);
}

// --- Wiener gain -----------------------------------------------------------------------------------------------------

// Two passes of eta / (eta + 1) on the a-priori signal-to-noise ratio, the second above -22 dB. 1/N is the processor's
// estimate.
void design(const float* power, const float* noise, const float* previous, float* dst, int len) {
  using V = simd::Vec<float>;
  const V old_share = V::broadcast(0.98F);
  const V new_share = V::broadcast(0.02F);
  const V floor = V::broadcast(0.07943282F);
  const V one = V::broadcast(1.0F);
  transform<float>(
      len,
      [=](V p, V n, V s) {
        const V r = reciprocal_estimate(n);
        const V eta1 = (old_share * s + new_share * max(p - n, V::zero())) * r;
        const V h1 = eta1 / (eta1 + one);
        const V eta2 = max(h1 * p * r, floor);
        return eta2 / (eta2 + one);
      },
      dst, power, noise, previous);
}

// The 16-bit form: gains in Q14, shares in Q12; 1301 is -22 dB in Q14 and 1206 the gain that follows from it. Integers
// held in doubles: products stay below 2^50 and quotients of integers below 2^52 lie farther from the next integer than
// they are rounded, so that every step is exact in every rounding mode. Lanes of a zero divisor are replaced at the
// end.
simd::Vec<double> design(simd::Vec<double> p, simd::Vec<double> n, simd::Vec<double> s, simd::Vec<double> r) {
  using D = simd::Vec<double>;
  const D unit = D::broadcast(16384.0);
  const D per_unit = D::broadcast(1.0 / 16384.0);
  const D d = max(p - n, D::zero());
  const D eta1 = floor((D::broadcast(82.0) * d + D::broadcast(4014.0) * s) * r * per_unit);
  const D divisor = eta1 + D::broadcast(4096.0);
  const D quotient = eta1 * unit / divisor;
  const D h1 = floor(abs(quotient)) | (quotient & D::broadcast(-0.0));  // toward zero
  const D eta2 = max(floor(p * h1 * per_unit) * r, D::broadcast(1301.0));
  const D one_q7 = D::broadcast(128.0);
  const D gain = floor(eta2 * one_q7 / (floor(eta2 * D::broadcast(1.0 / 128.0)) + one_q7));
  return select((n == D::zero()) | (divisor == D::zero()), D::broadcast(1206.0), gain);
}

void design(const Kiv16s* power, const Kiv16s* noise, const Kiv16s* previous, Kiv16s* dst, int len) {
  using V = simd::Vec<float>;
  transform<float>(
      len,
      [](V p, V n, V s) {
        const V r = to_float(truncate_to_integer(V::broadcast(16384.0F) / n));
        return truncate_to_integer(narrow(design(widen_low(p), widen_low(n), widen_low(s), widen_low(r)),
                                          design(widen_high(p), widen_high(n), widen_high(s), widen_high(r))));
      },
      dst, power, noise, previous);
}

template <class T>
KivStatus design_checked(const T* power, const T* noise, const T* previous, T* dst, int len) {
  return run(first_failure(not_null(power, noise, previous, dst), positive(len)),
             [&] { design(power, noise, previous, dst, len); });
}

// --- filter taps and residual filter ---------------------------------------------------------------------------------

// The left half in reverse order, then the right half, both in vectors; words widen on their way.
template <class Lane, class T>
void make_taps(const T* src, T* taps) {
  constexpr int kCentre = kTaps / 2;
  constexpr int kWidth = std::min(kCentre, simd::Vec<Lane>::width);
  using V = simd::Lanes<Lane, kWidth>;
  static_assert(kCentre % kWidth == 0);
  taps[kCentre] = src[0];
  for (int k = 0; k < kCentre; k += kWidth) {
    store(taps + kCentre - kWidth - k, reverse(simd::load_as<V>(src + 1 + k)));
    store(taps + kCentre + 1 + k, simd::load_as<V>(src + 2 + k));
  }
}

// Five vectors at a time share each tap.
void filter(const float* src, float* dst, const float* taps) {
  using V = simd::Vec<float>;
  constexpr int W = V::width;
  static_assert(kFrame % (5 * W) == 0);
  for (int n = 0; n < kFrame; n += 5 * W) {
    V a = V::zero(), b = a, c = a, d = a, e = a;
    for (int k = 0; k < kTaps; ++k) {
      const V tap = V::broadcast(taps[k]);
      const float* const x = src + n + k;
      a = mul_add(tap, simd::load<float>(x), a);
      b = mul_add(tap, simd::load<float>(x + W), b);
      c = mul_add(tap, simd::load<float>(x + 2 * W), c);
      d = mul_add(tap, simd::load<float>(x + 3 * W), d);
      e = mul_add(tap, simd::load<float>(x + 4 * W), e);
    }
    store(dst + n, a);
    store(dst + n + W, b);
    store(dst + n + 2 * W, c);
    store(dst + n + 3 * W, d);
    store(dst + n + 4 * W, e);
  }
}

// The 16-bit form adds pairs of products in 32 bits that wrap. Lane j of a vector belongs to output n + 2 j.
using Words = simd::ShortVec<Kiv32s>;
using WordPairs = simd::Lanes<Kiv16s, 2 * Words::width>;
using TapPairs = Kiv32s[kTaps / 2 + 1][Words::width];
static_assert(kFrame % (2 * Words::width) == 0);

// The pair k of the output in lane 0 at `start`. The last tap is the second of its pair, so that nothing behind the
// samples is read.
Words products(const Kiv16s* start, const TapPairs& pairs, int k) {
  return products_of_pairs(simd::load_as<WordPairs>(start + (k < kTaps / 2 ? 2 * k : kTaps - 2)),
                           simd::load_as<WordPairs>(reinterpret_cast<const Kiv16s*>(pairs[k])));
}

// Taps whose sums fit 32 bits: integers throughout. scaled(sum) is the result in 32 bits, to be saturated.
template <class Scaled>
void filter_small(const Kiv16s* src, Kiv16s* dst, const TapPairs& pairs, Scaled scaled) {
  const Words most = Words::broadcast(32767);
  const Words least = Words::broadcast(-32768);
  const Words low_half = Words::broadcast(0xFFFF);
  for (int n = 0; n < kFrame; n += 2 * Words::width) {
    Words even = products(src + n, pairs, 0);
    Words odd = products(src + n + 1, pairs, 0);
    for (int k = 1; k <= kTaps / 2; ++k) {
      even = even + products(src + n, pairs, k);
      odd = odd + products(src + n + 1, pairs, k);
    }
    even = max(min(scaled(even), most), least);
    odd = max(min(scaled(odd), most), least);
    store(reinterpret_cast<Kiv32s*>(dst + n), (even & low_half) | simd::shift_left(odd, 16));
  }
}

// Any taps: the upper and the lower halves of the pairs are added by themselves, then as doubles.
void filter_large(const Kiv16s* src, Kiv16s* dst, const TapPairs& pairs, double factor) {
  using D = simd::Vec<double>;
  for (int n = 0; n < kFrame; n += 2 * Words::width) {
    for (int odd = 0; odd < 2; ++odd) {
      Words high = Words::zero();
      Words low = Words::zero();
      for (int k = 0; k <= kTaps / 2; ++k) {
        const Words pair = products(src + n + odd, pairs, k);
        low = low + (pair & Words::broadcast(0xFFFF));
        high = high + shift_right(pair, 16);
      }
      Kiv32s halves[2][Words::width];
      store(halves[0], low);
      store(halves[1], high);
      for (int j = 0; j < Words::width; j += D::width) {
        const D sum = simd::load<double>(halves[0] + j) + simd::load<double>(halves[1] + j) * D::broadcast(65536.0);
        Kiv16s rounded[D::width];
        store_rounded(rounded, max(min(sum * D::broadcast(factor), D::broadcast(32767.0)), D::broadcast(-32768.0)));
        for (int lane = 0; lane < D::width; ++lane) dst[n + odd + 2 * (j + lane)] = rounded[lane];
      }
    }
  }
}

void filter(const Kiv16s* src, Kiv16s* dst, const Kiv16s* taps, int scale_factor) {
  TapPairs pairs;
  int sum = 0;
  for (int k = 0; k <= kTaps / 2; ++k) {
    const Kiv16s first = k < kTaps / 2 ? taps[2 * k] : Kiv16s{0};
    const Kiv16s second = taps[std::min(2 * k + 1, kTaps - 1)];
    store(pairs[k], Words::broadcast(second * 65536 + static_cast<std::uint16_t>(first)));
    sum += std::abs(Kiv32s{first}) + std::abs(Kiv32s{second});
  }
  if (sum > 65535) {
    const NearestRounding nearest;
    filter_large(src, dst, pairs, double_scale(scale_factor));
  } else {
    scale_to_16_bits(scale_factor, [&](auto scale) { filter_small(src, dst, pairs, scale); });
  }
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSmoothedPowerSpectrumAurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) {
  return smooth(pSrc, pDst, len, FloatPower{});
}
KivStatus kivsSmoothedPowerSpectrumAurora_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len) {
  return smooth(pSrc, pDst, len, WordPower{});
}
KivStatus kivsSmoothedPowerSpectrumAurora_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor) {
  return smooth(pSrc, pDst, len, ScaledPower{scaleFactor});
}

KivStatus kivsNoiseSpectrumUpdate_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, Kiv32f* pDst, int len) {
  return update_checked(pSrc, pNoise, pDst, len, [&] { update_noise(pSrc, pNoise, pDst, len); });
}
KivStatus kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Kiv16s* pSrc, const Kiv16s* pNoise, Kiv16s* pDst, int len,
                                                 int scaleFactor) {
  return update_checked(pSrc, pNoise, pDst, len, [&] { update_noise(pSrc, pNoise, pDst, len, scaleFactor); });
}
KivStatus kivsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Kiv32s* pSrc, const Kiv32s* pNoise, Kiv32s* pDst, int len,
                                                 int scaleFactor) {
  return update_checked(pSrc, pNoise, pDst, len, [&] { update_noise(pSrc, pNoise, pDst, len, scaleFactor); });
}

KivStatus kivsWienerFilterDesign_Aurora_32f(const Kiv32f* pSrc, const Kiv32f* pNoise, const Kiv32f* pPrev, Kiv32f* pDst,
                                            int len) {
  return design_checked(pSrc, pNoise, pPrev, pDst, len);
}
KivStatus kivsWienerFilterDesign_Aurora_16s(const Kiv16s* pSrc, const Kiv16s* pNoise, const Kiv16s* pPrev, Kiv16s* pDst,
                                            int len) {
  return design_checked(pSrc, pNoise, pPrev, pDst, len);
}

KivStatus kivsTabsCalculation_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pTaps) {
  return run(not_null(pSrc, pTaps), [&] { make_taps<Kiv32f>(pSrc, pTaps); });
}
KivStatus kivsTabsCalculation_Aurora_16s(const Kiv16s* pSrc, Kiv16s* pTaps) {
  return run(not_null(pSrc, pTaps), [&] { make_taps<Kiv32s>(pSrc, pTaps); });
}

KivStatus kivsResidualFilter_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDst, const Kiv32f* pTaps) {
  return run(not_null(pSrc, pDst, pTaps), [&] { filter(pSrc, pDst, pTaps); });
}
KivStatus kivsResidualFilter_Aurora_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const Kiv16s* pTaps, int scaleFactor) {
  return run(not_null(pSrc, pDst, pTaps), [&] { filter(pSrc, pDst, pTaps, scaleFactor); });
}
}
