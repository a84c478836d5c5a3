#include "kivsr/speech/front/recipe.h"

#include <gtest/gtest.h>

#include <set>

#include <algorithm>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/front/recipe_fields.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech::test {
namespace {

// Another value that the field can have.
void change(bool& value) { value = !value; }
void change(int& value) { value += 1; }
void change(float& value) { value = 0.1F * value + 1.0F / 3.0F; }
void change(std::optional<float>& value) { value = value.value_or(0.0F) + 1e-7F; }
void change(std::vector<float>& values) { values.push_back(-1.0F / 3.0F); }
template <class Choice>
requires std::is_enum_v<Choice>
void change(Choice& value) {
  value = static_cast<Choice>((static_cast<std::size_t>(value) + 1) % names_of(value).size());
}

// The recipe with its field of that number changed, and the name of the field; empty behind the last.
std::string change_field(Recipe& recipe, int number) {
  std::string name;
  visit_fields(recipe, [&](const RecipeField& field, auto& value) {
    if (number-- != 0) return;
    change(value);
    name = field.name;
  });
  return name;
}

std::string fault_of(const auto& action) {
  try {
    action();
  } catch (const Fault& fault) {
    return fault.what();
  }
  return "no fault";
}

TEST(Recipe, TextGivesEveryPresetBack) {
  for (const std::string& name : preset_names()) {
    EXPECT_EQ(Recipe::parse(preset(name).text(), name), preset(name));
    EXPECT_TRUE(differences(preset(name), preset(name)).empty());
  }
  EXPECT_EQ(Recipe::parse(Recipe::of_features(7).text(), "of features"), Recipe::of_features(7));
  EXPECT_NE(fault_of([] { (void)preset("none"); }).find("sphinx-en-us"), std::string::npos)
      << "names those that there are";
}

// A field that the list forgets would be lost in files and would not tell two recipes apart: the value knows it, the
// text does not.
TEST(Recipe, EveryFieldIsToldApartWrittenAndRead) {
  const Recipe before = preset("htk-mfcc:MFCC_E_D_A");
  int fields = 0;
  for (;; ++fields) {
    Recipe changed = before;
    const std::string name = change_field(changed, fields);
    if (name.empty()) break;
    EXPECT_NE(changed, before) << name;
    const auto found = differences(before, changed);
    ASSERT_EQ(found.size(), 1U) << name;
    EXPECT_EQ(found[0].find(name + ": "), 0U) << found[0];
    try {
      changed.validate();
    } catch (const Fault&) {
      continue;  // not without another field
    }
    EXPECT_EQ(Recipe::parse(changed.text(), name), changed) << name;
  }
  EXPECT_GT(fields, 40);
}

TEST(Recipe, TransformsOfTheColumns) {
  Recipe recipe = Recipe::of_features(3);
  EXPECT_EQ(recipe.text().find("feature-transform"), std::string::npos) << "only where there is one";
  recipe.feature_transform = {1.0F, 2.0F, -0.5F, 0.0F, 1e-7F, 3.0F};
  recipe.validate();
  EXPECT_EQ(recipe.width(), 2);
  EXPECT_EQ(recipe.column_names(), (std::vector<std::string>{"y1", "y2"}));
  EXPECT_EQ(Recipe::parse(recipe.text(), "text"), recipe);
  recipe.dynamics = Dynamics::kSplice;
  recipe.regression_window = 1;
  EXPECT_EQ(fault_of([&] { recipe.validate(); }),
            "recipe: the feature transform does not have rows of 9 values, at most as many");
  recipe.feature_transform.clear();
  EXPECT_EQ(recipe.column_names(),
            (std::vector<std::string>{"x1_-1", "x2_-1", "x3_-1", "x1_0", "x2_0", "x3_0", "x1_1", "x2_1", "x3_1"}));
  recipe.regression_window = 11;
  EXPECT_NE(fault_of([&] { recipe.validate(); }).find("a splice reaches"), std::string::npos);
}

// Every member of the value is a field. The bindings name each member: one more does not compile until it is listed.
TEST(Recipe, EveryMemberIsAField) {
  const Recipe recipe;
  std::set<const void*> visited;
  visit_fields(recipe, [&](const RecipeField&, const auto& value) { visited.insert(&value); });
  const auto expect_visited = [&](const auto&... members) {
    int number = 0;
    for (const void* member : {static_cast<const void*>(&members)...}) {
      EXPECT_EQ(visited.erase(member), 1U) << "member " << number;
      ++number;
    }
  };
  const auto& [source, source_width, front_end, noise_reduction, equalisation, reference, normalise_energy,
               silence_floor, energy_scale, energy_maximum, normalisation, cepstra_only, frames, dynamics, window,
               derivatives, drop_energy, feature_transform, pitch, pitch_low, pitch_high, speech, drop] = recipe;
  expect_visited(source, source_width, equalisation, reference, normalise_energy, silence_floor, energy_scale,
                 energy_maximum, normalisation, cepstra_only, frames, dynamics, window, derivatives, drop_energy,
                 feature_transform, pitch, pitch_low, pitch_high, speech, drop);
  const auto& [kind, rate, scale, dither, seed, emphasis, in_frame, length, shift, fft, shape, offset, framing, edges,
               pad, spectrum, spectrum_scale, filters, area, rounded, count, mel, low, high, multiplier, divisor, floor,
               log_offset, logarithm, range, transform, cepstra, lifter, form, zeroth, output, order, energy, energy_of,
               energy_first, energy_floor] = front_end;
  expect_visited(kind, rate, scale, dither, seed, emphasis, in_frame, length, shift, fft, shape, offset, framing, edges,
                 pad, spectrum, spectrum_scale, filters, area, rounded, count, mel, low, high, multiplier, divisor,
                 floor, log_offset, logarithm, range, transform, cepstra, lifter, form, zeroth, output, order, energy,
                 energy_of, energy_first, energy_floor);
  const auto& [method, memory, least, residual, first, smoothing] = noise_reduction;
  expect_visited(method, memory, least, residual, first, smoothing);
  EXPECT_TRUE(visited.empty()) << "fields of no member";
}

TEST(Recipe, FaultsOfTheTextNameOriginAndLine) {
  const std::string text = preset("mfcc").text();
  const auto with = [&](const std::string& old, const std::string& replacement) {
    std::string changed = text;
    changed.replace(changed.find(old), old.size(), replacement);
    return fault_of([&] { (void)Recipe::parse(changed, "a.recipe"); });
  };
  EXPECT_EQ(with("lifter = 22", "lifter = many"),
            "a.recipe: line 36 of the recipe, \"lifter = many\", has a value that is none of this field");
  EXPECT_NE(with("lifter = 22", "lifting = 22").find("the recipe does not say \"lifter\""), std::string::npos);
  EXPECT_NE(with("lifter = 22\n", "lifter = 22\ncolour = red\n").find("\"colour = red\", is not a field"),
            std::string::npos);
  EXPECT_NE(with("lifter = 22\n", "lifter = 22\nlifter = 22\n").find("is there twice"), std::string::npos);
  EXPECT_NE(with("lifter = 22", "lifter 22").find("is not like"), std::string::npos);
  EXPECT_NE(with("lifter = 22", "lifter = -1").find("the lifter must not be negative"), std::string::npos);
  EXPECT_NE(with("window = hamming", "window = kaiser").find("none of this field"), std::string::npos);
  EXPECT_NE(with("log-floor = 1", "log-floor = inf").find("none of this field"), std::string::npos);
  EXPECT_NE(with("kivsr-recipe 2", "kivsr-recipe 3").find("starts with"), std::string::npos);
}

// As models and codebooks of version 1 hold it: without the fields that came later.
TEST(Recipe, ReadsTheVersionBefore) {
  const std::string text = R"(kivsr-recipe 1
source = audio
source-width = 13
front-end = general
sample-rate = 16000
pre-emphasis = 0.97
frame-emphasis = no
window-length = 400
shift = 160
fft-length = 512
window = hamming
remove-offset = yes
pad-last-frame = no
spectrum = power
filters = mel
unit-area = yes
round-filters = yes
filter-count = 23
low-frequency = 20
high-frequency = 8000
mel-multiplier = 1126.994
mel-divisor = 700
log-floor = 1
log-offset = 0
transform = dct
cepstrum-count = 13
lifter = 22
zeroth = first
output-kind = cepstra
prediction-order = 12
energy = no
noise-reduction = none
noise-memory = 0.75
noise-floor = 0.1
noise-residual = 0.005
noise-first = 0.05
noise-smoothing = 0.3
equalise = none
reference-cepstrum =
normalise-energy = no
silence-floor = 50
energy-scale = 0.1
energy-maximum = utterance
normalise = none
normalise-frames = 300
dynamics = win2
regression-window = 2
pitch = no
pitch-low = 60
pitch-high = 500
speech-column = no
drop-frames = no
)";
  Recipe expected = preset("mfcc");
  expected.front_end.remove_offset = OffsetRemoval::kAfterEmphasis;
  expected.dynamics = Dynamics::kWin2;
  EXPECT_EQ(differences(Recipe::parse(text, "old"), expected), std::vector<std::string>());
  std::string without = text;
  without.replace(without.find("remove-offset = yes"), 19, "remove-offset = no");
  EXPECT_EQ(Recipe::parse(without, "old").front_end.remove_offset, OffsetRemoval::kNone);
  without.erase(without.find("lifter = 22\n"), 12);
  EXPECT_NE(fault_of([&] { (void)Recipe::parse(without, "old"); }).find("does not say \"lifter\""), std::string::npos);
}

