// Applying filter banks to spectra: the path that runs once per frame.
#include <cassert>

#include "frame/scale.h"
#include "frame/simd/columns.h"
#include "frame/status.h"

#include "mel_bank.h"
#include "vector/fft.h"
#include "vector/magnitude.h"

namespace kivsr {
namespace {

template <class Bank>
KivStatus evaluation_check(const void* src, const void* dst, const Bank* bank) {
  if (const KivStatus status = not_null(src, dst, bank); status != kivStatusOk) return status;
  return first_failure(not_null(bank->centres), require(bank->ready != 0, kivStatusFBankNotReady));
}

// --- floating point -----------------------------------------------------------

using V = simd::ShortVec<float>;  // spans of bins are short

// The bins behind centre i up to centre i + 1, read once for two filters: added to falling by their weights in filter i
// and to rising by those in filter i + 1.
[[gnu::always_inline]] inline void add_span(const float* bins, std::ptrdiff_t count, const float* falling_weights,
                                            const float* rising_weights, V& falling, V& rising) {
  constexpr int W = V::width;
  std::ptrdiff_t k = 0;
  for (; k + W <= count; k += W) {
    const V bin = simd::load_short<float>(bins + k);
    falling = mul_add(bin, simd::load_short<float>(falling_weights + k), falling);
    rising = mul_add(bin, simd::load_short<float>(rising_weights + k), rising);
  }
  if (k < count) {
    const int rest = static_cast<int>(count - k);
    const V bin = simd::load_some_short<float>(bins + k, rest);
    falling = mul_add(bin, simd::load_some_short<float>(falling_weights + k, rest), falling);
    rising = mul_add(bin, simd::load_some_short<float>(rising_weights + k, rest), rising);
  }
}

// A walk over the centres. A filter's sum stays in the lanes of one vector.
class Walk {
 public:
  Walk(const KivsFBankState_32f& bank, const float* spectrum)
      : centre_(bank.centres), rising_(bank.rising), falling_(bank.falling), spectrum_(spectrum) {
    // No filter falls in the first span; its sum is discarded.
    V none = V::zero();
    advance(falling_[bank.filters], none);
  }

  // The lanes of the next filter. The rising row behind the last filter is zero.
  [[gnu::always_inline]] V next() {
    V sum = rising_sum_;
    advance(*falling_++, sum);
    return sum;
  }

 private:
  [[gnu::always_inline]] void advance(const float* falling_weights, V& falling_sum) {
    const float* const bins = spectrum_ + centre_[0];
    const std::ptrdiff_t count = std::ptrdiff_t{centre_[1]} - centre_[0];
    assert(count >= 0);
    const float* const rising_weights = *rising_++;
    V rising_sum = V::in_first_lane(bins[0] * rising_weights[0]);
    add_span(bins + 1, count, falling_weights, rising_weights + 1, falling_sum, rising_sum);
    rising_sum_ = rising_sum;
    ++centre_;
  }

