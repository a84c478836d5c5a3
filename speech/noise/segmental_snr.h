// How far a signal is from a clean reference of it.
#pragma once

#include <span>

namespace kivsr::speech {

// Segmental signal-to-noise ratio in dB: the mean over frames of 30 ms, side by side, of 10 log10 of the reference's
// energy over that of the difference, each limited to -10 .. 35 dB (S. R. Quackenbush, T. P. Barnwell, M. A. Clements,
// "Objective measures of speech quality", 1988). An incomplete last frame counts like the others; frames in which the
// reference is zero do not count. Both have the same length. Without a frame that counts: NaN.
double segmental_snr(std::span<const float> reference, std::span<const float> signal, int sample_rate);

}  // namespace kivsr::speech
