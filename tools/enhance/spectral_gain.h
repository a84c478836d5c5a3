// Gains of a frame's spectrum that suppress the noise in it: MCRA noise estimate, decision-directed signal-to-noise
// ratio, Wiener or minimum mean-square error gain.
#ifndef KIVSR_TOOLS_ENHANCE_SPECTRAL_GAIN_H
#define KIVSR_TOOLS_ENHANCE_SPECTRAL_GAIN_H

#include <cstddef>
#include <span>
#include <vector>

#include "kivsr.h"

namespace kivsr::tools {

enum class GainRule {
  wiener,  // xi / (xi + 1)
  emns     // the Wiener gain times the factor of the minimum mean-square error amplitude estimator
};

struct SpectralGainSettings {
  GainRule rule = GainRule::wiener;
  float memory = 0.98F;  // share of the previous frame in the signal-to-noise ratio
  float floor = 0.1F;    // smallest gain
};

class SpectralGain {
 public:
  // Frames of fft_length samples, one every hop. Throws Fault where the noise estimate cannot work with these values.
  SpectralGain(int sample_rate, int fft_length, int hop, const SpectralGainSettings& settings);

  // power: fft_length / 2 + 1 values |X(k)|^2 of the next frame; gains: as many factors for X(k), from floor to 1.
  void run(std::span<const float> power, std::span<float> gains);
  // The noise power that the last gains were made with.
  std::span<const float> noise() const { return noise_; }
  // The next frame is the first of a signal.
  void restart();

 private:
  KivsMCRAState_32f* state() { return reinterpret_cast<KivsMCRAState_32f*>(state_.data()); }

  int sample_rate_;
  int fft_length_;
  int hop_;
  int bins_;
  bool first_ = true;
  SpectralGainSettings settings_;
  std::vector<std::max_align_t> state_;
  std::vector<float> noise_;
  std::vector<float> divisor_;    // the noise, above 0
  std::vector<float> posterior_;  // power over noise
  std::vector<float> clean_;      // power after the gain, of the frame before
  std::vector<float> prior_;      // the decision-directed ratio
  std::vector<float> floor_;
};

}  // namespace kivsr::tools

#endif
