// From samples to rows of cepstra or log mel energies, in blocks of any size.
// The stages are framing (this class) and the analysis of one frame (frame_analysis.h).
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"
#include "kivsr/speech/front/spectrum_filter.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

class FrameAnalysis;

// One utterance after the other: push samples as they come, then finish, which leaves it ready for the next.
// The rows are the same bits however the samples are cut into blocks.
class FrontEnd {
 public:
  // The filter changes the spectrum of each frame; it may be null, and the caller keeps it.
  explicit FrontEnd(const FrontEndParameters& parameters, SpectrumFilter* filter = nullptr);
  ~FrontEnd();
  FrontEnd(FrontEnd&&) noexcept;
  FrontEnd& operator=(FrontEnd&&) noexcept;

  const FrontEndParameters& parameters() const { return parameters_; }
  int row_width() const { return parameters_.row_width(); }

  // Appends the rows that these samples complete. rows.width is set.
  void push(std::span<const float> samples, FeatureMatrix& rows);
  // Ends the utterance: appends the padded last frame, if the parameters ask for one.
  void finish(FeatureMatrix& rows);
  // A whole utterance at once.
  FeatureMatrix run(std::span<const float> samples);

 private:
  void start();
  void emit(std::span<const float> samples, FeatureMatrix& rows);

  FrontEndParameters parameters_;
  SpectrumFilter* filter_;
  std::unique_ptr<FrameAnalysis> analysis_;
  std::vector<float> pending_;  // the sample before the next frame, then those of the frame and behind it
  std::size_t skip_ = 0;        // samples to drop before those
};

}  // namespace kivsr::speech
