#include "kivsr/speech/train/acoustic_adaptation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/decode/forced_alignment.h"
#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/s3_file.h"

namespace kivsr::speech {

namespace {

constexpr double kLeastAdded = 1e-6;  // share of a frame; what is less is not worth adding
constexpr float kLeastVariance = 1e-4F;
constexpr float kLeastWeight = 1e-7F;

// [codebook][stream][Gaussian][dimension] of the file, from [stream][codebook][Gaussian][dimension] of the model.
GaussianParameters file_of(const AcousticModel& model,
                           const std::function<float(const ModelStream&, std::size_t)>& value) {
  GaussianParameters result{model.codebooks, model.densities, {}, {}};
  for (const ModelStream& stream : model.streams) result.stream_lengths.push_back(stream.length);
  for (int codebook = 0; codebook < model.codebooks; ++codebook) {
    for (const ModelStream& stream : model.streams) {
      const auto count = static_cast<std::size_t>(model.densities) * static_cast<std::size_t>(stream.length);
      const std::size_t first = static_cast<std::size_t>(codebook) * count;
      for (std::size_t i = first; i < first + count; ++i) result.values.push_back(value(stream, i));
    }
  }
  return result;
}

MixtureWeights weights_of(const AcousticModel& model) {
  constexpr float kFrames = 1000.0F;  // readers take the shares
  const auto densities = static_cast<std::size_t>(model.densities);
  MixtureWeights result{model.definition.states, static_cast<int>(model.streams.size()), model.densities, {}};
  for (std::size_t state = 0; state < static_cast<std::size_t>(model.definition.states); ++state) {
    for (const ModelStream& stream : model.streams) {
      for (std::size_t i = 0; i < densities; ++i) {
        result.counts.push_back(kFrames * std::exp(stream.log_weights[state * densities + i]));
      }
    }
  }
  return result;
}

}  // namespace

AcousticAdaptation::AcousticAdaptation(const AcousticModel& model, const Dictionary& dictionary,
                                       const AdaptationSettings& settings)
    : given_(model), dictionary_(dictionary), settings_(settings), model_(model) {
  settings_.validate();
}

std::size_t AcousticAdaptation::place_of_codebook(std::size_t stream, int codebook) const {
  return stream * static_cast<std::size_t>(given_.codebooks) + static_cast<std::size_t>(codebook);
}

std::size_t AcousticAdaptation::place_of_weights(std::size_t stream, int state) const {
  return given_.streams.size() * static_cast<std::size_t>(given_.codebooks) +
         stream * static_cast<std::size_t>(given_.definition.states) + static_cast<std::size_t>(state);
}

Statistics AcousticAdaptation::zero() const {
  const auto densities = static_cast<std::size_t>(given_.densities);
  std::vector<MixtureState> shape;
  for (const ModelStream& stream : given_.streams) {
    MixtureState codebook;
    codebook.weights.resize(densities);
    codebook.means.resize(densities * static_cast<std::size_t>(stream.length));
    shape.insert(shape.end(), static_cast<std::size_t>(given_.codebooks), codebook);
  }
  if (adapts_weights()) {
    MixtureState weights;
    weights.weights.resize(densities);
    shape.insert(shape.end(), given_.streams.size() * static_cast<std::size_t>(given_.definition.states), weights);
  }
  return {shape, given_.dimension, 0, 0};
}

// Returns the log likelihood of the stream.
double AcousticAdaptation::add_stream(std::size_t index, std::span<const float> row, int state,
                                      Statistics& sums) const {
  const ModelStream& stream = model_.streams[index];
  const auto length = static_cast<std::size_t>(stream.length);
  const auto densities = static_cast<std::size_t>(model_.densities);
  const int codebook = model_.codebook_of_state[static_cast<std::size_t>(state)];
  const std::size_t first = static_cast<std::size_t>(codebook) * densities;
  const float* const frame = row.data() + stream.offset;
  const float* const weights = stream.log_weights.data() + static_cast<std::size_t>(state) * densities;
  std::vector<float> scores(stream.normalisers.begin() + static_cast<std::ptrdiff_t>(first),
                            stream.normalisers.begin() + static_cast<std::ptrdiff_t>(first + densities));
  for (std::size_t i = 0; i < densities; ++i) scores[i] += weights[i];
  call<kivsLogGaussMultiMix_32f_D2>(stream.means.data() + first * length,
                                    stream.inverse_variances.data() + first * length, stream.length, frame,
                                    stream.length, scores.data(), model_.densities);
  const double greatest = static_cast<double>(*std::max_element(scores.begin(), scores.end()));
  double total = 0.0;
  for (const float score : scores) total += std::exp(static_cast<double>(score) - greatest);
  StateStatistics& heard = sums.states[place_of_codebook(index, codebook)];
  for (std::size_t i = 0; i < densities; ++i) {
    const double share = std::exp(static_cast<double>(scores[i]) - greatest) / total;
    if (!(share > kLeastAdded)) continue;
    heard.occupation[i] += share;
    if (adapts_weights()) sums.states[place_of_weights(index, state)].occupation[i] += share;
    for (std::size_t k = 0; k < length; ++k) {
      const double offset = static_cast<double>(frame[k]) - static_cast<double>(stream.means[(first + i) * length + k]);
      heard.first[i * length + k] += share * offset;
      heard.second[i * length + k] += share * offset * offset;
    }
  }
  return greatest + std::log(total);
}

void AcousticAdaptation::add_frame(std::span<const float> row, int state, Statistics& sums) const {
  for (std::size_t index = 0; index < model_.streams.size(); ++index) {
    sums.log_likelihood += add_stream(index, row, state, sums);
  }
  sums.frames += 1.0;
}

Statistics AcousticAdaptation::run(const TrainingUtterances& utterances, const std::vector<std::string>& names,
                                   int jobs, const UtteranceListener& listener) {
  const auto make_adder = [&]() -> UtteranceAdder {
    const std::shared_ptr<Scorer> scorer = make_mixture_scorer(model_);
    return [&, scorer](std::size_t index, Statistics& sums) {
      const TrainingUtterance& utterance = utterances.all()[index];
      if (utterance.words.empty()) return Statistics::Outcome::kNoWords;
      std::vector<std::string> words;
      for (const int word : utterance.words) words.push_back(names[static_cast<std::size_t>(word)]);
      const FeatureMatrix rows = utterances.rows(utterance);
      const std::vector<int> states = align_states(rows, words, dictionary_, model_, *scorer, utterance.file.string());
      if (states.empty()) return Statistics::Outcome::kImpossible;
      for (int frame = 0; frame < rows.height(); ++frame) {
        const int state = states[static_cast<std::size_t>(frame)];
        if (state >= 0) add_frame(rows.row(frame), state, sums);
      }
      sums.utterances += 1.0;
      return Statistics::Outcome::kUsed;
    };
  };
  Statistics sums = add_up(zero(), utterances, jobs, make_adder, listener);
  if (!(sums.frames > 0.0)) throw Fault("none of the utterances can be used");
  update(sums);
  return sums;
}

// The sums are about the means of model_; what is adapted is the model that was given.
void AcousticAdaptation::update(const Statistics& sums) {
  AcousticModel next = given_;
  classes_ = 0;
  for (std::size_t index = 0; index < next.streams.size(); ++index) {
    update_gaussians(next.streams[index], index, sums);
    if (adapts_weights()) update_weights(next.streams[index], index, sums);
  }
  model_ = std::move(next);
}

void AcousticAdaptation::update_gaussians(ModelStream& stream, std::size_t index, const Statistics& sums) {
  const auto length = static_cast<std::size_t>(stream.length);
  const auto densities = static_cast<std::size_t>(given_.densities);
  std::vector<float> variances;
  for (const float inverse : stream.inverse_variances) variances.push_back(1.0F / inverse);
  std::vector<HeardGaussian> gaussians;
  for (int codebook = 0; codebook < given_.codebooks; ++codebook) {
    const StateStatistics& heard = sums.states[place_of_codebook(index, codebook)];
    for (std::size_t i = 0; i < densities; ++i) {
      const std::size_t row = (static_cast<std::size_t>(codebook) * densities + i) * length;
      gaussians.emplace_back(std::span(stream.means).subspan(row, length), std::span(variances).subspan(row, length),
                             heard.occupation[i], std::span(heard.first).subspan(i * length, length),
                             std::span(heard.second).subspan(i * length, length),
                             std::span(model_.streams[index].means).subspan(row, length));
    }
  }
  classes_ += adapt_gaussians(gaussians, settings_, std::vector<float>(length, kLeastVariance));
  if (!settings_.map || !settings_.variances) return;
  for (std::size_t gaussian = 0; gaussian < gaussians.size(); ++gaussian) {
    double log_determinant = 0.0;
    for (std::size_t i = 0; i < length; ++i) {
      const float variance = gaussians[gaussian].variance[i];
      stream.inverse_variances[gaussian * length + i] = 1.0F / variance;
      log_determinant += std::log(static_cast<double>(variance));
    }
    stream.normalisers[gaussian] =
        static_cast<float>(-0.5 * (stream.length * std::log(2.0 * std::numbers::pi) + log_determinant));
  }
}

void AcousticAdaptation::update_weights(ModelStream& stream, std::size_t index, const Statistics& sums) const {
  const auto densities = static_cast<std::size_t>(given_.densities);
  std::vector<float> weights(densities);
  for (int state = 0; state < given_.definition.states; ++state) {
    const std::span logs =
        std::span(stream.log_weights).subspan(static_cast<std::size_t>(state) * densities, densities);
    std::transform(logs.begin(), logs.end(), weights.begin(), [](float log) { return std::exp(log); });
    map_adapt_weights(weights, sums.states[place_of_weights(index, state)].occupation, settings_.relevance);
    std::transform(weights.begin(), weights.end(), logs.begin(),
                   [](float weight) { return std::log(std::max(weight, kLeastWeight)); });
  }
}

void AcousticAdaptation::write(const std::filesystem::path& folder) const {
  if (std::filesystem::exists(folder) && std::filesystem::equivalent(folder, given_.folder)) {
    throw Fault(folder.string() + ": is the folder of the model that is adapted");
  }
  std::filesystem::create_directories(folder);
  const auto copy = [&](const char* name) {
    std::filesystem::remove(folder / name);
    if (!std::filesystem::exists(given_.folder / name)) return;
    std::filesystem::copy_file(given_.folder / name, folder / name);
    std::filesystem::permissions(folder / name, std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add);
  };
  for (const char* const name : {"mdef", "feat.params", "noisedict", "transition_matrices", kFeatureTransformFile}) {
    copy(name);
  }
  write_gaussian_parameters(folder / "means",
                            file_of(model_, [](const ModelStream& stream, std::size_t i) { return stream.means[i]; }));
  if (settings_.map && settings_.variances) {
    write_gaussian_parameters(folder / "variances", file_of(model_, [](const ModelStream& stream, std::size_t i) {
                                return 1.0F / stream.inverse_variances[i];
                              }));
  } else {
    copy("variances");
  }
  if (adapts_weights()) {
    std::filesystem::remove(folder / "sendump");
    write_mixture_weights(folder / "mixture_weights", weights_of(model_));
  } else {
    copy("sendump");
    copy("mixture_weights");
  }
}

}  // namespace kivsr::speech
