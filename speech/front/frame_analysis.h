// One frame to its spectrum and that to log mel energies or cepstra, by the library's FFT, filter bank, logarithm and
// DCT lifter; or by linear prediction, for which the autocorrelation stands in the place of the spectrum.
#pragma once

#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

class FrameAnalysis {
 public:
  explicit FrameAnalysis(const FrontEndParameters& parameters);

  // fft_length / 2 + 1 values, power or magnitude as the parameters say; of linear prediction the lags 0 .. order.
  int spectrum_width() const;

  // samples: the one before the frame, then those of the frame, of which the last may be missing (the window then sees
  // zeros behind the pre-emphasis). Returns the log energy of the frame, where the rows end with it.
  float spectrum_of(std::span<const float> samples, std::span<float> spectrum);
  // row: row_width() values.
  void row_of(std::span<const float> spectrum, float log_energy, std::span<float> row);

 private:
  void make_filters();
  void make_hertz_filters();
  void make_transform();
  void window_frame(std::span<const float> samples);
  float log_energy(std::span<const float> frame);
  void make_spectrum(std::span<float> spectrum);
  void make_log_mel(std::span<const float> spectrum);
  void cepstra_of_energies(std::span<float> row);
  void cepstra_of_prediction(std::span<const float> lags, std::span<float> row);

  FrontEndParameters parameters_;
  std::vector<float> window_;
  Fft32f fft_;
  FilterBank32f filters_;
  DctLifter32f transform_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> frame_;        // window_length, pre-emphasised
  std::vector<float> centred_;      // the same, mean subtracted
  std::vector<float> samples_;      // fft_length, windowed, zeros behind the window
  std::vector<Kiv32fc> bins_;       // fft_length / 2 + 1
  std::vector<float> bands_;        // filter_count, energies
  std::vector<float> energies_;     // the same with offset and floor, then their logarithms
  std::vector<float> floor_;        // filter_count times the floor of the logarithm
  std::vector<float> transformed_;  // as the library orders them: c1 .. cN, then c0
  std::vector<float> predictor_;    // prediction_order
  std::vector<float> lpc_cepstra_;  // the same, before the lifter
  std::vector<float> lifter_;       // the same
};

}  // namespace kivsr::speech
