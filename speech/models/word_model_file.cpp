#include "kivsr/speech/models/word_model_file.h"

#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/record_file.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

constexpr const char* kKind = "kivsr-word-model 2";
constexpr const char* kRecipe = "recipe";
constexpr int kMostComponents = 16383;

RecordWriter encode(const WordModel& model) {
  RecordWriter file(kKind);
  file.line("kind", model.plain_mixture ? "mixture" : "words");
  const std::string recipe = model.recipe.text();
  std::string_view lines = recipe;
  for (std::string_view line; take_line(lines, line);) file.line(kRecipe, std::string(line));
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

Recipe read_recipe(const RecordReader& file) {
  std::string text;
  for (const auto& [name, value] : file.lines()) {
    if (name == kRecipe) text += value + "\n";
  }
  return Recipe::parse(text, file.name());
}

void add_unit(WordModel& model, const RecordReader& file, const std::string& text, bool filler) {
  std::string_view fields = text;
  std::string_view field;
  take_word(fields, field);
  WordUnit unit;
  unit.name = field;
  unit.filler = filler;
  unit.first_state = static_cast<int>(model.states.size());
  for (int components = 0; take_word(fields, field); ++unit.states) {
    if (!read_number(field, components)) file.fail("the unit " + unit.name + " is not described by numbers");
    if (components < 1 || components > kMostComponents) file.fail("the unit " + unit.name + " has an impossible state");
    model.states.emplace_back().weights.resize(static_cast<std::size_t>(components));
  }
  if (unit.states == 0) file.fail("the unit " + unit.name + " is not described by numbers");
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
  model.recipe = read_recipe(file);
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
