// Gaussian selection: which few Gaussians of each codebook are worth scoring for a frame, found by one search in a
// small codebook a frame and stream (E. Bocchieri, "Vector quantization for the efficient computation of continuous
// density likelihoods", ICASSP 1993).
//
// A cell is what is nearest to one of 1024 means, taken at even distances from all codebooks of the stream; distances
// are weighted by 1 over the average variance of each feature. Behind each cell stands, for each codebook of the model,
// the list of the Gaussians that are likeliest at the cell's mean. Only the model is needed, no recordings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

class Shortlist {
 public:
  // length Gaussians of each codebook of the stream, fewer than the codebook has.
  Shortlist(const AcousticModel& model, const ModelStream& stream, int length);

  // The cell of a feature vector.
  int cell(std::span<const float> frame) const;
  // The Gaussians of a codebook to score in a cell, the likeliest at its mean first.
  std::span<const std::uint16_t> list(int cell, int codebook) const {
    const std::size_t row = static_cast<std::size_t>(cell) * codebooks_ + static_cast<std::size_t>(codebook);
    return {lists_.data() + row * length_, length_};
  }

 private:
  int offset_;
  int width_;
  std::size_t codebooks_;
  std::size_t length_;
  Codebook32f cells_;
  std::vector<std::uint16_t> lists_;  // [cell][codebook][length]
};

}  // namespace kivsr::speech
