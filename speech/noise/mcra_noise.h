// The noise of frames of a spectrum, estimated by MCRA.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "kivsr.h"

namespace kivsr::speech {

class McraNoise {
 public:
  // Frames of fft_length samples, one every hop. Throws Fault for values that the library's estimate does not allow.
  McraNoise(int sample_rate, int fft_length, int hop);

  // The next frame is the first of a signal. The estimate begins with this power, the mean over some frames: a bin that
  // one frame has little of by chance would hold the running minimum down, and so the noise, for two seconds.
  void begin(std::span<const float> mean_power);
  // power: fft_length / 2 + 1 values |X(k)|^2 of the next frame. Returns the noise in it.
  std::span<const float> update(std::span<const float> power);

 private:
  KivsMCRAState_32f* state() { return reinterpret_cast<KivsMCRAState_32f*>(state_.data()); }

  int sample_rate_;
  int fft_length_;
  int hop_;
  std::vector<std::max_align_t> state_;
  std::vector<float> noise_;
};

}  // namespace kivsr::speech
