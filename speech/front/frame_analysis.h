// Frames to their spectra, those to log mel energies and those to cepstra, some of them side by side: by the library's
// DFT, filter bank, logarithm and DCT lifter of columns; or by linear prediction, for which the autocorrelation stands
// in the place of the spectrum.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/front/perceptual_prediction.h"

namespace kivsr::speech {

// Holds the frames of one step: matrices of kMostFrames columns, one for each and the others without meaning. A frame
// gets the same bits however many are beside it.
class FrameAnalysis {
 public:
  static constexpr int kMostFrames = 8;

  explicit FrameAnalysis(const FrontEndParameters& parameters);

  // fft_length / 2 + 1 values, power or magnitude as the parameters say; of linear prediction the lags 0 .. order.
  int spectrum_width() const;

  // samples: the one before the first frame, then those of the frames, a shift apart. Of a single frame the last ones
  // may be missing: the window then sees zeros behind the pre-emphasis.
  void cut(std::span<const float> samples, int frames);
  // Rows in and out: spectrum_width() values a frame; log_energies: of the frames, where rows hold them, else zeros.
  void set_spectra(std::span<const float> spectra, std::span<const float> log_energies);
  void spectra(std::span<float> rows) const;
  std::span<const float> log_energies() const { return std::span(log_energies_).first(frames()); }
  // row_width() values a frame.
  void rows(std::span<float> rows);
  // The same in two steps, where the logarithms of the filters are limited between them: filter_count values a frame.
  void logarithms(std::span<float> rows);
  void rows_of_logarithms(std::span<const float> logarithms, std::span<const float> log_energies,
                          std::span<float> rows);

 private:
  std::size_t frames() const { return static_cast<std::size_t>(frames_); }
  int cut_mode() const;
  void make_transform();
  void cut_windows(std::span<const float> samples, int frames);
  void cut_lags();
  void make_spectra();
  void make_log_energies();
  void make_bands();
  void make_logarithms();
  void cepstra_of_logarithms(std::span<float> rows);
  std::span<float> place_energy(float log_energy, std::span<float> row) const;
  void cepstra_of_prediction(std::span<const float> lags, std::span<float> row);
  void place_cepstra(float zeroth, std::span<const float> others, std::span<float> row) const;

  FrontEndParameters parameters_;
  std::vector<float> window_;
  DftColumns32f dft_;
  FilterBank32f filters_;
  DctLifter32f transform_;
  std::optional<PerceptualPrediction> perceptual_;
  std::vector<Kiv8u> dft_work_;
  int frames_ = 0;
  std::vector<float> samples_;       // fft_length rows, windowed; zeros behind the window are never written
  std::vector<float> spectra_;       // spectrum_width() rows
  std::vector<float> log_energies_;  // a row; first energies
  std::vector<float> bands_;         // filter_count rows, or their logarithms
  std::vector<float> floor_;         // the same of the floor of the logarithm
  std::vector<float> cepstra_;       // as the library orders them: c1 .. cN, then c0
  std::vector<float> row_;           // of one frame: its samples, bands or cepstra
  std::vector<float> lags_;          // prediction_order + 1
  std::vector<float> predictor_;     // prediction_order
  std::vector<float> lpc_cepstra_;   // the same, before the lifter
  std::vector<float> lifter_;        // the same
};

// Of an utterance's logarithms, filter_count a frame: those further than the dynamic range below the largest.
void limit_dynamic_range(const FrontEndParameters& parameters, std::span<float> logarithms);

}  // namespace kivsr::speech
