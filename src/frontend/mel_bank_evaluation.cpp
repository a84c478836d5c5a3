// Applying filter banks to spectra: the path that runs once per frame.
#include <algorithm>

#include "frame/layout.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/fft.h"
#include "kivsr/vector/reductions.h"
#include "mel_bank.h"

namespace kivsr {
namespace {

template <class Bank>
KivStatus evaluation_check(const Bank* bank) {
  return first_failure(not_null(bank->centres), require(bank->ready != 0, kivStatusFBankNotReady));
}

// Behind the spectrum, on a 32-byte boundary: the work area of the transform, and then the magnitudes.
template <class Bank>
typename Bank::Weight* work_area(const Bank& bank) {
  void* const end = bank.fft_buffer + bank.fft_length + 2;
  return static_cast<typename Bank::Weight*>(align_up(end));
}

// --- floating point -----------------------------------------------------------

// Each span between two centres is read once, for the falling half of the filter on its left and the rising half of the
// one on its right. A filter's sum stays in the lanes of one vector; four filters are folded together.
void apply(const KivsFBankState_32f& bank, const float* spectrum, float* dst) {
  using V = simd::Vec<float>;
  constexpr int W = V::width;
  const Kiv32s* const c = bank.centres;
  const int filters = bank.filters;
  V rising;  // the rising half of filter i + 1, from bin c[i]

  const auto begin_rising = [&](int i) { rising = V::in_first_lane(spectrum[c[i]] * bank.rising[i][0]); };
  const auto rise_only = [&] {
    const float* const x = spectrum + c[0] + 1;
    const float* const r = bank.rising[0] + 1;
    const int bins = c[1] - c[0];
    int k = 0;
    begin_rising(0);
    for (; k + W <= bins; k += W) rising = mul_add(simd::load<float>(x + k), simd::load<float>(r + k), rising);
    if (k < bins) {
      rising = mul_add(simd::load_some<float>(x + k, bins - k), simd::load_some<float>(r + k, bins - k), rising);
    }
  };
  // The sum of filter i, whose rising half has been added; goes on with the rising half of the next. The row behind the
  // last filter is zero.
  const auto next_filter = [&](int i) {
    const float* const x = spectrum + c[i] + 1;
    const float* const r = bank.rising[i] + 1;
    const float* const f = bank.falling[i - 1];
    const int bins = c[i + 1] - c[i];
    V sum = rising;
    int k = 0;
    begin_rising(i);
    for (; k + W <= bins; k += W) {
      const V bin = simd::load<float>(x + k);
      sum = mul_add(bin, simd::load<float>(f + k), sum);
      rising = mul_add(bin, simd::load<float>(r + k), rising);
    }
    if (k < bins) {
      const V bin = simd::load_some<float>(x + k, bins - k);
      sum = mul_add(bin, simd::load_some<float>(f + k, bins - k), sum);
      rising = mul_add(bin, simd::load_some<float>(r + k, bins - k), rising);
    }
    return sum;
  };

  rise_only();
  int i = 1;
  for (; i <= filters - 3; i += 4) {
    const V s0 = next_filter(i);
    const V s1 = next_filter(i + 1);
    const V s2 = next_filter(i + 2);
    const V s3 = next_filter(i + 3);
    simd::store_lane_sums(dst + i - 1, s0, s1, s2, s3);
  }
  for (; i <= filters; ++i) dst[i - 1] = simd::sum_lanes(next_filter(i));
}

KivStatus evaluate(const Kiv32f* src, Kiv32f* dst, const KivsFBankState_32f& bank) {
  if ((bank.mode & KIV_FBANK_FFTINPUT) == 0) {
    apply(bank, src, dst);
    return kivStatusOk;
  }
  Kiv32f* const spectrum = bank.fft_buffer;
  Kiv32f* const magnitudes = work_area(bank);
  const KivStatus status = kivsFFTFwd_RToCCS_32f(src, spectrum, bank.fft, reinterpret_cast<Kiv8u*>(magnitudes));
  if (status != kivStatusOk) return status;
  kivsMagnitude_32fc(reinterpret_cast<const Kiv32fc*>(spectrum), magnitudes, bank.fft_length / 2 + 1);
  apply(bank, magnitudes, dst);
  return kivStatusOk;
}

// --- fixed point --------------------------------------------------------------

// A product of weight and spectrum as it enters the 64-bit sum, which wraps.
struct WholeProduct {
  std::uint64_t operator()(Kiv32s weight, Kiv32s x) const {
    return static_cast<std::uint64_t>(std::int64_t{weight} * x);
  }
};
// Its low 32 bits.
struct WrappedProduct {
  std::uint64_t operator()(Kiv32s weight, Kiv32s x) const {
    const auto low = static_cast<Kiv32s>(static_cast<Kiv32u>(weight) * static_cast<Kiv32u>(x));
    return static_cast<std::uint64_t>(std::int64_t{low});
  }
};

// sum 2^-shift, rounded down and saturated; 0 where every bit is shifted out.
template <class D>
D shifted(std::int64_t sum, std::int64_t shift) {
  if (shift >= 0) return shift > 63 ? D{0} : saturate<D>(sum >> shift);
  constexpr std::int64_t kRange = std::int64_t{1} << 31;
  if (shift <= -32) return saturate<D>(sum == 0 ? 0 : sum > 0 ? kRange : -kRange - 1);
  return saturate<D>(std::clamp(sum, -kRange, kRange) * (std::int64_t{1} << -shift));
}

template <class Product, class S, class D>
void apply(const KivsFBankState_16s& bank, const S* spectrum, D* dst, std::int64_t shift) {
  const Product product;
  const Kiv32s* const c = bank.centres;
  for (std::ptrdiff_t i = 1; i <= bank.filters; ++i) {
    std::uint64_t sum = 0;
    const S* x = spectrum + c[i - 1];
    for (Kiv32s k = 0; k <= c[i] - c[i - 1]; ++k) sum += product(bank.rising[i - 1][k], *x++);
    for (Kiv32s k = 0; k < c[i + 1] - c[i]; ++k) sum += product(bank.falling[i - 1][k], *x++);
    dst[i - 1] = shifted<D>(static_cast<std::int64_t>(sum), shift);
  }
}

template <class D>
KivStatus evaluate(const Kiv16s* src, D* dst, const KivsFBankState_16s& bank, int scale_factor) {
  const std::int64_t shift = std::int64_t{bank.weight_shift} + scale_factor;
  if ((bank.mode & KIV_FBANK_FFTINPUT) == 0) {
    apply<WholeProduct>(bank, src, dst, shift);
    return kivStatusOk;
  }
  // Three more bits of the spectrum and three of its magnitudes.
  constexpr int kHeadroom = 3;
  Kiv32s* const spectrum = bank.fft_buffer;
  Kiv32s* const magnitudes = work_area(bank);
  const KivStatus status =
      kivsFFTFwd_RToCCS_16s32s_Sfs(src, spectrum, bank.fft, reinterpret_cast<Kiv8u*>(magnitudes), -kHeadroom);
  if (status != kivStatusOk) return status;
  kivsMagnitude_32sc_Sfs(reinterpret_cast<const Kiv32sc*>(spectrum), magnitudes, bank.fft_length / 2 + 1, -kHeadroom);
  apply<WrappedProduct>(bank, static_cast<const Kiv32s*>(magnitudes), dst, shift + 2 * kHeadroom);
  return kivStatusOk;
}

template <class D>
KivStatus evaluate_checked(const Kiv16s* src, D* dst, const KivsFBankState_16s* bank, int scale_factor) {
  return run(not_null(src, dst, bank),
             [&] { return run(evaluation_check(bank), [&] { return evaluate(src, dst, *bank, scale_factor); }); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsEvalFBank_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFBankState_32f* pFBank) {
  return run(not_null(pSrc, pDst, pFBank),
             [&] { return run(evaluation_check(pFBank), [&] { return evaluate(pSrc, pDst, *pFBank); }); });
}
KivStatus kivsEvalFBank_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsFBankState_16s* pFBank, int scaleFactor) {
  return evaluate_checked(pSrc, pDst, pFBank, scaleFactor);
}
KivStatus kivsEvalFBank_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFBankState_16s* pFBank,
                                   int scaleFactor) {
  return evaluate_checked(pSrc, pDst, pFBank, scaleFactor);
}
}
