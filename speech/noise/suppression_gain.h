// Gains that suppress the noise in a spectrum: decision-directed signal-to-noise ratio, then the Wiener gain or that of
// the minimum mean-square error amplitude estimator.
#pragma once

#include <span>
#include <vector>

namespace kivsr::speech {

enum class GainRule {
  kWiener,  // xi / (xi + 1)
  kEmns     // the Wiener gain times the factor of the minimum mean-square error amplitude estimator
};

struct GainSettings {
  GainRule rule = GainRule::kEmns;
  float memory = 0.9F;  // share of the previous frame in the signal-to-noise ratio
  float floor = 0.1F;   // smallest gain
};

// power, noise and gains have one value a bin, or a band. The gains are factors of amplitudes, from the floor to 1.
class SuppressionGain {
 public:
  SuppressionGain(int bins, const GainSettings& settings);

  void run(std::span<const float> power, std::span<const float> noise, std::span<float> gains);
  // The next frame is the first of a signal.
  void restart() { first_ = true; }

 private:
  int bins_;
  GainSettings settings_;
  bool first_ = true;
  std::vector<float> smallest_noise_;
  std::vector<float> floor_;
  std::vector<float> one_;
  std::vector<float> divisor_;    // the noise, above 0
  std::vector<float> posterior_;  // power over noise
  std::vector<float> prior_;      // the decision-directed ratio
  std::vector<float> clean_;      // power after the gain, of the frame before
};

}  // namespace kivsr::speech
