#include "kivsr/speech/models/acoustic_model.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <span>
#include <utility>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/s3_file.h"
#include "kivsr/speech/models/sendump.h"

namespace kivsr::speech {
namespace {

constexpr const char* kInstalledModels = "/usr/share/pocketsphinx/model";
constexpr const char* kInstalledDictionary = "/usr/share/pocketsphinx/model/en-us/cmudict-en-us.dict";

// Scales counts to probabilities, with a floor where may_floor says so, and takes logarithms.
template <class MayFloor>
void normalise_log(std::span<const float> counts, float floor, MayFloor may_floor, float* logs) {
  const auto raised = [&](float probability, float count) {
    return may_floor(count) ? std::max(probability, floor) : probability;
  };
  double sum = 0.0;
  for (const float count : counts) sum += std::max(count, 0.0F);
  if (sum <= 0.0) sum = 1.0;
  double floored_sum = 0.0;
  for (const float count : counts) floored_sum += raised(static_cast<float>(std::max(count, 0.0F) / sum), count);
  for (const float count : counts) {
    const double probability = raised(static_cast<float>(std::max(count, 0.0F) / sum), count) / floored_sum;
    *logs++ = probability > 0.0 ? static_cast<float>(std::log(probability)) : kLogZero;
  }
}

void add_gaussians(AcousticModel& model, const GaussianParameters& means, const GaussianParameters& variances,
                   float floor) {
  model.codebooks = means.codebooks;
  model.densities = means.densities;
  for (std::size_t index = 0; index < means.stream_lengths.size(); ++index) {
    ModelStream stream;
    stream.offset = model.dimension;
    stream.length = means.stream_lengths[index];
    model.dimension += stream.length;
    const std::size_t rows = static_cast<std::size_t>(means.densities);
    const std::size_t length = static_cast<std::size_t>(stream.length);
    for (int codebook = 0; codebook < means.codebooks; ++codebook) {
      const float* mean = means.rows(codebook, static_cast<int>(index));
      stream.means.insert(stream.means.end(), mean, mean + rows * length);
      const float* variance = variances.rows(codebook, static_cast<int>(index));
      for (std::size_t row = 0; row < rows; ++row) {
        double log_determinant = 0.0;
        for (std::size_t i = 0; i < length; ++i) {
          const float value = std::max(*variance++, floor);
          stream.inverse_variances.push_back(1.0F / value);
          log_determinant += std::log(static_cast<double>(value));
        }
        stream.normalisers.push_back(
            static_cast<float>(-0.5 * (stream.length * std::log(2.0 * std::numbers::pi) + log_determinant)));
      }
    }
    model.streams.push_back(std::move(stream));
  }
}

// One row of the file holds a Gaussian's weight for every state; a row of the model a state's weights. Blocks of states
// keep what is written in the cache.
void add_weights(AcousticModel& model, const PackedWeights& weights) {
  constexpr std::size_t kBlock = 64;
  const auto states = static_cast<std::size_t>(model.definition.states);
  const auto densities = static_cast<std::size_t>(model.densities);
  const std::vector<float> logs = weights.log_weights();
  for (std::size_t index = 0; index < model.streams.size(); ++index) {
    std::vector<float>& rows = model.streams[index].log_weights;
    rows.resize(states * densities);
    for (std::size_t first = 0; first < states; first += kBlock) {
      const std::size_t last = std::min(first + kBlock, states);
      for (std::size_t density = 0; density < densities; ++density) {
        const std::uint8_t* bytes = weights.row(index, density);
        for (std::size_t state = first; state < last; ++state) rows[state * densities + density] = logs[bytes[state]];
      }
    }
  }
}

void add_weights(AcousticModel& model, const MixtureWeights& weights, float floor) {
  const std::size_t densities = static_cast<std::size_t>(model.densities);
  const auto states = static_cast<std::size_t>(model.definition.states);
  const float* counts = weights.counts.data();
  for (ModelStream& stream : model.streams) stream.log_weights.resize(states * densities);
  for (std::size_t state = 0; state < states; ++state) {
    for (ModelStream& stream : model.streams) {
      normalise_log(
          {counts, densities}, floor, [](float) { return true; }, &stream.log_weights[state * densities]);
      counts += densities;
    }
  }
}

// Reads whichever of the two weight files is there and holds it against the shape of the Gaussians.
void read_weights(AcousticModel& model, float floor) {
  const auto fits = [&](const std::filesystem::path& file, int streams, int densities, int states) {
    if (streams == static_cast<int>(model.streams.size()) && densities == model.densities &&
        states == model.definition.states) {
      return;
    }
    throw Fault(file.string() + ": weights of " + std::to_string(states) + " states, " + std::to_string(streams) +
                " streams and " + std::to_string(densities) + " Gaussians do not fit the model's " +
                std::to_string(model.definition.states) + ", " + std::to_string(model.streams.size()) + " and " +
                std::to_string(model.densities));
  };
  const std::filesystem::path packed = model.folder / "sendump";
  const std::filesystem::path plain = model.folder / "mixture_weights";
  if (std::filesystem::exists(packed)) {
    const PackedWeights weights = read_sendump(packed);
    fits(packed, weights.streams, weights.densities, weights.states);
    add_weights(model, weights);
  } else {
    const MixtureWeights weights = read_mixture_weights(plain);
    fits(plain, weights.streams, weights.densities, weights.states);
    add_weights(model, weights, floor);
  }
}

void tie_codebooks(AcousticModel& model, const std::filesystem::path& means) {
  const ModelDefinition& definition = model.definition;
  model.codebook_of_state.assign(static_cast<std::size_t>(definition.states), 0);
  if (model.codebooks == definition.states) {
    std::iota(model.codebook_of_state.begin(), model.codebook_of_state.end(), 0);
  } else if (model.codebooks == static_cast<int>(definition.phones.size())) {
    for (int hmm = 0; hmm < static_cast<int>(definition.hmms.size()); ++hmm) {
      for (const int state : definition.states_of_hmm(hmm)) {
        model.codebook_of_state[static_cast<std::size_t>(state)] = definition.hmms[static_cast<std::size_t>(hmm)].base;
      }
    }
  } else if (model.codebooks != 1) {
    throw Fault(means.string() + ": " + std::to_string(model.codebooks) + " codebooks fit neither the " +
                std::to_string(definition.phones.size()) + " phones nor the " + std::to_string(definition.states) +
                " states");
  }
}

void read_transitions(AcousticModel& model, float floor) {
  const std::filesystem::path file = model.folder / "transition_matrices";
  const TransitionMatrices matrices = read_transition_matrices(file);
  if (matrices.matrices != model.definition.transition_matrices ||
      matrices.sources != model.definition.states_per_phone) {
    throw Fault(file.string() + ": " + std::to_string(matrices.matrices) + " matrices of " +
                std::to_string(matrices.sources) + " states do not fit the model's " +
                std::to_string(model.definition.transition_matrices) + " of " +
                std::to_string(model.definition.states_per_phone));
  }
  const std::size_t width = static_cast<std::size_t>(matrices.destinations);
  model.log_transitions.resize(matrices.counts.size());
  for (std::size_t row = 0; row < matrices.counts.size(); row += width) {
    normalise_log(
        {&matrices.counts[row], width}, floor, [](float count) { return count > 0.0F; }, &model.log_transitions[row]);
  }
  for (int matrix = 0; matrix < matrices.matrices; ++matrix) {
    for (int source = 1; source < matrices.sources; ++source) {
      for (int destination = 0; destination < source; ++destination) {
        if (matrices.counts[(static_cast<std::size_t>(matrix) * static_cast<std::size_t>(matrices.sources) +
                             static_cast<std::size_t>(source)) *
                                width +
                            static_cast<std::size_t>(destination)] > 0.0F) {
          throw Fault(file.string() + ": matrix " + std::to_string(matrix) +
                      " goes back from a state, which is not supported");
        }
      }
    }
  }
}

// The transform that a model may have, of which -ldadim may use some of the rows only.
void read_transform(AcousticModel& model, const FeatParams& parameters) {
  const std::filesystem::path file = model.folder / kFeatureTransformFile;
  if (!std::filesystem::exists(file)) return;
  FeatureTransform transform = read_feature_transform(file);
  if (transform.columns != model.recipe.derived_width() || model.recipe.dynamics == Dynamics::kStreams) {
    throw Fault(file.string() + ": a transform of " + std::to_string(transform.columns) +
                " values does not fit the features of feat.params");
  }
  const int wanted = parameters.transform_rows(model.folder / "feat.params");
  const int rows = wanted > 0 ? std::min(wanted, transform.rows) : transform.rows;
  if (rows > transform.columns) throw Fault(file.string() + ": has more rows than columns");
  transform.values.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(transform.columns));
  model.recipe.feature_transform = std::move(transform.values);
}

}  // namespace

