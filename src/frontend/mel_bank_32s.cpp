// The filter bank for 32-bit integer spectra: weights with 30 fraction bits, in the caller's memory.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "frame/layout.h"
#include "frame/row_matrix.h"
#include "frame/status.h"
#include "kivsr/frontend/mel_bank_32s.h"
#include "mel_bank.h"
#include "mel_bank_design.h"

struct KivsFBankState_32s {
  Kiv32s* centres;
  Kiv32s** rising;
  Kiv32s** falling;
  Kiv32s filters;
  Kiv32s spectrum_length;  // fft_length / 2 + 1
};

#if defined(__i386__)
static_assert(sizeof(KivsFBankState_32s) == 20);
#endif

namespace kivsr {
namespace {

constexpr int kFractionBits = 30;
constexpr int kProductShift = 8;  // taken from each product before it enters the sum
constexpr int kSumShift = kFractionBits - kProductShift;

// Record, centres, both row tables.
struct Parts {
  Layout layout;
  Part<Kiv32s> centres;
  Part<char> rising;
  Part<char> falling;

  explicit Parts(const BankShape& shape)
      : centres(layout.add<Kiv32s>(shape.rows())),
        rising(layout.add<char>(RowMatrix<Kiv32s>::bytes(shape.rows(), shape.half() + 1))),
        falling(layout.add<char>(RowMatrix<Kiv32s>::bytes(shape.rows(), shape.half()))) {}

