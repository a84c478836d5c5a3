#include "kivsr/speech/noise/voice_decision.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kivsr::speech {

namespace {

constexpr int kVarianceBins = 64;
constexpr int kFractionBits = 10;  // of the gains in 16 bits: the squared sum of 25 stays below 2^31

// Gains in 16 bits. The detector subtracts 3 from the squared sum of the bands, which is meant for gains between 0 and
// 1 and would be lost among integers; the sum is lowered here to sqrt(sum^2 - 3) by the first band, which nothing else
// reads.
std::array<Kiv16s, kAuroraBands> words_of(std::span<const float> gains) {
  std::array<Kiv16s, kAuroraBands> bands;
  call<kivsConvert_32f16s_Sfs>(gains, bands, kAuroraBands, kivRndNear, -kFractionBits);
  constexpr int kOne = 1 << kFractionBits;
  int sum = 0;
  for (const Kiv16s band : bands) sum += band;
  const double square = std::max(0.0, static_cast<double>(sum) * sum - 3.0 * kOne * kOne);
  bands.front() = static_cast<Kiv16s>(bands.front() + std::lround(std::sqrt(square)) - sum);
  return bands;
}

}  // namespace

VoiceDecision::VoiceDecision(Arithmetic arithmetic)
    : arithmetic_(arithmetic),
      state_(arithmetic == Arithmetic::kSinglePrecision ? VoiceDetector::sized<kivsVADGetBufSize_Aurora_32f>()
                                                        : VoiceDetector::sized<kivsVADGetBufSize_Aurora_16s>()) {
  reset();
}

void VoiceDecision::reset() {
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADInit_Aurora_32f>(state_);
  } else {
    call<kivsVADInit_Aurora_16s>(state_);
  }
}

int VoiceDecision::next(const GatedStage& first) {
  const WienerStage& stage = first.stage();
  int result = kivVadUndecided;
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADDecision_Aurora_32f>(stage.mel_gains(), stage.gains(), first.loud_frames(), &result, state_);
    return result;
  }
  const auto bands = words_of(stage.mel_gains());
  std::array<Kiv16s, kVarianceBins> gains;
  call<kivsConvert_32f16s_Sfs>(stage.gains(), gains, kVarianceBins, kivRndNear, -kFractionBits);
  call<kivsVADDecision_Aurora_16s>(bands, gains, first.loud_frames(), &result, state_);
  return result;
}

int VoiceDecision::flush() {
  int result = kivVadUndecided;
  if (arithmetic_ == Arithmetic::kSinglePrecision) {
    call<kivsVADFlush_Aurora_32f>(&result, state_);
  } else {
    call<kivsVADFlush_Aurora_16s>(&result, state_);
  }
  return result;
}

}  // namespace kivsr::speech
