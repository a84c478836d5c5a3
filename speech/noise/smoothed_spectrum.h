// The spectra of the advanced front end at 8 kHz (ETSI ES 202 050, clause 5.1.2): 200 samples under a Hann window, a
// transform of 256 points, powers of pairs of bins averaged.
#pragma once

#include <array>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

inline constexpr int kAuroraWindow = 200;
inline constexpr int kAuroraSpectrum = 65;  // smoothed bins from 0 to 4000 Hz

class SmoothedSpectrum {
 public:
  using Power = std::array<float, kAuroraSpectrum>;

  SmoothedSpectrum();
  // samples: kAuroraWindow of them.
  void analyse(const float* samples, Power& power);

 private:
  Fft32f fft_;
  std::vector<Kiv8u> work_;
  std::vector<float> window_;
  std::vector<float> samples_;
  std::vector<float> packed_;
};

// 0.5 - 0.5 cos(2 pi (n + 0.5) / length)
std::vector<float> raised_cosine(int length);

}  // namespace kivsr::speech
