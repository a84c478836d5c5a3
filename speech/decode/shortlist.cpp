#include "kivsr/speech/decode/shortlist.h"

#include <algorithm>
#include <limits>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {
namespace {

constexpr std::size_t kMostCells = 1024;

// 1 over the variance of each feature, averaged over all Gaussians.
std::vector<float> feature_weights(const ModelStream& stream) {
  std::vector<float> variances(stream.inverse_variances);
  for (float& value : variances) value = 1.0F / value;
  std::vector<float> weights(static_cast<std::size_t>(stream.length));
  call<kivsMeanColumn_32f_D2>(variances, stream.normalisers.size(), stream.length, weights, stream.length);
  for (float& weight : weights) weight = 1.0F / weight;
  return weights;
}

// Means at even distances among those of all codebooks.
std::vector<float> cell_centres(const ModelStream& stream) {
  const auto width = static_cast<std::size_t>(stream.length);
  const std::size_t gaussians = stream.normalisers.size();
  const std::size_t count = std::min(kMostCells, gaussians);
  std::vector<float> centres;
  for (std::size_t cell = 0; cell < count; ++cell) {
    const float* mean = stream.means.data() + cell * gaussians / count * width;
    centres.insert(centres.end(), mean, mean + width);
  }
  return centres;
}

}  // namespace

Shortlist::Shortlist(const AcousticModel& model, const ModelStream& stream, int length)
    : offset_(stream.offset),
      width_(stream.length),
      codebooks_(static_cast<std::size_t>(model.codebooks)),
      length_(static_cast<std::size_t>(length)) {
  const auto width = static_cast<std::size_t>(width_);
  const std::vector<float> centres = cell_centres(stream);
  const std::size_t count = centres.size() / width;
  cells_ = Codebook32f::make<kivsCdbkInitAlloc_WgtL2_32f>(centres, feature_weights(stream), width_, width_, count,
                                                          count, kivCdbkFullSearch);

  const auto densities = static_cast<std::size_t>(model.densities);
  std::vector<float> scores(densities);
  lists_.reserve(count * codebooks_ * length_);
  for (std::size_t cell = 0; cell < count; ++cell) {
    for (std::size_t codebook = 0; codebook < codebooks_; ++codebook) {
      const std::size_t first = codebook * densities;
      std::copy_n(&stream.normalisers[first], densities, scores.begin());
      call<kivsLogGaussMultiMix_32f_D2>(&stream.means[first * width], &stream.inverse_variances[first * width], width_,
                                        &centres[cell * width], width_, scores, model.densities);
      for (int listed = 0; listed < length; ++listed) {
        float best = 0.0F;
        int index = 0;
        call<kivsMaxIndx_32f>(scores, model.densities, &best, &index);
        lists_.push_back(static_cast<std::uint16_t>(index));
        scores[static_cast<std::size_t>(index)] = -std::numeric_limits<float>::infinity();
      }
    }
  }
}

int Shortlist::cell(std::span<const float> frame) const {
  Kiv32s index = 0;
  call<kivsVQ_32f>(frame.data() + offset_, width_, &index, 1, cells_);
  return index;
}

}  // namespace kivsr::speech