  const Kiv32s* centre_;
  const float* const* rising_;
  const float* const* falling_;
  const float* spectrum_;
  V rising_sum_ = V::zero();  // of the filter whose centre comes next
};

void apply(const KivsFBankState_32f& bank, const float* spectrum, float* dst) {
  const std::ptrdiff_t filters = bank.filters;
  Walk walk(bank, spectrum);
  std::ptrdiff_t i = 0;
  for (; i + 4 <= filters; i += 4) {
    const V s0 = walk.next();
    const V s1 = walk.next();
    const V s2 = walk.next();
    const V s3 = walk.next();
    simd::store_lane_sums(dst + i, s0, s1, s2, s3);
  }
  for (; i < filters; ++i) dst[i] = simd::sum_lanes(walk.next());
}

void evaluate(const Kiv32f* src, Kiv32f* dst, const KivsFBankState_32f& bank) {
  if ((bank.mode & KIV_FBANK_FFTINPUT) == 0) return apply(bank, src, dst);
  Kiv32f* const spectrum = bank.fft_buffer;
  Kiv32f* const magnitudes = work_area(bank);
  fft::forward(src, spectrum, *bank.fft, magnitudes, fft::Spectrum::kCcs);
  magnitude(magnitudes, reinterpret_cast<const Kiv32fc*>(spectrum), bank.fft_length / 2 + 1);
  apply(bank, magnitudes, dst);
}

// Several spectra side by side. The rows of bins between two centres are read once for two filters, even and odd ones
// added up apart.
struct ColumnSums {
  V even = V::zero();
  V odd = V::zero();
};

template <class Group>
[[gnu::always_inline]] inline void add_span(const float* rows, std::ptrdiff_t step, std::ptrdiff_t count,
                                            const float* falling_weights, const float* rising_weights,
                                            ColumnSums& falling, ColumnSums& rising, Group group) {
  const auto add = [&](V& to_falling, V& to_rising, std::ptrdiff_t k) {
    const V bin = group.load(rows + k * step);
    to_falling = mul_add(bin, V::broadcast(falling_weights[k]), to_falling);
    to_rising = mul_add(bin, V::broadcast(rising_weights[k]), to_rising);
  };
  std::ptrdiff_t k = 0;
  for (; k + 2 <= count; k += 2) {
    add(falling.even, rising.even, k);
    add(falling.odd, rising.odd, k + 1);
  }
  if (k < count) add(falling.even, rising.even, k);
}

// No filter falls in the first span, none rises in the last one.
template <class Group>
[[gnu::flatten, gnu::noinline]] void apply_to_columns(const KivsFBankState_32f& bank, const float* spectra, float* dst,
                                                      std::ptrdiff_t step, Group group) {
  const Kiv32s* const c = bank.centres;
  ColumnSums falling;
  for (std::ptrdiff_t i = 0; i <= bank.filters; ++i) {
    const float* const rows = spectra + c[i] * step;
    const float* const rising_weights = bank.rising[i];
    ColumnSums rising = {group.load(rows) * V::broadcast(rising_weights[0]), V::zero()};
    add_span(rows + step, step, std::ptrdiff_t{c[i + 1]} - c[i], bank.falling[i > 0 ? i - 1 : bank.filters],
             rising_weights + 1, falling, rising, group);
    if (i > 0) group.store(dst + (i - 1) * step, falling.even + falling.odd);
    falling = rising;
  }
}

KivStatus columns_check(const void* src, const void* dst, int columns, const KivsFBankState_32f* bank) {
  if (const KivStatus status = first_failure(not_null(src, dst, bank), positive(columns)); status != kivStatusOk) {
    return status;
  }
  return first_failure(require((bank->mode & KIV_FBANK_FFTINPUT) == 0, kivStatusBadMelMode),
                       evaluation_check(src, dst, bank));
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

template <class Product, class S, class D>
void apply(const KivsFBankState_16s& bank, const S* spectrum, D* dst, std::int64_t shift) {
  assert(bank.ready != 0);
  const Product product;
  const Kiv32s* const c = bank.centres;
  for (std::ptrdiff_t i = 1; i <= bank.filters; ++i) {
    std::uint64_t sum = 0;
    const S* x = spectrum + c[i - 1];
    for (Kiv32s k = 0; k <= c[i] - c[i - 1]; ++k) sum += product(bank.rising[i - 1][k], *x++);
    for (Kiv32s k = 0; k < c[i + 1] - c[i]; ++k) sum += product(bank.falling[i - 1][k], *x++);
    dst[i - 1] = scaled_down<D>(static_cast<std::int64_t>(sum), shift);
  }
}

template <class D>
void evaluate(const Kiv16s* src, D* dst, const KivsFBankState_16s& bank, int scale_factor) {
  const std::int64_t shift = std::int64_t{bank.weight_shift} + scale_factor;
  if ((bank.mode & KIV_FBANK_FFTINPUT) == 0) return apply<WholeProduct>(bank, src, dst, shift);
  // Three more bits of the spectrum and three of its magnitudes.
  constexpr int kHeadroom = 3;
  Kiv32s* const spectrum = bank.fft_buffer;
  Kiv32s* const magnitudes = work_area(bank);
  fft::forward(src, spectrum, *bank.fft, magnitudes, -kHeadroom);
  magnitude(magnitudes, reinterpret_cast<const Kiv32sc*>(spectrum), bank.fft_length / 2 + 1, -kHeadroom);
  apply<WrappedProduct>(bank, static_cast<const Kiv32s*>(magnitudes), dst, shift + 2 * kHeadroom);
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsEvalFBank_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFBankState_32f* pFBank) {
  return run(evaluation_check(pSrc, pDst, pFBank), [&] { evaluate(pSrc, pDst, *pFBank); });
}
KivStatus kivsEvalFBankColumns_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns, const KivsFBankState_32f* pFBank) {
  return run(columns_check(pSrc, pDst, columns, pFBank), [&] {
    simd::for_column_groups(columns,
                            [&](int c, auto group) { apply_to_columns(*pFBank, pSrc + c, pDst + c, columns, group); });
  });
}
KivStatus kivsEvalFBank_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsFBankState_16s* pFBank, int scaleFactor) {
  return run(evaluation_check(pSrc, pDst, pFBank), [&] { evaluate(pSrc, pDst, *pFBank, scaleFactor); });
}
KivStatus kivsEvalFBank_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFBankState_16s* pFBank,
                                   int scaleFactor) {
  return run(evaluation_check(pSrc, pDst, pFBank), [&] { evaluate(pSrc, pDst, *pFBank, scaleFactor); });
}
}
