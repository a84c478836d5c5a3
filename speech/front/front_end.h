// From samples to rows of cepstra or log mel energies, in blocks of any size: the general front end. Next:
// advanced_front_end.h, the one of ES 202 050.
// The stages are framing (this class), the spectra of frames, the noise reduction of all of them
// (noise_reduction.h) and the rows of spectra (frame_analysis.h).
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/sample_conditioning.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

class FrameAnalysis;
class NoiseReduction;

// One utterance after the other: push samples as they come, then finish, which leaves it ready for the next.
// The rows are the same bits however the samples are cut into blocks; with noise reduction or a dynamic range they come
// at the end.
class FrontEnd {
 public:
  explicit FrontEnd(const FrontEndParameters& parameters, const NoiseReductionParameters& noise = {});
  ~FrontEnd();
  FrontEnd(FrontEnd&&) noexcept;
  FrontEnd& operator=(FrontEnd&&) noexcept;

  const FrontEndParameters& parameters() const { return parameters_; }
  int row_width() const { return parameters_.row_width(); }

  // Appends the rows that these samples complete. rows.width is set.
  void push(std::span<const float> samples, FeatureMatrix& rows);
  void finish(FeatureMatrix& rows);
  FeatureMatrix run(std::span<const float> samples);
  // The spectra that the filters see in the place of the rows, power or magnitude as the parameters say; without noise
  // reduction. A finish with the spectra ends the utterance.
  void push_spectra(std::span<const float> samples, FeatureMatrix& spectra);
  void finish_spectra(FeatureMatrix& spectra);

 private:
  void start();
  void cut(std::span<const float> samples, FeatureMatrix* rows);
  void cut_block(std::span<const float> block, FeatureMatrix* rows);
  std::size_t cut_frames(std::span<const float> samples, std::size_t limit, FeatureMatrix* rows);
  void cut_last(FeatureMatrix* rows);
  void hand_over(FeatureMatrix& spectra);
  void emit(std::span<const float> samples, int frames, FeatureMatrix* rows);
  void release_parts(FeatureMatrix& rows);
  void reduce_noise(int count, FeatureMatrix& rows);
  void release(FeatureMatrix& rows);

  FrontEndParameters parameters_;
  SampleConditioning conditioning_;
  std::unique_ptr<FrameAnalysis> analysis_;
  std::unique_ptr<NoiseReduction> reduction_;  // null for none
  std::vector<float> pending_;                 // the sample before the next frame, then its samples so far
  std::size_t skip_ = 0;                       // samples to drop before the next frame
  bool cut_one_ = false;                       // of this utterance there has been a frame
  FeatureMatrix spectra_;                      // of an utterance, where they must wait for its end
  FeatureMatrix logarithms_;                   // of its filters, where these must
  std::vector<float> log_energies_;            // with either
};

}  // namespace kivsr::speech
