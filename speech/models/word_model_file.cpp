#include "kivsr/speech/models/word_model_file.h"

#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/record_file.h"

namespace kivsr::speech {

namespace {

constexpr const char* kKind = "kivsr-word-model 1";
constexpr int kMostComponents = 16383;

// Names of the values of an enumeration, in their order.
constexpr const char* kNormalisations[] = {"none", "mean", "mean-variance"};
constexpr const char* kDynamics[] = {"none", "differences"};

// Every parameter of the front end with its name in the file.
template <class Parameters, class Visit>
void visit_front_end(Parameters& p, Visit visit) {
  visit("sample-rate", p.sample_rate);
  visit("pre-emphasis", p.pre_emphasis);
  visit("frame-emphasis", p.frame_emphasis);
  visit("window-length", p.window_length);
  visit("shift", p.shift);
  visit("fft-length", p.fft_length);
  visit("window", p.window);
  visit("remove-offset", p.remove_offset);
  visit("pad-last-frame", p.pad_last_frame);
  visit("spectrum", p.spectrum);
  visit("filters", p.filters);
  visit("unit-area", p.unit_area);
  visit("round-filters", p.round_filters);
  visit("filter-count", p.filter_count);
  visit("low-frequency", p.low_frequency);
  visit("high-frequency", p.high_frequency);
  visit("mel-multiplier", p.mel_multiplier);
  visit("mel-divisor", p.mel_divisor);
  visit("log-floor", p.log_floor);
  visit("log-offset", p.log_offset);
  visit("transform", p.transform);
  visit("cepstrum-count", p.cepstrum_count);
  visit("lifter", p.lifter);
  visit("zeroth", p.zeroth);
  visit("output", p.output);
  visit("prediction-order", p.prediction_order);
  visit("energy", p.energy);
}

double number(const RecordReader& file, const std::string& name) {
  const std::string& text = file.value(name);
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value) || std::abs(value) > 1e9) {
    file.fail("the line " + name + " holds no number");
  }
  return value;
}

template <class Value, std::size_t Count>
Value choice(const RecordReader& file, const std::string& name, const char* const (&names)[Count]) {
  for (std::size_t i = 0; i < Count; ++i) {
    if (file.value(name) == names[i]) return static_cast<Value>(i);
  }
  file.fail("the line " + name + " is of an unknown kind: " + file.value(name));
}

RecordWriter encode(const WordModel& model) {
  RecordWriter file(kKind);
  file.line("kind", model.plain_mixture ? "mixture" : "words");
  file.line("width", std::to_string(model.features.width));
  file.line("normalisation", kNormalisations[static_cast<int>(model.features.normalisation)]);
  file.line("dynamics", kDynamics[static_cast<int>(model.features.dynamics)]);
  if (model.features.front_end) {
    visit_front_end(*model.features.front_end, [&](const std::string& name, auto value) {
      file.line("front-end-" + name, exact_text(static_cast<double>(value)));
    });
  }
  for (const auto& [name, value] : model.training) file.line("training-" + name, value);
  for (const WordUnit& unit : model.units) {
    std::string components;
    for (int i = 0; i < unit.states; ++i) {
      components += " " + std::to_string(model.states[static_cast<std::size_t>(unit.first_state + i)].components());
    }
    file.line(unit.filler ? "filler" : "word", unit.name + components);
  }
  file.end_header();
  file.put(model.variance_floor);
  for (const MixtureState& state : model.states) {
    file.put(std::vector<float>{state.stay, state.occupation});
    file.put(state.weights);
    file.put(state.means);
    file.put(state.variances);
  }
  return file;
}

