#include "kivsr/speech/noise/mcra_noise.h"

#include <string>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

McraNoise::McraNoise(int sample_rate, int fft_length, int hop)
    : sample_rate_(sample_rate), fft_length_(fft_length), hop_(hop) {
  if (sample_rate < 8000 || sample_rate > 384000) {
    throw Fault("MCRA estimates noise from 8000 to 384000 Hz, not at " + std::to_string(sample_rate) + " Hz");
  }
  int size = 0;
  if (hop < 1 || hop > fft_length / 2 || kivsGetSizeMCRA_32f(fft_length, &size) != kivStatusOk) {
    throw Fault(
        "MCRA estimates noise from transforms of at most 8192 samples, at least two of them in the length of one");
  }
  state_.resize((static_cast<std::size_t>(size) + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t));
  noise_.resize(static_cast<std::size_t>(fft_length / 2 + 1));
}

void McraNoise::begin(std::span<const float> mean_power) {
  // Of rate and hop the estimate knows their ratio only, the frames a second, and rates up to 48 kHz.
  int rate = sample_rate_;
  int hop = hop_;
  for (; rate > 48000 && hop > 1; hop /= 2) rate /= 2;
  call<kivsAltInitMCRA_32f>(rate, fft_length_, hop, state());
  update(mean_power);
}

std::span<const float> McraNoise::update(std::span<const float> power) {
  call<kivsUpdateNoisePSDMCRA_32f_I>(power, state(), noise_);
  return noise_;
}

}  // namespace kivsr::speech
