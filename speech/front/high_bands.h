// Speech at 16 kHz in the advanced front end (ETSI ES 202 050, clause 5.5): the low band, which goes through the chain
// as speech at 8 kHz does, and three bands above it.
#pragma once

#include <array>
#include <span>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/smoothed_spectrum.h"
#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

class HighBands {
 public:
  static constexpr int kBands = 3;
  static constexpr int kFrame = 2 * kAuroraFrame;

  HighBands();
  void reset();

  // kFrame samples; low: kAuroraFrame. The high band stays here.
  void split(std::span<const float> frame, std::span<float> low);
  // When the first stage of the noise reduction has run: its spectrum.
  void keep_low(std::span<const float> power);
  // When the second one has run: codes and energies of the frame that it gave.
  void analyse();
  // Of the frame two before: puts its bands behind the 23 log bands of power, whose frame's energy grows.
  void merge(std::span<const float> power, std::span<float> logs, float& energy) const;

 private:
  static constexpr int kTaps = 118;
  static constexpr int kFrames = 6;  // of the high band
  static constexpr int kHistory = 3;
  static constexpr int kCodes = kBands * kBands;

  SmoothedSpectrum spectrum_;
  FilterBank32f filters_;
  HighBandReduction reduction_;
  std::array<float, kTaps - 1 + kFrame> samples_{};            // those before the newest frame, then the frame
  std::array<float, kFrames * kAuroraFrame> high_{};           // the newest frames
  std::array<SmoothedSpectrum::Power, kHistory> low_power_{};  // of the newest frames of the first stage
  std::array<std::array<float, kCodes>, kHistory> codes_{};    // of the newest frames of the second stage
  std::array<std::array<float, kBands>, kHistory> energies_{};
};

}  // namespace kivsr::speech