ModelFeatures read_features(const RecordReader& file) {
  ModelFeatures features;
  const double width = number(file, "width");
  if (width < 1.0 || width > 10000.0 || width != std::floor(width)) file.fail("impossible width");
  features.width = static_cast<int>(width);
  features.normalisation = choice<UtteranceNormalisation>(file, "normalisation", kNormalisations);
  features.dynamics = choice<UtteranceDynamics>(file, "dynamics", kDynamics);
  bool from_audio = false;
  for (const auto& line : file.lines()) from_audio = from_audio || line.first.starts_with("front-end-");
  if (!from_audio) return features;
  FrontEndParameters& parameters = features.front_end.emplace();
  visit_front_end(parameters, [&]<class Value>(const std::string& name, Value& value) {
    const double stored = number(file, "front-end-" + name);
    if constexpr (std::is_enum_v<Value>) {
      value = static_cast<Value>(static_cast<int>(std::max(0.0, std::min(stored, 3.0))));
    } else {
      value = static_cast<Value>(stored);
    }
  });
  parameters.validate();
  if (parameters.row_width() != features.width) file.fail("the front end gives rows of another width");
  return features;
}

void add_unit(WordModel& model, const RecordReader& file, const std::string& text, bool filler) {
  std::istringstream fields(text);
  WordUnit unit;
  fields >> unit.name;
  unit.filler = filler;
  unit.first_state = static_cast<int>(model.states.size());
  for (int components = 0; fields >> components; ++unit.states) {
    if (components < 1 || components > kMostComponents) file.fail("the unit " + unit.name + " has an impossible state");
    model.states.emplace_back().weights.resize(static_cast<std::size_t>(components));
  }
  if (!fields.eof() || unit.states == 0) file.fail("the unit " + unit.name + " is not described by numbers");
  if (model.find_unit(unit.name) >= 0) file.fail("the unit " + unit.name + " is there twice");
  model.units.push_back(std::move(unit));
}

bool all_within(const std::vector<float>& values, float least, float most) {
  for (const float value : values) {
    if (!(value >= least && value <= most)) return false;
  }
  return true;
}

void read_state(MixtureState& state, RecordReader& file, std::size_t dimension) {
  constexpr float kMost = 1e30F;
  std::vector<float> head(2);
  file.get(head, "state");
  state.stay = head[0];
  state.occupation = head[1];
  file.require_numbers(state.weights.size() * (1 + 2 * dimension) * sizeof(float), "mixture");
  state.means.resize(state.weights.size() * dimension);
  state.variances.resize(state.weights.size() * dimension);
  file.get(state.weights, "weights");
  file.get(state.means, "means");
  file.get(state.variances, "variances");
  if (!(state.stay >= 0.0F && state.stay < 1.0F)) file.fail("a probability of staying is not in 0 .. 1");
  if (!all_within(state.weights, 0.0F, 1.01F)) file.fail("a mixture weight is not in 0 .. 1");
  if (!all_within(state.means, -kMost, kMost)) file.fail("a mean is not finite");
  if (!all_within(state.variances, 1e-30F, kMost)) file.fail("a variance is not positive and finite");
}

}  // namespace

bool is_word_model_file(const std::filesystem::path& file) { return is_record_file(file, kKind); }

WordModel read_word_model(const std::filesystem::path& path) {
  RecordReader file(path, kKind);
  WordModel model;
  model.plain_mixture = file.value("kind") == "mixture";
  model.features = read_features(file);
  const std::string training = "training-";
  for (const auto& [name, value] : file.lines()) {
    if (name == "word" || name == "filler") add_unit(model, file, value, name == "filler");
    if (name.starts_with(training)) model.training[name.substr(training.size())] = value;
  }
  if (model.units.empty()) file.fail("holds no words");
  const auto dimension = static_cast<std::size_t>(model.dimension());
  model.variance_floor.resize(dimension);
  file.get(model.variance_floor, "variance floor");
  for (MixtureState& state : model.states) read_state(state, file, dimension);
  file.finish();
  return model;
}

void write_word_model(const std::filesystem::path& file, const WordModel& model) { encode(model).write(file); }

std::uint32_t word_model_checksum(const WordModel& model) { return encode(model).checksum(); }

}  // namespace kivsr::speech
