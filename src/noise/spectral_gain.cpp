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

// The factor of v = q / 2^22 from 129 units on, in Q22: a parabola over the octave of q. Both products are 64 bits
// wide, of their shifted values the low 32 bits are kept.
Kiv32s octave_factor(Kiv32s q) {
  const int top = 31 - __builtin_clz(static_cast<unsigned>(q));
  const int row = top - 7;
  const std::int64_t r = q - (Kiv32s{1} << top);
  const auto t = static_cast<Kiv32s>(((r * kOctaveCurvature[row]) >> 13) - kOctaveSlope[row]);
  const auto u = static_cast<Kiv32s>((r * t) >> (row + 5));
  return u + kOctaveConstant[row];
}

constexpr Kiv32s kDirectValues = 129;

float amplitude_gain(float prior, float snr) {
  const float bounded = std::min(snr > 0.000031F ? snr : 0.000031F, 100.0F);
  const auto q = static_cast<Kiv32s>(bounded * prior * 4194304.0F);
  if (q < kDirectValues) return prior * static_cast<float>(kDirectFactor[q]);
  return prior * static_cast<float>(octave_factor(q)) * (1.0F / 4194304.0F);
}

Kiv32s amplitude_gain(Kiv32s prior, Kiv32s snr) {
  const std::int64_t bounded = std::clamp(snr, 1, 100 << 15);  // 0.000031 is one unit of Q15
  const auto q = static_cast<Kiv32s>((bounded * prior) >> 24);
  if (q < kDirectValues) return saturate<Kiv32s>(std::int64_t{prior} * kDirectFactor[q]);
  return scaled<Kiv32s>(std::int64_t{prior} * octave_factor(q), 22);
}

bool is_gain(float x) { return x >= 0.0F && x <= 1.0F; }
bool is_gain(Kiv32s x) { return x >= 0; }

template <class T>
KivStatus amplitude_checked(const T* prior, const T* snr, T* gain, int len) {
  if (const KivStatus s = first_failure(not_null(prior, snr, gain), valid_count(len)); s != kivStatusOk) return s;
  const bool gains = std::all_of(prior, prior + len, [](T x) { return is_gain(x); });
  return run(require(gains, kivStatusOutOfRange), [&] {
    for (int i = 0; i < len; ++i) gain[i] = amplitude_gain(prior[i], snr[i]);
  });
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
