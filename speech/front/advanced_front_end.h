// The advanced front end (ETSI ES 202 050), from samples at 8 or 16 kHz to the rows that its coder sends, without the
// blind equalisation: noise reduction (noise/aurora_reduction.h), waveform processing and cepstra, at 16 kHz with three
// bands above 4 kHz; and its voice activity detection.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/front/advanced_cepstra.h"
#include "kivsr/speech/front/high_bands.h"
#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/noise/aurora_reduction.h"
#include "kivsr/speech/noise/voice_decision.h"

namespace kivsr::speech {

// One utterance after the other, in blocks of any size; the rows are the same bits for all of them. N samples give
// floor(N / 10 ms) - 6 rows: nothing is added at the end. Frames of digital silence at the start give zeros and do not
// enter the chain.
class AdvancedFrontEnd {
 public:
  static constexpr int kColumns = 14;  // c1 .. c12, c0, log energy

  // sample_rate: 8000 or 16000. with_speech: also decide which frames hold speech.
  AdvancedFrontEnd(int sample_rate, bool with_speech);

  // Appends the rows that the samples complete, and the decisions, 1 or 0, which come up to six frames later.
  void push(std::span<const float> samples, FeatureMatrix& rows, std::vector<float>& speech);
  void finish(FeatureMatrix& rows, std::vector<float>& speech);

  // From here on appends what the noise reduction leaves, at 8 kHz, to samples, which the caller keeps; null ends it.
  void record_denoised(std::vector<float>* samples) { denoised_ = samples; }

 private:
  void reset();
  void step(std::span<const float> frame, FeatureMatrix& rows, std::vector<float>& speech);
  void decide(int result, std::vector<float>& speech);
  void add_row(FeatureMatrix& rows);

  std::size_t frame_;  // samples of 10 ms
  bool with_speech_;
  AuroraReduction reduction_;
  VoiceDecision decision_{Arithmetic::kSinglePrecision};
  std::optional<HighBands> high_bands_;  // at 16 kHz
  AdvancedCepstra cepstra_;
  std::vector<float> pending_;
  std::array<float, AdvancedCepstra::kSamples> samples_{};  // the newest ones of the noise reduction
  bool started_ = false;
  int denoised_frames_ = 0;
  std::vector<float>* denoised_ = nullptr;
};

}  // namespace kivsr::speech
