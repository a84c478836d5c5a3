#include "kivsr/speech/front/high_bands.h"

#include <algorithm>

namespace kivsr::speech {

namespace {

// The sums of the weights of the standard's triangles, which the library's bank divides by.
constexpr std::array<float, HighBands::kBands> kWeights = {9.0F, 14.5F, 22.5F};

template <class T, std::size_t n>
T& shift(std::array<T, n>& newest) {
  std::move(newest.begin() + 1, newest.end(), newest.begin());
  return newest.back();
}

}  // namespace

HighBands::HighBands()
    : filters_(FilterBank32f::make<kivsMelFBankInitAllocHigh_Aurora_32f>()),
      reduction_(HighBandReduction::sized<kivsHighBandGetSize_Aurora_32f>()) {
  reset();
}

void HighBands::reset() {
  call<kivsHighBandInit_Aurora_32f>(reduction_);
  samples_.fill(0.0F);
  high_.fill(0.0F);
}

void HighBands::split(std::span<const float> frame, std::span<float> low) {
  std::copy(samples_.begin() + kFrame, samples_.end(), samples_.begin());
  std::copy(frame.begin(), frame.end(), samples_.end() - kFrame);
  std::copy(high_.begin() + kAuroraFrame, high_.end(), high_.begin());
  call<kivsLowHighFilter_Aurora_32f>(samples_, low, high_.end() - kAuroraFrame, kAuroraFrame);
}

void HighBands::keep_low(std::span<const float> power) {
  std::copy(power.begin(), power.end(), shift(low_power_).begin());
}

// The window begins with the frame that the second stage gave, four before the newest.
void HighBands::analyse() {
  SmoothedSpectrum::Power power;
  spectrum_.analyse(high_.data() + kAuroraFrame, power);
  auto& energies = shift(energies_);
  call<kivsEvalFBank_32f>(power, energies, filters_);
  call<kivsMul_32f>(energies, kWeights, energies, kBands);
  call<kivsHighBandCoding_Aurora_32f>(low_power_.front(), energies, shift(codes_));
  call<kivsHighBandReduction_Aurora_32f_I>(energies, reduction_);
}

void HighBands::merge(std::span<const float> power, std::span<float> logs, float& energy) const {
  std::array<float, kBands> coded;
  call<kivsHighBandDecoding_Aurora_32f>(power, codes_.front(), coded);
  call<kivsHighBandMerging_Aurora_32f>(coded, energies_.front(), logs, &energy);
}

}  // namespace kivsr::speech
