// One frame to log mel energies or cepstra, by the library's FFT, filter bank, logarithm and DCT lifter, or to the
// cepstra of linear prediction.
#pragma once

#include <span>
#include <vector>

#include "kivsr.h"
#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/front/spectrum_filter.h"
#include "kivsr/speech/io/library_object.h"

namespace kivsr::speech {

class FrameAnalysis {
 public:
  // filter may be null; the caller keeps it.
  FrameAnalysis(const FrontEndParameters& parameters, SpectrumFilter* filter);

  // samples: the one before the frame, then those of the frame, of which the last may be missing (the window then sees
  // zeros behind the pre-emphasis). row: row_width() values.
  void run(std::span<const float> samples, std::span<float> row);

 private:
  void make_filters();
  void make_hertz_filters();
  void make_transform();
  void window_frame(std::span<const float> samples);
  float log_energy(std::span<const float> frame);
  void make_spectrum();
  void make_log_mel();
  void cepstra_of_energies(std::span<float> row);
  void cepstra_of_prediction(std::span<float> row);

  FrontEndParameters parameters_;
  SpectrumFilter* filter_;
  std::vector<float> window_;
  LibraryObject<KivsFFTSpec_R_32f, kivsFFTFree_R_32f> fft_;
  LibraryObject<KivsFBankState_32f, kivsFBankFree_32f> filters_;
  LibraryObject<KivsDCTLifterState_32f, kivsDCTLifterFree_32f> transform_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> frame_;        // window_length, pre-emphasised
  std::vector<float> centred_;      // the same, mean subtracted
  std::vector<float> samples_;      // fft_length, windowed, zeros behind the window
  std::vector<Kiv32fc> bins_;       // fft_length / 2 + 1
  std::vector<float> spectrum_;     // the same, power or magnitude
  std::vector<float> bands_;        // filter_count, energies
  std::vector<float> energies_;     // the same with offset and floor, then their logarithms
  std::vector<float> floor_;        // filter_count times the floor of the logarithm
  std::vector<float> transformed_;  // as the library orders them: c1 .. cN, then c0
  std::vector<float> lags_;         // prediction_order + 1 of the autocorrelation
  std::vector<float> predictor_;    // prediction_order
  std::vector<float> lpc_cepstra_;  // the same, before the lifter
  std::vector<float> lifter_;       // the same
};

}  // namespace kivsr::speech
