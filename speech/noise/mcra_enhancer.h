// Noise suppression by gains on overlapping short-time spectra, the noise estimated by MCRA.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/mcra_noise.h"
#include "kivsr/speech/noise/suppression_gain.h"

namespace kivsr::speech {

// Frames of the smallest power of two that holds 20 ms, one every quarter of it, under the root of a Hann window before
// and behind the gain: gains of 1 give the input back. 8000 to 384000 Hz.
class McraEnhancer : public Enhancer {
 public:
  McraEnhancer(int sample_rate, const GainSettings& settings);

  int sample_rate() const override { return sample_rate_; }
  int delay() const override { return static_cast<int>(beginning_) - 1; }
  void push(std::span<const float> samples, std::vector<float>& output) override;
  void finish(std::vector<float>& output) override;

 private:
  void start();
  void process_pending(std::vector<float>& output);
  void process_frame(std::span<const float> frame);
  void analyse(std::span<const float> frame);
  void smooth_noise(std::span<const float> estimate);
  void record_frame();

  int sample_rate_;
  int fft_length_;
  int hop_;
  std::size_t beginning_;  // samples that the noise estimate begins with
  McraNoise mcra_;
  SuppressionGain gain_;
  Fft32f fft_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> analysis_window_;
  std::vector<float> synthesis_window_;
  std::vector<float> pending_;  // samples from the start of the next frame on
  std::vector<float> overlap_;  // sum of the frames so far, from the start of the next one on
  std::vector<float> samples_;  // one frame, its Pack spectrum, and its samples again
  std::vector<float> factors_;  // the gains as the spectrum is ordered
  std::vector<float> power_;
  std::vector<float> noise_;  // the estimates, smoothed
  std::vector<float> gains_;
  std::size_t received_ = 0;  // samples of the signal
  std::size_t emitted_ = 0;   // of its output
  std::size_t skip_ = 0;      // output still to come that lies before the signal
  std::size_t frames_ = 0;
  bool started_ = false;
};

}  // namespace kivsr::speech
