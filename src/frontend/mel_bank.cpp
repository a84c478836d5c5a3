// Mel filter banks: construction from a description, release, and access to centres and weights.
#include "mel_bank.h"

#include <limits>

#include "frame/rounding_mode.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "mel_bank_design.h"
#include "vector/copy.h"

namespace kivsr {
namespace {

// --- checks -------------------------------------------------------------------

constexpr KivStatus mode_check(Kiv32s mode) {
  const Kiv32s weights = mode & ~KIV_FBANK_FFTINPUT;
  return require(weights == KIV_FBANK_MELWEIGHT || weights == KIV_FBANK_BINWEIGHT, kivStatusBadMelMode);
}

// A transform longer than int can count: `otherwise`.
constexpr KivStatus window_check(int window_length, KivStatus otherwise) {
  return require(window_length <= BankShape::kLongestWindow, otherwise);
}

// --- design -------------------------------------------------------------------

struct Frequencies {
  float sampling;
  float low;
  float high;
};

// NaN frequencies pass, as every comparison with them is false.
constexpr KivStatus frequency_check(const Frequencies& f) {
  return first_failure(require(!(f.high < f.low), kivStatusBadFreqRange),
                       require(!(f.sampling * 0.5F < f.high), kivStatusBadFreqRange));
}

// The edges and centres of the filters: `linear` of them in hertz, the others in mel. While it lives everything rounds
// to nearest.
class Spacing {
 public:
  // Equal distances in mel from low to high.
  Spacing(const Frequencies& f, const MelScale& scale, int filters)
      : scale_(scale), sampling_(f.sampling), first_mel_(0), mel_(mel_steps(f.low, f.high, filters)) {}

  // The first `linear` filters at equal distances from low to linear_high, the others in mel from there to high.
  Spacing(const Frequencies& f, const MelScale& scale, int filters, float linear_high, int linear)
      : scale_(scale),
        sampling_(f.sampling),
        first_mel_(linear == filters ? std::ptrdiff_t{filters} + 2 : linear),
        hertz_{f.low, static_cast<double>(linear_high) - f.low, linear == filters ? filters + 1.0 : linear},
        mel_(mel_steps(linear_high, f.high, filters - linear)) {}

  float mel(std::ptrdiff_t i) const {
    return static_cast<float>(i < first_mel_ ? scale_.mel(hertz_.at(i)) : mel_.at(i - first_mel_));
  }
  // In bins.
  float position(std::ptrdiff_t i, float mel_of_i, int fft_length) const {
    const double bins_per_hertz = fft_length / static_cast<double>(sampling_);
    return static_cast<float>((i < first_mel_ ? hertz_.at(i) : scale_.hertz(mel_of_i)) * bins_per_hertz);
  }
  double mel_of_bin(Kiv32s bin, int fft_length) const {
    return scale_.mel(bin * (static_cast<double>(sampling_) / fft_length));
  }
  const MelScale& scale() const { return scale_; }

 private:
  EqualSteps mel_steps(float low, float high, int filters) const {
    const auto mel_low = static_cast<float>(scale_.mel(low));
    const auto mel_high = static_cast<float>(scale_.mel(high));
    return {mel_low, mel_high - mel_low, filters + 1.0};
  }

