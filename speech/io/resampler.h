// Sampling-rate conversion by a polyphase bank of Kaiser-windowed sinc filters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kivsr::speech {

// Converts between two rates in hertz. Output n stands at time n / to_rate, without delay, and there are
// ceil(count * to_rate / from_rate) of them; samples outside the signal count as zero.
// The pass band reaches 0.92 of the lower Nyquist frequency and the stop band lies about 100 dB below it.
// One signal: push its samples as they come, then finish. The output is the same bits however the input is cut.
class Resampler {
 public:
  // Throws Fault for a pair of rates whose filters would not fit in a reasonable table.
  Resampler(int from_rate, int to_rate);

  // Appends the output that these samples complete.
  void push(std::span<const float> samples, std::vector<float>& output);
  void finish(std::vector<float>& output);

 private:
  void emit(std::int64_t end, std::vector<float>& output);

  bool same_;            // rates: samples pass as they are
  std::int64_t phases_;  // up-sampling factor: phase p holds the taps of times n + p / phases
  std::int64_t step_;    // down-sampling factor
  int half_ = 0;         // input samples on either side of an output
  std::vector<float> taps_;
  std::vector<float> pending_;  // input from sample first_ on; before and behind the signal zeros
  std::int64_t first_ = 0;
  std::int64_t received_ = 0;
  std::int64_t emitted_ = 0;
};

// A whole signal.
std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate);

}  // namespace kivsr::speech
