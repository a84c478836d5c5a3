// Voice activity of a signal at 8 kHz: a decision every 10 ms (ETSI ES 202 050, annex A). The library's detector reads
// the gains of the first stage of the noise reduction, which are near 1 where speech stands out of the noise.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "kivsr/speech/noise/voice_decision.h"

namespace kivsr::speech {

// One signal after the other. Decision t, counted from 0, is about the frame of 80 samples around sample 80 (t + 1).
// The detector decides frames from the fifth on; the first four take the decision of the fifth. Frames of digital
// silence at the start hold no speech and do not count.
class SpeechDetector {
 public:
  explicit SpeechDetector(Arithmetic arithmetic);

  // Decisions come up to 90 ms behind the samples.
  void push(std::span<const float> samples, std::vector<bool>& speech);
  // The rest of the decisions, floor(samples / 80) in all. A signal below 110 ms holds no speech.
  void finish(std::vector<bool>& speech);
  std::vector<bool> run(std::span<const float> samples);

 private:
  void reset();
  void step(std::span<const float> frame, std::vector<bool>& speech);
  void take(int result, std::vector<bool>& speech);

  GatedStage stage_;
  VoiceDecision decision_;
  std::vector<float> pending_;
  std::size_t silent_ = 0;   // frames of digital silence before the first that is not
  int calls_ = 0;            // decisions and flushes so far
  std::size_t decided_ = 0;  // frames of this signal that have a decision
  std::size_t wanted_ = 0;   // frames that the whole signal has
};

}  // namespace kivsr::speech
