// The noise reduction of the advanced front end (ETSI ES 202 050, clause 5.1) for listening: a two-stage mel-warped
// Wiener filter for speech at 8 kHz, with its offset compensation.
#pragma once

#include <cstddef>

#include "kivsr/speech/noise/aurora_reduction.h"
#include "kivsr/speech/noise/enhancer.h"

namespace kivsr::speech {

class AuroraEnhancer : public Enhancer {
 public:
  // Throws Fault for any rate but 8000 Hz.
  explicit AuroraEnhancer(int sample_rate);

  int sample_rate() const override { return kAuroraRate; }
  int delay() const override { return 5 * kAuroraFrame; }
  void push(std::span<const float> samples, std::vector<float>& output) override;
  void finish(std::vector<float>& output) override;

 private:
  void reset();
  void step(std::span<const float> frame, std::vector<float>& output);
  void record_noise_of_frame();

  AuroraReduction reduction_;
  std::vector<float> pending_;
  bool started_ = false;      // a frame that is not all zeros came
  std::size_t designed_ = 0;  // frames whose noise is known, silent ones in front counted
  std::size_t recorded_ = 0;  // rows of the noise track
  std::size_t samples_in_ = 0;
  std::size_t samples_out_ = 0;
};

}  // namespace kivsr::speech
