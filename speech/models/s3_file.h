// Parameter files of Sphinx-3 layout: a text header ("s3", lines of name and value, "endhdr"), the byte-order word
// 0x11223344, 32-bit words in that order, and a checksum over them if the header says "chksum0 yes".
// Next: acoustic_model.h, which puts the files of a model together.
#pragma once

#include <filesystem>
#include <vector>

namespace kivsr::speech {

// means or variances: value i of Gaussian g of a codebook and stream, streams and Gaussians inside a codebook
struct GaussianParameters {
  int codebooks = 0;
  int densities = 0;                // Gaussians of each codebook and stream
  std::vector<int> stream_lengths;  // dimensions of each stream
  std::vector<float> values;        // [codebook][stream][Gaussian][dimension], packed

  // Start of the Gaussians of one codebook and stream: densities rows of stream_lengths[stream].
  const float* rows(int codebook, int stream) const;
};

struct MixtureWeights {
  int states = 0;
  int streams = 0;
  int densities = 0;
  std::vector<float> counts;  // [state][stream][Gaussian], not normalised
};

struct TransitionMatrices {
  int matrices = 0;
  int sources = 0;            // emitting states
  int destinations = 0;       // emitting states and the exit
  std::vector<float> counts;  // [matrix][source][destination], not normalised
};

// Of a model's folder, which need not have it.
constexpr const char* kFeatureTransformFile = "feature_transform";

// What becomes of rows of features before the Gaussians see them.
struct FeatureTransform {
  int rows = 0;               // new columns
  int columns = 0;            // of the features
  std::vector<float> values;  // [row][column]
};

GaussianParameters read_gaussian_parameters(const std::filesystem::path& file);
MixtureWeights read_mixture_weights(const std::filesystem::path& file);
TransitionMatrices read_transition_matrices(const std::filesystem::path& file);
FeatureTransform read_feature_transform(const std::filesystem::path& file);

// Little-endian, with a checksum; each file appears under its name when it is complete.
void write_gaussian_parameters(const std::filesystem::path& file, const GaussianParameters& parameters);
void write_mixture_weights(const std::filesystem::path& file, const MixtureWeights& weights);
void write_transition_matrices(const std::filesystem::path& file, const TransitionMatrices& matrices);
void write_feature_transform(const std::filesystem::path& file, const FeatureTransform& transform);

}  // namespace kivsr::speech
