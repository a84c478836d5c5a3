// The two fixed banks of the advanced front end of distributed speech recognition (ETSI ES 202 050): 25 bands of the
// spectrum from which noise is removed, and 3 bands for coding above it. Triangles between whole bins, each filter
// normalised so that its weights add up to 1.
#include <cstdint>

#include "frame/status.h"
#include "kivsr/frontend/mel_bank_aurora.h"
#include "mel_bank.h"
#include "mel_bank_design.h"

namespace kivsr {
namespace {

constexpr float kMelMultiplier = 2595.0F;
constexpr float kMelDivisor = 700.0F;
constexpr double kSamplingFrequency = 8000.0;
constexpr double kHighFrequency = 4000.0;

struct LowBand {
  static constexpr int kWindow = 65;
  static constexpr int kFilters = 25;
  static constexpr double kLowFrequency = 1.0;
  static constexpr int kSteps = 24;
  // The first filter has its centre and its lower edge at bin 0.
  static constexpr int kFirstPosition = 1;
};

struct HighBand {
  static constexpr int kWindow = 128;
  static constexpr int kFilters = 3;
  static constexpr double kLowFrequency = 80.0;
  static constexpr int kSteps = 4;
  static constexpr int kFirstPosition = 0;
};

template <class Band>
BankShape shape_of() {
  return {Band::kWindow, Band::kFilters, KIV_FBANK_BINWEIGHT};
}

// 1 - k/width and its normalisation, in floating point and with kWeightBits fraction bits, truncated.
float slope(const float*, int k, int width) { return 1.0F - static_cast<float>(k) / static_cast<float>(width); }
Kiv32s slope(const Kiv32s*, int k, int width) { return (1 << kWeightBits) - (k << kWeightBits) / width; }

float share(float weight, double sum) { return static_cast<float>(weight / sum); }
Kiv32s share(Kiv32s weight, std::int64_t sum) {
  return static_cast<Kiv32s>((std::int64_t{weight} << kWeightBits) / sum);
}

template <class W>
struct WideSum {
  using Type = std::int64_t;
};
template <>
struct WideSum<float> {
  using Type = double;
};

// A triangle of height 1 at c[1] that is zero at c[0] and c[2]; one without a rising half starts with its centre.
template <class W>
void design_filter(const Kiv32s* c, W* rising, W* falling) {
  const int rise = c[1] - c[0];
  const int fall = c[2] - c[1];
  if (rise == 0) rising[0] = slope(rising, 0, 1);
  for (int k = 1; k <= rise; ++k) rising[k] = slope(rising, rise - k, rise);
  for (int k = 1; k < fall; ++k) falling[k - 1] = slope(falling, k, fall);

  typename WideSum<W>::Type sum = 0;
  for (int k = 0; k <= rise; ++k) sum += rising[k];
  for (int k = 0; k < fall; ++k) sum += falling[k];
  for (int k = 0; k <= rise; ++k) rising[k] = share(rising[k], sum);
  for (int k = 0; k < fall; ++k) falling[k] = share(falling[k], sum);
}

template <class Band, class Bank>
void design(Bank& bank) {
  const NearestRounding nearest;
  const MelScale scale{kMelMultiplier, kMelDivisor};
  const auto low = static_cast<float>(scale.mel(Band::kLowFrequency));
  const auto high = static_cast<float>(scale.mel(kHighFrequency));
  const EqualSteps steps{low, high - low, Band::kSteps};
  const double bins_per_hertz = bank.fft_length / kSamplingFrequency;
  Kiv32s* const c = bank.centres;
  c[0] = 0;
  for (int i = Band::kFirstPosition; i < Band::kFilters + 2; ++i) {
    const auto m = static_cast<float>(steps.at(i - Band::kFirstPosition));
    const auto position = static_cast<float>(scale.hertz(m) * bins_per_hertz);
    c[i] = bin_of(position, false, i == 0 ? 0 : c[i - 1], bank.fft_length / 2);
  }
  for (int i = 0; i < Band::kFilters; ++i) design_filter(c + i, bank.rising[i], bank.falling[i]);
  bank.mel_multiplier = kMelMultiplier;
  bank.mel_divisor = kMelDivisor;
  bank.ready = 1;
}

template <class Bank, class Band>
KivStatus get_size(int* size) {
  if (const KivStatus status = not_null(size); status != kivStatusOk) return status;
  return bank_size<Bank>(shape_of<Band>(), size);
}

template <class Band, class Bank>
KivStatus initialise(Bank* bank) {
  if (const KivStatus status = not_null(bank); status != kivStatusOk) return status;
  float* unused;
  if (const KivStatus status = place_bank(bank, shape_of<Band>(), &unused); status != kivStatusOk) return status;
  design<Band>(*bank);
  return kivStatusOk;
}

template <class Band, class Bank>
KivStatus create(Bank** handle) {
  if (const KivStatus status = not_null(handle); status != kivStatusOk) return status;
  Bank* const bank = allocate_bank<Bank>(shape_of<Band>());
  if (bank == nullptr) return kivStatusNoMemory;
  design<Band>(*bank);
  *handle = bank;
  return kivStatusOk;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMelFBankGetSizeLow_Aurora_32f(int* pSize) { return get_size<KivsFBankState_32f, LowBand>(pSize); }
KivStatus kivsMelFBankGetSizeLow_Aurora_16s(int* pSize) { return get_size<KivsFBankState_16s, LowBand>(pSize); }
KivStatus kivsMelFBankGetSizeHigh_Aurora_32f(int* pSize) { return get_size<KivsFBankState_32f, HighBand>(pSize); }
KivStatus kivsMelFBankGetSizeHigh_Aurora_16s(int* pSize) { return get_size<KivsFBankState_16s, HighBand>(pSize); }

KivStatus kivsMelFBankInitLow_Aurora_32f(KivsFBankState_32f* pFBank) { return initialise<LowBand>(pFBank); }
KivStatus kivsMelFBankInitLow_Aurora_16s(KivsFBankState_16s* pFBank) { return initialise<LowBand>(pFBank); }
KivStatus kivsMelFBankInitHigh_Aurora_32f(KivsFBankState_32f* pFBank) { return initialise<HighBand>(pFBank); }
KivStatus kivsMelFBankInitHigh_Aurora_16s(KivsFBankState_16s* pFBank) { return initialise<HighBand>(pFBank); }

KivStatus kivsMelFBankInitAllocLow_Aurora_32f(KivsFBankState_32f** ppFBank) { return create<LowBand>(ppFBank); }
KivStatus kivsMelFBankInitAllocLow_Aurora_16s(KivsFBankState_16s** ppFBank) { return create<LowBand>(ppFBank); }
KivStatus kivsMelFBankInitAllocHigh_Aurora_32f(KivsFBankState_32f** ppFBank) { return create<HighBand>(ppFBank); }
KivStatus kivsMelFBankInitAllocHigh_Aurora_16s(KivsFBankState_16s** ppFBank) { return create<HighBand>(ppFBank); }
}