std::filesystem::path find_model_folder(const std::string& name) {
  const std::filesystem::path path(name);
  if (std::filesystem::is_directory(path)) return path;
  if (std::filesystem::exists(path)) throw Fault(name + ": is not a folder with an acoustic model");
  const std::filesystem::path installed = std::filesystem::path(kInstalledModels) / name / name;
  if (name.find('/') == std::string::npos && std::filesystem::is_directory(installed)) return installed;
  throw Fault(name + ": no such acoustic model, neither as a folder nor in " + kInstalledModels);
}

std::filesystem::path find_model_dictionary(const std::filesystem::path& folder) {
  const std::filesystem::path clean = std::filesystem::absolute(folder).lexically_normal() / "";
  const std::filesystem::path parent = clean.parent_path().parent_path();
  const std::filesystem::path file = parent / ("cmudict-" + clean.parent_path().filename().string() + ".dict");
  if (std::filesystem::exists(file)) return file;
  const std::filesystem::path installed = kInstalledDictionary;
  return std::filesystem::exists(installed) ? installed : std::filesystem::path();
}

AcousticModel read_acoustic_model(const std::filesystem::path& folder, const ModelFloors& floors) {
  AcousticModel model;
  model.folder = folder;
  const std::filesystem::path features = folder / "feat.params";
  const FeatParams parameters = read_feat_params(features);
  model.recipe = parameters.recipe(features);
  model.static_mean = parameters.static_mean(features);
  read_transform(model, parameters);
  model.definition = read_model_definition(folder / "mdef");
  if (std::filesystem::exists(folder / "noisedict")) {
    model.fillers = Dictionary::read(folder / "noisedict");
  } else {
    model.fillers.add("<sil>", {"SIL"});
  }

  const GaussianParameters means = read_gaussian_parameters(folder / "means");
  const GaussianParameters variances = read_gaussian_parameters(folder / "variances");
  if (means.codebooks != variances.codebooks || means.densities != variances.densities ||
      means.stream_lengths != variances.stream_lengths) {
    throw Fault((folder / "variances").string() + ": does not have the shape of the means");
  }
  add_gaussians(model, means, variances, floors.variance);
  tie_codebooks(model, folder / "means");
  read_weights(model, floors.mixture_weight);
  read_transitions(model, floors.transition);

  const int width = model.recipe.width();
  if (width != model.dimension) {
    throw Fault((folder / "means").string() + ": Gaussians of " + std::to_string(model.dimension) +
                " dimensions do not fit the " + std::to_string(width) + " of feat.params");
  }
  return model;
}

}  // namespace kivsr::speech
