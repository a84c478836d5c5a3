#include "kivsr/speech/front/front_end_parameters.h"

#include <cmath>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

int FrontEndParameters::row_width() const {
  const int end = energy ? 1 : 0;
  if (output == Output::kLogMel) return filter_count + end;
  if (output == Output::kLpcCepstra) return prediction_order + end;
  return (zeroth == ZerothCepstrum::kNone ? cepstrum_count - 1 : cepstrum_count) + end;
}

void FrontEndParameters::validate() const {
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("front end: ") + message);
  };
  require(sample_rate > 0, "the sampling rate must be above 0 Hz");
  require(std::isfinite(pre_emphasis) && std::abs(pre_emphasis) <= 1.0F, "the pre-emphasis must lie between -1 and 1");
  require(window_length >= 1 && window_length <= kLongestFrame,
          "the window must be at least one sample and at most 2^20");
  require(shift >= 1 && shift <= kLongestFrame, "the shift must be at least one sample and at most 2^20");
  require(fft_length >= 2 && fft_length <= kLongestFrame && (fft_length & (fft_length - 1)) == 0,
          "the FFT length must be a power of two");
  require(fft_length >= window_length, "the FFT must be at least as long as the window");
  require(filter_count >= 1 && filter_count <= fft_length / 2,
          "the filters must be at least one and at most half the FFT length");
  require(low_frequency > 0.0F, "the lowest frequency must be above 0 Hz");
  require(high_frequency > low_frequency, "the highest frequency must be above the lowest");
  require(high_frequency <= 0.5F * static_cast<float>(sample_rate),
          "the highest frequency must be at most half the sampling rate");
  require(mel_multiplier > 0.0F && mel_divisor > 0.0F, "the constants of the mel scale must be above 0");
  require(log_floor >= 0.0F && std::isfinite(log_floor), "the floor of the logarithm must not be negative");
  require(log_offset >= 0.0F && std::isfinite(log_offset), "the offset of the logarithm must not be negative");
  require(cepstrum_count >= 1 && cepstrum_count <= filter_count,
          "the cepstra must be at least one and at most the filters");
  require(zeroth != ZerothCepstrum::kNone || cepstrum_count >= 2, "no cepstrum is left without the zeroth");
  require(lifter >= 0, "the lifter must not be negative");
  require(prediction_order >= 1 && prediction_order <= window_length,
          "the prediction order must be at least one and at most the window");
}

}  // namespace kivsr::speech
