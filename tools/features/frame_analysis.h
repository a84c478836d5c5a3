// One windowed frame to log mel energies or cepstra, by the library's FFT, filter bank, logarithm and DCT lifter.
#ifndef KIVSR_TOOLS_FEATURES_FRAME_ANALYSIS_H
#define KIVSR_TOOLS_FEATURES_FRAME_ANALYSIS_H

#include <span>
#include <vector>

#include "features/front_end_parameters.h"
#include "kivsr.h"
#include "support/library_object.h"

namespace kivsr::tools {

class FrameAnalysis {
 public:
  explicit FrameAnalysis(const FrontEndParameters& parameters);

  // frame: window_length pre-emphasised samples. row: row_width() values.
  void run(std::span<const float> frame, std::span<float> row);

 private:
  void make_filters();
  void make_hertz_filters();
  void make_transform();
  void spectrum_of(std::span<const float> frame);
  void cepstra_of_energies(std::span<float> row);

  FrontEndParameters parameters_;
  std::vector<float> window_;
  LibraryObject<KivsFFTSpec_R_32f, kivsFFTFree_R_32f> fft_;
  LibraryObject<KivsFBankState_32f, kivsFBankFree_32f> filters_;
  LibraryObject<KivsDCTLifterState_32f, kivsDCTLifterFree_32f> transform_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> centred_;      // window_length, mean subtracted
  std::vector<float> samples_;      // fft_length, windowed, zeros behind the window
  std::vector<Kiv32fc> bins_;       // fft_length / 2 + 1
  std::vector<float> spectrum_;     // the same, power or magnitude
  std::vector<float> bands_;        // filter_count, energies
  std::vector<float> energies_;     // the same with offset and floor, then their logarithms
  std::vector<float> floor_;        // filter_count times the floor of the logarithm
  std::vector<float> transformed_;  // as the library orders them: c1 .. cN, then c0
};

}  // namespace kivsr::tools

#endif
