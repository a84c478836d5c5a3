#include "kivsr/speech/models/phone_model.h"

#include <algorithm>
#include <string_view>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/io/record_file.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/models/s3_file.h"

namespace kivsr::speech {

namespace {

constexpr const char* kKind = "kivsr-phone-model 1";
constexpr const char* kTraining = "training-";
constexpr int kMostComponents = 16383;

void put_lines(RecordWriter& file, const char* name, std::string_view text) {
  for (std::string_view line; take_line(text, line);) file.line(name, std::string(line));
}

std::string lines_of(const RecordReader& file, std::string_view wanted) {
  std::string text;
  for (const auto& [name, value] : file.lines()) {
    if (name == wanted) text += value + "\n";
  }
  return text;
}

RecordWriter encode(const PhoneModel& model) {
  RecordWriter file(kKind);
  put_lines(file, "recipe", model.recipe.text());
  for (const auto& [name, value] : model.training) file.line(kTraining + name, value);
  for (const auto& [word, pronunciations] : model.fillers.words()) {
    for (const Pronunciation& phones : pronunciations) file.line("filler", word + " " + phones.front());
  }
  put_lines(file, "mdef", model_definition_text(model.definition));
  for (const MixtureState& state : model.states) file.line("state", std::to_string(state.components()));
  file.end_header();
  file.put(model.variance_floor);
  file.put(model.stays);
  for (const MixtureState& state : model.states) {
    file.put(std::vector<float>{state.occupation});
    file.put(state.weights);
    file.put(state.means);
    file.put(state.variances);
  }
  return file;
}

bool all_within(const std::vector<float>& values, float least, float most) {
  return std::all_of(values.begin(), values.end(), [=](float value) { return value >= least && value <= most; });
}

void read_state(MixtureState& state, RecordReader& file, std::size_t dimension) {
  constexpr float kMost = 1e30F;
  std::vector<float> occupation(1);
  file.get(occupation, "state");
  state.occupation = occupation.front();
  file.require_numbers(state.weights.size() * (1 + 2 * dimension) * sizeof(float), "mixture");
  state.means.resize(state.weights.size() * dimension);
  state.variances.resize(state.means.size());
  file.get(state.weights, "weights");
  file.get(state.means, "means");
  file.get(state.variances, "variances");
  if (!all_within(occupation, 0.0F, kMost)) file.fail("an occupation is not positive and finite");
  if (!all_within(state.weights, 0.0F, 1.01F)) file.fail("a mixture weight is not in 0 .. 1");
  if (!all_within(state.means, -kMost, kMost)) file.fail("a mean is not finite");
  if (!all_within(state.variances, 1e-30F, kMost)) file.fail("a variance is not positive and finite");
}

void read_shape(PhoneModel& model, const RecordReader& file) {
  for (const auto& [name, value] : file.lines()) {
    if (name.starts_with(kTraining)) model.training[name.substr(std::string_view(kTraining).size())] = value;
    if (name == "filler") {
      std::string_view fields = value;
      std::string_view word;
      std::string_view phone;
      if (!take_word(fields, word) || !take_word(fields, phone) || model.definition.phone_index(phone) < 0)
        file.fail("a filler has no phone");
      model.fillers.add(std::string(word), {std::string(phone)});
    }
    if (name == "state") {
      int components = 0;
      if (!read_number(value, components) || components < 1 || components > kMostComponents) {
        file.fail("a state has an impossible number of Gaussians");
      }
      model.states.emplace_back().weights.resize(static_cast<std::size_t>(components));
    }
  }
  if (static_cast<int>(model.states.size()) != model.definition.states) {
    file.fail("its states are not as many as those of its phones");
  }
}

void write_text(const std::filesystem::path& name, const std::string& text) {
  OutputFile file(name);
  file.write(text);
  file.commit();
}

// Means or variances of all states, each with as many rows as the largest has.
GaussianParameters padded(const PhoneModel& model, int densities, std::vector<float> MixtureState::*member) {
  GaussianParameters result{static_cast<int>(model.states.size()), densities, {model.dimension()}, {}};
  for (const MixtureState& state : model.states) {
    const std::vector<float>& values = state.*member;
    result.values.insert(result.values.end(), values.begin(), values.end());
    for (int i = state.components(); i < densities; ++i) {
      result.values.insert(result.values.end(), values.begin(), values.begin() + model.dimension());
    }
  }
  return result;
}

TransitionMatrices matrices_of(const PhoneModel& model) {
  const int sources = model.definition.states_per_phone;
  TransitionMatrices result{model.definition.transition_matrices, sources, sources + 1, {}};
  for (int row = 0; row < model.rows(); ++row) {
    const float stay = model.stays[static_cast<std::size_t>(row)];
    for (int to = 0; to <= sources; ++to) {
      const int from = row % sources;
      result.counts.push_back(to == from ? stay : to == from + 1 ? 1.0F - stay : 0.0F);
    }
  }
  return result;
}

// Where there is none, that of an earlier model must not stay: readers look for the file.
void write_transform(const std::filesystem::path& file, const Recipe& recipe) {
  if (recipe.feature_transform.empty()) {
    std::filesystem::remove(file);
  } else {
    write_feature_transform(file, {recipe.feature_width(), recipe.derived_width(), recipe.feature_transform});
  }
}

}  // namespace

PhoneModel read_phone_model(const std::filesystem::path& path) {
  RecordReader file(path, kKind);
  PhoneModel model;
  model.recipe = Recipe::parse(lines_of(file, "recipe"), file.name());
  model.definition = parse_model_definition(file.name(), lines_of(file, "mdef"));
  read_shape(model, file);
  const auto dimension = static_cast<std::size_t>(model.dimension());
  file.require_numbers((dimension + static_cast<std::size_t>(model.rows())) * sizeof(float), "transitions");
  model.variance_floor.resize(dimension);
  model.stays.resize(static_cast<std::size_t>(model.rows()));
  file.get(model.variance_floor, "variance floor");
  file.get(model.stays, "transitions");
  if (!all_within(model.stays, 0.0F, 0.9999F)) file.fail("a probability of staying is not in 0 .. 1");
  for (MixtureState& state : model.states) read_state(state, file, dimension);
  file.finish();
  return model;
}

void write_phone_model(const std::filesystem::path& record, const PhoneModel& model) { encode(model).write(record); }

std::uint32_t phone_model_checksum(const PhoneModel& model) { return encode(model).checksum(); }

void write_sphinx_model(const std::filesystem::path& folder, const PhoneModel& model) {
  const std::string features = feat_params_text(model.recipe);
  int densities = 1;
  for (const MixtureState& state : model.states) densities = std::max(densities, state.components());
  MixtureWeights weights{static_cast<int>(model.states.size()), 1, densities, {}};
  for (const MixtureState& state : model.states) {
    const float frames = std::max(state.occupation, 1.0F);
    for (const float weight : state.weights) weights.counts.push_back(weight * frames);
    weights.counts.insert(weights.counts.end(), static_cast<std::size_t>(densities - state.components()), 0.0F);
  }
  std::string fillers;
  for (const auto& [word, pronunciations] : model.fillers.words()) {
    for (const Pronunciation& phones : pronunciations) fillers += word + " " + phones.front() + "\n";
  }
  write_text(folder / "feat.params", features);
  write_text(folder / "noisedict", fillers);
  write_text(folder / "mdef", model_definition_text(model.definition));
  write_gaussian_parameters(folder / "means", padded(model, densities, &MixtureState::means));
  write_gaussian_parameters(folder / "variances", padded(model, densities, &MixtureState::variances));
  write_mixture_weights(folder / "mixture_weights", weights);
  write_transition_matrices(folder / "transition_matrices", matrices_of(model));
  write_transform(folder / kFeatureTransformFile, model.recipe);
}

}  // namespace kivsr::speech
