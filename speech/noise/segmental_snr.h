// How far a signal is from a clean reference of it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kivsr::speech {

// Segmental signal-to-noise ratio in dB: the mean over frames of 30 ms, side by side, of 10 log10 of the reference's
// energy over that of the difference, each limited to -10 .. 35 dB (S. R. Quackenbush, T. P. Barnwell, M. A. Clements,
// "Objective measures of speech quality", 1988). An incomplete last frame counts like the others; frames in which the
// reference is zero do not count.
class SegmentalSnr {
 public:
  explicit SegmentalSnr(int sample_rate);

  // Both as they come; what one is ahead of the other is kept. In the end they have the same length.
  void push_reference(std::span<const float> samples);
  void push_signal(std::span<const float> samples);
  // NaN without a frame that counts.
  double finish();

 private:
  void compare(std::size_t count);
  void compare_complete();

  std::size_t frame_;  // samples
  std::vector<float> reference_;
  std::vector<float> signal_;
  double sum_ = 0.0;
  std::int64_t count_ = 0;
};

// Of whole signals of the same length.
double segmental_snr(std::span<const float> reference, std::span<const float> signal, int sample_rate);

}  // namespace kivsr::speech
