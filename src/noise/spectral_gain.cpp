// Spectral gains from signal-to-noise ratios: the Wiener rule, and the amplitude estimator's rule by table.
#include <algorithm>
#include <cstddef>
#include <limits>

#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/noise/spectral_gain.h"
#include "spectral_gain_tables.h"

namespace kivsr {
namespace {

// --- Wiener rule -----------------------------------------------------------------------------------------------------

constexpr KivStatus valid_count(int len) { return require(len >= 1 && len < 65536, kivStatusBadLength); }

KivStatus wiener(const float* snr, float* gain, int len) {
  using V = simd::Vec<float>;
  const V one = V::broadcast(1.0F);
  bool negative = false;
  transform<float>(
      len,
      [&](V s) {
        negative = negative || simd::any(s < V::zero());
        const V x = max(s, V::zero());
        return x / (x + one);
      },
      gain, snr);
  return negative ? kivStatusBadArgument : kivStatusOk;
}

// Ratios in Q15, gains in Q31, to nearest.
KivStatus wiener(const Kiv32s* snr, Kiv32s* gain, int len) {
  bool negative = false;
  for (int i = 0; i < len; ++i) {
    negative = negative || snr[i] < 0;
    const std::int64_t x = std::max(snr[i], 0);
    const std::int64_t divisor = x + 32768;
    gain[i] = saturate<Kiv32s>(((x << 31) + divisor / 2) / divisor);
  }
  return negative ? kivStatusBadArgument : kivStatusOk;
}

template <class T>
KivStatus wiener_checked(const T* snr, T* gain, int len) {
  return run(first_failure(not_null(snr, gain), valid_count(len)), [&] { return wiener(snr, gain, len); });
}

// --- amplitude estimator: F(v) by table (spectral_gain_tables.h), q = v 2^22 -----------------------------------------

constexpr Kiv32s kDirectFactors = 129;  // q from which on the octaves are used

// The factor of one q, in Q22: a parabola over the octave of q. Both products are 64 bits wide.
Kiv32s octave_factor(Kiv32s q) {
  const int top = 31 - __builtin_clz(static_cast<unsigned>(q));
  const int octave = top - 7;
  const std::int64_t r = q - (Kiv32s{1} << top);
  const auto t = static_cast<Kiv32s>(((r * kOctaveCurvature[octave]) >> 13) - kOctaveSlope[octave]);
  const auto u = static_cast<Kiv32s>((r * t) >> (octave + 5));
  return u + kOctaveConstant[octave];
}

// The curvature for the place of q in its octave as a fraction of 2^23, which is r 2^(16 - octave).
struct ScaledCurvature {
  Kiv32s of_octave[24];
  constexpr ScaledCurvature() : of_octave() {
    for (int i = 0; i < 24; ++i) of_octave[i] = static_cast<Kiv32s>(std::int64_t{kOctaveCurvature[i]} << i);
  }
};
constexpr ScaledCurvature kScaledCurvature;

// The same for lanes of integers q below 2^29 that single precision holds: the fraction of an octave is the mantissa,
// and the shifts are the same in every octave. The slope outweighs the curvature, so t is negative: everything is
// negated.
simd::Vec<float> octave_factors(simd::Vec<float> q) {
  using I = simd::Vec<Kiv32s>;
  const I octave = shift_right(simd::bits(q), 23) - I::broadcast(127 + 7);
  const I fraction = simd::bits(q) & I::broadcast(0x7FFFFF);
  const I curved = simd::product_shifted<29>(fraction, simd::lookup(kScaledCurvature.of_octave, octave));
  const I t = simd::lookup(kOctaveSlope, octave) - curved;
  const I u = simd::product_shifted<21>(fraction, t, (1 << 21) - 1);  // rounded up
  return to_float(simd::lookup(kOctaveConstant, octave) - u);
}

// Lanes of q below kDirectFactors, one by one.
simd::Vec<float> with_direct_factors(simd::Vec<float> gains, simd::Vec<float> prior, simd::Vec<Kiv32s> q) {
  constexpr int kWidth = simd::Vec<float>::width;
  float gain[kWidth], g[kWidth];
  Kiv32s index[kWidth];
  store(gain, gains);
  store(g, prior);
  store(index, q);
  for (int i = 0; i < kWidth; ++i) {
    if (index[i] < kDirectFactors) gain[i] = g[i] * static_cast<float>(kDirectFactor[index[i]]);
  }
  return simd::load<float>(gain);
}

void amplitude_gains(const float* prior, const float* snr, float* gain, int len) {
  using V = simd::Vec<float>;
  transform<float>(
      len,
      [](V g, V ratio) {
        const V bounded = min(max(ratio, V::broadcast(0.000031F)), V::broadcast(100.0F));
        const auto q = truncate_to_integer(bounded * g * V::broadcast(4194304.0F));
        const V least = V::broadcast(static_cast<float>(kDirectFactors));
        const V gains = g * octave_factors(max(to_float(q), least)) * V::broadcast(1.0F / 4194304.0F);
        return simd::any(to_float(q) < least) ? with_direct_factors(gains, g, q) : gains;
      },
      gain, prior, snr);
}

void amplitude_gains(const Kiv32s* prior, const Kiv32s* snr, Kiv32s* gain, int len) {
  for (int i = 0; i < len; ++i) {
    const std::int64_t bounded = std::clamp(snr[i], 1, 100 << 15);  // 0.000031 is one unit of Q15
    const auto q = static_cast<Kiv32s>((bounded * prior[i]) >> 24);
    gain[i] = q < kDirectFactors ? saturate<Kiv32s>(std::int64_t{prior[i]} * kDirectFactor[q])
                                 : scaled<Kiv32s>(std::int64_t{prior[i]} * octave_factor(q), 22);
  }
}

bool are_gains(const float* x, int len) {
  using V = simd::Vec<float>;
  simd::Mask<float> all = V::zero() == V::zero();
  int i = 0;
  for (; i + V::width <= len; i += V::width) {
    const V v = simd::load<float>(x + i);
    all = all & (v >= V::zero()) & (v <= V::broadcast(1.0F));
  }
  return simd::all(all) && std::all_of(x + i, x + len, [](float v) { return v >= 0.0F && v <= 1.0F; });
}
bool are_gains(const Kiv32s* x, int len) {
  return std::all_of(x, x + len, [](Kiv32s v) { return v >= 0; });
}

template <class T>
KivStatus amplitude_checked(const T* prior, const T* snr, T* gain, int len) {
  if (const KivStatus s = first_failure(not_null(prior, snr, gain), valid_count(len)); s != kivStatusOk) return s;
  return run(require(are_gains(prior, len), kivStatusOutOfRange), [&] { amplitude_gains(prior, snr, gain, len); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsFilterUpdateWiener_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) {
  return wiener_checked(pSrc, pDst, len);
}
KivStatus kivsFilterUpdateWiener_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len) {
  return wiener_checked(pSrc, pDst, len);
}
KivStatus kivsFilterUpdateEMNS_32f(const Kiv32f* pPrior, const Kiv32f* pSNR, Kiv32f* pDst, int len) {
  return amplitude_checked(pPrior, pSNR, pDst, len);
}
KivStatus kivsFilterUpdateEMNS_32s(const Kiv32s* pPrior, const Kiv32s* pSNR, Kiv32s* pDst, int len) {
  return amplitude_checked(pPrior, pSNR, pDst, len);
}
}
