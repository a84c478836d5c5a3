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
  if (kind == FrontEndKind::kEtsiAfe) {
    require(sample_rate == 8000 || sample_rate == 16000, "etsi-afe works at 8000 and 16000 Hz");
    require(*this == etsi_afe_front_end(sample_rate), "etsi-afe is fixed by its standard: only the rate is to choose");
  }
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

FrontEndParameters aurora_front_end() {
  FrontEndParameters parameters;
  parameters.sample_rate = 8000;
  parameters.pre_emphasis = 0.9F;
  parameters.window_length = 200;
  parameters.shift = 80;
  parameters.fft_length = 256;
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kBins;
  parameters.filter_count = 23;
  parameters.low_frequency = 64.0F;
  parameters.high_frequency = 4000.0F;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 4.539993e-5F;  // e^-10
  parameters.transform = Transform::kPlain;
  parameters.zeroth = ZerothCepstrum::kLast;
  parameters.energy = true;
  return parameters;
}

FrontEndParameters etsi_afe_front_end(int sample_rate) {
  FrontEndParameters parameters = aurora_front_end();
  parameters.kind = FrontEndKind::kEtsiAfe;
  if (sample_rate == 16000) {
    parameters.sample_rate = sample_rate;
    parameters.window_length = 400;
    parameters.shift = 160;
    parameters.fft_length = 512;
    parameters.filter_count = 26;
    parameters.high_frequency = 8000.0F;
  }
  return parameters;
}

}  // namespace kivsr::speech
