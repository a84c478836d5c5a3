// One frame to its spectrum, that to log mel energies and those to cepstra, by the library's DFT, filter bank,
// logarithm and DCT lifter; or by linear prediction, for which the autocorrelation stands in the place of the spectrum.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/front/perceptual_prediction.h"

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
  // The same in two steps, where the logarithms of the filters are limited between them: filter_count values, then the
  // row of them.
  void logarithms_of(std::span<const float> spectrum, std::span<float> logarithms);
  void row_of_logarithms(std::span<const float> logarithms, float log_energy, std::span<float> row);

 private:
  void make_transform();
  std::span<const float> without_offset(std::span<const float> samples);
  void window_frame(std::span<const float> samples);
  float log_energy(std::span<const float> frame, std::span<const float> spectrum);
  void make_spectrum(std::span<float> spectrum);
  void make_bands(std::span<const float> spectrum, std::span<float> bands);
  void make_logarithms(std::span<float> bands) const;
  std::span<float> place_energy(float log_energy, std::span<float> row) const;
  void cepstra_of_energies(std::span<float> row);
  void cepstra_of_prediction(std::span<const float> lags, std::span<float> row);
  void place_cepstra(float zeroth, std::span<const float> others, std::span<float> row) const;

  FrontEndParameters parameters_;
  std::vector<float> window_;
  Dft32f dft_;
  FilterBank32f filters_;
  DctLifter32f transform_;
  std::optional<PerceptualPrediction> perceptual_;
  std::vector<Kiv8u> dft_work_;
  std::vector<float> raw_;          // the sample before the frame and the frame, mean subtracted
  std::vector<float> frame_;        // window_length, pre-emphasised
  std::vector<float> centred_;      // the same, mean subtracted
  std::vector<float> samples_;      // fft_length, windowed, zeros behind the window
  std::vector<Kiv32fc> bins_;       // fft_length / 2 + 1
  std::vector<float> energies_;     // filter_count, of the filters or their logarithms
  std::vector<float> floor_;        // filter_count times the floor of the logarithm
  std::vector<float> transformed_;  // as the library orders them: c1 .. cN, then c0
  std::vector<float> lags_;         // prediction_order + 1
  std::vector<float> predictor_;    // prediction_order
  std::vector<float> lpc_cepstra_;  // the same, before the lifter
  std::vector<float> lifter_;       // the same
};

// Of an utterance's logarithms, filter_count a frame: those further than the dynamic range below the largest.
void limit_dynamic_range(const FrontEndParameters& parameters, std::span<float> logarithms);

}  // namespace kivsr::speech
