// Sampling-rate conversion of one signal.
#pragma once

#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

// Converts between two rates in hertz. Output n stands at time n / to_rate, without delay, and there are
// ceil(count * to_rate / from_rate) of them; samples outside the signal count as zero.
// The pass band reaches 0.925 of the lower Nyquist frequency, from which on 130 dB are lost.
// One signal: push its samples as they come, then finish. The output is the same bits however the input is cut.
class Resampler {
 public:
  // Throws Fault for a pair of rates whose filters would not fit in a reasonable table.
  Resampler(int from_rate, int to_rate);

  // Appends the output that these samples complete.
  void push(std::span<const float> samples, std::vector<float>& output);
  void finish(std::vector<float>& output);

 private:
  Resampler32f state_;
};

// A whole signal.
std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate);

}  // namespace kivsr::speech