  NearestRounding nearest_;
  MelScale scale_;
  float sampling_;
  std::ptrdiff_t first_mel_;
  EqualSteps hertz_{};
  EqualSteps mel_;
};

void store_weight(float* weight, double value) { *weight = static_cast<float>(value); }
void store_weight(Kiv32s* weight, double value) {
  const float scaled = static_cast<float>(value) * (1 << kWeightBits);
  // What no integer holds, NaN included, is the lowest one.
  const bool fits = scaled >= -0x1p31F && scaled < 0x1p31F;
  *weight = fits ? static_cast<Kiv32s>(scaled) : std::numeric_limits<Kiv32s>::min();
}

float load_weight(float weight) { return weight; }
float load_weight(Kiv32s weight) { return static_cast<float>(weight) * (1.0F / (1 << kWeightBits)); }

// Weights from the mel value of each bin, m[i] that of centre i.
template <class Bank>
void design_mel_weights(Bank& bank, const Spacing& spacing, const float* m) {
  const Kiv32s* const c = bank.centres;
  for (std::ptrdiff_t i = 1; i <= bank.filters; ++i) {
    const auto rise = static_cast<double>(m[i]) - m[i - 1];
    const auto fall = static_cast<double>(m[i + 1]) - m[i];
    for (Kiv32s j = c[i - 1] + 1; j <= c[i]; ++j) {
      store_weight(&bank.rising[i - 1][j - c[i - 1]], (spacing.mel_of_bin(j, bank.fft_length) - m[i - 1]) / rise);
    }
    for (Kiv32s j = c[i] + 1; j <= c[i + 1]; ++j) {
      store_weight(&bank.falling[i - 1][j - c[i] - 1], (m[i + 1] - spacing.mel_of_bin(j, bank.fft_length)) / fall);
    }
  }
}

void design_bin_weights(KivsFBankState_32f& bank) {
  design_bin_weights(bank.centres, bank.rising, bank.falling, bank.filters, FloatRatio{});
}
void design_bin_weights(KivsFBankState_16s& bank) {
  design_bin_weights(bank.centres, bank.rising, bank.falling, bank.filters, FixedRatio<kWeightBits>{});
}

// Fills an empty bank; m has room for the mel values of all centres.
template <class Bank>
void design(Bank& bank, const Spacing& spacing, int linear, float* m) {
  const bool mel_weights = (bank.mode & KIV_FBANK_MELWEIGHT) != 0;
  const Kiv32s last = bank.fft_length / 2;
  Kiv32s previous = 0;
  for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{bank.filters} + 2; ++i) {
    m[i] = spacing.mel(i);
    previous = bank.centres[i] = bin_of(spacing.position(i, m[i], bank.fft_length), mel_weights, previous, last);
  }
  bank.linear_filters = linear;
  bank.mel_multiplier = static_cast<float>(spacing.scale().multiplier);
  bank.mel_divisor = static_cast<float>(spacing.scale().divisor);
  if (mel_weights) {
    design_mel_weights(bank, spacing, m);
  } else {
    design_bin_weights(bank);
  }
  bank.ready = 1;
}

// --- construction ---------------------------------------------------------------

template <class Bank>
KivStatus get_size(int window_length, int filters, Kiv32s mode, int* size) {
  const KivStatus checks = first_failure(not_null(size), positive(window_length, filters), mode_check(mode),
                                         window_check(window_length, kivStatusBadSize));
  return checks != kivStatusOk ? checks : bank_size<Bank>(BankShape(window_length, filters, mode), size);
}

constexpr KivStatus mel_check(int window_length, const Frequencies& f, int filters, Kiv32s mode) {
  return first_failure(positive(window_length, filters),
                       require(!(f.sampling <= 0.0F) && !(f.low <= 0.0F), kivStatusBadSize), frequency_check(f),
                       mode_check(mode));
}

template <class Bank>
KivStatus initialise(Bank* bank, int* fft_order, int window_length, const Frequencies& f, int filters,
                     const MelScale& scale, Kiv32s mode) {
  const KivStatus checks = first_failure(not_null(bank, fft_order), mel_check(window_length, f, filters, mode),
                                         window_check(window_length, kivStatusBadSize));
  if (checks != kivStatusOk) return checks;
  const BankShape shape(window_length, filters, mode);
  float* m;
  if (const KivStatus status = place_bank(bank, shape, &m); status != kivStatusOk) return status;
  design(*bank, Spacing(f, scale, filters), filters, m);
  *fft_order = shape.fft_order;
  return kivStatusOk;
}

// An allocated bank goes through `finish`, and then to the caller.
template <class Bank, class Finish>
KivStatus create(Bank** handle, int* fft_order, const BankShape& shape, Finish finish) {
  Scratch<float, 64> m(shape.rows());
  if (!m) return kivStatusNoMemory;
  Bank* const bank = allocate_bank<Bank>(shape);
  if (bank == nullptr) return kivStatusNoMemory;
  finish(*bank, m.data());
  *fft_order = shape.fft_order;
  *handle = bank;
  return kivStatusOk;
}

template <class Bank>
KivStatus create_mel(Bank** handle, int* fft_order, int window_length, const Frequencies& f, int filters,
                     const MelScale& scale, Kiv32s mode) {
  return run(first_failure(not_null(handle, fft_order), mel_check(window_length, f, filters, mode),
                           window_check(window_length, kivStatusNoMemory)),
             [&] {
               return create(handle, fft_order, BankShape(window_length, filters, mode),
                             [&](Bank& bank, float* m) { design(bank, Spacing(f, scale, filters), filters, m); });
             });
}

template <class Bank>
KivStatus create_mel_linear(Bank** handle, int* fft_order, int window_length, const Frequencies& f, int filters,
                            float linear_high, int linear, const MelScale& scale, Kiv32s mode) {
  const KivStatus checks = first_failure(
      not_null(handle, fft_order), positive(window_length, filters),
      require(!(f.sampling <= 0.0F) && !(f.low <= 0.0F) && linear > 0 && linear <= filters, kivStatusBadSize),
      require(!(linear_high < f.low) && !(f.high < linear_high), kivStatusBadFreqRange),
      require(!(f.sampling * 0.5F < f.high), kivStatusBadFreqRange), mode_check(mode),
      window_check(window_length, kivStatusNoMemory));
  return run(checks, [&] {
    return create(handle, fft_order, BankShape(window_length, filters, mode), [&](Bank& bank, float* m) {
      design(bank, Spacing(f, scale, filters, linear_high, linear), linear, m);
    });
  });
}

// The sizes are checked first, and the pointers only to keep a null from being written to.
template <class Bank>
KivStatus create_empty(Bank** handle, int* fft_order, int window_length, int filters, Kiv32s mode) {
  return run(first_failure(positive(window_length, filters), not_null(handle, fft_order),
                           window_check(window_length, kivStatusNoMemory)),
             [&] {
               const Kiv32s stored = KIV_FBANK_MELWEIGHT | (mode & KIV_FBANK_FFTINPUT);
               return create(handle, fft_order, BankShape(window_length, filters, stored), [](Bank&, float*) {});
             });
}

template <class Bank>
KivStatus free_bank(Bank* bank) {
  return run(not_null(bank), [&] { release_bank(bank); });
}

// --- access -------------------------------------------------------------------

template <class Bank>
KivStatus centres_check(const Bank& bank, const Kiv32s* c) {
  const std::ptrdiff_t last = std::ptrdiff_t{bank.filters} + 1;
  bool ordered = c[0] >= 0 && c[last] <= bank.fft_length / 2;
  for (std::ptrdiff_t i = 1; i <= last; ++i) ordered = ordered && c[i - 1] <= c[i];
  return require(ordered, kivStatusFBankNotReady);
}

template <class Bank>
KivStatus ready_check(const Bank& bank) {
  return require(bank.ready != 0, kivStatusFBankNotReady);
}

void copy_centres(Kiv32s* dst, const Kiv32s* src, int filters) { copy(dst, src, std::ptrdiff_t{filters} + 2); }

template <class Bank>
KivStatus get_centres(const Bank* bank, Kiv32s* centres) {
  if (const KivStatus status = not_null(bank, centres); status != kivStatusOk) return status;
  if (const KivStatus status = ready_check(*bank); status != kivStatusOk) return status;
  return run(centres_check(*bank, bank->centres), [&] { copy_centres(centres, bank->centres, bank->filters); });
}

template <class Bank>
KivStatus set_centres(Bank* bank, const Kiv32s* centres) {
  if (const KivStatus status = not_null(bank, centres); status != kivStatusOk) return status;
  return run(centres_check(*bank, centres), [&] {
    copy_centres(bank->centres, centres, bank->filters);
    bank->ready = 1;
  });
}

// The weights of filter i in the order of the bins: visit(weight) for the rising half, then for the falling half. The
// row behind the last filter has a rising half only.
template <class Bank, class Visit>
void visit_weights(const Bank& bank, int i, Visit visit) {
  const Kiv32s* const c = bank.centres;
  for (Kiv32s k = 0; k <= c[i] - c[i - 1]; ++k) visit(bank.rising[i - 1][k]);
  if (i > bank.filters) return;
  for (Kiv32s k = 0; k < c[i + 1] - c[i]; ++k) visit(bank.falling[i - 1][k]);
}

// Filter 1 .. last of a bank that has centres.
template <class Bank>
KivStatus filter_check(const Bank& bank, int filter, std::int64_t last) {
  return first_failure(ready_check(bank), require(filter >= 1 && filter <= last, kivStatusBadSize));
}

template <class Bank>
KivStatus get_weights(const Bank* bank, int filter, Kiv32f* weights) {
  if (const KivStatus status = not_null(bank, weights); status != kivStatusOk) return status;
  return run(filter_check(*bank, filter, std::int64_t{bank->filters} + 1),
             [&] { visit_weights(*bank, filter, [&](const auto& weight) { *weights++ = load_weight(weight); }); });
}

template <class Bank>
KivStatus set_weights(Bank* bank, int filter, const Kiv32f* weights) {
  if (const KivStatus status = not_null(bank, weights); status != kivStatusOk) return status;
  return run(filter_check(*bank, filter, bank->filters),
             [&] { visit_weights(*bank, filter, [&](auto& weight) { store_weight(&weight, *weights++); }); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMelFBankGetSize_32f(int winLen, int nFilter, Kiv32s mode, int* pSize) {
  return get_size<KivsFBankState_32f>(winLen, nFilter, mode, pSize);
}
KivStatus kivsMelFBankGetSize_16s(int winLen, int nFilter, Kiv32s mode, int* pSize) {
  return get_size<KivsFBankState_16s>(winLen, nFilter, mode, pSize);
}

KivStatus kivsMelFBankInit_32f(KivsFBankState_32f* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq,
                               Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode) {
  return initialise(pFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, {melMul, melDiv}, mode);
}
KivStatus kivsMelFBankInit_16s(KivsFBankState_16s* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq,
                               Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode) {
  return initialise(pFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, {melMul, melDiv}, mode);
}
KivStatus kivsMelFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                    Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                    Kiv32s mode) {
  return create_mel(ppFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, {melMul, melDiv}, mode);
}
KivStatus kivsMelFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                    Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                    Kiv32s mode) {
  return create_mel(ppFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, {melMul, melDiv}, mode);
}
KivStatus kivsMelLinFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                       Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f highLinFreq, int nLinear,
                                       Kiv32f melMul, Kiv32f melDiv, Kiv32s mode) {
  return create_mel_linear(ppFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, highLinFreq, nLinear,
                           {melMul, melDiv}, mode);
}
KivStatus kivsMelLinFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                       Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f highLinFreq, int nLinear,
                                       Kiv32f melMul, Kiv32f melDiv, Kiv32s mode) {
  return create_mel_linear(ppFBank, pFFTOrder, winLen, {sampFreq, lowFreq, highFreq}, nFilter, highLinFreq, nLinear,
                           {melMul, melDiv}, mode);
}
KivStatus kivsEmptyFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                      Kiv32s mode) {
  return create_empty(ppFBank, pFFTOrder, winLen, nFilter, mode);
}
KivStatus kivsEmptyFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                      Kiv32s mode) {
  return create_empty(ppFBank, pFFTOrder, winLen, nFilter, mode);
}
KivStatus kivsFBankFree_32f(KivsFBankState_32f* pFBank) { return free_bank(pFBank); }
KivStatus kivsFBankFree_16s(KivsFBankState_16s* pFBank) { return free_bank(pFBank); }

