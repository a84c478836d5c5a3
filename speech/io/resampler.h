// Sampling-rate conversion by a polyphase bank of Kaiser-windowed sinc filters.
#pragma once

#include <span>
#include <vector>

namespace kivsr::speech {

// Converts between two rates in hertz. Output n stands at time n / to_rate, without delay, and there are
// ceil(count * to_rate / from_rate) of them; samples outside the signal count as zero.
// The pass band reaches 0.92 of the lower Nyquist frequency and the stop band lies about 100 dB below it.
// Throws Fault for a pair of rates whose filters would not fit in a reasonable table.
std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate);

}  // namespace kivsr::speech
