// Waveform processing and cepstra of the advanced front end (ETSI ES 202 050, clauses 5.2 and 5.3), and where its high
// bands join (clause 5.5).
#pragma once

#include <array>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/smoothed_spectrum.h"

namespace kivsr::speech {

class HighBands;

class AdvancedCepstra {
 public:
  static constexpr int kSamples = 241;  // the sample before a frame, its 200, and the 40 behind them
  static constexpr int kRow = 14;

  explicit AdvancedCepstra(bool high_bands);

  // samples: kSamples of the noise reduction. row: c1 .. c12, c0, log energy. high_bands: null at 8 kHz.
  void row_of(std::span<const float> samples, const HighBands* high_bands, std::span<float> row);

 private:
  int bands_;
  Fft32f fft_;
  FilterBank32f filters_;
  DctLifter32f transform_;
  std::vector<Kiv8u> work_;
  std::vector<float> window_;
  std::vector<float> frame_;   // behind the waveform processing
  std::vector<float> padded_;  // windowed, zeros behind
  std::vector<Kiv32fc> bins_;
  std::vector<float> power_;
  std::vector<float> logs_;
  std::vector<float> transformed_;
};

}  // namespace kivsr::speech