KivStatus kivsFBankGetCenters_32f(const KivsFBankState_32f* pFBank, Kiv32s* pCenters) {
  return get_centres(pFBank, pCenters);
}
KivStatus kivsFBankGetCenters_16s(const KivsFBankState_16s* pFBank, Kiv32s* pCenters) {
  return get_centres(pFBank, pCenters);
}
KivStatus kivsFBankSetCenters_32f(KivsFBankState_32f* pFBank, const Kiv32s* pCenters) {
  return set_centres(pFBank, pCenters);
}
KivStatus kivsFBankSetCenters_16s(KivsFBankState_16s* pFBank, const Kiv32s* pCenters) {
  return set_centres(pFBank, pCenters);
}
KivStatus kivsFBankGetCoeffs_32f(const KivsFBankState_32f* pFBank, int filter, Kiv32f* pCoeffs) {
  return get_weights(pFBank, filter, pCoeffs);
}
KivStatus kivsFBankGetCoeffs_16s(const KivsFBankState_16s* pFBank, int filter, Kiv32f* pCoeffs) {
  return get_weights(pFBank, filter, pCoeffs);
}
KivStatus kivsFBankSetCoeffs_32f(KivsFBankState_32f* pFBank, int filter, const Kiv32f* pCoeffs) {
  return set_weights(pFBank, filter, pCoeffs);
}
KivStatus kivsFBankSetCoeffs_16s(KivsFBankState_16s* pFBank, int filter, const Kiv32f* pCoeffs) {
  return set_weights(pFBank, filter, pCoeffs);
}
}