TEST(Recipe, AnExplainedTextIsARecipe) {
  for (const std::string& name : preset_names()) {
    const std::string text = preset(name).explained_text();
    EXPECT_EQ(Recipe::parse(text, name), preset(name));
    EXPECT_NE(text.find("\n# Scale on which the sides of the triangles are straight: hertz, mel, bins, whole-bins\n"
                        "filters = "),
              std::string::npos)
        << name;
  }
}

TEST(Recipe, AnotherRecipeIsRefusedByName) {
  EXPECT_EQ(fault_of([] { require_same(preset("sphinx-en-us"), preset("sphinx-39"), "book"); }),
            "book was made with another recipe: normalise: none, not mean; dynamics: none, not differences");
  EXPECT_NO_THROW(require_same(preset("mfcc"), preset("mfcc"), "book"));
}

TEST(Recipe, SaysWhatNeedsTheWholeUtterance) {
  EXPECT_EQ(preset("mfcc").needs_whole_utterance(), "");
  EXPECT_EQ(preset("aurora").needs_whole_utterance(), "");
  EXPECT_NE(preset("sphinx-39").needs_whole_utterance().find("mean"), std::string::npos);
  EXPECT_NE(preset("htk-mfcc:MFCC_E_D_A").needs_whole_utterance().find("maximum"), std::string::npos);
  Recipe recipe = preset("mfcc");
  recipe.noise_reduction.method = NoiseMethod::kMcraEmns;
  EXPECT_NE(recipe.needs_whole_utterance().find("noise"), std::string::npos);
  EXPECT_NE(preset("librosa-mfcc").needs_whole_utterance().find("largest"), std::string::npos);
  EXPECT_NE(preset("whisper").needs_whole_utterance().find("largest"), std::string::npos);
  EXPECT_EQ(preset("kaldi-plp").needs_whole_utterance(), "");
  recipe = preset("mfcc");
  recipe.dynamics = Dynamics::kRegression;
  EXPECT_NE(recipe.needs_whole_utterance().find("regression"), std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