  KivStatus check() const { return require(layout.fits_int(), kivStatusBadSize); }
};

constexpr KivStatus window_check(int window_length) {
  return require(window_length >= 32 && window_length <= 8192, kivStatusBadSize);
}
constexpr KivStatus mode_check(Kiv32s mode) { return require(mode == KIV_FBANK_BINWEIGHT, kivStatusBadMelMode); }

// More than min and less than end, of Q16 constants.
constexpr KivStatus within(Kiv32s value, Kiv32s min, Kiv32s end) {
  return require(value > min && value < end, kivStatusBadArgument);
}

struct Frequencies {
  Kiv32s sampling;
  Kiv32s low;
  Kiv32s high;
};

void design(KivsFBankState_32s& bank, const BankShape& shape, const Frequencies& f, const MelScale& scale) {
  const NearestRounding nearest;
  const double low = scale.mel(f.low);
  const EqualSteps steps{low, scale.mel(f.high) - low, shape.filters + 1.0};
  const double bins_per_hertz = static_cast<double>(shape.fft_length) / f.sampling;
  Kiv32s previous = 0;
  for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{shape.filters} + 2; ++i) {
    const auto position = static_cast<float>(scale.hertz(steps.at(i)) * bins_per_hertz);
    previous = bank.centres[i] = bin_of(position, false, previous, shape.fft_length / 2);
  }
  design_bin_weights(bank.centres, bank.rising, bank.falling, bank.filters, FixedRatio<kFractionBits>{});
}

KivStatus initialise(KivsFBankState_32s* bank, int* fft_order, const BankShape& shape, const Frequencies& f,
                     const MelScale& scale) {
  const Parts parts(shape);
  return run(parts.check(), [&] {
    void* const base = align_up(bank + 1);
    bank->centres = parts.centres.in(base);
    bank->rising = RowMatrix<Kiv32s>::place(parts.rising.in(base), shape.rows(), shape.half() + 1);
    bank->falling = RowMatrix<Kiv32s>::place(parts.falling.in(base), shape.rows(), shape.half());
    bank->filters = shape.filters;
    bank->spectrum_length = shape.fft_length / 2 + 1;
    design(*bank, shape, f, scale);
    *fft_order = shape.fft_order;
  });
}

// The scaled product is below 2^53; sums beyond 64 bits stay at the bound.
std::int64_t add_product(std::int64_t sum, Kiv32s weight, Kiv32s x) {
  const std::int64_t product = (std::int64_t{weight} * x) >> kProductShift;
  std::int64_t result;
  if (!__builtin_add_overflow(sum, product, &result)) return result;
  return product < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

// The sum times 2^-(kSumShift + scaleFactor), saturated. The scale factor acts first and rounds down, kSumShift rounds
// to nearest, halves up.
Kiv32s scaled_sum(std::int64_t sum, int scale_factor) {
  if (scale_factor >= 0) {
    sum >>= scale_factor;
  } else {
    assert(scale_factor >= -31);
    // Saturates long before the shift can overflow.
    constexpr std::int64_t kRange = std::int64_t{1} << (31 + kSumShift);
    const std::int64_t limit = kRange >> -scale_factor;
    sum = std::clamp(sum, -limit, limit) * (std::int64_t{1} << -scale_factor);
  }
  // The bit below the result rounds: adding half could overflow.
  return saturate<Kiv32s>((sum >> kSumShift) + ((sum >> (kSumShift - 1)) & 1));
}

void apply(const KivsFBankState_32s& bank, const Kiv32s* spectrum, Kiv32s* dst, int scale_factor) {
  const Kiv32s* const c = bank.centres;
  for (std::ptrdiff_t i = 1; i <= bank.filters; ++i) {
    std::int64_t sum = 0;
    const Kiv32s* x = spectrum + c[i - 1];
    for (Kiv32s k = 0; k <= c[i] - c[i - 1]; ++k) sum = add_product(sum, bank.rising[i - 1][k], *x++);
    for (Kiv32s k = 0; k < c[i + 1] - c[i]; ++k) sum = add_product(sum, bank.falling[i - 1][k], *x++);
    dst[i - 1] = scaled_sum(sum, scale_factor);
  }
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMelFBankGetSize_32s(int winLen, int nFilter, Kiv32s mode, int* pSize) {
  const KivStatus checks = first_failure(not_null(pSize), positive(nFilter), window_check(winLen), mode_check(mode));
  if (checks != kivStatusOk) return checks;
  const BankShape shape(winLen, nFilter, mode);
  if (nFilter > shape.fft_length / 2) return kivStatusBadSize;
  const Parts parts(shape);
  return run(parts.check(),
             [&] { *pSize = static_cast<int>(sizeof(KivsFBankState_32s) + parts.layout.bytes_from_any_start()); });
}

KivStatus kivsMelFBankInit_32s(KivsFBankState_32s* pFBank, int* pFFTOrder, int winLen, Kiv32s sampFreq, Kiv32s lowFreq,
                               Kiv32s highFreq, int nFilter, Kiv32s melMul, Kiv32s melDiv, Kiv32s mode) {
  constexpr Kiv32s kOne = 1 << 16;
  const KivStatus checks = first_failure(
      not_null(pFBank, pFFTOrder), positive(nFilter), positive(highFreq), window_check(winLen), mode_check(mode),
      require(sampFreq >= 1 && sampFreq <= 48000, kivStatusBadSize), require(lowFreq >= 0, kivStatusBadSize),
      require(highFreq > lowFreq && highFreq <= 24000, kivStatusBadFreqRange), within(melDiv, 8 * kOne, 4096 * kOne),
      within(melMul, 8 * kOne, 16384 * kOne));
  if (checks != kivStatusOk) return checks;
  const BankShape shape(winLen, nFilter, mode);
  if (nFilter > shape.fft_length / 2 + 1) return kivStatusBadSize;
  const MelScale scale{static_cast<double>(melMul) / kOne, static_cast<double>(melDiv) / kOne};
  return initialise(pFBank, pFFTOrder, shape, {sampFreq, lowFreq, highFreq}, scale);
}

KivStatus kivsEvalFBank_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, const KivsFBankState_32s* pFBank, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst, pFBank),
                           require(scaleFactor >= -31 && scaleFactor <= 31, kivStatusBadArgument)),
             [&] { apply(*pFBank, pSrc, pDst, scaleFactor); });
}
}
