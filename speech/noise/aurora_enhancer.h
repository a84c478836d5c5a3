// The noise reduction of the advanced front end (ETSI ES 202 050, clause 5.1): a two-stage mel-warped Wiener filter for
// speech at 8 kHz, with its offset compensation. The first stage whitens with the noise of the frames that hold no
// speech; the second one works on what is left and filters hard in noise only.
#pragma once

#include <cstddef>

#include "kivsr/speech/noise/aurora_control.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/wiener_stage.h"

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

  WienerStage first_stage_;
  WienerStage second_stage_;
  FrameBuffer first_buffer_;
  FrameBuffer second_buffer_;
  NoiseGate gate_;
  Aggression aggression_;
  std::vector<float> pending_;
  int frames_ = 0;
  std::size_t recorded_ = 0;  // rows of the noise track
  std::size_t samples_in_ = 0;
  std::size_t samples_out_ = 0;
  float offset_input_ = 0.0F;   // last sample before the offset compensation
  float offset_output_ = 0.0F;  // and behind it
};

}  // namespace kivsr::speech
